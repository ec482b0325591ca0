// An operator who watches how the data of a data link is fetched before the steps of a run.

#include <gmock/gmock.h>
#include <sys/stat.h>
#include <unistd.h>

#include <QElapsedTimer>
#include <QGraphicsItem>
#include <QGraphicsView>
#include <QLabel>
#include <QPlainTextEdit>
#include <QTest>
#include <QTimer>
#include <functional>
#include <set>

#include "desktop/WindowTest.h"
#include "platform/Ado.h"
#include "servers/FtpPeer.h"
#include "servers/PrivateServer.h"

namespace torvik {
namespace {

using testing::AllOf;
using testing::Contains;
using testing::HasSubstr;
using testing::MatchesRegex;
using testing::Not;
using testing::StartsWith;

/// For a server that sends so many kB a second.
constexpr const char* kSlowly = "TransferRate RETR 400\n";

class FetchPagesTest : public WindowTest {
 protected:
  /// Opens the form, which knows how to log on to the server.
  void UseFtp(const auto& ftp, const std::string& password) {
    session_.Files().AddSettings(
        "[ftp]\nport = " + std::to_string(ftp.Port()) +
        "\n[ftp 127.0.0.1]\nuser = torvik\npassword_file = " + Path("ftp-password") + "\n");
    session_.Files().WriteFile("ftp-password", password + "\n");
    chmod(Path("ftp-password").c_str(), 0600);
    Open();
  }

  /// What sessions call the server's directory "out": only root can move them to another root.
  static std::string DirectoryOf(const PrivateServer& ftp) {
    return geteuid() == 0 ? "/out" : ftp.PathOf("out");
  }

  /// Executes the job, and stops it by the button as soon as it is time.
  void StopAsSoonAs(const std::function<bool()>& isTime) {
    std::string question;
    QTimer timer;
    QObject::connect(&timer, &QTimer::timeout, &session_.Window(), [&] {
      if (!isTime()) return;
      timer.stop();
      AnswerNext(question, "Stop");
      Click("Stop");
    });
    timer.start(10);
    Click("Execute");
    EXPECT_NE(question, "");
    EXPECT_TRUE(IsShown("Failed"));
  }

