#pragma once

#include <cstdint>
#include <string>

#include "log/StepProgress.h"

namespace torvik {

/// How the fetching of a data link's files stands, before the package's steps run.
struct FetchStatus {
  std::string link;  ///< The data link's name.
  std::string from;  ///< "ftp://SERVER/DIRECTORY", or a directory.
  std::string to;    ///< A directory of this machine.
  StepState state = StepState::Running;
  std::string error;  ///< Why it has failed.
};

}  // namespace torvik
