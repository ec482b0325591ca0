#include "engine/ExecutePackageTask.h"

#include <algorithm>

#include "engine/LoggedExecution.h"
#include "engine/PackageDocument.h"
#include "engine/PackageStore.h"
#include "engine/model/EngineServices.h"
#include "engine/model/TaskReader.h"
#include "engine/model/VariableChanges.h"
#include "platform/PlatformError.h"
#include "platform/Text.h"

namespace torvik::engine {
namespace {

/// Runs another package, which has transactions, variables and a log of its own.
class ExecutePackageTask final : public Task {
 public:
  explicit ExecutePackageTask(TaskReader& reader)
      : package_(reader.RequiredTemplate("package")),
        server_(reader.Template("server").value_or(PlacedText{"${DTSServer}", {}})),
        handed_(reader.VariableTemplates("variables")),
        returned_(reader.DeclaredVariables("return")) {
    for (const char* logon :
         {"DTSServer", "DTSServerTrustedLogin", "DTSServerLoginUserName", "DTSServerLoginPassword"})
      reader.RequireVariable(logon);
  }

  bool CanJoin() const override { return false; }
  bool SetsVariables() const override { return !returned_.empty(); }

  TaskResult Run(TaskContext& context) const override {
    const Variables& own = context.GlobalVariables();
    const std::string name = own.Substitute(package_.text);
    const std::vector<std::string> running = WithPackage(context.RunningPackages(), name);

    PackageOrigin origin;
    origin.logon = {own.Substitute(server_.text), own.IsTrue("DTSServerTrustedLogin"),
                    own.Text("DTSServerLoginUserName"), own.Text("DTSServerLoginPassword")};
    const StoredPackage stored =
        PackageStore(context.Services().databases, origin.logon).Load(name);
    origin.id = stored.id;
    origin.versionId = stored.versionId;
    const PackageModel package = ReadPackageDocument(stored.text, name);
    Variables variables(package.variables);
    HandDown(own, package.name, variables);
    Execute(context, package, origin, variables, running);
    TakeBack(variables, package.name, context.GlobalVariables());
    return std::nullopt;
  }

 private:
  /// Equal names first: what the step says goes before them.
  void HandDown(const Variables& own, const std::string& package, Variables& theirs) const {
    for (const GlobalVariable& variable : own.All())
      if (theirs.Find(variable.name)) theirs.SetValue(variable.name, variable.value);
    VariableChanges changes(theirs);
    for (const auto& [name, text] : handed_)
      changes.Add(name, own.Substitute(text.text),
                  "the text for " + Quoted(name) + " of package " + Quoted(package),
                  "declare it there, or remove it from \"variables\"");
    changes.Commit();
    // Known before hours of work are done for nothing.
    for (const std::string& name : returned_)
      if (theirs.Find(name) == nullptr)
        throw PlatformError(0,
                            "package " + Quoted(package) + " has no global variable " +
                                Quoted(name) + "; declare it there, or remove it from \"return\"",
                            "package engine");
  }

  void TakeBack(const Variables& theirs, const std::string& package, Variables& own) const {
    VariableChanges changes(own);
    for (const std::string& name : returned_)
      changes.Add(name, TextOf(theirs.Value(name)), Quoted(name) + " of package " + Quoted(package),
                  "declare it");
    changes.Commit();
  }

  /// A package that runs already would never end.
  static std::vector<std::string> WithPackage(std::vector<std::string> running,
                                              const std::string& name) {
    const bool again = std::any_of(running.begin(), running.end(),
                                   [&](const auto& one) { return EqualsIgnoringCase(one, name); });
    running.push_back(name);
    if (!again) return running;
    std::string chain;
    for (const std::string& one : running) chain += (chain.empty() ? "" : " > ") + Quoted(one);
    throw PlatformError(
        0, "the package would run inside itself: " + chain + "; remove one of these steps",
        "package engine");
  }

  static void Execute(TaskContext& context, const PackageModel& package,
                      const PackageOrigin& origin, Variables& variables,
                      const std::vector<std::string>& running) {
    std::string failures;
    const auto fail = [&](const std::string& reason) {
      failures += (failures.empty() ? "" : "; ") + reason;
    };
    Workflow workflow(package.steps);
    ExecuteLogged({context.Services(), package, variables, workflow, running,
                   [&](const ExecutionEvent& event) {
                     if (event.kind == ExecutionEvent::Kind::StepProgress)
                       context.Progress(*event.rows);
                     if (event.kind == ExecutionEvent::Kind::StepFetches)
                       context.Fetched(event.files, event.bytes);
                     if (event.kind == ExecutionEvent::Kind::StepEnded && event.failed)
                       fail("step " + Quoted(event.step) + " failed: " + event.text);
                   },
                   context.Cancelled()},
                  origin, [&](const std::string& trouble) { context.Output(trouble); });
    if (!failures.empty())
      throw PlatformError(0, "package " + Quoted(package.name) + ": " + failures, "package engine");
  }

  PlacedText package_;
  PlacedText server_;
  std::vector<std::pair<std::string, PlacedText>> handed_;  // their name, our text
  std::vector<std::string> returned_;
};

}  // namespace

std::unique_ptr<Task> ReadExecutePackageTask(TaskReader& reader) {
  return std::make_unique<ExecutePackageTask>(reader);
}

}  // namespace torvik::engine
