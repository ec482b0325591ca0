#pragma once

#include <memory>

#include "platform/EventLog.h"

namespace torvik {

/// The system log: identification "torvik", facility daemon. One of them exists at a time.
std::unique_ptr<EventLog> NewSyslogEventLog();

}  // namespace torvik
