#pragma once

#include <string>
#include <vector>

#include "nights/NightRecord.h"
#include "nights/NightStatus.h"

namespace torvik {
struct LinuxPlatform;
}

namespace torvik::admin {

/// A night that was submitted: its directory in the state directory, below "nights", is its number.
struct NightDirectory {
  int number = 0;
  std::string path;
};

/// Makes that of a new night. Throws PlatformError.
NightDirectory NewNightDirectory(LinuxPlatform& platform);

/// That of a number; 0: of the last night. Throws PlatformError when there is none.
NightDirectory FindNightDirectory(LinuxPlatform& platform, int number);

/// Throws PlatformError when it cannot be written, or read.
void WriteNight(LinuxPlatform& platform, const NightDirectory& night,
                const nights::NightRecord& record);
nights::NightRecord ReadNightRecord(LinuxPlatform& platform, const NightDirectory& night);

/// A night as it is now.
struct NightNow {
  NightDirectory directory;
  nights::NightRecord record;
  std::vector<nights::StepTraces> traces;  ///< What the steps have left, one a step.
  std::vector<nights::StepStatus> statuses;
};

/// That of a number, as FindNightDirectory has it. Throws PlatformError, also when Slurm does not
/// answer; unless there is `silence`, which then has the reason.
NightNow LookAtNight(LinuxPlatform& platform, int number, std::string* silence = nullptr);

}  // namespace torvik::admin
