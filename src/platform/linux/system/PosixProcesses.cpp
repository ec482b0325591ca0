#include "platform/linux/system/PosixProcesses.h"

#include <poll.h>
#include <signal.h>
#include <sys/mman.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <optional>

#include "platform/CommandText.h"
#include "platform/Text.h"
#include "platform/linux/system/ChildProcess.h"
#include "platform/linux/system/Posix.h"
#include "platform/linux/text/LineSplitter.h"

namespace torvik {
namespace {

/// Reads what there is; false at the end of the output.
bool ReadSome(int pipe, LineSplitter& lines) {
  char buffer[16384];
  const ssize_t got = read(pipe, buffer, sizeof buffer);
  if (got > 0) lines.Add({buffer, static_cast<std::size_t>(got)});
  return got > 0 || (got < 0 && errno == EINTR);
}

/// A file of this process's memory that holds `text`; nobody has to write while another reads.
Descriptor OpenText(const std::string& text) {
  Descriptor file(memfd_create("input", MFD_CLOEXEC));
  const bool isReady =
      file.IsOpen() && !WriteAll(file.Number(), text) && lseek(file.Number(), 0, SEEK_SET) == 0;
  return isReady ? std::move(file) : Descriptor();
}

/// Readable when the process has ended. The C library's own declaration lacks C linkage in 2.36.
Descriptor OpenProcess(pid_t process) {
  return Descriptor(static_cast<int>(syscall(SYS_pidfd_open, process, 0)));
}

bool HasInput(int pipe) {
  pollfd input{pipe, POLLIN, 0};
  return poll(&input, 1, 0) == 1 && (input.revents & POLLIN) != 0;
}

/// Ends a child, and what it has started, once the caller wants it.
class Ending {
 public:
  /// Without a grace the child is never killed.
  Ending(const std::atomic<bool>* wanted, const RunningChild& child,
         std::optional<std::chrono::milliseconds> grace)
      : wanted_(wanted), child_(child), grace_(grace) {}

  /// How long a wait may take before Look is called again, in milliseconds; -1: for ever.
  int Patience() const { return wanted_ == nullptr ? -1 : kSliceMilliseconds; }

  void Look() {
    if (wanted_ == nullptr || !*wanted_) return;
    const auto now = std::chrono::steady_clock::now();
    if (!begin_) {
      begin_ = now;
      child_.Signal(SIGTERM);
      child_.Signal(SIGCONT);  // one that stands still would not hear of it
    } else if (grace_ && now - *begin_ >= *grace_) {
      child_.Signal(SIGKILL);
    }
  }

  bool HasBegun() const { return begin_.has_value(); }

 private:
  static constexpr int kSliceMilliseconds = 50;

  const std::atomic<bool>* wanted_;
  const RunningChild& child_;
  const std::optional<std::chrono::milliseconds> grace_;
  std::optional<std::chrono::steady_clock::time_point> begin_;
};

/// Reads until the child ends: what it has left behind may hold the output open.
void ReadOutput(int pipe, pid_t child, LineSplitter& lines, Ending& ending) {
  const Descriptor childEnd = OpenProcess(child);
  pollfd events[] = {{pipe, POLLIN, 0}, {childEnd.Number(), POLLIN, 0}};
  while (events[1].revents == 0) {
    if (poll(events, 2, ending.Patience()) < 0) {
      if (errno == EINTR) continue;
      return;
    }
    ending.Look();
    if (events[0].revents == 0 || ReadSome(pipe, lines)) continue;
    if (!childEnd.IsOpen()) return;
    events[0].fd = -1;
  }
  while (HasInput(pipe) && ReadSome(pipe, lines)) {
  }
}

class PosixProcesses final : public Processes {
 public:
  PosixProcesses(const PathMap& paths, const std::map<std::string, std::string>& replaced,
                 std::chrono::milliseconds grace)
      : paths_(paths), replaced_(replaced), grace_(grace) {
    // Whoever started the program may have had it ignored, and exit codes would then be lost.
    signal(SIGCHLD, SIG_DFL);
  }

  ProcessHandle CreateProcessA(const std::string& commandLine) override {
    std::vector<std::string> words = SplitCommandText(commandLine);
    if (words.empty()) return 0;
    Replace(words);
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
    Ending ending(request.cancelled, running,
                  request.isPatient ? std::nullopt : std::optional(grace_));
    ReadOutput(reading.Number(), child, lines, ending);
    lines.Finish();
    exit.cancelled = ending.HasBegun();
    // What did not end with the program does not stay behind.
    if (exit.cancelled && !request.isPatient) running.Signal(SIGKILL);
    exit.exitCode = running.Wait();
    return exit;
  }

  std::optional<std::string> EnvironmentVariable(const std::string& name) const override {
    const char* const value = std::getenv(name.c_str());
    return value == nullptr ? std::nullopt : std::optional<std::string>(value);
  }

 private:
  /// Puts another program, which knows Linux paths, in the place of one of the other platform.
  void Replace(std::vector<std::string>& words) const {
    const auto found = replaced_.find(LowerAscii(words[0]));
    if (found == replaced_.end()) return;
    std::vector<std::string> line = SplitCommandText(found->second);
    for (std::size_t i = 1; i < words.size(); ++i) {
      std::error_code error;
      const std::string path = paths_.ToLinux(words[i], error);
      line.push_back(error ? words[i] : path);
    }
    if (!line.empty()) words = std::move(line);
  }

  pid_t Start(const ProcessRequest& request, int output, std::string& reason) const {
    ChildStart start;
    start.arguments = request.arguments;
    start.output = output;
    Descriptor input;
    if (!request.input.empty()) {
      input = OpenText(request.input);
      if (!input.IsOpen()) {
        reason = "its input: " + LastSystemError().message();
        return 0;
      }
      start.input = input.Number();
    }
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
  const std::map<std::string, std::string> replaced_;
  const std::chrono::milliseconds grace_;
};

}  // namespace

std::unique_ptr<Processes> NewPosixProcesses(const PathMap& paths,
                                             const std::map<std::string, std::string>& replaced,
                                             std::chrono::milliseconds grace) {
  return std::make_unique<PosixProcesses>(paths, replaced, grace);
}

}  // namespace torvik