  /// Has the files of the link "orders" fetched.
  void Link(bool byFtp, const std::string& directory) {
    const auto warehouse = session_.Files().Connect("DW");
    warehouse->Execute(
        "UPDATE dwm_data_link SET transfer_data = " + std::string(byFtp ? "1" : "2") +
        ", ftp_server = '127.0.0.1', remote_directory = '" + directory + "', ds_directory = '" +
        Path("in") + "', poll_interval = 1, poll_duration = 1 WHERE source_name = 'orders'");
    session_.Form().mnuFileNew_Click();
    session_.Form().OpenJobFile(Path("job.etl"));
  }
};

TEST_F(FetchPagesTest, WhatIsFetchedShowsFilesAndBytesWhileItComes) {
  const PrivateServer ftp("private-ftp", kSlowly);
  ftp.Write("out/big.csv", std::string(300'000, 'x'));
  session_.Files().WriteFile("share/small.csv", "y");
  UseFtp(ftp, ftp.Password());
  auto& state = session_.Find<QLabel>("State of the step");
  auto& text = session_.Find<QPlainTextEdit>("What the step does");
  auto& time = session_.Find<QLabel>("Time of the run");
  const struct {
    bool byFtp;
    std::string directory, file, figures;
    bool isSeenOnItsWay;
  } cases[] = {{true, DirectoryOf(ftp), "big.csv", "2 files, 300.0 kB", true},
               {false, Path("share") + "/", "small.csv", "2 files, 9 bytes", false}};
  for (const auto& c : cases) {
    Link(c.byFtp, c.directory);
    ftp.Write("out/status", "ready\n");
    session_.Files().WriteFile("share/status", "ready");
    QStringList seen;
    QTimer timer;
    QObject::connect(&timer, &QTimer::timeout, &session_.Window(), [&] {
      if (state.isVisible() && state.text().contains("running") &&
          text.toPlainText().contains("big.csv"))
        seen << time.text() + " " + text.toPlainText();
    });
    timer.start(20);
    Click("Execute");
    EXPECT_TRUE(IsShown("Succeeded")) << session_.Files().ReadFile("err.txt");
    if (c.isSeenOnItsWay) {
      ASSERT_FALSE(seen.isEmpty());
      EXPECT_THAT(seen.back().toStdString(),
                  AllOf(HasSubstr("fetching orders: "), HasSubstr(" kB"), HasSubstr(c.file)));
    }
    // Afterwards it stands first in the time line.
    auto& timeLine = session_.Find<QWidget>("Time line of the steps");
    const int row = timeLine.fontMetrics().height() + 4;
    QTest::mouseClick(&timeLine, Qt::LeftButton, {}, {20, 2 * row + row / 2});
    EXPECT_THAT(state.text().toStdString(), HasSubstr("ExecuteSQL")) << "the second one";
    QTest::keyClick(&timeLine, Qt::Key_Up);
    EXPECT_THAT(state.text().toStdString(), HasSubstr("done\n" + c.figures));
    EXPECT_THAT(text.toPlainText().toStdString(),
                AllOf(HasSubstr(c.directory), HasSubstr("to   " + Path("in"))));
  }
}

TEST_F(FetchPagesTest, AStepThatFetchesShowsFilesAndBytesWhileTheyCome) {
  const PrivateServer ftp("private-ftp", kSlowly);
  for (const char* file : {"out/a.csv", "out/b.csv"}) ftp.Write(file, std::string(200'000, 'x'));
  session_.Files().WriteFile("in/a.csv", "old");
  session_.Files().PutPackage("Sales_LoadDW",
                              "[[steps]]\nname = 'fetch'\ntask = 'FetchFiles'\n"
                              "server = '127.0.0.1'\ndirectory = '" +
                                  DirectoryOf(ftp) + "'\nfiles = ['*.csv']\ndestination = '" +
                                  Path("in") + "'\n");
  UseFtp(ftp, ftp.Password());
  const auto box = [this] {
    for (const QGraphicsItem* item : session_.Find<QGraphicsView>("Steps").scene()->items())
      if (!item->toolTip().isEmpty()) return item->toolTip().toStdString();
    return std::string();
  };
  std::set<std::string> seen;
  QTimer timer;
  QObject::connect(&timer, &QTimer::timeout, &session_.Window(), [&] { seen.insert(box()); });
  timer.start(20);
  Click("Execute");
  EXPECT_TRUE(IsShown("Succeeded")) << session_.Files().ReadFile("err.txt");
  EXPECT_THAT(box(), StartsWith("fetch\ndone, 2 files, 400.0 kB, "));
  EXPECT_THAT(seen, Contains(MatchesRegex("fetch\nrunning, 0 files, [0-9.]+ kB")));
}

TEST_F(FetchPagesTest, StopEndsAFetchWithinAFileAndTheRunWithIt) {
  const PrivateServer ftp("private-ftp", kSlowly);
  for (const char* file : {"out/a.csv", "out/b.csv"}) ftp.Write(file, std::string(2'000'000, 'x'));
  ftp.Write("out/status", "ready\n");
  UseFtp(ftp, ftp.Password());
  Link(true, DirectoryOf(ftp));
  StopAsSoonAs([&] {
    const auto& fetches = session_.Form().Monitor.Fetches();
    return !fetches.empty() && fetches[0].bytes > 0 && !fetches[0].file.ends_with("status");
  });
  EXPECT_THAT(session_.Files().ReadFile("err.txt"),
              AllOf(HasSubstr("Stopped by the operator\r\n"), Not(HasSubstr("Executing")),
                    Not(HasSubstr("rror"))));
  EXPECT_LE(session_.Form().Monitor.Fetches()[0].files, 1) << "of three";
  EXPECT_THAT(ftp.Read("out/status"), StartsWith("ready")) << "it is handed back";
}

TEST_F(FetchPagesTest, AServerThatFallsSilentNeitherFreezesTheWindowNorKeepsARunFromStopping) {
  FtpPeer peer(
      "when RETR|reply 150 here it is|data ready|end|reply 226 sent|"
      "when LIST|reply 150 here they are|names 1|end|reply 226 sent|"
      "when RETR|reply 150 here it is|data 123|hang");
  UseFtp(peer, "any");
  Link(true, "/out");
  QElapsedTimer since;
  since.start();
  StopAsSoonAs([&] { return since.elapsed() > 1000; });
  EXPECT_THAT(session_.Files().ReadFile("err.txt"), HasSubstr("Stopped by the operator\r\n"));
  EXPECT_THAT(peer.Commands(), Contains(StartsWith("STOR"))) << "it is handed back";
}

}  // namespace
}  // namespace torvik
