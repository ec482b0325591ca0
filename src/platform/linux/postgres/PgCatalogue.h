#pragma once

#include <memory>
#include <span>
#include <string>
#include <vector>

#include "platform/Ado.h"
#include "platform/linux/database/SqlNames.h"

namespace torvik {

class PgSession;

/// A column with what the catalogue knows beyond ado::Column.
struct PgColumn : ado::Column {
  unsigned type = 0;         ///< Its number in the catalogue; of a domain, that of its base.
  int modifier = -1;         ///< What the declaration adds to the type; -1: nothing.
  bool isComparable = true;  ///< "=" may compare its values.
};

/// A table as the server's catalogue has it.
struct PgTable {
  std::string schema, name;
  std::vector<PgColumn> columns;  ///< Empty: there is no such table.

  /// As a statement takes it, quoted.
  std::string Quoted() const;
};

/// Looks a table up, as its name is spelled or as the server folds names that are not quoted, in
/// the schema named or else where statements find it. Throws PlatformError for another database.
PgTable FindPgTable(PgSession& session, const TableName& name);
PgTable FindPgTable(PgSession& session, const std::string& table);
/// The same; throws when there is no such table.
PgTable RequirePgTable(PgSession& session, const std::string& table);

/// The columns and schemata rowsets, with the contracts of ado::Connection::OpenSchema.
std::unique_ptr<ado::Recordset> OpenPgSchema(std::shared_ptr<PgSession> session,
                                             ado::SchemaQuery query,
                                             std::span<const std::string> restrictions);

}  // namespace torvik
