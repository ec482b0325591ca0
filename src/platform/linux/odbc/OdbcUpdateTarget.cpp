#include "platform/linux/odbc/OdbcUpdateTarget.h"

#include <algorithm>

#include "platform/Text.h"
#include "platform/linux/odbc/OdbcCatalogue.h"
#include "platform/linux/odbc/OdbcStatement.h"
#include "platform/linux/odbc/OdbcUndo.h"

namespace torvik {
namespace {

class OdbcUpdateTarget final : public UpdateTarget {
 public:
  OdbcUpdateTarget(std::shared_ptr<OdbcSession> session, const std::string& sql,
                   const QueryRows& query)
      : session_(std::move(session)), name_(OneTableOf(sql)) {
    for (int field = 0; field < query.ColumnCount(); ++field)
      fields_.push_back(query.ColumnName(field));
  }

  UpdatableQuery Describe() override {
    UpdatableQuery query;
    if (!name_) return query;
    const OdbcTable table = FindOdbcTable(*session_, *name_);
    if (table.columns.empty()) return query;
    query.table = QuotedTable(table);
    query.tableName = tableName_ = table.name;
    for (std::size_t field = 0; field < fields_.size(); ++field) {
      const auto column = std::ranges::find(table.columns, fields_[field], &ado::Column::name);
      const bool isThere = column != table.columns.end();
      query.columns.push_back(isThere ? std::optional(QuotedName(column->name)) : std::nullopt);
      query.markers.push_back(isThere ? session_->Dialect().Marker(*column) : "?");
      if (isThere && session_->Dialect().CanCompare(*column))
        query.comparedFields.push_back(static_cast<int>(field));
    }
    query.keyFields = KeyFields(table);
    return query;
  }

  std::int64_t UpdateOneRow(const std::string& sql, const Row& parameters) override {
    OdbcUndo undo(*session_, "torvik_row");
    OdbcStatement update(*session_);
    update.Prepare(sql);
    const std::int64_t rows = update.ExecutePrepared(AsText(parameters));
    if (rows == 1) undo.Keep();
    return rows;
  }

  PlatformError Refusal(const std::string& reason) override { return session_->Refusal(reason); }

 private:
  std::vector<int> KeyFields(const OdbcTable& table) const {
    std::vector<int> fields;
    for (const std::string& name : PrimaryKey(*session_, table)) {
      const auto found = std::ranges::find(fields_, name);
      if (found == fields_.end()) return {};
      fields.push_back(static_cast<int>(found - fields_.begin()));
    }
    return fields;
  }

  /// A server that is strict about types takes a number for a truth value, say, only as text.
  Row AsText(Row parameters) const {
    for (ado::Value& value : parameters)
      if (const auto* number = std::get_if<std::int64_t>(&value)) value = std::to_string(*number);
    return parameters;
  }

  const std::shared_ptr<OdbcSession> session_;
  const std::optional<TableName> name_;
  std::vector<std::string> fields_;
  std::string tableName_;
};

}  // namespace

std::unique_ptr<UpdateTarget> NewOdbcUpdateTarget(std::shared_ptr<OdbcSession> session,
                                                  const std::string& sql, const QueryRows& query) {
  return std::make_unique<OdbcUpdateTarget>(std::move(session), sql, query);
}

}  // namespace torvik
