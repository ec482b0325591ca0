#pragma once

#include <cstdint>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "import/Record.h"

namespace torvik::importing {

/// Takes the properties of a recorded object by their names; what nobody has taken is kept as
/// original.
class Properties {
 public:
  /// `notes` is told of values that are not known where they must be.
  Properties(const Object* object, std::vector<Note>& notes) : object_(object), notes_(notes) {}

  /// Null when it is not set.
  const Property* Take(std::string_view name);
  /// In the form of documents; empty when it is not set.
  std::string Text(std::string_view name);
  std::string Plain(std::string_view name);
  /// Nothing when it is not set, and after a note when it is no number.
  std::optional<double> Number(std::string_view name);
  std::int64_t Whole(std::string_view name, std::int64_t fallback);
  bool Boolean(std::string_view name, bool fallback);

  /// Those that are not taken, empty ones and passwords left out.
  std::vector<Property> Rest() const;

 private:
  const Object* object_;
  std::vector<Note>& notes_;
  std::set<std::string> taken_;
};

bool IsPasswordProperty(std::string_view name);

}  // namespace torvik::importing
