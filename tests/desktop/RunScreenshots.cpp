#include "desktop/RunScreenshots.h"

#include <sys/stat.h>
#include <unistd.h>

#include <QApplication>
#include <QLabel>
#include <QTabWidget>
#include <QTimer>

#include "platform/Ado.h"
#include "servers/PrivateServer.h"
#include "ui/qt/StepGraphView.h"

namespace torvik {
namespace {

constexpr int kRunPage = 1, kHistoryPage = 2;

std::string After(const std::string& step, const std::string& on = "success") {
  return "{ step = \"" + step + "\", on = \"" + on + "\" }";
}

std::string Step(const std::string& name, const std::string& task, const std::string& after) {
  return "[[steps]]\nname = \"" + name + "\"\n" + task +
         (after.empty() ? "" : "after = [ " + after + " ]\n");
}

std::string Sql(const std::string& text) {
  return "task = \"ExecuteSQL\"\nconnection = \"dw\"\nsql = \"" + text + "\"\n";
}

std::string Load(const std::string& table) {
  return "task = \"DataPump\"\nsource = \"file\"\ndestination = \"dw\"\ntable = \"" + table +
         "\"\n";
}

std::string Sleep(const std::string& seconds) {
  return "task = \"ExecuteProcess\"\nprogram = \"sleep\"\narguments = [ '" + seconds + "' ]\n";
}

std::string NewTable(const std::string& table) {
  return Sql("DROP TABLE IF EXISTS " + table + "; CREATE TABLE " + table +
             " (no INTEGER, text TEXT)");
}

std::string FiveSteps(bool fails) {
  return kManyRows + Step("make tables", NewTable("orders"), "") +
         Step("load orders", Load("orders"), After("make tables")) +
         Step("wait for export", Sleep("2"), "") +
         Step("sum up",
              Sql(fails ? "SELECT SUM(amount) FROM orders" : "SELECT SUM(no) FROM orders"),
              After("load orders") + ", " + After("wait for export", "completion")) +
         Step("note the failure", Sql("SELECT 1"), After("sum up", "failure"));
}

/// Six steps for each of a number of tables, which meet now and then. Only some tables have rows.
std::string StepsOfTables(int tables, int withRows, bool fails) {
  static const char* const kNames[] = {"orders",   "customers", "prices",    "stock",  "returns",
                                       "invoices", "payments",  "suppliers", "routes", "budgets"};
  std::string text = kManyRows, before;
  for (int i = 0; i < tables; ++i) {
    const std::string name =
        std::string(kNames[i % 10]) + (i < 10 ? "" : " " + std::to_string(i / 10 + 1));
    const std::string table = "t" + std::to_string(i);
    const bool isBad = fails && i % 8 == 3;
    text += Step("stage " + name, NewTable(table), "");
    text +=
        Step("load " + name, i < withRows ? Load(table) : Sleep("0.05"), After("stage " + name));
    text += Step("check " + name, Sql(isBad ? "SELECT amount FROM " + table : "SELECT 1"),
                 After("load " + name));
    text += Step(
        "sum " + name, Sql("SELECT SUM(no) FROM " + table),
        After("check " + name) +
            (before.empty() || i % 3 != 0 ? "" : ", " + After("load " + before, "completion")));
    text += Step("publish " + name, Sql("SELECT 1"), After("sum " + name));
    text += Step("report " + name, Sql("SELECT 1"), After("check " + name, "failure"));
    before = name;
  }
  return text;
}

/// A real run; a picture is taken in its middle when `during` is named. A failure is told in a box.
void Execute(DesktopSession& session, const Camera& camera, const std::string& during,
             const std::string& behind, const QString& step, bool fails) {
  if (fails) OnNextDialog([](QDialog& box) { box.reject(); });
  QTimer timer;
  timer.setSingleShot(true);
  QObject::connect(&timer, &QTimer::timeout, &session.Window(), [&] {
    if (!during.empty()) camera.Take(session.Window(), during);
  });
  timer.start(1300);
  session.Form().cmdExecute_Click();
  if (behind.empty()) return;
  QTest::qWait(150);
  // What has failed is shown by itself.
  if (!fails) session.Window().findChild<StepGraphView*>()->FindNext(step);
  camera.Take(session.Window(), behind);
}

void TakeFetch(DesktopSession& session, const Camera& camera) {
  const PrivateServer ftp("private-ftp", "TransferRate RETR 4000\n");
  ftp.Write("out/customers.csv", "no,name\n1,one\n");
  ftp.Write("out/orders.csv", std::string(8'000'000, '.'));
  ftp.Write("out/status", "ready\n");
  Sandbox& files = session.Files();
  files.WriteFile("ftp-password", ftp.Password() + "\n");
  chmod(files.PathOf("ftp-password").c_str(), S_IRUSR);
  files.AddSettings(
      "[ftp]\nport = " + std::to_string(ftp.Port()) +
      "\n[ftp localhost]\nuser = torvik\npassword_file = " + files.PathOf("ftp-password") + "\n");
  files.Connect("DW")->Execute(
      "UPDATE dwm_data_link SET transfer_data = 1, ftp_server = 'localhost', remote_directory = '" +
      (geteuid() == 0 ? "/out" : ftp.PathOf("out")) +
      "', ds_directory = 'S:\\in\\', poll_interval = 1, poll_duration = 1 "
      "WHERE source_name = 'orders'");
  const QSize size = session.Window().size();
  session.Start("");
  session.Window().resize(size);
  session.Form().OpenJobFile(files.PathOf("job.etl"));
  files.PutPackage("Sales_LoadDW", FiveSteps(false));
  QTimer timer;
  QObject::connect(&timer, &QTimer::timeout, [&camera, &timer] {
    for (QWidget* const window : QApplication::topLevelWidgets()) {
      const auto* const text = window->findChild<QLabel*>();
      if (window->windowTitle() != "Copying" || !text->text().contains("orders")) continue;
      timer.stop();
      camera.Take(*window, "transfer");
    }
  });
  timer.start(20);
  Execute(session, camera, "run-fetch", "", "", false);
  files.Connect("DW")->Execute("UPDATE dwm_data_link SET transfer_data = 0");
  session.Form().mnuFileNew_Click();
  session.Form().OpenJobFile(files.PathOf("job.etl"));
}

}  // namespace

void TakeRuns(DesktopSession& session, const Camera& camera, bool everyState) {
  std::string rows = "no,text\n";
  for (int i = 0; i < 900'000; ++i) rows += std::to_string(i) + ",some words of a row\n";
  session.Files().WriteFile("many.csv", rows);
  TakeFetch(session, camera);
  for (int run = 0; run < 3; ++run) {
    const bool fails = run == 1;
    session.Files().PutPackage("Sales_LoadDW", FiveSteps(fails));
    Execute(session, camera, run == 2 ? "run" : "", fails ? "run-failed" : "run-ok", "load", fails);
  }
  auto* const pages = session.Window().findChild<QTabWidget*>();
  pages->setCurrentIndex(kHistoryPage);
  camera.Take(session.Window(), "history");
  pages->setCurrentIndex(kRunPage);
  for (const auto& [name, tables, withRows] :
       {std::tuple{"run-60-steps", 10, 10}, {"run-1000-steps", 167, 3}})
    for (const bool fails : {true, false}) {
      if (fails && !everyState) continue;
      session.Files().PutPackage("Sales_LoadDW", StepsOfTables(tables, withRows, fails));
      Execute(session, camera, fails ? "" : name,
              everyState ? name + std::string(fails ? "-failed" : "-ok") : "", "load prices",
              fails);
    }
  pages->setCurrentIndex(0);
}

}  // namespace torvik
