#pragma once

#include <memory>

#include "platform/Clock.h"

namespace torvik {

/// The machine's clock.
std::unique_ptr<Clock> NewSystemClock();

}  // namespace torvik
