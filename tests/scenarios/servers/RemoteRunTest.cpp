// Whole runs that fetch remote data from a real FTP server and a real Windows share.

#include <gmock/gmock.h>
#include <pwd.h>
#include <unistd.h>

#include <chrono>
#include <filesystem>
#include <thread>

#include "scenarios/Sandbox.h"
#include "servers/PrivateServer.h"

namespace torvik {
namespace {

using namespace std::chrono_literals;
using testing::AllOf;
using testing::HasSubstr;
using testing::Not;

/// A job of two links: "a" by FTP, then "b" from the share.
class RemoteRun : public testing::Test {
 protected:
  RemoteRun() {
    for (const PrivateServer* server : {&ftp_, &share_}) server->Write("out/status", "running\r\n");
    WriteSecret("credentials",
                "username = " + UserName() + "\npassword = " + share_.Password() + "\n");
    WriteSecret("ftp-password", ftp_.Password() + "\n");
    sandbox_.PutPackage("Sales_LoadDW", "");
    sandbox_.WriteJob("job.etl", "Sales_LoadDW");
    PutLinks(ftp_.Password(), "out");
  }

  void WriteSecret(const std::string& name, const std::string& text) {
    sandbox_.WriteFile(name, text);
    std::filesystem::permissions(sandbox_.PathOf(name), std::filesystem::perms::owner_read);
  }

  static std::string UserName() { return getpwuid(geteuid())->pw_name; }

  std::string Settings() const {
    return "[ftp]\nport = " + std::to_string(ftp_.Port()) +
           "\ntimeout = 10\n[smb]\nport = " + std::to_string(share_.Port()) +
           "\ntimeout = 10\ncredentials = " + sandbox_.PathOf("credentials") + "\n";
  }

  void PutLinks(const std::string& password, const std::string& shareDirectory,
                int pollInterval = 0) {
    const std::string common =
        "model = \"Sales\"\nType = 3\nds_directory = 'S:\\data'\npoll_duration = 1\n"
        "poll_interval = " +
        std::to_string(pollInterval) + "\n";
    const std::string out = geteuid() == 0 ? "/out" : ftp_.PathOf("out");
    sandbox_.WriteFile("a.toml", common + "source_name = \"a\"\ntransfer_data = 1\n" +
                                     "ftp_server = \"127.0.0.1\"\nftp_user = \"torvik\"\n" +
                                     "ftp_password = \"" + password + "\"\nremote_directory = '" +
                                     out + "'\n");
    sandbox_.WriteFile("b.toml", common + "source_name = \"b\"\ntransfer_data = 2\n" +
                                     "remote_directory = '\\\\127.0.0.1\\files\\" + shareDirectory +
                                     "'\n");
    const ProgramResult put =
        sandbox_.Run({"torvik-admin", "link", "put", "a.toml", "b.toml", "--database", "DW"});
    EXPECT_EQ(0, put.exitCode) << put.err;
  }

  /// Runs the job; answers the part of the log that is about remote data.
  std::string Run() { return LogOf(sandbox_.Run({"torvik-admin", "run", "job.etl"})); }
  std::string LogOf(ProgramResult result) {
    last_ = std::move(result);
    const std::string log = WithoutCr(sandbox_.ReadFile("err.txt"));
    std::filesystem::remove(sandbox_.PathOf("err.txt"));
    const std::string before = "Loaded DTS Package : Sales_LoadDW\n",
                      after = "Executing DTS Package";
    const std::size_t begin = log.find(before), end = log.find(after);
    return begin == std::string::npos
               ? log
               : log.substr(begin + before.size(), end - begin - before.size());
  }

  std::string Fetched(const std::string& name) const { return sandbox_.ReadFile("data/" + name); }

