#include "engine/pump/TextLoad.h"

#include <gmock/gmock.h>

#include "engine/pump/PumpTools.h"
#include "fakes/TemporaryDirectory.h"
#include "platform/PlatformError.h"
#include "platform/linux/system/PosixFiles.h"
#include "platform/linux/text/IconvCodePages.h"

namespace torvik::engine {
namespace {

using testing::HasSubstr;
using testing::StartsWith;
using Rows = std::vector<std::vector<ado::LoadValue>>;

class TextLoadTest : public testing::Test {
 protected:
  /// Loads rows of two columns into "f", one by one; the refusals' words, or those of the error.
  std::string Write(const Rows& rows, const TextFormat& format, const std::string& name = "f") {
    std::string words;
    try {
      const auto load = OpenTextLoad(*files_, *codePages_, disk_.PathOf(name), format, {"a", "b"});
      for (const auto& row : rows) {
        std::vector<ado::Refusal> refused;
        load->Load({row, 2}, 0, refused);
        for (const ado::Refusal& refusal : refused) words += refusal.description + "/";
      }
      load->Finish();
    } catch (const PlatformError& error) {
      words += error.Description();
    }
    return words;
  }

  std::string ReadBack(const TextFormat& format, const std::string& name = "f") {
    return ReadAll(*OpenTextSource(*files_, *codePages_, disk_.PathOf(name), format));
  }

