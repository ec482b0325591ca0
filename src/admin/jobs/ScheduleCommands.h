#pragma once

#include "admin/common/Admin.h"

namespace CLI {
class App;
}

namespace torvik::admin {

/// What job schedule, unschedule and list were given.
struct ScheduleOptions {
  std::string job;
  std::vector<std::string> times;
  std::string root = "/";
};

/// Each throws PlatformError when units cannot be changed, or files cannot be read or written.
int ScheduleJob(LinuxPlatform& platform, const ScheduleOptions& options, bool json);
int UnscheduleJob(LinuxPlatform& platform, const ScheduleOptions& options, bool json);
int ListJobs(LinuxPlatform& platform, const ScheduleOptions& options, bool json);

}  // namespace torvik::admin
