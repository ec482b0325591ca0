#include "platform/linux/postgres/PgTables.h"

#include <algorithm>
#include <optional>

#include "platform/Text.h"
#include "platform/linux/database/NewTable.h"
#include "platform/linux/postgres/PgCatalogue.h"
#include "platform/linux/postgres/PgSession.h"

namespace torvik {
namespace {

bool NeedsNoQuotes(const std::string& name) {
  const auto isPlain = [](char c) {
    c = LowerAscii(c);
    return (c >= 'a' && c <= 'z') || (c >= '0' && c <= '9') || c == '_';
  };
  return !name.empty() && (name[0] < '0' || name[0] > '9') && std::ranges::all_of(name, isPlain);
}

std::string Folded(const std::string& name) {
  return QuotedName(NeedsNoQuotes(name) ? LowerAscii(name) : name);
}

std::string Sizes(int first, std::optional<int> second = {}) {
  return "(" + std::to_string(first) + (second ? ", " + std::to_string(*second) : "") + ")";
}

std::string TypeOf(const ado::Column& column) {
  using enum ado::ColumnKind;
  switch (column.kind) {
    case Text: return column.size > 0 ? "varchar" + Sizes(column.size) : "text";
    case Integer:
      return column.size > 0 && column.size <= 2 ? "smallint"
             : column.size == 4                  ? "integer"
                                                 : "bigint";
    case Decimal:
      return column.precision > 0 ? "numeric" + Sizes(column.precision, column.scale) : "numeric";
    case Real: return "double precision";
    case Boolean: return "boolean";
    case Date: return "date";
    case DateTime: return "timestamp";
    case Binary: return "bytea";
  }
  return "text";
}

/// The name of a new table as a statement takes it.
std::string NewTableName(PgSession& session, const std::string& table) {
  const auto name = SplitTableName(table);
  if (!name) throw session.Refusal("a table cannot be named " + table);
  try {
    session.Names().RequireReach(*name, "");
  } catch (const PlatformError& error) {
    throw session.Refusal(error.Description());
  }
  const bool isQuoted = table.find_first_of("\"[`") != std::string::npos;
  const auto spelled = [&](const std::string& part) {
    return isQuoted ? QuotedName(part) : Folded(part);
  };
  const std::string schema = PostgreSqlNames::SchemaOf(*name);
  return (schema.empty() ? "" : spelled(schema) + ".") + spelled(name->table);
}

}  // namespace

std::vector<std::string> CreatePgTable(PgSession& session, const std::string& table,
                                       std::span<const ado::Column> columns) {
  const NewTable made = WriteTable({ado::SqlKind::PostgreSql, Folded, TypeOf}, columns);
  session.Run("CREATE TABLE " + NewTableName(session, table) + " (" + made.columns + ")");
  return made.losses;
}

void EmptyPgTable(PgSession& session, const std::string& table) {
  const std::string name = RequirePgTable(session, table).Quoted();
  try {
    session.Run("TRUNCATE TABLE " + name);
  } catch (const PlatformError& error) {
    const std::string text = error.Description();
    const auto says = [&](const char* state) { return text.find(state) != std::string::npos; };
    if (!says("SQLSTATE 0A000") && !says("SQLSTATE 42501") && !says("SQLSTATE 42809")) throw;
    session.Run("DELETE FROM " + name);
  }
}

void AdvanceNumbering(PgSession& session, const PgTable& table) {
  for (const PgColumn& column : table.columns) {
    if (!column.isIdentity) continue;
    const bool goesUp = column.increment > 0;
    const PgSession::Parameter parameters[] = {table.Quoted(), column.name};
    session.RunWith(
        {"SELECT pg_catalog.setval(q.name, x.number) FROM "
         "(SELECT pg_catalog.pg_get_serial_sequence($1, $2)::regclass AS name) q, (SELECT " +
         std::string(goesUp ? "max(" : "min(") + QuotedName(column.name) + ") AS number FROM " +
         table.Quoted() +
         ") x WHERE x.number IS NOT NULL AND CASE WHEN "
         "pg_catalog.has_sequence_privilege(q.name, 'SELECT') AND "
         "pg_catalog.has_sequence_privilege(q.name, 'UPDATE') THEN x.number " +
         (goesUp ? ">" : "<") + " COALESCE(pg_catalog.pg_sequence_last_value(q.name), " +
         std::to_string(column.seed - column.increment) + ") ELSE false END"},
        parameters);
  }
}

}  // namespace torvik
