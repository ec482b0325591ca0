#pragma once

#include <string>

namespace torvik {

class cDataSource;

/// A data link as the file that torvik-admin reads (docs/commands/torvik-admin-link.md): where it
/// leads, and how to log on there. It holds the password: nobody but that program may get it.
std::string LinkFileText(const cDataSource& link);

}  // namespace torvik
