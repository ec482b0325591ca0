#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <vector>

#include "platform/Ado.h"

namespace torvik {

class OdbcSession;
struct OdbcTable;

/// The columns of a table that take values: those that are not computed.
struct OdbcValueColumns {
  std::vector<std::string> names;
  std::string identity;  ///< The one that numbers the rows by itself; empty without one.
};
OdbcValueColumns ValueColumnsOf(OdbcSession& session, const OdbcTable& table);

/// The calls of ado::Connection of the same names. In names that are plain words capital and small
/// letters become those of the server's names without quotes, so that SQL finds them without.
std::vector<std::string> CreateOdbcTable(OdbcSession& session, const std::string& table,
                                         std::span<const ado::Column> columns);

/// The same of tables that are there.
void EmptyOdbcTable(OdbcSession& session, const OdbcTable& table);
std::string CreateOdbcStagingTable(OdbcSession& session, const OdbcTable& table);
std::int64_t ReplaceOdbcRows(OdbcSession& session, const OdbcTable& table,
                             const OdbcTable& staging);

}  // namespace torvik
