#pragma once

#include <string>
#include <vector>

#include "history/SendRuns.h"
#include "platform/RunHistory.h"

namespace torvik {
struct LinuxPlatform;
}

/// Where a question about runs finds its answer: in this machine's history or in the shared one.
namespace torvik::admin {

/// Throws PlatformError, also when `everywhere` is asked for and the settings name no such place.
std::vector<RunRecord> RunsAsked(LinuxPlatform& platform, const RunFilter& filter, bool everywhere);

/// The run of this machine that a number names, or the one of another that "HOST:NUMBER" does, with
/// its parts. Throws PlatformError when there is none.
RunRecord RunAsked(LinuxPlatform& platform, const std::string& name);

/// Sends to the shared history what of this machine's is not there. Throws PlatformError when the
/// settings name no such place.
SentRuns SendRuns(LinuxPlatform& platform);

}  // namespace torvik::admin
