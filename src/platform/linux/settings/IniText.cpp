#include "platform/linux/settings/IniText.h"

#include "platform/Text.h"

namespace torvik {
namespace {

constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";

/// Where the first line that names a section begins, from the line of `offset` on; the end when
/// there is none.
std::size_t SectionFrom(std::string_view bytes, std::size_t offset) {
  if (offset == 0 && bytes.starts_with(kByteOrderMark)) offset = kByteOrderMark.size();
  while (offset < bytes.size()) {
    const std::size_t first = bytes.find_first_not_of(kWhiteSpace, offset);
    if (first == std::string_view::npos) break;
    if (bytes[first] == '[') return first;
    const std::size_t lineFeed = bytes.find('\n', first);
    if (lineFeed == std::string_view::npos) break;
    offset = lineFeed + 1;
  }
  return bytes.size();
}

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
std::size_t IniText::SectionAt(std::string_view name) const {
  const auto isWanted = [&](std::size_t at) {
    const IniLine line = ReadIniLine(bytes_, at);
    return line.kind == IniLine::Kind::Section &&
           EqualsIgnoringCase(line.name, Trimmed(name, kWhiteSpace));
  };
  if (isWanted(lastSection_)) return lastSection_;
  std::size_t at = SectionFrom(bytes_, 0);
  while (at < bytes_.size() && !isWanted(at)) at = SectionFrom(bytes_, ReadIniLine(bytes_, at).end);
  if (at < bytes_.size()) lastSection_ = at;
  return at;
}

IniText::Place IniText::Locate(std::string_view section, std::string_view key) const {
  Place place;
  const std::size_t at = SectionAt(section);
  if (at == bytes_.size()) return place;
  place.hasSection = true;
  IniLine line = ReadIniLine(bytes_, at);
  place.newKey = line.end;
  while (line.end < bytes_.size()) {
    line = ReadIniLine(bytes_, line.end);
    if (line.kind == IniLine::Kind::Section) break;
    if (line.kind != IniLine::Kind::Blank) place.newKey = line.end;
    if (line.kind == IniLine::Kind::Key &&
        EqualsIgnoringCase(line.name, Trimmed(key, kWhiteSpace))) {
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

std::vector<std::pair<std::string, std::string>> IniText::Keys(std::string_view section) const {
  std::vector<std::pair<std::string, std::string>> keys;
  std::size_t at = SectionAt(section);
  if (at == bytes_.size()) return keys;
  for (at = ReadIniLine(bytes_, at).end; at < bytes_.size();) {
    const IniLine line = ReadIniLine(bytes_, at);
    at = line.end;
    if (line.kind == IniLine::Kind::Section) break;
    if (line.kind == IniLine::Kind::Key) keys.emplace_back(line.name, IniValue(line.text));
  }
  return keys;
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
