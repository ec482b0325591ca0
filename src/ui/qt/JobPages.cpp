#include "ui/qt/JobPages.h"

#include <QComboBox>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QLineEdit>
#include <QMouseEvent>
#include <QRadioButton>
#include <QStyle>
#include <QTimer>
#include <QToolButton>
#include <QVBoxLayout>
#include <algorithm>

#include "ui/frmRunnerMain.h"
#include "ui/qt/controls/Binders.h"
#include "ui/qt/controls/FieldGrid.h"
#include "ui/qt/controls/Words.h"

namespace torvik {
namespace {

struct LogonControls {
  OptionButton& secure;
  OptionButton& sql;
  Label& userLabel;
  Label& passwordLabel;
  TextBox& user;
  TextBox& password;
};

void AddLogon(FieldGrid& grid, const LogonControls& logon, const QString& userMnemonic,
              const QString& passwordMnemonic) {
  grid.Option(Tr("Use Windows NT authentication"), logon.secure,
              Tr("Logs on with the account that runs the job"));
  grid.Option(Tr("Use SQL Server authentication"), logon.sql,
              Tr("Logs on with a user of the server"));
  grid.Text(userMnemonic, logon.user, Tr("The user of the server"));
  Bind(static_cast<QWidget&>(grid.LastLabel()), logon.userLabel);
  grid.Password(passwordMnemonic, logon.password,
                Tr("Is kept scrambled in the job file, which only its owner may read"));
  Bind(static_cast<QWidget&>(grid.LastLabel()), logon.passwordLabel);
}

/// Leaving the field may bring up a question, which has to wait until the keyboard has moved.
void AfterLeave(QWidget& field, std::function<void()> work) {
  OnLeave(field, [&field, work = std::move(work)] { QTimer::singleShot(0, &field, work); });
}

QGroupBox* NewPackageGroup(frmRunnerMain& form) {
  auto* const group = new QGroupBox(Tr("Package"));
  FieldGrid grid(*group);
  grid.List(
      Tr("ETL &model:"), form.cmbETLModel, [&form] { form.cmbETLModel_DropDown(); },
      Tr("The models of the server's packages; a model's packages are listed below"));
  QComboBox* const package = grid.List(
      Tr("&Package:"), form.cmbETLPackage, [&form] { form.cmbETLPackage_DropDown(); },
      Tr("The package that the job executes"));
  AfterLeave(*package, [&form] { form.cmbETLPackage_LostFocus(); });
  grid.Text(Tr("DTS se&rver:"), form.txtDTSServer, Tr("The server that stores the package"));
  grid.Browse(
      form.cmdDTSServer, [&form] { form.cmdDTSServer_Click(); }, Tr("Choose a server"));
  AddLogon(grid,
           {form.optDTSSecureLogin, form.optDTSSQLLogin, form.lblDTSSQLUsername,
            form.lblDTSSQLPassword, form.txtDTSSQLUsername, form.txtDTSSQLPassword},
           Tr("&User name:"), Tr("Passwor&d:"));
  return group;
}

/// A picture that does something when it is double-clicked.
QLabel* NewPicture(QWidget& page, QStyle::StandardPixmap picture, Image& image,
                   std::function<void()> twice, const QString& help) {
  auto* const label = new QLabel;
  const int size = page.style()->pixelMetric(QStyle::PM_SmallIconSize);
  label->setPixmap(page.style()->standardIcon(picture).pixmap(size));
  label->setToolTip(help);
  label->setAccessibleName(help);
  Bind(static_cast<QWidget&>(*label), image);
  OnDoubleClick(*label, std::move(twice));
  return label;
}

/// The same for the keyboard too, which presses it.
class PictureButton final : public QToolButton {
 public:
  PictureButton(QStyle::StandardPixmap picture, Image& image, std::function<void()> open,
                const QString& name, const QString& help)
      : open_(std::move(open)) {
    setIcon(style()->standardIcon(picture));
    setAutoRaise(true);
    setAccessibleName(name);
    setToolTip(help);
    Bind(static_cast<QWidget&>(*this), image);
    connect(this, &QToolButton::clicked, this, open_);
  }

 private:
  void mousePressEvent(QMouseEvent* event) override { event->accept(); }
  void mouseDoubleClickEvent(QMouseEvent*) override { open_(); }

