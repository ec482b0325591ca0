#include <cstddef>
#include <cstdint>

#include "FuzzText.h"

using namespace torvik::engine;

/// As FuzzDelimitedText, for columns of 2, 3 and 1 characters.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size < 2) return 0;
  const unsigned choice = data[0];
  const std::string text(reinterpret_cast<const char*>(data) + 1, size - 1);
  TextFormat format{.layout = TextLayout::Fixed, .columnLengths = {2, 3, 1}};
  if (choice & 1) format.rowDelimiter = "none";
  if (choice & 2) format.rowDelimiter = "##";
  format.firstRowColumnName = (choice & 8) != 0;
  FuzzText(text, format, choice >> 4, (choice & 0x80) != 0);
  return 0;
}
