#include "platform/linux/postgres/PgCatalogue.h"

#include <algorithm>

#include "platform/Text.h"
#include "platform/linux/database/Recordsets.h"
#include "platform/linux/postgres/PgRows.h"
#include "platform/linux/postgres/PgSession.h"

namespace torvik {
namespace {

/// The relation that has a name, spelled so or folded, and its columns. Parameters: the name
/// as it is spelled and folded, the schema or an empty text.
constexpr const char* kTableSql = R"(
SELECT n.nspname, r.relname, a.attname, t.typname, COALESCE(b.oid, t.oid),
  CASE WHEN b.oid IS NULL THEN a.atttypmod ELSE t.typtypmod END,
  (a.attnotnull OR t.typnotnull)::int, (a.attgenerated <> '')::int,
  COALESCE((SELECT k.place FROM pg_catalog.pg_index i,
      unnest(i.indkey) WITH ORDINALITY AS k(attnum, place)
    WHERE i.indrelid = r.oid AND i.indisprimary AND k.attnum = a.attnum
      AND k.place <= i.indnkeyatts), 0),
  CASE WHEN a.attgenerated = '' THEN (SELECT pg_catalog.pg_get_expr(d.adbin, d.adrelid)
    FROM pg_catalog.pg_attrdef d WHERE d.adrelid = r.oid AND d.adnum = a.attnum) END,
  (a.attidentity <> '')::int, COALESCE(q.seqstart, 1), COALESCE(q.seqincrement, 1),
  (t.oid < 16384)::int
FROM (SELECT c.oid, c.relname, c.relnamespace
    FROM pg_catalog.pg_class c JOIN pg_catalog.pg_namespace s ON s.oid = c.relnamespace
    WHERE c.relkind IN ('r', 'p', 'v', 'm', 'f') AND c.relname IN ($1::text, $2::text)
      AND CASE WHEN $3::text = '' THEN pg_catalog.pg_table_is_visible(c.oid)
        ELSE s.nspname IN ($3::text, lower($3::text)) END
    ORDER BY c.relname = $1::text DESC, s.nspname = $3::text DESC LIMIT 1) r
  JOIN pg_catalog.pg_namespace n ON n.oid = r.relnamespace
  JOIN pg_catalog.pg_attribute a ON a.attrelid = r.oid AND a.attnum > 0 AND NOT a.attisdropped
  JOIN pg_catalog.pg_type t ON t.oid = a.atttypid
  LEFT JOIN pg_catalog.pg_sequence q ON q.seqrelid = pg_catalog.pg_get_serial_sequence(
    pg_catalog.quote_ident(n.nspname) || '.' || pg_catalog.quote_ident(r.relname),
    a.attname)::regclass
  LEFT JOIN pg_catalog.pg_type b ON b.oid = t.typbasetype AND t.typtype = 'd'
ORDER BY a.attnum)";

constexpr const char* kColumnsSql = R"(
SELECT current_database() AS "TABLE_CATALOG", n.nspname AS "TABLE_SCHEMA",
  c.relname AS "TABLE_NAME", a.attname AS "COLUMN_NAME", a.attnum AS "ORDINAL_POSITION",
  t.typname AS "DATA_TYPE", (NOT a.attnotnull)::int AS "IS_NULLABLE"
FROM pg_catalog.pg_class c
  JOIN pg_catalog.pg_namespace n ON n.oid = c.relnamespace
  JOIN pg_catalog.pg_attribute a ON a.attrelid = c.oid AND a.attnum > 0 AND NOT a.attisdropped
  JOIN pg_catalog.pg_type t ON t.oid = a.atttypid
WHERE c.relkind IN ('r', 'p', 'v', 'm', 'f')
  AND $1::text IN ('', current_database()) AND $2::text IN ('', n.nspname)
  AND $3::text IN ('', c.relname) AND $4::text IN ('', a.attname)
ORDER BY n.nspname, c.relname, a.attnum)";

constexpr const char* kSchemataSql = R"(
SELECT nspname AS "SCHEMA_NAME" FROM pg_catalog.pg_namespace
WHERE nspname !~ '^pg_(toast|temp)' ORDER BY nspname)";

