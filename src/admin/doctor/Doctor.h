#pragma once

#include "admin/common/CheckReport.h"

namespace torvik {
struct LinuxPlatform;
}

namespace torvik::admin {

/// What a machine that runs jobs needs, one function a subject; each adds its rows to the report
/// and changes nothing but for a file that it makes and removes.
void CheckPrograms(CheckReport& report);
void CheckStoredSecrets(const LinuxPlatform& platform, CheckReport& report);
void CheckDirectories(const LinuxPlatform& platform, CheckReport& report);
void CheckClock(const LinuxPlatform& platform, CheckReport& report);
void CheckAlarms(LinuxPlatform& platform, CheckReport& report);
void CheckSharedHistory(LinuxPlatform& platform, CheckReport& report);
void CheckNetwork(LinuxPlatform& platform, CheckReport& report);
void CheckJobFiles(LinuxPlatform& platform, const std::string& directory, CheckReport& report);

}  // namespace torvik::admin
