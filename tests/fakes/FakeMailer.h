#pragma once

#include "platform/Mail.h"

namespace torvik {

/// Keeps what would have been sent.
struct FakeMailer final : Mailer {
  std::vector<MailMessage> messages;
  std::vector<MailServer> servers;

  std::string Send(const MailMessage& message, const MailServer& server,
                   const std::atomic<bool>&) override {
    messages.push_back(message);
    servers.push_back(server);
    return "250 kept";
  }
};

}  // namespace torvik
