#include "admin/runs/HistorySource.h"

#include <utility>

#include "history/SharedHistory.h"
#include "platform/NumberText.h"
#include "platform/PlatformError.h"
#include "platform/linux/LinuxPlatform.h"

namespace torvik::admin {
namespace {

/// Whoever calls waits for it.
constexpr std::chrono::minutes kLimit{10};

HistoryPlace PlaceOf(const LinuxPlatform& platform) {
  const HistorySettings& history = platform.settings.history;
  if (history.server.empty())
    throw PlatformError(0,
                        "the machines share no history: [history] of the settings names no server "
                        "(and its database)",
                        "history");
  return {history.server, history.database};
}

PlatformError NoSuchRun(const std::string& name, const std::string& list) {
  return PlatformError(0, "the history has no run " + name + "; " + list + " lists those there are",
                       "history");
}

}  // namespace

std::vector<RunRecord> RunsAsked(LinuxPlatform& platform, const RunFilter& filter,
                                 bool everywhere) {
  if (!everywhere) return platform.history->Runs(filter);
  return SharedHistory(*platform.databases, PlaceOf(platform)).Runs(filter);
}

RunRecord RunAsked(LinuxPlatform& platform, const std::string& name) {
  const std::size_t colon = name.rfind(':');
  const auto number = NumberOf<std::int64_t>(name.substr(colon + 1));
  if (colon == std::string::npos) {
    auto run = number ? platform.history->Run(*number) : std::nullopt;
    if (!run) throw NoSuchRun(name, "torvik-admin history");
    return std::move(*run);
  }
  SharedHistory shared(*platform.databases, PlaceOf(platform));
  auto run = number ? shared.Run(name.substr(0, colon), *number) : std::nullopt;
  if (!run) throw NoSuchRun(name, "torvik-admin history --everywhere");
  return std::move(*run);
}

SentRuns SendRuns(LinuxPlatform& platform) {
  return torvik::SendRuns(
      {*platform.history, *platform.databases, *platform.locks, *platform.clock}, PlaceOf(platform),
      platform.settings.stateDirectory + "/history-sending", kLimit);
}

}  // namespace torvik::admin
