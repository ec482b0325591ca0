#include <algorithm>
#include <iterator>

#include "engine/model/TaskReader.h"
#include "engine/model/Variables.h"
#include "engine/pump/RowQueries.h"
#include "engine/tasks/PumpEnds.h"
#include "platform/Ado.h"

namespace torvik::engine {
namespace {

constexpr const char* kChoices[] = {"insert", "update", "delete", "user"};

struct QueryPlan {
  std::string choice;
  PlacedText sql;
  std::vector<std::string> parameters;
};

QueryPlan ReadQuery(TaskReader& reader) {
  QueryPlan plan;
  reader.Table().RequiredText("on");
  plan.choice = kChoices[reader.OneOf("on", kChoices, 0)];
  plan.sql = reader.RequiredTemplate("sql");
  for (const PlacedText& name : reader.Templates("parameters"))
    plan.parameters.push_back(name.text);
  return plan;
}

/// Up to four queries on one database.
class QueryDestination final : public PumpDestination {
 public:
  explicit QueryDestination(TaskReader& reader)
      : connection_(reader.Database("destination")),
        table_(reader.Template("table").value_or(PlacedText{})) {
    reader.ForEach("queries", [this](TaskReader& one) {
      QueryPlan plan = ReadQuery(one);
      if (std::ranges::find(plans_, plan.choice, &QueryPlan::choice) != plans_.end())
        one.Problem(one.Table().Place(), "a second query is for " + Quoted(plan.choice) +
                                             "; remove one of them, or correct \"on\"");
      plans_.push_back(std::move(plan));
    });
    if (plans_.empty())
      reader.Problem(reader.Table().Place(),
                     "there is no query that a row could choose; add [[steps.queries]]");
    const bool joins = reader.Table().Boolean("join_transaction", false);
    if (joins && reader.Whole("maximum_error_count", 0, 0) > 0)
      reader.Problem(reader.Table().Find("join_transaction")->place,
                     "a row whose query fails cannot be undone alone in the package's transaction; "
                     "remove \"join_transaction\" or \"maximum_error_count\"");
  }

  bool HasQueries() const override { return true; }
  const std::string& Connection() const override { return connection_; }
  std::string Describe() const override {
    std::string text = connection_;
    for (const QueryPlan& plan : plans_) text += "\n" + plan.choice + ": " + plan.sql.text;
    return text;
  }

  ado::Connection* Open(TaskContext& context) const override {
    return &context.Database(connection_);
  }

  PumpOutcome Pump(TaskContext& context, const PumpJob& job, RowSource& source,
                   ado::Connection* connection) const override {
    const Variables& variables = context.GlobalVariables();
    RowQueries queries;
    for (const QueryPlan& plan : plans_)
      queries.queries.push_back(
          {plan.choice, variables.Substitute(plan.sql.text), plan.parameters});
    const PumpOutcome counts = PumpIntoQueries(
        context, job, source, {*connection, variables.Substitute(table_.text)}, queries);
    for (const RowQuery& query : queries.queries)
      context.Output(query.choice + ": " + CountOf(query.runs, "row") + ", " +
                     std::to_string(query.changedRows) + " changed");
    return counts;
  }

 private:
  const std::string connection_;
  const PlacedText table_;
  std::vector<QueryPlan> plans_;
};

}  // namespace

std::unique_ptr<const PumpDestination> ReadQueryDestination(TaskReader& reader) {
  return std::make_unique<QueryDestination>(reader);
}

}  // namespace torvik::engine
