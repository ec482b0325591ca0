#include "platform/linux/shares/SmbReader.h"

#include <signal.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <charconv>
#include <vector>

#include "platform/PlatformError.h"
#include "platform/Version.h"
#include "platform/linux/shares/smb/SmbSession.h"
#include "platform/linux/system/Posix.h"

namespace torvik {
namespace {

/// bench/README.md says what fewer and more bring.
constexpr int kReaders = 3;

constexpr char kBetweenFields = '\0';
constexpr char kBehindNumber = ' ', kBehindNumberOfNone = '-';

constexpr int kNotConnected = 1, kNobodyAsks = 0;

/// Takes a number off the beginning of a text that goes on behind it.
template <typename Number>
bool TakeNumber(std::string_view& text, Number& number) {
  const auto [rest, error] = std::from_chars(text.data(), text.data() + text.size(), number);
  text.remove_prefix(static_cast<std::size_t>(rest - text.data()));
  return error == std::errc() && !text.empty();
}

std::vector<std::string> FieldsOf(std::string_view message) {
  std::vector<std::string> fields(1);
  for (const char c : message)
    if (c == kBetweenFields)
      fields.emplace_back();
    else
      fields.back() += c;
  return fields;
}

/// Nothing for that of another version, where an upgrade has replaced the program meanwhile.
std::optional<ReaderLogon> ParseLogon(std::string_view message) {
  const std::vector<std::string> fields = FieldsOf(message);
  if (fields.size() != 9 || fields[0] != kVersion) return std::nullopt;
  ReaderLogon logon{.server = fields[1], .share = fields[2], .settings = {}, .logon = {}};
  logon.settings.port = std::stoi(fields[3]);
  logon.settings.timeoutSeconds = std::stoi(fields[4]);
  logon.settings.kerberos = fields[5] == "1";
  logon.logon = {.user = fields[6], .password = fields[7], .domain = fields[8]};
  return logon;
}

/// One byte more than there should be is asked for, which shows that this is all.
std::string Answer(SmbSession& session, std::size_t number, const ReaderFile& file) {
  std::string message = std::to_string(number) + kBehindNumber;
  const std::size_t begin = message.size();
  message.resize(begin + file.size + 1);
  std::error_code error;
  const auto opened = session.OpenToRead(file.path, error);
  const std::size_t got = error ? 0 : opened->Read(&message[begin], file.size + 1, error);
  if (error || got != file.size) return std::to_string(number) + kBehindNumberOfNone;
  message.pop_back();
  return message;
}

/// The empty text for what asks for nothing.
std::string Answer(SmbSession& session, std::string_view message) {
  std::size_t number = 0;
  ReaderFile file;
  if (!TakeNumber(message, number)) return {};
  message.remove_prefix(1);
  if (!TakeNumber(message, file.size) || file.size > kLargestReadFile) return {};
  file.path = message.substr(1);
  return Answer(session, number, file);
}

std::unique_ptr<SmbSession> NewSession(const ReaderLogon& logon) {
  return NewSmbSession(logon.server, logon.settings, logon.logon);
}

int ReadFiles(const ReaderLogon& logon, MessageSocket& socket) try {
  const auto session = NewSession(logon);
  bool isDirectory = false;
  if (session->Stat(logon.share, isDirectory) || !socket.Send(kReaderIsReady)) return kNotConnected;
  while (socket.Send(Answer(*session, socket.Receive()))) {
  }
  return kNobodyAsks;
} catch (const PlatformError&) {
  return kNotConnected;
}

/// Answers false when none can be made.
bool StartReader(const ReaderLogon& logon, MessageSocket& socket) {
  const pid_t parent = getpid();
  const pid_t reader = fork();
  if (reader != 0) return reader > 0;
  prctl(PR_SET_PDEATHSIG, SIGKILL);
  _exit(getppid() == parent ? ReadFiles(logon, socket) : kNotConnected);
}

/// What a library says on standard error is no answer.
void SilenceErrors() {
  const Descriptor nowhere = OpenFile("/dev/null", O_WRONLY);
  dup2(nowhere.Number(), STDERR_FILENO);
}

}  // namespace

std::string ReaderLogon::Message() const {
  std::string message = kVersion;
  for (const std::string& field :
       {server, share, std::to_string(settings.port), std::to_string(settings.timeoutSeconds),
        std::string(settings.kerberos ? "1" : "0"), logon.user, logon.password, logon.domain})
    (message += kBetweenFields) += field;
  return message;
}

std::string ReaderFile::Message(std::size_t number) const {
  return std::to_string(number) + " " + std::to_string(size) + " " + path;
}

std::optional<ReaderAnswer> ParseReaderAnswer(std::string_view message) {
  ReaderAnswer answer;
  if (!TakeNumber(message, answer.number)) return std::nullopt;
  if (message[0] == kBehindNumber) answer.bytes = message.substr(1);
  return answer;
}

int ReadShare(MessageSocket socket) try {
  SilenceErrors();
  const std::optional<ReaderLogon> logon = ParseLogon(socket.Receive());
  if (!logon) return kNotConnected;
  // Loads the library, once for all: that takes longer than to connect.
  const auto notUsed = NewSession(*logon);
  int readers = 0;
  while (readers < kReaders && StartReader(*logon, socket)) ++readers;
  // One that could not connect owes no answer: the others go on.
  int status = 0;
  while (readers > 0 && wait(&status) > 0 && WIFEXITED(status) &&
         WEXITSTATUS(status) == kNotConnected)
    --readers;
  return kNobodyAsks;
} catch (const PlatformError&) {
  return kNotConnected;
}

}  // namespace torvik
