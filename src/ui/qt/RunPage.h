#pragma once

class QWidget;

namespace torvik {

class frmRunnerMain;

/// The page that shows a run: the package's graph with the states of its steps, what is known of
/// one of them, the time line, log and problems.
QWidget* NewRunPage(frmRunnerMain& form);

}  // namespace torvik
