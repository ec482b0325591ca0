#include "engine/pump/Utf8.h"

#include <algorithm>

namespace torvik::engine {
namespace {

bool IsContinuation(char byte) {
  return (static_cast<unsigned char>(byte) & 0xC0) == 0x80;
}

/// How many bytes a character has that starts with `first`, and what its second byte may be: that
/// range is what keeps out overlong forms, surrogates and numbers that are too high.
struct Lead {
  std::size_t length;
  unsigned char secondLow = 0x80, secondHigh = 0xBF;
};

Lead LeadOf(unsigned char first) {
  if (first < 0x80) return {1};
  if (first < 0xC2) return {0};
  if (first < 0xE0) return {2};
  if (first == 0xE0) return {3, 0xA0, 0xBF};
  if (first == 0xED) return {3, 0x80, 0x9F};
  if (first < 0xF0) return {3};
  if (first == 0xF0) return {4, 0x90, 0xBF};
  if (first < 0xF4) return {4};
  if (first == 0xF4) return {4, 0x80, 0x8F};
  return {0};
}

/// The length of the valid character that `text` begins with; 0 when there is none.
std::size_t CharacterLength(std::string_view text) {
  const Lead lead = LeadOf(static_cast<unsigned char>(text[0]));
  if (lead.length < 2) return lead.length;
  if (text.size() < lead.length) return 0;
  const auto second = static_cast<unsigned char>(text[1]);
  if (second < lead.secondLow || second > lead.secondHigh) return 0;
  for (std::size_t i = 2; i < lead.length; ++i)
    if (!IsContinuation(text[i])) return 0;
  return lead.length;
}

}  // namespace

std::size_t FindInvalidUtf8(std::string_view text) {
  for (std::size_t at = 0; at < text.size();) {
    const std::size_t length = CharacterLength(text.substr(at));
    if (length == 0) return at;
    at += length;
  }
  return std::string_view::npos;
}

std::size_t CountCharacters(std::string_view text) {
  return text.size() - static_cast<std::size_t>(std::ranges::count_if(text, IsContinuation));
}

std::string_view FirstCharacters(std::string_view text, std::size_t count) {
  std::size_t end = 0;
  while (end < text.size() && count-- > 0) do
      ++end;
    while (end < text.size() && IsContinuation(text[end]));
  return text.substr(0, end);
}

}  // namespace torvik::engine
