#include "transfer/FtpFuncModule.h"

#include "log/RunLog.h"
#include "platform/Files.h"
#include "platform/Messages.h"
#include "platform/PlatformError.h"
#include "platform/Shell.h"
#include "transfer/CopyAnimDlg.h"

namespace torvik {
namespace {

constexpr const char* kAgent = "Torvik";
constexpr const char* kNoInternet = "The Internet connection is not available";
constexpr const char* kNoLogin =
    "Login failed! FTP site doesn't exist or the password is incorrect!";

constexpr const char* kUnexpected = "Unexpected error occurred!";
constexpr const char* kTransferring = "Please wait..... Transfering remote data with FTP";
constexpr int kCopyClip = 1;

void AddSlash(std::string& directory) {
  if (!directory.empty() && directory.back() != '/' && directory.back() != '\\') directory += '/';
}

std::string PathIn(std::string directory, const std::string& name) {
  AddSlash(directory);
  return directory + name;
}

}  // namespace

/// The handles of one routine, closed in its order: file or listing, connection, Internet.
class FtpFuncModule::Session {
 public:
  explicit Session(wininet::Client& client) : client(client) {}
  ~Session() {
    for (const wininet::Handle handle : {file, connection, internet})
      if (handle != 0) client.InternetCloseHandle(handle);
  }
  Session(const Session&) = delete;
  Session& operator=(const Session&) = delete;

  bool Open() { return (internet = client.InternetOpenA(kAgent)) != 0; }

  /// Connects, again when there is a connection.
  bool Connect(const std::string& server, const std::string& user, const std::string& password) {
    for (wininet::Handle* handle : {&file, &connection}) {
      if (*handle != 0) client.InternetCloseHandle(*handle);
      *handle = 0;
    }
    connection =
        client.InternetConnectA(internet, server, wininet::kDefaultFtpPort, user, password);
    return connection != 0;
  }

  bool OpenFile(const std::string& path, wininet::FileAccess access) {
    return (file = client.FtpOpenFileA(connection, path, access)) != 0;
  }

