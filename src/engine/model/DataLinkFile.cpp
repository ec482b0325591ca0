#include "engine/model/DataLinkFile.h"

#include <algorithm>
#include <span>
#include <utility>
#include <vector>

#include "engine/model/Connections.h"
#include "engine/model/FileDsn.h"
#include "engine/model/Providers.h"
#include "engine/pump/WholeFile.h"
#include "platform/CodePage.h"
#include "platform/PlatformError.h"
#include "platform/Text.h"

namespace torvik::engine {
namespace {

/// More than anybody writes.
constexpr std::size_t kLargestLink = 1 << 16;

PlatformError NoDataLink(const std::string& path, const std::string& reason) {
  return PlatformError(0, "the data link file " + path + ": " + reason, "package engine");
}

std::string DecodedLink(const CodePages& codePages, std::string_view bytes) {
  constexpr std::string_view kWideMark = "\xFF\xFE", kMark = "\xEF\xBB\xBF";
  if (bytes.starts_with(kMark)) return std::string(bytes.substr(kMark.size()));
  if (!bytes.starts_with(kWideMark)) return codePages.Ansi().Decode(bytes);
  bytes.remove_prefix(kWideMark.size());
  std::string text(bytes.size() * 2, '\0');  // a unit of two bytes has at most three in UTF-8
  std::span<char> room(text);
  codePages.OpenDecoder("utf-16le")->Decode(bytes, room, true);
  text.resize(text.size() - room.size());
  return text;
}

/// The line that is neither the section's name nor a comment; empty when there is none.
std::string_view InitialisationString(std::string_view text) {
  while (!text.empty()) {
    const std::size_t end = std::min(text.find_first_of("\r\n"), text.size());
    const std::string_view line = Trimmed(text.substr(0, end), kWhiteSpace);
    if (!line.empty() && line[0] != '[' && line[0] != ';') return line;
    text.remove_prefix(std::min(end + 1, text.size()));
  }
  return {};
}

void SetProperty(ConnectionSettings& settings, const char* name, const std::string& value) {
  const auto found =
      std::ranges::find(settings.properties, name, &std::pair<std::string, std::string>::first);
  if (found == settings.properties.end())
    settings.properties.emplace_back(name, value);
  else
    found->second = value;
}

}  // namespace

std::vector<std::pair<std::string, std::string>> InitialisationEntries(std::string_view text) {
  std::vector<std::pair<std::string, std::string>> entries;
  for (std::size_t at = 0; at < text.size();) {
    const std::size_t equals = text.find('=', at);
    if (equals == text.npos) break;
    const std::string name(Trimmed(text.substr(at, equals - at), kWhiteSpace));
    at = equals + 1;
    std::string value;
    const char quote = at < text.size() && (text[at] == '"' || text[at] == '\'') ? text[at] : '\0';
    if (quote != '\0') {
      for (++at; at < text.size(); ++at) {
        const bool isDoubled = text[at] == quote && text.substr(at + 1).starts_with(quote);
        if (text[at] == quote && !isDoubled) break;
        value += text[at];
        at += isDoubled ? 1 : 0;
      }
      at = text.find(';', at);
    } else {
      const std::size_t end = text.find(';', at);
      value = Trimmed(text.substr(at, end == text.npos ? end : end - at), kWhiteSpace);
      at = end;
    }
    entries.emplace_back(name, value);
    if (at == text.npos) break;
    ++at;
  }
  return entries;
}

void ReadDataLinkFile(const FileServices& services, const std::string& path,
                      ConnectionSettings& settings) {
  std::string bytes;
  if (const std::string reason = ReadWhole(services.files, path, kLargestLink, bytes);
      !reason.empty())
    throw NoDataLink(path, reason + "; the settings' [paths] say where drives and shares lie");
  const std::string text = DecodedLink(services.codePages, bytes);
  const auto dsn = FileDsnEntries(text);
  const auto entries = dsn ? *dsn : InitialisationEntries(InitialisationString(text));
  const auto provider = std::ranges::find_if(
      entries, [](const auto& entry) { return EqualsIgnoringCase(entry.first, "Provider"); });
  if (provider == entries.end() && !dsn)
    throw NoDataLink(path, "there is no line \"Provider=...;...\" in it");
  if (dsn && dsn->empty())
    throw NoDataLink(path, "its section [ODBC] has neither DRIVER, SERVER, DSN nor DBQ");
  if (provider != entries.end()) settings.provider = provider->second;
  const ProviderRule* rule = FindProvider(settings.provider);
  if (rule == nullptr) rule = &OtherProvider();
  for (const auto& [name, value] : entries)
    if (const PropertyRule* property = FindProperty(*rule, name))
      SetProperty(settings, property->name, value);
}

}  // namespace torvik::engine
