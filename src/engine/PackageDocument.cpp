#include "engine/PackageDocument.h"

#include <algorithm>

#include "engine/ConnectionReader.h"
#include "engine/Problems.h"
#include "engine/StepOrder.h"
#include "engine/TaskReader.h"
#include "engine/Tasks.h"
#include "engine/TomlTable.h"
#include "platform/Text.h"

namespace torvik::engine {
namespace {

/// Fills a model from the top of a document to its end; what is wrong goes to the problems.
class DocumentReader {
 public:
  DocumentReader(PackageModel& model, Problems& problems) : model_(model), problems_(problems) {}

  void Read(const TomlTable& document) {
    TableReader table(document, TextPlace{}, problems_);
    model_.name = table.RequiredText("name").text;
    if (const auto text = table.Text("description")) model_.description = text->text;
    model_.maxConcurrentSteps = table.Integer("max_concurrent_steps", 4);
    if (model_.maxConcurrentSteps < 1)
      problems_.Add(table.Find("max_concurrent_steps")->place,
                    "\"max_concurrent_steps\" is less than 1; write 1 or more");
    model_.failOnError = table.Boolean("fail_on_error", false);
    model_.useTransaction = table.Boolean("use_transaction", true);
    model_.autoCommitTransaction = table.Boolean("auto_commit_transaction", true);
    if (const TomlValue* variables = table.Find("global_variables"))
      model_.variablesPlace = variables->place;
    if (const TomlTable* variables = table.Table("global_variables")) ReadVariables(*variables);
    ForEachTable(table, "connections", [this](TableReader& one) { ReadConnection(one); });
    ForEachTable(table, "steps", [this](TableReader& one) { ReadStep(one); });
    table.Finish();
    ResolveConstraints();
    CheckStepOrder(model_.steps, problems_);
  }

 private:
  template <typename ReadOne>
  void ForEachTable(TableReader& parent, const char* key, const ReadOne& readOne) {
    const TomlArray* array = parent.Array(key);
    if (array == nullptr) return;
    for (const TomlValue& element : *array) {
      if (const auto* entries = std::get_if<TomlTable>(&element.data)) {
        TableReader table(*entries, element.place, problems_);
        readOne(table);
      } else {
        problems_.Add(element.place, "an element of " + Quoted(key) + " is " + KindOf(element) +
                                         "; write it as a table [[" + key + "]]");
      }
    }
  }

  void ReadVariables(const TomlTable& entries) {
    for (const TomlEntry& entry : entries) {
      const bool twice = std::any_of(
          model_.variables.begin(), model_.variables.end(),
          [&](const GlobalVariable& other) { return EqualsIgnoringCase(other.name, entry.key); });
      if (twice)
        problems_.Add(entry.place, "the global variable " + Quoted(entry.key) +
                                       " is declared twice (letter case does not matter); "
                                       "remove one of them");
      model_.variables.push_back({entry.key, VariableValue(entry), entry.place});
    }
  }

  dts::Variant VariableValue(const TomlEntry& entry) {
    const auto& data = entry.value.data;
    if (const auto* text = std::get_if<std::string>(&data)) return *text;
    if (const auto* boolean = std::get_if<bool>(&data)) return *boolean;
    if (const auto* integer = std::get_if<std::int64_t>(&data)) return *integer;
    if (const auto* real = std::get_if<double>(&data)) return *real;
    problems_.Add(entry.value.place, "the global variable " + Quoted(entry.key) + " is " +
                                         KindOf(entry.value) +
                                         "; write a text, a Boolean or a number");
    return std::string();
  }

  void ReadConnection(TableReader& table) {
    const PlacedText name = table.RequiredText("name");
    CheckUnique(name, "connection", model_.connections);
    model_.connections.push_back(
        engine::ReadConnection(table, name.text, model_.variables, problems_));
  }

