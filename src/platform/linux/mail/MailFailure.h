#pragma once

#include <string>

#include "platform/PlatformError.h"

namespace torvik {

/// The error of a mail that cannot be made or sent.
inline PlatformError MailFailure(const std::string& reason) {
  return PlatformError(0, reason, "mail");
}

}  // namespace torvik
