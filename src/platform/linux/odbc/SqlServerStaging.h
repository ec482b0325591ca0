#pragma once

#include <string>

namespace torvik {

class OdbcSession;
struct OdbcTable;

/// Gives a copy of a table of SQL Server what the copying of columns leaves out and an insert
/// heeds: the column that numbers the rows, defaults, computed columns, checks and unique keys.
/// Foreign keys are not among it.
void AddRulesOf(OdbcSession& session, const OdbcTable& table, const OdbcTable& copy);

}  // namespace torvik
