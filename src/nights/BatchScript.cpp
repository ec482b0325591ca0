#include "nights/BatchScript.h"

#include "platform/NumberText.h"
#include "platform/ShellWord.h"

namespace torvik::nights {
namespace {

std::string ArgumentsOf(const NightStep& step) {
  std::string text = ShellWord(step.job);
  if (!step.statusFile.empty()) text += " --statusfile " + ShellWord(step.statusFile);
  for (const auto& [name, value] : step.variables)
    text += " --var " + ShellWord(name + "=" + value);
  if (step.retries > 0)
    text += " --retries " + std::to_string(step.retries) + " --retry-delay " +
            std::to_string(step.retryDelay.count());
  return text;
}

/// Those that must have begun: success says so by itself.
std::string MustHaveBegun(const NightStep& step, const std::vector<bool>& isLeftOut) {
  std::string numbers;
  for (const engine::Constraint& one : step.after)
    if (one.outcome != engine::Outcome::Success && !isLeftOut[one.step])
      numbers += (numbers.empty() ? "" : " ") + std::to_string(one.step);
  return numbers;
}

}  // namespace

StepFile StepFileOf(std::string_view name) {
  const std::size_t dot = name.find('.'), last = name.rfind('.');
  if (dot == std::string_view::npos) return {};
  const auto step = NumberOf<std::size_t>(name.substr(0, dot));
  if (!step) return {};
  if (name.substr(dot) == ".begun") return {StepFile::Kind::Begun, *step};
  if (last == dot || name.substr(last) != ".json") return {};
  const auto attempt = NumberOf<int>(name.substr(dot + 1, last - dot - 1));
  return attempt ? StepFile{StepFile::Kind::Result, *step, *attempt} : StepFile{};
}

std::string ScriptOf(const Submission& submission, const std::vector<NightStep>& steps,
                     const std::vector<bool>& isLeftOut, const std::string& directory,
                     const std::string& admin) {
  std::string script =
      "#!/bin/sh\nnight=" + ShellWord(directory) + "\ncase $SLURM_ARRAY_TASK_ID in\n";
  for (std::size_t i = 0; i < submission.steps.size(); ++i) {
    const std::size_t step = submission.steps[i];
    script += std::to_string(submission.tasks[i]) + ") step=" + std::to_string(step) + " behind='" +
              MustHaveBegun(steps[step], isLeftOut) + "'; set -- " + ArgumentsOf(steps[step]) +
              " ;;\n";
  }
  return script +
         "*) exit 3 ;;\nesac\n"
         "for one in $behind; do\n  [ -e \"$night/$one.begun\" ] || exit 3\ndone\n"
         ": > \"$night/$step.begun\" || exit 3\n"
         "grep -qs '\"status\": \"ok\"' \"$night/$step\".*.json && exit 0\n"
         "grep -qs '\"status\": \"failure\"' \"$night/$step\".*.json && exit 1\n"
         "to=$night/$step.${SLURM_RESTART_COUNT:-0}\n"
         "exec " +
         ShellWord(admin) + " run \"$@\" --quiet --json > \"$to.json\" 2> \"$to.log\"\n";
}

}  // namespace torvik::nights
