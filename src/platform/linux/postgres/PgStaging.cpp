#include "platform/linux/postgres/PgStaging.h"

#include <cstdlib>
#include <string_view>

#include "platform/linux/postgres/PgCatalogue.h"
#include "platform/linux/postgres/PgSession.h"
#include "platform/linux/postgres/PgTables.h"
#include "platform/linux/postgres/PgUndo.h"

namespace torvik {
namespace {

constexpr std::size_t kLongestName = 63;
constexpr std::string_view kStagingEnd = "_torvik_staging";

/// Of the advisory lock by which one load at a time has the staging table of the table $1.
constexpr const char* kStagingLock =
    "((1953460854::bigint << 32) | $1::pg_catalog.regclass::oid::bigint)";

/// A long name is cut; the table's own number then tells it from others that begin alike.
std::string StagingName(PgSession& session, const PgTable& table) {
  std::string end(kStagingEnd);
  if (table.name.size() + end.size() <= kLongestName) return table.name + end;
  const PgSession::Parameter quoted[] = {table.Quoted()};
  const PgResult number = session.RunWith({"SELECT $1::regclass::oid"}, quoted);
  end = std::string("_") + PQgetvalue(number.get(), 0, 0) + end;
  std::size_t size = kLongestName - end.size();
  while (size > 0 && (static_cast<unsigned char>(table.name[size]) & 0xC0) == 0x80) --size;
  return table.name.substr(0, size) + end;
}

std::int64_t RowsOf(const PgResult& result) {
  return std::atoll(PQcmdTuples(result.get()));
}

/// Calls a function of advisory locks for the staging table of `table`; answers its first value.
std::string CallOnLock(PgSession& session, const PgTable& table, const std::string& function) {
  const PgSession::Parameter quoted[] = {table.Quoted()};
  const PgResult result =
      session.RunWith({"SELECT pg_catalog." + function + "(" + kStagingLock + ")"}, quoted);
  return PQgetvalue(result.get(), 0, 0);
}

/// Gives up the lock, twice: its taking on release is undone as well. Errors stay.
void Unlock(PgSession& session, const PgTable& table) {
  const std::vector<ado::ProviderError> errors = session.Errors();
  try {
    for (int taken = 0; taken < 2; ++taken) CallOnLock(session, table, "pg_advisory_unlock");
  } catch (const PlatformError&) {
    // The connection is lost, and its locks with it.
  }
  session.RestoreErrors(errors);
}

std::string MakeStaging(PgSession& session, const PgTable& table, const std::string& without) {
  const std::string staging =
      QuotedName(table.schema) + "." + QuotedName(StagingName(session, table));
  session.Run("DROP TABLE IF EXISTS " + staging);
  session.Run("CREATE UNLOGGED TABLE " + staging + " (LIKE " + table.Quoted() + " INCLUDING ALL" +
              without + ")");
  return staging;
}

}  // namespace

std::string CreatePgStagingTable(PgSession& session, const std::string& table) {
  const PgTable found = RequirePgTable(session, table);
  CallOnLock(session, found, "pg_advisory_xact_lock");
  return MakeStaging(session, found, "");
}

std::string CreateSharedPgStagingTable(PgSession& session, const std::string& table) {
  const PgTable found = RequirePgTable(session, table);
  CallOnLock(session, found, "pg_advisory_lock");
  try {
    return MakeStaging(session, found, " EXCLUDING INDEXES");
  } catch (const PlatformError&) {
    Unlock(session, found);
    throw;
  }
}

void ReleasePgStagingTable(PgSession& session, const std::string& table,
                           const std::string& staging) {
  const PgTable found = RequirePgTable(session, table);
  if (CallOnLock(session, found, "pg_try_advisory_lock") != "t") return;  // another load has it
  try {
    PgUndo undo(session);
    session.Run(std::string("SET LOCAL lock_timeout = '10s'"));
    session.Run("DROP TABLE IF EXISTS " + staging);
    undo.Keep();
  } catch (const PlatformError&) {
    Unlock(session, found);
    throw;
  }
  Unlock(session, found);
}

std::int64_t ReplacePgRows(PgSession& session, const std::string& table,
                           const std::string& staging) {
  const PgTable target = RequirePgTable(session, table), source = RequirePgTable(session, staging);
  std::string columns;
  for (const PgColumn& column : target.columns)
    if (!column.isComputed) columns += (columns.empty() ? "" : ", ") + QuotedName(column.name);
  PgUndo undo(session);
  session.Run("DELETE FROM " + target.Quoted());
  const PgResult inserted =
      session.Run("INSERT INTO " + target.Quoted() + " (" + columns +
                  ") OVERRIDING SYSTEM VALUE SELECT " + columns + " FROM " + source.Quoted());
  const std::int64_t rows = RowsOf(inserted);
  AdvanceNumbering(session, target);
  session.Run("DROP TABLE " + source.Quoted());
  undo.Keep();
  return rows;
}

std::int64_t AppendPgRows(PgSession& session, const std::string& table, const std::string& staging,
                          const std::vector<ado::Column>& columns) {
  const PgTable target = RequirePgTable(session, table), source = RequirePgTable(session, staging);
  std::string names;
  bool givesIdentity = false;
  for (const ado::Column& column : columns) {
    names += (names.empty() ? "" : ", ") + QuotedName(column.name);
    givesIdentity |= column.isIdentity;
  }
  PgUndo undo(session);
  const PgResult inserted =
      session.Run("INSERT INTO " + target.Quoted() + " (" + names +
                  ") OVERRIDING SYSTEM VALUE SELECT " + names + " FROM " + source.Quoted());
  const std::int64_t rows = RowsOf(inserted);
  if (givesIdentity && rows > 0) AdvanceNumbering(session, target);
  session.Run("DROP TABLE " + source.Quoted());
  undo.Keep();
  return rows;
}

}  // namespace torvik
