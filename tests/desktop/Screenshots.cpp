// Draws the windows for the operator's guide: torvik-screenshots DIRECTORY [light|dark].

#include <QApplication>
#include <QPushButton>
#include <QSettings>
#include <QTabWidget>
#include <QTest>
#include <QTimer>
#include <QTreeWidget>
#include <cstdio>
#include <filesystem>

#include "desktop/DesktopSession.h"
#include "ui/frmAnimate.h"
#include "ui/qt/AnimateDialog.h"
#include "ui/qt/StepGraphView.h"
#include "ui/qt/Theme.h"

using namespace torvik;

namespace {

class Camera {
 public:
  explicit Camera(QString directory) : directory_(std::move(directory)) {}

  void Take(QWidget& window, const char* name) const {
    QTest::qWait(150);
    const QString file = directory_ + "/" + name + ".png";
    if (!window.grab().save(file)) throw std::runtime_error("cannot write " + file.toStdString());
    std::printf("%s\n", file.toStdString().c_str());
  }

 private:
  QString directory_;
};

void TakeForm(DesktopSession& session, const Camera& camera) {
  session.Start("");
  session.Form().mnuFileNew_Click();
  camera.Take(session.Window(), "new-job");
  session.Form().OpenJobFile(session.Files().PathOf("job.etl"));
  session.Form().cmdLoadDataLinks_Click();
  camera.Take(session.Window(), "package");
  session.Form().tabDataInfo.Tab.Set(1);
  camera.Take(session.Window(), "data-warehouse");
}

void TakePanels(DesktopSession& session, const Camera& camera) {
  auto& list = session.Find<QTreeWidget>("Data links");
  for (const auto& [link, name] : {std::pair{"orders", "panel-flat-file"},
                                   {"erp", "panel-sql-server"},
                                   {"prices", "panel-excel"},
                                   {"stock", "panel-access"},
                                   {"ledger", "panel-oracle"}}) {
    list.setCurrentItem(list.findItems(link, Qt::MatchExactly).value(0));
    if (std::string_view(link) == "orders")
      session.Form().ctDLlFlatFileOBJ.cbSourceCopyRemData.Value.Set(true);
    camera.Take(session.Window(), name);
  }
}

std::string SqlStep(const std::string& name, const std::string& sql, const std::string& after) {
  return "[[steps]]\nname = \"" + name +
         "\"\ntask = \"ExecuteSQL\"\nconnection = \"dw\"\nsql = \"" + sql + "\"\n" +
         (after.empty() ? "" : "after = [ " + after + " ]\n");
}

std::string After(const std::string& step, const std::string& on = "success") {
  return "{ step = \"" + step + "\", on = \"" + on + "\" }";
}

constexpr const char* kConnections = R"toml(
[[connections]]
name = "dw"
provider = "SQLOLEDB"
properties = { "Data Source" = "(local)", "Initial Catalog" = "DW" }
[[connections]]
name = "orders file"
provider = "DTSFlatFile"
properties = { "Data Source" = 'S:\many.csv', "First Row Column Name" = true }
)toml";

/// Five steps, of which one loads some rows and one waits.
std::string FiveSteps(const std::string& sum) {
  return kConnections +
         SqlStep("make tables",
                 "DROP TABLE IF EXISTS orders; CREATE TABLE orders (no INTEGER, text TEXT)", "") +
         "[[steps]]\nname = \"load orders\"\ntask = \"DataPump\"\nsource = \"orders file\"\n"
         "destination = \"dw\"\ntable = \"orders\"\nafter = [ " +
         After("make tables") + " ]\n" +
         "[[steps]]\nname = \"wait for export\"\ntask = \"ExecuteProcess\"\nprogram = \"sleep\"\n"
         "arguments = [ '2' ]\n" +
         SqlStep("sum up", sum,
                 After("load orders") + ", " + After("wait for export", "completion")) +
         SqlStep("note the failure", "SELECT 1", After("sum up", "failure"));
}

/// Steps in chains that meet now and then.
std::string ManySteps(int count) {
  std::string text = kConnections;
  for (int i = 0; i < count; ++i) {
    std::string after;
    if (i >= 6) after = After("step " + std::to_string(i - 6));
    if (i >= 12 && i % 7 == 0)
      after += ", " + After("step " + std::to_string(i - 11), "completion");
    text +=
        SqlStep("step " + std::to_string(i), i % 50 == 49 ? "SELECT nothing" : "SELECT 1", after);
  }
  return text;
}

