#include "platform/linux/ftp/FtpReplies.h"

#include <charconv>

#include "platform/Text.h"

namespace torvik {
namespace {

/// What a server may send in one reply; more is cut off, so that it cannot fill the memory.
constexpr std::size_t kLongestReply = 65536;

constexpr int kFarewell = 221;

std::optional<std::uint64_t> NumberAt(std::string_view text, std::size_t offset) {
  std::uint64_t number = 0;
  if (offset > text.size()) return std::nullopt;
  const auto result = std::from_chars(text.data() + offset, text.data() + text.size(), number);
  return result.ec == std::errc() ? std::optional(number) : std::nullopt;
}

/// That of the last "(N bytes)" of a reply: a file's name may stand before it.
std::optional<std::uint64_t> AnnouncedSizeIn(std::string_view reply) {
  const std::size_t begin = reply.rfind('(');
  if (begin == std::string_view::npos) return std::nullopt;
  const std::size_t unit = reply.find_first_not_of("0123456789", begin + 1);
  if (unit == std::string_view::npos || !reply.substr(unit).starts_with(" bytes)"))
    return std::nullopt;
  return NumberAt(reply, begin + 1);
}

}  // namespace

int FtpCodeOf(std::string_view reply) {
  if (reply.size() < 3 || !IsDigit(reply[0]) || !IsDigit(reply[1]) || !IsDigit(reply[2])) return 0;
  return (reply[0] - '0') * 100 + (reply[1] - '0') * 10 + (reply[2] - '0');
}

void FtpReplies::AddLine(std::string_view line) {
  const int code = FtpCodeOf(line);
  const char behind = line.size() > 3 ? line[3] : ' ';
  if (openCode_.empty()) last_.clear();
  if (last_.size() + line.size() <= kLongestReply) last_ += line;
  if (openCode_.empty() && code != 0 && behind == '-') {
    openCode_ = line.substr(0, 3);
  } else if (openCode_.empty() || (line.starts_with(openCode_) && behind != '-')) {
    openCode_.clear();
    Take(code);
  }
}

void FtpReplies::Take(int code) {
  if (firstCode_ == 0) firstCode_ = code;
  // A request that goes on after a refusal was not ended by it; a farewell does not go on.
  if (code >= 400) {
    refusal_ = last_;
  } else if (code != kFarewell) {
    refusal_.clear();
  }
  if (code == 213) size_ = NumberAt(last_, 4);
  if (code >= 100 && code < 200) {
    hasBegunTransfer_ = true;
    announcedSize_ = AnnouncedSizeIn(last_);
  }
  hasAskedForPassword_ = hasAskedForPassword_ || code == 331;
}

}  // namespace torvik
