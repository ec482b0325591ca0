#pragma once

#include <functional>
#include <memory>

#include "platform/Messages.h"

namespace torvik {

/// From now on the signals that act as the Close button are kept for PumpEvents instead of ending
/// the process.
void InstallCloseSignals();

/// Messages without a display: a box is the line "torvik: TITLE: TEXT" on standard error, a report
/// the line "torvik: LINE". PumpEvents calls `onClose` once for each signal that has been kept.
std::unique_ptr<Messages> NewConsoleMessages(std::function<void()> onClose);

}  // namespace torvik
