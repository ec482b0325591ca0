#include "transfer/CopyQuorFiles.h"

#include <gmock/gmock.h>

#include "fakes/FakeAnimateForm.h"
#include "fakes/FakeClock.h"
#include "fakes/FakeFiles.h"
#include "fakes/FakeLogForm.h"
#include "fakes/FakeMessages.h"
#include "fakes/FakeRegistry.h"
#include "fakes/FakeShell.h"
#include "fakes/FakeWinInet.h"
#include "log/RunLog.h"
#include "platform/PlatformError.h"

namespace torvik {
namespace {

using namespace std::chrono_literals;
using testing::ElementsAre;
using testing::Pair;

constexpr const char* kShare = "\\\\files\\in";
constexpr const char* kShareStatus = "\\\\files\\in\\status";

const std::string kPolling = "Polling for Remote Data ...\n",
                  kTimedOut = "Polling for Remote Data Timed out ...\n",
                  kNoConnection = "FTP: Can't open Internet Connection\n",
                  kNoLogin = "Login failed! FTP site doesn't exist or the password is incorrect!";

class RemoteData : public testing::Test {
 protected:
  RemoteData() {
    log_.SetForm(form_);
    internet_.users["etl"] = "pw";
    internet_.files["/in/a"] = "1";
    internet_.files["/in/b"] = "2";
    internet_.directories = {"/in/old"};
  }

  bool PollFtp(std::int16_t interval = 1, std::int16_t duration = 3) {
    return transfer_.PollForRemoteData("/in", "C:/in", interval, duration, {"ftp1", "etl", "pw"});
  }
  bool PollShare() { return transfer_.PollForRemoteData(kShare, "C:/in", 1, 1, {}); }

  /// The log's lines, and how many minutes have passed since the last call.
  std::string Log() {
    std::string text = files_.Text("err.txt");
    files_.texts.erase("err.txt");
    std::erase(text, '\r');
    return text;
  }
  std::int64_t MinutesWaited() {
    const auto waited = clock_.steady - began_;
    began_ = clock_.steady;
    return std::chrono::duration_cast<std::chrono::minutes>(waited).count();
  }
  std::ptrdiff_t Reads() const {
    return std::ranges::count(internet_.calls, "OpenRead /in/status");
  }

