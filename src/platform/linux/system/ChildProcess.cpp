#include "platform/linux/system/ChildProcess.h"

#include <fcntl.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <sstream>

#include "platform/linux/system/Posix.h"

namespace torvik {
namespace {

/// What a child that could not become its program tells its parent.
struct StartFailure {
  int error;
  bool atDirectory;
};

/// Everything the child needs, made before the fork: between fork and exec no memory may be
/// allocated, because another thread may have held the allocator's lock.
struct PreparedStart {
  const char* program;
  char* const* arguments;
  const char* directory;  ///< Null: stays.
  int output;
  int input;
  int failures;
  pid_t parent;
};

[[noreturn]] void FailInChild(int pipe, bool atDirectory) {
  const StartFailure failure{errno, atDirectory};
  [[maybe_unused]] const ssize_t written = write(pipe, &failure, sizeof failure);
  _exit(127);
}

void ResetSignalsInChild() {
  struct sigaction action {};
  action.sa_handler = SIG_DFL;
  for (int number = 1; number < NSIG; ++number) sigaction(number, &action, nullptr);
  sigset_t none;
  sigemptyset(&none);
  sigprocmask(SIG_SETMASK, &none, nullptr);
}

void DetachInChild(const PreparedStart& start) {
  setpgid(0, 0);
  prctl(PR_SET_PDEATHSIG, SIGKILL);
  if (getppid() != start.parent) _exit(127);  // it died before the line above
  dup2(start.output, STDOUT_FILENO);
  dup2(start.output, STDERR_FILENO);
  if (start.input >= 0) {
    dup2(start.input, STDIN_FILENO);
    return;
  }
  const int nothing = open("/dev/null", O_RDONLY);
  dup2(nothing, STDIN_FILENO);
  if (nothing > STDERR_FILENO) close(nothing);
}

[[noreturn]] void BecomeProgram(const PreparedStart& start) {
  if (start.output >= 0) DetachInChild(start);
  ResetSignalsInChild();
  if (start.directory != nullptr && chdir(start.directory) != 0) FailInChild(start.failures, true);
  execv(start.program, start.arguments);
  FailInChild(start.failures, false);
}

std::string Words(int error) {
  return std::error_code(error, std::generic_category()).message();
}

/// Waits until the child has become its program (the pipe then closes) or says why not.
std::string ReasonFromChild(int pipe, const ChildStart& start) {
  StartFailure failure{};
  ssize_t got = 0;
  do {
    got = read(pipe, &failure, sizeof failure);
  } while (got < 0 && errno == EINTR);
  if (got != static_cast<ssize_t>(sizeof failure)) return {};
  if (!failure.atDirectory) return Words(failure.error);
  return "its working directory " + start.workingDirectory + ": " + Words(failure.error);
}

bool IsExecutable(const std::string& path) {
  struct stat status {};
  return stat(path.c_str(), &status) == 0 && S_ISREG(status.st_mode) &&
         access(path.c_str(), X_OK) == 0;
}

}  // namespace

pid_t StartChild(const ChildStart& start, std::string& reason) {
  int ends[2];
  if (pipe2(ends, O_CLOEXEC) != 0) {
    reason = Words(errno);
    return 0;
  }
  const Descriptor reading(ends[0]);
  Descriptor writing(ends[1]);
  std::vector<char*> arguments{const_cast<char*>(start.program.c_str())};
  for (const std::string& argument : start.arguments) {
    arguments.push_back(const_cast<char*>(argument.c_str()));
  }
  arguments.push_back(nullptr);
  const char* directory = start.workingDirectory.empty() ? nullptr : start.workingDirectory.c_str();
  const PreparedStart prepared{start.program.c_str(), arguments.data(), directory, start.output,
                               start.input,           writing.Number(), getpid()};
  const pid_t child = fork();
  if (child == 0) BecomeProgram(prepared);
  if (child < 0) {
    reason = Words(errno);
    return 0;
  }
  writing.Close();
  reason = ReasonFromChild(reading.Number(), start);
  if (reason.empty()) return child;
  waitpid(child, nullptr, 0);
  return 0;
}

RunningChild::~RunningChild() {
  if (id_ == 0) return;
  Signal(SIGKILL);
  Wait();
}

void RunningChild::Signal(int signal) const {
  kill(-id_, signal);
}

int RunningChild::Wait() {
  int status = 0;
  while (waitpid(id_, &status, 0) < 0 && errno == EINTR) {
  }
  id_ = 0;
  return WIFSIGNALED(status) ? 128 + WTERMSIG(status) : WEXITSTATUS(status);
}

std::string FindProgram(const std::string& program) {
  if (program.find('/') != std::string::npos) return program;
  const char* path = std::getenv("PATH");
  std::istringstream directories(path != nullptr ? path : "/usr/local/bin:/usr/bin:/bin");
  for (std::string directory; std::getline(directories, directory, ':');) {
    const std::string candidate = (directory.empty() ? "." : directory) + "/" + program;
    if (!program.empty() && IsExecutable(candidate)) return candidate;
  }
  return {};
}

}  // namespace torvik
