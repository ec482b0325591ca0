#include "platform/linux/text/IconvCodePages.h"

#include <array>
#include <cerrno>
#include <unordered_map>

#include "platform/PlatformError.h"
#include "platform/Text.h"
#include "platform/linux/text/IconvStreams.h"

namespace torvik {
namespace {

constexpr std::string_view kReplacement = "\xEF\xBF\xBD";

/// The single characters of an encoding, in UTF-8; empty for a byte that stands for nothing.
using ByteTable = std::array<std::string, 256>;

class Utf8CodePage final : public CodePage {
 public:
  std::string Encode(std::string_view utf8) const override { return std::string(utf8); }

  std::string Decode(std::string_view bytes) const override {
    std::string utf8;
    for (;;) {
      const std::size_t invalid = DecodeStrict(bytes, utf8);
      if (invalid == kAllValid) return utf8;
      utf8 += kReplacement;
      bytes.remove_prefix(invalid + 1);
    }
  }

  std::size_t DecodeStrict(std::string_view bytes, std::string& utf8) const override {
    const std::size_t valid = ValidUtf8Length(bytes);
    utf8.append(bytes.substr(0, valid));
    return valid == bytes.size() ? kAllValid : valid;
  }
};

class SingleByteCodePage final : public CodePage {
 public:
  explicit SingleByteCodePage(const ByteTable& strict) : strict_(strict), lenient_(strict) {
    for (std::size_t byte = 0x80; byte < lenient_.size(); ++byte) {
      std::string& character = lenient_[byte];
      const bool isControl = byte < 0xA0;
      if (character.empty()) {
        character = isControl ? std::string{'\xC2', static_cast<char>(byte)} : kReplacement;
      }
      if (character != kReplacement) bytes_.emplace(character, static_cast<char>(byte));
    }
  }

  std::string Encode(std::string_view utf8) const override {
    std::string bytes;
    bytes.reserve(utf8.size());
    for (;;) {
      const std::size_t ascii = AsciiLength(utf8);
      bytes += utf8.substr(0, ascii);
      utf8.remove_prefix(ascii);
      if (utf8.empty()) return bytes;
      const std::size_t length = CharacterLength(utf8);
      const auto found = bytes_.find(std::string(utf8.substr(0, length)));
      bytes += found == bytes_.end() ? '?' : found->second;
      utf8.remove_prefix(length == 0 ? 1 : length);
    }
  }

  std::string Decode(std::string_view bytes) const override {
    std::string utf8;
    Append(lenient_, bytes, utf8);
    return utf8;
  }

  std::size_t DecodeStrict(std::string_view bytes, std::string& utf8) const override {
    return Append(strict_, bytes, utf8);
  }

 private:
  static std::size_t Append(const ByteTable& table, std::string_view bytes, std::string& utf8) {
    utf8.reserve(utf8.size() + bytes.size());
    for (std::size_t at = 0;; ++at) {
      const std::size_t ascii = AsciiLength(bytes.substr(at));
      utf8 += bytes.substr(at, ascii);
      at += ascii;
      if (at == bytes.size()) return kAllValid;
      const std::string& character = table[static_cast<unsigned char>(bytes[at])];
      if (character.empty()) return at;
      utf8 += character;
    }
  }

  ByteTable strict_;
  ByteTable lenient_;
  std::unordered_map<std::string, char> bytes_;
};

/// What iconv says of one byte of an encoding.
enum class ByteKind { Character, Invalid, NotSingleByte };

ByteKind ConvertByte(IconvHandle& toUtf8, char byte, std::string& utf8) {
  char text[16];
  std::string_view in(&byte, 1);
  std::span<char> out(text);
  toUtf8.Reset();
  const int failure = toUtf8.Convert(in, out);
  // The first half of a longer character is EINVAL; a shift of a stateful encoding gives no text.
  if (failure == EILSEQ) return ByteKind::Invalid;
  if (failure != 0 || out.size() == sizeof text) return ByteKind::NotSingleByte;
  utf8.assign(text, sizeof text - out.size());
  return ByteKind::Character;
}

/// Null unless every byte is a character for itself, or nothing, and ASCII characters themselves.
std::unique_ptr<CodePage> OpenSingleByte(const std::string& name) {
  IconvHandle toUtf8("UTF-8", name);
  if (!toUtf8.IsOpen()) return nullptr;
  ByteTable table;
  for (int byte = 0; byte < 256; ++byte) {
    std::string& character = table[static_cast<std::size_t>(byte)];
    const ByteKind kind = ConvertByte(toUtf8, static_cast<char>(byte), character);
    if (kind == ByteKind::NotSingleByte) return nullptr;
    if (byte < 0x80 && character != std::string(1, static_cast<char>(byte))) return nullptr;
  }
  return std::make_unique<SingleByteCodePage>(table);
}

class IconvCodePages final : public CodePages {
 public:
  explicit IconvCodePages(const std::string& ansiName) : ansi_(Open(ansiName)) {
    if (ansi_) return;
    throw PlatformError(0,
                        "\"" + ansiName +
                            "\" is not a single-byte encoding that this system knows; use one "
                            "like windows-1252, or utf-8",
                        "code pages");
  }

  std::unique_ptr<CodePage> Open(std::string_view name) const override {
    const std::string lower = LowerAscii(name);
    if (lower == "utf-8" || lower == "utf8") return std::make_unique<Utf8CodePage>();
    return IsPlainName(lower) ? OpenSingleByte(lower) : nullptr;
  }

  std::unique_ptr<TextDecoder> OpenDecoder(std::string_view name) const override {
    return IsPlainName(name) ? NewIconvDecoder(LowerAscii(name)) : nullptr;
  }
  std::unique_ptr<TextEncoder> OpenEncoder(std::string_view name) const override {
    return IsPlainName(name) ? NewIconvEncoder(LowerAscii(name)) : nullptr;
  }

  const CodePage& Ansi() const override { return *ansi_; }

 private:
  /// To iconv, no name is the locale's encoding, and what follows a slash an instruction.
  static bool IsPlainName(std::string_view name) {
    return !name.empty() && name.find_first_of(std::string_view("/\0", 2)) == name.npos;
  }

  std::unique_ptr<CodePage> ansi_;
};

}  // namespace

std::unique_ptr<CodePages> NewIconvCodePages(const std::string& ansiName) {
  return std::make_unique<IconvCodePages>(ansiName);
}

}  // namespace torvik
