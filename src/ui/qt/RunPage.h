#pragma once

#include <functional>

class QWidget;

namespace torvik {

class frmRunnerMain;

/// The page that shows a run: the package's graph with the states of its steps, what is known of
/// one of them, the time line, log and problems. `showJob` is called when a problem lies in a field
/// of the job, which has the focus then.
QWidget* NewRunPage(frmRunnerMain& form, std::function<void()> showJob);

}  // namespace torvik
