#include "platform/linux/IconvCodePages.h"

#include <iconv.h>

#include <array>
#include <unordered_map>

#include "platform/PlatformError.h"
#include "platform/Text.h"

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

/// A conversion of iconv from an encoding to UTF-8.
class Converter {
 public:
  explicit Converter(const std::string& name) : handle_(iconv_open("UTF-8", name.c_str())) {}
  ~Converter() {
    if (IsOpen()) iconv_close(handle_);
  }
  Converter(const Converter&) = delete;
  Converter& operator=(const Converter&) = delete;

  bool IsOpen() const { return handle_ != reinterpret_cast<iconv_t>(-1); }

  enum class Outcome { Character, Invalid, NotSingleByte };

  Outcome Convert(char byte, std::string& utf8) {
    char text[16];
    char* in = &byte;
    char* out = text;
    std::size_t inLeft = 1;
    std::size_t outLeft = sizeof text;
    iconv(handle_, nullptr, nullptr, nullptr, nullptr);
    const bool failed =
        iconv(handle_, &in, &inLeft, &out, &outLeft) == static_cast<std::size_t>(-1);
    // The first half of a longer character is EINVAL; a shift of a stateful encoding gives no text.
    if (failed && errno == EILSEQ) return Outcome::Invalid;
    if (failed || out == text) return Outcome::NotSingleByte;
    utf8.assign(text, out);
    return Outcome::Character;
  }

 private:
  iconv_t handle_;
};

/// Null unless every byte is a character for itself, or nothing, and ASCII characters themselves.
std::unique_ptr<CodePage> OpenSingleByte(const std::string& name) {
  Converter converter(name);
  if (!converter.IsOpen()) return nullptr;
  ByteTable table;
  for (int byte = 0; byte < 256; ++byte) {
    std::string& character = table[static_cast<std::size_t>(byte)];
    const auto outcome = converter.Convert(static_cast<char>(byte), character);
    if (outcome == Converter::Outcome::NotSingleByte) return nullptr;
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
    // To iconv, no name is the locale's encoding, and what follows a slash an instruction.
    if (lower.empty() || lower.find('/') != std::string::npos) return nullptr;
    return OpenSingleByte(lower);
  }

  const CodePage& Ansi() const override { return *ansi_; }

 private:
  std::unique_ptr<CodePage> ansi_;
};

}  // namespace

std::unique_ptr<CodePages> NewIconvCodePages(const std::string& ansiName) {
  return std::make_unique<IconvCodePages>(ansiName);
}

}  // namespace torvik
