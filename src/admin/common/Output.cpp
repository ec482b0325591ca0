#include <algorithm>
#include <cstdio>

#include "admin/common/Admin.h"

namespace torvik::admin {
namespace {

/// Characters, not bytes: what follows a first byte of UTF-8 takes no room of its own.
std::size_t Width(const std::string& text) {
  return static_cast<std::size_t>(
      std::count_if(text.begin(), text.end(), [](char c) { return (c & 0xC0) != 0x80; }));
}

/// A text that a line cannot show as it is.
bool NeedsQuotes(const std::string& text) {
  const bool hasControl = std::any_of(text.begin(), text.end(), [](char c) {
    return static_cast<unsigned char>(c) < ' ' || c == '\x7F';
  });
  return hasControl || text.starts_with(' ') || text.ends_with(' ');
}

std::string CellText(const Json& value) {
  if (value.is_null()) return "";
  const bool isShownAsIs = value.is_string() && !NeedsQuotes(value.get_ref<const std::string&>());
  if (isShownAsIs) return value.get<std::string>();
  return value.dump(-1, ' ', false, Json::error_handler_t::replace);
}

void PrintLine(const std::vector<std::string>& cells, const std::vector<std::size_t>& widths) {
  std::string line;
  for (std::size_t i = 0; i < cells.size(); ++i) {
    line += cells[i];
    if (i + 1 < cells.size()) line.append(widths[i] - Width(cells[i]) + 2, ' ');
  }
  std::printf("%s\n", line.c_str());
}

void PrintJson(const Json& json) {
  std::printf("%s\n", json.dump(2, ' ', false, Json::error_handler_t::replace).c_str());
}

}  // namespace

void PrintRows(const std::vector<std::string>& headings, const std::vector<JsonRow>& rows,
               bool json) {
  if (json) {
    Json list = Json::array();
    for (const auto& row : rows) {
      Json entry = Json::object();
      for (std::size_t i = 0; i < headings.size(); ++i) entry[headings[i]] = row[i];
      list.push_back(std::move(entry));
    }
    return PrintJson(list);
  }
  std::vector<std::vector<std::string>> lines = {headings};
  for (const auto& row : rows) {
    lines.emplace_back();
    for (const Json& value : row) lines.back().push_back(CellText(value));
  }
  std::vector<std::size_t> widths(headings.size());
  for (const auto& line : lines) {
    for (std::size_t i = 0; i < line.size(); ++i) widths[i] = std::max(widths[i], Width(line[i]));
  }
  for (const auto& line : lines) PrintLine(line, widths);
}

void PrintResult(const Json& result, const std::string& sentence, bool json) {
  if (json) return PrintJson(result);
  std::printf("%s\n", sentence.c_str());
}

}  // namespace torvik::admin
