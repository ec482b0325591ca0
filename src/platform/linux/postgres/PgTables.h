#pragma once

#include <span>
#include <string>
#include <vector>

#include "platform/Ado.h"

/// What ado::Connection does to whole tables, with its contracts.
namespace torvik {

class PgSession;
struct PgTable;

/// Names that need no quotes are folded to small letters, as the server does in SQL texts.
std::vector<std::string> CreatePgTable(PgSession& session, const std::string& table,
                                       std::span<const ado::Column> columns);

/// By TRUNCATE; by DELETE where a foreign key or a missing right stands against that.
void EmptyPgTable(PgSession& session, const std::string& table);

/// After rows that brought their numbers along: the table's identity goes on behind the last one,
/// if the account may set it.
void AdvanceNumbering(PgSession& session, const PgTable& table);

}  // namespace torvik
