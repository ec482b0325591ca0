#include "engine/pump/CsvLine.h"

#include "engine/pump/Conversion.h"
#include "engine/pump/RowBatch.h"

namespace torvik::engine {
namespace {

bool NeedsQuotes(std::string_view text) {
  return text.empty() || text.find_first_of(",\"\r\n") != std::string_view::npos;
}

}  // namespace

std::string CsvLine(std::span<const ado::LoadValue> values, RowBatch& batch) {
  std::string line;
  for (std::size_t i = 0; i < values.size(); ++i) {
    if (i > 0) line += ',';
    if (values[i].IsNull()) continue;
    const std::string_view text = TextOfValue(values[i], batch);
    if (!NeedsQuotes(text)) {
      line += text;
      continue;
    }
    line += '"';
    for (const char c : text) line.append(c == '"' ? 2 : 1, c);
    line += '"';
  }
  return line + "\r\n";
}

}  // namespace torvik::engine
