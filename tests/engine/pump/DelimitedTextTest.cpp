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

/// The columns, a slash, and the rows of the file "f"; or the words of the error.
std::string Outcome(SlowFiles& files, const DelimitedFormat& format) {
  const auto codePages = NewIconvCodePages("windows-1252");
  try {
    const auto source = OpenDelimitedText(files, *codePages, "f", format);
    std::string names;
    for (const std::string& name : source->Columns()) names += (names.empty() ? "" : "|") + name;
    return names + "/" + ReadAll(*source);
  } catch (const PlatformError& error) {
    return error.Description();
  }
}

std::string Outcome(const std::string& text, const DelimitedFormat& format) {
  SlowFiles files;
  files.texts["f"] = text;
  return Outcome(files, format);
}

const DelimitedFormat kPlain;
const DelimitedFormat kHeader = {.firstRowColumnName = true};
const DelimitedFormat kTitle = {.firstRowColumnName = true, .skipRows = 1};
const DelimitedFormat kTwoHashes = {.rowDelimiter = "##"};
const DelimitedFormat kTwoTildes = {.columnDelimiter = "~~"};
const DelimitedFormat kWindows = {.encoding = "windows-1252"};

struct Case {
  std::string bytes;
  DelimitedFormat format;
  std::string outcome;  ///< "Col001|Col002" stands before those that begin with a slash.
};

const Case kGood[] = {
    // Line ends
    {"1,2\r\n3,4\n5,6", kPlain, "/1|2/3|4/5|6/"},
    {"1,a\rb\n", kPlain, "/1|a\rb/"},
    {"1,2\r3,4\r", {.rowDelimiter = "\r"}, "/1|2/3|4/"},
    {"1|2|\n3|4|\n", {.columnDelimiter = "|", .rowDelimiter = "|\n"}, "/1|2/3|4/"},
    {"1\n,2##3,#4##", kTwoHashes, "/1\n|2/3|#4/"},
    // Empty values and lines
    {",\"\"\n", kPlain, "/NULL|/"},
    {"a,b\n1,2\n\n\r\n\n", kHeader, "a|b/1|2/"},
    {"a\n1\n\n2\n\n", kHeader, "a/1/NULL/2/NULL/"},
    {"a,b\n", kHeader, "a|b/"},
    // Qualifiers
    {"\"a,b\",\"c\"\"d\"\n", kPlain, "/a,b|c\"d/"},
    {"\"\"\"\",\"\"\"x\"\"\"\n", kPlain, "/\"|\"x\"/"},
    {"\"a\r\nb\n\",2\r\n3,4", kPlain, "/a\r\nb\n|2/3|4/"},
    {"a\"b, \"c\"\n", kPlain, "/a\"b| \"c\"/"},
    {"'a,''b';\"c\n", {.columnDelimiter = ";", .textQualifier = "'"}, "/a,'b|\"c/"},
    {"\"a\",b\n", {.textQualifier = ""}, "/\"a\"|b/"},
    // Delimiters of several characters, and parts of them in values
    {"a~b~~c\n~~\n", kTwoTildes, "/a~b|c/NULL|NULL/"},
    {"\"1~~2\"~~3\n", kTwoTildes, "/1~~2|3/"},
    {"a\u00a7b\u00a8c\n", {.columnDelimiter = "\u00a7"}, "/a|b\u00a8c/"},
    {"\xE9\xA7z\xA7\xA7y\n",
     {.columnDelimiter = "\u00a7\u00a7", .encoding = "windows-1252"},
     "/\u00e9\u00a7z|y/"},
    // Header and skipped lines
    {"title\n\"odd,\nb,\n1,2\n", {.firstRowColumnName = true, .skipRows = 2}, "b|Col002/1|2/"},
    {"title\n1,2", {.skipRows = 1, .columnNames = {"x", "y"}}, "x|y/1|2/"},
    {"one\n", {.skipRows = 5, .columnNames = {"x"}}, "x/"},
    // Encodings
    {"\xEF\xBB\xBFx,y\n\u00e9,\U0001F600\n", kHeader, "x|y/\u00e9|\U0001F600/"},
    {"a\n\uFEFFx\n", kHeader, "a/\uFEFFx/"},
    {"\x80,\"\xE9\"\"x\"\n", {.encoding = "Windows-1252"}, "/\u20ac|\u00e9\"x/"},
};

