#include "engine/model/VariableFile.h"

#include <algorithm>

#include "engine/model/Problems.h"
#include "engine/pump/WholeFile.h"
#include "platform/CodePage.h"
#include "platform/PlatformError.h"
#include "platform/Text.h"

namespace torvik::engine {
namespace {

/// More than anybody writes; it keeps out a data file that is named by mistake.
constexpr std::size_t kLargestFile = 1 << 20;

constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";

PlatformError Failure(const std::string& place, const std::string& reason) {
  return PlatformError(0, place + ": " + reason, "package engine");
}

std::string ReadBytes(Files& files, const std::string& path) {
  std::string bytes;
  const std::string reason = ReadWhole(files, path, kLargestFile, bytes);
  if (!reason.empty()) throw Failure(path, reason + "; name a file that holds values");
  return bytes;
}

std::string Decoded(const CodePages& codePages, std::string_view bytes, const std::string& path) {
  std::string text;
  const bool isMarked = bytes.starts_with(kByteOrderMark);
  if (isMarked) bytes.remove_prefix(kByteOrderMark.size());
  const auto utf8 = isMarked ? codePages.Open("utf-8") : nullptr;
  const auto bad = (utf8 ? *utf8 : codePages.Ansi()).DecodeStrict(bytes, text);
  if (bad == CodePage::kAllValid) return text;
  const auto line = 1 + std::count(text.begin(), text.end(), '\n');
  throw Failure(path + ", line " + std::to_string(line),
                std::string("a byte is no character of ") +
                    (isMarked ? "UTF-8, which the file's first bytes announce"
                              : "the system's code page; save the file in it, or in UTF-8 with a "
                                "byte-order mark"));
}

std::string_view WithoutQuotes(std::string_view text) {
  const bool isQuoted =
      text.size() >= 2 && (text[0] == '"' || text[0] == '\'') && text.front() == text.back();
  return isQuoted ? text.substr(1, text.size() - 2) : text;
}

/// Takes the lines of one file, or of one section of it.
class LineReader {
 public:
  LineReader(const std::string& path, const std::string& section)
      : path_(path), section_(section), isInside_(section.empty()) {}

  void Take(std::string_view line) {
    ++number_;
    line = Trimmed(line, kWhiteSpace);
    if (line.empty() || line[0] == '#' || line[0] == ';') return;
    if (line.front() == '[' && line.back() == ']') return EnterSection(line);
    if (isInside_) TakeValue(line);
  }

  std::vector<FileValue> Values() {
    if (!hasSection_ && !section_.empty())
      throw Failure(path_, "the file has no section [" + section_ + "]; correct \"section\"");
    if (values_.empty())
      throw Failure(path_, std::string("there is no line NAME = VALUE in ") +
                               (section_.empty() ? "the file" : "the section") +
                               "; add one for each variable to be set");
    return std::move(values_);
  }

 private:
  void EnterSection(std::string_view line) {
    if (section_.empty()) return;
    isInside_ = EqualsIgnoringCase(Trimmed(line.substr(1, line.size() - 2), kWhiteSpace), section_);
    hasSection_ = hasSection_ || isInside_;
  }

  void TakeValue(std::string_view line) {
    const std::size_t equals = line.find('=');
    const std::string place = path_ + ", line " + std::to_string(number_);
    if (equals == std::string_view::npos || Trimmed(line.substr(0, equals), kWhiteSpace).empty())
      throw Failure(place, "this is not NAME = VALUE; put # before a comment");
    const std::string name(Trimmed(line.substr(0, equals), kWhiteSpace));
    const auto before = std::find_if(values_.begin(), values_.end(), [&](const FileValue& one) {
      return EqualsIgnoringCase(one.name, name);
    });
    if (before != values_.end())
      throw Failure(place, Quoted(name) + " is given already in line " +
                               std::to_string(before->line) + "; remove one of them" +
                               (section_.empty() ? ", or choose a section with \"section\"" : ""));
    values_.push_back(
        {name, std::string(WithoutQuotes(Trimmed(line.substr(equals + 1), kWhiteSpace))), number_});
  }

  const std::string& path_;
  const std::string& section_;
  bool isInside_;
  bool hasSection_ = false;
  int number_ = 0;
  std::vector<FileValue> values_;
};

}  // namespace

std::string ReadValueText(Files& files, const CodePages& codePages, const std::string& path) {
  return Decoded(codePages, ReadBytes(files, path), path);
}

std::vector<FileValue> ReadVariableFile(Files& files, const CodePages& codePages,
                                        const std::string& path, const std::string& section) {
  const std::string text = ReadValueText(files, codePages, path);
  LineReader reader(path, section);
  for (std::size_t at = 0; at < text.size();) {
    const std::size_t end = std::min(text.find('\n', at), text.size());
    reader.Take(std::string_view(text).substr(at, end - at));
    at = end + 1;
  }
  return reader.Values();
}

}  // namespace torvik::engine
