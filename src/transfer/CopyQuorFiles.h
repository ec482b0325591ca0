#pragma once

#include <cstdint>
#include <functional>
#include <string>

#include "platform/FetchProgress.h"
#include "transfer/CopyFuncModule.h"
#include "transfer/FetchClaims.h"
#include "transfer/FtpFuncModule.h"

namespace torvik {

class Clock;

/// How to log on to an FTP server; an empty server stands for a share.
struct RemoteLogon {
  std::string server;
  std::string user;
  std::string password;
};

/// Where remote data lies, in words: "ftp://SERVER/DIRECTORY", or the share's directory.
std::string RemotePlace(const std::string& directory, const RemoteLogon& logon);

/// Fetches the remote data of a data link, once its provider's status file says that it is
/// complete.
class CopyQuorFiles {
 public:
  CopyQuorFiles(RunLog& log, Clock& clock, Registry& registry, const TransferServices& services);

  /// Reads the status file of `remoteDir` every `pollInterval` minutes until it says "ready", at
  /// most `pollDuration` minutes, then copies the directory's files to `localDir`. True when they
  /// are all there; otherwise the log says why. Throws PlatformError when interval times attempts
  /// leaves 16 bits.
  bool PollForRemoteData(std::string remoteDir, const std::string& localDir,
                         std::int16_t pollInterval, std::int16_t pollDuration,
                         const RemoteLogon& logon);

  /// Why the last data has not come: what the log said last, if that says it.
  std::string WhyNot() const;

  /// Ends a wait for remote data within 100 ms, and the polling after the read in progress.
  void CancelPolling() { pollCancelRequested_ = true; }
  /// Ends a wait in the same way, a fetch when HeedStop is called, at its next file at the latest,
  /// and whatever is asked for later before it begins.
  void Stop() { isStopped_ = pollCancelRequested_ = true; }
  /// To be called by what is called while files are fetched: throws FetchStopped after Stop.
  void HeedStop() const {
    if (isStopped_ && isFetching_) throw FetchStopped();
  }
  bool IsStopped() const { return isStopped_; }
  void ForgetCancel() { isStopped_ = pollCancelRequested_ = false; }
  bool IsCancelRequested() const { return pollCancelRequested_; }

 private:
  struct Remote;

  TransferServices UntilStopped(TransferServices services) const;
  RemoteStatus PollUntilReady(Remote& remote, std::int16_t pollInterval, std::int16_t pollDuration);
  RemoteStatus ReadStatus(Remote& remote);
  void TellUnfinishedFetch(const Remote& remote);
  void WaitMinutes(std::int32_t minutes);
  bool FetchByFtp(Remote& remote, const std::string& localDir);
  bool FetchFromShare(Remote& remote, const std::string& localDir);
  template <typename Write, typename Copy>
  bool Fetch(const std::string& place, const Write& write, const Copy& copy);

  RunLog& log_;
  Clock& clock_;
  Messages& messages_;
  const std::function<void()> onWait_;
  FetchClaims claims_;
  FtpFuncModule ftp_;
  CopyFuncModule share_;
  bool pollCancelRequested_ = false, isStopped_ = false;
  bool isFetching_ = false;  // and not yet handing back
};

}  // namespace torvik
