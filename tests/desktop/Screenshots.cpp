// Draws the windows for the operator's guide:
//   torvik-screenshots DIRECTORY [light|dark [WIDTHxHEIGHT]]
// With a size, in a window of so many pixels, and with runs in every state.

#include <QApplication>
#include <QSettings>
#include <QTabWidget>
#include <QTableWidget>
#include <QTest>
#include <QTreeWidget>
#include <cstdio>
#include <filesystem>
#include <stdexcept>

#include "desktop/Camera.h"
#include "desktop/DesktopSession.h"
#include "desktop/RunScreenshots.h"
#include "ui/qt/controls/Theme.h"

using namespace torvik;

namespace {

void TakeForm(DesktopSession& session, const Camera& camera) {
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

void TakePreview(DesktopSession& session, const Camera& camera) {
  session.Files().WriteFile("in/orders.csv",
                            "order_no;customer;sold_on;amount\n"
                            "4711;Weber & S\u00f6hne;2026-11-02;1280.50\n"
                            "4712;\"Muller; Partner\";2026-11-02;99.00\n"
                            "4713;Duval;2026-11-03;415.75\n");
  session.Files().WriteFile("in/returns.csv", "order_no;reason\n");
  auto& list = session.Find<QTreeWidget>("Data links");
  list.setCurrentItem(list.findItems("orders", Qt::MatchExactly).value(0));
  auto& pages = session.Find<QTabWidget>("Pages of the data link");
  pages.setCurrentIndex(1);
  auto& table = session.Find<QTableWidget>("Preview of the data link");
  if (!QTest::qWaitFor([&] { return table.isVisible() && table.rowCount() > 0; }, 10'000))
    throw std::runtime_error("there is no preview");
  camera.Take(session.Window(), "preview");
  pages.setCurrentIndex(0);
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
}

/// The size "1280x720", in the display's pixels, as the window's own; invalid for an empty text.
QSize WindowSize(const QString& text) {
  const QStringList numbers = text.split('x');
  if (numbers.size() != 2) return {};
  return QSize(numbers[0].toInt(), numbers[1].toInt()) / qApp->devicePixelRatio();
}

/// In the window's natural size, or in the one that is given, then with runs in every state.
void TakeAll(DesktopSession& session, const Camera& camera, const QSize& size) {
  const auto start = [&] {
    session.Start("");
    if (size.isValid()) session.Window().resize(size);
  };
  start();
  TakeForm(session, camera);
  TakePanels(session, camera);
  TakePreview(session, camera);
  start();
  session.Form().OpenJobFile(session.Files().PathOf("job.etl"));
  TakeRuns(session, camera, size.isValid());
  TakeDialogs(session, camera);
  start();
  camera.Take(session.Window(), "start");
}

}  // namespace

int main(int argc, char** argv) {
  if (argc < 2) {
    std::fprintf(stderr, "usage: torvik-screenshots DIRECTORY [light|dark [WIDTHxHEIGHT]]\n");
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
    TakeAll(session, camera, WindowSize(argc > 3 ? argv[3] : ""));
  } catch (const std::exception& error) {
    std::fprintf(stderr, "torvik-screenshots: %s\n", error.what());
    return 1;
  }
  return 0;
}
