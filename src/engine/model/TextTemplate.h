#pragma once

#include <string_view>
#include <vector>

namespace torvik::engine {

/// A text that may hold `${Name}` for the value of a global variable; `$${` stands for `${` itself.
struct TemplatePiece {
  enum class Kind { Literal, Variable, Unclosed };
  Kind kind;
  /// The literal characters, or the variable's name; of an unclosed `${` all that follows it.
  std::string_view text;
};

/// The pieces point into `text`.
std::vector<TemplatePiece> SplitTemplate(std::string_view text);

}  // namespace torvik::engine
