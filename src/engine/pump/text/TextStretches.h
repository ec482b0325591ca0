#pragma once

#include <cstddef>
#include <optional>
#include <string>

#include "engine/pump/text/TextInput.h"
#include "engine/pump/text/TextSource.h"
#include "platform/PlatformError.h"

namespace torvik::engine {

/// A text file cannot be read in parts, only from its start to its end; the text says why.
struct NotInParts : PlatformError {
  NotInParts(const std::string& path, const std::string& reason);
};

/// Cuts a text file into stretches of whole rows, from its start to its end: whoever reads them one
/// after the other finds the rows, good and bad ones, that whoever reads the file finds. A stretch
/// ends behind a row that is not an empty line, so that the empty lines at the file's end are in
/// one with it.
class TextStretches {
 public:
  /// `bytes`: of a stretch, unless its rows or what follows them need more; `firstBytes`: of the
  /// first one.
  TextStretches(TextInput file, TextRules rules, std::size_t bytes, std::size_t firstBytes);

  /// Nothing at the file's end. Throws NotInParts for a row that is too long, or for as many empty
  /// lines, and RowError when the file cannot be read; it cannot go on then.
  std::optional<TextInput> Next();

 private:
  struct Cut {
    std::size_t bytes = 0;  ///< 0: there is no place to cut.
    std::int64_t rows = 0;
  };

  NotInParts TooLong() const;
  void Fill(std::string& bytes, std::size_t wanted);
  Cut FindCut(std::string& bytes);
  std::size_t RowEnd(std::string& bytes, std::size_t from, bool& isEmpty);
  std::size_t SkipStart(std::string& bytes);

  TextInput file_;
  TextRules rules_;
  const std::size_t size_, firstSize_;
  std::string kept_;  // behind the last stretch
  bool atEnd_ = false;
};

}  // namespace torvik::engine
