#include <algorithm>
#include <string_view>
#include <unordered_map>
#include <utility>

#include "admin/packages/PackageGraph.h"
#include "platform/CodePage.h"
#include "platform/PlatformError.h"
#include "platform/Text.h"

namespace torvik::admin {
namespace {

/// Behind the time of a line.
constexpr std::size_t kTimeLength = 20;

/// Takes the lines of a log one by one.
class LogReader {
 public:
  LogReader(const engine::PackageModel& package, const CodePage& ansi)
      : start_("Package \"" + AsLogged(package.name, ansi) + "\" started"),
        outcomes_(package.steps.size()) {
    for (std::size_t i = 0; i < package.steps.size(); ++i)
      positions_.emplace(AsLogged(package.steps[i].name, ansi), i);
  }

  void Take(std::string_view line) {
    if (line.ends_with('\r')) line.remove_suffix(1);
    if (line.size() <= kTimeLength) return;
    line.remove_prefix(kTimeLength);
    if (line == start_) {
      hasRun_ = true;
      std::fill(outcomes_.begin(), outcomes_.end(), StepOutcome{});
    }
    constexpr std::string_view kStep = "Step \"";
    if (hasRun_ && line.starts_with(kStep)) TakeStep(line.substr(kStep.size()));
  }

  bool HasRun() const { return hasRun_; }
  std::vector<StepOutcome> Outcomes() const { return outcomes_; }

 private:
  /// A name as the log has it: on one line, with '?' for what the code page lacks.
  static std::string AsLogged(std::string name, const CodePage& ansi) {
    return ansi.Decode(ansi.Encode(ControlsAsBlanks(std::move(name))));
  }

  /// A name may hold quotes itself: the first that ends a step's name counts.
  void TakeStep(std::string_view text) {
    for (auto quote = text.find('"'); quote != std::string_view::npos;
         quote = text.find('"', quote + 1)) {
      const auto found = positions_.find(std::string(text.substr(0, quote)));
      if (found != positions_.end() && TakeEvent(found->second, text.substr(quote + 1))) return;
    }
  }

  bool TakeEvent(std::size_t step, std::string_view event) {
    const std::pair<std::string_view, StepOutcome::Kind> events[] = {
        {" started", StepOutcome::Kind::Running},
        {" succeeded: ", StepOutcome::Kind::Succeeded},
        {" failed after ", StepOutcome::Kind::Failed},
        {" did not run: ", StepOutcome::Kind::NotRun}};
    for (const auto& [words, kind] : events) {
      if (!event.starts_with(words)) continue;
      const std::size_t before = kind == StepOutcome::Kind::Failed ? 1 : words.size();
      outcomes_[step] = {kind, std::string(event.substr(before))};
      const bool isRetried = event.find("; attempt ") != std::string_view::npos &&
                             event.find(" follows in ") != std::string_view::npos;
      if (kind == StepOutcome::Kind::Failed && isRetried)
        outcomes_[step].kind = StepOutcome::Kind::Running;
      return true;
    }
    return event.starts_with(": ");  // a line of its output
  }

  const std::string start_;
  std::unordered_map<std::string, std::size_t> positions_;
  std::vector<StepOutcome> outcomes_;
  bool hasRun_ = false;
};

}  // namespace

std::vector<StepOutcome> ReadLastRun(const std::string& log, const engine::PackageModel& package,
                                     const CodePage& ansi, const std::string& path) {
  LogReader reader(package, ansi);
  const std::string text = ansi.Decode(log);
  for (std::size_t at = 0; at < text.size();) {
    const std::size_t end = std::min(text.find('\n', at), text.size());
    reader.Take(std::string_view(text).substr(at, end - at));
    at = end + 1;
  }
  if (!reader.HasRun())
    throw PlatformError(0,
                        path + ": there is no run of the package \"" + package.name +
                            "\" in this log; name the file that its runs write",
                        "package log");
  return reader.Outcomes();
}

}  // namespace torvik::admin
