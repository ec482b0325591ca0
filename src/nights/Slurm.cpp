#include "nights/Slurm.h"

#include <algorithm>
#include <set>
#include <sstream>

#include "platform/NumberText.h"
#include "platform/PlatformError.h"
#include "platform/Process.h"

namespace torvik::nights {
namespace {

/// sbatch counts in minutes, and lets the job end a minute after the signal.
std::string TimeText(std::chrono::seconds timeout) {
  const auto minutes = std::chrono::ceil<std::chrono::minutes>(timeout);
  return std::to_string(minutes.count() + 1);
}

/// "Name=value" of a line of such words.
std::string Field(const std::string& line, const std::string& name) {
  std::istringstream words(line);
  for (std::string word; words >> word;)
    if (word.starts_with(name + "=")) return word.substr(name.size() + 1);
  return {};
}

/// What the script gets of the environment: nothing that may hold a password, which the batch
/// system would keep in its files.
constexpr const char* kExported =
    "--export=HOME,LANG,LC_ALL,PATH,TZ,TORVIK_CONF,TORVIK_STATE,ODBCINI,ODBCSYSINI,PGPASSFILE,"
    "KRB5CCNAME,KRB5_CONFIG";

}  // namespace

std::vector<std::string> Slurm::Run(const std::string& program, std::vector<std::string> arguments,
                                    const std::string& input) {
  ProcessRequest request;
  request.program = program;
  request.arguments = std::move(arguments);
  request.input = input;
  std::vector<std::string> lines;
  const ProcessExit exit =
      processes_.Run(request, [&](std::string_view line) { lines.emplace_back(line); });
  if (!exit.started)
    throw PlatformError(0,
                        "Slurm's program " + program + " cannot be started: " + exit.error +
                            "; install it (Debian package slurm-client)",
                        "night");
  if (exit.exitCode == 0) return lines;
  std::string words;
  for (const std::string& line : lines) words += (words.empty() ? "" : "; ") + line;
  throw PlatformError(exit.exitCode, "Slurm refuses: " + (words.empty() ? program : words),
                      "night");
}

std::map<std::string, std::int64_t> Slurm::Licences() {
  std::map<std::string, std::int64_t> licences;
  for (const std::string& line : Run("scontrol", {"show", "licenses", "--oneliner"}))
    if (const std::string name = Field(line, "LicenseName"); !name.empty())
      licences[name] = NumberOf<std::int64_t>(Field(line, "Total")).value_or(0);
  return licences;
}

std::size_t Slurm::LargestArray() {
  for (std::string line : Run("scontrol", {"show", "config"})) {
    if (!line.starts_with("MaxArraySize")) continue;
    std::erase(line, ' ');
    return NumberOf<std::size_t>(Field(line, "MaxArraySize")).value_or(1);
  }
  return 1;
}

std::string Slurm::Submit(const BatchRequest& request) {
  std::vector<std::string> arguments = {"--parsable",
                                        kExported,
                                        "--kill-on-invalid-dep=yes",
                                        "--requeue",
                                        "--open-mode=append",
                                        "--job-name=" + request.name,
                                        "--array=" + request.tasks,
                                        "--nice=" + std::to_string(request.nice),
                                        "--output=" + request.output,
                                        "--chdir=" + request.directory};
  if (!request.dependency.empty()) arguments.push_back("--dependency=" + request.dependency);
  std::string licences;
  for (const std::string& one : request.licences)
    licences += (licences.empty() ? "" : ",") + one + ":1";
  if (!licences.empty()) arguments.push_back("--licenses=" + licences);
  if (request.timeout) {
    arguments.push_back("--time=" + TimeText(*request.timeout));
    arguments.push_back("--signal=B:TERM@60");
  }
  arguments.insert(arguments.end(), request.options.begin(), request.options.end());
  const std::vector<std::string> answer = Run("sbatch", arguments, request.script);
  // "12" or "12;cluster", behind warnings.
  std::string job = answer.empty() ? "" : answer.back().substr(0, answer.back().find(';'));
  if (!NumberOf<std::int64_t>(job))
    throw PlatformError(0, "sbatch answers no number of a job: " + job, "night");
  return job;
}

std::map<std::string, BatchTask> Slurm::Tasks(const std::vector<std::string>& jobs) {
  const std::set<std::string> wanted(jobs.begin(), jobs.end());
  std::map<std::string, BatchTask> tasks;
  // Asked for by their numbers, squeue fails when it has forgotten one.
  for (const std::string& line :
       Run("squeue", {"--noheader", "--array", "--states=all", "--format=%F|%K|%T|%r|%N"})) {
    std::istringstream fields(line);
    std::string job, task;
    BatchTask found;
    std::getline(fields, job, '|');
    std::getline(fields, task, '|');
    std::getline(fields, found.state, '|');
    std::getline(fields, found.reason, '|');
    std::getline(fields, found.nodes, '|');
    if (wanted.contains(job)) tasks[job + "_" + task] = found;
  }
  return tasks;
}

void Slurm::Cancel(const std::vector<std::string>& jobs) {
  if (jobs.empty()) return;
  std::vector<std::string> arguments = {"--quiet"};
  arguments.insert(arguments.end(), jobs.begin(), jobs.end());
  Run("scancel", arguments);
}

}  // namespace torvik::nights
