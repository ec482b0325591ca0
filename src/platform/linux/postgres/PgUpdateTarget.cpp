#include "platform/linux/postgres/PgUpdateTarget.h"

#include <algorithm>
#include <cstdlib>
#include <map>
#include <optional>

#include "platform/linux/database/QueryRows.h"
#include "platform/linux/postgres/PgCatalogue.h"
#include "platform/linux/postgres/PgParameters.h"
#include "platform/linux/postgres/PgUndo.h"

namespace torvik {
namespace {

class PgUpdateTarget final : public UpdateTarget {
 public:
  PgUpdateTarget(std::shared_ptr<PgSession> session, const std::string& sql, const QueryRows& query)
      : session_(std::move(session)), name_(OneTableOf(sql)) {
    for (int field = 0; field < query.ColumnCount(); ++field)
      fields_.push_back(query.ColumnName(field));
  }

  UpdatableQuery Describe() override {
    UpdatableQuery query;
    const PgTable table = name_ ? FindPgTable(*session_, *name_) : PgTable();
    if (table.columns.empty()) return query;
    query.table = table.Quoted();
    query.tableName = table.name;
    for (std::size_t field = 0; field < fields_.size(); ++field) {
      const auto column = std::ranges::find(table.columns, fields_[field], &PgColumn::name);
      const bool isThere = column != table.columns.end();
      query.columns.push_back(isThere ? std::optional(QuotedName(column->name)) : std::nullopt);
      query.markers.push_back("?");
      if (isThere && column->isComparable) query.comparedFields.push_back(static_cast<int>(field));
    }
    query.keyFields = KeyFields(table);
    return query;
  }

  std::int64_t UpdateOneRow(const std::string& sql, const Row& parameters) override {
    PgUndo undo(*session_);
    const PgStatement update = SplitStatements(sql, PgMarkers::Numbered).at(0);
    const PgResult result = session_->RunWith(update, PgParameters(parameters));
    const std::int64_t rows = std::atoll(PQcmdTuples(result.get()));
    if (rows == 1) undo.Keep();
    return rows;
  }

  PlatformError Refusal(const std::string& reason) override { return session_->Refusal(reason); }

 private:
  std::vector<int> KeyFields(const PgTable& table) const {
    std::map<int, int> fields;
    for (const PgColumn& column : table.columns) {
      if (column.keyPosition == 0) continue;
      const auto found = std::ranges::find(fields_, column.name);
      if (found == fields_.end()) return {};
      fields[column.keyPosition] = static_cast<int>(found - fields_.begin());
    }
    std::vector<int> inOrder;
    for (const auto& [position, field] : fields) inOrder.push_back(field);
    return inOrder;
  }

  const std::shared_ptr<PgSession> session_;
  const std::optional<TableName> name_;
  std::vector<std::string> fields_;
};

}  // namespace

std::unique_ptr<UpdateTarget> NewPgUpdateTarget(std::shared_ptr<PgSession> session,
                                                const std::string& sql, const QueryRows& query) {
  return std::make_unique<PgUpdateTarget>(std::move(session), sql, query);
}

}  // namespace torvik
