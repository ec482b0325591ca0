#include <cstddef>
#include <cstdint>

#include "FuzzText.h"

using namespace torvik::engine;

/// The first byte chooses the format, the rest is the file. Reading it may fail but not crash, and
/// its rows must not depend on where a block ends.
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
  return 0;
}
