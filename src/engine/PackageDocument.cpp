#include "engine/PackageDocument.h"

#include <algorithm>
#include <map>
#include <optional>
#include <set>
#include <unordered_map>

#include "engine/ConnectionReader.h"
#include "engine/StepCycles.h"
#include "engine/TaskKinds.h"
#include "engine/model/PackageScript.h"
#include "engine/model/Problems.h"
#include "engine/model/TaskReader.h"
#include "engine/model/TomlTable.h"
#include "platform/Text.h"

namespace torvik::engine {
namespace {

/// Finds steps by their names; one that is not there becomes a problem.
class StepNames {
 public:
  StepNames(const std::vector<StepModel>& steps, Problems& problems) : problems_(problems) {
    for (const StepModel& step : steps) {
      positions_.emplace(step.name, names_.size());
      names_.push_back(step.name);
    }
  }

  std::optional<std::size_t> PositionOf(const PlacedText& step) {
    if (const auto found = positions_.find(step.text); found != positions_.end())
      return found->second;
    if (step.text.empty()) return std::nullopt;
    // The nearest name takes long to find among many.
    constexpr int kMostAdvised = 100;
    const bool isAdvised = ++unknown_ <= kMostAdvised;
    problems_.Add(step.place,
                  "the package has no step " + Quoted(step.text) + "; " +
                      DidYouMean(step.text, isAdvised ? names_ : std::vector<std::string>(),
                                 "name one of its steps"));
    return std::nullopt;
  }

 private:
  Problems& problems_;
  std::vector<std::string> names_;
  std::unordered_map<std::string_view, std::size_t> positions_;
  int unknown_ = 0;
};

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
    model_.writeCompletionStatusToNTEventLog =
        table.Boolean("write_completion_status_to_nt_event_log", false);
    if (const TomlValue* variables = table.Find("global_variables"))
      model_.variablesPlace = variables->place;
    if (const TomlTable* variables = table.Table("global_variables")) ReadVariables(*variables);
    ReadServerLog(table);
    ForEachTable(table, "connections", [this](TableReader& one) { ReadConnection(one); });
    ForEachTable(table, "steps", [this](TableReader& one) { ReadStep(one); });
    table.SkipOriginal();
    table.Finish();
    ResolveStepNames();
    CheckHeldVariables();
    ReportStepCycles(model_.steps, problems_);
  }

