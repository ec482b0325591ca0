#pragma once

#include "desktop/Camera.h"
#include "desktop/DesktopSession.h"

namespace torvik {

/// Pictures of runs of 5, 60 and 1,000 steps under way, of one that fails and one that succeeds, of
/// data that is being fetched, of the history. `everyState`: the large ones failed and done, too.
/// The session's job is open.
void TakeRuns(DesktopSession& session, const Camera& camera, bool everyState);

}  // namespace torvik