  const std::function<void()> open_;
};

QGroupBox* NewLogGroup(frmRunnerMain& form) {
  auto* const group = new QGroupBox(Tr("Logs"));
  FieldGrid grid(*group);
  QLineEdit* const errorFile =
      grid.Path(Tr("&Error file:"), form.txtDTSErrorFile,
                Tr("The exception log: every run appends its lines to this file"));
  OnLeave(*errorFile, [&form] { form.txtDTSErrorFile_LostFocus(); });
  grid.Browse(
      form.cmdDTSErrorFile, [&form] { form.cmdDTSErrorFile_Click(); }, Tr("Choose the error file"));
  grid.Button(
      Tr("Show"), form.cmdShowErrorFile, [&form] { form.cmdShowErrorFile_Click(); },
      Tr("Opens the error file"));
  grid.Beside(*NewPicture(
      *group, QStyle::SP_FileIcon, form.imgErrorFile, [&form] { form.imgErrorFile_DblClick(); },
      Tr("Double-click to open the error file")));
  grid.Check(Tr("Empty the error file before each run"), form.cbTruncateErrorFile,
             Tr("Without it the lines of all runs stay"));
  QLineEdit* const directory =
      grid.Path(Tr("Log director&y:"), form.txtLogFilesDir,
                Tr("The package's own logs go here; it is emptied before each run"));
  OnLeave(*directory, [&form] { form.txtLogFilesDir_LostFocus(); });
  grid.Browse(
      form.cmdLogFilesDir, [&form] { form.cmdLogFilesDir_Click(); },
      Tr("Choose the log directory"));
  grid.Check(Tr("Use the default log directory"), form.cbDefaultLogFilesDir,
             Tr("One for each package, in the directory for temporary files"));
  auto* const used = new QLabel;
  Bind(*used, form.lblUsedLogfileDir);
  used->setForegroundRole(QPalette::PlaceholderText);
  used->setWordWrap(true);
  used->setIndent(used->fontMetrics().averageCharWidth() * 3);
  grid.Wide(*used);
  grid.Check(Tr("Write Completion Event to Windows Event Log"), form.cbWriteWinNTEvent,
             Tr("The package tells the system's log how it has ended"),
             new PictureButton(
                 QStyle::SP_FileDialogDetailedView, form.imgEventLog,
                 [&form] { form.imgEventLog_DblClick(); }, Tr("Open the system's log"),
                 Tr("Double-click to open the system's log")));
  return group;
}

/// The fields of all groups begin below each other.
void AlignFields(std::initializer_list<QGroupBox*> groups) {
  int width = 0;
  for (const QGroupBox* group : groups)
    for (const QLabel* label : group->findChildren<QLabel*>())
      if (label->buddy() != nullptr) width = std::max(width, label->sizeHint().width());
  for (const QGroupBox* group : groups)
    static_cast<QGridLayout*>(group->layout())->setColumnMinimumWidth(0, width);
}

}  // namespace

QWidget* NewPackagePage(frmRunnerMain& form) {
  auto* const page = new QWidget;
  auto* const layout = new QVBoxLayout(page);
  QGroupBox *const package = NewPackageGroup(form), *const logs = NewLogGroup(form);
  AlignFields({package, logs});
  layout->addWidget(package);
  layout->addWidget(logs);
  layout->addStretch();
  return page;
}

QWidget* NewWarehousePage(frmRunnerMain& form) {
  auto* const page = new QWidget;
  auto* const layout = new QVBoxLayout(page);
  auto* const group = new QGroupBox(Tr("Data warehouse"));
  FieldGrid grid(*group);
  QLineEdit* const server =
      grid.Text(Tr("Se&rver:"), form.txtDestServer, Tr("The server of the data warehouse"));
  AfterLeave(*server, [&form] { form.txtDestServer_LostFocus(); });
  grid.Browse(
      form.cmdDestServer, [&form] { form.cmdDestServer_Click(); }, Tr("Choose a server"));
  AddLogon(grid,
           {form.optDestSecureLogin, form.optDestSQLLogin, form.lblDestSQLUsername,
            form.lblDestSQLPassword, form.txtDestSQLUsername, form.txtDestSQLPassword},
           Tr("&User name:"), Tr("Passwor&d:"));
  QComboBox* const database = grid.List(
      Tr("Data&base:"), form.cmbDestDB, [&form] { form.cmbDestDB_DropDown(); },
      Tr("The database that the package loads, and that has the data links"));
  AfterLeave(*database, [&form] { form.cmbDestDB_LostFocus(); });
  layout->addWidget(group);
  layout->addStretch();
  return page;
}

}  // namespace torvik
