#include "engine/pump/HeldRejects.h"

#include <gtest/gtest.h>

#include "engine/pump/Pump.h"
#include "engine/pump/PumpTools.h"
#include "platform/linux/text/IconvCodePages.h"

namespace torvik::engine {
namespace {

BadRow BadRowAt(std::uint64_t offset, const std::string& bytes) {
  return {{1, offset, bytes.size(), bytes}, RowError::OpenQuote({"f, line 1"}, "")};
}

TEST(HeldRejects, RowsOfAllPartsComeInTheirOrderWithWhatWasSentOfThem) {
  SlowFiles files;
  files.texts["f"] = "a\n";
  const auto source = OpenTextSource(files, *NewIconvCodePages("utf-8"), "f", {});
  int stopped = 0;
  HeldRejects all(2, [&] { ++stopped; });
  const auto one = all.NewPart(), other = all.NewPart();
  const std::vector<ado::LoadValue> sent = {"x", ado::LoadValue()};
  one->Add(BadRowAt(5, "five"), *source);
  other->AddSent(sent, {});
  one->Add(BadRowAt(9, "nine"), *source);
  EXPECT_FALSE(all.AreTooMany());
  EXPECT_EQ(0, stopped);
  other->Add(BadRowAt(7, "seven"), *source);
  EXPECT_TRUE(all.AreTooMany());
  EXPECT_EQ(1, stopped);
  std::string order;
  for (const HeldRejects::Row& row : all.TakeInOrder()) order += row.bytes + "(" + row.sent + ")";
  EXPECT_EQ("five()seven(x,\r\n)nine()", order);
}

TEST(HeldRejects, ThoseThatTakeTooMuchMemoryEndThePumps) {
  SlowFiles files;
  files.texts["f"] = "a\n";
  const auto source = OpenTextSource(files, *NewIconvCodePages("utf-8"), "f", {});
  int stopped = 0;
  HeldRejects all(
      1000, [&] { ++stopped; }, 5000);
  const auto part = all.NewPart();
  part->Add(BadRowAt(0, std::string(2000, 'x')), *source);
  EXPECT_FALSE(all.AreTooLarge());
  part->Add(BadRowAt(1, std::string(3000, 'x')), *source);
  EXPECT_TRUE(all.AreTooLarge());
  EXPECT_EQ(1, stopped);
  EXPECT_EQ(1U, all.TakeInOrder().size());
}

}  // namespace
}  // namespace torvik::engine