  void ReadStep(TableReader& table) {
    StepModel step;
    step.place = table.Place();
    const PlacedText name = table.RequiredText("name");
    step.name = name.text;
    CheckUnique(name, "step", model_.steps);
    if (const auto text = table.Text("description")) step.description = text->text;
    step.disabled = table.Boolean("disabled", false);
    step.joinTransaction = table.Boolean("join_transaction", false);
    step.commitSuccess = table.Boolean("commit_success", false);
    step.rollbackFailure = table.Boolean("rollback_failure", false);
    step.failPackageOnError = table.Boolean("fail_package_on_error", false);
    waits_.push_back(ReadWaits(table));
    ReadTask(table, step);
    model_.steps.push_back(std::move(step));
  }

  void ReadTask(TableReader& table, StepModel& step) {
    const PlacedText task = table.RequiredText("task");
    for (const TaskKind& kind : TaskKinds()) {
      if (task.text != kind.name) continue;
      TaskReader reader(table, model_, problems_);
      step.task = kind.read(reader);
      if (step.joinTransaction && !step.task->CanJoin())
        problems_.Add(table.Find("join_transaction")->place,
                      "a step of task " + Quoted(task.text) +
                          " cannot join a transaction; remove \"join_transaction\"");
      table.Finish();
      return;
    }
    // Without its task nobody knows which keys the step may have.
    if (task.text.empty()) return;
    std::vector<std::string> known;
    for (const TaskKind& kind : TaskKinds()) known.emplace_back(kind.name);
    problems_.Add(task.place, "unknown task " + Quoted(task.text) + "; " +
                                  DidYouMean(task.text, known, UseOneOf(known)));
  }

  /// A constraint before the step that it names has been looked up: that one may stand below.
  struct Wait {
    PlacedText step;
    Outcome outcome;
  };

  std::vector<Wait> ReadWaits(TableReader& stepTable) {
    std::vector<Wait> waits;
    ForEachTable(stepTable, "after", [&](TableReader& table) {
      const PlacedText step = table.RequiredText("step");
      const PlacedText on = table.Text("on").value_or(PlacedText{"success", table.Place()});
      table.Finish();
      waits.push_back({step, OutcomeOf(on)});
    });
    return waits;
  }

  Outcome OutcomeOf(const PlacedText& on) {
    if (on.text == "failure") return Outcome::Failure;
    if (on.text == "completion") return Outcome::Completion;
    if (on.text != "success")
      problems_.Add(on.place, "unknown outcome " + Quoted(on.text) +
                                  "; use one of \"success\", \"failure\", \"completion\"");
    return Outcome::Success;
  }

  void ResolveConstraints() {
    std::vector<std::string> names;
    for (const StepModel& step : model_.steps) names.push_back(step.name);
    for (std::size_t i = 0; i < waits_.size(); ++i) {
      for (const Wait& wait : waits_[i]) {
        const auto found = std::find(names.begin(), names.end(), wait.step.text);
        if (found != names.end()) {
          model_.steps[i].after.push_back(
              {static_cast<std::size_t>(found - names.begin()), wait.outcome});
        } else if (!wait.step.text.empty()) {
          problems_.Add(wait.step.place,
                        "the package has no step " + Quoted(wait.step.text) + "; " +
                            DidYouMean(wait.step.text, names, "name one of its steps"));
        }
      }
    }
  }

  template <typename Model>
  void CheckUnique(const PlacedText& name, const char* kind, const std::vector<Model>& before) {
    const auto first = std::find_if(before.begin(), before.end(),
                                    [&](const Model& one) { return one.name == name.text; });
    if (first == before.end() || name.text.empty()) return;
    problems_.Add(name.place, std::string("a second ") + kind + " is called " + Quoted(name.text) +
                                  ", as the one of line " + std::to_string(first->place.line) +
                                  "; give it another name");
  }

  PackageModel& model_;
  Problems& problems_;
  std::vector<std::vector<Wait>> waits_;  // of each step
};

}  // namespace

PackageModel ReadPackageDocument(std::string_view text, const std::string& documentName) {
  PackageModel model;
  model.document = documentName;
  Problems problems(documentName);
  const TomlTable document = ParseToml(text, problems);
  problems.ThrowIfAny();
  DocumentReader(model, problems).Read(document);
  problems.ThrowIfAny();
  return model;
}

}  // namespace torvik::engine
