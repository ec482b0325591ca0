#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "script/Lexer.h"

namespace torvik::importing {

/// One statement's line: the physical lines that it is continued over, joined.
struct SourceLine {
  int number = 0;    ///< Of its first physical line, from 1.
  std::string text;  ///< Trimmed.
  /// The last is EndOfText; empty when the line has no tokens that make sense.
  std::vector<script::Token> tokens;
  bool isUnderstood = true;
};

/// The text of a file in UTF-8: by its byte-order mark, else as UTF-8 where it is valid, else as
/// windows-1252.
std::string DecodedSource(std::string_view bytes);

/// The lines of a Visual Basic, Visual Basic .NET or VBScript text that are not empty, comments
/// left out. A line that cannot be taken apart is kept as not understood. The header of a form or
/// class file is left out.
std::vector<SourceLine> ReadSourceLines(std::string_view source);

}  // namespace torvik::importing
