#pragma once

#include <optional>

#include "platform/Mail.h"
#include "platform/PlatformError.h"

namespace torvik {

/// Keeps what would have been sent.
struct FakeMailer final : Mailer {
  std::vector<MailMessage> messages;
  std::vector<MailServer> servers;
  std::optional<PlatformError> failure;  ///< Every call fails with it.

  std::string Send(const MailMessage& message, const MailServer& server,
                   const std::atomic<bool>&) override {
    if (failure) throw *failure;
    messages.push_back(message);
    servers.push_back(server);
    return "250 kept";
  }
};

}  // namespace torvik
