#pragma once

#include "alarms/Alarms.h"

namespace torvik {
struct LinuxPlatform;
}

namespace torvik::admin {

/// Raises the alarms of all runs that have ended and are not announced yet.
AlarmReport RaiseAlarms(LinuxPlatform& platform);

}  // namespace torvik::admin
