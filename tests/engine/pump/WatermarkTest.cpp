#include "engine/pump/Watermark.h"

#include <gmock/gmock.h>

#include "engine/pump/RowBatch.h"

namespace torvik::engine {
namespace {

using ado::ColumnKind;
using ado::LoadValue;

TEST(Watermark, DecimalsAreComparedByTheirValue) {
  const std::tuple<const char*, const char*, int> cases[] = {
      {"9", "10", -1},
      {"10.5", "10.50", 0},
      {"010", "10", 0},
      {"-1", "1", -1},
      {"-10", "-9", -1},
      {"-0.0", "0", 0},
      {"1.09", "1.1", -1},
      {".5", "0.5", 0},
      {"99999999999999999999999999999999999998", "99999999999999999999999999999999999999", -1}};
  for (const auto& [a, b, order] : cases) {
    const auto sign = [](int value) { return (value > 0) - (value < 0); };
    EXPECT_EQ(sign(CompareDecimals(a, b)), order) << a << " " << b;
    EXPECT_EQ(sign(CompareDecimals(b, a)), -order) << b << " " << a;
  }
}

TEST(Watermark, KeepsWhatIsBeyondAndKnowsTheHighest) {
  const struct {
    ColumnKind kind;
    const char* mark;
    std::vector<LoadValue> values;
    std::size_t kept;
    const char* highest;
  } cases[] = {{ColumnKind::Integer,
                "7",
                {std::int64_t{7}, "8", std::int64_t{-9}, std::int64_t{10}},
                2,
                "10"},
               {ColumnKind::Decimal, "7.25", {7.5, "7.250", "7.3"}, 2, "7.5"},
               {ColumnKind::DateTime,
                "2026-01-02 03:04:05.500",
                {"2026-01-02 03:04:05.5", "2026-01-02 03:04:05.50001", "2026-01-02 03:04:05"},
                1,
                "2026-01-02 03:04:05.50001"},
               {ColumnKind::DateTime,
                "2026-01-02 03:04:05",
                {"2026-01-02 03:04:05.000"},
                0,
                "2026-01-02 03:04:05"},
               {ColumnKind::Date, "2026-01-02", {"2026-01-01", "2026-01-03"}, 1, "2026-01-03"}};
  for (const auto& c : cases) {
    Watermark watermark("at", c.mark);
    watermark.Resolve({.name = "at", .kind = c.kind, .declaredType = {}}, 1);
    RowBatch batch;
    for (const LoadValue& value : c.values) {
      const auto row = batch.AddRow({}, 2);
      row[0] = "a";
      row[1] = value;
    }
    watermark.Keep(batch);
    EXPECT_EQ(batch.RowCount(), c.kept) << c.mark;
    EXPECT_EQ(batch.SkippedRows(), static_cast<std::int64_t>(c.values.size() - c.kept));
    for (std::size_t row = 0; row < batch.RowCount(); ++row) watermark.Note(batch.Row(row));
    EXPECT_EQ(watermark.Highest(), c.highest);
  }
}

}  // namespace
}  // namespace torvik::engine
