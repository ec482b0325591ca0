#include "config/JobSettings.h"

#include <algorithm>
#include <iterator>
#include <variant>

#include "config/DataLinkSections.h"
#include "config/FileUtils.h"
#include "config/modCypher.h"
#include "config/modIniFilesUtils.h"
#include "platform/Files.h"
#include "platform/Profile.h"

namespace torvik {
namespace {

using TextSetting = std::string JobSettings::*;
using TruthSetting = VariantBool JobSettings::*;

struct SecretSetting {
  std::string JobSettings::*text;
};

struct StoredSetting {
  const char* section;
  const char* key;
  std::variant<TextSetting, TruthSetting, SecretSetting> member;
};

constexpr const char* kPackage = "Package Info";
constexpr const char* kDTSServer = "DTS Server Info";
constexpr const char* kVariables = "Variables";
constexpr const char* kDWServer = "Datawarehouse Server Info";

/// In the order of a new job file.
const StoredSetting kStoredSettings[] = {
    {kPackage, "Package", &JobSettings::DTSPackageName},
    {kPackage, "LogFile", &JobSettings::ExceptionLogFile},
    {kPackage, "LogFileDir", &JobSettings::LogFileDir},
    {kPackage, "UseDefaultLogFileDir", &JobSettings::UseDefaultLogFileDir},
    {kPackage, "TruncLogFile", &JobSettings::TruncateExceptionLogFile},
    {kPackage, "WriteEvent", &JobSettings::WriteCompletionStatusToNT},
    {kDTSServer, "DTSServer", &JobSettings::DTSServer},
    {kDTSServer, "DTSNTAut", &JobSettings::DTSServerTrustedLogin},
    {kDTSServer, "DTSUser", &JobSettings::DTSLoginUserName},
    {kDTSServer, "DTSPwd", SecretSetting{&JobSettings::DTSLoginPassword}},
    {kDWServer, "DWServer", &JobSettings::DWServer},
    {kDWServer, "DWNTAut", &JobSettings::DWServerTrustedLogin},
    {kDWServer, "DWUser", &JobSettings::DWServerLoginUserName},
    {kDWServer, "DWPwd", SecretSetting{&JobSettings::DWServerLoginPassword}},
    {kDWServer, "DWDB", &JobSettings::DWDatabaseName},
};

struct Store {
  JobSettings& job;
  const std::string& text;
  const CodePage& ansi;

  void operator()(TextSetting member) const { job.*member = text; }
  void operator()(TruthSetting member) const {
    job.*member = IsIniTrue(text) ? VariantTrue : VariantFalse;
  }
  void operator()(SecretSetting member) const { job.*member.text = UnscramblePassword(text, ansi); }
};

struct Stored {
  const JobSettings& job;
  const JobFileServices& services;

  std::string operator()(TextSetting member) const { return job.*member; }
  std::string operator()(TruthSetting member) const { return IniTruth(job.*member); }
  std::string operator()(SecretSetting member) const {
    return StoredSecret(job.*member.text, services.ansi, services.clock);
  }
};

}  // namespace

std::vector<JobKey> JobKeys() {
  std::vector<JobKey> keys;
  for (const StoredSetting& setting : kStoredSettings) {
    const bool isTruth = std::holds_alternative<TruthSetting>(setting.member);
    const bool isSecret = std::holds_alternative<SecretSetting>(setting.member);
    keys.push_back({setting.section, setting.key,
                    isTruth    ? JobKey::Kind::Truth
                    : isSecret ? JobKey::Kind::Secret
                               : JobKey::Kind::Text});
  }
  return keys;
}

bool HoldsJob(Profile& profile, const std::string& file) {
  bool holds = false;
  const auto error = profile.Together(file, [&] {
    holds = std::any_of(
        std::begin(kStoredSettings), std::end(kStoredSettings), [&](const StoredSetting& setting) {
          return ReadIniString(profile, setting.section, setting.key, "\x1F", file) != "\x1F";
        });
  });
  return holds && !error;
}

std::string StoredSecret(std::string_view clear, const CodePage& ansi, Clock& clock) {
  return QuoteForIniFile(ScramblePassword(clear, ansi, clock));
}

bool JobSettings::ReadConfigFile(const JobFileServices& services) {
  if (!FileExists(services.files, TorvConfigFile)) return false;
  return !services.profile.Together(TorvConfigFile, [&] {
    for (const StoredSetting& setting : kStoredSettings) {
      const bool isTruth = std::holds_alternative<TruthSetting>(setting.member);
      const std::string text = ReadIniString(services.profile, setting.section, setting.key,
                                             isTruth ? "False" : "", TorvConfigFile);
      std::visit(Store{*this, text, services.ansi}, setting.member);
    }
    Variables = services.profile.GetPrivateProfileSectionA(kVariables, TorvConfigFile);
  });
}

/// They stand in the file already unless it is another one than was read.
void JobSettings::WriteVariables(Profile& profile) const {
  const RunVariables present = profile.GetPrivateProfileSectionA(kVariables, TorvConfigFile);
  if (present == Variables) return;
  for (const auto& [name, value] : Variables)
    WriteIniString(profile, kVariables, name, QuoteForIniFile(value), TorvConfigFile);
}

bool JobSettings::WriteConfigFile(const JobFileServices& services, std::error_code& error) const {
  if (TorvConfigFile.empty()) return false;
  std::int16_t written = 0;
  error = services.profile.Together(TorvConfigFile, [&] {
    for (const StoredSetting& setting : kStoredSettings) {
      written = WriteIniString(services.profile, setting.section, setting.key,
                               std::visit(Stored{*this, services}, setting.member), TorvConfigFile);
    }
    WriteVariables(services.profile);
    services.dataLinks.WriteDataLinkSections(TorvConfigFile);
  });
  return !error && written != 0;  // that of the last key alone
}

}  // namespace torvik
