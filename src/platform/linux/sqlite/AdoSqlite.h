#pragma once

#include <memory>
#include <string>

#include "platform/linux/database/AdoDatabase.h"
#include "platform/linux/settings/EmbeddedDurability.h"
#include "platform/linux/sqlite/SessionTables.h"

namespace torvik {

/// Opens a database of the embedded server in `directory`; an empty name is master. Statements wait
/// for one that another connection holds as long as that one writes, and then up to
/// `timeoutSeconds`. A change of several databases in
/// one transaction is all or nothing for each of them, and for all unless the power fails.
std::unique_ptr<AdoDatabase> OpenSqliteDatabase(const std::string& directory,
                                                const std::string& database, int timeoutSeconds,
                                                const EmbeddedDurability& durability = {});

/// Opens a file that is no database of SQLite by the tables that stand for it. `name` is that of
/// its catalogue. What would change anything is refused.
std::unique_ptr<AdoDatabase> OpenReadOnlyTables(const std::string& name, const std::string& path,
                                                std::unique_ptr<SessionTables> tables);

}  // namespace torvik
