#pragma once

#include <atomic>
#include <optional>
#include <string>
#include <vector>

namespace torvik {

/// How a connection to a mail server is protected: not at all; by STARTTLS when the server has it;
/// by STARTTLS or not at all; from its first byte.
enum class MailTls { Off, Try, Require, Smtps };

/// Addresses are "a@example.com" or "Name <a@example.com>"; one text may hold several, separated by
/// commas or semicolons.
struct MailMessage {
  std::string from;  ///< One address. Empty: that of the settings.
  std::vector<std::string> to, cc, bcc;
  std::string subject;
  std::string text;
  std::vector<std::string> attachments;  ///< Paths, spelled the Windows way or the Linux way.
  bool isHtml = false;                   ///< The text is a page of HTML.
};

/// Which server takes the message. What is left out is that of the settings, but for the logon:
/// that of the settings is for their own server alone.
struct MailServer {
  std::string server;
  int port = 0;
  std::optional<MailTls> tls;
  std::string user;
  std::string passwordFile;  ///< Its first line is the password; only its owner may read it.
};

/// Sends mail.
class Mailer {
 public:
  virtual ~Mailer() = default;

  /// Hands the message to the server, for all of its recipients or for none. Answers the server's
  /// last words. Throws PlatformError: when an address, the subject or a name has control
  /// characters, when an attachment or the password cannot be read, when the server refuses, in its
  /// own words, and soon after `cancelled` becomes true.
  virtual std::string Send(const MailMessage& message, const MailServer& server,
                           const std::atomic<bool>& cancelled) = 0;
};

}  // namespace torvik
