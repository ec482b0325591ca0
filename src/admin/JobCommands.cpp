#include "admin/Commands.h"
#include "admin/JobCheck.h"

namespace torvik::admin {
namespace {

struct JobOptions {
  std::string file;
};

int CheckJob(LinuxPlatform& platform, const Invocation& invocation, const JobOptions& options) {
  JobUnderCheck check(platform, options.file);
  CheckSettings(check);
  CheckLogPlaces(check);
  CheckPackage(check);
  CheckDataLinks(check);
  check.report.Print("job", options.file, invocation.json);
  return check.report.HasProblems() ? 1 : 0;
}

}  // namespace

void AddJobCommands(CLI::App& app, Invocation& invocation) {
  CommandGroup<JobOptions> group(app, invocation, "job", "job files");
  CLI::App* check =
      group.Add("check", "open everything that a job file names, and change nothing", CheckJob);
  check->add_option("JOB", group.Given().file, "job file (.etl)")->required();
  check->footer("Exit code: 0 no problem, 1 a problem.");
}

}  // namespace torvik::admin
