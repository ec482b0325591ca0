#include "engine/pump/text/TextParts.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <random>
#include <thread>

#include "engine/pump/PumpTools.h"
#include "platform/PlatformError.h"
#include "platform/linux/text/IconvCodePages.h"

namespace torvik::engine {
namespace {

using testing::HasSubstr;
using namespace std::string_literals;

/// Rows by their offsets: what stands in them, or what is wrong with them, their places and bytes.
using FoundRows = std::map<std::uint64_t, std::string>;

void TakeRow(FoundRows& rows, const RowOrigin& origin, const std::string& row) {
  const bool isNew = rows.emplace(origin.offset, std::to_string(origin.position) + ": " + row +
                                                     " = " + std::string(origin.bytes))
                         .second;
  EXPECT_TRUE(isNew) << row << " comes twice";
}

/// False when there are no more.
bool TakeBatch(RowSource& source, FoundRows& rows) {
  RowBatch batch;
  if (!source.Fetch(batch)) return false;
  for (const BadRow& bad : batch.BadRows())
    TakeRow(rows, bad.origin, std::to_string(bad.error.at.column) + ", " + bad.error.Description());
  for (std::size_t row = 0; row < batch.RowCount(); ++row)
    TakeRow(rows, batch.Origin(row), source.PlaceOf(batch, row) + "; " + Joined(batch.Row(row)));
  return true;
}

class TextPartsTest : public testing::Test {
 protected:
  FoundRows Whole(const TextFormat& format) {
    FoundRows rows;
    const auto source = OpenTextSource(files_, *codePages_, "f", format);
    while (TakeBatch(*source, rows)) continue;
    return rows;
  }

  std::vector<std::string> Columns(const TextFormat& format) {
    return OpenTextSource(files_, *codePages_, "f", format)->Columns();
  }

  /// Read by several readers in turns.
  FoundRows InParts(const TextFormat& format, std::size_t stretchBytes, std::size_t readers) {
    TextParts parts(files_, *codePages_, "f", format, Columns(format), stretchBytes);
    std::vector<std::unique_ptr<RowSource>> open;
    while (open.size() < readers) open.push_back(parts.NewReader());
    FoundRows rows;
    while (std::erase_if(open, [&](const auto& one) { return !TakeBatch(*one, rows); }) < readers &&
           !open.empty())
      continue;
    return rows;
  }

