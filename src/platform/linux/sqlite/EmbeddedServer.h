#pragma once

#include <string>

namespace torvik {

/// Makes an embedded server: the directory (mode 0700) with the databases master and msdb (mode
/// 0600), msdb with the table sysdtspackages. What is there already stays as it is, also when two
/// processes do this at once. Throws PlatformError; what was made until then is complete and stays.
void CreateEmbeddedServer(const std::string& directory);

/// Makes a database with the table dwm_data_link on a server that exists, in the same way. A name
/// that cannot be that of a database is refused.
void CreateWarehouse(const std::string& directory, const std::string& name);

}  // namespace torvik
