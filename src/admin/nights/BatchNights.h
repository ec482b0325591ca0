#pragma once

#include <string>
#include <vector>

#include "admin/common/Admin.h"

namespace torvik::admin {

struct SubmitOptions {
  std::string package;
  std::vector<std::string> variables;  ///< "NAME=VALUE".
  std::vector<std::string> options;    ///< Of sbatch.
  int resumed = -1;                    ///< A night to go on with, 0 for the last one; -1: none.
  bool checksOnly = false;
};

/// Hands a night to Slurm, or says what would not work on its machines.
int SubmitNight(LinuxPlatform& platform, const Invocation& invocation,
                const SubmitOptions& options);

/// What has become of a night's steps. Answers 0 when it went well, 1 when a step has failed, 3
/// while it is under way.
int ShowNight(LinuxPlatform& platform, const Invocation& invocation, int night);

int CancelNight(LinuxPlatform& platform, const Invocation& invocation, int night);

}  // namespace torvik::admin
