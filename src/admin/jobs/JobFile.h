#pragma once

#include <functional>
#include <map>
#include <string>
#include <string_view>
#include <vector>

#include "config/JobSettings.h"

namespace torvik {
struct LinuxPlatform;
}

namespace torvik::admin {

/// A job file that is made, shown or changed key by key; all else in it stays as it is.
class JobFile {
 public:
  /// Throws PlatformError when there is no such file, or it is no job file.
  JobFile(LinuxPlatform& platform, std::string path);

  /// Makes a file of these settings, by the names of their keys; the passwords among them are
  /// clear. Throws PlatformError, and makes none, when there is one, a name is unknown, or a
  /// value cannot stand there.
  static JobFile Make(LinuxPlatform& platform, const std::string& path,
                      const std::map<std::string, std::string>& values,
                      const RunVariables& variables = {});

  /// The text of a key as the file has it; a password is "***" when there is one.
  std::string Shown(const JobKey& key) const;

  /// Stores the password of a data link's source, or of its FTP logon, in the link's section.
  /// Throws PlatformError when the file has no such section.
  void SetLinkPassword(const std::string& link, bool ofFtp, const std::string& clear);

  /// The section [Variables]: names and values as they stand there.
  RunVariables Variables() const;

  /// Stores values of the package's own variables; the others stay. Throws PlatformError, and the
  /// file is as it was, when a value cannot stand there: a password is referred to.
  void SetVariables(const RunVariables& values);

  /// Stores the values, by the names of their keys in any letter case, all or, when this throws
  /// PlatformError, none. A truth is TRUE or FALSE.
  void Set(const std::map<std::string, std::string>& values);

 private:
  struct Unchecked {};
  JobFile(LinuxPlatform& platform, std::string path, Unchecked)
      : platform_(platform), path_(std::move(path)) {}

  void CheckVariable(const std::string& name, const std::string& value) const;
  void Write(const std::function<bool()>& keys);
  std::string Scrambled(const std::string& clear) const;
  std::string Stored(const JobKey& key, const std::string& value) const;

  LinuxPlatform& platform_;
  std::string path_;
};

/// "NAME=VALUE" as options give variables of the package's own. Throws PlatformError when one is
/// written otherwise, or gives a password itself: it may be referred to.
RunVariables VariablesOf(const std::vector<std::string>& options);

/// As a truth stands in a job file.
inline const char* JobTruth(bool value) {
  return value ? "TRUE" : "FALSE";
}

/// The key of this name, in any letter case. Throws PlatformError that lists those there are.
JobKey JobKeyOf(std::string_view name);

}  // namespace torvik::admin
