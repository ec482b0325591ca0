// Draws the windows for the operator's guide: torvik-screenshots DIRECTORY [light|dark].

#include <QApplication>
#include <QListWidget>
#include <QPushButton>
#include <QSettings>
#include <QTabWidget>
#include <QTest>
#include <cstdio>
#include <filesystem>

#include "desktop/DesktopSession.h"
#include "ui/frmAnimate.h"
#include "ui/qt/AnimateDialog.h"
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
  camera.Take(session.Window(), "new-job");
  session.Form().OpenJobFile(session.Files().PathOf("job.etl"));
  session.Form().cmdLoadDataLinks_Click();
  camera.Take(session.Window(), "package");
  session.Form().tabDataInfo.Tab.Set(1);
  camera.Take(session.Window(), "data-warehouse");
}

void TakePanels(DesktopSession& session, const Camera& camera) {
  auto& list = session.Find<QListWidget>("Data links");
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

void TakeRun(DesktopSession& session, const Camera& camera) {
  session.Form().tabDataInfo.Tab.Set(0);
  session.Form().ctDLlFlatFileOBJ.cbSourceCopyRemData.Value.Set(false);
  session.Form().SetBusy(true);
  session.Form().ShowLogLine("Loading DTS Package : Sales_LoadDW");
  session.Form().ShowLogLine("Loaded DTS Package : Sales_LoadDW");
  session.Form().ShowLogLine("Executing DTS Package : Sales_LoadDW");
  session.Form().ShowStep({"create orders", StepState::Done, 0});
  session.Form().ShowStep({"load orders", StepState::Running, 0});
  QTest::qWait(500);
  session.Form().ShowStep({"load orders", StepState::Running, 1'234'567});
  camera.Take(session.Window(), "run");
  session.Form().ShowLogLine("Executed succesfully ...");
  session.Form().ShowStep({"load orders", StepState::Done, 2'000'000});
  session.Form().ShowVerdict(RunVerdict::Ok);
  session.Form().SetBusy(false);
  camera.Take(session.Window(), "run-ok");
  session.Form().ShowProblem(
      "load orders",
      "S:\\orders.csv, line 2, column 1 (no): \"x\" is not a whole number; it goes into column no "
      "(INTEGER)");
  session.Form().ShowStep({"load orders", StepState::Failed, 0});
  session.Form().ShowVerdict(RunVerdict::Failure);
  camera.Take(session.Window(), "run-failed");
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
  } catch (const std::exception& error) {
    std::fprintf(stderr, "torvik-screenshots: %s\n", error.what());
    return 1;
  }
  return 0;
}
