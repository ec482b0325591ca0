#include "import/DocumentWriter.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstdio>

namespace torvik::importing {
namespace {

bool IsBare(char c) {
  return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '_' ||
         c == '-';
}

bool IsControl(char c) {
  return (static_cast<unsigned char>(c) < 0x20 && c != '\t') || c == '\x7F';
}

std::string Escaped(char c) {
  switch (c) {
    case '"': return "\\\"";
    case '\\': return "\\\\";
    case '\n': return "\\n";
    case '\r': return "\\r";
    case '\t': return "\\t";
    default: break;
  }
  if (!IsControl(c)) return {c};
  char code[8];
  std::snprintf(code, sizeof code, "\\u%04X", static_cast<unsigned>(c) & 0xFF);
  return code;
}

std::string Escaped(std::string_view text) {
  std::string escaped = "\"";
  for (const char c : text) escaped += Escaped(c);
  return escaped + "\"";
}

std::string WithLineFeeds(std::string_view text) {
  std::string lines;
  for (std::size_t i = 0; i < text.size(); ++i) {
    if (text[i] == '\r' && i + 1 < text.size() && text[i + 1] == '\n') continue;
    lines += text[i] == '\r' ? '\n' : text[i];
  }
  return lines;
}

}  // namespace

std::string TomlKey(std::string_view key) {
  return !key.empty() && std::ranges::all_of(key, IsBare) ? std::string(key) : Escaped(key);
}

std::string TomlText(std::string_view text) {
  const bool isPlain = text.find_first_of("\"\\") == text.npos;
  const bool isLiteral = text.find('\'') == text.npos && std::ranges::none_of(text, IsControl) &&
                         text.find('\t') == text.npos;
  if (!isPlain && isLiteral) return "'" + std::string(text) + "'";
  return Escaped(text);
}

void DocumentWriter::Comment(std::string_view line) {
  text_ += "# ";
  for (const char c : line) text_ += IsControl(c) ? ' ' : c;
  text_ += "\n";
}

void DocumentWriter::Header(const std::string& header) {
  if (!text_.empty()) text_ += "\n";
  text_ += header + "\n";
}

void DocumentWriter::Text(std::string_view key, std::string_view value) {
  Collect(value);
  Line(key, TomlText(value));
}

void DocumentWriter::LongText(std::string_view key, std::string_view value) {
  const std::string lines = WithLineFeeds(value);
  if (lines.find('\n') == lines.npos) return Text(key, lines);
  Collect(lines);
  const auto isOdd = [](char c) { return IsControl(c) && c != '\n'; };
  const bool isLiteral = lines.find("'''") == lines.npos && !lines.ends_with('\'') &&
                         std::ranges::none_of(lines, isOdd);
  if (isLiteral) return Line(key, "'''\n" + lines + "'''");
  std::string escaped;
  for (const char c : lines) escaped += c == '\n' || c == '\t' ? std::string(1, c) : Escaped(c);
  Line(key, "\"\"\"\n" + escaped + "\"\"\"");
}

void DocumentWriter::Boolean(std::string_view key, bool value) {
  Line(key, value ? "true" : "false");
}

void DocumentWriter::Whole(std::string_view key, std::int64_t value) {
  Line(key, std::to_string(value));
}

void DocumentWriter::List(std::string_view key, const std::vector<std::string>& values) {
  std::string list;
  for (const std::string& value : values) {
    Collect(value);
    list += (list.empty() ? "" : ", ") + TomlText(value);
  }
  Line(key, "[" + list + "]");
}

void DocumentWriter::Table(std::string_view key,
                           const std::vector<std::pair<std::string, std::string>>& entries) {
  std::string table;
  for (const auto& [name, value] : entries) {
    Collect(value);
    table += (table.empty() ? " " : ", ") + TomlKey(name) + " = " + TomlText(value);
  }
  Line(key, table.empty() ? "{}" : "{" + table + " }");
}

void DocumentWriter::Plain(std::string_view key, const Value& value) {
  if (value.kind == Value::Kind::Boolean) return Boolean(key, value.number != 0);
  if (value.kind == Value::Kind::Number) {
    std::string text = value.DocumentText();
    const bool isWhole = text.find_first_not_of("-0123456789") == text.npos;
    if (!isWhole && text.find_first_of(".e") == text.npos) text += ".0";
    return Line(key, text);
  }
  Line(key, TomlText(value.PlainText()));
}

void DocumentWriter::Line(std::string_view key, const std::string& value) {
  text_ += TomlKey(key) + " = " + value + "\n";
}

void DocumentWriter::Collect(std::string_view value) {
  for (std::string& name : NamesIn(value))
    if (std::ranges::find(names_, name) == names_.end()) names_.push_back(std::move(name));
}

}  // namespace torvik::importing
