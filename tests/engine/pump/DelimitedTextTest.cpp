#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

#include "PumpTools.h"
#include "platform/PlatformError.h"
#include "platform/linux/IconvCodePages.h"

namespace torvik::engine {
namespace {

using testing::StartsWith;
using namespace std::string_literals;

constexpr char kPath[] = "in.csv";

/// The columns, a slash, and the rows; or the words of the error.
std::string Outcome(SlowFiles& files, const DelimitedFormat& format) {
  const auto codePages = NewIconvCodePages("windows-1252");
  try {
    const auto source = OpenDelimitedText(files, *codePages, kPath, format);
    std::string names;
    for (const std::string& name : source->Columns()) names += (names.empty() ? "" : "|") + name;
    return names + "/" + ReadAll(*source);
  } catch (const PlatformError& error) {
    return error.Description();
  }
}

const DelimitedFormat kPlain;
const DelimitedFormat kHeader = {.firstRowColumnName = true};

struct Case {
  std::string bytes;
  DelimitedFormat format;
  std::string outcome;
};

const Case kGood[] = {
    // Line ends
    {"1,2\n3,4\n", kPlain, "Col001|Col002/1|2/3|4/"},
    {"1,2\r\n3,4\r\n", kPlain, "Col001|Col002/1|2/3|4/"},
    {"1,2\r\n3,4\n5,6", kPlain, "Col001|Col002/1|2/3|4/5|6/"},
    {"1,a\rb\n", kPlain, "Col001|Col002/1|a\rb/"},
    {"1,2\r3,4\r", {.rowDelimiter = "\r"}, "Col001|Col002/1|2/3|4/"},
    {"1|2|\n3|4|\n", {.columnDelimiter = "|", .rowDelimiter = "|\n"}, "Col001|Col002/1|2/3|4/"},
    {"1\n,2##3,#4##", {.rowDelimiter = "##"}, "Col001|Col002/1\n|2/3|#4/"},
    // Empty values and lines
    {",\"\",x\n", kPlain, "Col001|Col002|Col003/NULL||x/"},
    {"a,b\n1,\n\n", kHeader, "a|b/1|NULL/"},
    {"a,b\n1,2\n\r\n\n\n", kHeader, "a|b/1|2/"},
    {"a\n1\n\n2\n\n", kHeader, "a/1/NULL/2/NULL/"},
    {"", kPlain, "/"},
    {"a,b\n", kHeader, "a|b/"},
    // Qualifiers
    {"\"a,b\",\"c\"\"d\"\n", kPlain, "Col001|Col002/a,b|c\"d/"},
    {"\"\"\"\",\"\"\"x\"\"\"\n", kPlain, "Col001|Col002/\"|\"x\"/"},
    {"\"a\r\nb\n\",2\r\n3,4", kPlain, "Col001|Col002/a\r\nb\n|2/3|4/"},
    {"a\"b, \"c\"\n", kPlain, "Col001|Col002/a\"b| \"c\"/"},
    {"'a,''b';\"c\n", {.columnDelimiter = ";", .textQualifier = "'"}, "Col001|Col002/a,'b|\"c/"},
    {"\"a\",b\n", {.textQualifier = ""}, "Col001|Col002/\"a\"|b/"},
    // Delimiters of several characters, and parts of them in values
    {"a~b~~c\n~~\n", {.columnDelimiter = "~~"}, "Col001|Col002/a~b|c/NULL|NULL/"},
    {"\"1~~2\"~~3\n", {.columnDelimiter = "~~"}, "Col001|Col002/1~~2|3/"},
    {"a\u00a7b\u00a8c\n", {.columnDelimiter = "\u00a7"}, "Col001|Col002/a|b\u00a8c/"},
    {"a\xA7\xE9\n",
     {.columnDelimiter = "\u00a7", .encoding = "windows-1252"},
     "Col001|Col002/a|\u00e9/"},
    {"a\xA7z\xA7\xA7y\n",
     {.columnDelimiter = "\u00a7\u00a7", .encoding = "windows-1252"},
     "Col001|Col002/a\u00a7z|y/"},
    // Header and skipped lines
    {"title\n\"odd,\nb,\n1,2\n", {.firstRowColumnName = true, .skipRows = 2}, "b|Col002/1|2/"},
    {"title\n1,2", {.skipRows = 1, .columnNames = {"x", "y"}}, "x|y/1|2/"},
    {"one\n", {.skipRows = 5, .columnNames = {"x"}}, "x/"},
    // Encodings
    {"\xEF\xBB\xBF"
     "a,b\n\u00e9,\U0001F600\n",
     kHeader, "a|b/\u00e9|\U0001F600/"},
    {"a\n\uFEFFx\n", kHeader, "a/\uFEFFx/"},
    {"\x80,\"\xE9\"\"x\"\n", {.encoding = "Windows-1252"}, "Col001|Col002/\u20ac|\u00e9\"x/"},
};

const Case kBad[] = {
    {"a,b,c\n1,2,3\n4,5\n", kHeader,
     "in.csv, line 3, column 2: the row ends after 2 fields, 3 are expected"},
    {"a,b\n1,\"x\ny\"\n1,2,3,4\n", kHeader,
     "in.csv, line 4, column 3: the row has 4 fields, 2 are expected"},
    {"1\n,2##3,4##5",
     {.rowDelimiter = "##"},
     "in.csv, line 3, column 1: the row ends after 1 field, 2 are expected"},
    {"a,b\n1,2\n\n\n3,4\n", kHeader, "in.csv, line 3: the row ends after 0 fields, 2 are expected"},
    {"t\na,b\n\"1\n2\",\"3\n4\n",
     {.firstRowColumnName = true, .skipRows = 1},
     "in.csv, line 4, column 2 (b): the text qualifier opened here is never closed"},
    {"1,\"\n\n\"x\n", kPlain, "in.csv, line 3, column 2: text follows the closing text qualifier"},
    {"a,b\n\"\"\"\n\",x\n1,\"y\n\xC3(\"\n", kHeader,
     "in.csv, line 5, column 2 (b): byte 0xC3 (byte 17 of the file) is not valid utf-8"},
    {"\xC0\xAF\n", kPlain, "in.csv, line 1, column 1: byte 0xC0 (byte 0 of the file)"},
    {"\xED\xA0\x80\n", kPlain, "in.csv, line 1, column 1: byte 0xED (byte 0 of the file)"},
    {"ab\xF0\x9F\x98", kPlain, "in.csv, line 1, column 1: byte 0xF0 (byte 2 of the file)"},
    {"\xFF\xFE"
     "a",
     kPlain, "in.csv, line 1, column 1: byte 0xFF (byte 0 of the file)"},
    {"\"\"\"\"\"\xE9\x81\"\n",
     {.encoding = "windows-1252"},
     "in.csv, line 1, column 1: byte 0x81 (byte 6 of the file) is not valid windows-1252"},
    {"a,b\n1,x\0y\n"s, kHeader, "in.csv, line 2, column 2 (b): a NUL byte (byte 7 of the file)"},
    {"", kHeader, "in.csv, line 1: a line with the column names is expected here"},
    {"x\n\na,b\n",
     {.firstRowColumnName = true, .skipRows = 1},
     "in.csv, line 2: a line with the column names is expected here"},
    {"a,b,a\n", kHeader, "in.csv, line 1, column 3 (a): column 1 has the same name"},
    {"a", {.encoding = "utf-99"}, "in.csv: the encoding \"utf-99\" is not known"},
    {"a", {.columnDelimiter = ""}, "in.csv: the column delimiter is empty"},
    {"a", {.columnDelimiter = "\n"}, "in.csv: the column delimiter also ends rows"},
    {"a", {.columnDelimiter = "\"|"}, "in.csv: the text qualifier also begins a delimiter"},
    {"a", {.textQualifier = "\u00e9"}, "in.csv: the text qualifier is not one ASCII character"},
};

TEST(DelimitedText, ReadsWhatIsWellFormed) {
  for (const Case& c : kGood) {
    SlowFiles files;
    files.texts[kPath] = c.bytes;
    EXPECT_EQ(c.outcome, Outcome(files, c.format)) << c.bytes;
  }
}

TEST(DelimitedText, SaysWhereAndWhyTheTextIsWrong) {
  for (const Case& c : kBad) {
    SlowFiles files;
    files.texts[kPath] = c.bytes;
    EXPECT_THAT(Outcome(files, c.format), StartsWith(c.outcome)) << c.bytes;
  }
}

TEST(DelimitedText, TellsWhyAFileCannotBeRead) {
  SlowFiles files;
  EXPECT_EQ("in.csv: cannot be opened: No such file or directory", Outcome(files, kPlain));
  files.texts[kPath] = "1,2\n3,4\n";
  files.readBytes = 3;
  files.failAt = 6;
  EXPECT_EQ("in.csv: cannot be read from byte 6 on: Input/output error", Outcome(files, kPlain));
}

/// Rows of every kind up to `bytes`, with what they must read as.
Case LongText(std::size_t bytes, const char* lineEnd) {
  Case c{"", {.columnDelimiter = "<>"}, "Col001|Col002|Col003/"};
  for (int row = 0; c.bytes.size() < bytes; ++row) {
    const std::string number = std::to_string(row);
    const std::string wide(static_cast<std::size_t>(row % 97), 'w');
    c.bytes += number + "<>\"" + wide + "\"\"<>" + lineEnd + "\"<>\u00e9<" + lineEnd;
    c.outcome += number + "|" + wide + "\"<>" + lineEnd + "|\u00e9</";
  }
  return c;
}

TEST(DelimitedText, ReadsTheSameHoweverTheBytesArrive) {
  for (const char* lineEnd : {"\n", "\r\n"}) {
    const Case c = LongText(400'000, lineEnd);
    for (std::size_t readBytes = 1; readBytes <= 17; readBytes += 4) {
      SlowFiles files;
      files.texts[kPath] = c.bytes;
      files.readBytes = readBytes;
      EXPECT_TRUE(c.outcome == Outcome(files, c.format)) << "reads of " << readBytes;
    }
  }
}

TEST(DelimitedText, CountsLinesAndBytesThroughAllBlocks) {
  SlowFiles files;
  for (int row = 0; row < 50'000; ++row) files.texts[kPath] += "1,\"2\n3\"\n";
  files.texts[kPath] += "\xFF,\n";
  EXPECT_THAT(Outcome(files, kPlain),
              StartsWith("in.csv, line 100001, column 1 (Col001): byte 0xFF (byte 400000 of"));
}

TEST(DelimitedText, TakesLongRowsUpToALimit) {
  SlowFiles files;
  const std::string value(5 << 20, 'x');
  files.texts[kPath] = "1,2\n" + value + "," + value + "\n3,4\n";
  EXPECT_TRUE("Col001|Col002/1|2/" + value + "|" + value + "/3|4/" == Outcome(files, kPlain));

  const std::string endless(17 << 20, 'x');
  files.texts[kPath] = "1,2\n3," + endless;
  EXPECT_THAT(Outcome(files, kPlain), StartsWith("in.csv, line 2: the row is longer than 16 MiB"));
  files.texts[kPath] = "1,2\n3,\"" + endless + endless;
  EXPECT_THAT(Outcome(files, kPlain), StartsWith("in.csv, line 2, column 2 (Col002): the row is"));
}

}  // namespace
}  // namespace torvik::engine
