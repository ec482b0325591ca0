#pragma once

#include <functional>
#include <string>
#include <string_view>

namespace torvik {

/// Cuts bytes that arrive in pieces into lines, without their line ends (LF or CR LF). A line that
/// is longer than 8 KiB comes in pieces, each of whole UTF-8 characters.
class LineSplitter {
 public:
  explicit LineSplitter(const std::function<void(std::string_view)>& onLine) : onLine_(onLine) {}

  void Add(std::string_view bytes);
  /// Hands out a last line that has no line end.
  void Finish();

 private:
  void HandOut(std::string_view line);

  const std::function<void(std::string_view)>& onLine_;
  std::string open_;
};

}  // namespace torvik
