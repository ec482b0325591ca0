#pragma once

#include "admin/jobs/FromDtsrun.h"

namespace torvik::admin {

/// Writes a job file for each dtsrun line in the steps of the Agent jobs of a script, or in a batch
/// file (.bat, .cmd), into the
/// directory `options.output`, and prints how each is scheduled as it was. `options.line` is the
/// script's file. What is not taken over is told with its line; answers 1 when a dtsrun line is
/// among it. Throws PlatformError when the script cannot be read or has no job.
int WriteJobsOfAgent(LinuxPlatform& platform, const DtsrunOptions& options, bool json);

}  // namespace torvik::admin
