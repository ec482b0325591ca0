#pragma once

#include <memory>
#include <span>
#include <string>
#include <vector>

#include "platform/Ado.h"
#include "platform/linux/database/SqlNames.h"

namespace torvik {

class OdbcSession;

/// A table as the server's catalogue has it.
struct OdbcTable {
  std::string catalogue, schema, name;
  std::vector<ado::Column> columns;  ///< Empty: there is no such table.
};

/// Looks a table up, as its name is spelled or as the server folds names that are not quoted. The
/// table of the connection's own schema goes before those of others.
OdbcTable FindOdbcTable(OdbcSession& session, const TableName& name);

/// A name that is a plain word as the server stores it when it is not quoted; any other as it is.
std::string FoldedWord(const OdbcSession& session, const std::string& name);

/// The columns of the table's primary key; empty when it has none or
/// the driver cannot tell.
std::vector<std::string> PrimaryKey(OdbcSession& session, const OdbcTable& table);

/// The name as a statement takes it, quoted.
std::string QuotedTable(const OdbcTable& table);

/// The columns and schemata rowsets, with the contracts of ado::Connection::OpenSchema.
std::unique_ptr<ado::Recordset> OpenOdbcSchema(std::shared_ptr<OdbcSession> session,
                                               ado::SchemaQuery query,
                                               std::span<const std::string> restrictions);

}  // namespace torvik
