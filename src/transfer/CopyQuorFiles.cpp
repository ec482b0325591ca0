#include "transfer/CopyQuorFiles.h"

#include <chrono>
#include <ctime>
#include <limits>

#include "log/RunLog.h"
#include "platform/Clock.h"
#include "platform/Messages.h"
#include "platform/PlatformError.h"

namespace torvik {
namespace {

/// The runtime's number for a result that its type cannot hold.
constexpr long kOverflow = 6;

constexpr const char* kPolling = "Polling for Remote Data ...";

std::int16_t Product(std::int16_t interval, std::int16_t attempts) {
  const std::int32_t product = std::int32_t{interval} * attempts;
  using Limits = std::numeric_limits<std::int16_t>;
  if (product < Limits::min() || product > Limits::max())
    throw PlatformError(kOverflow,
                        "overflow: a poll interval of " + std::to_string(interval) +
                            " minutes times " + std::to_string(attempts) +
                            " attempts; shorten the data link's poll duration",
                        "remote data");
  return static_cast<std::int16_t>(product);
}

std::string TimeInWords(const std::tm& time) {
  char text[32];
  return {text, std::strftime(text, sizeof text, "%Y-%m-%d %H:%M:%S", &time)};
}

}  // namespace

std::string RemotePlace(const std::string& directory, const RemoteLogon& logon) {
  return logon.server.empty() ? directory : "ftp://" + logon.server + "/" + directory;
}

/// Where the data is; reading the status completes the directory's separator.
struct CopyQuorFiles::Remote {
  std::string directory;
  const RemoteLogon& logon;

  bool IsFtp() const { return !logon.server.empty(); }
  std::string Place() const { return RemotePlace(directory, logon); }
};

CopyQuorFiles::CopyQuorFiles(RunLog& log, Clock& clock, Registry& registry,
                             const TransferServices& services)
    : log_(log),
      clock_(clock),
      messages_(services.messages),
      onWait_(services.onWait),
      claims_(registry),
      ftp_(log, UntilStopped(services)),
      share_(log, services) {}

TransferServices CopyQuorFiles::UntilStopped(TransferServices services) const {
  services.isStopped = [this] { return isStopped_; };
  return services;
}

std::string CopyQuorFiles::WhyNot() const {
  if (pollCancelRequested_) return "the run was to end";
  const std::string& line = log_.LastLine();
  return line == kPolling ? "its provider's status has not become \"ready\"" : line;
}

bool CopyQuorFiles::PollForRemoteData(std::string remoteDir, const std::string& localDir,
                                      std::int16_t pollInterval, std::int16_t pollDuration,
                                      const RemoteLogon& logon) {
  Remote remote{std::move(remoteDir), logon};
  if (isStopped_) return false;
  pollCancelRequested_ = false;
  log_.EchoToLog(kPolling);
  if (PollUntilReady(remote, pollInterval, pollDuration) != RemoteStatus::Ready) return false;
  return remote.IsFtp() ? FetchByFtp(remote, localDir) : FetchFromShare(remote, localDir);
}

RemoteStatus CopyQuorFiles::PollUntilReady(Remote& remote, std::int16_t pollInterval,
                                           std::int16_t pollDuration) {
  std::int16_t attempts = 0;
  while (Product(pollInterval, attempts) < pollDuration) {
    ++attempts;
    const RemoteStatus status = ReadStatus(remote);
    // Without an interval no wait lets events in.
    messages_.PumpEvents();
    if (pollCancelRequested_) return RemoteStatus::GiveUp;
    if (status != RemoteStatus::KeepPolling) return status;
    if (attempts == 1) TellUnfinishedFetch(remote);
    if (Product(pollInterval, attempts) < pollDuration) WaitMinutes(pollInterval);
  }
  // The number of attempts is compared, not the time: a longer interval ends without a word.
  if (attempts == pollDuration) log_.EchoToLog("Polling for Remote Data Timed out ...");
  return RemoteStatus::GiveUp;
}

/// A run that was killed while it fetched leaves the provider's status at "idle", which looks as if
/// there were nothing new.
void CopyQuorFiles::TellUnfinishedFetch(const Remote& remote) {
  const std::string since = claims_.Since(remote.Place());
  if (since.empty()) return;
  log_.EchoToLog("Remote data of " + remote.Place() +
                 " : claimed by this machine, fetch not finished (" + since +
                 "); the provider's status must say \"ready\" again");
}

RemoteStatus CopyQuorFiles::ReadStatus(Remote& remote) {
  if (!remote.IsFtp()) return share_.ShareReadStatus(remote.directory);
  return ftp_.FtpReadStatus(remote.logon.server, remote.directory, remote.logon.user,
                            remote.logon.password);
}

void CopyQuorFiles::WaitMinutes(std::int32_t minutes) {
  using std::chrono::milliseconds;
  constexpr milliseconds kSlice{100};
  for (milliseconds left = std::chrono::minutes(minutes); left > milliseconds::zero();
       left -= kSlice) {
    messages_.PumpEvents();
    if (onWait_) onWait_();
    if (pollCancelRequested_) return;
    clock_.Sleep(kSlice);
  }
}

bool CopyQuorFiles::FetchByFtp(Remote& remote, const std::string& localDir) {
  const auto& logon = remote.logon;
  const auto write = [&](const char* word) {
    return ftp_.FtpWriteStatus(logon.server, logon.user, logon.password, remote.directory, word);
  };
  return Fetch(remote.Place(), write, [&] {
    log_.EchoToLog("Copying Remote Data via FTP");
    return ftp_.FtpGetDirectory(logon.server, remote.directory, localDir, logon.user,
                                logon.password);
  });
}

bool CopyQuorFiles::FetchFromShare(Remote& remote, const std::string& localDir) {
  const auto write = [&](const char* word) {
    return share_.ShareWriteStatus(remote.directory, word);
  };
  return Fetch(remote.Place(), write, [&] {
    log_.EchoToLog("Copying Remote Data from Share");
    return share_.ShareCopyFiles(remote.directory, localDir);
  });
}

/// Claims the data, and hands it back unless all of it comes. A claim that could not be handed back
/// stands.
template <typename Write, typename Copy>
bool CopyQuorFiles::Fetch(const std::string& place, const Write& write, const Copy& copy) {
  claims_.Note(place, TimeInWords(clock_.LocalTime()));
  write("idle");
  bool hasCome = false;
  isFetching_ = true;
  try {
    hasCome = copy();
  } catch (const FetchStopped&) {
    isFetching_ = false;
  } catch (...) {
    isFetching_ = false;
    if (write("ready")) claims_.Forget(place);
    throw;
  }
  isFetching_ = false;
  if (hasCome || write("ready")) claims_.Forget(place);
  return hasCome;
}

}  // namespace torvik
