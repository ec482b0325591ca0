#include <termios.h>
#include <unistd.h>

#include <cstdio>
#include <filesystem>
#include <iostream>

#include "admin/Commands.h"
#include "admin/FromDtsrun.h"
#include "admin/JobCheck.h"
#include "admin/JobFile.h"
#include "platform/PlatformError.h"

namespace torvik::admin {
namespace {

struct JobOptions {
  std::string file, key, value;
  std::string package, server = "(local)", user, passwordFile;
  std::string warehouseServer = "(local)", database, warehouseUser, warehousePasswordFile;
  std::string logFile, logDirectory, passwordFor;
  bool truncatesLog = false, writesEvent = false;
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

/// Job files of the machine's own jobs, where no run can write, and where their logs go.
constexpr const char* kMachineJobs = "/etc/torvik/jobs";
constexpr const char* kMachineLogs = "/var/log/torvik";

/// Beside the job file, unless it is given.
std::string Beside(const JobOptions& options, const std::string& given, const char* ending) {
  if (!given.empty()) return given;
  const std::filesystem::path job = std::filesystem::absolute(options.file).lexically_normal();
  const std::filesystem::path place = job.parent_path();
  return ((place == kMachineJobs ? kMachineLogs : place) / job.stem()).string() + ending;
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
                 {"DWDB", options.database}});
  PrintResult({{"job", options.file}, {"package", options.package}},
              options.file + " is made; try it: torvik-admin job check " + options.file,
              invocation.json);
  return 0;
}

int ShowJob(LinuxPlatform& platform, const Invocation& invocation, const JobOptions& options) {
  const JobFile job(platform, options.file);
  std::vector<JsonRow> rows;
  for (const JobKey& key : JobKeys()) rows.push_back({key.section, key.name, job.Shown(key)});
  PrintRows({"section", "key", "value"}, rows, invocation.json);
  return 0;
}

int SetKey(LinuxPlatform& platform, const Invocation& invocation, const JobOptions& options) {
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
  const char* const key = options.passwordFor == "dts" ? "DTSPwd" : "DWPwd";
  JobFile job(platform, options.file);
  job.Set({{key, options.passwordFile.empty() ? WithoutEcho().ReadLine("password: ")
                                              : ReadPassword({"", "", options.passwordFile})}});
  PrintResult({{"job", options.file}, {"key", key}},
              std::string(key) +
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
  command.add_flag("--truncate-log", options.truncatesLog, "begin the exception log anew each run");
  command.add_flag("--write-event", options.writesEvent, "tell the system log how the run ended");
}

int FromDtsrun(LinuxPlatform& platform, const Invocation& invocation, const JobOptions& options) {
  return WriteJobOfDtsrun(platform, options.dtsrun, invocation.json);
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
  CLI::App* password =
      group.Add("password",
                "store a password in a job file, scrambled; it is asked for, or taken "
                "from standard input",
                SetPassword);
  AddFile(*password, options);
  password
      ->add_option("--for", options.passwordFor, "dts: the package's server; dw: the warehouse's")
      ->required()
      ->check(CLI::IsMember({"dts", "dw"}));
  password->add_option("--password-file", options.passwordFile,
                       "file whose first line is the password; only its owner may read it");
  CLI::App* check =
      group.Add("check", "open everything that a job file names, and change nothing", CheckJob);
  AddFile(*check, options);
  check->footer("Exit code: 0 no problem, 1 a problem.");
  DtsrunOptions& given = options.dtsrun;
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
