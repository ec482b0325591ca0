#include "platform/linux/mail/MailCurl.h"

#include <sys/stat.h>

#include <algorithm>

#include "platform/linux/mail/MailConversation.h"
#include "platform/linux/mail/MailFailure.h"
#include "platform/linux/settings/Secret.h"
#include "platform/linux/system/Posix.h"

namespace torvik {
namespace {

std::vector<MailAddress> ReadAll(const std::vector<std::string>& lists) {
  std::vector<MailAddress> all;
  for (const std::string& list : lists)
    for (MailAddress& one : ReadAddresses(list)) all.push_back(std::move(one));
  return all;
}

std::string FileName(const std::string& path) {
  return path.substr(path.find_last_of("/\\") + 1);
}

class MailCurl final : public Mailer {
 public:
  MailCurl(const MailSettings& settings, const PathMap& paths)
      : settings_(settings), paths_(paths) {}

  std::string Send(const MailMessage& message, const MailServer& server,
                   const std::atomic<bool>& cancelled) override {
    return Converse(Settled(server), Checked(message), cancelled);
  }

 private:
  MailDelivery Settled(const MailServer& chosen) const {
    const bool isOther = !chosen.server.empty() && chosen.server != settings_.server;
    MailDelivery delivery;
    delivery.server = chosen.server.empty() ? settings_.server : chosen.server;
    if (delivery.server.empty())
      throw MailFailure(
          "no mail server is known; name one by \"server\" in the step, or in [mail] of "
          "torvik.conf");
    delivery.tls = chosen.tls.value_or(settings_.tls);
    delivery.port = chosen.port != 0 ? chosen.port : isOther ? 0 : settings_.port;
    if (delivery.port == 0) delivery.port = delivery.tls == MailTls::Smtps ? 465 : 25;
    delivery.certificates = settings_.certificates;
    delivery.timeoutSeconds = settings_.timeoutSeconds;
    const bool hasOwnLogon = isOther || !chosen.user.empty();
    delivery.user = hasOwnLogon ? chosen.user : settings_.user;
    const bool hasOwnPassword = !chosen.passwordFile.empty() || hasOwnLogon;
    if (!delivery.user.empty())
      delivery.password =
          Password(hasOwnPassword ? OfStep(chosen.passwordFile) : settings_.password);
    // A server, or somebody in between, that takes TLS away would get the password.
    if (!delivery.user.empty() && delivery.tls == MailTls::Try) delivery.tls = MailTls::Require;
    return delivery;
  }

  /// A step may spell the path either way.
  SecretReference OfStep(const std::string& path) const {
    return {path.empty() ? path : LinuxPath(path), ""};
  }

  static std::string Password(const SecretReference& reference) {
    if (reference.IsEmpty())
      throw MailFailure(
          "the mail server wants a logon, and no file holds the password; name it by "
          "\"password_file\"");
    std::string password;
    if (const std::string problem = ReadSecret(reference, password); !problem.empty())
      throw MailFailure(problem);
    return password;
  }

  CheckedMail Checked(const MailMessage& message) const {
    const auto from = ReadAddresses(message.from.empty() ? settings_.from : message.from);
    if (from.size() != 1)
      throw MailFailure(
          "a mail has one sender; name it by \"from\" in the step, or in [mail] of "
          "torvik.conf");
    CheckedMail mail{from[0], ReadAll(message.to), ReadAll(message.cc), ReadAll(message.bcc)};
    if (mail.to.empty() && mail.cc.empty() && mail.bcc.empty())
      throw MailFailure(
          "the mail goes to nobody: the texts of \"to\", \"cc\" and \"bcc\" are empty");
    RefuseControlCharacters(message.subject, "the subject");
    mail.subject = message.subject;
    mail.text = message.text;
    mail.isHtml = message.isHtml;
    for (const std::string& path : message.attachments) {
      RefuseControlCharacters(path, "the name of an attachment");
      mail.attachments.push_back({Attachment(path), FileName(path)});
    }
    return mail;
  }

  std::string LinuxPath(const std::string& path) const {
    std::error_code error;
    std::string mapped = paths_.ToLinux(path, error);
    if (error) throw MailFailure(path + ": " + error.message());
    return mapped;
  }

  std::string Attachment(const std::string& path) const {
    std::string mapped = LinuxPath(path);
    const Descriptor file = OpenFile(mapped, O_RDONLY | O_NONBLOCK);
    struct stat status {};
    const bool isThere = file.IsOpen() && fstat(file.Number(), &status) == 0;
    if (!isThere)
      throw MailFailure("the attachment " + path +
                        " cannot be read: " + LastSystemError().message());
    if (!S_ISREG(status.st_mode))
      throw MailFailure("the attachment " + path + " is not a file that can be sent");
    return mapped;
  }

  const MailSettings settings_;
  const PathMap paths_;
};

}  // namespace

std::unique_ptr<Mailer> NewMailCurl(const MailSettings& settings, const PathMap& paths) {
  return std::make_unique<MailCurl>(settings, paths);
}

}  // namespace torvik
