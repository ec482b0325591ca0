#include "platform/linux/settings/RegistryText.h"

#include <cstdio>
#include <optional>

#include "platform/Text.h"

namespace torvik {
namespace {

std::string Quoted(std::string_view text) {
  std::string quoted = "\"";
  for (const char c : text) {
    const auto byte = static_cast<unsigned char>(c);
    if (c == '"' || c == '\\') {
      quoted += {'\\', c};
    } else if (byte >= 0x20 && byte < 0x7F) {
      quoted += c;
    } else {
      char code[5];
      std::snprintf(code, sizeof code, "\\x%02X", byte);
      quoted += code;
    }
  }
  return quoted + '"';
}

int HexDigit(char c) {
  if (c >= '0' && c <= '9') return c - '0';
  if (c >= 'A' && c <= 'F') return c - 'A' + 10;
  return c >= 'a' && c <= 'f' ? c - 'a' + 10 : -1;
}

/// The text between quotes that `line` begins with, which is taken off it.
std::optional<std::string> TakeQuoted(std::string_view& line) {
  if (!line.starts_with('"')) return std::nullopt;
  std::string text;
  for (std::size_t i = 1; i < line.size(); ++i) {
    if (line[i] == '"') {
      line.remove_prefix(i + 1);
      return text;
    }
    if (line[i] != '\\') {
      text += line[i];
      continue;
    }
    if (++i == line.size()) return std::nullopt;
    if (line[i] != 'x') {
      text += line[i];
      continue;
    }
    if (i + 2 >= line.size()) return std::nullopt;
    const int high = HexDigit(line[i + 1]), low = HexDigit(line[i + 2]);
    if (high < 0 || low < 0) return std::nullopt;
    text += static_cast<char>(high << 4 | low);
    i += 2;
  }
  return std::nullopt;
}

bool ReadValue(std::string_view line, Hive::Key& key) {
  std::string name;
  if (line.starts_with('@')) {
    line.remove_prefix(1);
  } else if (auto quoted = TakeQuoted(line)) {
    name = std::move(*quoted);
  } else {
    return false;
  }
  if (!line.starts_with('=')) return false;
  line.remove_prefix(1);
  auto data = TakeQuoted(line);
  if (!data || !line.empty()) return false;
  key.Set(name, *data);
  return true;
}

}  // namespace

void Hive::Key::Set(const std::string& name, std::string_view data) {
  Value& value = values.try_emplace(LowerAscii(name), Value{name, ""}).first->second;
  value.data = data;
}

Hive::Key& Hive::Make(const std::string& path) {
  for (std::size_t end = path.find('\\'); end != path.npos; end = path.find('\\', end + 1)) {
    Key& above = keys[LowerAscii(path.substr(0, end))];
    if (above.path.empty()) above.path = path.substr(0, end);
  }
  Key& key = keys[LowerAscii(path)];
  if (key.path.empty()) key.path = path;
  return key;
}

Hive::Key* Hive::Find(const std::string& path) {
  const auto found = keys.find(LowerAscii(path));
  return found == keys.end() ? nullptr : &found->second;
}

bool Hive::HasKeysBelow(const std::string& path) const {
  const std::string below = LowerAscii(path) + "\\";
  const auto next = keys.lower_bound(below);
  return next != keys.end() && next->first.starts_with(below);
}

bool ReadHive(std::string_view text, Hive& hive) {
  Hive::Key* key = nullptr;
  std::string comments;
  while (!text.empty()) {
    const std::size_t end = std::min(text.find('\n'), text.size());
    std::string_view line = text.substr(0, end);
    while (line.ends_with('\r')) line.remove_suffix(1);
    text.remove_prefix(std::min(end + 1, text.size()));
    if (line.empty()) continue;
    if (line.starts_with(';')) {
      (key ? key->comments : comments).append(line) += '\n';
    } else if (line.starts_with('[') && line.ends_with(']')) {
      key = &hive.Make(std::string(line.substr(1, line.size() - 2)));
      key->comments += comments;
      comments.clear();
    } else if (key == nullptr || !ReadValue(line, *key)) {
      return false;
    }
  }
  return true;
}

std::string WriteHive(const Hive& hive) {
  std::string text;
  for (const auto& [lower, key] : hive.keys) {
    text += (text.empty() ? "[" : "\n[") + key.path + "]\n" + key.comments;
    for (const auto& [name, value] : key.values)
      text += (name.empty() ? "@" : Quoted(value.name)) + "=" + Quoted(value.data) + "\n";
  }
  return text;
}

}  // namespace torvik