/// A real run; the picture is taken in its middle when `during` is given. A failure is told in a
/// box.
void Execute(DesktopSession& session, const Camera& camera, const char* during, const char* behind,
             bool fails) {
  if (fails) OnNextDialog([](QDialog& box) { box.reject(); });
  QTimer timer;
  timer.setSingleShot(true);
  QObject::connect(&timer, &QTimer::timeout, &session.Window(), [&] {
    if (during != nullptr) camera.Take(session.Window(), during);
  });
  timer.start(1300);
  session.Form().cmdExecute_Click();
  QTest::qWait(150);
  if (auto* const graph = session.Window().findChild<StepGraphView*>(); graph != nullptr)
    graph->FindNext("load");
  camera.Take(session.Window(), behind);
}

void TakeRun(DesktopSession& session, const Camera& camera) {
  session.Form().tabDataInfo.Tab.Set(0);
  auto& list = session.Find<QTreeWidget>("Data links");
  list.setCurrentItem(list.findItems("orders", Qt::MatchExactly).value(0));
  session.Form().ctDLlFlatFileOBJ.cbSourceCopyRemData.Value.Set(false);
  std::string rows = "no,text\n";
  for (int i = 0; i < 900'000; ++i) rows += std::to_string(i) + ",some words of a row\n";
  session.Files().WriteFile("many.csv", rows);
  for (int run = 0; run < 3; ++run) {
    const bool isGood = run != 1;
    session.Files().PutPackage(
        "Sales_LoadDW",
        FiveSteps(isGood ? "SELECT SUM(no) FROM orders" : "SELECT SUM(amount) FROM orders"));
    Execute(session, camera, run == 2 ? "run" : nullptr, isGood ? "run-ok" : "run-failed", !isGood);
  }
  auto* const pages = session.Window().findChild<QTabWidget*>();
  pages->setCurrentIndex(2);
  camera.Take(session.Window(), "history");
  for (const int count : {60, 1000}) {
    session.Files().PutPackage("Sales_LoadDW", ManySteps(count));
    Execute(session, camera, nullptr, count == 60 ? "run-60-steps" : "run-1000-steps", true);
  }
  pages->setCurrentIndex(0);
}

void TakeDialogs(DesktopSession& session, const Camera& camera) {
  const auto take = [&](const char* name, auto open) {
    OnNextDialog([&camera, name](QDialog& dialog) {
      camera.Take(dialog, name);
      dialog.reject();
    });
    open();
  };
  frmRunnerMain& form = session.Form();
  take("computers", [&] { form.cmdDTSServer_Click(); });
  take("folders", [&] { form.cmdLogFilesDir_Click(); });
  take("question", [&] {
    form.txtDTSServer.Text.Set("DWPROD");
    form.cmdClose_Click();
  });
  take("missing", [&] {
    form.txtDTSErrorFile.Text.Set("");
    form.cmdExecute_Click();
  });
  take("about", [&] { form.mnuHelpAbout_Click(); });
  frmAnimate transfer(session.TheProgram().platform.messages);
  QWidget* const dialog = NewAnimateDialog(transfer);
  transfer.SetCaption("Copy Remote Data");
  transfer.SetDetails("Copying orders.txt from ftp.example.com");
  transfer.OpenClip(1);
  transfer.SetProgress(42);
  transfer.Show();
  transfer.PlayClip();
  QTest::qWait(600);
  camera.Take(*dialog, "transfer");
}

}  // namespace

int main(int argc, char** argv) {
  if (argc < 2) {
    std::fprintf(stderr, "usage: torvik-screenshots DIRECTORY [light|dark]\n");
    return 2;
  }
  QApplication application(argc, argv);
  QApplication::setOrganizationName("TorvikScreenshots");
  QSettings().clear();
  try {
    ChooseTheme(argc > 2 ? argv[2] : "light");
    std::filesystem::create_directories(argv[1]);
    const Camera camera(argv[1]);
    DesktopSession session;
    session.MakeJob();
    TakeForm(session, camera);
    TakePanels(session, camera);
    TakeRun(session, camera);
    TakeDialogs(session, camera);
    session.Start("");
    camera.Take(session.Window(), "start");
  } catch (const std::exception& error) {
    std::fprintf(stderr, "torvik-screenshots: %s\n", error.what());
    return 1;
  }
  return 0;
}
