#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace torvik {

/// One line of an initialisation file, as it stands in the file's bytes.
struct IniLine {
  enum class Kind { Blank, Comment, Section, Key, Other };

  Kind kind = Kind::Blank;
  std::string_view name;  ///< Of the section or key, without the blanks around it.
  std::string_view text;  ///< Of a key: what stands behind '=', without the blanks around it.
  std::size_t end = 0;    ///< Offset of the next line.
};

/// The line of `bytes` that begins at `offset`. A section's name goes up to the last ']'. A comment
/// begins with ';'; a line without '=' is Other. A byte-order mark of UTF-8 at offset 0 is skipped.
IniLine ReadIniLine(std::string_view bytes, std::size_t offset);

/// The value that the text behind '=' stands for: the blanks around it and one pair of equal quotes
/// (' or ") taken off, by the documentation of GetPrivateProfileString.
std::string_view IniValue(std::string_view text);

/// The text of an initialisation file as bytes in the file's own encoding. Names match without
/// regard to the case of ASCII letters; the first section and key of a name count.
class IniText {
 public:
  explicit IniText(std::string bytes) : bytes_(std::move(bytes)) {}

  /// The value of a key, nothing when there is none.
  std::optional<std::string> Find(std::string_view section, std::string_view key) const;

  /// The keys of a section with their values, in their order.
  std::vector<std::pair<std::string, std::string>> Keys(std::string_view section) const;

  /// Replaces the key's value in place; a new key goes behind the last line of its section that is
  /// not blank, a new section to the end. Every other byte stays. New lines end as the first line
  /// does, with CR LF in a new file. The texts hold no line breaks.
  void Set(std::string_view section, std::string_view key, std::string_view value);

  const std::string& Bytes() const { return bytes_; }

 private:
  struct Place;
  std::size_t SectionAt(std::string_view name) const;  ///< The end when there is none.
  Place Locate(std::string_view section, std::string_view key) const;
  void InsertLine(std::size_t at, const std::string& line);
  std::string LineEnd() const;

  std::string bytes_;
  mutable std::size_t lastSection_ = 0;  ///< Where the section begins that was asked for last.
};

}  // namespace torvik
