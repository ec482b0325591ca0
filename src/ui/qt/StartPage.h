#pragma once

class QWidget;

namespace torvik {

class frmRunnerMain;

/// What stands in place of the fields while there is no job: the recent ones, each with how its
/// last run ended.
QWidget* NewStartPage(frmRunnerMain& form);

}  // namespace torvik
