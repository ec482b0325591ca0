#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <random>
#include <span>
#include <string>

#include "engine/pump/PumpTools.h"
#include "engine/pump/text/BlockReader.h"
#include "engine/pump/text/ScannedRows.h"
#include "platform/PlatformError.h"
#include "platform/linux/text/IconvCodePages.h"

namespace torvik::engine {
namespace {

using testing::StartsWith;
using namespace std::string_literals;

/// The columns, a slash, and the rows of the file "f"; or the words of the error. Whatever they
/// are, the rows' own bytes must be the file's.
std::string Outcome(SlowFiles& files, const TextFormat& format) {
  const auto codePages = NewIconvCodePages("windows-1252");
  try {
    const auto source = OpenTextSource(files, *codePages, "f", format);
    std::string names;
    for (const std::string& name : source->Columns()) names += (names.empty() ? "" : "|") + name;
    const Reading reading = ReadOn(*source);
    EXPECT_EQ("", reading.gap);
    EXPECT_TRUE(files.texts["f"].substr(reading.start).starts_with(reading.bytes));
    return names + "/" + reading.rows;
  } catch (const PlatformError& error) {
    return error.Description();
  }
}

std::string Outcome(const std::string& text, const TextFormat& format) {
  SlowFiles files;
  files.texts["f"] = text;
  return Outcome(files, format);
}

const TextFormat kPlain;
const TextFormat kHeader = {.firstRowColumnName = true};
const TextFormat kTitle = {.firstRowColumnName = true, .skipRows = 1};
const TextFormat kTwoHashes = {.rowDelimiter = "##"};
const TextFormat kTwoTildes = {.columnDelimiter = "~~"};
const TextFormat kWindows = {.encoding = "windows-1252"};

struct Case {
  std::string bytes;
  TextFormat format;
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
    {"a,b,c\n1,2,3\n4,5\n6,7,8\n", kHeader, "a|b|c/1|2|3/!3.2 the row ends after/6|7|8/"},
    {"a,b\n1,\"x\ny\"\n1,2,3,4\n5,6", kHeader, "a|b/1|x\ny/!4.3 the row has 4/5|6/"},
    {"1,2\n3,\"a\"\r\n", {.rowDelimiter = "\n"}, "/1|2/!2.2 text follows the closing/"},
    {"1\n,2##3,4##5", kTwoHashes, "/1\n|2/3|4/!3.1 the row ends after/"},
    {"a,b\n1,2\n\n\r\n3,4\n\n", kHeader,
     "a|b/1|2/!3.0 the row ends after/!4.0 the row ends after/3|4/"},
    {"t\na,b\n5,6\n\"1\n2\",\"3\n4\n", kTitle, "a|b/5|6/!5.2 the text qualifier opened/"},
    {"1,\"\n\n\"x\",\"\n5,\"6\"x", kPlain, "f, line 3, column 2: text follows"},
    {"1,2\n3,\"\n\n\"x\",\"\n5,\"6\"\n\"\" ", kPlain,
     "/1|2/!4.2 text follows the closing/5|6/!6.1 text follows the closing/"},
    {"a,b\n\"\"\"\n\",x\n1,\"y\n\xC3(\"\n3,4\n", kHeader,
     "a|b/\"\n|x/!5.2 byte 0xC3 (byte 17/3|4/"},
    {"1,2\n\xC0\xAF,\n\xED\xA0\x80,\n\xF0\x9F\x98,\n3,4", kPlain,
     "/1|2/!2.1 byte 0xC0 (byte 4/!3.1 byte 0xED (byte 8/!4.1 byte 0xF0 (byte 13/3|4/"},
    {"\"\"\"\"\"\xE9\x81\",\n\xE9,", kWindows, "/!1.1 byte 0x81 (byte 6/\u00e9|NULL/"},
    {"a,b\n1,x\0y\n"s, kHeader, "a|b/!2.2 a NUL character (byte/"},
    {"", kHeader, "f, line 1: a line with the column names is expected here"},
    {"x\n\na,b\n", kTitle, "f, line 2: a line with the column names is expected here"},
    {"a,\"b\"c\n", kHeader, "f, line 1, column 2: text follows the closing text qualifier"},
    {"a,b,a\n", kHeader, "f, line 1, column 3 (a): column 1 has the same name"},
    {"a", {.encoding = "utf-99"}, "f: the encoding \"utf-99\" is not known"},
    {"a", {.columnDelimiter = ""}, "f: the column delimiter is empty"},
    {"a", {.columnDelimiter = "\n"}, "f: the column delimiter also ends rows"},
    {"a", {.columnDelimiter = "\"|"}, "f: the text qualifier also begins a delimiter"},
    {"a", {.textQualifier = "\u00e9"}, "f: the text qualifier is not one ASCII character"},
};

std::string Expected(const Case& c) {
  return (c.outcome[0] == '/' ? "Col001|Col002" : "") + c.outcome;
}

TEST(DelimitedText, ReadsWhatIsWellFormedAndReportsOtherRows) {
  for (const Case& c : kGood) EXPECT_EQ(Expected(c), Outcome(c.bytes, c.format)) << c.bytes;
  for (const Case& c : kBad)
    EXPECT_THAT(Outcome(c.bytes, c.format), StartsWith(Expected(c))) << c.bytes;
  EXPECT_EQ("/", Outcome("", kPlain)) << "no rows, no columns";
}

/// The same texts in encodings that are decoded first have the same rows.
TEST(DelimitedText, ReadsEveryEncoding) {
  const auto codePages = NewIconvCodePages("windows-1252");
  for (const std::string encoding : {"utf-16le", "utf-16be", "utf-32", "gb18030", "utf-7"})
    for (const auto& table : {std::span<const Case>(kGood), std::span<const Case>(kBad)})
      for (const Case& c : table) {
        std::string bytes;
        TextFormat format = c.format;
        const bool isUtf8 = format.encoding == "utf-8" && c.outcome.find("NUL") == c.outcome.npos;
        const std::string name = encoding == "utf-32" ? "utf-32le" : encoding;
        if (!isUtf8 || !codePages->OpenEncoder(name)->Encode(c.bytes, bytes)) continue;
        format.encoding = encoding;
        EXPECT_THAT(Outcome(bytes, format), StartsWith(Expected(c))) << encoding << ": " << c.bytes;
      }
}

TEST(DelimitedText, GoesByByteOrderMarks) {
  const std::string little =
      "\xFF\xFE"
      "a\0,\0\xE9\0\n\0b\0,\0\0\xDC\n\0c\0,\0x"s;
  const struct {
    std::string bytes;
    const char* encoding;
    const char* outcome;
  } cases[] = {
      // A lone surrogate, and half a character at the end; counted are the file's bytes.
      {little, "auto", "Col001|Col002/a|\u00e9/!2.2 byte 0x00 (byte 14/!3.2 byte 0x78 (byte 22/"},
      {little, "UTF-16", "Col001|Col002/a|\u00e9/!2.2 byte 0x00 (byte 14/"},
      {"\xFE\xFF\0a\0\n"s, "utf_16", "Col001/a/"},
      {"a\0\n\0"s, "utf-16", "Col001/a/"},
      {"\xFF\xFE\0\0a\0\0\0"s, "utf-32", "Col001/a/"},
      {"\xEF\xBB\xBF\u00e9", "auto", "Col001/\u00e9/"},
      {"\x83\x5C,\x82\n\x81", "shift_jis", "f, line 1, column 2: byte 0x82 (byte 3 of the file"},
      {"\x83\x5C,\x82\xA0\n\x81,\n", "Shift_JIS", "Col001|Col002/\u30BD|\u3042/!2.1 byte 0x81"},
      {little, "utf-8",
       "f: the file begins with the byte-order mark of utf-16le, but its encoding"},
      {little, "utf-16be", "f: the file begins with the byte-order mark of utf-16le"},
      {"\xEF\xBB\xBF", "windows-1252", "f: the file begins with the byte-order mark of utf-8"}};
  for (const auto& c : cases)
    EXPECT_THAT(Outcome(c.bytes, {.encoding = c.encoding}), StartsWith(c.outcome)) << c.encoding;
}

TEST(DelimitedText, TellsAllAboutABadRow) {
  SlowFiles files;
  files.texts["f"] = "\xEF\xBB\xBFid,name\r\n1,\xE9t\xE9\r\n";
  const auto source = OpenTextSource(files, *NewIconvCodePages("utf-8"), "f", kHeader);
  RowBatch batch;
  ASSERT_TRUE(source->Fetch(batch));
  const auto& [origin, error] = batch.BadRows().at(0);
  EXPECT_EQ("f, line 2, column 2 (name): " + error.reason, error.Description());
  EXPECT_EQ("\"\uFFFDt\uFFFD\"", error.value);
  EXPECT_EQ(2, origin.position);
  EXPECT_EQ(12u, origin.offset);
  EXPECT_EQ("1,\xE9t\xE9\r\n", origin.bytes);
  EXPECT_FALSE(source->Fetch(batch));
}

TEST(DelimitedText, TellsWhyAFileCannotBeRead) {
  SlowFiles files;
  EXPECT_EQ("f: cannot be opened: No such file or directory", Outcome(files, kPlain));
  files.texts["f"] = "1,2\n3,4\n";
  files.readBytes = 3;
  files.failAt = 6;
  EXPECT_EQ("f: cannot be read from byte 7 on: Input/output error", Outcome(files, kPlain));
}

TEST(DelimitedText, ReadsTheSameHoweverTheBytesArrive) {
  for (const std::string encoding : {"utf-8", "utf-16le"}) {
    SlowFiles files;
    std::string text, expected = "Col001|Col002|Col003/";
    for (int row = 0; text.size() < 400'000; ++row) {
      const std::string number = std::to_string(row), lineEnd = row % 2 ? "\n" : "\r\n";
      const std::string wide(static_cast<std::size_t>(row % 97), 'w');
      text += number + "<>\"" + wide + "\"\"<>" + lineEnd + "\"<>\u00e9<" + lineEnd;
      expected += number + "|" + wide + "\"<>" + lineEnd + "|\u00e9</";
    }
    NewIconvCodePages("utf-8")->OpenEncoder(encoding)->Encode(text, files.texts["f"]);
    for (files.readBytes = 1; files.readBytes <= 17; files.readBytes += 8)
      EXPECT_TRUE(expected == Outcome(files, {.columnDelimiter = "<>", .encoding = encoding}))
          << encoding << ", reads of " << files.readBytes;
  }
}

/// Rows of three columns, most of them good, of pieces that a fast way may take for others.
std::string MadeText(std::mt19937& random, std::size_t size) {
  const std::string pieces[] = {"a", "bcd", "\u00e9", "\u20ac", "\U0001F600",
                                "",  "",    "\r",     "x\"y\""};
  const std::string quoted[] = {"a", "\"\"", ",", "\n", "\r\n", "\u00e9", "\"\"\"\"", "wide text"};
  const std::string wrong[] = {"\"",   "\"\"",     ",",  "\n",     "\xFF",
                               "\xC3", "\xE2\x82", "\r", "\"a\"b", "\0"s};
  const auto pick = [&](const auto& from) { return from[random() % std::size(from)]; };
  std::string text;
  while (text.size() < size) {
    for (const char* delimiter : {",", ",", random() % 2 ? "\n" : "\r\n"}) {
      const bool isQuoted = random() % 3 == 0;
      if (isQuoted) text += '"';
      for (auto count = random() % 4; count > 0; --count)
        text += isQuoted ? pick(quoted) : pick(pieces);
      if (random() % 50 == 0) text += std::string(random() % 200, 'w');
      if (random() % 150 == 0) text += pick(wrong);
      if (isQuoted) text += '"';
      text += delimiter;
    }
  }
  return text + "1,2,3\n";
}

/// Quotes, delimiters and little else.
std::string Noise(std::mt19937& random, std::size_t size) {
  const std::string bytes = "aaa,,\n\"\"\"\r\n";
  std::string text = std::string(random() % 64, 'w') + ",,\n";
  while (text.size() < size) text += bytes[random() % bytes.size()];
  return text + ",,\n1,2,3\n";
}

TEST(DelimitedText, ReadsWhatAScanRowByRowFinds) {
  std::mt19937 random(20);  // NOLINT: the same texts each time
  RowScanner scanner(",", "", "\"");
  TextFormat format = {.skipRows = 1, .columnNames = {"a", "b", "c"}};
  SlowFiles files;
  const auto codePages = NewIconvCodePages("windows-1252");
  const auto check = [&](std::size_t before, const std::string& text) {
    files.texts["f"] = std::string(before, '"') + "\n" + text;
    const std::string rows = RowsInShort(*OpenTextSource(files, *codePages, "f", format));
    EXPECT_TRUE(ScannedRows(scanner, text, 3, '"', 2) == rows) << before << "\n" << text;
  };
  for (int time = 0; time < 2000; ++time) check(0, MadeText(random, 200));
  for (int time = 0; time < 10'000; ++time) check(0, Noise(random, 160));
  for (std::size_t before = 0; before < 70; ++before)
    for (const std::string row : {"\",\",2,3", "\"\",2,3", ",\"x\"\"\",\"x\"\r", ",2,\"x\"x"})
      check(0, std::string(before, 'w') + row + "\n1,2,3\n");
  for (int time = 0; time < 5; ++time) check(0, MadeText(random, 100'000));
  const std::string text = MadeText(random, 300);
  for (std::size_t back = 0; back < text.size(); ++back)
    check(BlockReader::kBlockBytes - 1 - back, text);
}

/// What a bad row at the end of a text reports, in short.
std::string LastOf(const std::string& text, const TextFormat& format = kPlain) {
  const std::string outcome = Outcome(text, format);
  return outcome.substr(outcome.rfind('!'));
}

TEST(DelimitedText, CountsLinesAndBytesThroughAllBlocks) {
  std::string text;
  for (int row = 0; row < 50'000; ++row) text += "1,\"2\n3\"\n";
  EXPECT_EQ("!100001.1 byte 0xFF (byte 400000/", LastOf(text + "\xFF,\n"));
  // A block ends behind a byte that is invalid for what follows it.
  std::string cut = "a,\n";
  for (int row = 0; row < 70'000; ++row) cut += "\x9C\n";
  EXPECT_EQ("!70001.1 the row ends after/", LastOf(cut, {.encoding = "shift_jis"}));
}

TEST(DelimitedText, TakesLongRowsUpToALimitAndGoesOnBehindLongerOnes) {
  const std::string value(5 << 20, 'x'), endless(17 << 20, 'x');
  EXPECT_TRUE("Col001|Col002/1|2/" + value + "|" + value + "/3|4/" ==
              Outcome("1,2\n" + value + "," + value + "\n3,4\n", kPlain));
  const std::string quoted = "\"a\n\"\"" + endless + "\nb\",\n3,4\n";
  for (const std::string encoding : {"utf-8", "utf-16le"}) {
    SlowFiles files;
    NewIconvCodePages("utf-8")->OpenEncoder(encoding)->Encode("1,2\n" + quoted, files.texts["f"]);
    const auto source =
        OpenTextSource(files, *NewIconvCodePages("utf-8"), "f", {.encoding = encoding});
    RowBatch batch;
    std::string rows;
    while (source->Fetch(batch)) {
      for (const BadRow& bad : batch.BadRows()) {
        rows += bad.error.reason + "/";
        EXPECT_TRUE(files.texts["f"].substr(bad.origin.offset).starts_with(bad.origin.bytes));
        EXPECT_LE(bad.origin.bytes.size(), 256u << 10);
      }
      for (std::size_t row = 0; row < batch.RowCount(); ++row)
        rows += std::to_string(batch.Origin(row).position) + ":" + Joined(batch.Row(row)) + "/";
      EXPECT_LT(batch.Block(0).size(), 100u << 20);
    }
    const std::string length =
        encoding == "utf-8" ? "17825802 bytes from byte 4" : "35651604 bytes from byte 8";
    EXPECT_EQ("1:1|2/the row is longer than 16 MiB: it has " + length +
                  " of the file on; a text qualifier in it may never be closed/5:3|4/",
              rows);
  }
}

/// Whatever the scanner decides before it has seen everything, it would decide in the end.
TEST(RowScanner, DecidesNothingThatMoreBytesWouldChange) {
  const RowScanner scanners[] = {
      {",", "", "\""}, {"<>", "<\r\n", "'"}, {"|", "|\n", ""}, {"\r", "", "\""}, {"", "", ""}};
  const std::string wide(70, 'w');
  const std::string texts[] = {
      "a,b\r\nc",        "a\r,\r\r\nb\r",
      "\"a\"\"b\"\r\nc", "\"a\",\"\"\n",
      "\"a\r\n\"x",      "\"open,\n",
      "'a''<>'<><<>\r",  "<<><'<\r\n",
      "'<>'<\r\nx",      "'a'<x",
      "a|b|\nc|",        "|||\n",
      "\u00e9,\"\n",     wide + ",\"" + wide + "\n\"\"" + wide + "\"\r\nx"};
  for (RowScanner scanner : scanners)
    for (const std::string& text : texts) EXPECT_EQ("", PrefixContradiction(scanner, text)) << text;
}

}  // namespace
}  // namespace torvik::engine
