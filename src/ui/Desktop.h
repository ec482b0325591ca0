#pragma once

#include <memory>
#include <string>

namespace torvik {

class FileDialogs;
class Messages;
class Neighbourhood;
class ShellBrowser;
class frmAnimate;
class frmRunnerMain;

/// What a desktop needs from the platform.
struct DesktopServices {
  Messages& console;  ///< Reports go on to it, and the signals that act as Close come from it.
  Neighbourhood& neighbourhood;
  std::string admin = {};  ///< The path of torvik-admin; empty where there is none.
};

/// The windows that show the forms, and the dialogs.
class Desktop {
 public:
  virtual ~Desktop() = default;

  virtual Messages& Boxes() = 0;
  virtual ShellBrowser& Browser() = 0;
  virtual FileDialogs& Dialogs() = 0;

  /// Shows a form in a window from now on; the form must outlive the window, which goes when the
  /// form closes. A form of a transfer shows itself when it becomes visible.
  virtual void ShowForm(frmRunnerMain& form) = 0;
  virtual void ShowForm(frmAnimate& form) = 0;

  /// Handles what happens until the main form is closed; returns at once when it is.
  virtual void RunUntilClosed() = 0;

  /// The windows go; to be called while there are still the forms.
  virtual void CloseWindows() = 0;
};

/// The function of the module that makes the desktop; whoever calls it owns what it answers.
using NewDesktopFunction = Desktop* (*)(const DesktopServices& services);
inline constexpr const char* kDesktopModule = "libtorvik-desktop.so";
inline constexpr const char* kNewDesktop = "TorvikNewDesktop";

}  // namespace torvik
