#pragma once

#include <cstddef>
#include <memory>
#include <span>
#include <string>
#include <string_view>

namespace torvik {

/// Converts between UTF-8, the encoding of every text in memory, and one other encoding.
/// Stateless after construction: threads may share it.
class CodePage {
 public:
  static constexpr std::size_t kAllValid = static_cast<std::size_t>(-1);

  virtual ~CodePage() = default;

  /// The bytes of `utf8` in this encoding; a character that it lacks becomes '?'.
  virtual std::string Encode(std::string_view utf8) const = 0;

  /// The text of `bytes`. Never fails: a byte that stands for nothing becomes U+FFFD.
  virtual std::string Decode(std::string_view bytes) const = 0;

  /// Appends the text of `bytes` to `utf8`. Answers kAllValid, or the offset of the first byte that
  /// is not valid in this encoding; `utf8` then holds the text before it.
  virtual std::size_t DecodeStrict(std::string_view bytes, std::string& utf8) const = 0;
};

/// Decodes a text that comes in pieces; keeps what the encoding remembers from one to the next.
class TextDecoder {
 public:
  /// Stands in the decoded text for a byte, or for a unit of a wider encoding, that belongs to no
  /// character. No UTF-8 text holds it.
  static constexpr char kInvalid = '\xFF';

  virtual ~TextDecoder() = default;

  /// Puts the UTF-8 text of `bytes` into `utf8`; both lose from their front what was used. Ends
  /// when `utf8` has no room for the next character or `bytes` hold only the beginning of one,
  /// which cannot be when they are the `last` ones.
  virtual void Decode(std::string_view& bytes, std::span<char>& utf8, bool last) = 0;
};

/// Encodes texts one by one.
class TextEncoder {
 public:
  virtual ~TextEncoder() = default;

  /// Appends the bytes of `utf8`, which begin and end as a text by itself. False when it is not
  /// UTF-8 or has a character that the encoding lacks; `bytes` then stay as they were.
  virtual bool Encode(std::string_view utf8, std::string& bytes) = 0;
};

/// Opens encodings by name ("utf-8", "windows-1252"; letter case does not matter).
class CodePages {
 public:
  virtual ~CodePages() = default;

  /// UTF-8, and the encodings in which each byte is a character and ASCII characters are
  /// themselves. Null for others.
  virtual std::unique_ptr<CodePage> Open(std::string_view name) const = 0;

  /// Any encoding that the platform knows, else null. Neither expects nor writes a byte-order mark
  /// when the name says the byte order ("utf-16le").
  virtual std::unique_ptr<TextDecoder> OpenDecoder(std::string_view name) const = 0;
  virtual std::unique_ptr<TextEncoder> OpenEncoder(std::string_view name) const = 0;

  /// The system's single-byte code page: that of job files, logs and status files.
  virtual const CodePage& Ansi() const = 0;
};

}  // namespace torvik
