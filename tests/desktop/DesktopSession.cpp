#include "desktop/DesktopSession.h"

#include <QAbstractButton>
#include <QApplication>
#include <QElapsedTimer>
#include <QLabel>
#include <QTest>
#include <QTimer>
#include <cstdlib>
#include <stdexcept>

#include "startup/RunProgress.h"
#include "startup/RunnerMain.h"
#include "ui/frmAnimate.h"
#include "ui/qt/MainWindow.h"
#include "ui/qt/QtDesktop.h"

namespace torvik {

bool IsNamed(const QWidget& widget, const QString& name) {
  const auto* const button = qobject_cast<const QAbstractButton*>(&widget);
  return widget.accessibleName() == name || (button && button->text().remove('&') == name) ||
         (qobject_cast<const QLabel*>(&widget) && widget.accessibleName().startsWith(name + ": "));
}

void NoSuchWidget(const QString& name) {
  throw std::runtime_error("there is no widget " + name.toStdString());
}

DesktopSession::DesktopSession() {
  setenv("TORVIK_CONF", sandbox_.PathOf("torvik.conf").c_str(), 1);
  setenv("TORVIK_STATE", sandbox_.PathOf("state").c_str(), 1);
}

DesktopSession::~DesktopSession() {
  if (desktop_) desktop_->CloseWindows();
}

void DesktopSession::Start(const std::string& argumentText) {
  if (desktop_) desktop_->CloseWindows();
  program_.reset();
  platform_ = NewLinuxPlatform([] {},
                               [this](const FetchProgress& progress) {
                                 if (program_) TellFetchProgress(*program_, progress);
                               },
                               [this] {
                                 if (program_) LetEventsIn(*program_);
                               });
  packages_ = engine::NewPackageHost({*platform_.databases,
                                      *platform_.files,
                                      *platform_.codePages,
                                      *platform_.clock,
                                      *platform_.processes,
                                      *platform_.eventLog,
                                      *platform_.mail,
                                      {},
                                      {},
                                      {},
                                      {},
                                      {},
                                      platform_.expressions.get(),
                                      false,
                                      platform_.newFtpClient});
  desktop_ = NewQtDesktop({*platform_.messages, *platform_.neighbourhood, TORVIK_ADMIN_PROGRAM});
  program_ = std::make_unique<Program>(
      Platform{*platform_.databases, *packages_, platform_.codePages->Ansi(), *platform_.clock,
               *platform_.console, *platform_.files, *platform_.locks, desktop_->Boxes(),
               *platform_.processes, *platform_.profile, *platform_.shell, *platform_.internet,
               *platform_.registry, *platform_.history, *platform_.secrets, desktop_->Browser(),
               desktop_->Dialogs()},
      [this] {
        auto form = std::make_unique<frmAnimate>(desktop_->Boxes());
        desktop_->ShowForm(*form);
        return form;
      });
  Main(*program_, argumentText, [this](Program& program) {
    auto form = std::make_unique<frmRunnerMain>(program);
    desktop_->ShowForm(*form);
    return form;
  });
  QApplication::processEvents();
  if (!program_->form->IsOpen()) return;
  // Keys that are shortcuts need it.
  Window().activateWindow();
  WaitUntil([this] { return Window().isActiveWindow(); });
}

QWidget& DesktopSession::Window() {
  for (QWidget* widget : QApplication::topLevelWidgets())
    if (dynamic_cast<MainWindow*>(widget) != nullptr) return *widget;
  NoSuchWidget("main window");
}

void DesktopSession::MakeJob() {
  sandbox_.WriteFile("orders.csv", "no,name\n1,one\n2,two\n3,three\n");
  sandbox_.PutPackage(
      "Sales_LoadDW",
      "[[connections]]\nname = \"dw\"\nprovider = \"SQLOLEDB\"\n"
      "properties = { \"Data Source\" = \"${DestinationServer}\", "
      "\"Initial Catalog\" = \"${DestServerDatabaseName}\", \"Integrated Security\" = \"SSPI\" }\n"
      "[[connections]]\nname = \"orders file\"\nprovider = \"DTSFlatFile\"\n"
      "properties = { \"Data Source\" = 'S:\\orders.csv', \"First Row Column Name\" = true }\n"
      "[[steps]]\nname = \"create orders\"\ntask = \"ExecuteSQL\"\nconnection = \"dw\"\n"
      "sql = \"CREATE TABLE IF NOT EXISTS orders (no INTEGER, name VARCHAR(20))\"\n"
      "[[steps]]\nname = \"load orders\"\nafter = [ { step = \"create orders\" } ]\n"
      "task = \"DataPump\"\nsource = \"orders file\"\ndestination = \"dw\"\ntable = \"orders\"\n");
  const auto warehouse = sandbox_.Connect("DW");
  for (const char* row :
       {"('Sales', 'orders', 3, '', 'S:\\in\\', 0, '\\\\files\\orders\\', 60, 5)",
        "('Sales', 'erp', 1, 'ERPSQL', '', 0, '', 0, 0)",
        "('Sales', 'prices', 4, '', '', 0, '', 0, 0)", "('Sales', 'stock', 5, '', '', 0, '', 0, 0)",
        "('Sales', 'ledger', 6, 'ORA1', '', 0, '', 0, 0)",
        "('Sales', 'other', 2, '', '', 0, '', 0, 0)"})
    warehouse->Execute(
        std::string("INSERT INTO dwm_data_link (model, source_name, Type, ds_server, ds_directory, "
                    "transfer_data, remote_directory, poll_duration, poll_interval) VALUES ") +
        row);
  sandbox_.WriteJob("job.etl", "Sales_LoadDW");
}

void OnNextDialog(std::function<void(QDialog&)> work) {
  auto* const timer = new QTimer;
  QObject::connect(timer, &QTimer::timeout, [timer, work = std::move(work)] {
    auto* const dialog = qobject_cast<QDialog*>(QApplication::activeModalWidget());
    if (dialog == nullptr || !dialog->isVisible()) return;
    timer->stop();
    timer->deleteLater();
    work(*dialog);
  });
  timer->start(20);
}

bool WaitUntil(const std::function<bool()>& condition) {
  QElapsedTimer passed;
  passed.start();
  while (!condition()) {
    if (passed.elapsed() > 10'000) return false;
    QTest::qWait(10);
  }
  return true;
}

}  // namespace torvik
