#pragma once

#include "platform/linux/database/SqlNames.h"
#include "platform/linux/odbc/OdbcCatalogue.h"

namespace torvik {

class OdbcSession;

/// A table of SQL Server, its key included, in one question; a temporary one as well. Without
/// columns when a statement does not find a table by this name.
OdbcTable FindSqlServerTable(OdbcSession& session, const TableName& name);

}  // namespace torvik
