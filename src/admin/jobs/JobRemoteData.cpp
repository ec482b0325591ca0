#include <algorithm>
#include <cstdint>
#include <limits>

#include "admin/jobs/JobCheck.h"
#include "datalinks/cDataSource.h"
#include "platform/PlatformError.h"
#include "platform/Shell.h"
#include "platform/WinInet.h"
#include "platform/linux/LinuxPlatform.h"
#include "transfer/StatusWord.h"

namespace torvik::admin {
namespace {

using namespace wininet;

/// What is wrong with the times of a poll, or the empty text. The runner counts in 16 bits.
std::string TimesProblem(const cDataSource& link) {
  const int interval = link.intPollInterval;
  const int duration = link.intPollDuration;
  if (duration <= 0) {
    return "poll_duration is " + std::to_string(duration) +
           ", so the status is never read; write minutes from 1";
  }
  if (interval <= 0) {
    return "poll_interval is " + std::to_string(interval) +
           ", so the status is read without a pause and without an end; write minutes from 1";
  }
  const int reads = (duration + interval - 1) / interval;
  if (reads * interval > std::numeric_limits<std::int16_t>::max()) {
    return "poll_interval " + std::to_string(interval) + " and poll_duration " +
           std::to_string(duration) + " lead beyond 32767 minutes; write less";
  }
  return {};
}

std::string TimesInWords(const cDataSource& link) {
  const int reads = (link.intPollDuration + link.intPollInterval - 1) / link.intPollInterval;
  return "it is read at most " + std::to_string(reads) + " times, " +
         std::to_string(link.intPollInterval) + " minutes apart";
}

bool EndsInSeparator(const std::string& path) {
  return path.ends_with('/') || path.ends_with('\\');
}

std::string PlaceProblem(const cDataSource& link) {
  const std::string& remote = link.strRemoteDir;
  if (link.strDSDirectory.empty()) return "ds_directory is empty; name the local directory there";
  if (remote.empty()) return "remote_directory is empty; name it there";
  if (link.intTransferData == TransferShare) return {};
  if (link.strFTPServer.empty()) return "ftp_server is empty; name the server there";
  // The files are asked for by this path once more, after it has been changed to.
  if (!remote.starts_with('/') && !remote.starts_with('\\'))
    return "the remote directory " + remote +
           " is relative, and no file would come; write it from "
           "/ on";
  return {};
}

/// What a status file says, in words.
std::string StatusInWords(std::string text) {
  text.resize(std::min(text.size(), text.find_first_of("\r\n")));
  return text.empty() ? "its status is empty" : "its status says \"" + text + "\"";
}

/// Goes to an FTP server; answers what is found there, or throws PlatformError.
class FtpLook {
 public:
  FtpLook(Client& client, const cDataSource& link) : client_(client), link_(link) {}
  ~FtpLook() { client_.InternetCloseHandle(internet_); }
  FtpLook(const FtpLook&) = delete;
  FtpLook& operator=(const FtpLook&) = delete;

  std::string Status() {
    const std::string& server = link_.strFTPServer;
    const std::string slash = EndsInSeparator(link_.strRemoteDir) ? "" : "/";
    internet_ = client_.InternetOpenA("Torvik");
    if (internet_ == 0) Fail(server + " cannot be reached");
    const Handle connection = client_.InternetConnectA(internet_, server, kDefaultFtpPort,
                                                       link_.strFTPUser, link_.strFTPPassword);
    if (connection == 0) Fail(server + " gives no logon to the user " + link_.strFTPUser);
    if (!client_.FtpSetCurrentDirectoryA(connection, link_.strRemoteDir))
      Fail(server + " has no directory " + link_.strRemoteDir);
    const Handle file = client_.FtpOpenFileA(connection, link_.strRemoteDir + slash + kStatusFile,
                                             FileAccess::Read);
    if (file == 0) return "there is no status yet";
    std::string text;
    if (!client_.InternetReadFile(file, kStatusLength, text)) Fail("the status cannot be read");
    return StatusInWords(text);
  }

 private:
  [[noreturn]] void Fail(const std::string& what) const {
    std::string words;
    client_.InternetGetLastResponseInfoA(words);
    throw PlatformError(static_cast<int>(client_.GetLastError()), what + ": " + words, "FTP");
  }

  Client& client_;
  const cDataSource& link_;
  Handle internet_ = 0;
};

std::string ShareStatus(Shell& shell, const cDataSource& link) {
  const std::string& directory = link.strRemoteDir;
  std::string line;
  const ShareResult read = shell.ReadFirstLine(
      directory + (EndsInSeparator(directory) ? "" : "\\") + kStatusFile, kStatusLength, line);
  if (read.error == ShareError::None) return StatusInWords(line);
  if (read.error == ShareError::FileNotFound) return "there is no status yet";
  throw PlatformError(static_cast<int>(read.error), read.description, "share");
}

std::string PlaceInWords(const cDataSource& link) {
  if (link.intTransferData == TransferShare) return link.strRemoteDir;
  return link.strRemoteDir + " of " + link.strFTPServer;
}

}  // namespace

bool IsFetched(const cDataSource& link) {
  return link.intTransferData == TransferFtp || link.intTransferData == TransferShare;
}

void CheckRemoteData(JobUnderCheck& check, const cDataSource& link) {
  if (link.intTransferData == TransferNone) return;
  const std::string what = "remote data of " + link.strName;
  if (!IsFetched(link)) {
    return check.report.Problem(what, "transfer_data is " + std::to_string(link.intTransferData) +
                                          ", and nothing is fetched; write 0 for nothing, 1 for "
                                          "FTP, 2 for a share");
  }
  const std::string place = PlaceProblem(link);
  const std::string problem = place.empty() ? TimesProblem(link) : place;
  if (!problem.empty()) return check.report.Problem(what, problem);
  try {
    const std::string status = link.intTransferData == TransferFtp
                                   ? FtpLook(*check.platform.internet, link).Status()
                                   : ShareStatus(*check.shell, link);
    check.report.Ok(what, PlaceInWords(link) + ": " + status + "; " + TimesInWords(link));
  } catch (const PlatformError& error) {
    check.report.Problem(what, error.Description());
  }
}

}  // namespace torvik::admin
