#pragma once

#include <functional>
#include <string>
#include <string_view>

namespace torvik {

/// Shows the status texts of a run to whoever started it, each on a line of its own. On a terminal
/// a text takes the place of the one before when it is about the same thing: when what stands
/// before " : " is the same.
class StatusLine {
 public:
  /// `write` takes text as it is to be shown.
  StatusLine(std::function<void(std::string_view)> write, bool isTerminal)
      : write_(std::move(write)), isTerminal_(isTerminal) {}
  /// Ends the line that is left open.
  ~StatusLine();
  StatusLine(const StatusLine&) = delete;
  StatusLine& operator=(const StatusLine&) = delete;

  void Show(const std::string& text);

 private:
  const std::function<void(std::string_view)> write_;
  const bool isTerminal_;
  std::string shown_;
};

}  // namespace torvik
