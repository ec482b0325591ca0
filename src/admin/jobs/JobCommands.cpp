#include <termios.h>
#include <unistd.h>

#include <cstdio>
#include <filesystem>
#include <iostream>

#include "admin/common/Commands.h"
#include "admin/jobs/FromAgent.h"
#include "admin/jobs/FromDtsrun.h"
#include "admin/jobs/JobCheck.h"
#include "admin/jobs/JobFile.h"
#include "admin/jobs/JobTimer.h"
#include "admin/jobs/ScheduleCommands.h"
#include "platform/PlatformError.h"
#include "platform/Secrets.h"

namespace torvik::admin {
namespace {

struct JobOptions {
  std::string file, key, value;
  std::string package, server = "(local)", user, passwordFile;
  std::string warehouseServer = "(local)", database, warehouseUser, warehousePasswordFile;
  std::string logFile, logDirectory;
  std::vector<std::string> passwordFor;
  std::vector<std::string> variables;
  bool truncatesLog = false, writesEvent = false, isVariable = false;
  DtsrunOptions dtsrun;
  ScheduleOptions schedule;
};

int CheckJob(LinuxPlatform& platform, const Invocation& invocation, const JobOptions& options) {
  JobUnderCheck check(platform, options.file);
  CheckJob(check);
  check.report.Print("job", options.file, invocation.json);
  return check.report.HasProblems() ? 1 : 0;
}

/// Where the logs of the machine's own jobs go, beside whose files no run can write.
constexpr const char* kMachineLogs = "/var/log/torvik";

/// Beside the job file, unless it is given.
std::string Beside(const JobOptions& options, const std::string& given, const char* ending) {
  if (!given.empty()) return given;
  const std::filesystem::path job = std::filesystem::absolute(options.file).lexically_normal();
  const std::filesystem::path place = job.parent_path();
  return ((place == UnitPlaces().Jobs() ? kMachineLogs : place) / job.stem()).string() + ending;
}

int NewJob(LinuxPlatform& platform, const Invocation& invocation, const JobOptions& options) {
  JobFile::Make(platform, options.file,
                {{"Package", options.package},
                 {"LogFile", Beside(options, options.logFile, ".txt")},
                 {"LogFileDir", Beside(options, options.logDirectory, ".logs/")},
                 {"TruncLogFile", JobTruth(options.truncatesLog)},
                 {"WriteEvent", JobTruth(options.writesEvent)},
                 {"DTSServer", options.server},
                 {"DTSNTAut", JobTruth(options.user.empty())},
                 {"DTSUser", options.user},
                 {"DTSPwd", ReadPassword({options.server, options.user, options.passwordFile})},
                 {"DWServer", options.warehouseServer},
                 {"DWNTAut", JobTruth(options.warehouseUser.empty())},
                 {"DWUser", options.warehouseUser},
                 {"DWPwd", ReadPassword({options.warehouseServer, options.warehouseUser,
                                         options.warehousePasswordFile})},
                 {"DWDB", options.database}},
                VariablesOf(options.variables));
  PrintResult({{"job", options.file}, {"package", options.package}},
              options.file + " is made; try it: torvik-admin job check " + options.file,
              invocation.json);
  return 0;
}

int ShowJob(LinuxPlatform& platform, const Invocation& invocation, const JobOptions& options) {
  const JobFile job(platform, options.file);
  std::vector<JsonRow> rows;
  for (const JobKey& key : JobKeys()) rows.push_back({key.section, key.name, job.Shown(key)});
  for (const auto& [name, value] : job.Variables())
    rows.push_back(
        {"Variables", name, IsPasswordName(name) && !RefersToSecret(value) ? "***" : value});
  PrintRows({"section", "key", "value"}, rows, invocation.json);
  return 0;
}

int SetVariable(LinuxPlatform& platform, const Invocation& invocation, const JobOptions& options) {
  JobFile(platform, options.file).SetVariables({{options.key, options.value}});
  PrintResult({{"job", options.file}, {"variable", options.key}, {"value", options.value}},
              "the variable " + options.key + " is set for the runs of this job", invocation.json);
  return 0;
}

int SetKey(LinuxPlatform& platform, const Invocation& invocation, const JobOptions& options) {
  if (options.isVariable) return SetVariable(platform, invocation, options);
  const JobKey key = JobKeyOf(options.key);
  if (key.kind == JobKey::Kind::Secret)
    throw PlatformError(0,
                        std::string(key.name) +
                            " is a password, and every user can read a command line: give it with "
                            "torvik-admin job password",
                        "job file");
  JobFile(platform, options.file).Set({{key.name, options.value}});
  PrintResult({{"job", options.file}, {"key", key.name}, {"value", options.value}},
              std::string(key.name) + " is set", invocation.json);
  return 0;
}

/// Hides what is typed, where that is a terminal.
class WithoutEcho {
 public:
  WithoutEcho() : isTerminal_(tcgetattr(STDIN_FILENO, &before_) == 0) {
    if (!isTerminal_) return;
    termios silent = before_;
    silent.c_lflag &= ~static_cast<tcflag_t>(ECHO);
    tcsetattr(STDIN_FILENO, TCSAFLUSH, &silent);
  }
  ~WithoutEcho() {
    if (!isTerminal_) return;
    tcsetattr(STDIN_FILENO, TCSAFLUSH, &before_);
    std::fputc('\n', stderr);
  }
  WithoutEcho(const WithoutEcho&) = delete;
  WithoutEcho& operator=(const WithoutEcho&) = delete;

