#include "platform/linux/shares/SmbReaders.h"

#include <algorithm>
#include <utility>

namespace torvik {
namespace {

/// For each reader: it must not run out of work while the caller has other things to do.
constexpr std::size_t kAhead = 8;

}  // namespace

SmbReaders::SmbReaders(const std::string& program, const ReaderLogon& logon,
                       std::vector<ReaderFile> files)
    : files_(std::move(files)),
      timeoutMilliseconds_(logon.settings.timeoutSeconds * 1000),
      socket_(Descriptor()) {
  auto [ours, theirs] = MessageSocket::Pair();
  if (!ours.IsOpen() || !ours.Send(logon.Message())) return;
  const ChildStart start{.program = program,
                         .arguments = {kReadShareCommand},
                         .output = theirs.Number(),
                         .input = theirs.Number()};
  std::string reason;
  const pid_t process = StartChild(start, reason);
  if (process == 0) return;
  process_ = std::make_unique<RunningChild>(process);
  socket_ = std::move(ours);
}

std::optional<std::string> SmbReaders::Take(const std::string& path) {
  if (taken_ == files_.size() || files_[taken_].path != path) return std::nullopt;
  const std::size_t number = taken_++;
  const bool isGiven = number < given_;
  given_ = std::max(given_, taken_);
  while (Receive(0)) {
  }
  if (isGiven)
    while (!come_.contains(number) && Receive(timeoutMilliseconds_)) {
    }
  // Who owes it has ended, or been silent for so long that nothing more is expected of it.
  if (isGiven && !come_.contains(number)) process_.reset();
  Give();
  const auto found = come_.extract(number);
  return found ? std::move(found.mapped()) : std::nullopt;
}

/// Takes a message; false when there is none.
bool SmbReaders::Receive(int timeoutMilliseconds) {
  if (!process_) return false;
  const std::string_view message = socket_.Receive(timeoutMilliseconds);
  if (message == kReaderIsReady) {
    mayWait_ += kAhead;
    return true;
  }
  auto answer = ParseReaderAnswer(message);
  if (answer) come_.emplace(answer->number, std::move(answer->bytes));
  return answer.has_value();
}

void SmbReaders::Give() {
  for (; process_ && given_ < files_.size() && given_ < taken_ + mayWait_; ++given_)
    if (!socket_.Send(files_[given_].Message(given_))) process_.reset();
}

}  // namespace torvik
