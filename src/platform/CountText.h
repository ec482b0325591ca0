#pragma once

#include <cstdint>
#include <cstdio>
#include <string>

#include "platform/NumberText.h"

namespace torvik {

/// "1 file", "2,345 files": a count for people, not negative, with the word that goes with it;
/// `many` is the word's plural, by default with an s behind it.
inline std::string Counted(std::int64_t count, const std::string& one,
                           const std::string& many = "") {
  return Grouped(count) + " " + (count == 1 ? one : many.empty() ? one + "s" : many);
}

/// "1 byte", "845 bytes", "12.3 kB", "4.0 MB", "1.2 GB", by powers of thousand.
inline std::string BytesText(std::int64_t bytes) {
  if (bytes < 1000) return Counted(bytes, "byte");
  const char* const units[] = {"kB", "MB", "GB", "TB"};
  double size = static_cast<double>(bytes) / 1000;
  std::size_t unit = 0;
  // What would be written as 1000.0 is one of the next unit.
  for (; size >= 999.95 && unit + 1 < std::size(units); ++unit) size /= 1000;
  char text[32];
  std::snprintf(text, sizeof text, "%.1f %s", size, units[unit]);
  return text;
}

}  // namespace torvik
