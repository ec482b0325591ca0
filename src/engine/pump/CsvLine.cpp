#include "engine/pump/CsvLine.h"

#include <array>

#include "engine/pump/TextRow.h"

namespace torvik::engine {
namespace {

bool NeedsQuotes(std::string_view text) {
  return text.empty() || text.find_first_of(",\"\r\n") != std::string_view::npos;
}

}  // namespace

std::string CsvLine(std::span<const ado::LoadValue> values) {
  std::string line;
  for (std::size_t i = 0; i < values.size(); ++i) {
    if (i > 0) line += ',';
    if (values[i].IsNull()) continue;
    std::array<char, kNumberCharacters> room;
    const std::string_view text = WrittenText(values[i], room);
    if (NeedsQuotes(text)) {
      AppendQuoted(text, '"', line);
    } else {
      line += text;
    }
  }
  return line + "\r\n";
}

}  // namespace torvik::engine
