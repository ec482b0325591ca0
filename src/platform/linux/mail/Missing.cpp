// Stands for the room in a build without libcurl.

#include "platform/PlatformError.h"
#include "platform/linux/mail/MailCurl.h"
#include "platform/linux/text/MissingLibrary.h"

namespace torvik {
namespace {

class NoMail final : public Mailer {
 public:
  std::string Send(const MailMessage&, const MailServer&, const std::atomic<bool>&) override {
    throw PlatformError(0, NotInThisBuild("mail", "be sent", "libcurl"), "mail");
  }
};

}  // namespace

std::unique_ptr<Mailer> NewMailCurl(const MailSettings&, const PathMap&) {
  return std::make_unique<NoMail>();
}

}  // namespace torvik
