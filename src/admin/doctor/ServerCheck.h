#pragma once

#include "admin/common/Admin.h"
#include "admin/common/CheckReport.h"

namespace torvik::admin {

/// Logs on to a server as packages do and tells what it is, what will be used of it, and what is
/// missing there. Changes nothing.
void CheckServer(LinuxPlatform& platform, const ServerChoice& choice, CheckReport& report);

}  // namespace torvik::admin
