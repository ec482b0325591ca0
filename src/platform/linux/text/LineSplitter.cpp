#include "platform/linux/text/LineSplitter.h"

namespace torvik {
namespace {

constexpr std::size_t kLongestLine = 8192;

/// Where to cut a text that is too long: not within a character.
std::size_t Cut(std::string_view text) {
  constexpr std::size_t longestCharacter = 4;
  std::size_t at = kLongestLine;
  while (at > kLongestLine - longestCharacter && (text[at] & 0xC0) == 0x80) --at;
  return at;
}

}  // namespace

void LineSplitter::Add(std::string_view bytes) {
  open_ += bytes;
  std::string_view rest = open_;
  for (std::size_t end; (end = rest.find('\n')) != std::string_view::npos;) {
    HandOut(rest.substr(0, end));
    rest.remove_prefix(end + 1);
  }
  while (rest.size() > kLongestLine) {
    const std::size_t cut = Cut(rest);
    onLine_(rest.substr(0, cut));
    rest.remove_prefix(cut);
  }
  open_.erase(0, open_.size() - rest.size());
}

void LineSplitter::Finish() {
  if (!open_.empty()) HandOut(open_);
  open_.clear();
}

void LineSplitter::HandOut(std::string_view line) {
  if (!line.empty() && line.back() == '\r') line.remove_suffix(1);
  for (; line.size() > kLongestLine; line.remove_prefix(Cut(line))) {
    onLine_(line.substr(0, Cut(line)));
  }
  onLine_(line);
}

}  // namespace torvik