 private:
  template <typename ReadOne>
  void ForEachTable(TableReader& parent, const char* key, const ReadOne& readOne) {
    const TomlValue* value = parent.Find(key);
    if (value != nullptr && std::holds_alternative<TomlTable>(value->data)) {
      const std::string brackets = "[[" + std::string(key) + "]]";
      return problems_.Add(value->place, "[" + std::string(key) + "] is one table; write " +
                                             brackets + ", with two brackets, before each of the " +
                                             key);
    }
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

  void ReadServerLog(TableReader& table) {
    ServerLogModel& log = model_.serverLog;
    log.isWanted = table.Boolean("log_to_server", false);
    log.failsPackage = table.Boolean("fail_on_log_failure", false);
    const std::pair<const char*, PlacedText*> texts[] = {{"log_server", &log.server},
                                                         {"log_server_user", &log.user},
                                                         {"log_server_password", &log.password}};
    for (const auto& [key, text] : texts) {
      const auto given = table.Text(key);
      if (!given) continue;
      CheckTemplate(*given, TextUse::Inside, model_.variables, problems_);
      *text = *given;
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
    CheckUnique(name, "connection", table.Place().line, connectionLines_);
    model_.connections.push_back(
        engine::ReadConnection(table, name.text, model_.variables, problems_));
  }

  void ReadStep(TableReader& table) {
    StepModel step;
    step.place = table.Place();
    const PlacedText name = table.RequiredText("name");
    step.name = name.text;
    CheckUnique(name, "step", table.Place().line, stepLines_);
    if (const auto text = table.Text("description")) step.description = text->text;
    step.taskName = table.Text("task_name").value_or(name).text;
    step.keys = table.Entries();
    step.disabled = table.Boolean("disabled", false);
    step.joinTransaction = table.Boolean("join_transaction", false);
    step.commitSuccess = table.Boolean("commit_success", false);
    step.rollbackFailure = table.Boolean("rollback_failure", false);
    step.failPackageOnError = table.Boolean("fail_package_on_error", false);
    table.SkipOriginal();
    ReadRunning(table, step);
    waits_.push_back(ReadWaits(table));
    ReadTask(table, step);
    model_.steps.push_back(std::move(step));
  }

  /// When and how often the step runs, and on what.
  void ReadRunning(TableReader& table, StepModel& step) {
    constexpr std::int64_t kMany = 1'000'000'000;
    step.closeConnection = table.Boolean("close_connection", false);
    step.executeInMainThread = table.Boolean("execute_in_main_thread", false);
    step.priority = static_cast<int>(Whole(table, "priority", 3, 1, 5));
    step.limits = ReadLimits(table);
    step.retries = Whole(table, "retries", 0, 0, kMany);
    step.retryDelay = std::chrono::seconds(Whole(table, "retry_delay_seconds", 10, 0, kMany));
    if (table.Find("timeout_seconds"))
      step.timeout = std::chrono::seconds(Whole(table, "timeout_seconds", 1, 1, kMany));
  }

  /// In an order that is the same for all steps: no two of them wait for each other.
  std::vector<std::string> ReadLimits(TableReader& table) {
    std::set<std::string> names;
    if (const TomlArray* array = table.Array("limits"))
      for (const TomlValue& element : *array) {
        if (const auto* name = std::get_if<std::string>(&element.data))
          names.insert(LowerAscii(*name));
        else
          problems_.Add(element.place, std::string("an element of \"limits\" is ") +
                                           KindOf(element) + "; write a text");
      }
    return {names.begin(), names.end()};
  }

  std::int64_t Whole(TableReader& table, const char* key, std::int64_t fallback, std::int64_t least,
                     std::int64_t most) {
    const std::int64_t number = table.Integer(key, fallback);
    if (number >= least && number <= most) return number;
    problems_.Add(table.Find(key)->place,
                  Quoted(key) + " is " + std::to_string(number) + "; write a whole number from " +
                      std::to_string(least) + " to " + std::to_string(most));
    return fallback;
  }

  void ReadTask(TableReader& table, StepModel& step) {
    const PlacedText task = table.RequiredText("task");
    for (const TaskKind& kind : TaskKinds()) {
      if (task.text != kind.name) continue;
      step.taskKind = kind.name;
      TaskReader reader(table, model_, problems_);
      step.task = kind.read(reader);
      if (table.Find("workflow_script"))
        step.workflowScript = ReadScript(reader, "workflow_script", "workflow_function");
      if (step.joinTransaction && model_.useTransaction && !step.task->CanJoin())
        problems_.Add(table.Find("join_transaction")->place,
                      step.task->WhyNotJoin().empty()
                          ? "a step of task " + Quoted(task.text) +
                                " cannot join a transaction; remove \"join_transaction\""
                          : step.task->WhyNotJoin());
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

  /// Steps may be named above the place where they stand.
  void ResolveStepNames() {
    StepNames names(model_.steps, problems_);
    for (std::size_t i = 0; i < waits_.size(); ++i)
      for (const Wait& wait : waits_[i])
        if (const auto position = names.PositionOf(wait.step))
          model_.steps[i].after.push_back({*position, wait.outcome});
    for (const StepModel& step : model_.steps)
      if (step.task != nullptr)
        for (const PlacedText& named : step.task->NamedSteps()) names.PositionOf(named);
  }

  void CheckHeldVariables() {
    std::map<std::string, std::string> holders;
    for (const StepModel& step : model_.steps) {
      const auto held = step.task == nullptr ? std::nullopt : step.task->HeldVariable();
      if (!held) continue;
      const auto [first, isNew] = holders.emplace(held->text, step.name);
      if (!isNew)
        problems_.Add(held->place, "the variable " + Quoted(held->text) + " is that of the step " +
                                       Quoted(first->second) +
                                       " already; declare one for each step");
    }
  }

  /// The line in which the first of each name begins.
  using NameLines = std::unordered_map<std::string, int>;

  void CheckUnique(const PlacedText& name, const char* kind, int line, NameLines& before) {
    const auto [first, isNew] = before.emplace(name.text, line);
    if (isNew || name.text.empty()) return;
    problems_.Add(name.place, std::string("a second ") + kind + " is called " + Quoted(name.text) +
                                  ", as the one of line " + std::to_string(first->second) +
                                  "; give it another name");
  }

  PackageModel& model_;
  Problems& problems_;
  std::vector<std::vector<Wait>> waits_;  // of each step
  NameLines connectionLines_, stepLines_;
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

std::unique_ptr<const Task> ReadTaskAnew(const PackageModel& package, const StepModel& step,
                                         const TomlTable& keys) {
  Problems problems(package.name + ", step " + Quoted(step.name));
  TableReader table(keys, step.place, problems);
  TaskReader reader(table, package, problems);
  const auto kind = std::ranges::find_if(
      TaskKinds(), [&](const TaskKind& one) { return step.taskKind == one.name; });
  auto task = kind->read(reader);
  problems.ThrowIfAny();
  return task;
}

}  // namespace torvik::engine
