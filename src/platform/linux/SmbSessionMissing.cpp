// Stands for SmbSession in a build without libsmbclient.

#include "platform/PlatformError.h"
#include "platform/linux/SmbSession.h"

#if !TORVIK_HAS_SMB

namespace torvik {

std::unique_ptr<SmbSession> NewSmbSession(const std::string&, const SmbSettings&, const SmbLogon&) {
  throw PlatformError(
      0,
      "this build was made without libsmbclient; run scripts/install-packages build and build it "
      "anew",
      "SMB");
}

}  // namespace torvik

#endif
