#pragma once

#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <map>
#include <sstream>
#include <stdexcept>
#include <string>
#include <vector>

#include "platform/linux/sqlite/EmbeddedFixture.h"
#include "servers/Certificate.h"

namespace torvik {

inline constexpr const char* kPassword = "ge;heim{}";

/// A process of its own that speaks as a SQL Server does and answers by a script.
class TdsPeer {
 public:
  /// With `isEncrypted` it takes nothing but TLS.
  explicit TdsPeer(const std::string& script, bool isEncrypted = false) {
    const std::string certificate = isEncrypted ? NewCertificate(disk_) : "";
    disk_.Write("script", script);
    disk_.Write("log", "");
    int output[2];
    if (pipe(output) != 0) throw std::runtime_error("no pipe for the peer");
    process_ = fork();
    if (process_ == 0) {
      prctl(PR_SET_PDEATHSIG, SIGTERM);
      dup2(output[1], STDOUT_FILENO);
      const std::string program = TORVIK_SOURCE_DIR "/tests/servers/tds-peer.py";
      execlp("python3", "python3", program.c_str(), disk_.PathOf("script").c_str(),
             disk_.PathOf("log").c_str(), isEncrypted ? certificate.c_str() : nullptr, nullptr);
      _exit(127);
    }
    close(output[1]);
    for (char c; read(output[0], &c, 1) == 1 && c != '\n';) port_ += c;
    close(output[0]);
  }
  ~TdsPeer() {
    kill(process_, SIGTERM);
    waitpid(process_, nullptr, 0);
  }
  TdsPeer(const TdsPeer&) = delete;
  TdsPeer& operator=(const TdsPeer&) = delete;

  /// `more` are further keys of the server's section in the settings.
  std::unique_ptr<ado::Connection> NewConnection(
      const std::string& password = kPassword,
      const std::map<std::string, std::string>& more = {}) const {
    Settings settings;
    settings.servers["dw"] = {
        "odbc", "", {{"driver", "FreeTDS"}, {"host", "127.0.0.1"}, {"port", port_}}};
    for (const auto& [key, value] : more) settings.servers["dw"].options[key] = value;
    auto connection = NewAdoProvider(settings)->NewConnection();
    connection->SetProvider("SQLOLEDB");
    connection->SetConnectionTimeout(10);
    connection->SetProperty("Data Source", "dw");
    connection->SetProperty("Initial Catalog", "Sales");
    connection->SetProperty("User ID", "sa");
    connection->SetProperty("Password", password);
    return connection;
  }
  std::unique_ptr<ado::Connection> Open() const {
    auto connection = NewConnection();
    connection->Open();
    return connection;
  }

  /// What it was sent, from the `from`th line on.
  std::vector<std::string> Log(std::size_t from = 2) const {
    std::vector<std::string> lines;
    std::istringstream log(disk_.Read("log"));
    for (std::string line; std::getline(log, line);)
      if (from == 0 || from-- == 0) lines.push_back(line);
    return lines;
  }

 private:
  TemporaryDirectory disk_;
  pid_t process_ = -1;
  std::string port_;
};

}  // namespace torvik
