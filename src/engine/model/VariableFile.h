#pragma once

#include <string>
#include <vector>

namespace torvik {

class CodePages;
class Files;

namespace engine {

/// A line NAME = VALUE of a file.
struct FileValue {
  std::string name;
  std::string value;
  int line = 0;  ///< From 1.
};

/// A file's text, of at most 1 MiB, from UTF-8 when it begins with a byte-order mark, else from the
/// system's code page. Throws, with the path, when it cannot be read or decoded.
std::string ReadValueText(Files& files, const CodePages& codePages, const std::string& path);

/// Reads a file of lines NAME = VALUE, in UTF-8 when it begins with a byte-order mark, else in the
/// system's code page. Blank lines and those that begin with '#' or ';' are left out, and one pair
/// of equal quotes around a value is taken off. With `section` only the lines below [section] count
/// (letter case does not matter); without it every line does. Throws, with path and line, when the
/// file cannot be read, when a line is something else, when a name is given twice, and when there
/// is nothing in it.
std::vector<FileValue> ReadVariableFile(Files& files, const CodePages& codePages,
                                        const std::string& path, const std::string& section);

}  // namespace engine
}  // namespace torvik
