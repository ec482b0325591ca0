#include "admin/JobFile.h"

#include <algorithm>
#include <utility>

#include "config/FileUtils.h"
#include "config/modCypher.h"
#include "config/modIniFilesUtils.h"
#include "engine/model/Problems.h"
#include "platform/PlatformError.h"
#include "platform/Text.h"
#include "platform/linux/LinuxPlatform.h"

namespace torvik::admin {
namespace {

PlatformError JobFileError(const std::string& file, const std::string& reason) {
  return PlatformError(0, file + ": " + reason, "job file");
}

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

JobFile::JobFile(LinuxPlatform& platform, std::string path)
    : JobFile(platform, std::move(path), Unchecked()) {
  if (const auto error = platform_.files->CheckReadable(path_))
    throw JobFileError(path_, error.message() +
                                  "; torvik-admin job new makes a job file, job show and "
                                  "job set work on one that is there");
  const std::vector<JobKey> keys = JobKeys();
  const bool isJob = std::ranges::any_of(keys, [&](const JobKey& key) {
    return ReadIniString(*platform_.profile, key.section, key.name, "\x1F", path_) != "\x1F";
  });
  if (!isJob) throw JobFileError(path_, "it is no job file: it has none of a job's keys");
}

JobFile JobFile::Make(LinuxPlatform& platform, const std::string& path,
                      const std::map<std::string, std::string>& values) {
  if (FileExists(*platform.files, path))
    throw JobFileError(path, "it is there already; change it with torvik-admin job set");
  JobFile made(platform, path, Unchecked());
  std::map<std::string, std::string> all;
  for (const JobKey& key : JobKeys())
    all[key.name] = key.kind == JobKey::Kind::Truth ? "FALSE" : "";
  for (const auto& [name, value] : values) all[JobKeyOf(name).name] = value;
  made.Set(all);
  return made;
}

std::string JobFile::Shown(const JobKey& key) const {
  const std::string text = ReadIniString(*platform_.profile, key.section, key.name, "", path_);
  if (key.kind != JobKey::Kind::Secret) return text;
  return UnscramblePassword(text, platform_.codePages->Ansi()).empty() ? "" : "***";
}

std::string JobFile::Stored(const JobKey& key, const std::string& value) const {
  if (value.find_first_of("\r\n") != std::string::npos)
    throw JobFileError(path_, std::string(key.name) + " takes one line");
  if (key.kind == JobKey::Kind::Secret) {
    const auto isKept = [](char c) { return c >= ' ' && c <= '~'; };
    if (!std::ranges::all_of(value, isKept))
      throw JobFileError(path_,
                         "a password in a job file has letters, digits and signs of ASCII alone; "
                         "this one has another character");
    return StoredSecret(value, platform_.codePages->Ansi(), *platform_.clock);
  }
  if (key.kind == JobKey::Kind::Text) return value;
  if (!EqualsIgnoringCase(value, "TRUE") && !EqualsIgnoringCase(value, "FALSE"))
    throw JobFileError(path_, std::string(key.name) + " is TRUE or FALSE");
  return IniTruth(IsIniTrue(value) ? VariantTrue : VariantFalse);
}

void JobFile::Set(const std::map<std::string, std::string>& values) {
  std::vector<std::pair<JobKey, std::string>> stored;
  for (const JobKey& key : JobKeys())
    for (const auto& [name, value] : values)
      if (EqualsIgnoringCase(key.name, name)) stored.emplace_back(key, Stored(key, value));
  bool areWritten = true;
  const auto error = platform_.profile->Together(path_, [&] {
    for (const auto& [key, text] : stored)
      areWritten &= WriteIniString(*platform_.profile, key.section, key.name, text, path_) != 0;
  });
  if (error || !areWritten)
    throw JobFileError(path_, "it cannot be written" +
                                  (error ? ": " + error.message() : std::string()) +
                                  "; it is as it was");
}

}  // namespace torvik::admin
