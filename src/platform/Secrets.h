#pragma once

#include <string>
#include <string_view>

#include "platform/Text.h"

namespace torvik {

/// Reads secrets where they are only referred to.
class Secrets {
 public:
  virtual ~Secrets() = default;

  /// `reference` is "file:PATH", a file whose first line is the secret, or "credential:NAME", one
  /// that the service manager hands to a service. Answers the empty text, or what is wrong and what
  /// to do.
  virtual std::string Read(std::string_view reference, std::string& secret) = 0;
};

/// Whether a text is written as such a reference.
inline bool RefersToSecret(std::string_view text) {
  return text.starts_with("file:") || text.starts_with("credential:");
}

/// A variable whose name ends in "Password" holds one.
inline bool IsPasswordName(std::string_view name) {
  return LowerAscii(name).ends_with("password");
}

}  // namespace torvik
