// Stands for the room in a build without libsmbclient.

#include "platform/PlatformError.h"
#include "platform/linux/shares/smb/SmbBrowse.h"
#include "platform/linux/shares/smb/SmbSession.h"
#include "platform/linux/text/MissingLibrary.h"

namespace torvik {

std::unique_ptr<SmbSession> NewSmbSession(const std::string& server, const SmbSettings&,
                                          const SmbLogon&) {
  throw PlatformError(0, NotInThisBuild("shares of " + server, "be reached", "libsmbclient"),
                      "SMB");
}

std::vector<std::string> BrowseSmbComputers() {
  throw PlatformError(0, NotInThisBuild("the network", "be searched", "libsmbclient"), "SMB");
}

}  // namespace torvik
