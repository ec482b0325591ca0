#pragma once

#include "alarms/Alarms.h"

namespace torvik {
struct LinuxPlatform;
}

namespace torvik::admin {

/// Raises the alarms of runs that have ended and whose own process could not.
AlarmReport RaiseDueAlarms(LinuxPlatform& platform);

}  // namespace torvik::admin
