#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "script/Heap.h"
#include "script/ScriptError.h"

namespace torvik {
class Clock;
class RegularExpressions;
}  // namespace torvik

namespace torvik::script {

class FileAccess;
class Value;

/// What a script asks of its host beyond files.
class HostServices {
 public:
  virtual ~HostServices() = default;

  /// The object that CreateObject makes of a class beyond the language's own; nothing when there is
  /// no such class.
  virtual std::optional<Value> NewObject(std::string_view className) = 0;

  /// What MsgBox and InputBox show where nobody sees it.
  virtual void Say(const std::string& text) = 0;
};

/// What one run may use; passing a limit ends the script.
struct Limits {
  std::uint64_t steps = 50'000'000;     ///< Statements and passes of loops, of one call.
  std::size_t memoryBytes = 256 << 20;  ///< Of texts, arrays and dictionaries.
  int callDepth = 250;                  ///< Procedures that call each other.
};

/// The last run-time error as scripts see it.
struct ErrState {
  int number = 0;
  std::string description, source;
};

/// What the functions and objects of the language work on.
struct Context {
  Heap& heap;
  Clock& clock;
  FileAccess* files;                          ///< Null: scripts see no files.
  HostServices* services = nullptr;           ///< Null: no further classes, and nobody to talk to.
  RegularExpressions* expressions = nullptr;  ///< Null: scripts have none.
  ErrState err = {};
  std::uint64_t stepsLeft = 0;
  std::uint32_t random = 0x50000;

  void Spend(std::uint64_t steps) {
    if (steps > stepsLeft) throw StepLimitPassed();
    stepsLeft -= steps;
  }
  /// Counts the work on a text or an array of this size.
  void Work(std::size_t bytes) { Spend(bytes / 256); }
};

}  // namespace torvik::script