  std::string ReadLine(const char* prompt) const {
    if (isTerminal_) std::fputs(prompt, stderr);
    std::string line;
    if (!std::getline(std::cin, line))
      throw PlatformError(0, "no password was given on standard input", "job file");
    if (!line.empty() && line.back() == '\r') line.pop_back();
    return line;
  }

 private:
  termios before_{};
  const bool isTerminal_;
};

int SetPassword(LinuxPlatform& platform, const Invocation& invocation, const JobOptions& options) {
  const std::string& kind = options.passwordFor.front();
  const bool isOfLink = kind == "link" || kind == "ftp";
  const bool isKnown = isOfLink || kind == "dts" || kind == "dw";
  if (!isKnown || isOfLink != (options.passwordFor.size() == 2))
    throw PlatformError(0, "--for is dts, dw, link NAME or ftp NAME", "job file");
  JobFile job(platform, options.file);
  const std::string password = options.passwordFile.empty()
                                   ? WithoutEcho().ReadLine("password: ")
                                   : ReadPassword({"", "", options.passwordFile});
  const std::string key = isOfLink        ? options.passwordFor.back()
                          : kind == "dts" ? "DTSPwd"
                                          : "DWPwd";
  if (isOfLink)
    job.SetLinkPassword(key, kind == "ftp", password);
  else
    job.Set({{key, password}});
  PrintResult({{"job", options.file}, {"key", key}},
              "the password of " + key +
                  " is set; it is scrambled, which is no encryption: the file is "
                  "for those who run the job alone",
              invocation.json);
  return 0;
}

void AddFile(CLI::App& command, JobOptions& options) {
  command.add_option("JOB", options.file, "job file (.etl)")->required();
}

void AddNewOptions(CLI::App& command, JobOptions& options) {
  AddFile(command, options);
  command.add_option("--package", options.package, "package that the job runs")->required();
  command.add_option("--server", options.server, "server that stores the package")
      ->capture_default_str();
  CLI::Option* user =
      command.add_option("--user", options.user, "user name there; without it a trusted logon");
  command.add_option("--password-file", options.passwordFile, "file with that user's password")
      ->needs(user);
  command.add_option("--warehouse-server", options.warehouseServer, "server of the data warehouse")
      ->capture_default_str();
  command.add_option("--database", options.database, "database of the data warehouse")->required();
  CLI::Option* warehouseUser = command.add_option("--warehouse-user", options.warehouseUser,
                                                  "user name there; without it a trusted logon");
  command
      .add_option("--warehouse-password-file", options.warehousePasswordFile,
                  "file with that user's password")
      ->needs(warehouseUser);
  command.add_option("--log-file", options.logFile,
                     "exception log; without it JOB with the ending .txt");
  command.add_option("--log-directory", options.logDirectory,
                     "directory of the package's logs, emptied by each run; without it JOB with "
                     "the ending .logs");
  command.add_option("--var", options.variables,
                     "NAME=VALUE: a variable of the package's own for each run; may be repeated");
  command.add_flag("--truncate-log", options.truncatesLog, "begin the exception log anew each run");
  command.add_flag("--write-event", options.writesEvent, "tell the system log how the run ended");
}

int FromDtsrun(LinuxPlatform& platform, const Invocation& invocation, const JobOptions& options) {
  return WriteJobOfDtsrun(platform, options.dtsrun, invocation.json);
}

int FromAgent(LinuxPlatform& platform, const Invocation& invocation, const JobOptions& options) {
  return WriteJobsOfAgent(platform, options.dtsrun, invocation.json);
}

void AddWarehouse(CLI::App& command, DtsrunOptions& given) {
  command.add_option("--warehouse-server", given.warehouseServer,
                     "the warehouse's server; that of the packages else");
  command.add_option("--warehouse", given.warehouse, "the warehouse's database");
}

void AddFormerRunnerCommands(CommandGroup<JobOptions>& group) {
  DtsrunOptions& given = group.Given().dtsrun;
  CLI::App* line =
      group.Add("from-dtsrun", "write the job file that does what a dtsrun line does", FromDtsrun);
  line->add_option("LINE", given.line,
                   "the line, in quotes; \"-\" reads it from standard input, where no other user "
                   "sees a password in it")
      ->required();
  line->add_option("-o,--output", given.output, "the job file; the package's name with .etl else");
  AddWarehouse(*line, given);
  CLI::App* script = group.Add(
      "from-agent", "write the job files of Agent jobs that were scripted as SQL", FromAgent);
  script->add_option("FILE", given.line, "the script, of one job or several, or a batch file")
      ->required();
  script->add_option("-o,--output", given.output,
                     "the directory of the job files; the current one else");
  AddWarehouse(*script, given);
  script->footer("Exit code: 0 done, 1 a dtsrun line was not taken over.");
}

void AddRoot(CLI::App& command, ScheduleOptions& options) {
  command
      .add_option("--root", options.root,
                  "root directory of another system, which is prepared and does not run")
      ->capture_default_str();
}

void AddScheduleCommands(CommandGroup<JobOptions>& group) {
  ScheduleOptions& given = group.Given().schedule;
  CLI::App* schedule = group.Add(
      "schedule", "start a job of /etc/torvik/jobs at times, by systemd",
      [](LinuxPlatform& platform, const Invocation& invocation, const JobOptions& options) {
        return ScheduleJob(platform, options.schedule, invocation.json);
      });
  schedule->add_option("JOB", given.job, "its name, with or without .etl")->required();
  schedule
      ->add_option("WHEN", given.times,
                   "calendar expressions of systemd.time(7), as \"Mon..Fri 02:00\"; they take the "
                   "place of those before")
      ->required();
  AddRoot(*schedule, given);
  schedule->footer("Without systemd the crontab line that does it is printed.");
  CLI::App* unschedule = group.Add(
      "unschedule", "start a job no longer by itself",
      [](LinuxPlatform& platform, const Invocation& invocation, const JobOptions& options) {
        return UnscheduleJob(platform, options.schedule, invocation.json);
      });
  unschedule->add_option("JOB", given.job, "its name, with or without .etl")->required();
  AddRoot(*unschedule, given);
  CLI::App* list = group.Add(
      "list", "the jobs of /etc/torvik/jobs, when they start next and how they ended last",
      [](LinuxPlatform& platform, const Invocation& invocation, const JobOptions& options) {
        return ListJobs(platform, options.schedule, invocation.json);
      });
  AddRoot(*list, given);
}

}  // namespace

void AddJobCommands(CLI::App& app, Invocation& invocation) {
  CommandGroup<JobOptions> group(app, invocation, "job", "job files");
  JobOptions& options = group.Given();
  AddNewOptions(*group.Add("new", "make a job file", NewJob), options);
  AddFile(*group.Add("show", "print what a job file says, without its passwords", ShowJob),
          options);
  CLI::App* set = group.Add("set", "change one key of a job file", SetKey);
  AddFile(*set, options);
  set->add_option("KEY", options.key, "as job show names it, in any letter case")->required();
  set->add_option("VALUE", options.value, "its new value")->required();
  set->add_flag("--variable", options.isVariable,
                "KEY is a variable of the package's own; a password is referred to by file:PATH "
                "or credential:NAME");
  CLI::App* password =
      group.Add("password",
                "store a password in a job file, scrambled; it is asked for, or taken "
                "from standard input",
                SetPassword);
  AddFile(*password, options);
  password
      ->add_option("--for", options.passwordFor,
                   "dts: the package's server; dw: the warehouse's; link NAME: a data link's "
                   "source; ftp NAME: a data link's FTP logon")
      ->required()
      ->expected(1, 2);
  password->add_option("--password-file", options.passwordFile,
                       "file whose first line is the password; only its owner may read it");
  CLI::App* check =
      group.Add("check", "open everything that a job file names, and change nothing", CheckJob);
  AddFile(*check, options);
  check->footer("Exit code: 0 no problem, 1 a problem.");
  AddFormerRunnerCommands(group);
  AddScheduleCommands(group);
}

}  // namespace torvik::admin
