#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "platform/WinInet.h"
#include "transfer/StatusWord.h"
#include "transfer/TransferServices.h"

namespace torvik {

class CopyAnimDlg;
class RunLog;

/// The text up to its first NUL character.
std::string TrimAtNul(std::string_view text);

/// The message for an error code of the client; for an extended error the server's last response.
std::string InternetErrorText(const wininet::Client& internet, std::uint32_t code);

/// What a check of a user's rights has found.
struct FtpRights {
  bool areThere = false;
  std::string warning = {};  ///< For a message box: the first right that is missing.
  std::string logLine = {};  ///< For the log, in place of a box.
};

/// Remote data on an FTP server. Each function opens and closes its own connection.
class FtpFuncModule {
 public:
  FtpFuncModule(RunLog& log, const TransferServices& services) : log_(log), services_(services) {}

  /// True when the user can read `fileName` in the directory, and make and delete a file there. The
  /// first right that is missing is told in a message box.
  bool FtpCheckRights(const std::string& server, const std::string& fileName,
                      const std::string& remoteDir, const std::string& user,
                      const std::string& password);

  /// The two halves of it. The first tells nobody: another thread may call it, while no other
  /// function is used.
  FtpRights FindRights(const std::string& server, const std::string& fileName,
                       const std::string& remoteDir, const std::string& user,
                       const std::string& password) const;
  bool TellRights(const FtpRights& rights);

  /// Downloads every file of the remote directory to `localDir`, which is made when it is missing;
  /// "/" is added to `remoteDir`. False at the first file that does not come; the log says why, and
  /// the files before it stay.
  bool FtpGetDirectory(const std::string& server, std::string& remoteDir,
                       const std::string& localDir, const std::string& user,
                       const std::string& password);

  /// Reads the status file in `remoteDir`, to which "/" is added. A missing file means to keep
  /// polling; without a connection, or when it cannot be read, to give up.
  RemoteStatus FtpReadStatus(const std::string& server, std::string& remoteDir,
                             const std::string& user, const std::string& password);

  /// Makes the word, and CR LF, the content of the status file in `remoteDir`, to which "/" is
  /// added. False when that failed.
  bool FtpWriteStatus(const std::string& server, const std::string& user,
                      const std::string& password, std::string& remoteDir, const std::string& word);

 private:
  class Session;

  /// A line that the log has for every reason; which one it is goes to whoever started the run.
  void LogWithReason(const std::string& line, const std::string& server);
  void ReportReason(const std::string& server);
  bool GetFiles(Session& session, const std::string& server, const std::string& remoteDir,
                const std::string& localDir);
  bool StopAndLog(CopyAnimDlg& dialog, Session& session, const std::string& server);
  bool LogFailure(Session& session, std::uint32_t code);

  RunLog& log_;
  const TransferServices services_;
};

}  // namespace torvik
