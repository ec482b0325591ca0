#pragma once

#include <memory>
#include <string>

#include "platform/linux/sqlite/SessionTables.h"
#include "platform/linux/tables/common/TableFile.h"

namespace torvik {

/// The tables of a file as tables of a SQLite session. They cannot be written. A row is read when
/// SQLite asks for it; where it asks again and again for the rows with a given value, as a join
/// does, their places are remembered as long as the statement runs.
std::unique_ptr<SessionTables> NewTableFileModule(std::unique_ptr<TableFile> file);

}  // namespace torvik
