#include "admin/nights/NightDirectory.h"

#include <algorithm>
#include <cerrno>
#include <filesystem>
#include <map>
#include <optional>

#include "nights/BatchScript.h"
#include "nights/Slurm.h"
#include "platform/NumberText.h"
#include "platform/PlatformError.h"
#include "platform/linux/LinuxPlatform.h"

namespace torvik::admin {
namespace {

namespace fs = std::filesystem;

std::string NightsOf(const LinuxPlatform& platform) {
  return platform.settings.stateDirectory + "/nights";
}

std::string RecordOf(const NightDirectory& night) {
  return night.path + "/night.json";
}

/// Of several attempts the one that has succeeded counts, else the last one with a verdict.
std::vector<nights::StepTraces> TracesOf(LinuxPlatform& platform, const NightDirectory& night,
                                         std::size_t steps) {
  std::vector<nights::StepTraces> traces(steps);
  std::vector<int> attempts(steps, -1);
  for (const fs::directory_entry& entry : fs::directory_iterator(night.path)) {
    const nights::StepFile file = nights::StepFileOf(entry.path().filename().string());
    if (file.kind == nights::StepFile::Kind::Other || file.step >= steps) continue;
    nights::StepTraces& trace = traces[file.step];
    trace.hasBegun = true;
    if (file.kind != nights::StepFile::Kind::Result) continue;
    const auto result = nights::StepResultOf(ReadText(*platform.files, entry.path().string()));
    const bool isKnown = trace.result && trace.result->isOk;
    if (!result || isKnown || (file.attempt < attempts[file.step] && !result->isOk)) continue;
    trace.result = result;
    attempts[file.step] = file.attempt;
  }
  return traces;
}

int LastNumber(const std::string& nights) {
  int last = 0;
  std::error_code error;
  for (fs::directory_iterator entry(nights, error), end; !error && entry != end;
       entry.increment(error))
    last = std::max(last, NumberOf<int>(entry->path().filename().string()).value_or(0));
  return last;
}

}  // namespace

NightDirectory NewNightDirectory(LinuxPlatform& platform) {
  const std::string nights = NightsOf(platform);
  std::error_code error;
  fs::create_directories(nights, error);
  for (int number = LastNumber(nights) + 1; !error; ++number) {
    const std::string path = nights + "/" + std::to_string(number);
    // Who else submits one meanwhile has another number.
    if (fs::create_directory(path, error)) {
      fs::permissions(path, fs::perms::owner_all, error);
      return {number, path};
    }
  }
  throw PlatformError(error.value(), nights + ": " + error.message(), "night");
}

NightDirectory FindNightDirectory(LinuxPlatform& platform, int number) {
  const std::string nights = NightsOf(platform);
  const int found = number > 0 ? number : LastNumber(nights);
  const NightDirectory night{found, nights + "/" + std::to_string(found)};
  std::error_code error;
  if (found > 0 && fs::exists(RecordOf(night), error)) return night;
  throw PlatformError(0,
                      number > 0 ? "there is no night " + std::to_string(number) + " in " + nights
                                 : "no night was submitted yet (" + nights + ")",
                      "night");
}

void WriteNight(LinuxPlatform& platform, const NightDirectory& night,
                const nights::NightRecord& record) {
  if (const auto error = platform.files->ReplaceBytes(RecordOf(night), nights::TextOf(record)))
    throw PlatformError(error.value(), RecordOf(night) + ": " + error.message(), "night");
}

nights::NightRecord ReadNightRecord(LinuxPlatform& platform, const NightDirectory& night) {
  return nights::NightRecordOf(ReadText(*platform.files, RecordOf(night)), RecordOf(night));
}

NightNow LookAtNight(LinuxPlatform& platform, int number, std::string* silence) {
  NightNow now{FindNightDirectory(platform, number), {}, {}, {}};
  now.record = ReadNightRecord(platform, now.directory);
  // The queue first: what ends meanwhile has left its result then.
  std::optional<std::map<std::string, nights::BatchTask>> tasks;
  try {
    tasks = nights::Slurm(*platform.processes).Tasks(now.record.jobs);
  } catch (const PlatformError& error) {
    if (silence == nullptr) throw;
    *silence = error.Description();
  }
  now.traces = TracesOf(platform, now.directory, now.record.steps.size());
  now.statuses = nights::StatusOf(now.record, now.traces, tasks);
  return now;
}

}  // namespace torvik::admin
