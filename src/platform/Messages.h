#pragma once

#include <span>
#include <string_view>

namespace torvik {

/// The icons of a message box; the numbers are those of the Windows API's MessageBox.
enum class BoxIcon : int { None = 0, Critical = 0x10, Exclamation = 0x30, Information = 0x40 };

/// What the user is told, and the events that wait for the user-interface thread.
class Messages {
 public:
  virtual ~Messages() = default;

  /// A modal message box. Without a display it is a line on standard error, answered at once.
  virtual void Box(std::string_view text, std::string_view title, BoxIcon icon) = 0;

  /// A modal question. `choices` are verbs, one a button; a further button cancels. `usual` is the
  /// position of the one that the return key takes, kNoChoice that it cancels. Answers the position
  /// of the choice, or kNoChoice: without a display nobody can answer.
  virtual int Ask(std::string_view text, std::string_view title,
                  std::span<const char* const> choices, int usual) = 0;
  static constexpr int kNoChoice = -1;

  /// One line for whoever started the program, beside the run's own log: why something failed that
  /// the log does not explain.
  virtual void Report(std::string_view line) = 0;

  /// Handles what has arrived: clicks, and the signals that act as the Close button. On a thread
  /// that is not the user's it does nothing.
  virtual void PumpEvents() = 0;
};

}  // namespace torvik
