#pragma once

class QWidget;

namespace torvik {

class frmRunnerMain;

/// The list of the job's data links, and beside it the panel that edits the selected one.
QWidget* NewLinkPanels(frmRunnerMain& form);

}  // namespace torvik