  TemporaryDirectory disk_;
  std::unique_ptr<CodePages> codePages_ = NewIconvCodePages("windows-1252");
  std::unique_ptr<Files> files_ = NewPosixFiles(PathMap(), *codePages_, disk_.Path());
};

constexpr ado::LoadValue kNull;

TEST_F(TextLoadTest, WritesRowsSoThatTheyReadTheSame) {
  const TextFormat fixed{.layout = TextLayout::Fixed, .columnLengths = {3, 2}};
  TextFormat fixedHeader = fixed;
  fixedHeader.firstRowColumnName = true;
  const struct {
    Rows rows;
    TextFormat format;
    std::string bytes;
    std::string refused = {};
  } cases[] = {
      {{{std::int64_t{-7}, 0.1}, {"", kNull}, {"a,b", "c\"d\n"}},
       {.firstRowColumnName = true},
       "a,b\r\n-7,0.1\r\n\"\",\r\n\"a,b\",\"c\"\"d\n\"\r\n"},
      {{{"x", kNull}, {"1", 2.5e300}},
       {.rowDelimiter = "\n", .quoteAll = true},
       "\"x\",\n\"1\",\"2.5e+300\"\n"},
      {{{"a#", "\uFEFF#"}, {"b~", "c\n"}},
       {.columnDelimiter = "~~", .rowDelimiter = "##", .textQualifier = "'"},
       "'a#'~~'\uFEFF#'##'b~'~~c\n##"},
      {{{"a;", "b"}, {"c", 1.5}},
       {.columnDelimiter = ";", .textQualifier = ""},
       "c;1.5\r\n",
       "the value of column \"a\" cannot be written: it holds part of a delimiter, and there is no "
       "text qualifier/"},
      {{{0.5, std::int64_t{5}}}, {.columnDelimiter = "."}, "\"0.5\".5\r\n"},
      {{{"\u20ac", "\u6f22"}, {"\u20ac", "\u00e9"}},
       {.encoding = "windows-1252"},
       "\x80,\xE9\r\n",
       "the value of column \"b\" cannot be written: it has a character that the encoding "
       "windows-1252 lacks/"},
      {{{"a", "b\xFF"}, {std::string_view("\0", 1), "c"}},
       {},
       "",
       "the value of column \"b\" cannot be written: it has a character that the encoding utf-8 "
       "lacks/the value of column \"a\" cannot be written: it holds a NUL character/"},
      {{{"a", "\u3042"}},
       {.rowDelimiter = "\n", .encoding = "utf-16"},
       std::string("\xFF\xFE"
                   "a\0,\0\x42\x30\n\0",
                   10)},
      {{{"\u3042", "b"}}, {.rowDelimiter = "\n", .encoding = "iso-2022-jp"}, "\x1B$B$\"\x1B(B,b\n"},
      {{{"\u00e9", std::int64_t{42}}, {kNull, ""}, {"four", "x"}, {"a\n", "x"}},
       fixedHeader,
       "a  b \r\n\u00e9  42\r\n     \r\n",
       "the value of column \"a\" cannot be written: it has 4 characters, the column has 3/the "
       "value of column \"a\" cannot be written: it holds part of a row delimiter or a NUL "
       "character/"}};
  for (const auto& c : cases) {
    EXPECT_EQ(c.refused, Write(c.rows, c.format)) << c.bytes;
    EXPECT_EQ(c.bytes, disk_.Read("f"));
  }
  EXPECT_THAT(Write({}, {.layout = TextLayout::Fixed, .columnLengths = {1}}),
              HasSubstr("there are 2 columns and 1 column lengths"));
  EXPECT_THAT(Write({}, {.encoding = "utf-99"}), HasSubstr("is not known"));
  EXPECT_THAT(Write({}, {}, "no/f"), HasSubstr("cannot be written: No such file or directory"));
}

TEST_F(TextLoadTest, AppendsWholeRowsAndPacks) {
  const TextFormat append{.firstRowColumnName = true, .append = true};
  for (const std::string name : {"f.csv", "f.csv.gz"})
    for (int time = 0; time < 2; ++time) EXPECT_EQ("", Write({{"1", kNull}}, append, name));
  EXPECT_EQ("a,b\r\n1,\r\n1,\r\n", disk_.Read("f.csv"));
  EXPECT_THAT(disk_.Read("f.csv.gz"), StartsWith("\x1F\x8B"));
  EXPECT_EQ("1|NULL/1|NULL/", ReadBack({.firstRowColumnName = true}, "f.csv.gz"));
  disk_.Write("cut", "a,b\n1,2");
  EXPECT_EQ("", Write({{"3", "4"}}, append, "cut"));
  EXPECT_EQ("a,b\n1,2\r\n3,4\r\n", disk_.Read("cut"));
}

TEST_F(TextLoadTest, LeavesTheOldFileWhenItIsNotFinished) {
  disk_.Write("f", "old");
  {
    const auto load = OpenTextLoad(*files_, *codePages_, disk_.PathOf("f"), {}, {"a"});
    const std::string wide(1 << 20, 'x');
    const ado::LoadValue row[] = {wide};
    std::vector<ado::Refusal> refused;
    load->Load({row, 1}, 0, refused);
    EXPECT_EQ("old", disk_.Read("f"));
  }
  EXPECT_EQ("old", disk_.Read("f"));
  EXPECT_EQ(1, disk_.Entries());
}

TEST_F(TextLoadTest, ReadsPackedFilesAndSaysWhatIsWrongWithThem) {
  const std::string wide(300'000, 'w');
  const TextFormat gzip{.compression = Compression::Gzip};
  Write({{"1", wide}, {"2", wide}}, gzip);
  const std::string packed = disk_.Read("f"), rows = "1|" + wide + "/2|" + wide + "/";
  const auto outcome = [&](const std::string& bytes, Compression compression) -> std::string {
    disk_.Write("f", bytes);
    try {
      return ReadBack({.compression = compression}) == rows ? "rows" : "other rows";
    } catch (const PlatformError& error) {
      return error.Description().substr(disk_.PathOf("f").size());
    }
  };
  std::string damaged = packed;
  damaged[damaged.size() / 2] ^= 0x55;
  EXPECT_EQ("rows", outcome(packed, Compression::Auto));
  EXPECT_EQ("other rows", outcome(packed + packed + std::string(512, '\0'), Compression::Gzip));
  EXPECT_THAT(
      outcome(packed.substr(0, packed.size() - 9), Compression::Auto),
      testing::MatchesRegex(": cannot be read from byte [0-9]+ on: the gzip data ends too .*"));
  EXPECT_THAT(outcome(damaged, Compression::Auto), HasSubstr(" on: the gzip data is damaged"));
  EXPECT_EQ(": cannot be read from byte 0 on: the file is not compressed with gzip",
            outcome("1,2", Compression::Gzip));
  EXPECT_THAT(outcome("\x1F\x8B,\n", Compression::None), HasSubstr("byte 0x8B (byte 1 of"));
}

}  // namespace
}  // namespace torvik::engine
