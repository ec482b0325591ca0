#pragma once

#include <string_view>

namespace torvik {

/// The system's event log.
class EventLog {
 public:
  virtual ~EventLog() = default;

  /// Writes one event, of the kind error when `failed`, else of the kind information.
  virtual void Write(std::string_view text, bool failed) = 0;
};

}  // namespace torvik
