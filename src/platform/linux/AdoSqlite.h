#pragma once

#include <memory>
#include <string>

#include "platform/linux/AdoDatabase.h"

namespace torvik {

/// Opens a database of the embedded server in `directory`; an empty name is master. Statements wait
/// up to `timeoutSeconds` for one that another connection holds. A change of several databases in
/// one transaction is all or nothing for each of them, and for all unless the power fails.
std::unique_ptr<AdoDatabase> OpenSqliteDatabase(const std::string& directory,
                                                const std::string& database, int timeoutSeconds);

}  // namespace torvik