  PrivateServer ftp_{"private-ftp"};
  PrivateServer share_{"private-share", "preexec = sh -c 'echo >>%DIR%/connections'\n"};
  Sandbox sandbox_;
  ProgramResult last_;
};

TEST_F(RemoteRun, WaitsForTheProvidersAndFetchesWhatTheyDeliver) {
  sandbox_.AddSettings(Settings() + "[ftp 127.0.0.1]\nuser = torvik\npassword_file = " +
                       sandbox_.PathOf("ftp-password") + "\n");
  PutLinks("not this one", "out", 1);
  const ProgramResult check = sandbox_.Run({"torvik-admin", "job", "check", "job.etl"});
  EXPECT_EQ(0, check.exitCode) << check.out;
  EXPECT_THAT(check.out, HasSubstr("/out of 127.0.0.1: its status says \"running\""));
  EXPECT_THAT(check.out, HasSubstr("files\\out: its status says \"running\""));

  PutLinks("not this one", "out");
  const RunningProgram run = sandbox_.Start({"torvik-admin", "run", "job.etl"});
  for (int i = 0; i < 3000 && sandbox_.ReadFile("err.txt").find("Polling") == std::string::npos;
       ++i)
    std::this_thread::sleep_for(10ms);
  const std::string bytes("\0\r\n\n\xff", 5);
  share_.Write("out/b \xc3\xa4.bin", bytes);
  share_.Write("out/old/c", "not fetched");
  share_.Write("out/status", "ready");
  ftp_.Write("out/a.csv", "id;name\n1;\xe4\n");
  ftp_.Write("out/status", "ready\n");
  EXPECT_EQ(
      "Polling for Remote Data ...\nCopying Remote Data via FTP\n"
      "Polling for Remote Data ...\nCopying Remote Data from Share\n",
      LogOf(sandbox_.Wait(run)));
  EXPECT_EQ("ok\n", last_.out);
  EXPECT_THAT(last_.err, HasSubstr("Remote data : 2 files complete"));
  EXPECT_EQ("id;name\r\n1;\xe4\r\n", Fetched("a.csv"));
  EXPECT_EQ(bytes, Fetched("b \xc3\xa4.bin"));
  EXPECT_EQ("", Fetched("c"));
  EXPECT_EQ("idle\n", WithoutCr(ftp_.Read("out/status")));
  EXPECT_EQ("idle\r\n\r\n", share_.Read("out/status"));
}

TEST_F(RemoteRun, ManySmallFilesOfAShareComeOverSeveralConnections) {
  sandbox_.AddSettings(Settings());
  PutLinks(ftp_.Password(), "many");
  ftp_.Write("out/status", "ready");
  share_.Write("many/status", "ready");
  const auto name = [](int number) { return "file" + std::to_string(number) + ".csv"; };
  for (int i = 0; i < 600; ++i) share_.Write("many/" + name(i), name(i));
  const auto connections = share_.Read("connections").size();
  Run();
  EXPECT_EQ("ok\n", last_.out);
  EXPECT_THAT(last_.err, HasSubstr("Remote data : 601 files complete"));
  for (int i = 0; i < 600; ++i) EXPECT_EQ(name(i), Fetched(name(i)));
  EXPECT_LT(connections + 1, share_.Read("connections").size());
}

TEST_F(RemoteRun, ALinkThatFailsDoesNotKeepTheNextOneFromBeingFetched) {
  sandbox_.AddSettings(Settings());
  ftp_.Write("out/a.csv", "new\n");
  share_.Write("out/b.csv", "new\n");
  const std::string notLoggedOn =
      "FTP: Can't open Internet Connection\n"
      "Login failed! FTP site doesn't exist or the password is incorrect!\n";
  const struct {
    const char* what;
    std::string ftpPassword, shareDirectory, ftpStatus, shareStatus;
    std::string log, box;              ///< Without the lines that begin each poll.
    std::string ftpKeeps, shareKeeps;  ///< The status afterwards.
  } cases[] = {
      {"wrong password", "falsch!", "out", "ready\n", "ready\n",
       "*" + notLoggedOn + "*Copying Remote Data from Share\n", "FTP server 127.0.0.1: 530",
       "ready\n", "idle\r\n\r\n"},
      {"a file cannot come", ftp_.Password(), "out", "ready\n", "stop\n",
       "*Copying Remote Data via FTP\nError : S:\\data\\/a.csv: Is a directory\n*", "", "ready\n",
       "stop\n"},
      {"no directory", ftp_.Password(), "none", "error\n", "ready\n",
       "**Error: Path not found yet ... \n",
       "Check Ready to Copy data from Share: Path not found : \\\\127.0.0.1\\files\\none\\",
       "error\n", "ready\n"},
      {"an empty status", ftp_.Password(), "out", "stop\n", "", "**",
       "CopyReadyToCopy: \\\\127.0.0.1\\files\\out\\status: Input past end of file", "stop\n", ""}};
  for (const auto& c : cases) {
    SCOPED_TRACE(c.what);
    PutLinks(c.ftpPassword, c.shareDirectory);
    ftp_.Write("out/status", c.ftpStatus);
    share_.Write("out/status", c.shareStatus);
    std::filesystem::remove_all(sandbox_.PathOf("data"));
    if (c.what == std::string("a file cannot come")) sandbox_.WriteFile("data/a.csv/x", "");
    std::string log;
    for (const char each : c.log)
      log += each == '*' ? "Polling for Remote Data ...\n" : std::string(1, each);
    EXPECT_EQ(log, Run());
    EXPECT_THAT(last_.out, testing::StartsWith("failure\ndata link "));
    EXPECT_THAT(last_.err, AllOf(HasSubstr(c.box), Not(HasSubstr("falsch!"))));
    EXPECT_EQ(c.ftpKeeps, WithoutCr(ftp_.Read("out/status")));
    EXPECT_EQ(c.shareKeeps, share_.Read("out/status"));
    EXPECT_EQ(c.shareKeeps.starts_with("idle") ? "new\n" : "", Fetched("b.csv"));
  }
}

TEST_F(RemoteRun, AStepFetchesTheFilesThatItNames) {
  const std::string bytes = "one\r\ntwo\nthree\r\n" + std::string(100'000, '\n');
  ftp_.Write("out/a.csv", bytes);
  ftp_.Write("out/b.csv", "B");
  ftp_.Write("out/c.txt", "C");
  sandbox_.WriteFile("in/x", "");
  sandbox_.AddSettings(Settings() + "[ftp 127.0.0.1]\nuser = torvik\npassword_file = " +
                       sandbox_.PathOf("ftp-password") + "\n");
  const std::string out = geteuid() == 0 ? "/out" : ftp_.PathOf("out");
  sandbox_.PutPackage("Sales_Fetch",
                      "[[steps]]\nname = 's'\ntask = 'FetchFiles'\nserver = '127.0.0.1'\n"
                      "directory = '" +
                          out + "'\nfiles = ['*.csv']\ndestination = '" + sandbox_.PathOf("in") +
                          "'\n");
  sandbox_.WriteJob("fetch.etl", "Sales_Fetch");
  const auto run = [&] { return sandbox_.Run({"torvik-admin", "run", "fetch.etl"}); };
  EXPECT_EQ(0, run().exitCode) << sandbox_.ReadFile("err.txt");
  EXPECT_TRUE(bytes == sandbox_.ReadFile("in/a.csv")) << "the bytes differ";
  EXPECT_EQ("B", sandbox_.ReadFile("in/b.csv"));
  EXPECT_EQ("", sandbox_.ReadFile("in/c.txt"));
  const std::string log = sandbox_.ReadFile("err.txt");
  EXPECT_THAT(log, HasSubstr("/a.csv: " + std::to_string(bytes.size()) + " bytes"));
  EXPECT_THAT(log, Not(HasSubstr(ftp_.Password())));

  WriteSecret("wrong", "wrong");
  std::filesystem::rename(sandbox_.PathOf("wrong"), sandbox_.PathOf("ftp-password"));
  EXPECT_EQ(1, run().exitCode);
  EXPECT_THAT(sandbox_.ReadFile("err.txt"),
              HasSubstr("FTP server 127.0.0.1: it cannot be logged on to: 530"));
}

}  // namespace
}  // namespace torvik
