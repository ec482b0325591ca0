#include "engine/pump/DateTimePicture.h"

#include <gtest/gtest.h>

#include "platform/PlatformError.h"

namespace torvik::engine {
namespace {

/// The text read by one picture and written by another; "-": it is not of that form.
std::string Rewritten(const char* from, const char* text, const char* to) {
  const auto time = DateTimePicture(from).Read(text);
  return time ? DateTimePicture(to).Write(*time) : "-";
}

TEST(DateTimePicture, ReadsByOnePictureAndWritesByAnother) {
  constexpr const char* kAll = "yyyy-MM-dd HH:mm:ss.fff";
  const struct {
    const char *from, *text, *to, *written;
  } cases[] = {
      {"dd.MM.yyyy", "29.02.2024", "yyyy-MM-dd", "2024-02-29"},
      {"dd.MM.yyyy", "29.02.2023", "yyyy-MM-dd", "-"},
      {"dd.MM.yyyy", "1.02.2024", "yyyy-MM-dd", "-"},
      {"dd.MM.yyyy", "01.02.2024 ", "yyyy-MM-dd", "-"},
      {"d.M.yy", "1.2.49", "yyyy-MM-dd", "2049-02-01"},
      {"d.M.yy", "31.12.50", "yyyy-MM-dd", "1950-12-31"},
      {"yyyyMMddHHmmss", "20240131235959", kAll, "2024-01-31 23:59:59.000"},
      {"yyyyMMddHHmmss", "20240131245959", kAll, "-"},
      {"MMM d, yyyy h:mm tt", "mar 7, 2024 12:05 am", kAll, "2024-03-07 00:05:00.000"},
      {"MMM d, yyyy h:mm tt", "Mar 7, 2024 12:05 PM", kAll, "2024-03-07 12:05:00.000"},
      {"MMM d, yyyy h:mm tt", "Mar 7, 2024 13:05 PM", kAll, "-"},
      {"yyyy-MM-dd'T'HH:mm:ss.f", "2024-01-02T03:04:05.6", kAll, "2024-01-02 03:04:05.600"},
      {"yyyy-MM-dd HH:mm:ss.fff", "2024-01-02 03:04:05.678", "d MMMM yy, hh:mm tt 'Uhr'",
       "2 January 24, 03:04 AM Uhr"},
      {"HH:mm", "", kAll, "-"},
  };
  for (const auto& c : cases)
    EXPECT_EQ(c.written, Rewritten(c.from, c.text, c.to)) << c.from << " " << c.text;
  for (const char* faulty : {"yyy", "MMMMM", "", "--", "HHH"})
    EXPECT_THROW(DateTimePicture{faulty}, PlatformError) << faulty;
}

}  // namespace
}  // namespace torvik::engine