void SetKind(PgColumn& column, int modifier) {
  using enum ado::ColumnKind;
  const auto sized = [&](const std::string& sizes) { column.declaredType += "(" + sizes + ")"; };
  switch (column.type) {
    case 21: column.kind = Integer, column.size = 2; break;
    case 23: column.kind = Integer, column.size = 4; break;
    case 20: column.kind = Integer, column.size = 8; break;
    case 16: column.kind = Boolean; break;
    case 700:
    case 701: column.kind = Real; break;
    case 1082: column.kind = Date; break;
    case 1114: column.kind = DateTime; [[fallthrough]];
    // The server reads times of day, and moments with their offsets, as texts.
    case 1083:
    case 1184:
    case 1266:
      if (modifier >= 0) sized(std::to_string(modifier));
      break;
    case 1560:
    case 1562:
      if (modifier > 0) sized(std::to_string(modifier));
      break;
    case 17: column.kind = Binary; break;
    case 1042:
    case 1043:
      if (modifier < 4) break;
      column.size = modifier - 4;
      sized(std::to_string(column.size));
      break;
    case 1700:
      column.kind = Decimal;
      if (modifier < 4) break;
      column.precision = (modifier - 4) >> 16 & 0xFFFF;
      column.scale = (((modifier - 4) & 0x7FF) ^ 1024) - 1024;
      sized(std::to_string(column.precision) + ", " + std::to_string(column.scale));
      break;
    default: break;
  }
}

PgColumn ColumnAt(const PGresult* rows, int row) {
  const auto text = [&](int column) { return std::string(PQgetvalue(rows, row, column)); };
  const auto number = [&](int column) { return std::stol(text(column)); };
  PgColumn column;
  column.name = text(2);
  column.declaredType = text(3);
  column.type = static_cast<unsigned>(number(4));
  column.nullable = number(6) == 0;
  column.isComputed = number(7) != 0;
  column.keyPosition = static_cast<int>(number(8));
  column.defaultText = text(9);
  column.isIdentity = number(10) != 0;
  column.seed = number(11), column.increment = number(12);
  const bool isOfTheServer = number(13) != 0;
  column.sql = isOfTheServer ? ado::SqlKind::PostgreSql : ado::SqlKind::Other;
  for (const char* incomparable : {"json", "xml", "point", "polygon"})
    if (column.declaredType == incomparable) column.isComparable = false;
  column.modifier = static_cast<int>(number(5));
  SetKind(column, column.modifier);
  return column;
}

}  // namespace

std::string PgTable::Quoted() const {
  return QuotedName(schema) + "." + QuotedName(name);
}

PgTable FindPgTable(PgSession& session, const std::string& table) {
  const auto name = SplitTableName(table);
  return name ? FindPgTable(session, *name) : PgTable();
}

PgTable FindPgTable(PgSession& session, const TableName& name) {
  try {
    session.Names().RequireReach(name, "");
  } catch (const PlatformError& error) {
    throw session.Refusal(error.Description());
  }
  const PgSession::Parameter parameters[] = {name.table, LowerAscii(name.table),
                                             PostgreSqlNames::SchemaOf(name)};
  const PgResult rows = session.RunWith({kTableSql}, parameters);
  PgTable found;
  for (int row = 0; row < PQntuples(rows.get()); ++row) {
    found.schema = PQgetvalue(rows.get(), row, 0);
    found.name = PQgetvalue(rows.get(), row, 1);
    found.columns.push_back(ColumnAt(rows.get(), row));
  }
  return found;
}

PgTable RequirePgTable(PgSession& session, const std::string& table) {
  PgTable found = FindPgTable(session, table);
  if (found.columns.empty()) throw session.Refusal("there is no table " + table);
  return found;
}

std::unique_ptr<ado::Recordset> OpenPgSchema(std::shared_ptr<PgSession> session,
                                             ado::SchemaQuery query,
                                             std::span<const std::string> restrictions) {
  const bool isColumns = query == ado::SchemaQuery::Columns;
  std::vector<PgSession::Parameter> parameters;
  for (std::size_t i = 0; isColumns && i < 4; ++i)
    parameters.emplace_back(i < restrictions.size() ? restrictions[i] : "");
  auto rows = NewPgRows(session->RunWith({isColumns ? kColumnsSql : kSchemataSql}, parameters));
  return NewRecordset(
      std::move(rows), {},
      [session](const std::string& reason) { return session->Refusal(reason); }, nullptr);
}

}  // namespace torvik
