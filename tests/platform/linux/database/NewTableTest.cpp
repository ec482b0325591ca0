// What becomes of a table's columns on another kind of server.

#include "platform/linux/database/NewTable.h"

#include <gtest/gtest.h>

namespace torvik {
namespace {

using ado::ColumnKind;
using ado::SqlKind;

std::string Joined(const NewTable& table) {
  std::string text = table.columns;
  for (const std::string& loss : table.losses) text += "; " + loss;
  return text;
}

TEST(NewTable, AColumnKeepsItsTypeOrSaysWhatItLoses) {
  constexpr SqlKind kSqlServer = SqlKind::SqlServer, kPostgreSql = SqlKind::PostgreSql,
                    kEmbedded = SqlKind::Embedded;
  const struct {
    SqlKind from;
    const char* type;
    SqlKind to;
    const char* made;
    ColumnKind kind = ColumnKind::Text;
  } cases[] = {
      {kSqlServer, "datetime", kSqlServer, "datetime"},
      {kSqlServer, "sql_variant", kSqlServer, "sql_variant"},
      {kSqlServer, "tinyint", kPostgreSql, "smallint"},
      {kSqlServer, "tinyint", kEmbedded, "TINYINT"},
      {kSqlServer, "money", kPostgreSql, "numeric(19, 4)"},
      {kSqlServer, "real", kEmbedded, "REAL"},
      {kSqlServer, "datetime2(3)", kPostgreSql, "timestamp(3)"},
      {kSqlServer, "datetime2(7)", kPostgreSql,
       "timestamp(6); column x: its times are kept to a millionth of a second"},
      {kSqlServer, "datetimeoffset(7)", kPostgreSql,
       "timestamptz(6); column x: its moments are kept, their offsets are not"},
      {kSqlServer, "time(0)", kEmbedded, "TIME(0)"},
      {kSqlServer, "uniqueidentifier", kPostgreSql, "uuid"},
      {kSqlServer, "nchar(3)", kPostgreSql, "char(3)"},
      {kSqlServer, "nvarchar(max)", kEmbedded, "by kind"},
      {kSqlServer, "varbinary(16)", kPostgreSql, "bytea"},
      {kSqlServer, "timestamp", kEmbedded, "BINARY(8)"},
      {kSqlServer, "sql_variant", kEmbedded,
       "by kind; column x: its type sql_variant becomes by kind"},
      {kPostgreSql, "_int4", kPostgreSql, "_int4"},
      {kPostgreSql, "float4", kSqlServer, "real"},
      {kPostgreSql, "uuid", kSqlServer, "uniqueidentifier"},
      {kPostgreSql, "uuid", kEmbedded, "UNIQUEIDENTIFIER"},
      {kPostgreSql, "time(3)", kSqlServer, "time(3)"},
      {kPostgreSql, "timestamptz", kEmbedded, "DATETIMEOFFSET"},
      {kPostgreSql, "timestamp(3)", kSqlServer, "datetime2(3)"},
      {kPostgreSql, "varchar(9)", kSqlServer, "by kind"},
      {kPostgreSql, "jsonb", kSqlServer, "by kind; column x: its type jsonb becomes by kind"},
      {kEmbedded, "SmallMoney", kSqlServer, "smallmoney"},
      {kEmbedded, "TIME(3)", kPostgreSql, "time(3)"},
      {kEmbedded, "REAL", kSqlServer, "by kind", ColumnKind::Real},
      {kEmbedded, "DATETIME", kSqlServer, "by kind", ColumnKind::DateTime},
      {kEmbedded, "VARCHAR(9)", kSqlServer, "by kind"},
      {kEmbedded, "CLOB(9)", kEmbedded, "CLOB(9)"}};
  for (const auto& c : cases) {
    const ado::Column column[] = {
        {.name = "x", .kind = c.kind, .declaredType = c.type, .sql = c.from}};
    const NewTable made = WriteTable({c.to, [](const std::string& name) { return name; },
                                      [](const ado::Column&) { return "by kind"; }},
                                     column);
    EXPECT_EQ(std::string("x ") + c.made, Joined(made)) << c.type;
  }
}

TEST(NewTable, DefaultsAndNumbersAreWrittenAsEachServerTakesThem) {
  const struct {
    SqlKind from;
    const char* given;
    const char *sqlServer, *postgreSql, *embedded;
    ColumnKind kind = ColumnKind::Text;
  } cases[] = {
      {SqlKind::SqlServer, "((-7))", "((-7))", "-7", "-7"},
      {SqlKind::SqlServer, "(N'it''s) (')", "(N'it''s) (')", "'it''s) ('", "'it''s) ('"},
      {SqlKind::SqlServer, "((1))", "((1))", "true", "1", ColumnKind::Boolean},
      {SqlKind::SqlServer, "(getdate())", "(getdate())", "LOCALTIMESTAMP",
       "(strftime('%Y-%m-%d %H:%M:%f', 'now', 'localtime'))"},
      {SqlKind::SqlServer, "(getdate())", "(getdate())", "CURRENT_DATE",
       "(date('now', 'localtime'))", ColumnKind::Date},
      {SqlKind::SqlServer, "([dbo].[f]((1)))", "([dbo].[f]((1)))", "", ""},
      {SqlKind::PostgreSql, "'x'::character varying", "'x'", "'x'::character varying", "'x'"},
      {SqlKind::PostgreSql, "('-3'::integer)", "'-3'", "('-3'::integer)", "'-3'"},
      {SqlKind::PostgreSql, "false", "0", "false", "0", ColumnKind::Boolean},
      {SqlKind::PostgreSql, "now()", "getdate()", "now()",
       "(strftime('%Y-%m-%d %H:%M:%f', 'now', 'localtime'))"},
      {SqlKind::PostgreSql, "'a'::text || 'b'::text", "", "'a'::text || 'b'::text", ""},
      {SqlKind::Embedded, "CURRENT_TIMESTAMP", "getutcdate()", "(now() AT TIME ZONE 'UTC')",
       "(CURRENT_TIMESTAMP)"},
      {SqlKind::Embedded, "upper('a')", "", "", "(upper('a'))"}};
  for (const auto& c : cases) {
    const std::pair<SqlKind, const char*> servers[] = {{SqlKind::SqlServer, c.sqlServer},
                                                       {SqlKind::PostgreSql, c.postgreSql},
                                                       {SqlKind::Embedded, c.embedded}};
    for (const auto& [to, expected] : servers) {
      const ado::Column column[] = {
          {.name = "x", .kind = c.kind, .declaredType = "", .defaultText = c.given, .sql = c.from}};
      const std::string text = expected;
      EXPECT_EQ(text.empty()
                    ? "x t; column x: its default " + std::string(c.given) + " is not known here"
                    : "x t DEFAULT " + text,
                Joined(WriteTable({to, [](const std::string& name) { return name; },
                                   [](const ado::Column&) { return "t"; }},
                                  column)))
          << c.given << static_cast<int>(to);
    }
  }
  const ado::Column table[] = {{.name = "id",
                                .kind = ColumnKind::Integer,
                                .nullable = false,
                                .keyPosition = 1,
                                .isIdentity = true,
                                .seed = -5},
                               {.name = "n",
                                .kind = ColumnKind::Integer,
                                .defaultText = "nextval('n_seq'::regclass)",
                                .sql = SqlKind::PostgreSql},
                               {.name = "c", .isComputed = true}};
  const std::string loses = "; column n: it does not number rows by itself",
                    computed = "; column c: its values are computed there and stored here";
  const std::pair<SqlKind, std::string> servers[] = {
      {SqlKind::SqlServer, "id t IDENTITY(-5, 1) NOT NULL, n t, c t, PRIMARY KEY (id)" + loses},
      {SqlKind::PostgreSql,
       "id t GENERATED BY DEFAULT AS IDENTITY (START WITH -5 INCREMENT BY 1 MINVALUE -5) NOT "
       "NULL, n t GENERATED BY DEFAULT AS IDENTITY, c t, PRIMARY KEY (id)"},
      {SqlKind::Embedded,
       "id t IDENTITY NOT NULL, n t, c t, PRIMARY KEY (id)"
       "; column id: its numbers begin at 1" +
           loses}};
  for (const auto& [server, text] : servers)
    EXPECT_EQ(text + computed, Joined(WriteTable({server, [](const auto& name) { return name; },
                                                  [](const ado::Column&) { return "t"; }},
                                                 table)));
}

}  // namespace
}  // namespace torvik