  SlowFiles files_;
  const std::unique_ptr<CodePages> codePages_ = NewIconvCodePages("windows-1252");
};

/// A file of pieces that change where rows end, more or less often broken.
std::string MadeFile(std::mt19937& random, const TextFormat& format) {
  const std::string row = format.rowDelimiter.empty() ? "\n" : format.rowDelimiter;
  const std::string column = format.columnDelimiter;
  const std::vector<std::string> good = {
      "a" + column + "b" + row, "\"c" + row + row + "d\"" + column + row,
      "\"\"" + column + "e" + row, "\"f\"\"" + row + "g\"" + column + "\"" + column + "\"" + row,
      "a" + column + "\u00e4" + row};
  const std::vector<std::string> odd = {row,  row + row + row, column, "\"",     "\"\"", "x\"y",
                                        "\r", "\r\n",          "\n",   "\"z\"z", "\xFF", "\0"s};
  std::string text;
  const auto pick = [&](const auto& from) { return from[random() % from.size()]; };
  const unsigned oneIn = 2 + random() % 20;
  for (unsigned pieces = random() % 60; pieces > 0; --pieces)
    text += random() % oneIn == 0 ? pick(odd) : pick(good);
  if (random() % 2 == 0) text += "last" + column + "row";
  return text;
}

TEST_F(TextPartsTest, PartsHaveTheRowsOfTheWhole) {
  const TextFormat formats[] = {
      {},
      {.firstRowColumnName = true},
      {.firstRowColumnName = true, .skipRows = 2},
      {.columnNames = {"one"}},
      {.rowDelimiter = "\r\n", .columnNames = {"one", "two"}},
      {.columnDelimiter = "|", .rowDelimiter = "|\n", .columnNames = {"one", "two"}},
      {.columnDelimiter = "~~", .rowDelimiter = "##", .skipRows = 1, .columnNames = {"one", "two"}},
      {.rowDelimiter = "\r", .columnNames = {"one", "two"}},
      {.textQualifier = "", .columnNames = {"one", "two"}},
      {.columnNames = {"one", "two"}, .encoding = "windows-1252"},
      {.columnNames = {"one", "two"}, .encoding = "auto"},
      {.columnNames = {"one", "two"}, .layout = TextLayout::Fixed, .columnLengths = {1, 2}},
  };
  std::mt19937 random(20240501);
  int cut = 0;
  for (const TextFormat& format : formats) {
    for (int turn = 0; turn < 300; ++turn) {
      const std::string mark = format.encoding != "windows-1252" && turn % 3 == 0 ? "\uFEFF" : "";
      files_.texts["f"] = mark + MadeFile(random, format);
      FoundRows whole;
      try {
        whole = Whole(format);
      } catch (const PlatformError&) {
        continue;  // its header line cannot be read
      }
      const std::size_t stretch = 1 + random() % 80, readers = 1 + random() % 4;
      cut += whole.size() > 5 && stretch < 10 ? 1 : 0;
      ASSERT_EQ(whole, InParts(format, stretch, readers))
          << "format " << &format - formats << ", stretches of " << stretch << ", " << readers
          << " readers of:\n"
          << files_.texts["f"];
    }
  }
  EXPECT_GT(cut, 100) << "hardly a file was cut";
}

TEST_F(TextPartsTest, AStretchEndsBehindARowAndNoReaderIsLeftWithout) {
  const struct {
    const char* what;
    std::string bytes;
    std::size_t stretch;
    std::vector<std::size_t> sizes;
  } cases[] = {
      {"one for each row", "a,b\nc,d\n", 1, {4, 4}},
      {"no line end", "a,b\nc,d", 4, {4, 3}},
      {"smaller than a stretch", "a,b\n", 100, {4}},
      {"quotes at the cut", "a,\"b\n\n\"\nc,d\n", 5, {8, 4}},
      {"one long row", "\"" + std::string(1000, '\n') + "\",b\nc,d\n", 10, {1009}},
      {"empty lines go with the row behind them", "a,b\n\n\nc,d\n\n\n", 3, {4, 6, 2}},
      {"CR LF is not cut", "a,b\r\nc,d\r\n", 4, {5, 5}},
      {"nothing", "", 4, {}},
  };
  for (const auto& c : cases) {
    files_.texts["f"] = c.bytes;
    TextRules rules{RowScanner(",", "", "\"")};
    TextStretches stretches(OpenTextInput(files_, "f", Compression::None), rules, c.stretch,
                            c.stretch);
    std::vector<std::size_t> sizes;
    std::uint64_t offset = 0;
    while (auto stretch = stretches.Next()) {
      EXPECT_EQ(offset, stretch->offset) << c.what;
      std::string bytes(c.bytes.size() + 1, '\0');
      std::error_code error;
      bytes.resize(stretch->bytes->Read(bytes.data(), bytes.size(), error));
      EXPECT_EQ(c.bytes.substr(offset, bytes.size()), bytes) << c.what;
      sizes.push_back(bytes.size());
      offset += bytes.size();
    }
    EXPECT_EQ(c.sizes, sizes) << c.what;
  }
}

TEST_F(TextPartsTest, ReadersOfSeveralThreadsHaveEveryRowOnceUntilTheyAreStopped) {
  std::string& text = files_.texts["f"];
  for (int id = 1; id <= 20'000; ++id) text += std::to_string(id) + ",\"some\nwords\"\n";
  const TextFormat format{.columnNames = {"id", "words"}};
  for (const bool isStopped : {false, true}) {
    TextParts parts(files_, *codePages_, "f", format, {"id", "words"}, 1000);
    std::vector<FoundRows> found(3);
    std::vector<std::thread> threads;
    for (FoundRows& rows : found)
      threads.emplace_back([&] {
        const auto reader = parts.NewReader();
        while (TakeBatch(*reader, rows))
          if (isStopped && rows.size() > 100) parts.Stop();
      });
    for (std::thread& thread : threads) thread.join();
    FoundRows all;
    for (FoundRows& rows : found) all.merge(rows);
    FoundRows expected = Whole(format);
    if (isStopped) {
      ASSERT_LT(all.size(), expected.size() / 2);
      expected.erase(std::next(expected.begin(), static_cast<std::ptrdiff_t>(all.size())),
                     expected.end());
    }
    EXPECT_TRUE(expected == all) << "rows before the last one are there";
  }
}

TEST_F(TextPartsTest, AFileThatOnlyGoesAsAWholeSaysWhy) {
  const struct {
    std::string bytes;
    TextFormat format;
    const char* reason;
  } cases[] = {
      {"\xFF\xFE"
       "a\0,\0b\0\n\0"s,
       {.encoding = "auto"},
       "its encoding is utf-16le"},
      {"abc",
       {.rowDelimiter = kNoRowDelimiter, .layout = TextLayout::Fixed, .columnLengths = {3}},
       "no delimiter ends its rows"},
      {"a,b\n\"" + std::string(17 << 20, '\n') + "\",b\n", {}, "more than 16 MiB stand between"},
      {"a,b\n\"" + std::string(40 << 20, ' '), {}, "more than 16 MiB stand between"},
  };
  for (const auto& c : cases) {
    files_.texts["f"] = c.bytes;
    try {
      InParts(c.format, 1000, 2);
      ADD_FAILURE() << c.reason;
    } catch (const NotInParts& error) {
      EXPECT_THAT(error.Description(), HasSubstr("f cannot be read in parts: "s + c.reason));
    }
  }
}

}  // namespace
}  // namespace torvik::engine
