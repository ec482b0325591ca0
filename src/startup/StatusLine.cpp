#include "startup/StatusLine.h"

namespace torvik {
namespace {

constexpr const char* kToTheBeginning = "\r\x1b[K";  // ECMA-48: and erase to the end of the line

/// Empty for a text that is about nothing.
std::string_view Subject(std::string_view text) {
  const std::size_t end = text.find(" : ");
  return end == std::string_view::npos ? std::string_view() : text.substr(0, end);
}

}  // namespace

StatusLine::~StatusLine() {
  if (!shown_.empty()) write_("\n");
}

void StatusLine::Show(const std::string& text) {
  if (!isTerminal_) return write_(text + "\n");
  const bool isSame = !Subject(text).empty() && Subject(text) == Subject(shown_);
  if (!shown_.empty()) write_(isSame ? kToTheBeginning : "\n");
  write_(text);
  shown_ = text;
}

}  // namespace torvik
