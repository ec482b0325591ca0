#pragma once

#include <string>
#include <vector>

namespace torvik {

/// A drop-down list as the lists of databases, models and packages fill it.
class DropDown {
 public:
  virtual ~DropDown() = default;

  /// What stands in its field, chosen or typed.
  virtual const std::string& ShownText() const = 0;

  virtual const std::vector<std::string>& Entries() const = 0;

  /// The position of the chosen entry from 0, or -1.
  virtual int Chosen() const = 0;

  /// Chooses an entry, which then stands in the field; -1 chooses none and empties the field.
  virtual void Choose(int position) = 0;

  /// Replaces the entries and chooses one of them, or none with -1, as Choose does. Whoever watches
  /// the list or the text is told once, at the end.
  virtual void Refill(std::vector<std::string> entries, int position) = 0;
};

}  // namespace torvik
