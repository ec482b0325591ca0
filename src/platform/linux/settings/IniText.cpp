#include "platform/linux/settings/IniText.h"

#include "platform/Text.h"

namespace torvik {
namespace {

constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";

}  // namespace

IniLine ReadIniLine(std::string_view bytes, std::size_t offset) {
  IniLine line;
  const std::size_t lineFeed = bytes.find('\n', offset);
  line.end = lineFeed == std::string_view::npos ? bytes.size() : lineFeed + 1;
  std::string_view all = bytes.substr(offset, std::min(lineFeed, line.end) - offset);
  if (offset == 0 && all.starts_with(kByteOrderMark)) all.remove_prefix(kByteOrderMark.size());
  const std::string_view words = Trimmed(all, kWhiteSpace);
  const std::size_t equals = words.find('=');
  if (words.empty()) {
    line.kind = IniLine::Kind::Blank;
  } else if (words[0] == ';') {
    line.kind = IniLine::Kind::Comment;
  } else if (words[0] == '[') {
    line.kind = IniLine::Kind::Section;
    line.name = Trimmed(words.substr(1, std::min(words.rfind(']'), words.size()) - 1), kWhiteSpace);
  } else if (equals == std::string_view::npos) {
    line.kind = IniLine::Kind::Other;
  } else {
    line.kind = IniLine::Kind::Key;
    line.name = Trimmed(words.substr(0, equals), kWhiteSpace);
    line.text = Trimmed(words.substr(equals + 1), kWhiteSpace);
  }
  return line;
}

std::string_view IniValue(std::string_view text) {
  text = Trimmed(text, kWhiteSpace);
  const bool isQuoted = text.size() >= 2 && (text.front() == '"' || text.front() == '\'') &&
                        text.front() == text.back();
  return isQuoted ? text.substr(1, text.size() - 2) : text;
}

/// Where a key stands, or would stand.
struct IniText::Place {
  bool hasSection = false;
  bool hasKey = false;
  std::string_view text;   ///< Of the key: what its value is written as.
  std::size_t newKey = 0;  ///< Where the line of a new key goes.
};

/// What comes before the section that was asked for last does not change, so that the keys of one
/// section are found one after the other without reading all of a long file for each.
IniText::Place IniText::Locate(std::string_view section, std::string_view key) const {
  const auto isWanted = [](const IniLine& line, IniLine::Kind kind, std::string_view name) {
    return line.kind == kind && EqualsIgnoringCase(line.name, Trimmed(name, kWhiteSpace));
  };
  const bool isSame = isWanted(ReadIniLine(bytes_, lastSection_), IniLine::Kind::Section, section);
  Place place;
  for (std::size_t offset = isSame ? lastSection_ : 0; offset < bytes_.size();) {
    const std::size_t start = offset;
    const IniLine line = ReadIniLine(bytes_, offset);
    offset = line.end;
    if (line.kind == IniLine::Kind::Section) {
      if (place.hasSection) break;
      place.hasSection = isWanted(line, IniLine::Kind::Section, section);
      if (place.hasSection) lastSection_ = start;
    }
    if (!place.hasSection) continue;
    if (line.kind != IniLine::Kind::Blank) place.newKey = line.end;
    if (isWanted(line, IniLine::Kind::Key, key)) {
      place.hasKey = true;
      place.text = line.text;
      break;
    }
  }
  return place;
}

std::optional<std::string> IniText::Find(std::string_view section, std::string_view key) const {
  const Place place = Locate(section, key);
  if (!place.hasKey) return std::nullopt;
  return std::string(IniValue(place.text));
}

void IniText::Set(std::string_view section, std::string_view key, std::string_view value) {
  const Place place = Locate(section, key);
  if (place.hasKey) {
    bytes_.replace(static_cast<std::size_t>(place.text.data() - bytes_.data()), place.text.size(),
                   value);
    return;
  }
  std::size_t at = place.newKey;
  if (!place.hasSection) {
    InsertLine(bytes_.size(), "[" + std::string(section) + "]");
    at = bytes_.size();
  }
  InsertLine(at, std::string(key) + "=" + std::string(value));
}

void IniText::InsertLine(std::size_t at, const std::string& line) {
  const std::string lineEnd = LineEnd();
  const bool isOpen = at > 0 && bytes_[at - 1] != '\n';
  bytes_.insert(at, (isOpen ? lineEnd : "") + line + lineEnd);
}

std::string IniText::LineEnd() const {
  const std::size_t lineFeed = bytes_.find('\n');
  const bool isBare =
      lineFeed != std::string::npos && (lineFeed == 0 || bytes_[lineFeed - 1] != '\r');
  return isBare ? "\n" : "\r\n";
}

}  // namespace torvik
