#pragma once

#include <stdexcept>
#include <string>
#include <utility>

namespace torvik::script {

/// A script that cannot be compiled or run on: the language's own number and description, and the
/// place in the source once it is known.
struct ScriptError : std::runtime_error {
  ScriptError(int number, const std::string& description, std::string source = "script")
      : std::runtime_error(description), number(number), source(std::move(source)) {}

  std::string Description() const { return what(); }
  /// "Type mismatch: 'x' (error 13) in line 3, column 5: x = y + 1"
  std::string Text() const;

  int number;
  std::string source;
  int line = 0, column = 0;  ///< From 1; 0: not known.
  std::string sourceLine;

  /// True for a limit that was passed and for a cancelled run: no handler of the script sees it.
  bool endsScript = false;
};

/// The language's description of a run-time error; "Unknown runtime error" for other numbers.
std::string DescriptionOf(int number);

/// A run-time error in the language's own words, with ": 'subject'" behind them when there is one.
ScriptError RuntimeError(int number, const std::string& subject = {});

ScriptError TypeMismatch(const std::string& subject = {});
ScriptError InvalidCall(const std::string& subject = {});
ScriptError Overflow();

/// An error of the source text, numbers 1001 and up.
ScriptError SyntaxError(int number, int line, int column, const std::string& detail = {});

ScriptError StepLimitPassed();
ScriptError Cancelled();
ScriptError MemoryLimitPassed();
ScriptError CallDepthPassed();

}  // namespace torvik::script
