#pragma once

#include <compare>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace torvik::engine {

/// A place in a document; lines and columns count from 1.
struct TextPlace {
  int line = 1;
  int column = 1;
  auto operator<=>(const TextPlace&) const = default;
};

/// What is wrong with one document.
class Problems {
 public:
  /// `document` is how messages call the document: a file or a package name.
  explicit Problems(std::string document) : document_(std::move(document)) {}

  /// `reason` says what is wrong and, after a semicolon, what to do. `number` is the error number
  /// that the package object model has for it.
  void Add(TextPlace place, std::string reason, long number = 0);

  bool Empty() const { return found_.empty(); }

  /// "DOCUMENT, line L, column C: reason; what to do", in the order of the document.
  std::vector<std::string> Lines() const;

  /// Throws a PlatformError that holds every line, unless there is none.
  void ThrowIfAny() const;

 private:
  struct Problem {
    TextPlace place;
    std::string reason;
    long number;
  };
  std::vector<Problem> InOrder() const;

  std::string document_;
  std::vector<Problem> found_;
};

/// The advice after an unknown word: `did you mean "X"?` when one of `known` is spelled nearly like
/// it, else `otherwise`.
std::string DidYouMean(std::string_view word, std::span<const std::string> known,
                       const std::string& otherwise);

/// `use one of "A", "B"`.
std::string UseOneOf(std::span<const std::string> known);

/// "1 second", "10 seconds".
std::string CountOf(std::int64_t count, const char* what);

/// `text` in double quotes.
std::string Quoted(std::string_view text);

}  // namespace torvik::engine
