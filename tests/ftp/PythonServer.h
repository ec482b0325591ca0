#pragma once

#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <stdexcept>
#include <string>
#include <vector>

namespace torvik {

/// A server of this folder in a process of its own, ended with this object.
class PythonServer {
 public:
  PythonServer(const std::string& program, std::vector<std::string> arguments) {
    const std::string path = TORVIK_SOURCE_DIR "/tests/ftp/" + program;
    std::vector<char*> words = {const_cast<char*>("python3"), const_cast<char*>(path.c_str())};
    for (std::string& argument : arguments) words.push_back(argument.data());
    words.push_back(nullptr);
    int output[2];
    if (pipe(output) != 0) throw std::runtime_error("no pipe for " + program);
    process_ = fork();
    if (process_ == 0) {
      prctl(PR_SET_PDEATHSIG, SIGTERM);
      dup2(output[1], STDOUT_FILENO);
      close(output[0]);
      close(output[1]);
      execv("/usr/bin/python3", words.data());  // the one that Debian's modules are for
      _exit(127);
    }
    close(output[1]);
    std::string port;
    for (char c; read(output[0], &c, 1) == 1 && c != '\n';) port += c;
    close(output[0]);
    if (port.empty()) throw std::runtime_error(program + " does not start");
    port_ = static_cast<std::uint16_t>(std::stoi(port));
  }
  ~PythonServer() {
    kill(process_, SIGKILL);
    waitpid(process_, nullptr, 0);
  }
  PythonServer(const PythonServer&) = delete;
  PythonServer& operator=(const PythonServer&) = delete;

  std::uint16_t Port() const { return port_; }

 private:
  pid_t process_ = -1;
  std::uint16_t port_ = 0;
};

}  // namespace torvik
