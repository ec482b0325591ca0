#include <algorithm>
#include <filesystem>

#include "admin/common/Commands.h"
#include "admin/common/Secrets.h"
#include "admin/jobs/JobCheck.h"
#include "admin/nights/BatchNights.h"
#include "admin/nights/NightPlan.h"
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
  SubmitOptions submit;
  int night = 0;  ///< 0: the last one.
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

int Submit(LinuxPlatform& platform, const Invocation& invocation, const NightOptions& options) {
  return SubmitNight(platform, invocation, options.submit);
}

int Show(LinuxPlatform& platform, const Invocation& invocation, const NightOptions& options) {
  return ShowNight(platform, invocation, options.night);
}

int Cancel(LinuxPlatform& platform, const Invocation& invocation, const NightOptions& options) {
  return CancelNight(platform, invocation, options.night);
}

void AddSubmit(CLI::App& submit, SubmitOptions& given, Invocation& invocation) {
  submit
      .add_option("PACKAGE", given.package,
                  "name of the package on its server, its document (.toml), or the job file that "
                  "runs it (.etl)")
      ->required();
  submit
      .add_option("--var", given.variables,
                  "NAME=VALUE: a variable of the package; may be repeated")
      ->expected(1)
      ->multi_option_policy(CLI::MultiOptionPolicy::TakeAll);
  submit
      .add_option("--sbatch", given.options,
                  "OPTION: a further option of sbatch (--sbatch=--partition=etl); may be repeated")
      ->expected(1)
      ->multi_option_policy(CLI::MultiOptionPolicy::TakeAll);
  submit
      .add_option("--resume", given.resumed,
                  "NIGHT: submit only what that night (0: the last one) has not done")
      ->check(CLI::NonNegativeNumber);
  submit.add_flag("--check", given.checksOnly,
                  "submit nothing; say what would not work on other machines");
  AddServerOptions(submit, invocation);
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
  AddSubmit(*group.Add("submit", "hand a night to Slurm, whose machines run its jobs", Submit),
            given.submit, invocation);
  CLI::App* show = group.Add("status", "what has become of a night's jobs", Show);
  show->footer("Exit code: 0 all went well, 1 a job failed, 3 the night is under way.");
  CLI::App* cancel = group.Add("cancel", "end a night that is under way", Cancel);
  for (CLI::App* command : {show, cancel})
    command->add_option("NIGHT", given.night, "its number; the last one unless given")
        ->check(CLI::PositiveNumber);
}

}  // namespace torvik::admin
