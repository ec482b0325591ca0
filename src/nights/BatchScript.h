#pragma once

#include <string>
#include <vector>

#include "nights/NightSteps.h"
#include "nights/Submissions.h"

namespace torvik::nights {

/// The files of one step in the directory of its night. Of a step that the batch system has begun
/// again, as after the loss of a node, each attempt, from 0, has a result and a log of its own.
struct StepFiles {
  std::string begun;   ///< There as soon as the step has begun.
  std::string result;  ///< The run as `torvik-admin run --json` tells it, when it has ended.
  std::string log;     ///< What it has said meanwhile.
};
StepFiles FilesOf(const std::string& directory, std::size_t step, int attempt);

/// The POSIX shell script of an array: each task runs the job of its step by `admin`, the path of
/// torvik-admin, whose exit code becomes the task's. A batch system counts a task that it has never
/// begun as ended: a step that waits for another one's failure or completion looks itself whether
/// that one has begun, and ends with exit code 3 otherwise. One that is begun again ends at once
/// when an attempt has succeeded meanwhile.
std::string ScriptOf(const Submission& submission, const std::vector<NightStep>& steps,
                     const std::vector<bool>& isLeftOut, const std::string& directory,
                     const std::string& admin);

}  // namespace torvik::nights
