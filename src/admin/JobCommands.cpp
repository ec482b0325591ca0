#include "admin/Commands.h"
#include "admin/FromDtsrun.h"
#include "admin/JobCheck.h"

namespace torvik::admin {
namespace {

struct JobOptions {
  std::string file;
  DtsrunOptions dtsrun;
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

int FromDtsrun(LinuxPlatform& platform, const Invocation& invocation, const JobOptions& options) {
  return WriteJobOfDtsrun(platform, options.dtsrun, invocation.json);
}

}  // namespace

void AddJobCommands(CLI::App& app, Invocation& invocation) {
  CommandGroup<JobOptions> group(app, invocation, "job", "job files");
  CLI::App* check =
      group.Add("check", "open everything that a job file names, and change nothing", CheckJob);
  check->add_option("JOB", group.Given().file, "job file (.etl)")->required();
  check->footer("Exit code: 0 no problem, 1 a problem.");
  DtsrunOptions& given = group.Given().dtsrun;
  CLI::App* line =
      group.Add("from-dtsrun", "write the job file that does what a dtsrun line does", FromDtsrun);
  line->add_option("LINE", given.line,
                   "the line, in quotes; \"-\" reads it from standard input, where no other user "
                   "sees a password in it")
      ->required();
  line->add_option("-o,--output", given.output, "the job file; the package's name with .etl else");
  line->add_option("--warehouse-server", given.warehouseServer,
                   "the warehouse's server; that of the packages else");
  line->add_option("--warehouse", given.warehouse, "the warehouse's database");
}

}  // namespace torvik::admin
