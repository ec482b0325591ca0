#pragma once

#include <string>
#include <string_view>
#include <system_error>
#include <vector>

#include "config/RunVariables.h"
#include "platform/VariantBool.h"

namespace torvik {

class Clock;
class CodePage;
class DataLinkSectionWriter;
class Files;
class Profile;

/// What reading and writing a job file needs.
struct JobFileServices {
  Profile& profile;
  Files& files;
  const CodePage& ansi;
  Clock& clock;
  DataLinkSectionWriter& dataLinks;
};

/// A setting of a job file: its place, and what its text stands for.
struct JobKey {
  enum class Kind { Text, Truth, Secret };  ///< A secret is scrambled.

  const char* section;
  const char* name;
  Kind kind;
};

/// All of them, in the order of a new file.
std::vector<JobKey> JobKeys();

/// Whether the file has any of them; one that has none, or cannot be read, is no job file.
bool HoldsJob(Profile& profile, const std::string& file);

/// How a secret stands in the file.
std::string StoredSecret(std::string_view clear, const CodePage& ansi, Clock& clock);

/// The settings of one job, and the job file that keeps them. Values are kept as they are set.
class JobSettings {
 public:
  std::string DTSPackageName;
  std::string DTSServer;
  VariantBool DTSServerTrustedLogin = VariantFalse;
  std::string DTSLoginUserName;
  std::string DTSLoginPassword;  ///< In clear.
  std::string ExceptionLogFile;
  std::string LogFileDir;
  VariantBool UseDefaultLogFileDir = VariantFalse;
  VariantBool TruncateExceptionLogFile = VariantFalse;
  VariantBool WriteCompletionStatusToNT = VariantFalse;
  std::string DWServer;
  VariantBool DWServerTrustedLogin = VariantFalse;
  std::string DWServerLoginUserName;
  std::string DWServerLoginPassword;  ///< In clear.
  std::string DWDatabaseName;
  std::string TorvConfigFile;  ///< Path of the job file itself.
  VariantBool RunFromUI = VariantFalse;
  RunVariables
      Variables;  ///< Section [Variables]: values of the package's own, as they stand there.

  const std::string& LastError() const { return lastError_; }

  /// Reads every setting from the file; a key that it lacks makes its setting empty or False.
  /// False, and nothing changes, when the file is missing or cannot be read.
  bool ReadConfigFile(const JobFileServices& services);

  /// Writes every setting and then the data-link sections, all at once. Passwords are scrambled
  /// afresh. False when no file is named, or it or the last setting could not be written; `error`
  /// then is the system's reason where that is one, and the file as it was.
  bool WriteConfigFile(const JobFileServices& services, std::error_code& error) const;

 protected:
  std::string lastError_;

 private:
  void WriteVariables(Profile& profile) const;
};

}  // namespace torvik
