#include "migrate/DtsrunLine.h"

#include <algorithm>

#include "platform/PlatformError.h"
#include "platform/Text.h"

namespace torvik::migrate {
namespace {

PlatformError NotTaken(const std::string& reason) {
  return {0, "the dtsrun line is not taken over: " + reason, "job from-dtsrun"};
}

bool IsGap(char c) {
  return c == ' ' || c == '\t' || c == '\r' || c == '\n';
}

/// The words; quotes are taken off, and a doubled one within them is one.
std::vector<std::string> SplitWords(std::string_view line) {
  std::vector<std::string> words;
  bool isQuoted = false, isOpen = false;
  for (std::size_t at = 0; at < line.size(); ++at) {
    const char c = line[at];
    if (!isQuoted && IsGap(c)) {
      isOpen = false;
      continue;
    }
    if (!isOpen) words.emplace_back();
    isOpen = true;
    const bool isDoubled = isQuoted && line.substr(at).starts_with("\"\"");
    if (c != '"' || isDoubled) words.back() += c;
    if (isDoubled) ++at;
    if (c == '"' && !isDoubled) isQuoted = !isQuoted;
  }
  if (isQuoted) throw NotTaken("a quote is not closed");
  return words;
}

/// A number may be negative.
bool IsOption(const std::string& word) {
  return word.size() > 1 &&
         (word[0] == '/' || (word[0] == '-' && (word[1] < '0' || word[1] > '9')));
}

/// "name:type=value"
std::pair<std::string, std::string> VariableOf(const std::string& text) {
  const std::size_t equals = text.find('='), colon = text.rfind(':', equals);
  if (equals == text.npos || colon == text.npos || colon == 0)
    throw NotTaken("an option /A is not of the form name:type=value");
  return {text.substr(0, colon), text.substr(equals + 1)};
}

class Line {
 public:
  explicit Line(std::string_view text) : words_(SplitWords(text)) {}

  DtsrunLine Read() {
    if (!words_.empty() && !IsOption(words_[0])) {
      const std::string program = LowerAscii(words_[0]);
      const std::string name = program.substr(program.find_last_of("\\/") + 1);
      if (name != "dtsrun" && name != "dtsrun.exe") throw NotTaken("it does not begin with dtsrun");
      at_ = 1;
    }
    while (at_ < words_.size()) Option(words_[at_++]);
    if (line_.package.empty())
      throw NotTaken(
          "it names no package (/N); one that is known by its GUID alone has its name in "
          "the list of packages of the old server");
    return std::move(line_);
  }

 private:
  void Option(const std::string& word) {
    if (!IsOption(word)) throw NotTaken("there is a value without its option");
    const char letter = LowerAscii(word.substr(1, 1))[0];
    if (letter == '~' || letter == 'z')
      throw NotTaken(
          "/" + word.substr(1, 1) +
          " is encrypted by a rule that is not published; write the line anew with /S /E "
          "/N, or with /U and /P");
    if (letter == '!') return line_.remarks.push_back("/! options are left out");
    if (letter == 'e') {
      line_.isTrusted = true;
      return;
    }
    std::string value = word.substr(2);
    if (value.starts_with('=')) value.erase(0, 1);
    if (value.empty() && at_ < words_.size() && !IsOption(words_[at_])) value = words_[at_++];
    Set(letter, value);
  }

  void Set(char letter, const std::string& value) {
    switch (letter) {
      case 's': line_.server = value; break;
      case 'u': line_.user = value; break;
      case 'p': line_.password = value; break;
      case 'n': line_.package = value; break;
      case 'v': line_.version = value; break;
      case 'l': line_.log = value; break;
      case 'a': line_.variables.push_back(VariableOf(value)); break;
      case 'w':
        line_.writesEvent = EqualsIgnoringCase(value, "true") || value == "1" || value == "-1";
        break;
      case 'm': line_.remarks.emplace_back("/M: packages have no password here"); break;
      case 'g': line_.remarks.emplace_back("/G: packages are found by their names here"); break;
      case 'f':
        throw NotTaken(
            "/F runs the package of a file; save it as a Visual Basic file, import it and "
            "store it on the server");
      case 'r':
        throw NotTaken("/R runs the package of a repository; import it and store it on the server");
      default: throw NotTaken(std::string("the option /") + letter + " is not known");
    }
  }

  const std::vector<std::string> words_;
  std::size_t at_ = 0;
  DtsrunLine line_;
};

}  // namespace

DtsrunLine ReadDtsrunLine(std::string_view line) {
  DtsrunLine read = Line(line).Read();
  if (!read.version.empty())
    read.remarks.emplace_back("/V: a job runs the latest version of its package");
  return read;
}

}  // namespace torvik::migrate