  FakeFiles files_;
  FakeClock clock_;
  FakeMessages messages_;
  FakeShell shell_;
  FakeWinInet internet_;
  std::string& status_ = internet_.files["/in/status"];
  FakeLogForm form_;
  RunLog log_{files_, messages_};
  FakeAnimateForms forms_;
  int waits_ = 0;  // how often the transfer was heard of meanwhile
  TransferServices services_{
      internet_, shell_, files_, messages_, [this] { return forms_.New(); }, [this] { ++waits_; }};
  FakeRegistry registry_;
  CopyQuorFiles transfer_{log_, clock_, registry_, services_};
  std::chrono::steady_clock::time_point began_ = clock_.steady;
};

TEST_F(RemoteData, AStatusWordCountsByItsBeginningLetterCaseIncluded) {
  const std::pair<std::string, RemoteStatus> cases[] = {
      {"ready", RemoteStatus::Ready},
      {"ready\r\n", RemoteStatus::Ready},
      {"ready to drink", RemoteStatus::Ready},
      {"readying", RemoteStatus::Ready},
      {"Ready", RemoteStatus::KeepPolling},
      {" ready", RemoteStatus::KeepPolling},
      {"running", RemoteStatus::KeepPolling},
      {"exchange_ready", RemoteStatus::KeepPolling},
      {"idle", RemoteStatus::KeepPolling},
      {"error", RemoteStatus::GiveUp},
      {"stopped", RemoteStatus::GiveUp},
      {"", RemoteStatus::KeepPolling},
      {std::string("r\0e\0a\0d\0y\0", 10), RemoteStatus::KeepPolling}};
  for (const auto& [text, status] : cases) EXPECT_EQ(ParseStatusWord(text), status) << text;
}

TEST_F(RemoteData, AWaitIsHeardOfAndItsEndHasAReason) {
  status_ = "running";
  EXPECT_FALSE(PollFtp(1, 2));
  EXPECT_EQ(waits_, 600);  // a minute
  EXPECT_EQ(transfer_.WhyNot(), "Polling for Remote Data Timed out ...");
  EXPECT_FALSE(PollFtp(5, 12));  // the log has no line about it
  EXPECT_EQ(transfer_.WhyNot(), "its provider's status has not become \"ready\"");
  messages_.onPump = [this] { transfer_.CancelPolling(); };
  EXPECT_FALSE(PollFtp());
  EXPECT_EQ(transfer_.WhyNot(), "the run was to end");
}

TEST_F(RemoteData, ReadyDataIsClaimedAndFetchedAtOnce) {
  status_ = "ready\r\n";
  EXPECT_TRUE(PollFtp());
  EXPECT_EQ(0, MinutesWaited());
  EXPECT_EQ("Polling for Remote Data ...\nCopying Remote Data via FTP\n", Log());
  EXPECT_EQ("idle\r\n", status_);
  EXPECT_THAT(internet_.downloaded, ElementsAre(Pair("C:/in/a", "1"), Pair("C:/in/b", "2"),
                                                Pair("C:/in/status", "idle\r\n")));
  EXPECT_THAT(internet_.calls, testing::Contains("Get /in//a to C:/in/a"));
  EXPECT_EQ(0U, internet_.OpenHandles());
}

/// A run that was killed while it fetched has claimed the data and no more.
TEST_F(RemoteData, AFetchThatWasKilledIsToldOnce) {
  FetchClaims(registry_).Note("ftp://ftp1//in/", "2024-05-01 02:00:00");
  FetchClaims(registry_).Note("ftp://ftp2//in/", "2024-05-01 02:00:00");
  status_ = "idle\r\n";
  EXPECT_FALSE(PollFtp(1, 2));
  const std::string told =
      "Remote data of ftp://ftp1//in/ : claimed by this machine, fetch not finished (2024-05-01 "
      "02:00:00); the provider's status must say \"ready\" again\n";
  EXPECT_EQ("Polling for Remote Data ...\n" + told + "Polling for Remote Data Timed out ...\n",
            Log());
  for (const char* afterwards : {"a fetch", "no fetch"}) {
    status_ = afterwards == std::string("a fetch") ? "ready" : "idle";
    PollFtp(1, 2);
    EXPECT_EQ(std::string::npos, Log().find("not finished")) << afterwards;
  }
}

/// The server may have gone for good.
TEST_F(RemoteData, AClaimThatCannotBeHandedBackIsToldByTheNextPoll) {
  for (const bool isHandedBack : {true, false}) {
    status_ = "ready\r\n";
    internet_.failing["Get "] = {wininet::CannotConnect};
    if (!isHandedBack) internet_.failing["Write ready"] = {wininet::CannotConnect};
    EXPECT_FALSE(PollFtp());
    Log();
    internet_.failing.clear();
    status_ = "idle\r\n";
    PollFtp();
    EXPECT_EQ(Log().find("fetch not finished") == std::string::npos, isHandedBack);
  }
}

TEST_F(RemoteData, IntervalAndDurationLimitTheReads) {
  status_ = "running";
  const struct {
    std::int16_t interval, duration;
    std::ptrdiff_t reads;
    std::int64_t minutes;
    bool hasTimedOut;  ///< Said only when the reads are as many as the minutes.
  } cases[] = {{1, 3, 3, 2, true},
               {5, 60, 12, 55, false},
               {2, 3, 2, 2, false},
               {1, 0, 0, 0, true},
               {5, -1, 0, 0, false},
               {7, 1, 1, 0, true},
               {2, 32767, 16384, 32766, false}};
  for (const auto& c : cases) {
    SCOPED_TRACE(std::to_string(c.interval) + " in " + std::to_string(c.duration));
    internet_.calls.clear();
    if (c.duration == 32767) {
      EXPECT_THROW(PollFtp(c.interval, c.duration), PlatformError) << "the product has 16 bits";
    } else {
      EXPECT_FALSE(PollFtp(c.interval, c.duration));
    }
    EXPECT_EQ(c.reads, Reads());
    EXPECT_EQ(c.minutes, MinutesWaited());
    EXPECT_EQ(c.hasTimedOut, Log().find(kTimedOut) != std::string::npos);
  }
}

TEST_F(RemoteData, WhatTheProviderSaysLaterCountsUnlessThePollIsCancelled) {
  int slices = 0;
  for (const bool isCancelled : {true, false}) {
    status_ = "running";
    slices = 0;
    messages_.onPump = [&] {
      if (++slices != 1000) return;
      if (isCancelled) transfer_.CancelPolling();
      status_ = "ready";
    };
    began_ = clock_.steady;
    EXPECT_EQ(!isCancelled, PollFtp(1, 10));
    EXPECT_NEAR(isCancelled ? 99.5 : 120, (clock_.steady - began_) / 1.0s, 0.11);
    EXPECT_EQ(isCancelled ? "ready" : "idle\r\n", status_);
  }
}

TEST_F(RemoteData, AnFtpServerThatFailsIsToldAndItsDataHandedBack) {
  using namespace wininet;
  const std::string notYet = "FTP: Status file not found yet ... polling\n", error = "Error : ";
  const std::string copying = "Copying Remote Data via FTP\n";
  const struct {
    const char* call;
    FakeWinInet::Failure failure;
    std::string log;
  } cases[] = {
      {"Open Torvik", {12022}, kNoConnection + "The Internet connection is not available\n"},
      {"Connect", {CannotConnect}, kNoConnection + kNoLogin + "\n"},
      {"OpenRead", {ExtendedError, "550"}, notYet + notYet + kTimedOut},
      {"Read", {ConnectionReset}, "FTP: Can't read status file\n"},
      {"SetDirectory",
       {ExtendedError, "550 no"},
       copying + "Error occurred! Remote directory not found on FTP Server\n"},
      {"FindFirst", {NoMoreFiles}, copying + "Remote directory is empty!\n"},
      {"FindFirst", {Timeout}, copying + error + "The request has timed out.\n"},
      {"FindNext", {12033}, copying + error + "Error details not available.\n"},
      {"FindNext",
       {12036},
       copying + error + "The request failed because the handle already exists.\n"},
      {"FindNext",
       {IncorrectPassword},
       copying + error +
           "The request to connect and login to an FTP server could not be completed because the "
           "supplied password is incorrect. \n"},
      {"Get /in//b", {ExtendedError, "451 disk error"}, copying + error + "451 disk error\n"}};
  for (const auto& c : cases) {
    SCOPED_TRACE(c.call);
    const bool isReady = c.log.starts_with(copying);
    status_ = isReady ? "ready" : "running";
    internet_.failing = {{c.call, c.failure}};
    EXPECT_FALSE(PollFtp(1, 2));
    EXPECT_EQ(kPolling + c.log, Log());
    EXPECT_EQ(isReady ? "ready\r\n" : "running", status_);
    EXPECT_EQ(0U, internet_.OpenHandles());
  }
  EXPECT_EQ("1", internet_.downloaded["C:/in/a"]) << "files that came stay";
}

TEST_F(RemoteData, WithoutAnIntervalEventsAreLetInAtEachLook) {
  status_ = "running";
  int looks = 0;
  messages_.onPump = [&] {
    if (++looks == 1000) transfer_.CancelPolling();
  };
  EXPECT_FALSE(PollFtp(0, 1));
  EXPECT_EQ(0, MinutesWaited());
  EXPECT_NEAR(1000, Reads(), 10);
}

TEST_F(RemoteData, WhatFailsUnexpectedlyIsToldAndTheDataHandedBack) {
  const struct {
    std::string behind;  // the log's end when it fails
    std::string told;
    bool leaves;
  } cases[] = {{"Copying Remote Data via FTP\n", "Unexpected error occurred!no thread\n", false},
               {"Copying Remote Data via FTP\n", "", true}};
  for (const auto& c : cases) {
    status_ = "ready";
    // Events are let in behind each line, and before the first file.
    int pumps = c.leaves ? 1 : 2;
    messages_.onPump = [&] {
      std::string text = files_.Text("err.txt");
      std::erase(text, '\r');
      if (!text.ends_with(c.behind) || --pumps != 0) return;
      throw std::runtime_error("no thread");
    };
    if (c.leaves)
      EXPECT_THROW(PollFtp(), std::runtime_error);
    else
      EXPECT_FALSE(PollFtp());
    EXPECT_EQ("ready\r\n", status_);
    EXPECT_EQ(kPolling + c.behind + c.told, Log());
    EXPECT_EQ(0U, internet_.OpenHandles());
  }
  messages_.onPump = nullptr;
}

TEST_F(RemoteData, AShareIsCopiedAndItsErrorsAreToldInBoxes) {
  const std::string copying = "Copying Remote Data from Share\n";
  const std::string notYet = "COPY: Status file not found yet ... polling\n";
  using Boxes = std::vector<FakeMessages::ShownBox>;
  const FakeMessages::ShownBox incomplete{"Couldn't copy all files", "Torvik", BoxIcon::None},
      noDirectory{"Dir doesn't exist : \\\\files\\in\\", "Torvik", BoxIcon::None},
      noPath{"Path not found : \\\\files\\in\\", "Check Ready to Copy data from Share",
             BoxIcon::Critical},
      noRights{"no rights", "CopyReadyToCopy", BoxIcon::Critical};
  const struct {
    ShareResult read;
    bool isThere;
    int copyResult;
    std::string log;
    Boxes boxes;
  } cases[] = {
      {{}, true, 0, copying, {}},
      {{}, true, 5, copying, {incomplete}},
      {{}, false, 3, copying, {noDirectory, incomplete}},
      {{ShareError::FileNotFound, ""}, true, 0, notYet + kTimedOut, {}},
      {{ShareError::PathNotFound, ""}, true, 0, "Error: Path not found yet ... \n", {noPath}},
      {{ShareError::Other, "no rights"}, true, 0, "", {noRights}}};
  for (const auto& c : cases) {
    SCOPED_TRACE(c.log + std::to_string(c.copyResult));
    messages_.boxes.clear();
    messages_.reports.clear();
    shell_.copyFailure = "in/a.csv: the disk is full";
    shell_.calls.clear();
    shell_.texts[kShareStatus] = "ready\r\nmore";
    shell_.directories.clear();
    if (c.isThere) shell_.directories = {kShare, std::string(kShare) + "\\", "C:/in"};
    if (c.read.error != ShareError::None) shell_.failing[kShareStatus] = c.read;
    shell_.copyResult = c.copyResult;
    EXPECT_EQ(c.log == copying && c.copyResult == 0, PollShare());
    EXPECT_EQ(kPolling + c.log, Log());
    EXPECT_EQ(c.boxes, messages_.boxes);
    const bool hasReason = std::ranges::count(messages_.reports, shell_.copyFailure) == 1;
    EXPECT_EQ(c.copyResult != 0, hasReason) << "the reason is told beside the box";
    if (c.log != copying) continue;
    EXPECT_EQ("idle\r\n\r\n", shell_.texts[kShareStatus]);
    EXPECT_THAT(shell_.calls, testing::Contains("Copy \\\\files\\in\\*.* to C:/in, flags 1172"));
  }
  EXPECT_TRUE(files_.directories.contains("C:/in")) << "made when it is missing";
}

TEST_F(RemoteData, StopEndsACopyFromAShareAndNotItsHandingBack) {
  shell_.texts[kShareStatus] = "ready";
  shell_.directories = {std::string(kShare) + "\\", "C:/in"};
  shell_.onCopy = [this] {
    transfer_.HeedStop();
    transfer_.Stop();
    transfer_.HeedStop();
  };
  EXPECT_FALSE(PollShare());
  EXPECT_EQ(Log(), kPolling + "Copying Remote Data from Share\n");
  EXPECT_TRUE(messages_.boxes.empty()) << "an operator's stop is no failure";
  EXPECT_TRUE(shell_.calls.back().starts_with("Write ")) << "its provider's status";
  EXPECT_NO_THROW(transfer_.HeedStop());
}

TEST_F(RemoteData, TheDialogShowsWhatIsCopiedAndItsCancelIsAskedBetweenFiles) {
  status_ = "ready";
  EXPECT_TRUE(PollFtp());
  const std::string details = "Details Please wait..... Transfering remote data with FTP";
  EXPECT_THAT(forms_.calls,
              ElementsAre("Hide", "Caption Copying", details, "Cancel 1", "Bar 1", "Percent 0",
                          "Every 25", "Show", "Clip 1", details + "\r\na to C:/in",
                          details + "\r\nb to C:/in", details + "\r\nstatus to C:/in", "Stop",
                          "Timer 0", "Stop", "Timer 0", "Clip 0", "Hide", "Gone"));
  status_ = "ready";
  internet_.downloaded.clear();
  messages_.onPump = [&] {
    if (internet_.downloaded.contains("C:/in/a") && forms_.current) forms_.current->Cancelled();
  };
  EXPECT_FALSE(PollFtp());
  EXPECT_EQ(1U, internet_.downloaded.size());
  EXPECT_EQ("ready\r\n", status_);
}

TEST_F(RemoteData, TheRightsTestTellsTheFirstMissingRight) {
  FtpFuncModule ftp(log_, services_);
  status_ = "idle";
  EXPECT_TRUE(ftp.FtpCheckRights("ftp1", "status", "/in", "etl", "pw"));
  EXPECT_FALSE(internet_.files.contains("/in/statustest"));
  EXPECT_THAT(messages_.boxes, testing::IsEmpty());
  internet_.readOnly = {"/in"};
  const struct {
    const char *directory, *password, *text;
  } cases[] = {
      {"/in", "wrong", kNoLogin.c_str()},
      {"/out", "pw",
       "Error occurred! The user doesn't have read rights or file 'status' doesn't exist!"},
      {"/in", "pw", "Error occurred! The user doesn't have write rights!"}};
  for (const auto& c : cases) {
    messages_.boxes.clear();
    EXPECT_FALSE(ftp.FtpCheckRights("ftp1", "status", c.directory, "etl", c.password));
    EXPECT_THAT(messages_.boxes,
                ElementsAre(FakeMessages::ShownBox{c.text, "FTP Check", BoxIcon::Exclamation}));
  }
  EXPECT_EQ(0U, internet_.OpenHandles());
}

}  // namespace
}  // namespace torvik
