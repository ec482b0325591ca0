#pragma once

class QWidget;

namespace torvik {

class frmAnimate;

/// The window of a transfer's progress dialog. It goes with its form.
QWidget* NewAnimateDialog(frmAnimate& form);

}  // namespace torvik
