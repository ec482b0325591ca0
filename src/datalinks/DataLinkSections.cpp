#include <cstdint>
#include <limits>

#include "config/modCypher.h"
#include "config/modIniFilesUtils.h"
#include "datalinks/DataLinks.h"
#include "datalinks/FieldReaders.h"
#include "platform/PlatformError.h"
#include "platform/Profile.h"

namespace torvik {
namespace {

std::string SectionOf(const cDataSource& link) {
  return kDataLinkSection + link.strName;
}

}  // namespace

void DataLinks::WriteDataLinkSections(const std::string& file) {
  if (!links_) return;
  for (const auto& link : *links_) WriteSection(file, *link);
}

void DataLinks::WriteSection(const std::string& file, const cDataSource& link) {
  const std::string section = SectionOf(link);
  const auto write = [&](const char* key, const std::string& value) {
    WriteIniString(profile_, section, key, value, file);
  };
  const auto writeScrambled = [&](const char* key, const std::string& value) {
    write(key, QuoteForIniFile(ScramblePassword(value, ansi_, clock_)));
  };
  write("Name", link.strName);
  write("ModelName", link.strModelName);
  write("Type", std::to_string(link.etlType));
  write("Server", link.strDSServer);
  write("Database", link.strDSDatabase);
  write("TrustedLogin", link.blnDSTrustedLogin ? "TRUE" : "FALSE");
  write("User", link.strDSUser);
  writeScrambled("Password", link.strDSPassword);
  write("File", link.strDSFile);
  write("Directory", link.strDSDirectory);
  writeScrambled("ConnectString", link.strDSConnectString);
  write("TransferData", std::to_string(link.intTransferData));
  write("FTPServer", link.strFTPServer);
  write("FTPUSer", link.strFTPUser);
  writeScrambled("FTPPassword", link.strFTPPassword);
  write("RemoteDir", link.strRemoteDir);
  write("PollDuration", std::to_string(link.intPollDuration));
  write("PollInterval", std::to_string(link.intPollInterval));
}

void DataLinks::ReadDataLinkSections(const std::string& file) {
  if (!links_) return;
  const std::error_code error = profile_.Together(file, [&] {
    for (const auto& link : *links_) ReadDataLinkSection(file, *link);
  });
  if (error)
    throw PlatformError(error.value(), file + " cannot be read: " + error.message(), "job file");
}

void DataLinks::ReadDataLinkSection(const std::string& file, cDataSource& link) {
  const std::string section = SectionOf(link);
  const auto read = [&](const char* key, const char* fallback = "") {
    return ReadIniString(profile_, section, key, fallback, file);
  };
  const auto readScrambled = [&](const char* key) { return UnscramblePassword(read(key), ansi_); };
  const auto readNumber = [&](const char* key, const char* fallback, auto& target) {
    using Number = std::remove_reference_t<decltype(target)>;
    target = static_cast<Number>(
        NumberFromText(read(key, fallback), file + ", section [" + section + "]: " + key,
                       std::numeric_limits<Number>::min(), std::numeric_limits<Number>::max()));
  };
  const std::string name = read("Name");
  if (name.empty()) return;
  link.strName = name;  // a section may rename its link
  link.strModelName = read("ModelName");
  readNumber("Type", "", link.etlType);
  link.strDSServer = read("Server");
  link.strDSDatabase = read("Database");
  link.blnDSTrustedLogin = IsIniTrue(read("TrustedLogin", "False"));
  link.strDSUser = read("User");
  link.strDSPassword = readScrambled("Password");
  link.strDSFile = read("File");
  link.strDSDirectory = read("Directory");
  link.strDSConnectString = readScrambled("ConnectString");
  readNumber("TransferData", "0", link.intTransferData);
  link.strFTPServer = read("FTPServer");
  link.strFTPUser = read("FTPUSer");
  link.strFTPPassword = readScrambled("FTPPassword");
  link.strRemoteDir = read("RemoteDir");
  readNumber("PollDuration", "0", link.intPollDuration);
  readNumber("PollInterval", "0", link.intPollInterval);
}

}  // namespace torvik
