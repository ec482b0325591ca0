#pragma once

#include <functional>
#include <string>

#include "platform/PlatformError.h"

namespace torvik {

/// Makes the error of what a connection refuses, which it also keeps in its Errors().
using RefusalFactory = std::function<PlatformError(const std::string& reason)>;

}  // namespace torvik
