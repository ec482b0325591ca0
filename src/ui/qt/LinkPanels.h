#pragma once

#include <string>

class QWidget;

namespace torvik {

class frmRunnerMain;

/// The list of the job's data links, and beside it the panel that edits the selected one, with a
/// preview of what it leads to. `admin`: the path of torvik-admin, which reads that; empty: none.
QWidget* NewLinkPanels(frmRunnerMain& form, const std::string& admin);

}  // namespace torvik
