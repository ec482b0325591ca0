#include "admin/jobs/JobTimer.h"

#include <algorithm>
#include <filesystem>
#include <fstream>

#include "platform/PlatformError.h"
#include "platform/linux/system/ReplaceFile.h"

namespace torvik::admin {
namespace {

namespace fs = std::filesystem;

constexpr const char* kEnding = ".etl";
constexpr std::string_view kOnCalendar = "OnCalendar=";
constexpr std::size_t kLongestJob = 230;  // a unit's name has at most 255 bytes

[[noreturn]] void FailAt(const std::string& path, const std::string& reason) {
  throw PlatformError(0, path + ": " + reason, "schedule");
}

/// What the name of a unit's instance may hold without being escaped (systemd.unit(5)).
bool IsUnitName(const std::string& name) {
  const auto isPlain = [](char c) {
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '_' ||
           c == '-' || c == '.' || c == ':';
  };
  return !name.empty() && name.size() <= kLongestJob &&
         std::all_of(name.begin(), name.end(), isPlain);
}

std::string NameOf(const UnitPlaces& places, const std::string& job) {
  const fs::path path = job;
  std::error_code error;
  if (path.has_parent_path() &&
      !fs::equivalent(fs::absolute(path).parent_path(), places.Jobs(), error))
    FailAt(job, "the units run the jobs in " + places.Jobs() +
                    "; put the job file there (owner torvik, mode 0640 or less) and schedule it "
                    "by its name");
  return path.extension() == kEnding ? path.stem().string() : path.filename().string();
}

}  // namespace

JobTimer::JobTimer(const UnitPlaces& places, const std::string& job)
    : places_(places), job_(NameOf(places, job)) {
  if (!IsUnitName(job_))
    FailAt(job,
           "a unit's name has letters, digits and the signs : _ . - alone; rename the job file");
  std::error_code error;
  if (!fs::exists(JobFile(), error))
    FailAt(JobFile(), error ? error.message() : "there is no such job file");
}

std::vector<std::string> JobTimer::Times() const {
  std::vector<std::string> times;
  std::ifstream file(DropIn());
  for (std::string line; std::getline(file, line);)
    if (line.starts_with(kOnCalendar) && line.size() > kOnCalendar.size())
      times.push_back(line.substr(kOnCalendar.size()));
  return times;
}

void JobTimer::SetTimes(const std::vector<std::string>& times) const {
  std::string text = "# Written by torvik-admin job schedule.\n[Timer]\nOnCalendar=\n";
  for (const std::string& time : times) text.append(kOnCalendar).append(time).append("\n");
  std::error_code error;
  fs::create_directories(Directory(), error);
  if (!error) error = ReplaceFile(DropIn(), text, 0644);
  if (error) FailAt(DropIn(), "it cannot be written: " + error.message() + "; run this as root");
}

bool JobTimer::RemoveTimes() const {
  std::error_code error;
  const bool wasThere = fs::remove(DropIn(), error);
  if (error) FailAt(DropIn(), "it cannot be removed: " + error.message() + "; run this as root");
  fs::remove(Directory(), error);  // stays when somebody else has drop-ins there
  return wasThere;
}

std::vector<std::string> JobsIn(const std::string& directory) {
  std::vector<std::string> jobs;
  std::error_code error;
  fs::directory_iterator files(directory, error);
  if (error) FailAt(directory, error.message());
  for (const fs::directory_entry& file : files)
    if (file.path().extension() == kEnding) jobs.push_back(file.path().stem().string());
  std::sort(jobs.begin(), jobs.end());
  return jobs;
}

}  // namespace torvik::admin
