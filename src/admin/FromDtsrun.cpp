#include "admin/FromDtsrun.h"

#include <iostream>
#include <iterator>

#include "admin/Admin.h"
#include "admin/DtsrunLine.h"
#include "config/JobSettings.h"
#include "datalinks/DataLinks.h"
#include "engine/model/Variables.h"
#include "platform/PlatformError.h"
#include "platform/Text.h"
#include "platform/linux/LinuxPlatform.h"

namespace torvik::admin {
namespace {

std::string LineFrom(const std::string& given) {
  if (given != "-") return given;
  return {std::istreambuf_iterator<char>(std::cin), std::istreambuf_iterator<char>()};
}

JobSettings JobOf(const DtsrunLine& line, const DtsrunOptions& options) {
  JobSettings job;
  job.DTSPackageName = line.package;
  job.DTSServer = line.server.empty() ? "(local)" : line.server;
  job.DTSServerTrustedLogin = line.isTrusted ? VariantTrue : VariantFalse;
  if (!line.isTrusted) {
    job.DTSLoginUserName = line.user;
    job.DTSLoginPassword = line.password;
  }
  job.ExceptionLogFile = line.log.empty() ? line.package + ".txt" : line.log;
  job.UseDefaultLogFileDir = VariantTrue;
  job.WriteCompletionStatusToNT = line.writesEvent ? VariantTrue : VariantFalse;
  job.DWServer = options.warehouseServer.empty() ? job.DTSServer : options.warehouseServer;
  job.DWServerTrustedLogin = job.DTSServerTrustedLogin;
  job.DWServerLoginUserName = job.DTSLoginUserName;
  job.DWServerLoginPassword = job.DTSLoginPassword;
  job.DWDatabaseName = options.warehouse;
  job.TorvConfigFile = options.output.empty() ? line.package + ".etl" : options.output;
  return job;
}

/// For a shell: in single quotes where it needs them.
std::string ShellWord(const std::string& text) {
  constexpr std::string_view kPlain =
      "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789_-+=./:,@%";
  if (!text.empty() && text.find_first_not_of(kPlain) == text.npos) return text;
  std::string word = "'";
  for (const char c : text) word += c == '\'' ? std::string("'\\''") : std::string(1, c);
  return word + "'";
}

std::string CommandOf(const DtsrunLine& line, const std::string& file,
                      std::vector<std::string>& remarks) {
  std::string command = "torvik-admin run " + ShellWord(file);
  for (const auto& [name, value] : line.variables) {
    if (engine::IsPasswordName(name))
      remarks.push_back("/A " + name + ": let a step of SetVariables read it from a file");
    else
      command += " --var " + ShellWord(name + "=" + value);
  }
  return command;
}

}  // namespace

int WriteJobOfDtsrun(LinuxPlatform& platform, const DtsrunOptions& options, bool json) {
  const DtsrunLine line = ReadDtsrunLine(LineFrom(options.line));
  const JobSettings job = JobOf(line, options);
  FileStatus status;
  if (!platform.files->Status(job.TorvConfigFile, status))
    throw PlatformError(0, job.TorvConfigFile + " is there already; name another file by -o",
                        "job from-dtsrun");
  DataLinks noLinks(*platform.profile, platform.codePages->Ansi(), *platform.clock,
                    *platform.messages);
  if (!job.WriteConfigFile({*platform.profile, *platform.files, platform.codePages->Ansi(),
                            *platform.clock, noLinks}))
    throw PlatformError(0, job.TorvConfigFile + " cannot be written", "job from-dtsrun");
  std::vector<std::string> remarks = line.remarks;
  if (job.DWDatabaseName.empty())
    remarks.emplace_back("the job needs its warehouse: DWServer and DWDB in the job file");
  const std::string command = CommandOf(line, job.TorvConfigFile, remarks);
  std::string sentence = job.TorvConfigFile + ": package " + line.package + " of " + job.DTSServer;
  for (const std::string& remark : remarks) sentence += "\n" + remark;
  sentence += "\nto run it, for example from a timer or by cron (0 2 * * *): " + command;
  PrintResult({{"job", job.TorvConfigFile},
               {"package", line.package},
               {"server", job.DTSServer},
               {"remarks", remarks},
               {"command", command}},
              sentence, json);
  return 0;
}

}  // namespace torvik::admin
