#include <gmock/gmock.h>

#include <string>

#include "engine/pump/PumpTools.h"
#include "platform/linux/text/IconvCodePages.h"

namespace torvik::engine {
namespace {

using namespace std::string_literals;

TEST(FixedText, CutsRowsByLengthAndReportsThoseThatDoNotFit) {
  const auto codePages = NewIconvCodePages("windows-1252");
  const struct {
    std::string bytes;
    TextFormat format;  // columns of 2, 3 and 1 characters
    std::string outcome;
  } cases[] = {
      {"ab123x\nc  4 y\r\n   5  ", {}, "ab|123|x/c| 4|y/NULL| 5|NULL/"},
      {"ab\nab123\nab123xx\nab123x  \n\n",
       {},
       "ab|NULL|NULL/ab|123|NULL/!3.4 the row has 7/ab|123|x/"},
      {"a\nab1\n\nab123x",
       {},
       "!1.1 the row ends after/!2.2 the row ends after/!3.0 the row ends after/ab|123|x/"},
      {"\u00e9\u20ac123x\nab1\xFF"
       "3x\nab\0",
       {},
       "\u00e9\u20ac|123|x/!2.2 byte 0xFF (byte 13/ab|NULL|NULL/"},
      {"\xE9\x80"
       "123x\n\x81",
       {.encoding = "windows-1252"},
       "\u00e9\u20ac|123|x/!2.1 the row ends after/"},
      {"\xE9\0\xAC\x20"
       "1\0002\0003\0x\0\n\0"s,
       {.encoding = "utf-16le"},
       "\u00e9\u20ac|123|x/"},
      {"ab123xcd456yef7", {.rowDelimiter = "none"}, "ab|123|x/cd|456|y/!3.2 the row ends after/"},
      {"\u00e9b1\n3xcd", {.rowDelimiter = "none"}, "\u00e9b|1\n3|x/cd|NULL|NULL/"},
      {"no row", {.rowDelimiter = "none", .skipRows = 1}, ""},
      {"##ab123x##cd", {.rowDelimiter = "##", .skipRows = 1}, "ab|123|x/cd|NULL|NULL/"},
      {"k nr y\nab123x\n", {.firstRowColumnName = true}, "ab|123|x/"}};
  for (const auto& c : cases)
    for (const std::size_t readBytes : {1, 100}) {
      SlowFiles files;
      files.texts["f"] = c.bytes;
      files.readBytes = readBytes;
      TextFormat format = c.format;
      format.layout = TextLayout::Fixed;
      format.columnLengths = {2, 3, 1};
      const auto source = OpenTextSource(files, *codePages, "f", format);
      const Reading reading = ReadOn(*source);
      EXPECT_EQ(c.outcome, reading.rows) << c.bytes;
      EXPECT_EQ("", reading.gap) << c.bytes;
      EXPECT_EQ(3u, source->Columns().size());
    }
}

/// Rows that blocks cut, inside characters too.
TEST(FixedText, ReadsThroughAllBlocks) {
  SlowFiles files;
  std::string expected;
  for (int row = 0; row < 60'000; ++row) {
    files.texts["f"] += row % 3 ? "\u20ac"
                                  "a"
                                : "\U0001F600\u00e9";
    expected += row % 3 ? "\u20ac|a/" : "\U0001F600|\u00e9/";
  }
  const TextFormat format{
      .rowDelimiter = "none", .layout = TextLayout::Fixed, .columnLengths = {1, 1}};
  EXPECT_TRUE(expected ==
              ReadAll(*OpenTextSource(files, *NewIconvCodePages("utf-8"), "f", format)));
}

}  // namespace
}  // namespace torvik::engine
