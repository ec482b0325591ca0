#pragma once

#include <functional>

class QWidget;

namespace torvik {

class frmRunnerMain;

/// The page with the job's last runs: a bar for each, and a table. `show` is called when the
/// operator wants to see one, which the form's monitor then has.
QWidget* NewHistoryPage(frmRunnerMain& form, std::function<void()> show);

}  // namespace torvik
