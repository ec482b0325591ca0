#include "nights/NightStatus.h"

#include <algorithm>
#include <nlohmann/json.hpp>

namespace torvik::nights {
namespace {

using ResultJson = nlohmann::ordered_json;

std::string TextIn(const ResultJson& json, const char* key) {
  const auto found = json.find(key);
  return found != json.end() && found->is_string() ? found->get<std::string>() : "";
}

std::int64_t NumberIn(const ResultJson& json, const char* key) {
  const auto found = json.find(key);
  return found != json.end() && found->is_number_integer() ? found->get<std::int64_t>() : 0;
}

bool IsOneOf(const std::string& state, std::initializer_list<const char*> states) {
  return std::ranges::find(states, state) != states.end();
}

bool IsBad(StepState state) {
  return state == StepState::Failed || state == StepState::Lost || state == StepState::Cancelled;
}

bool IsOpen(StepState state) {
  return state == StepState::Waiting || state == StepState::Running;
}

/// True when a step that ended so, or not at all, lets the next one never begin.
bool Blocks(StepState before, engine::Outcome outcome) {
  if (IsOpen(before)) return false;
  if (before == StepState::NotReached || before == StepState::Disabled) return true;
  if (outcome == engine::Outcome::Success) return before != StepState::Ok;
  return outcome == engine::Outcome::Failure && before == StepState::Ok;
}

class Reading {
 public:
  Reading(const NightRecord& night, const std::vector<StepTraces>& traces,
          const std::optional<std::map<std::string, BatchTask>>& tasks)
      : night_(night), traces_(traces), tasks_(tasks), steps_(night.steps.size()) {}

  std::vector<StepStatus> Read() {
    isKnown_.resize(steps_.size());
    for (std::size_t i = 0; i < steps_.size(); ++i) Know(i);
    return std::move(steps_);
  }

 private:
  /// With those that it waits for. A record may have been damaged: circles end.
  void Know(std::size_t first) {
    std::vector<std::pair<std::size_t, std::size_t>> open = {{first, 0}};
    while (!open.empty()) {
      auto& [step, next] = open.back();
      const auto& after = night_.steps[step].after;
      if (!isKnown_[step] && next < after.size() && open.size() <= steps_.size()) {
        open.emplace_back(after[next++].step, 0);
        continue;
      }
      if (!isKnown_[step]) steps_[step] = Known(step);
      isKnown_[step] = true;
      open.pop_back();
    }
  }

  StepStatus Known(std::size_t at) const {
    const SubmittedStep& step = night_.steps[at];
    if (step.isDisabled) return {StepState::Disabled};
    if (step.isDone) return {StepState::Ok, "an earlier night has done it"};
    if (const auto& result = traces_[at].result)
      return {result->isOk ? StepState::Ok : StepState::Failed, result->reason, result->host};
    if (!traces_[at].hasBegun)
      for (const engine::Constraint& one : step.after)
        if (Blocks(steps_[one.step].state, one.outcome))
          return {StepState::NotReached, Because(one)};
    if (!tasks_)
      return {traces_[at].hasBegun ? StepState::Running : StepState::Waiting,
              "Slurm does not answer"};
    const auto task = tasks_->find(step.task);
    return task == tasks_->end() ? Forgotten(at) : AsQueued(at, task->second);
  }

  /// The step that is to blame in the end.
  std::string Because(const engine::Constraint& one) const {
    const StepStatus& before = steps_[one.step];
    if (before.state == StepState::NotReached) return before.reason;
    const bool isDeed = before.state == StepState::Ok || before.state == StepState::Failed;
    return night_.steps[one.step].name +
           (before.state == StepState::Ok
                ? " succeeded"
                : (isDeed ? " " : " is ") + std::string(WordOf(before.state)));
  }

  StepStatus Forgotten(std::size_t at) const {
    if (night_.steps[at].task.empty()) return {StepState::Lost, "it was never submitted"};
    return {StepState::Lost, traces_[at].hasBegun
                                 ? "it has left no verdict, and Slurm does not know it any more"
                                 : "it has never begun, and Slurm does not know it any more"};
  }

  StepStatus AsQueued(std::size_t at, const BatchTask& task) const {
    if (IsOneOf(task.state, {"RUNNING", "COMPLETING", "STOPPED", "SUSPENDED", "SIGNALING"}))
      return {StepState::Running, "", task.nodes};
    if (IsOneOf(task.state, {"PENDING", "CONFIGURING", "REQUEUED", "REQUEUE_HOLD", "REQUEUE_FED",
                             "RESIZING", "SPECIAL_EXIT", "RESV_DEL_HOLD"}))
      return {StepState::Waiting, WaitsFor(at, task)};
    if (task.state == "CANCELLED") return {StepState::Cancelled, "", task.nodes};
    return {StepState::Lost, "it has left no verdict; Slurm: " + task.state + ", " + task.reason,
            task.nodes};
  }

  std::string WaitsFor(std::size_t at, const BatchTask& task) const {
    if (task.reason != "Dependency" && task.reason != "None") return "Slurm: " + task.reason;
    for (const engine::Constraint& one : night_.steps[at].after)
      if (IsOpen(steps_[one.step].state)) return "for " + night_.steps[one.step].name;
    return {};
  }

  const NightRecord& night_;
  const std::vector<StepTraces>& traces_;
  const std::optional<std::map<std::string, BatchTask>>& tasks_;
  std::vector<StepStatus> steps_;
  std::vector<bool> isKnown_;
};

}  // namespace

const char* WordOf(StepState state) {
  switch (state) {
    case StepState::Waiting: return "waiting";
    case StepState::Running: return "running";
    case StepState::Ok: return "ok";
    case StepState::Failed: return "failed";
    case StepState::Lost: return "lost";
    case StepState::Cancelled: return "cancelled";
    case StepState::NotReached: return "not reached";
    case StepState::Disabled: break;
  }
  return "disabled";
}

std::optional<StepResult> StepResultOf(std::string_view text) {
  const ResultJson json = ResultJson::parse(text, nullptr, false);
  if (!json.is_object()) return std::nullopt;
  const std::string word = TextIn(json, "status");
  if (word != "ok" && word != "failure") return std::nullopt;
  StepResult result;
  result.isOk = word == "ok";
  const auto run = json.find("run");
  if (run == json.end() || !run->is_object()) return result;
  const std::string step = TextIn(*run, "failed_step");
  if (!result.isOk) result.reason = (step.empty() ? "" : step + ": ") + TextIn(*run, "error");
  result.begin = TextIn(*run, "begin");
  if (const auto seconds = run->find("seconds"); seconds != run->end() && seconds->is_number())
    result.seconds = seconds->get<double>();
  result.rows = NumberIn(*run, "rows");
  result.rejectedRows = NumberIn(*run, "rejected_rows");
  result.host = TextIn(*run, "host");
  return result;
}

std::vector<StepStatus> StatusOf(const NightRecord& night, const std::vector<StepTraces>& traces,
                                 const std::optional<std::map<std::string, BatchTask>>& tasks) {
  return Reading(night, traces, tasks).Read();
}

StepState WholeOf(const std::vector<StepStatus>& steps) {
  const auto any = [&](bool (*is)(StepState)) {
    return std::ranges::any_of(steps, [&](const StepStatus& step) { return is(step.state); });
  };
  if (any(IsBad)) return StepState::Failed;
  return any(IsOpen) ? StepState::Running : StepState::Ok;
}

}  // namespace torvik::nights
