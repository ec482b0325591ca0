#pragma once

#include <map>
#include <string>

#include "platform/Secrets.h"

namespace torvik {

/// Secrets by their references.
struct FakeSecrets final : Secrets {
  std::map<std::string, std::string, std::less<>> secrets;

  std::string Read(std::string_view reference, std::string& secret) override {
    const auto found = secrets.find(reference);
    if (found == secrets.end()) return "there is no secret " + std::string(reference);
    secret = found->second;
    return {};
  }
};

}  // namespace torvik
