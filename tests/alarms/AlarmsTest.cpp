#include "alarms/Alarms.h"

#include <gmock/gmock.h>

#include <thread>

#include "alarms/JobMetrics.h"
#include "fakes/FakeClock.h"
#include "fakes/FakeFiles.h"
#include "fakes/FakeLocks.h"
#include "fakes/FakeMailer.h"
#include "fakes/FakePinger.h"
#include "fakes/FakeProcesses.h"
#include "fakes/FakeRunHistory.h"
#include "fakes/NoThreads.h"
#include "platform/linux/text/IconvCodePages.h"

namespace torvik {
namespace {

using testing::ElementsAre;
using testing::EndsWith;
using testing::HasSubstr;
using testing::IsEmpty;

constexpr const char* kJob = "/jobs/sales.etl";

struct AlarmsTest : testing::Test {
  AlarmsTest() {
    settings.monitor[""] = {"/metrics", "http://x"};
    settings.notify[""] = {"a@example.com", {"page"}, NotifyOn::Change};
    processes.exit = {true, 0, ""};
    files.Put("/metrics/other.prom", "");
  }

  std::int64_t Ended(RunOutcome outcome) {
    RunRecord run;
    run.job = kJob;
    run.outcome = outcome;
    run.begin = clock.now;
    run.failedStep = outcome == RunOutcome::Failure ? "load" : "";
    run.logFile = "/err.txt";
    history.Write(run);
    return run.id;
  }

  AlarmReport Raise(std::chrono::milliseconds limit = Alarms::kLimit) {
    return Alarms(settings, Services(), "/state/alarms", limit).RaiseDue();
  }
  AlarmServices Services() {
    return {history, files, codePages->Ansi(), locks, clock, mailer, pinger, processes};
  }

  static PlatformError Failure(bool isTransient) {
    PlatformError failure(0, "no\nway", "test");
    failure.isTransient = isTransient;
    return failure;
  }

