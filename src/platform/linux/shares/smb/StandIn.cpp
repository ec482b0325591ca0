// Stands for the room in the programs, which load it when a share is first used.

#include "platform/linux/modules/Modules.h"
#include "platform/linux/shares/smb/SmbBrowse.h"
#include "platform/linux/shares/smb/SmbSession.h"

namespace torvik {

std::unique_ptr<SmbSession> NewSmbSession(const std::string& server, const SmbSettings& settings,
                                          const SmbLogon& logon) {
  static const auto open = InModule(kSmbModule, &NewSmbSession, "a share of " + server);
  return open(server, settings, logon);
}

std::vector<std::string> BrowseSmbComputers() {
  return InModule(kSmbModule, &BrowseSmbComputers, "a search of the network")();
}

}  // namespace torvik
