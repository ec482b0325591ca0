#pragma once

#include <string>
#include <string_view>

#include "platform/Text.h"

namespace torvik {

/// What a job is called in settings, metrics and mails: its file's name without ".etl".
inline std::string JobName(std::string_view jobFile) {
  std::string_view name = jobFile.substr(jobFile.find_last_of("/\\") + 1);
  constexpr std::string_view kEnding = ".etl";
  if (name.size() > kEnding.size() &&
      EqualsIgnoringCase(name.substr(name.size() - kEnding.size()), kEnding))
    name.remove_suffix(kEnding.size());
  return std::string(name);
}

}  // namespace torvik
