#include "platform/linux/ftp/FtpListing.h"

#include <algorithm>
#include <optional>
#include <utility>
#include <vector>

#include "platform/Text.h"

namespace torvik {
namespace {

/// Far above any name; a line that goes on for longer is no line of a listing.
constexpr std::size_t kLongestLine = 65536;
constexpr std::size_t kShownLength = 200;
/// Far above any directory; a listing without an end must not fill the memory.
constexpr std::size_t kMostEntries = 5'000'000;

/// What a line of LIST says.
struct Line {
  std::string_view name;
  bool isDirectory = false;
};

struct Word {
  std::string_view text;
  std::size_t end;  ///< In the line.
};

bool IsNumber(std::string_view text, std::size_t shortest, std::size_t longest) {
  return text.size() >= shortest && text.size() <= longest && std::ranges::all_of(text, IsDigit);
}

/// A month's name, in whatever language: no digit in front.
bool IsMonth(std::string_view text) {
  return !text.empty() && !IsDigit(text[0]);
}

bool IsTimeOrYear(std::string_view text) {
  const std::size_t colon = text.find(':');
  if (colon == std::string_view::npos) return IsNumber(text, 4, 4);
  return IsNumber(text.substr(0, colon), 1, 2) && text.size() >= colon + 3;
}

bool IsIsoDate(std::string_view text) {
  return text.size() == 10 && IsNumber(text.substr(0, 4), 4, 4) && text[4] == '-' && text[7] == '-';
}

/// The first words of a line; a name may have more of them.
std::vector<Word> WordsOf(std::string_view line) {
  constexpr std::size_t kMost = 16;
  std::vector<Word> words;
  for (std::size_t end = 0; words.size() < kMost;) {
    const std::size_t begin = line.find_first_not_of(" \t", end);
    if (begin == std::string_view::npos) break;
    end = std::min(line.find_first_of(" \t", begin), line.size());
    words.push_back({line.substr(begin, end - begin), end});
  }
  return words;
}

/// How many words of a date and time follow the size at `size`; 0 when they do not.
std::size_t DateWords(const std::vector<Word>& words, std::size_t size) {
  const auto at = [&](std::size_t i) {
    return size + i < words.size() ? words[size + i].text : std::string_view();
  };
  const bool monthFirst = IsMonth(at(1)) && IsNumber(at(2), 1, 2);
  const bool dayFirst = IsNumber(at(1), 1, 2) && IsMonth(at(2));
  if ((monthFirst || dayFirst) && IsTimeOrYear(at(3))) return 3;
  return IsIsoDate(at(1)) && IsTimeOrYear(at(2)) ? 2 : 0;
}

/// Which word is the size; 0 when none is. Owner and group may be missing and may hold blanks: the
/// date behind it is looked for, first at the usual place, since "2 ftp 0 4096" looks like one too.
std::size_t SizeWord(const std::vector<Word>& words) {
  constexpr std::size_t kUsual = 4;
  for (std::size_t i = 0; i < words.size(); ++i) {
    const std::size_t size = i == 0 ? kUsual : i;
    if (size < words.size() && IsNumber(words[size].text, 1, 20) && DateWords(words, size) != 0)
      return size;
  }
  return 0;
}

/// One blank ends the date; more belong to the name.
std::optional<Line> ReadUnixLine(std::string_view line) {
  if (line.empty() || std::string_view("-dlbcpsD").find(line[0]) == std::string_view::npos)
    return std::nullopt;
  const std::vector<Word> words = WordsOf(line);
  const std::size_t size = SizeWord(words);
  if (size == 0) return std::nullopt;
  const std::size_t end = words[size + DateWords(words, size)].end;
  if (end + 1 >= line.size()) return std::nullopt;
  std::string_view name = line.substr(end + 1);
  if (line[0] == 'l') name = name.substr(0, name.find(" -> "));
  return Line{name, line[0] == 'd'};
}

/// The name stands behind one blank, after "<DIR>" behind ten.
std::optional<Line> ReadWindowsLine(std::string_view line) {
  const std::vector<Word> words = WordsOf(line);
  if (words.size() < 4 || !IsDigit(line[0]) || !IsTimeOrYear(words[1].text)) return std::nullopt;
  const std::string_view date = words[0].text, size = words[2].text;
  if (std::ranges::count(date, '-') != 2 && std::ranges::count(date, '/') != 2) return std::nullopt;
  const bool isNumber =
      std::ranges::all_of(size, [](char c) { return IsDigit(c) || c == ',' || c == '.'; });
  if (!isNumber && size.front() != '<') return std::nullopt;
  const std::size_t blanks = line.find_first_not_of(' ', words[2].end) - words[2].end;
  const std::size_t begin = words[2].end + std::min<std::size_t>(blanks, isNumber ? 1 : 10);
  return Line{line.substr(begin), size == "<DIR>"};
}

/// "total 12", in whatever language.
bool IsTotal(std::string_view line) {
  const std::vector<Word> words = WordsOf(line);
  return words.size() == 2 && IsMonth(words[0].text) && IsNumber(words[1].text, 1, 20);
}

/// What a line of MLSD says; nothing of the directory itself and the one above it.
struct Facts {
  std::string_view name;
  std::string type;
};

std::optional<Facts> ReadFacts(std::string_view line) {
  const std::size_t blank = line.find(' ');
  if (blank == std::string_view::npos || blank + 1 == line.size()) return std::nullopt;
  Facts result{line.substr(blank + 1), ""};
  std::string_view facts = line.substr(0, blank);
  while (!facts.empty()) {
    const std::size_t end = std::min(facts.find(';'), facts.size());
    const std::string_view fact = facts.substr(0, end);
    const std::size_t equals = fact.find('=');
    if (equals == std::string_view::npos) return std::nullopt;
    if (EqualsIgnoringCase(fact.substr(0, equals), "type"))
      result.type = LowerAscii(fact.substr(equals + 1));
    facts.remove_prefix(std::min(end + 1, facts.size()));
  }
  return result;
}

}  // namespace

bool FtpListing::Add(std::string_view bytes) {
  if (!problem_.empty()) return false;
  for (std::size_t end; (end = bytes.find('\n')) != std::string_view::npos;
       bytes.remove_prefix(end + 1)) {
    std::string_view line = bytes.substr(0, end);
    if (!part_.empty()) line = part_.append(line);
    const bool isGood = AddLine(line);
    part_.clear();
    if (!isGood) return false;
  }
  part_ += bytes;
  return part_.size() <= kLongestLine || Refuse(part_, "the line is too long");
}

bool FtpListing::Finish() {
  return problem_.empty() && AddLine(part_);
}

bool FtpListing::AddLine(std::string_view line) {
  if (line.ends_with('\r')) line.remove_suffix(1);
  if (line.empty()) return true;
  const bool isFirst = std::exchange(isFirstLine_, false);
  if (kind_ == Kind::Mlsd) {
    const auto facts = ReadFacts(line);
    if (!facts) return Refuse(line, "the line is not understood");
    if (facts->type == "cdir" || facts->type == "pdir") return true;
    return AddEntry(facts->name, facts->type == "dir");
  }
  auto entry = ReadUnixLine(line);
  if (!entry) entry = ReadWindowsLine(line);
  if (entry) return AddEntry(entry->name, entry->isDirectory);
  return (isFirst && IsTotal(line)) || Refuse(line, "the line is not understood");
}

bool FtpListing::AddEntry(std::string_view name, bool isDirectory) {
  if (isDirectory && (name == "." || name == "..")) return true;
  const bool isHarmless = std::ranges::none_of(
      name, [](char c) { return c == '/' || c == '\\' || (c >= 0 && c < ' '); });
  if (name.empty() || name == "." || name == ".." || !isHarmless)
    return Refuse(name, "this cannot be the name of a file in the directory");
  if (entries_.size() == kMostEntries) return Refuse(name, "there are too many files before this");
  entries_.push_back({std::string(name), isDirectory ? wininet::kDirectoryAttribute : 0});
  return true;
}

bool FtpListing::Refuse(std::string_view text, const std::string& reason) {
  std::string shown(text.substr(0, kShownLength));
  std::ranges::replace_if(
      shown, [](char c) { return c >= 0 && c < ' '; }, '?');
  problem_ = "the server's listing: \"" + shown + "\": " + reason;
  return false;
}

}  // namespace torvik
