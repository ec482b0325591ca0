#include "transfer/CopyQuorFiles.h"

#include <gmock/gmock.h>

#include "fakes/FakeAnimateForm.h"
#include "fakes/FakeClock.h"
#include "fakes/FakeFiles.h"
#include "fakes/FakeLogForm.h"
#include "fakes/FakeMessages.h"
#include "fakes/FakeShell.h"
#include "fakes/FakeWinInet.h"
#include "platform/PlatformError.h"
#include "startup/ExecTask.h"

namespace torvik {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;

constexpr const char* kShare = "\\\\files\\in";
constexpr const char* kShareStatus = "\\\\files\\in\\status";

class RemoteData : public testing::Test {
 protected:
  RemoteData() {
    log_.SetForm(form_);
    internet_.users["etl"] = "pw";
    shell_.directories = {kShare, std::string(kShare) + "\\", "C:/in"};
  }

  bool PollFtp(std::int16_t interval = 1, std::int16_t duration = 3,
               const std::string& directory = "/in") {
    return transfer_.PollForRemoteData(directory, "C:/in", interval, duration,
                                       {"ftp1", "etl", "pw"});
  }
  bool PollShare(std::int16_t interval = 1, std::int16_t duration = 3) {
    return transfer_.PollForRemoteData(kShare, "C:/in", interval, duration, {});
  }

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
  FakeLogForm form_;
  RunLog log_{files_, messages_};
  FakeAnimateForms forms_;
  TransferServices services_{internet_, shell_, files_, messages_, [this] { return forms_.New(); }};
  CopyQuorFiles transfer_{log_, clock_, services_};
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

TEST_F(RemoteData, ReadyDataIsClaimedAndFetchedAtOnce) {
  internet_.files = {{"/in/a.csv", "1"}, {"/in/b.csv", "2"}, {"/in/status", "ready\r\n"}};
  internet_.directories = {"/in/old"};
  EXPECT_TRUE(PollFtp());
  EXPECT_EQ(0, MinutesWaited());
  EXPECT_EQ("Polling for Remote Data ...\nCopying Remote Data via FTP\n", Log());
  EXPECT_EQ("idle\r\n", internet_.files["/in/status"]);
  EXPECT_EQ("1", internet_.downloaded["C:/in/a.csv"]);
  EXPECT_EQ("2", internet_.downloaded["C:/in/b.csv"]);
  EXPECT_THAT(internet_.calls, testing::Contains("Get /in//a.csv to C:/in/a.csv"));
  EXPECT_THAT(internet_.calls, testing::Not(testing::Contains(HasSubstr("old"))));
  EXPECT_EQ(0U, internet_.OpenHandles());

  shell_.texts[kShareStatus] = "ready\r\nmore";
  EXPECT_TRUE(PollShare());
  EXPECT_EQ("Polling for Remote Data ...\nCopying Remote Data from Share\n", Log());
  EXPECT_EQ("idle\r\n\r\n", shell_.texts[kShareStatus]);
  EXPECT_THAT(shell_.calls, testing::Contains("Copy \\\\files\\in\\*.* to C:/in, flags 1172"));
}

TEST_F(RemoteData, AFailedCopyHandsTheDataBackOverFtpAndNotOnAShare) {
  internet_.files = {{"/in/a", "1"}, {"/in/b", "2"}, {"/in/status", "ready"}};
  internet_.failing["Get /in//b"] = {wininet::ExtendedError, "451 disk error"};
  EXPECT_FALSE(PollFtp());
  EXPECT_THAT(Log(), HasSubstr("Error : 451 disk error\n"));
  EXPECT_EQ("ready\r\n", internet_.files["/in/status"]);
  EXPECT_EQ("1", internet_.downloaded["C:/in/a"]) << "files that came stay";
  EXPECT_EQ(0U, internet_.OpenHandles());

  shell_.texts[kShareStatus] = "ready";
  shell_.copyResult = 5;
  EXPECT_FALSE(PollShare());
  EXPECT_EQ("idle\r\n\r\n", shell_.texts[kShareStatus]);
  EXPECT_THAT(messages_.boxes, ElementsAre(FakeMessages::ShownBox{"Couldn't copy all files",
                                                                  "Torvik", BoxIcon::None}));
}

TEST_F(RemoteData, IntervalAndDurationLimitTheReads) {
  internet_.files["/in/status"] = "running";
  const struct {
    std::int16_t interval, duration;
    std::ptrdiff_t reads;
    std::int64_t minutes;
    bool hasTimedOut;  ///< Said only when the reads are as many as the minutes.
  } cases[] = {{1, 3, 3, 3, true},
               {5, 60, 12, 60, false},
               {2, 3, 2, 4, false},
               {1, 0, 0, 0, true},
               {5, -1, 0, 0, false},
               {7, 1, 1, 7, true},
               {2, 32767, 16384, 32768, false}};
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
    EXPECT_EQ(c.hasTimedOut,
              Log().find("Polling for Remote Data Timed out ...") != std::string::npos);
  }
}

TEST_F(RemoteData, WhatTheProviderSaysLaterCounts) {
  internet_.files["/in/status"] = "running";
  int slices = 0;
  messages_.onPump = [&] {
    if (++slices == 1000) internet_.files["/in/status"] = "ready";
  };
  internet_.files["/in/a"] = "1";
  EXPECT_TRUE(PollFtp(1, 10));
  EXPECT_EQ(2, MinutesWaited());
}

TEST_F(RemoteData, ACancelEndsAWaitWithinASliceAndNothingIsCopied) {
  internet_.files["/in/status"] = "running";
  int slices = 0;
  messages_.onPump = [&] {
    if (++slices == 20) transfer_.CancelPolling(), internet_.files["/in/status"] = "ready";
  };
  EXPECT_FALSE(PollFtp(5, 60));
  EXPECT_LE(clock_.steady - began_, std::chrono::milliseconds(1900));
  EXPECT_EQ("ready", internet_.files["/in/status"]);
  messages_.onPump = {};
  internet_.files["/in/a"] = "1";
  EXPECT_TRUE(PollFtp()) << "a new poll begins uncancelled";
}

TEST_F(RemoteData, AReadThatFailsSaysWhyAndGivesUpOrGoesOn) {
  using Failure = FakeWinInet::Failure;
  const std::string polling = "Polling for Remote Data ...\n";
  const struct {
    const char* call;
    Failure failure;
    std::string log;
    std::ptrdiff_t reads;
  } cases[] = {
      {"Open Torvik",
       {12022},
       "FTP: Can't open Internet Connection\n"
       "The Internet connection is not available\n",
       0},
      {"Connect",
       {wininet::CannotConnect},
       "FTP: Can't open Internet Connection\n"
       "Login failed! FTP site doesn't exist or the password is incorrect!\n",
       0},
      {"OpenRead",
       {wininet::ExtendedError, "550 no"},
       "FTP: Status file not found yet ... polling\n"
       "FTP: Status file not found yet ... polling\nPolling for Remote Data Timed out ...\n",
       2},
      {"Read", {wininet::ConnectionReset}, "FTP: Can't read status file\n", 1}};
  for (const auto& c : cases) {
    SCOPED_TRACE(c.call);
    internet_.files["/in/status"] = "running";
    internet_.calls.clear();
    internet_.failing = {{c.call, c.failure}};
    EXPECT_FALSE(PollFtp(1, 2));
    EXPECT_EQ(polling + c.log, Log());
    EXPECT_EQ(c.reads, Reads());
    EXPECT_EQ(0U, internet_.OpenHandles());
  }
  const struct {
    ShareResult result;
    std::string log;
    std::vector<FakeMessages::ShownBox> boxes;
  } shares[] = {
      {{ShareError::FileNotFound, ""},
       "COPY: Status file not found yet ... polling\nPolling for Remote Data Timed out ...\n",
       {}},
      {{ShareError::PathNotFound, ""},
       "Error: Path not found yet ... \n",
       {{"Path not found : \\\\files\\in\\", "Check Ready to Copy data from Share",
         BoxIcon::Critical}}},
      {{ShareError::Other, "no rights"},
       "",
       {{"no rights", "CopyReadyToCopy", BoxIcon::Critical}}}};
  for (const auto& c : shares) {
    shell_.failing[kShareStatus] = c.result;
    messages_.boxes.clear();
    EXPECT_FALSE(PollShare(1, 1));
    EXPECT_EQ(polling + c.log, Log());
    EXPECT_EQ(c.boxes, messages_.boxes);
  }
}

TEST_F(RemoteData, TheDialogShowsWhatIsCopiedAndItsCancelIsAskedBetweenFiles) {
  internet_.files = {{"/in/a", "1"}, {"/in/b", "2"}, {"/in/status", "ready"}};
  EXPECT_TRUE(PollFtp());
  const std::string details = "Details Please wait..... Transfering remote data with FTP";
  EXPECT_THAT(forms_.calls,
              ElementsAre("Hide", "Caption Copying", details, "Cancel 1", "Bar 1", "Percent 0",
                          "Every 25", "Show", "Clip 1", details + "\r\na to C:/in",
                          details + "\r\nb to C:/in", details + "\r\nstatus to C:/in", "Stop",
                          "Timer 0", "Stop", "Timer 0", "Clip 0", "Hide", "Gone"));
  internet_.files["/in/status"] = "ready";
  internet_.downloaded.clear();
  messages_.onPump = [&] {
    if (internet_.downloaded.contains("C:/in/a") && forms_.current) forms_.current->Cancelled();
  };
  EXPECT_FALSE(PollFtp());
  EXPECT_EQ(1U, internet_.downloaded.size());
  EXPECT_EQ("ready\r\n", internet_.files["/in/status"]);
}

TEST_F(RemoteData, ADownloadThatCannotBeginSaysWhy) {
  const struct {
    const char* call;
    FakeWinInet::Failure failure;
    const char* line;
  } cases[] = {
      {"SetDirectory",
       {wininet::ExtendedError, "550 no"},
       "Error occurred! Remote directory not found on FTP Server"},
      {"FindFirst", {wininet::NoMoreFiles}, "Remote directory is empty!"},
      {"FindFirst", {wininet::Timeout}, "Error : The request has timed out."},
      {"FindNext", {12033}, "Error : Error details not available."},
      {"FindNext", {12036}, "Error : The request failed because the handle already exists."},
      {"FindNext",
       {12014},
       "Error : The request to connect and login to an FTP server could not be "
       "completed because the supplied password is incorrect. "}};
  for (const auto& c : cases) {
    SCOPED_TRACE(c.line);
    internet_.files = {{"/in/a", "1"}, {"/in/status", "ready"}};
    internet_.failing = {{c.call, c.failure}};
    EXPECT_FALSE(PollFtp());
    EXPECT_THAT(Log(), HasSubstr(std::string("Copying Remote Data via FTP\n") + c.line + "\n"));
    EXPECT_EQ("ready\r\n", internet_.files["/in/status"]);
  }
}

TEST_F(RemoteData, TheRightsTestTellsTheFirstMissingRight) {
  FtpFuncModule ftp(log_, services_);
  internet_.files["/in/status"] = "idle";
  EXPECT_TRUE(ftp.FtpCheckRights("ftp1", "status", "/in", "etl", "pw"));
  EXPECT_FALSE(internet_.files.contains("/in/statustest"));
  EXPECT_THAT(messages_.boxes, testing::IsEmpty());
  internet_.readOnly = {"/in"};
  const struct {
    const char *directory, *password, *text;
  } cases[] = {
      {"/in", "wrong", "Login failed! FTP site doesn't exist or the password is incorrect!"},
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

TEST_F(RemoteData, AShareThatIsNotThereIsToldAndTheCopyIsTriedAllTheSame) {
  shell_.directories.clear();
  shell_.texts[kShareStatus] = "ready";
  shell_.copyResult = 3;
  EXPECT_FALSE(PollShare());
  EXPECT_EQ((std::vector<FakeMessages::ShownBox>{
                {"Dir doesn't exist : \\\\files\\in\\", "Torvik", BoxIcon::None},
                {"Couldn't copy all files", "Torvik", BoxIcon::None}}),
            messages_.boxes);
  EXPECT_TRUE(files_.directories.contains("C:/in"));
}

}  // namespace
}  // namespace torvik
