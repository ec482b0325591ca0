// Stands for MailCurl in a build without libcurl.

#include "platform/PlatformError.h"
#include "platform/linux/MailCurl.h"

#if !TORVIK_HAS_FTP

namespace torvik {
namespace {

class NoMail final : public Mailer {
 public:
  std::string Send(const MailMessage&, const MailServer&, const std::atomic<bool>&) override {
    throw PlatformError(
        0,
        "this build was made without libcurl; run scripts/install-packages build and build it anew",
        "mail");
  }
};

}  // namespace

std::unique_ptr<Mailer> NewMailCurl(const MailSettings&, const PathMap&) {
  return std::make_unique<NoMail>();
}

}  // namespace torvik

#endif
