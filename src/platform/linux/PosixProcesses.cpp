#include "platform/linux/PosixProcesses.h"

#include <poll.h>
#include <signal.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <filesystem>

#include "platform/linux/ChildProcess.h"
#include "platform/linux/CommandText.h"
#include "platform/linux/LineSplitter.h"
#include "platform/linux/Posix.h"

namespace torvik {
namespace {

/// Takes a child's end; kills a child that still runs when its parent stops waiting for it.
class RunningChild {
 public:
  explicit RunningChild(pid_t id) : id_(id) {}
  ~RunningChild() {
    if (id_ == 0) return;
    kill(-id_, SIGKILL);
    Wait();
  }
  RunningChild(const RunningChild&) = delete;
  RunningChild& operator=(const RunningChild&) = delete;

  /// The exit code; 128 + signal number when a signal ended it.
  int Wait() {
    int status = 0;
    while (waitpid(id_, &status, 0) < 0 && errno == EINTR) {
    }
    id_ = 0;
    return WIFSIGNALED(status) ? 128 + WTERMSIG(status) : WEXITSTATUS(status);
  }

 private:
  pid_t id_;
};

/// Reads what there is; false at the end of the output.
bool ReadSome(int pipe, LineSplitter& lines) {
  char buffer[16384];
  const ssize_t got = read(pipe, buffer, sizeof buffer);
  if (got > 0) lines.Add({buffer, static_cast<std::size_t>(got)});
  return got > 0 || (got < 0 && errno == EINTR);
}

/// Readable when the process has ended. The C library's own declaration lacks C linkage in 2.36.
Descriptor OpenProcess(pid_t process) {
  return Descriptor(static_cast<int>(syscall(SYS_pidfd_open, process, 0)));
}

bool HasInput(int pipe) {
  pollfd input{pipe, POLLIN, 0};
  return poll(&input, 1, 0) == 1 && (input.revents & POLLIN) != 0;
}

/// Reads until the output ends, or the child: what it has left behind may hold the output open.
void ReadOutput(int pipe, pid_t child, LineSplitter& lines) {
  const Descriptor childEnd = OpenProcess(child);
  pollfd events[] = {{pipe, POLLIN, 0}, {childEnd.Number(), POLLIN, 0}};
  for (;;) {
    if (poll(events, 2, -1) < 0) {
      if (errno == EINTR) continue;
      return;
    }
    if (events[0].revents != 0 && !ReadSome(pipe, lines)) return;
    if (events[1].revents != 0) break;
  }
  while (HasInput(pipe) && ReadSome(pipe, lines)) {
  }
}

class PosixProcesses final : public Processes {
 public:
  explicit PosixProcesses(const PathMap& paths) : paths_(paths) {
    // Whoever started the program may have had it ignored, and exit codes would then be lost.
    signal(SIGCHLD, SIG_DFL);
  }

  ProcessHandle CreateProcessA(const std::string& commandLine) override {
    std::vector<std::string> words = SplitCommandText(commandLine);
    if (words.empty()) return 0;
    ChildStart start;
    std::string reason;
    start.program = ProgramPath(words[0], reason);
    start.arguments.assign(words.begin() + 1, words.end());
    return start.program.empty() ? 0 : StartChild(start, reason);
  }

  bool IsRunning(ProcessHandle process) override {
    // The end is left for CloseHandle to take: until then no other process gets the number.
    siginfo_t end{};
    const auto id = static_cast<id_t>(process);
    return waitid(P_PID, id, &end, WEXITED | WNOHANG | WNOWAIT) == 0 && end.si_pid == 0;
  }

  void CloseHandle(ProcessHandle process) override {
    waitpid(static_cast<pid_t>(process), nullptr, WNOHANG);
  }

  ProcessExit Run(const ProcessRequest& request,
                  const std::function<void(std::string_view)>& onLine) override {
    ProcessExit exit;
    int ends[2];
    if (pipe2(ends, O_CLOEXEC) != 0) {
      exit.error = LastSystemError().message();
      return exit;
    }
    const Descriptor reading(ends[0]);
    Descriptor writing(ends[1]);
    const pid_t child = Start(request, writing.Number(), exit.error);
    writing.Close();
    if (child == 0) return exit;
    exit.started = true;
    RunningChild running(child);
    LineSplitter lines(onLine);
    ReadOutput(reading.Number(), child, lines);
    lines.Finish();
    exit.exitCode = running.Wait();
    return exit;
  }

 private:
  pid_t Start(const ProcessRequest& request, int output, std::string& reason) const {
    ChildStart start;
    start.arguments = request.arguments;
    start.output = output;
    start.program = ProgramPath(request.program, reason);
    if (start.program.empty()) return 0;
    std::error_code error;
    start.workingDirectory = paths_.ToLinux(request.workingDirectory, error);
    if (error) {
      reason = "its working directory " + request.workingDirectory + ": " + error.message();
      return 0;
    }
    return StartChild(start, reason);
  }

  /// Absolute, since the child may change its directory before it looks.
  std::string ProgramPath(const std::string& program, std::string& reason) const {
    std::error_code error;
    const std::string mapped = paths_.ToLinux(program, error);
    const std::string found = error ? std::string() : FindProgram(mapped);
    const std::string path =
        found.empty() ? found : std::filesystem::absolute(found, error).string();
    if (error)
      reason = error.message();
    else if (path.empty())
      reason = "no program of that name is in PATH";
    return path;
  }

  const PathMap paths_;
};

}  // namespace

std::unique_ptr<Processes> NewPosixProcesses(const PathMap& paths) {
  return std::make_unique<PosixProcesses>(paths);
}

}  // namespace torvik
