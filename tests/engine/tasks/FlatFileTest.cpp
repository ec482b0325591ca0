#include "engine/tasks/FlatFile.h"

#include <gmock/gmock.h>

#include "platform/PlatformError.h"

namespace torvik::engine {
namespace {

TextFormat FormatOf(const char* property, const char* value) {
  return FlatFileFormat({"DTSFlatFile", {{property, value}}});
}

TEST(FlatFile, TakesTheWordsAndNumbersOfTheObjectModel) {
  const std::pair<const char*, const char*> encodings[] = {{"1", "windows-1252"},
                                                           {"Unicode", "utf-16"},
                                                           {"3", kDetectEncoding},
                                                           {"oem", "cp437"},
                                                           {"", "utf-8"}};
  for (const auto& [type, encoding] : encodings)
    EXPECT_EQ(FormatOf("File Type", type).encoding, encoding) << type;
  EXPECT_EQ(FlatFileFormat({"", {{"File Type", "2"}, {"Encoding", "utf-16be"}}}).encoding,
            "utf-16be");
  EXPECT_EQ(FormatOf("File Format", "2").layout, TextLayout::Fixed);
  EXPECT_EQ(FormatOf("File Format", "delimited").layout, TextLayout::Delimited);
  EXPECT_EQ(FormatOf("Column Lengths", "11, 30,2").columnLengths,
            (std::vector<std::size_t>{11, 30, 2}));
  EXPECT_EQ(FormatOf("Compression", "GZIP").compression, Compression::Gzip);
}

TEST(FlatFile, SaysWhatAPropertyTakes) {
  const std::tuple<const char*, const char*, const char*> cases[] = {
      {"File Type", "5", "\"5\"; it must be ASCII (1), Unicode (2), Autodetect (3) or OEM (4)"},
      {"File Format", "3", "must be Delimited (1) or Fixed (2)"},
      {"Column Lengths", "1,0", "must be whole numbers from 1 with commas between them"},
      {"Column Lengths", "1,,2", "must be whole numbers"},
      {"Compression", "zip", "must be auto, gzip or none"},
      {"Append", "yes", "must be True or False"}};
  for (const auto& [property, value, words] : cases) try {
      FormatOf(property, value);
      ADD_FAILURE() << property << " " << value;
    } catch (const PlatformError& error) {
      EXPECT_THAT(error.Description(), testing::HasSubstr(words));
    }
}

}  // namespace
}  // namespace torvik::engine