  AlarmSettings settings;
  FakeRunHistory history;
  FakeFiles files;
  FakeLocks locks;
  FakeClock clock;
  FakeMailer mailer;
  FakePinger pinger;
  FakeProcesses processes;
  std::unique_ptr<CodePages> codePages = NewIconvCodePages("windows-1252");
};

TEST_F(AlarmsTest, EachRunIsAnnouncedOnce) {
  Ended(RunOutcome::Ok);
  Ended(RunOutcome::Lost);
  std::string log;
  for (int i = 0; i < 5000; ++i) log += "line " + std::to_string(i) + "\r\n";
  files.Put("/err.txt", log);
  const AlarmReport report = Raise();
  EXPECT_EQ(report.runs, 2u);
  EXPECT_THAT(report.problems, IsEmpty());
  EXPECT_THAT(pinger.calls,
              ElementsAre("fail http://x: the run ended without a verdict: its process is gone"));
  ASSERT_EQ(mailer.messages.size(), 1u);
  EXPECT_THAT(mailer.messages[0].text, HasSubstr("torvik-admin history show 2\n"));
  EXPECT_THAT(mailer.messages[0].text, EndsWith(log.substr(log.find("\nline 4980"))));
  EXPECT_THAT(processes.requests.at(0).input, HasSubstr("\"outcome\":\"lost\""));
  EXPECT_THAT(files.Text("/metrics/" + MetricsFileName(kJob)), HasSubstr("_failures{"));

  EXPECT_EQ(Raise().runs, 0u);
  EXPECT_EQ(mailer.messages.size() + pinger.calls.size() + processes.requests.size(), 3u);
  Ended(RunOutcome::Ok);
  Raise();
  EXPECT_EQ(pinger.calls.back(), "success http://x");
  EXPECT_THAT(mailer.messages.back().text, HasSubstr("after 1 run that failed"));
}

TEST_F(AlarmsTest, WhatFailsIsToldInALineAndAloneTriedAgain) {
  Ended(RunOutcome::Failure);
  mailer.failure = Failure(true);
  processes.exit.exitCode = 3;
  processes.output = "the pager is off";
  pinger.failures.assign(9, Failure(false));
  files.Fail("/metrics/" + MetricsFileName(kJob));
  const AlarmReport report = Raise();
  EXPECT_EQ(report.runs, 0u);
  EXPECT_THAT(report.problems,
              ElementsAre(HasSubstr("metrics cannot be written"),
                          HasSubstr("no monitoring service was told of the run 1 of sales: no way"),
                          HasSubstr("the mail about the run 1 of sales is not sent: no way; "),
                          HasSubstr("page, started for the run 1 of sales, ended with the exit "
                                    "code 3: the pager is off; ")));
  processes.exit.exitCode = 0;
  files.failing.clear();
  EXPECT_THAT(Raise().problems, ElementsAre(HasSubstr("the mail about")));
  mailer.failure.reset();
  EXPECT_THAT(Raise().problems, IsEmpty());
  EXPECT_EQ(processes.requests.size(), 2u) << "it had ended well";
  EXPECT_EQ(pinger.calls.size(), 1u) << "a service misses calls by itself";
  EXPECT_EQ(mailer.messages.size(), 1u);
}

TEST_F(AlarmsTest, ACallThatMayPassIsTriedThreeTimes) {
  settings.notify.clear();
  const struct {
    int failures;
    bool areTransient;
    std::size_t calls, problems;
  } cases[] = {{1, true, 2, 0}, {2, true, 3, 0}, {3, true, 3, 1}, {1, false, 1, 1}};
  for (const auto& c : cases) {
    pinger.calls.clear();
    pinger.failures.assign(static_cast<std::size_t>(c.failures), Failure(c.areTransient));
    Ended(RunOutcome::Ok);
    EXPECT_EQ(Raise().problems.size(), c.problems) << c.failures;
    EXPECT_EQ(pinger.calls.size(), c.calls) << c.failures;
  }
}

/// Ends when the time is up.
struct HangingMailer final : Mailer {
  std::string Send(const MailMessage&, const MailServer&,
                   const std::atomic<bool>& cancelled) override {
    while (!cancelled) std::this_thread::sleep_for(std::chrono::milliseconds(1));
    throw PlatformError(0, "given up", "test");
  }
};

TEST_F(AlarmsTest, WhatHangsIsGivenUpAndKeepsNothingElseBack) {
  Ended(RunOutcome::Failure);
  HangingMailer hanging;
  AlarmServices services = Services();
  AlarmServices others{services.history, services.files, services.ansi,  services.locks,
                       services.clock,   hanging,        services.pings, services.processes};
  Alarms alarms(settings, others, "/state/alarms", std::chrono::milliseconds(50));
  EXPECT_THAT(alarms.RaiseDue().problems, ElementsAre(HasSubstr("given up")));
  EXPECT_EQ(pinger.calls.size() + processes.requests.size(), 2u);
  EXPECT_EQ(history.runs[0].alarms, kServiceCalled | kProgramEnded);
}

TEST_F(AlarmsTest, ProcessesTakeTurns) {
  Ended(RunOutcome::Failure);
  locks.othersNames = {"/state/alarms"};
  EXPECT_THAT(Raise().problems, ElementsAre(HasSubstr("another process")));
  EXPECT_EQ(clock.steady.time_since_epoch(), std::chrono::seconds(30));
  EXPECT_THAT(mailer.messages, IsEmpty());
  EXPECT_EQ(history.runs[0].alarms, 0);
}

TEST_F(AlarmsTest, TheStartIsToldBesideTheRun) {
  {
    Alarms alarms(settings, Services(), "/state/alarms");
    alarms.TellStart(kJob);
    Ended(RunOutcome::Ok);
    alarms.RaiseDue();
  }
  EXPECT_THAT(pinger.calls, ElementsAre("start http://x", "success http://x"));
}

TEST_F(AlarmsTest, WithoutThreadsTheEndIsToldAllTheSame) {
  Alarms alarms(settings, Services(), "/state/alarms");
  Ended(RunOutcome::Failure);
  AlarmReport report;
  {
    const NoThreads none;
    alarms.TellStart(kJob);
    report = alarms.RaiseDue();
  }
  EXPECT_THAT(report.problems, IsEmpty());
  EXPECT_EQ(pinger.calls.size() + mailer.messages.size() + processes.requests.size(), 3u);
}

TEST_F(AlarmsTest, AFullDiskKeepsNobodyFromBeingCalled) {
  RunRecord own;
  own.job = kJob;
  own.outcome = RunOutcome::Failure;
  own.begin = clock.now;
  own.error = "no space left";
  const auto raise = [&] { return Alarms(settings, Services(), "/state/alarms").RaiseDue(own); };
  raise();
  ASSERT_EQ(mailer.messages.size(), 1u) << "it is not in the history";
  EXPECT_THAT(mailer.messages[0].text, HasSubstr("The history could not be written"));
  history.unreadable = true;
  EXPECT_THAT(raise().problems, testing::Contains(HasSubstr("the history: ")));
  EXPECT_EQ(mailer.messages.size(), 2u);
  history.unreadable = false;
  own.id = Ended(RunOutcome::Running);
  raise();
  EXPECT_EQ(mailer.messages.size(), 3u) << "the history lacks its end";
  EXPECT_EQ(history.runs[0].alarms, kAllAlarms);
  own.outcome = RunOutcome::Running;
  raise();
  own.outcome = RunOutcome::Failure;
  history.runs[0].outcome = RunOutcome::Failure;
  raise();
  EXPECT_EQ(mailer.messages.size(), 3u);
}

TEST_F(AlarmsTest, WithoutSettingsTheHistoryIsLeftAlone) {
  settings = {};
  Ended(RunOutcome::Failure);
  EXPECT_EQ(Raise().runs, 0u);
  EXPECT_EQ(history.runs[0].alarms, 0);
}

}  // namespace
}  // namespace torvik