  wininet::Client& client;
  wininet::Handle internet = 0, connection = 0, file = 0;
};

void FtpFuncModule::LogWithReason(const std::string& line, const std::string& server) {
  log_.EchoToLog(line);
  ReportReason(server);
}

void FtpFuncModule::ReportReason(const std::string& server) {
  std::string words;
  if (services_.internet.InternetGetLastResponseInfoA(words) && !words.empty())
    services_.messages.Report("FTP server " + server + ": " + words);
}

bool FtpFuncModule::FtpCheckRights(const std::string& server, const std::string& fileName,
                                   const std::string& remoteDir, const std::string& user,
                                   const std::string& password) {
  return TellRights(FindRights(server, fileName, remoteDir, user, password));
}

bool FtpFuncModule::TellRights(const FtpRights& rights) {
  if (!rights.logLine.empty()) log_.EchoToLog(rights.logLine);
  if (!rights.warning.empty())
    services_.messages.Box(rights.warning, "FTP Check", BoxIcon::Exclamation);
  return rights.areThere;
}

FtpRights FtpFuncModule::FindRights(const std::string& server, const std::string& fileName,
                                    const std::string& remoteDir, const std::string& user,
                                    const std::string& password) const try {
  const std::string path = PathIn(remoteDir, fileName);
  const std::string testPath = path + "test";
  Session session(services_.internet);
  if (!session.Open()) return {.logLine = kNoInternet};
  if (!session.Connect(server, user, password)) return {.warning = kNoLogin};
  if (!session.OpenFile(path, wininet::FileAccess::Read))
    return {.warning =
                "Error occurred! The user doesn't have read rights or file 'status' doesn't "
                "exist!"};
  if (!session.Connect(server, user, password)) return {.warning = kNoLogin};
  if (!session.OpenFile(testPath, wininet::FileAccess::Write))
    return {.warning = "Error occurred! The user doesn't have write rights!"};
  if (session.Connect(server, user, password))
    session.client.FtpDeleteFileA(session.connection, testPath);
  return {.areThere = true};
} catch (const std::exception& error) {
  return {.warning = kUnexpected + WordsOf(error)};
}

bool FtpFuncModule::FtpGetDirectory(const std::string& server, std::string& remoteDir,
                                    const std::string& localDir, const std::string& user,
                                    const std::string& password) try {
  AddSlash(remoteDir);
  if (!services_.shell.Exists(localDir)) services_.files.MakeDirectory(localDir);
  Session session(services_.internet);
  if (!session.Open()) {
    LogWithReason(kNoInternet, server);
  } else if (!session.Connect(server, user, password)) {
    LogWithReason(kNoLogin, server);
  } else if (!session.client.FtpSetCurrentDirectoryA(session.connection, remoteDir)) {
    LogWithReason("Error occurred! Remote directory not found on FTP Server", server);
  } else {
    return GetFiles(session, server, remoteDir, localDir);
  }
  return false;
} catch (const std::exception& error) {
  log_.EchoToLog(kUnexpected + WordsOf(error));
  return false;
}

bool FtpFuncModule::GetFiles(Session& session, const std::string& server,
                             const std::string& remoteDir, const std::string& localDir) {
  wininet::Client& client = session.client;
  CopyAnimDlg dialog(services_.newAnimateForm(), services_.messages);
  dialog.Destroy();
  dialog.Create(kCopyClip, "Copying", kTransferring, true, true);
  wininet::FindData entry;
  session.file = client.FtpFindFirstFileA(session.connection, entry);
  if (session.file == 0) {
    const std::uint32_t code = client.GetLastError();
    if (code != wininet::NoMoreFiles) return LogFailure(session, code);
    log_.EchoToLog("Remote directory is empty!");
    return false;
  }
  do {
    const std::string name = TrimAtNul(entry.fileName);
    if (name == "." || name == ".." || (entry.attributes & wininet::kDirectoryAttribute) != 0)
      continue;
    services_.messages.PumpEvents();
    if (dialog.IsCancelled() || (services_.isStopped && services_.isStopped())) return false;
    dialog.SetLabelCaption(std::string(kTransferring) + "\r\n" + name + " to " + localDir);
    // The directory ends in a separator already: providers see two of them.
    if (!client.FtpGetFileA(session.connection, remoteDir + "/" + name, localDir + "/" + name))
      return StopAndLog(dialog, session, server);
  } while (client.InternetFindNextFileA(session.file, entry));
  if (client.GetLastError() != wininet::NoMoreFiles) return StopAndLog(dialog, session, server);
  dialog.AnimateStop();
  services_.messages.PumpEvents();
  return true;
}

bool FtpFuncModule::StopAndLog(CopyAnimDlg& dialog, Session& session, const std::string& server) {
  const std::uint32_t code = session.client.GetLastError();
  dialog.AnimateStop();
  LogFailure(session, code);
  // The words of most codes name no file.
  if (code != wininet::ExtendedError) ReportReason(server);
  return false;
}

bool FtpFuncModule::LogFailure(Session& session, std::uint32_t code) {
  log_.EchoToLog("Error : " + InternetErrorText(session.client, code));
  return false;
}

RemoteStatus FtpFuncModule::FtpReadStatus(const std::string& server, std::string& remoteDir,
                                          const std::string& user,
                                          const std::string& password) try {
  AddSlash(remoteDir);
  Session session(services_.internet);
  const bool isOpen = session.Open();
  if (!isOpen || !session.Connect(server, user, password)) {
    log_.EchoToLog("FTP: Can't open Internet Connection");
    LogWithReason(isOpen ? kNoLogin : kNoInternet, server);
    return RemoteStatus::GiveUp;
  }
  if (!session.OpenFile(remoteDir + kStatusFile, wininet::FileAccess::Read)) {
    log_.EchoToLog("FTP: Status file not found yet ... polling");
    return RemoteStatus::KeepPolling;
  }
  std::string text;
  if (!session.client.InternetReadFile(session.file, kStatusLength, text)) {
    LogWithReason("FTP: Can't read status file", server);
    return RemoteStatus::GiveUp;
  }
  return ParseStatusWord(text);
} catch (const std::exception& error) {
  services_.messages.Box(kUnexpected + WordsOf(error), "Check Status", BoxIcon::Exclamation);
  return RemoteStatus::KeepPolling;
}

bool FtpFuncModule::FtpWriteStatus(const std::string& server, const std::string& user,
                                   const std::string& password, std::string& remoteDir,
                                   const std::string& word) try {
  AddSlash(remoteDir);
  Session session(services_.internet);
  if (!session.Open()) {
    LogWithReason(kNoInternet, server);
  } else if (!session.Connect(server, user, password)) {
    LogWithReason(kNoLogin, server);
  } else if (session.OpenFile(remoteDir + kStatusFile, wininet::FileAccess::Write)) {
    return session.client.InternetWriteFile(session.file, word + "\r\n");
  }
  return false;
} catch (const std::exception& error) {
  log_.EchoToLog(kUnexpected + WordsOf(error));
  return false;
}

std::string TrimAtNul(std::string_view text) {
  return std::string(text.substr(0, text.find('\0')));
}

}  // namespace torvik
