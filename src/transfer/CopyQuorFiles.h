#pragma once

#include <cstdint>
#include <string>

namespace torvik {

class RunLog;

/// How to log on to an FTP server; an empty server stands for a share.
struct RemoteLogon {
  std::string server;
  std::string user;
  std::string password;
};

/// Fetches the remote data of a data link.
class CopyQuorFiles {
 public:
  explicit CopyQuorFiles(RunLog& log) : log_(log) {}

  /// Brings the files of `remoteDir` to `localDir`; interval and duration in minutes. False when
  /// they did not come; the log says why. There is no FTP client and no access to shares yet, so a
  /// link that asks for remote data fails its run instead of loading what an earlier one left.
  bool PollForRemoteData(const std::string& remoteDir, const std::string& localDir,
                         std::int16_t pollInterval, std::int16_t pollDuration,
                         const RemoteLogon& logon);

  /// Ends a wait for remote data.
  void CancelPolling() { pollCancelRequested_ = true; }
  bool IsCancelRequested() const { return pollCancelRequested_; }

 private:
  RunLog& log_;
  bool pollCancelRequested_ = false;
};

}  // namespace torvik
