#pragma once

#include "admin/nights/NightPackage.h"

namespace torvik::admin {

/// Prints what would not work, or work otherwise, when other machines run the steps. Answers 1 when
/// there is a problem.
int CheckNight(LinuxPlatform& platform, const NightPackage& package, bool json);

}  // namespace torvik::admin
