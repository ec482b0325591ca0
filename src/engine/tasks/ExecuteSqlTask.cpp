#include <algorithm>

#include "engine/model/TaskReader.h"
#include "engine/model/VariableChanges.h"
#include "engine/tasks/Tasks.h"
#include "platform/Ado.h"
#include "platform/PlatformError.h"
#include "platform/Text.h"

namespace torvik::engine {
namespace {

PlatformError SqlFailure(const std::string& reason) {
  return PlatformError(0, reason, "package engine");
}

/// A value of the first row and the global variable that takes it.
struct ResultColumn {
  std::string column;  ///< Empty: by position.
  std::string variable;
};

class ExecuteSqlTask final : public Task {
 public:
  explicit ExecuteSqlTask(TaskReader& reader)
      : connection_(reader.Database("connection")),
        sql_(reader.RequiredTemplate("sql")),
        parameters_(reader.DeclaredVariables("parameters")),
        hasParameters_(reader.Table().Find("parameters") != nullptr) {
    ReadResults(reader);
  }

  bool CanJoin() const override { return true; }

  std::string Describe() const override { return sql_.text; }
  bool SetsVariables() const override { return !results_.empty(); }

  TaskResult Run(TaskContext& context) const override {
    ado::Connection& database = context.Database(connection_);
    const TaskResult result = RunOn(database, context.GlobalVariables());
    if (context.Joined() && database.HasOpenTransaction() == false)
      throw SqlFailure(
          "the SQL text ends the package's transaction, which the step has joined: what was done "
          "in it is committed or undone already; remove COMMIT and ROLLBACK from the text");
    return result;
  }

 private:
  TaskResult RunOn(ado::Connection& database, Variables& variables) const {
    const std::string sql = variables.Substitute(sql_.text);
    // Without either, a '?' is the server's own affair.
    if (!hasParameters_ && results_.empty()) return database.Execute(sql);
    std::vector<ado::Value> parameters;
    for (const std::string& name : parameters_)
      parameters.push_back(ParameterOf(variables.Value(name)));
    const ado::StatementResult result = database.ExecuteWith(sql, parameters);
    if (!results_.empty()) TakeResults(result, variables);
    return result.changedRows;
  }

  void ReadResults(TaskReader& reader) {
    const TomlValue* results = reader.Table().Find("results");
    if (results != nullptr && std::holds_alternative<TomlArray>(results->data)) {
      for (const std::string& name : reader.DeclaredVariables("results"))
        results_.push_back({"", name});
    } else if (const TomlTable* table = reader.Table().Table("results")) {
      for (const TomlEntry& entry : *table)
        results_.push_back({entry.key, reader.DeclaredVariable("results", entry.value)});
    }
    if (results != nullptr && results_.empty())
      reader.Problem(results->place, "\"results\" names no variable; add one, or remove the key");
    const auto noRow = reader.Choice("no_row", {"fail", "keep"});
    keepsWithoutRow_ = noRow && noRow->text == "keep";
    if (noRow && results == nullptr)
      reader.Problem(noRow->place, "\"no_row\" belongs to \"results\"; add that, or remove it");
  }

  void TakeResults(const ado::StatementResult& result, Variables& variables) const {
    if (result.columns.empty())
      throw SqlFailure(
          "no statement of \"sql\" gives rows, and \"results\" wants one; end with a "
          "SELECT, or remove \"results\"");
    VariableChanges changes(variables);
    for (std::size_t i = 0; i < results_.size(); ++i) {
      const std::size_t position = PositionOf(i, result.columns);
      if (result.rows.empty()) continue;
      changes.Add(results_[i].variable, result.rows.front().at(position),
                  "the result's column " + Quoted(result.columns[position]),
                  "declare it in [global_variables]");
    }
    if (result.rows.empty() && !keepsWithoutRow_)
      throw SqlFailure(
          "the last statement that can give rows gave none to set variables from; correct "
          "its WHERE, or write no_row = \"keep\" to leave the variables as they are");
    changes.Commit();
  }

  std::size_t PositionOf(std::size_t result, const std::vector<std::string>& columns) const {
    const std::string& wanted = results_[result].column;
    if (wanted.empty()) {
      if (result < columns.size()) return result;
      throw SqlFailure("\"results\" names " + std::to_string(results_.size()) +
                       " variables, and the statement gives " + std::to_string(columns.size()) +
                       " columns; name no more than those");
    }
    const auto found = std::find_if(columns.begin(), columns.end(), [&](const std::string& one) {
      return EqualsIgnoringCase(one, wanted);
    });
    if (found == columns.end())
      throw SqlFailure("the result has no column " + Quoted(wanted) + "; " +
                       DidYouMean(wanted, columns, UseOneOf(columns)));
    return static_cast<std::size_t>(found - columns.begin());
  }

  std::string connection_;
  PlacedText sql_;
  std::vector<std::string> parameters_;
  bool hasParameters_;
  std::vector<ResultColumn> results_;
  bool keepsWithoutRow_ = false;
};

}  // namespace

std::unique_ptr<Task> ReadExecuteSqlTask(TaskReader& reader) {
  return std::make_unique<ExecuteSqlTask>(reader);
}

}  // namespace torvik::engine
