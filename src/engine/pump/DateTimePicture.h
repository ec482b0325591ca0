#pragma once

#include <chrono>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace torvik::engine {

/// A moment without a time zone.
struct CivilTime {
  int year = 1, month = 1, day = 1, hour = 0, minute = 0, second = 0;
  int nanosecond = 0;
};

/// How a date and time are written: yyyy yy MMMM MMM MM M dd d HH H hh h mm m ss s f...f tt, quoted
/// texts ('T') and any other characters as they stand, as in the date pictures of the package
/// designer. Month names are English.
class DateTimePicture {
 public:
  /// Throws PlatformError for a picture with a part that is none, or with none at all.
  explicit DateTimePicture(const std::string& picture);

  const std::string& Text() const { return picture_; }

  /// Nothing when `text` is not of this form, or is no date.
  std::optional<CivilTime> Read(std::string_view text) const;

  std::string Write(const CivilTime& time) const;

 private:
  struct Part {
    char letter = 0;  ///< 0: a text.
    std::size_t count = 0;
    std::string text = {};
  };

  std::string picture_;
  std::vector<Part> parts_;
};

}  // namespace torvik::engine
