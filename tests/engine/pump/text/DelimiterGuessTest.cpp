#include "engine/pump/text/DelimiterGuess.h"

#include <gmock/gmock.h>

#include <vector>

namespace torvik::engine {
namespace {

TEST(DelimiterGuess, IsWhatMostLinesHaveAsOftenAsTheFirst) {
  const std::pair<std::vector<std::string_view>, const char*> cases[] = {
      {{"a,b,c", "1,2,3"}, ","},
      {{"a;b", "1,5;2,5", "3,1;4,2"}, ";"},
      {{"a\tb", "1,2,3\t4"}, "\t"},
      {{"\"a;b\",c", "\"d\"\"e;f;g\",h"}, ","},
      {{"name", "Smith, John", "Doe, Jane"}, ""},
      {{"a|b,c", "1|2", "3|4"}, "|"},
      {{"a,b", "1,2", "\"never closed", "3,4"}, ","},
      {{"", "a,b"}, ""},
      {{}, ""}};
  for (const auto& [lines, delimiter] : cases)
    EXPECT_EQ(GuessDelimiter(lines), delimiter) << (lines.empty() ? "" : lines.front());
}

}  // namespace
}  // namespace torvik::engine
