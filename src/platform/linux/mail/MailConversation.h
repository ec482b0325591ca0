#pragma once

#include <atomic>
#include <string>
#include <vector>

#include "platform/Mail.h"
#include "platform/linux/mail/MailText.h"

namespace torvik {

/// Everything about the server, settled.
struct MailDelivery {
  std::string server;
  int port = 0;
  MailTls tls = MailTls::Try;
  std::string certificates;    ///< A file; empty: those of the system.
  std::string user, password;  ///< Without a user there is no logon.
  int timeoutSeconds = 0;
};

/// A mail that has been checked: no text but the body holds control characters.
struct CheckedMail {
  struct File {
    std::string path;  ///< A Linux path.
    std::string name;  ///< What the recipients see.
  };
  MailAddress from;
  std::vector<MailAddress> to, cc, bcc;
  std::string subject;
  std::string text;
  bool isHtml = false;
  std::vector<File> attachments;
};

/// Hands a mail to a server. Answers and throws as Mailer::Send does.
std::string Converse(const MailDelivery& delivery, const CheckedMail& mail,
                     const std::atomic<bool>& cancelled);

}  // namespace torvik
