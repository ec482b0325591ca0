// Stands for the room in the programs, which load it when the first mail is sent.

#include "platform/linux/mail/MailCurl.h"
#include "platform/linux/modules/Modules.h"

namespace torvik {
namespace {

class LateMailer final : public Mailer {
 public:
  LateMailer(const MailSettings& settings, const PathMap& paths)
      : settings_(settings), paths_(paths) {}

  std::string Send(const MailMessage& message, const MailServer& server,
                   const std::atomic<bool>& cancelled) override {
    static const auto make = InModule(kMailModule, &NewMailCurl, "mail");
    return make(settings_, paths_)->Send(message, server, cancelled);
  }

 private:
  const MailSettings settings_;
  const PathMap paths_;
};

}  // namespace

std::unique_ptr<Mailer> NewMailCurl(const MailSettings& settings, const PathMap& paths) {
  return std::make_unique<LateMailer>(settings, paths);
}

}  // namespace torvik
