#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

#include "nights/NightSteps.h"
#include "nights/Submissions.h"

namespace torvik::nights {

/// A file that a step leaves in the directory of its night, by its name: "7.begun" as soon as step
/// 7 has begun; "7.0.json", the run as `torvik-admin run --json` tells it, when it has ended; and
/// "7.0.log", what it has said meanwhile. Of a step that the batch system begins again, as after
/// the loss of a node, each attempt has a number of its own; a lost one may have left nothing.
struct StepFile {
  enum class Kind { Begun, Result, Other };
  Kind kind = Kind::Other;
  std::size_t step = 0;
  int attempt = 0;  ///< Of a result.
};
StepFile StepFileOf(std::string_view name);

/// The POSIX shell script of an array: each task runs the job of its step by `admin`, the path of
/// torvik-admin, whose exit code becomes the task's. A batch system counts a task that it has never
/// begun as ended: a step that waits for another one's failure or completion looks itself whether
/// that one has begun, and ends with exit code 3 otherwise. One that is begun again ends at once
/// with the verdict of an earlier attempt, if there is one.
std::string ScriptOf(const Submission& submission, const std::vector<NightStep>& steps,
                     const std::vector<bool>& isLeftOut, const std::string& directory,
                     const std::string& admin);

}  // namespace torvik::nights
