#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <vector>

#include "engine/pump/PumpTools.h"
#include "platform/CodePage.h"
#include "platform/PlatformError.h"

using namespace torvik;
using namespace torvik::engine;

namespace {

/// Knows UTF-8 alone, which the reader checks by itself.
struct NoCodePages : CodePages {
  std::unique_ptr<CodePage> Open(std::string_view) const override { return nullptr; }
  const CodePage& Ansi() const override { std::abort(); }
};

void Read(const std::string& text, const DelimitedFormat& format) {
  SlowFiles files;
  files.texts["in"] = text;
  try {
    ReadAll(*OpenDelimitedText(files, NoCodePages(), "in", format));
  } catch (const PlatformError&) {
  }
}

}  // namespace

/// The first byte chooses the format, the rest is the file. Reading it may fail but not crash, and
/// the row at its start must not depend on where a block ends.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size < 2) return 0;
  const unsigned choice = data[0];
  const std::string text(reinterpret_cast<const char*>(data) + 1, size - 1);
  DelimitedFormat format;
  if (choice & 1) format.columnDelimiter = "<>";
  if (choice & 2) format.rowDelimiter = "|\r\n";
  if (choice & 4) format.textQualifier.clear();
  format.firstRowColumnName = (choice & 8) != 0;
  format.skipRows = static_cast<int>(choice >> 6);
  Read(text, format);

  std::vector<std::string> rowEnds = {"\n", "\r\n"};
  if (choice & 2) rowEnds = {format.rowDelimiter};
  RowScanner scanner(format.columnDelimiter, rowEnds, format.textQualifier);
  if (!PrefixContradiction(scanner, text).empty()) std::abort();
  return 0;
}
