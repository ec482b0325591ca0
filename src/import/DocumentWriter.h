#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "import/Record.h"

namespace torvik::importing {

/// Writes a package document as a person would: what spans lines between ''' and '''. Texts are in
/// the form of documents, in which `${Name}` stands for a variable; the names that are used are
/// collected.
class DocumentWriter {
 public:
  void Blank() { text_ += "\n"; }
  void Comment(std::string_view line);
  /// "[x]" or "[[x]]", with an empty line before it.
  void Header(const std::string& header);

  void Text(std::string_view key, std::string_view value);
  /// The same for SQL, scripts and mails, whose lines end in LF.
  void LongText(std::string_view key, std::string_view value);
  void Boolean(std::string_view key, bool value);
  void Whole(std::string_view key, std::int64_t value);
  void List(std::string_view key, const std::vector<std::string>& values);
  void Table(std::string_view key, const std::vector<std::pair<std::string, std::string>>& entries);
  /// A value that is no text in which names stand for variables.
  void Plain(std::string_view key, const Value& value);

  /// Further text that is TOML already.
  void Append(std::string_view toml) { text_ += toml; }

  const std::string& Document() const { return text_; }
  /// The variables that texts name, in the order of their first use.
  const std::vector<std::string>& UsedNames() const { return names_; }

 private:
  void Line(std::string_view key, const std::string& value);
  void Collect(std::string_view value);

  std::string text_;
  std::vector<std::string> names_;
};

/// A key, in quotes where it needs them.
std::string TomlKey(std::string_view key);
/// A text of one line.
std::string TomlText(std::string_view text);

}  // namespace torvik::importing
