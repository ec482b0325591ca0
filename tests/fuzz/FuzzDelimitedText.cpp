#include <cstddef>
#include <cstdint>

#include "FuzzText.h"
#include "engine/pump/text/ScannedRows.h"

using namespace torvik::engine;

namespace {

/// Whether reading a text of two columns in UTF-8, whose rows end in LF, gives what the scanner
/// finds row by row. Of a text that cannot be read it says nothing.
bool IsReadAsScanned(const std::string& text, const TextFormat& format, RowScanner& scanner) {
  static const auto codePages = torvik::NewIconvCodePages("utf-8");
  SlowFiles files;
  files.texts["in"] = text;
  const char qualifier = format.textQualifier.empty() ? '\0' : format.textQualifier[0];
  try {
    return RowsInShort(*OpenTextSource(files, *codePages, "in", format)) ==
           ScannedRows(scanner, text, 2, qualifier);
  } catch (const torvik::PlatformError&) {
    return true;
  }
}

}  // namespace

/// The first byte chooses the format, the rest is the file. Reading it may fail but not crash, its
/// rows must not depend on where a block ends, and must be those that a scan row by row finds.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size < 2) return 0;
  const unsigned choice = data[0];
  const std::string text(reinterpret_cast<const char*>(data) + 1, size - 1);
  TextFormat format;
  if (choice & 1) format.columnDelimiter = "<>";
  if (choice & 2) format.rowDelimiter = "|\r\n";
  if (choice & 4) format.textQualifier.clear();
  format.firstRowColumnName = (choice & 8) != 0;
  format.skipRows = (choice & 0x40) != 0 ? 1 : 0;
  // Without names, a first block without a good row is an error of the file.
  if ((choice & 0x80) != 0) format.columnNames = {"a", "b"};
  FuzzText(text, format, choice >> 4, (choice & 0x80) != 0);

  RowScanner scanner(format.columnDelimiter, format.rowDelimiter, format.textQualifier);
  if (!PrefixContradiction(scanner, text).empty()) std::abort();
  const bool hasMark = text.starts_with("\xEF\xBB\xBF");
  if (choice >> 4 == 8 && (choice & 0xB) == 0 && !hasMark &&
      !IsReadAsScanned(text, format, scanner))
    std::abort();
  return 0;
}
