#include "admin/jobs/FromDtsrun.h"

#include <filesystem>
#include <iostream>
#include <iterator>
#include <map>

#include "admin/common/Admin.h"
#include "admin/jobs/JobFile.h"
#include "engine/model/Variables.h"
#include "migrate/DtsrunLine.h"
#include "platform/PlatformError.h"
#include "platform/Secrets.h"
#include "platform/ShellWord.h"
#include "platform/Text.h"
#include "platform/linux/LinuxPlatform.h"

namespace torvik::admin {
namespace {

std::string LineFrom(const std::string& given) {
  if (given != "-") return given;
  return {std::istreambuf_iterator<char>(std::cin), std::istreambuf_iterator<char>()};
}

/// The job's settings by the names of their keys.
std::map<std::string, std::string> JobOf(const migrate::DtsrunLine& line,
                                         const DtsrunOptions& options) {
  const std::string server = line.server.empty() ? "(local)" : line.server;
  const std::string user = line.isTrusted ? "" : line.user;
  const std::string password = line.isTrusted ? "" : line.password;
  return {{"Package", line.package},
          {"LogFile", line.log.empty() ? line.package + ".txt" : line.log},
          {"UseDefaultLogFileDir", "TRUE"},
          {"WriteEvent", JobTruth(line.writesEvent)},
          {"DTSServer", server},
          {"DTSNTAut", JobTruth(line.isTrusted)},
          {"DTSUser", user},
          {"DTSPwd", password},
          {"DWServer", options.warehouseServer.empty() ? server : options.warehouseServer},
          {"DWNTAut", JobTruth(line.isTrusted)},
          {"DWUser", user},
          {"DWPwd", password},
          {"DWDB", options.warehouse}};
}

/// Those that can stand in the job file; a remark for each of the others.
RunVariables VariablesOfLine(const migrate::DtsrunLine& line, const std::string& file,
                             std::vector<std::string>& remarks) {
  RunVariables variables;
  for (const auto& [name, value] : line.variables) {
    if (!IsPasswordName(name))
      variables.emplace_back(name, value);
    else
      remarks.push_back("/A " + name + ": put the password into a file of mode 0600 and name it: " +
                        "torvik-admin job set --variable " + ShellWord(file) + " " +
                        ShellWord(name) + " file:PATH");
  }
  return variables;
}

}  // namespace

NewJobOfDtsrun MakeJobOf(LinuxPlatform& platform, const migrate::DtsrunLine& line,
                         const DtsrunOptions& options) {
  NewJobOfDtsrun made;
  made.file = options.output.empty() ? line.package + ".etl" : options.output;
  FileStatus status;
  if (!platform.files->Status(made.file, status))
    throw PlatformError(0, made.file + " is there already; name another file by -o",
                        "job from-dtsrun");
  auto job = JobOf(line, options);
  made.server = job["DTSServer"];
  made.remarks = line.remarks;
  const RunVariables variables = VariablesOfLine(line, made.file, made.remarks);
  JobFile::Make(platform, made.file, job, variables);
  if (options.warehouse.empty())
    made.remarks.emplace_back("the job needs its warehouse: DWServer and DWDB in the job file");
  return made;
}

int WriteJobOfDtsrun(LinuxPlatform& platform, const DtsrunOptions& options, bool json) {
  const migrate::DtsrunLine line = migrate::ReadDtsrunLine(LineFrom(options.line));
  const NewJobOfDtsrun made = MakeJobOf(platform, line, options);
  const std::string command = "torvik-admin run " + ShellWord(made.file);
  std::string sentence = made.file + ": package " + line.package + " of " + made.server;
  for (const std::string& remark : made.remarks) sentence += "\n" + remark;
  sentence += "\nto run it: " + command +
              "\nto run it every night, from /etc/torvik/jobs: torvik-admin job schedule " +
              ShellWord(std::filesystem::path(made.file).stem().string()) + " 02:00";
  PrintResult({{"job", made.file},
               {"package", line.package},
               {"server", made.server},
               {"remarks", made.remarks},
               {"command", command}},
              sentence, json);
  return 0;
}

}  // namespace torvik::admin
