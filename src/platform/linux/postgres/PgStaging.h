#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "platform/Ado.h"

/// Tables in which rows wait until they take their place, with the contracts of ado::Database.
namespace torvik {

class PgSession;

/// The staging table is written to no log and has the columns, defaults, checks and keys of its
/// table, but no foreign keys and no triggers. Waits for another load that has one of this table.
std::string CreatePgStagingTable(PgSession& session, const std::string& table);

/// Without the keys. The session holds an advisory lock, by the table's number, until it is
/// released.
std::string CreateSharedPgStagingTable(PgSession& session, const std::string& table);
void ReleasePgStagingTable(PgSession& session, const std::string& table,
                           const std::string& staging);

/// By DELETE and INSERT, which make no reader wait.
std::int64_t ReplacePgRows(PgSession& session, const std::string& table,
                           const std::string& staging);

std::int64_t AppendPgRows(PgSession& session, const std::string& table, const std::string& staging,
                          const std::vector<ado::Column>& columns);

}  // namespace torvik
