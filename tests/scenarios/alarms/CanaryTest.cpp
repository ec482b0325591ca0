// A password that is known to the run stands nowhere but where it was put.

#include <gmock/gmock.h>
#include <signal.h>

#include <chrono>
#include <filesystem>
#include <fstream>
#include <thread>

#include "scenarios/Sandbox.h"
#include "servers/PrivateServer.h"

namespace torvik {
namespace {

using namespace std::chrono_literals;
using testing::HasSubstr;
using testing::Not;

namespace fs = std::filesystem;

/// Part of every password.
constexpr const char* kCanary = "cAnArY";

constexpr const char* kCanarySteps = R"toml(ShopPassword = ""
[[connections]]
name = "warehouse"
provider = "SQLOLEDB"
properties = { "Data Source" = "${DestinationServer}", "Initial Catalog" = "${DestServerDatabaseName}", "User ID" = "etl", "Password" = "${DestServerLoginPassword}" }
[[steps]]
name = "wait"
task = "ExecuteProcess"
program = "sleep"
arguments = ['2']
[[steps]]
name = "repeat what it was given"
task = "ExecuteSQL"
connection = "warehouse"
after = [ { step = "wait", on = "completion" } ]
sql = "SELECT * FROM ${ShopPassword}, ${DestServerLoginPassword}"
)toml";

class Canary : public testing::Test {
 protected:
  Canary() {
    Hide("shop-password", "cAnArYshop");
    Hide("job-password", "cAnArYjob");
    Hide("link-password", "cAnArYlink");
    Hide("mail-password", "cAnArYmail");
    Hide("url", "http://127.0.0.1:" + std::to_string(pings_.Port()) + "/cAnArYurl");
    fs::create_directory(sandbox_.PathOf("metrics"));
    sandbox_.AddSettings("[monitor]\ntextfile_directory = " + sandbox_.PathOf("metrics") +
                         "\nping_url_file = " + sandbox_.PathOf("url") +
                         "\n[notify]\ncommand = /usr/bin/tee " + sandbox_.PathOf("notified") +
                         "\n[mail]\nserver = 127.0.0.1\nport = 1\nuser = etl\npassword_file = " +
                         sandbox_.PathOf("mail-password") +
                         "\n[server far]\nbackend = postgresql\n" +
                         "host = 127.0.0.1\nport = 1\nuser = etl\npassword_file = " +
                         sandbox_.PathOf("shop-password") + "\n");
    sandbox_.SetVariable("no_proxy", "127.0.0.1");
    sandbox_.PutPackage("Sales", kCanarySteps);
    sandbox_.WriteJob("sales.etl", "Sales");
    Told({"job", "set", "sales.etl", "DWUser", "etl"});
    Told({"job", "password", "sales.etl", "--for", "dw", "--password-file", "job-password"});
    Told({"job", "password", "sales.etl", "--for", "dts", "--password-file", "job-password"});
    Told({"job", "set", "--variable", "sales.etl", "ShopPassword",
          "file:" + sandbox_.PathOf("shop-password")});
  }

  void Hide(const std::string& name, const std::string& secret) {
    sandbox_.WriteFile(name, secret + "\n");
    fs::permissions(sandbox_.PathOf(name), fs::perms::owner_read);
  }

  /// What a command has printed; no password is in it.
  std::string Told(std::vector<std::string> words) {
    words.insert(words.begin(), "torvik-admin");
    const ProgramResult result = sandbox_.Run(words);
    const std::string text = result.out + result.err;
    EXPECT_THAT(text, Not(HasSubstr(kCanary))) << words[1];
    return text;
  }

  /// The files that hold a password though they are none of those that are to.
  std::vector<std::string> FilesWithCanary() const {
    std::vector<std::string> found;
    for (const auto& entry : fs::recursive_directory_iterator(sandbox_.PathOf("."))) {
      if (!entry.is_regular_file() || entry.status().permissions() == fs::perms::owner_read)
        continue;
      std::ifstream file(entry.path(), std::ios::binary);
      const std::string bytes{std::istreambuf_iterator<char>(file), {}};
      if (bytes.find(kCanary) != bytes.npos) found.push_back(entry.path().string());
    }
    return found;
  }

  static std::string ProcessFile(pid_t process, const char* name) {
    std::ifstream file("/proc/" + std::to_string(process) + "/" + name, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
  }

  const PrivateServer pings_{"../tests/servers/http-peer.py"};
  Sandbox sandbox_;
};

TEST_F(Canary, IsInNoFileNoOutputAndNoProcessList) {
  const RunningProgram run =
      sandbox_.Start({"torvik", "-configfile", "sales.etl", "-statusfile", "s.txt"});
  for (int i = 0; i < 200 && Told({"watch", "--json"}).find("\"wait\"") == std::string::npos; ++i)
    std::this_thread::sleep_for(10ms);
  for (const char* name : {"cmdline", "environ"})
    EXPECT_THAT(ProcessFile(run.pid, name), Not(HasSubstr(kCanary)));
  const ProgramResult result = sandbox_.Wait(run);
  EXPECT_EQ(WithoutCr(sandbox_.ReadFile("s.txt")), "failure\n");
  EXPECT_THAT(result.err, testing::AllOf(HasSubstr("***"), Not(HasSubstr(kCanary))));
  for (const std::vector<std::string>& words :
       std::vector<std::vector<std::string>>{{"run", "sales.etl", "--json"},
                                             {"history", "--json"},
                                             {"history", "show", "1"},
                                             {"history", "trend", "sales", "--json"},
                                             {"alarms", "--json"},
                                             {"doctor", "--json", "--jobs", sandbox_.PathOf(".")},
                                             {"job", "show", "sales.etl", "--json"},
                                             {"job", "check", "sales.etl", "--json"},
                                             {"server", "check", "far"}})
    Told(words);
  EXPECT_THAT(pings_.Read("calls"), HasSubstr("cAnArYurl/fail"));
  EXPECT_THAT(sandbox_.ReadFile("notified"), HasSubstr("\"outcome\":\"failure\""));
  EXPECT_THAT(FilesWithCanary(), testing::IsEmpty());
}

TEST_F(Canary, IsInNoCoreFile) {
  const std::string crash =
      "ulimit -c unlimited; " + std::string(TORVIK_PROGRAM) +
      " -configfile sales.etl & sleep 1; kill -ABRT $!; wait $!; echo status $?";
  const ProgramResult result = sandbox_.Run({"/bin/bash", "-c", crash});
  EXPECT_THAT(result.out, HasSubstr("status 134"));
  EXPECT_THAT(result.err, Not(HasSubstr("core dumped")));
  EXPECT_THAT(FilesWithCanary(), testing::IsEmpty());
}

}  // namespace
}  // namespace torvik
