#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string>
#include <string_view>

/// Letter case of ASCII letters, and characters of UTF-8.
namespace torvik {

inline char LowerAscii(char c) {
  return c >= 'A' && c <= 'Z' ? static_cast<char>(c + 32) : c;
}

/// The text with its ASCII letters in lower case.
inline std::string LowerAscii(std::string_view text) {
  std::string lower(text);
  for (char& c : lower) c = LowerAscii(c);
  return lower;
}

/// Equality without regard to the case of ASCII letters.
inline bool EqualsIgnoringCase(std::string_view a, std::string_view b) {
  return std::equal(a.begin(), a.end(), b.begin(), b.end(),
                    [](char x, char y) { return LowerAscii(x) == LowerAscii(y); });
}

inline bool IsDigit(char c) {
  return c >= '0' && c <= '9';
}

constexpr std::string_view kWhiteSpace = " \t\r\n";

/// The text without the blanks around it; without another set of characters when one is given.
inline std::string_view Trimmed(std::string_view text, std::string_view blanks = " ") {
  const std::size_t begin = std::min(text.find_first_not_of(blanks), text.size());
  return text.substr(begin, text.find_last_not_of(blanks) + 1 - begin);
}

/// The text with a blank for each CR and LF: one line of a log.
inline std::string LineBreaksAsBlanks(std::string_view text) {
  std::string line(text);
  std::replace_if(
      line.begin(), line.end(), [](char c) { return c == '\r' || c == '\n'; }, ' ');
  return line;
}

/// The text with blanks for control characters: one line, whatever it held.
inline std::string ControlsAsBlanks(std::string text) {
  std::replace_if(
      text.begin(), text.end(), [](unsigned char c) { return c < 0x20; }, ' ');
  return text;
}

/// How many bytes at the start of `text` are ASCII characters.
inline std::size_t AsciiLength(std::string_view text) {
  constexpr std::uint64_t highBits = 0x8080808080808080;
  std::size_t length = 0;
  for (std::uint64_t word; length + sizeof word <= text.size(); length += sizeof word) {
    std::memcpy(&word, text.data() + length, sizeof word);
    if ((word & highBits) != 0) break;
  }
  while (length < text.size() && static_cast<unsigned char>(text[length]) < 0x80) ++length;
  return length;
}

/// How many bytes a UTF-8 character has that begins with `first`, 0 for none, and the range of its
/// second byte, which keeps out overlong forms, surrogates and numbers above U+10FFFF (table 3-7 of
/// the Unicode standard).
struct Utf8Lead {
  std::size_t length;
  unsigned char secondFirst = 0x80, secondLast = 0xBF;
};

inline Utf8Lead Utf8LeadOf(unsigned char first) {
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

/// The length of the valid UTF-8 character that `text` begins with; 0 when there is none. `text` is
/// not empty.
inline std::size_t CharacterLength(std::string_view text) {
  const Utf8Lead lead = Utf8LeadOf(static_cast<unsigned char>(text[0]));
  if (lead.length < 2) return lead.length;
  if (text.size() < lead.length) return 0;
  const auto second = static_cast<unsigned char>(text[1]);
  if (second < lead.secondFirst || second > lead.secondLast) return 0;
  for (std::size_t i = 2; i < lead.length; ++i) {
    if ((static_cast<unsigned char>(text[i]) & 0xC0) != 0x80) return 0;
  }
  return lead.length;
}

/// The code point of the one valid UTF-8 character in `character`; its byte when it is not valid.
inline char32_t CodePointOf(std::string_view character) {
  const auto first = static_cast<unsigned char>(character[0]);
  if (character.size() < 2) return first;
  char32_t point = first & (0xFFu >> (character.size() + 1));
  for (const char c : character.substr(1))
    point = point << 6 | (static_cast<unsigned char>(c) & 0x3F);
  return point;
}

/// Appends the character of a code point up to U+10FFFF.
inline void AppendCodePoint(char32_t point, std::string& utf8) {
  if (point < 0x80) {
    utf8 += static_cast<char>(point);
    return;
  }
  const int rest = point < 0x800 ? 1 : point < 0x10000 ? 2 : 3;
  const unsigned lead = 0xFFu << (7 - rest) & 0xFF;
  utf8 += static_cast<char>(lead | point >> (6 * rest));
  for (int shift = 6 * (rest - 1); shift >= 0; shift -= 6)
    utf8 += static_cast<char>(0x80 | (point >> shift & 0x3F));
}

/// How many bytes at the start of `text` are valid UTF-8.
inline std::size_t ValidUtf8Length(std::string_view text) {
  std::size_t at = 0;
  for (;;) {
    at += AsciiLength(text.substr(at));
    if (at == text.size()) return at;
    const std::size_t length = CharacterLength(text.substr(at));
    if (length == 0) return at;
    at += length;
  }
}

/// The text with '?' for each byte that is not valid UTF-8.
inline std::string AsValidUtf8(std::string_view text) {
  std::string valid;
  for (;;) {
    const std::size_t length = ValidUtf8Length(text);
    valid += text.substr(0, length);
    if (length == text.size()) return valid;
    valid += '?';
    text.remove_prefix(length + 1);
  }
}

/// The number of characters of a valid UTF-8 text.
inline std::size_t CountCharacters(std::string_view text) {
  return static_cast<std::size_t>(std::count_if(text.begin(), text.end(), [](char c) {
    return (static_cast<unsigned char>(c) & 0xC0) != 0x80;
  }));
}

/// The same in units of UTF-16: a character of four bytes takes two.
inline std::size_t CountUtf16Units(std::string_view text) {
  return CountCharacters(text) +
         static_cast<std::size_t>(std::count_if(text.begin(), text.end(), [](char c) {
           return static_cast<unsigned char>(c) >= 0xF0;
         }));
}

/// The first `count` characters; a byte that is not valid UTF-8 counts as one.
inline std::string_view FirstCharacters(std::string_view text, std::size_t count) {
  std::size_t at = 0;
  for (; count > 0 && at < text.size(); --count) {
    at += std::max<std::size_t>(1, CharacterLength(text.substr(at)));
  }
  return text.substr(0, at);
}

}  // namespace torvik