const Case kBad[] = {
    {"a,b,c\n1,2,3\n4,5\n", kHeader, "line 3, column 2: the row ends after 2 fields, 3 are exp"},
    {"a,b\n1,\"x\ny\"\n1,2,3,4\n", kHeader, "line 4, column 3: the row has 4 fields, 2 are exp"},
    {"1\n,2##3,4##5", kTwoHashes, "line 3, column 1: the row ends after 1 field, 2 are exp"},
    {"a,b\n1,2\n\n\n3,4\n", kHeader, "line 3: the row ends after 0 fields, 2 are expected"},
    {"t\na,b\n\"1\n2\",\"3\n4\n", kTitle, "line 4, column 2 (b): the text qualifier opened here"},
    {"1,\"\n\n\"x\n", kPlain, "line 3, column 2: text follows the closing text qualifier"},
    {"a,b\n\"\"\"\n\",x\n1,\"y\n\xC3(\"\n", kHeader,
     "line 5, column 2 (b): byte 0xC3 (byte 17 of the file) is not valid utf-8"},
    {"\xC0\xAF\n", kPlain, "line 1, column 1: byte 0xC0 (byte 0 of the file)"},
    {"\xED\xA0\x80\n", kPlain, "line 1, column 1: byte 0xED (byte 0 of the file)"},
    {"ab\xF0\x9F\x98", kPlain, "line 1, column 1: byte 0xF0 (byte 2 of the file)"},
    {"\"\"\"\"\"\xE9\x81\"\n", kWindows,
     "line 1, column 1: byte 0x81 (byte 6 of the file) is not valid windows-1252"},
    {"a,b\n1,x\0y\n"s, kHeader, "line 2, column 2 (b): a NUL byte (byte 7 of the file)"},
    {"", kHeader, "line 1: a line with the column names is expected here"},
    {"x\n\na,b\n", kTitle, "line 2: a line with the column names is expected here"},
    {"a,b,a\n", kHeader, "line 1, column 3 (a): column 1 has the same name"},
    {"a", {.encoding = "utf-99"}, "the encoding \"utf-99\" is not known"},
    {"a", {.columnDelimiter = ""}, "the column delimiter is empty"},
    {"a", {.columnDelimiter = "\n"}, "the column delimiter also ends rows"},
    {"a", {.columnDelimiter = "\"|"}, "the text qualifier also begins a delimiter"},
    {"a", {.textQualifier = "\u00e9"}, "the text qualifier is not one ASCII character"},
};

TEST(DelimitedText, ReadsWhatIsWellFormedAndSaysWhereAndWhyOtherTextsAreNot) {
  for (const Case& c : kGood)
    EXPECT_EQ((c.outcome[0] == '/' ? "Col001|Col002" : "") + c.outcome, Outcome(c.bytes, c.format))
        << c.bytes;
  for (const Case& c : kBad)
    EXPECT_THAT(Outcome(c.bytes, c.format),
                StartsWith((c.outcome.starts_with("line") ? "f, " : "f: ") + c.outcome))
        << c.bytes;
  EXPECT_EQ("/", Outcome("", kPlain)) << "no rows, no columns";
}

TEST(DelimitedText, TellsWhyAFileCannotBeRead) {
  SlowFiles files;
  EXPECT_EQ("f: cannot be opened: No such file or directory", Outcome(files, kPlain));
  files.texts["f"] = "1,2\n3,4\n";
  files.readBytes = 3;
  files.failAt = 6;
  EXPECT_EQ("f: cannot be read from byte 6 on: Input/output error", Outcome(files, kPlain));
}

TEST(DelimitedText, ReadsTheSameHoweverTheBytesArrive) {
  for (const std::string lineEnd : {"\n", "\r\n"}) {
    SlowFiles files;
    std::string& text = files.texts["f"];
    std::string expected = "Col001|Col002|Col003/";
    for (int row = 0; text.size() < 400'000; ++row) {
      const std::string number = std::to_string(row);
      const std::string wide(static_cast<std::size_t>(row % 97), 'w');
      text += number + "<>\"" + wide + "\"\"<>" + lineEnd + "\"<>\u00e9<" + lineEnd;
      expected += number + "|" + wide + "\"<>" + lineEnd + "|\u00e9</";
    }
    for (files.readBytes = 1; files.readBytes <= 17; files.readBytes += 4)
      EXPECT_TRUE(expected == Outcome(files, {.columnDelimiter = "<>"}))
          << "reads of " << files.readBytes;
  }
}

TEST(DelimitedText, CountsLinesAndBytesThroughAllBlocks) {
  std::string text;
  for (int row = 0; row < 50'000; ++row) text += "1,\"2\n3\"\n";
  EXPECT_THAT(Outcome(text + "\xFF,\n", kPlain),
              StartsWith("f, line 100001, column 1 (Col001): byte 0xFF (byte 400000 of"));
}

TEST(DelimitedText, TakesLongRowsUpToALimit) {
  const std::string value(5 << 20, 'x'), endless(17 << 20, 'x');
  EXPECT_TRUE("Col001|Col002/1|2/" + value + "|" + value + "/3|4/" ==
              Outcome("1,2\n" + value + "," + value + "\n3,4\n", kPlain));
  EXPECT_THAT(Outcome("1,2\n3," + endless, kPlain),
              StartsWith("f, line 2: the row is longer than 16 MiB"));
  EXPECT_THAT(Outcome("1,2\n3,\"" + endless + endless, kPlain),
              StartsWith("f, line 2, column 2 (Col002): the row is"));
}

/// Whatever the scanner decides before it has seen everything, it would decide in the end.
TEST(RowScanner, DecidesNothingThatMoreBytesWouldChange) {
  const RowScanner scanners[] = {
      {",", {"\n", "\r\n"}, "\""}, {"<>", {"<\r\n"}, "'"}, {"|", {"|\n"}, ""}};
  const char* const texts[] = {"a,b\r\nc",   "a\r,\r\r\nb\r", "\"a\"\"b\"\r\nc", "\"a\",\"\"\n",
                               "\"a\r\n\"x", "\"open,\n",     "'a''<>'<><<>\r",  "<<><'<\r\n",
                               "'<>'<\r\nx", "'a'<x",         "a|b|\nc|",        "|||\n",
                               "\u00e9,\"\n"};
  for (RowScanner scanner : scanners)
    for (const std::string text : texts) EXPECT_EQ("", PrefixContradiction(scanner, text)) << text;
}

}  // namespace
}  // namespace torvik::engine
