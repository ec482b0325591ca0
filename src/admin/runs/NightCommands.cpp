#include <algorithm>
#include <filesystem>

#include "admin/common/Commands.h"
#include "admin/common/Secrets.h"
#include "admin/jobs/JobCheck.h"
#include "admin/runs/NightPlan.h"
#include "platform/PlatformError.h"
#include "platform/Text.h"
#include "platform/linux/LinuxPlatform.h"

namespace torvik::admin {
namespace {

namespace fs = std::filesystem;

struct NightOptions {
  std::string directory;
  std::string output;
  std::string name = "Night";
};

/// The job files of a directory by their names; what is none is told and left out.
std::vector<NightJob> JobsIn(LinuxPlatform& platform, const std::string& directory) {
  std::error_code error;
  std::vector<fs::path> files;
  for (fs::directory_iterator entry(directory, error), end; !error && entry != end;
       entry.increment(error))
    if (EqualsIgnoringCase(entry->path().extension().string(), ".etl"))
      files.push_back(fs::absolute(entry->path()).lexically_normal());
  if (error)
    throw PlatformError(error.value(), directory + " cannot be read: " + error.message(), "night");
  std::ranges::sort(files);
  std::vector<NightJob> jobs;
  for (const fs::path& file : files) try {
      jobs.push_back({file, JobUnderCheck(platform, file).job.DTSPackageName});
    } catch (const PlatformError& problem) {
      Warn(problem.Description() + "; it is left out");
    }
  return jobs;
}

int MakeNight(LinuxPlatform& platform, const Invocation& invocation, const NightOptions& options) {
  const std::vector<NightJob> jobs = JobsIn(platform, options.directory);
  if (jobs.empty()) throw PlatformError(0, options.directory + " has no job file (*.etl)", "night");
  const std::string output = options.output.empty() ? options.name + ".toml" : options.output;
  std::error_code error;
  if (fs::exists(output, error))
    throw PlatformError(0, output + " is there already; remove it, or name another file with -o",
                        "night");
  if (const auto problem = platform.files->ReplaceBytes(output, NightDocument(options.name, jobs)))
    throw PlatformError(problem.value(), output + " cannot be written: " + problem.message(),
                        "night");
  PrintResult({{"file", output}, {"package", options.name}, {"jobs", jobs.size()}},
              output + " runs " + std::to_string(jobs.size()) +
                  " jobs; look at their order, then: torvik-admin package put " + output,
              invocation.json);
  return 0;
}

}  // namespace

void AddNightCommands(CLI::App& app, Invocation& invocation) {
  CommandGroup<NightOptions> group(app, invocation, "night", "many jobs, run by one package");
  NightOptions& given = group.Given();
  CLI::App* make = group.Add("new", "write a package that runs the jobs of a directory", MakeNight);
  make->add_option("DIRECTORY", given.directory, "directory of the job files")->required();
  make->add_option("-o,--output", given.output,
                   "file of the package; without it NAME with the ending .toml");
  make->add_option("--name", given.name, "name of the package")->capture_default_str();
}

}  // namespace torvik::admin
