#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace torvik::migrate {

/// A word of a T-SQL script.
struct SqlWord {
  enum class Kind { Name, Variable, Text, Number, Sign };
  Kind kind = Kind::Sign;
  std::string text;  ///< Of a Text without its quotes; of a Variable in small letters, with its @.
  int line = 0;
  bool isBracketed = false;  ///< A name in [ ].
};

/// The words of a script, comments left out. A text that is not closed ends with the script.
std::vector<SqlWord> SqlWordsOf(std::string_view sql);

}  // namespace torvik::migrate
