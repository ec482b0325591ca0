#include "engine/Package.h"

#include <atomic>
#include <exception>
#include <optional>
#include <thread>
#include <utility>

#include "engine/LoggedExecution.h"
#include "engine/PackageDocument.h"
#include "engine/PackageStore.h"
#include "engine/ResumedSteps.h"
#include "engine/model/Problems.h"
#include "engine/model/Variables.h"
#include "engine/run/EventQueue.h"
#include "engine/run/PackageExecution.h"
#include "engine/run/Workflow.h"
#include "platform/PlatformError.h"

namespace torvik::engine {
namespace {

/// What the package's caller is told of an event.
void Forward(const ExecutionEvent& event, dts::PackageEvents& events) {
  using Kind = ExecutionEvent::Kind;
  switch (event.kind) {
    case Kind::StepStarted: events.OnStart(event.step); break;
    case Kind::StepProgress: events.OnProgress(event.step, *event.rows); break;
    case Kind::StepFetches: events.OnFetched(event.step, event.files, event.bytes); break;
    case Kind::StepEnded:
      if (event.failed) events.OnError(event.step, event.text);
      events.OnFigures(event.step, event.rows.value_or(0), event.rejected);
      events.OnFinish(event.step);
      break;
    case Kind::Error: events.OnError("", event.text); break;
    case Kind::LogTrouble: events.OnLogTrouble(event.text); break;
    case Kind::StepRetried: events.OnRetry(event.step, event.text); break;
    case Kind::StepNotRun: events.OnNotRun(event.step); break;
    case Kind::PackageStarted:
    case Kind::StepOutput:
    case Kind::Note:
    case Kind::PackageEnded: break;
  }
}

std::vector<dts::StepOutline> OutlineOf(const PackageModel& package) {
  std::vector<dts::StepOutline> outline;
  for (const StepModel& step : package.steps) {
    dts::StepOutline shown{step.name, step.taskKind, step.task->Describe(), step.disabled, {}};
    for (const Constraint& constraint : step.after)
      shown.after.push_back({static_cast<int>(constraint.step),
                             static_cast<dts::Precedence>(static_cast<int>(constraint.outcome))});
    outline.push_back(std::move(shown));
  }
  return outline;
}

class LoadedPackage final : public dts::Package {
 public:
  explicit LoadedPackage(const EngineServices& services) : services_(services) {}

  /// A document has neither a password nor a host to persist in.
  void LoadFromSQLServer(const std::string& serverName, const std::string& serverUserName,
                         const std::string& serverPassword, dts::SqlServerStorageFlags flags,
                         const std::string&, const std::string&, const std::string& versionGuid,
                         const std::string& packageName, const std::string&) override {
    UnInitialize();
    const bool trusted = flags == dts::SqlServerStorageFlags::UseTrustedConnection;
    origin_.logon = {serverName, trusted, serverUserName, serverPassword};
    const StoredPackage stored =
        PackageStore(services_.databases, origin_.logon).Load(packageName, versionGuid);
    origin_.id = stored.id;
    origin_.versionId = stored.versionId;
    model_ = ReadPackageDocument(stored.text, packageName);
    variables_.Declare(model_->variables);
    workflow_ = Workflow(model_->steps);
  }

  const std::string& Name() const override { return Loaded().name; }
  const std::string& VersionID() const override { return origin_.versionId; }

  dts::GlobalVariables& GlobalVariables() override {
    Loaded();
    return variables_;
  }

  std::vector<dts::StepOutline> Outline() const override { return OutlineOf(Loaded()); }

  std::vector<std::string> GoOnBehind(const std::vector<std::string>& succeeded) override {
    leftOut_ = StepsToLeaveOut(Loaded(), succeeded);
    std::vector<std::string> names;
    for (const std::size_t step : leftOut_) names.push_back(Loaded().steps[step].name);
    return names;
  }

  void Execute(dts::PackageEvents& events) override {
    Loaded();
    workflow_.Reset();
    for (const std::size_t step : std::exchange(leftOut_, {})) {
      workflow_.Start(step);
      workflow_.End(step, StepEnd::Succeeded);
    }
    EventQueue queue;
    isCancelled_ = false;
    std::exception_ptr failure;
    std::thread worker;
    try {
      worker = std::thread([&] {
        try {
          ExecuteWith([&](ExecutionEvent event) { queue.Post(std::move(event)); },
                      /*onOneThread=*/false);
        } catch (...) {
          failure = std::current_exception();
        }
        queue.Close();
      });
    } catch (const std::exception&) {
      return ExecuteHere(events);
    }
    try {
      queue.Deliver([&](const ExecutionEvent& event) { Forward(event, events); },
                    [&] { events.OnIdle(); });
    } catch (...) {
      isCancelled_ = true;
      worker.join();
      throw;
    }
    worker.join();
    if (failure) std::rethrow_exception(failure);
  }

  void Cancel() override { isCancelled_ = true; }

  int StepCount() const override { return static_cast<int>(workflow_.States().size()); }
  const dts::Step& Step(int position) const override {
    return workflow_.States().at(static_cast<std::size_t>(position) - 1);
  }

  void UnInitialize() override {
    workflow_ = {};
    leftOut_.clear();
    variables_.Declare({});
    model_.reset();
  }

 private:
  /// The package has a thread of its own, so that the calling one can serve the user. Where none
  /// can be made, it serves him whenever something happens.
  void ExecuteHere(dts::PackageEvents& events) {
    const auto here = std::this_thread::get_id();
    ExecuteWith(
        [&](const ExecutionEvent& event) {
          // A package within may get threads after all; what they tell is progress.
          if (std::this_thread::get_id() != here) return;
          Forward(event, events);
          events.OnIdle();
        },
        /*onOneThread=*/true);
  }

  void ExecuteWith(const EventSink& sink, bool onOneThread) {
    ExecuteLogged({services_,
                   Loaded(),
                   variables_,
                   workflow_,
                   {Loaded().name},
                   sink,
                   isCancelled_,
                   onOneThread},
                  origin_, [&](const std::string& trouble) {
                    sink({.kind = ExecutionEvent::Kind::LogTrouble, .text = trouble});
                  });
  }

  const PackageModel& Loaded() const {
    if (!model_)
      throw PlatformError(0, "no package is loaded; call LoadFromSQLServer first",
                          "package engine");
    return *model_;
  }

  const EngineServices services_;
  PackageOrigin origin_;
  std::optional<PackageModel> model_;
  Variables variables_;
  Workflow workflow_;
  std::atomic<bool> isCancelled_ = false;
  std::vector<std::size_t> leftOut_;  ///< By the next execution.
};

class LoadedPackages final : public dts::PackageHost {
 public:
  explicit LoadedPackages(const EngineServices& services) : services_(services) {}

  std::unique_ptr<dts::Package> NewPackage() override {
    return std::make_unique<LoadedPackage>(services_);
  }

 private:
  const EngineServices services_;
};

}  // namespace

std::unique_ptr<dts::PackageHost> NewPackageHost(const EngineServices& services) {
  return std::make_unique<LoadedPackages>(services);
}

}  // namespace torvik::engine
