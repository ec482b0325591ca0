#include "platform/linux/text/Utf16.h"

#include "platform/Text.h"

namespace torvik {
namespace {

constexpr char32_t kReplacementPoint = 0xFFFD;

/// The character in the valid UTF-8 sequence `bytes`.
char32_t Decode(std::string_view bytes) {
  if (bytes.size() == 1) return static_cast<unsigned char>(bytes[0]);
  char32_t character = static_cast<unsigned char>(bytes[0]) & (0x7FU >> bytes.size());
  for (const char byte : bytes.substr(1))
    character = character << 6 | (static_cast<unsigned char>(byte) & 0x3FU);
  return character;
}

void Append(std::u16string& text, char32_t character) {
  if (character < 0x10000) {
    text += static_cast<char16_t>(character);
    return;
  }
  text += static_cast<char16_t>(0xD7C0 + (character >> 10));
  text += static_cast<char16_t>(0xDC00 + (character & 0x3FF));
}

void Append(std::string& text, char32_t character) {
  const auto trail = [&](int shift) {
    text += static_cast<char>(0x80 | (character >> shift & 0x3F));
  };
  if (character < 0x80) {
    text += static_cast<char>(character);
  } else if (character < 0x800) {
    text += static_cast<char>(0xC0 | character >> 6);
    trail(0);
  } else if (character < 0x10000) {
    text += static_cast<char>(0xE0 | character >> 12);
    trail(6);
    trail(0);
  } else {
    text += static_cast<char>(0xF0 | character >> 18);
    trail(12);
    trail(6);
    trail(0);
  }
}

bool IsHighSurrogate(char16_t unit) {
  return unit >= 0xD800 && unit < 0xDC00;
}
bool IsLowSurrogate(char16_t unit) {
  return unit >= 0xDC00 && unit < 0xE000;
}

}  // namespace

std::u16string ToUtf16(std::string_view text) {
  std::u16string result;
  result.reserve(text.size());
  while (!text.empty()) {
    const std::size_t length = CharacterLength(text);
    Append(result, length == 0 ? kReplacementPoint : Decode(text.substr(0, length)));
    text.remove_prefix(length == 0 ? 1 : length);
  }
  return result;
}

std::string FromUtf16(std::u16string_view text) {
  std::string result;
  result.reserve(text.size());
  for (std::size_t i = 0; i < text.size(); ++i) {
    char32_t character = text[i];
    if (IsHighSurrogate(text[i]) && i + 1 < text.size() && IsLowSurrogate(text[i + 1])) {
      character = 0x10000 + ((text[i] - 0xD800U) << 10) + (text[i + 1] - 0xDC00U);
      ++i;
    } else if (IsHighSurrogate(text[i]) || IsLowSurrogate(text[i])) {
      character = kReplacementPoint;
    }
    Append(result, character);
  }
  return result;
}

}  // namespace torvik
