#include "platform/linux/database/RowUpdate.h"

#include <utility>

namespace torvik {

const UpdatableQuery& RowUpdate::Query() {
  if (!query_) query_ = target_->Describe();
  return *query_;
}

void RowUpdate::RequireChangeable(int field) {
  if (Query().table.empty())
    throw target_->Refusal("the row cannot be changed: the query reads more than one table");
  if (!Query().columns[static_cast<std::size_t>(field)])
    throw target_->Refusal("the field cannot be changed: it is computed, not a table's column");
}

std::vector<int> RowUpdate::CriteriaFields(const std::vector<int>& changes) {
  if (Query().keyFields.empty()) return Query().comparedFields;
  std::vector<int> fields = Query().keyFields;
  for (const int change : changes)
    for (const int compared : Query().comparedFields)
      if (change == compared) fields.push_back(change);
  return fields;
}

void RowUpdate::Update(const Row& original, const Row& changed) {
  std::vector<int> changes;
  for (std::size_t field = 0; field < original.size(); ++field)
    if (original[field] != changed[field]) changes.push_back(static_cast<int>(field));
  if (changes.empty()) return;
  const auto column = [&](int field) { return *Query().columns[static_cast<std::size_t>(field)]; };
  const auto equals = [&](int field) {
    return " = " + Query().markers[static_cast<std::size_t>(field)];
  };
  std::string sql = "UPDATE " + Query().table;
  Row parameters;
  const char* before = " SET ";
  for (const int field : changes) {
    sql += std::exchange(before, ", ") + column(field) + equals(field);
    parameters.push_back(changed[static_cast<std::size_t>(field)]);
  }
  before = " WHERE ";
  for (const int field : CriteriaFields(changes)) {
    const ado::Value& value = original[static_cast<std::size_t>(field)];
    const bool isNull = std::holds_alternative<ado::Null>(value);
    sql += std::exchange(before, " AND ") + column(field) + (isNull ? " IS NULL" : equals(field));
    if (!isNull) parameters.push_back(value);
  }
  const std::int64_t rows = target_->UpdateOneRow(sql, parameters);
  const std::string failure = "the row of table " + Query().tableName + " is not changed: ";
  if (rows == 0)
    throw target_->Refusal(failure + "it is gone or was changed by someone else; read it again");
  if (rows > 1)
    throw target_->Refusal(failure +
                           "it cannot be told from another one: the table has no key, or the "
                           "query does not read it");
}

}  // namespace torvik
