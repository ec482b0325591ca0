#pragma once

#include "desktop/Camera.h"
#include "desktop/DesktopSession.h"

namespace torvik {

/// Pictures of runs of 5, 60 and 1,000 steps, each under way, failed and done; of data that is
/// being fetched; of the history and of a run from it. The session's job is open.
void TakeRuns(DesktopSession& session, const Camera& camera);

}  // namespace torvik
