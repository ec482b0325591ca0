#include "admin/FromDtsrun.h"

#include <filesystem>
#include <iostream>
#include <iterator>
#include <map>

#include "admin/Admin.h"
#include "admin/DtsrunLine.h"
#include "admin/JobFile.h"
#include "engine/model/Variables.h"
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
std::map<std::string, std::string> JobOf(const DtsrunLine& line, const DtsrunOptions& options) {
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
RunVariables VariablesOfLine(const DtsrunLine& line, const std::string& file,
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

int WriteJobOfDtsrun(LinuxPlatform& platform, const DtsrunOptions& options, bool json) {
  const DtsrunLine line = ReadDtsrunLine(LineFrom(options.line));
  const std::string file = options.output.empty() ? line.package + ".etl" : options.output;
  FileStatus status;
  if (!platform.files->Status(file, status))
    throw PlatformError(0, file + " is there already; name another file by -o", "job from-dtsrun");
  auto job = JobOf(line, options);
  std::vector<std::string> remarks = line.remarks;
  const RunVariables variables = VariablesOfLine(line, file, remarks);
  JobFile::Make(platform, file, job, variables);
  if (options.warehouse.empty())
    remarks.emplace_back("the job needs its warehouse: DWServer and DWDB in the job file");
  const std::string command = "torvik-admin run " + ShellWord(file);
  std::string sentence = file + ": package " + line.package + " of " + job["DTSServer"];
  for (const std::string& remark : remarks) sentence += "\n" + remark;
  sentence += "\nto run it: " + command +
              "\nto run it every night, from /etc/torvik/jobs: torvik-admin job schedule " +
              ShellWord(std::filesystem::path(file).stem().string()) + " 02:00";
  PrintResult({{"job", file},
               {"package", line.package},
               {"server", job["DTSServer"]},
               {"remarks", remarks},
               {"command", command}},
              sentence, json);
  return 0;
}

}  // namespace torvik::admin
