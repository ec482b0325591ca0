#pragma once

class QWidget;

namespace torvik {

class frmRunnerMain;

/// The table of the job's data links with what filters it, and the button that loads them.
QWidget* NewLinkTable(frmRunnerMain& form);

}  // namespace torvik
