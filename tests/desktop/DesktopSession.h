#pragma once

#include <QDialog>
#include <QWidget>
#include <functional>
#include <memory>
#include <string>

#include "engine/Package.h"
#include "platform/linux/LinuxPlatform.h"
#include "scenarios/Sandbox.h"
#include "startup/Program.h"
#include "ui/Desktop.h"
#include "ui/frmRunnerMain.h"

namespace torvik {

/// The connections of packages that load many rows: "dw", the warehouse, and "file", the sandbox's
/// text file many.csv.
inline constexpr const char* kManyRows = R"toml(
[[connections]]
name = "dw"
provider = "SQLOLEDB"
properties = { "Data Source" = "(local)", "Initial Catalog" = "DW" }
[[connections]]
name = "file"
provider = "DTSFlatFile"
properties = { "Data Source" = 'S:\many.csv', "First Row Column Name" = true }
)toml";

/// The program with its windows, in a sandbox with an embedded server, as main puts it together.
class DesktopSession {
 public:
  DesktopSession();
  ~DesktopSession();

  /// Starts the program with its argument text; the form is open then, unless it was a run.
  void Start(const std::string& argumentText);

  Sandbox& Files() { return sandbox_; }
  frmRunnerMain& Form() { return static_cast<frmRunnerMain&>(*program_->form); }
  Program& TheProgram() { return *program_; }
  QWidget& Window();
  Neighbourhood& Places() { return *platform_.neighbourhood; }

  /// The widget of that kind with this accessible name, or this text; throws when there is none.
  template <typename Widget>
  Widget& Find(const QString& name) {
    return FindIn<Widget>(Window(), name);
  }
  template <typename Widget>
  static Widget& FindIn(QWidget& window, const QString& name);

  /// Stores a package of one step that loads `rows` into the warehouse's table t, with the data
  /// links of its model, and the job file job.etl.
  void MakeJob();

 private:
  Sandbox sandbox_;
  LinuxPlatform platform_;
  std::unique_ptr<dts::PackageHost> packages_;
  std::unique_ptr<Desktop> desktop_;
  std::unique_ptr<Program> program_;
};

/// Does something with the next modal dialog, once it is there. It must end the dialog.
void OnNextDialog(std::function<void(QDialog&)> work);

/// Handles events until the condition holds; false after ten seconds.
bool WaitUntil(const std::function<bool()>& condition);

[[noreturn]] void NoSuchWidget(const QString& name);
bool IsNamed(const QWidget& widget, const QString& name);

template <typename Widget>
Widget& DesktopSession::FindIn(QWidget& window, const QString& name) {
  Widget* hidden = nullptr;
  for (Widget* widget : window.findChildren<Widget*>()) {
    if (!IsNamed(*widget, name)) continue;
    if (widget->isVisible()) return *widget;
    hidden = widget;
  }
  if (hidden == nullptr) NoSuchWidget(name);
  return *hidden;
}

}  // namespace torvik
