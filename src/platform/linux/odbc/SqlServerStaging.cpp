#include "platform/linux/odbc/SqlServerStaging.h"

#include <functional>

#include "platform/linux/database/SqlNames.h"
#include "platform/linux/odbc/OdbcCatalogue.h"
#include "platform/linux/odbc/OdbcFields.h"
#include "platform/linux/odbc/OdbcStatement.h"

namespace torvik {
namespace {

/// Reads the rules of one table and writes the statements that give them to another.
class TableRules {
 public:
  TableRules(OdbcSession& session, const OdbcTable& table, const std::string& copy)
      : session_(session),
        database_(table.catalogue.empty() ? "" : QuotedName(table.catalogue) + "."),
        id_("OBJECT_ID(N" + QuotedText(QuotedTable(table)) + ")"),
        alter_("ALTER TABLE " + copy + " ADD "),
        copy_(copy) {}

  std::string Statements() {
    ForEach(
        "SELECT name, TYPE_NAME(system_type_id), CAST(precision AS int), "
        "CAST(seed_value AS bigint), CAST(increment_value AS bigint) "
        "FROM {db}sys.identity_columns WHERE object_id = {id} AND EXISTS "
        "(SELECT 1 FROM {db}sys.columns WHERE object_id = {id} AND is_identity = 0)",
        [this](const OdbcStatement& row) {
          const std::string type = TextAt(row, 1);
          const bool isDecimal = type == "decimal" || type == "numeric";
          Add(alter_ + QuotedName(TextAt(row, 0)) + " " + type +
              (isDecimal ? "(" + std::to_string(NumberAt(row, 2)) + ", 0)" : "") + " IDENTITY(" +
              std::to_string(LongAt(row, 3)) + ", " + std::to_string(LongAt(row, 4)) +
              ") NOT NULL");
        });
    ForEach("SELECT name, definition FROM {db}sys.computed_columns WHERE object_id = {id}",
            [this](const OdbcStatement& row) {
              Add(alter_ + QuotedName(TextAt(row, 0)) + " AS " + TextAt(row, 1));
            });
    ForEach(
        "SELECT c.name, d.definition FROM {db}sys.default_constraints d JOIN {db}sys.columns c "
        "ON c.object_id = d.parent_object_id AND c.column_id = d.parent_column_id "
        "WHERE d.parent_object_id = {id}",
        [this](const OdbcStatement& row) {
          Add(alter_ + "DEFAULT " + TextAt(row, 1) + " FOR " + QuotedName(TextAt(row, 0)));
        });
    ForEach(
        "SELECT definition FROM {db}sys.check_constraints WHERE parent_object_id = {id} "
        "AND is_disabled = 0",
        [this](const OdbcStatement& row) { Add(alter_ + "CHECK (" + TextAt(row, 0) + ")"); });
    AddKeys();
    return statements_;
  }

 private:
  void AddKeys() {
    std::string index, columns, filter;
    const auto end = [&] {
      if (!index.empty())
        Add("CREATE UNIQUE INDEX " + QuotedName(index) + " ON " + copy_ + " (" + columns + ")" +
            (filter.empty() ? "" : " WHERE " + filter));
      columns.clear();
    };
    ForEach(
        "SELECT i.name, c.name, i.filter_definition FROM {db}sys.indexes i "
        "JOIN {db}sys.index_columns x ON x.object_id = i.object_id AND x.index_id = i.index_id "
        "JOIN {db}sys.columns c ON c.object_id = x.object_id AND c.column_id = x.column_id "
        "WHERE i.object_id = {id} AND i.is_unique = 1 AND i.is_disabled = 0 "
        "AND x.key_ordinal > 0 ORDER BY i.index_id, x.key_ordinal",
        [&](const OdbcStatement& row) {
          if (TextAt(row, 0) != index) {
            end();
            index = TextAt(row, 0), filter = TextAt(row, 2);
          }
          columns += (columns.empty() ? "" : ", ") + QuotedName(TextAt(row, 1));
        });
    end();
  }

  void ForEach(std::string sql, const std::function<void(const OdbcStatement&)>& take) {
    for (const auto& [marker, value] : {std::pair<std::string, std::string>{"{db}", database_},
                                        std::pair<std::string, std::string>{"{id}", id_}})
      for (std::size_t at = 0; (at = sql.find(marker, at)) != std::string::npos; at += value.size())
        sql.replace(at, marker.size(), value);
    OdbcStatement query(session_);
    query.Execute(sql);
    while (query.Step()) take(query);
  }

  void Add(const std::string& statement) { statements_ += statement + ";\n"; }

  OdbcSession& session_;
  const std::string database_, id_, alter_, copy_;
  std::string statements_;
};

}  // namespace

void AddRulesOf(OdbcSession& session, const OdbcTable& table, const OdbcTable& copy) {
  const std::string statements = TableRules(session, table, QuotedTable(copy)).Statements();
  if (!statements.empty()) session.Run(statements);
}

}  // namespace torvik
