#include "admin/jobs/JobFile.h"

#include <algorithm>
#include <utility>

#include "config/FileUtils.h"
#include "config/modCypher.h"
#include "config/modIniFilesUtils.h"
#include "datalinks/DataLinks.h"
#include "engine/model/Problems.h"
#include "platform/PlatformError.h"
#include "platform/Secrets.h"
#include "platform/Text.h"
#include "platform/linux/LinuxPlatform.h"

namespace torvik::admin {
namespace {

PlatformError JobFileError(const std::string& file, const std::string& reason) {
  return PlatformError(0, file + ": " + reason, "job file");
}

/// Every user can read a command line, and job files are copied.
void RequireReference(const std::string& name, const std::string& value) {
  if (IsPasswordName(name) && !RefersToSecret(value))
    throw PlatformError(
        0,
        "the variable " + name + " holds a password: refer to it by " + name +
            "=file:PATH, a file that its owner alone may read, or by credential:NAME",
        "variables");
}

constexpr const char* kVariables = "Variables";

}  // namespace

JobKey JobKeyOf(std::string_view name) {
  const std::vector<JobKey> keys = JobKeys();
  std::vector<std::string> names;
  for (const JobKey& key : keys) {
    if (EqualsIgnoringCase(key.name, name)) return key;
    names.emplace_back(key.name);
  }
  throw PlatformError(0,
                      "a job file has no key " + engine::Quoted(std::string(name)) + "; " +
                          engine::DidYouMean(std::string(name), names, engine::UseOneOf(names)),
                      "job file");
}

RunVariables VariablesOf(const std::vector<std::string>& options) {
  RunVariables variables;
  for (const std::string& option : options) {
    const std::size_t equals = option.find('=');
    const std::string name = option.substr(0, equals);
    if (equals == 0 || equals == option.npos || option.find('\x1F') != option.npos)
      throw PlatformError(0, "--var " + name + ": write NAME=VALUE", "variables");
    variables.emplace_back(name, option.substr(equals + 1));
    RequireReference(name, variables.back().second);
  }
  return variables;
}

JobFile::JobFile(LinuxPlatform& platform, std::string path)
    : JobFile(platform, std::move(path), Unchecked()) {
  if (const auto error = platform_.files->CheckReadable(path_))
    throw JobFileError(path_, error.message() +
                                  "; torvik-admin job new makes a job file, job show and "
                                  "job set work on one that is there");
  if (!HoldsJob(*platform_.profile, path_))
    throw JobFileError(path_, "it is no job file: it has none of a job's keys");
}

JobFile JobFile::Make(LinuxPlatform& platform, const std::string& path,
                      const std::map<std::string, std::string>& values,
                      const RunVariables& variables) {
  if (FileExists(*platform.files, path))
    throw JobFileError(path, "it is there already; change it with torvik-admin job set");
  JobFile made(platform, path, Unchecked());
  std::map<std::string, std::string> all;
  for (const JobKey& key : JobKeys())
    all[key.name] = key.kind == JobKey::Kind::Truth ? "FALSE" : "";
  for (const auto& [name, value] : values) all[JobKeyOf(name).name] = value;
  for (const auto& [name, value] : variables) made.CheckVariable(name, value);
  made.Set(all);
  if (!variables.empty()) made.SetVariables(variables);
  return made;
}

std::string JobFile::Shown(const JobKey& key) const {
  const std::string text = ReadIniString(*platform_.profile, key.section, key.name, "", path_);
  if (key.kind != JobKey::Kind::Secret) return text;
  return UnscramblePassword(text, platform_.codePages->Ansi()).empty() ? "" : "***";
}

std::string JobFile::Scrambled(const std::string& clear) const {
  const auto isKept = [](char c) { return c >= ' ' && c <= '~'; };
  if (!std::ranges::all_of(clear, isKept))
    throw JobFileError(path_,
                       "a password in a job file has letters, digits and signs of ASCII alone; "
                       "this one has another character");
  return StoredSecret(clear, platform_.codePages->Ansi(), *platform_.clock);
}

void JobFile::SetLinkPassword(const std::string& link, bool ofFtp, const std::string& clear) {
  const std::string section = kDataLinkSection + link;
  if (ReadIniString(*platform_.profile, section, "Name", "", path_).empty())
    throw JobFileError(path_,
                       "it has no section [" + section +
                           "]: what the warehouse's table says of the link counts; change it "
                           "there with torvik-admin link put");
  const std::string scrambled = Scrambled(clear);
  Write([&] {
    return WriteIniString(*platform_.profile, section, ofFtp ? "FTPPassword" : "Password",
                          scrambled, path_) != 0;
  });
}

std::string JobFile::Stored(const JobKey& key, const std::string& value) const {
  if (value.find_first_of("\r\n") != std::string::npos)
    throw JobFileError(path_, std::string(key.name) + " takes one line");
  if (key.kind == JobKey::Kind::Secret) return Scrambled(value);
  if (key.kind == JobKey::Kind::Text) return value;
  if (!EqualsIgnoringCase(value, "TRUE") && !EqualsIgnoringCase(value, "FALSE"))
    throw JobFileError(path_, std::string(key.name) + " is TRUE or FALSE");
  return IniTruth(IsIniTrue(value) ? VariantTrue : VariantFalse);
}

RunVariables JobFile::Variables() const {
  return platform_.profile->GetPrivateProfileSectionA(kVariables, path_);
}

void JobFile::CheckVariable(const std::string& name, const std::string& value) const {
  if (name.empty() || name.find_first_of("[];=\r\n") != name.npos)
    throw JobFileError(path_, engine::Quoted(name) + " is no name of a variable");
  if (value.find_first_of("\r\n") != value.npos)
    throw JobFileError(path_, name + " takes one line");
  RequireReference(name, value);
}

void JobFile::SetVariables(const RunVariables& values) {
  for (const auto& [name, value] : values) CheckVariable(name, value);
  Write([&] {
    bool areWritten = true;
    for (const auto& [name, value] : values)
      areWritten &=
          WriteIniString(*platform_.profile, kVariables, name, QuoteForIniFile(value), path_) != 0;
    return areWritten;
  });
}

void JobFile::Write(const std::function<bool()>& keys) {
  bool areWritten = true;
  const auto error = platform_.profile->Together(path_, [&] { areWritten = keys(); });
  if (error || !areWritten)
    throw JobFileError(path_, "it cannot be written" +
                                  (error ? ": " + error.message() : std::string()) +
                                  "; it is as it was");
}

void JobFile::Set(const std::map<std::string, std::string>& values) {
  std::vector<std::pair<JobKey, std::string>> stored;
  for (const JobKey& key : JobKeys())
    for (const auto& [name, value] : values)
      if (EqualsIgnoringCase(key.name, name)) stored.emplace_back(key, Stored(key, value));
  Write([&] {
    bool areWritten = true;
    for (const auto& [key, text] : stored)
      areWritten &= WriteIniString(*platform_.profile, key.section, key.name, text, path_) != 0;
    return areWritten;
  });
}

}  // namespace torvik::admin
