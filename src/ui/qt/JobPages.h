#pragma once

class QWidget;

namespace torvik {

class frmRunnerMain;

/// The page of the package, its server and its logs.
QWidget* NewPackagePage(frmRunnerMain& form);

/// The page of the data warehouse.
QWidget* NewWarehousePage(frmRunnerMain& form);

}  // namespace torvik
