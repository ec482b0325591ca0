#include "transfer/CopyQuorFiles.h"

#include "startup/ExecTask.h"

namespace torvik {

bool CopyQuorFiles::PollForRemoteData(const std::string& remoteDir, const std::string& localDir,
                                      std::int16_t, std::int16_t, const RemoteLogon& logon) {
  const std::string from =
      logon.server.empty() ? "the share " + remoteDir
                           : "the directory " + remoteDir + " of the FTP server " + logon.server;
  log_.EchoToLog("Error: this version cannot fetch remote data from " + from +
                 "; put the files into " + localDir +
                 " by other means and set the data link's transfer_data to 0");
  return false;
}

}  // namespace torvik
