#include "admin/jobs/JobCheck.h"

#include "admin/common/Secrets.h"
#include "config/modCypher.h"
#include "datalinks/DataLinks.h"
#include "platform/PlatformError.h"
#include "platform/Text.h"
#include "platform/linux/LinuxPlatform.h"
#include "platform/linux/settings/IniText.h"
#include "platform/linux/settings/ProfileFiles.h"
#include "platform/linux/shares/ShellByPath.h"
#include "platform/linux/system/PosixFiles.h"

namespace torvik::admin {
namespace {

constexpr const char* kPackage = "Package Info";
constexpr const char* kPackageServer = "DTS Server Info";
constexpr const char* kWarehouse = "Datawarehouse Server Info";

/// Every drive has its directory here, so that none is made for it.
PathMap PathsThatMakeNothing(const Settings& settings) {
  auto drives = settings.drives;
  for (char letter = 'a'; letter <= 'z'; ++letter) {
    const std::string drive(1, letter);
    drives.try_emplace(drive, settings.stateDirectory + "/drives/" + drive);
  }
  return PathMap(std::move(drives), settings.shares, "");
}

PlatformError NoJobFile(const std::string& file, const std::string& reason) {
  return PlatformError(0, file + " cannot be checked: " + reason, "job file");
}

void RequireSections(const std::string& file, const std::string& text) {
  for (std::size_t at = 0; at < text.size();) {
    const IniLine line = ReadIniLine(text, at);
    if (line.kind == IniLine::Kind::Section) {
      for (const char* section : {kPackage, kPackageServer, kWarehouse}) {
        if (EqualsIgnoringCase(line.name, section)) return;
      }
    }
    at = line.end;
  }
  throw NoJobFile(file, "it is no job file: it has none of the sections [" + std::string(kPackage) +
                            "], [" + kPackageServer + "] and [" + kWarehouse + "]");
}

std::string DefaultLogDirectory(const Settings& settings, const std::string& package) {
  return settings.temporaryDirectory + "/Torv/" + package + "/";
}

bool HasLinkPassword(const JobUnderCheck& check) {
  bool isOfLink = false;
  for (std::size_t at = 0; at < check.text.size();) {
    const IniLine line = ReadIniLine(check.text, at);
    at = line.end;
    if (line.kind == IniLine::Kind::Section) isOfLink = line.name.starts_with(kDataLinkSection);
    if (!isOfLink || line.kind != IniLine::Kind::Key) continue;
    for (const char* key : {"Password", "FTPPassword", "ConnectString"})
      if (EqualsIgnoringCase(line.name, key) &&
          !UnscramblePassword(IniValue(line.text), check.platform.codePages->Ansi()).empty())
        return true;
  }
  return false;
}

void CheckSecrets(JobUnderCheck& check) {
  if (const std::string open = OpenPasswords(check); !open.empty())
    check.report.Warning("job file", open);
  const Settings& settings = check.platform.settings;
  const std::string ofSettings = OpenToOthers(check.paths, settings.sourceFile);
  if (settings.HoldPassword() && !ofSettings.empty()) check.report.Warning("settings", ofSettings);
}

}  // namespace

std::string OpenPasswords(const JobUnderCheck& check) {
  const JobSettings& job = check.job;
  const bool hasPassword =
      !job.DTSLoginPassword.empty() || !job.DWServerLoginPassword.empty() || HasLinkPassword(check);
  return hasPassword ? OpenToOthers(check.paths, job.TorvConfigFile) : "";
}

JobUnderCheck::JobUnderCheck(LinuxPlatform& linux, const std::string& file)
    : platform(linux),
      paths(PathsThatMakeNothing(linux.settings)),
      files(NewPosixFiles(paths, *linux.codePages, linux.settings.temporaryDirectory)),
      profile(NewProfileFiles(paths, *linux.codePages)),
      shell(NewShellByPath(linux.settings, paths, *linux.codePages)) {
  if (const auto error = files->CheckReadable(file)) throw NoJobFile(file, error.message());
  text = linux.codePages->Ansi().Decode(ReadText(*files, file));
  RequireSections(file, text);
  job.TorvConfigFile = file;
  DataLinks noLinks(*profile, linux.codePages->Ansi(), *linux.clock, *linux.messages);
  if (!job.ReadConfigFile({*profile, *files, linux.codePages->Ansi(), *linux.clock, noLinks})) {
    throw NoJobFile(file, "its settings cannot be read");
  }
  if (job.UseDefaultLogFileDir != VariantFalse) {
    job.LogFileDir = DefaultLogDirectory(linux.settings, job.DTSPackageName);
  }
  report.AddSecret(job.DTSLoginPassword);
  report.AddSecret(job.DWServerLoginPassword);
}

void CheckJob(JobUnderCheck& check) {
  CheckSettings(check);
  CheckLogPlaces(check);
  CheckPackage(check);
  CheckDataLinks(check);
}

void CheckSettings(JobUnderCheck& check) {
  const JobSettings& job = check.job;
  const struct {
    const char* section;
    const char* key;
    const std::string& value;
    const char* meaning;
  } required[] = {
      {kPackage, "Package", job.DTSPackageName, "the package that the job runs"},
      {kPackage, "LogFile", job.ExceptionLogFile, "the path of the exception log"},
      {kPackageServer, "DTSServer", job.DTSServer, "the server that stores the package"},
      {kWarehouse, "DWServer", job.DWServer, "the server of the data warehouse"},
      {kWarehouse, "DWDB", job.DWDatabaseName, "the database of the data warehouse"},
  };
  bool isComplete = true;
  for (const auto& key : required) {
    if (!key.value.empty()) continue;
    isComplete = false;
    check.report.Problem("job file", job.TorvConfigFile + ", section [" + key.section +
                                         "]: " + key.key + " is missing or empty; write " +
                                         key.meaning + " there");
  }
  if (isComplete) check.report.Ok("job file", job.TorvConfigFile + " has all that a run needs");
  CheckSecrets(check);
}

}  // namespace torvik::admin
