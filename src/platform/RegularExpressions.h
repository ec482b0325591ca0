#pragma once

#include <cstddef>
#include <memory>
#include <optional>
#include <string_view>
#include <vector>

namespace torvik {

/// A regular expression of ECMAScript's third edition, as scripts write them. One thread at a time
/// uses it.
class RegularExpression {
 public:
  /// Bytes from `begin` up to `end`.
  struct Range {
    std::size_t begin = 0, end = 0;
  };
  /// The whole match, then what each group took; a group may have taken no part.
  using Match = std::vector<std::optional<Range>>;

  virtual ~RegularExpression() = default;

  /// The first match at or behind byte `from` of a UTF-8 text, at the begin of a character; empty
  /// when there is none. Throws PlatformError when the search takes too many steps.
  virtual Match Find(std::string_view text, std::size_t from) = 0;
};

struct ExpressionOptions {
  bool ignoresCase = false;
  bool isMultiLine = false;  ///< ^ and $ stand at each line's begin and end too.
};

/// Compiles regular expressions.
class RegularExpressions {
 public:
  virtual ~RegularExpressions() = default;

  /// Throws PlatformError, with the place in the pattern, for one that is wrong.
  virtual std::unique_ptr<RegularExpression> Compile(std::string_view pattern,
                                                     const ExpressionOptions& options) = 0;
};

}  // namespace torvik
