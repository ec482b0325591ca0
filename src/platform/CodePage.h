#pragma once

#include <cstddef>
#include <memory>
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

/// Opens encodings by name ("utf-8", "windows-1252"; letter case does not matter).
class CodePages {
 public:
  virtual ~CodePages() = default;

  /// Null when the platform does not know the encoding.
  virtual std::unique_ptr<CodePage> Open(std::string_view name) const = 0;

  /// The system's single-byte code page: that of job files, logs and status files.
  virtual const CodePage& Ansi() const = 0;
};

}  // namespace torvik
