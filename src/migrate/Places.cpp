#include "migrate/Places.h"

#include "engine/model/Providers.h"
#include "platform/Text.h"

namespace torvik::migrate {
namespace {

void AddTo(Places::Names& names, std::string_view text, const std::string& by) {
  // A place that is put together when it runs cannot be named.
  if (text.empty() || text.find("${") != text.npos || text.find_first_of("\r\n") != text.npos)
    return;
  Places::Named& named = names[LowerAscii(text)];
  if (named.text.empty()) named.text = text;
  named.by.insert(by);
}

bool IsLetter(char c) {
  return LowerAscii(c) >= 'a' && LowerAscii(c) <= 'z';
}

bool IsOnDrive(std::string_view path) {
  return path.size() > 1 && IsLetter(path[0]) && path[1] == ':';
}

/// "\\host\share" of a path on a share.
std::string_view ShareOf(std::string_view path) {
  if (!path.starts_with("\\\\")) return {};
  const std::size_t host = path.find('\\', 2);
  if (host == path.npos || host == 2) return {};
  const std::string_view share = path.substr(0, path.find('\\', host + 1));
  return share.size() > host + 1 ? share : std::string_view();
}

bool IsOfSqlServer(std::string_view provider) {
  const std::string lower = LowerAscii(provider);
  return lower.starts_with("sqloledb") || lower.starts_with("sqlncli") ||
         lower.starts_with("msoledbsql");
}

bool IsLocal(const std::string& server) {
  return server == "(local)" || server == "." || server == "localhost";
}

/// In a file of settings a section's name ends at the last bracket of its line.
std::string ServerSections(const Places::Names& servers, const KnownPlaces& known,
                           const std::string& oldServer) {
  std::string text;
  for (const auto& [lower, named] : servers) {
    if (known.servers.contains(lower) && !(IsLocal(lower) && !IsLocal(LowerAscii(oldServer))))
      continue;
    text += "\n; Named by " + NamedBy(named) + ".\n";
    if (IsLocal(lower)) {
      text +=
          "; (local) is an embedded server here. To go on using the old one, take the ';' away.\n";
      text += ";[server " + named.text + "]\n;backend = odbc\n;driver = FreeTDS\n;host = " +
              (IsLocal(LowerAscii(oldServer)) ? "HOST" : oldServer) + "\n";
    } else {
      text += "[server " + named.text + "]\nbackend = odbc\ndriver = FreeTDS\nhost = " +
              named.text.substr(0, named.text.find_first_of("\\,")) + "\n";
      const std::size_t more = named.text.find_first_of("\\,");
      if (more != named.text.npos && named.text[more] == ',')
        text += "port = " + named.text.substr(more + 1) + "\n";
      if (more != named.text.npos && named.text[more] == '\\')
        text += "; The instance " + named.text.substr(more + 1) +
                " has a port of its own.\n;port = 1433\n";
    }
  }
  return text;
}

std::string PathLines(const Places& places, const KnownPlaces& known) {
  std::string text;
  for (const auto& [letter, named] : places.Drives())
    if (!known.drives.contains(letter))
      text +=
          "; Named by " + NamedBy(named) + ".\n;drive " + named.text + ": = /srv/" + letter + "\n";
  for (const auto& [lower, named] : places.Shares())
    if (!known.shares.contains(lower))
      text += "; Named by " + NamedBy(named) + "; reached over SMB without this line.\n;share " +
              named.text + " = /mnt/" + lower.substr(lower.rfind('\\') + 1) + "\n";
  return text.empty() ? "" : "\n[paths]\n" + text;
}

std::string ProviderSections(const Places::Names& providers, const KnownPlaces& known) {
  std::string text;
  for (const auto& [lower, named] : providers)
    if (NeedsSettings(lower, known))
      text += "\n; Named by " + NamedBy(named) + ". Name its driver of odbcinst.ini.\n;[provider " +
              named.text + "]\n;driver = DRIVER\n";
  return text;
}

}  // namespace

void Places::AddServer(std::string_view text, const std::string& by) {
  AddTo(servers_, Trimmed(text), by);
}

void Places::AddProvider(std::string_view name, const std::string& by) {
  AddTo(providers_, Trimmed(name), by);
}

void Places::AddFtpServer(std::string_view host, const std::string& by) {
  AddTo(ftp_, Trimmed(host), by);
}

void Places::AddPath(std::string_view path, const std::string& by) {
  path = Trimmed(path);
  if (IsOnDrive(path)) {
    const char letter = LowerAscii(path[0]);
    AddTo(drives_, std::string(1, static_cast<char>(letter - 'a' + 'A')), by);
  } else {
    AddTo(shares_, ShareOf(path), by);
  }
}

void Places::AddSource(std::string_view text, std::string_view provider, const std::string& by) {
  AddProvider(provider, by);
  if (IsOnDrive(text) || !ShareOf(text).empty())
    AddPath(text, by);
  else if (provider.empty() || IsOfSqlServer(provider))
    AddServer(text, by);
  else if (!engine::IsTextFileProvider(provider) && !engine::IsReadOnlyProvider(provider))
    AddTo(others_, Trimmed(text), by);
}

std::string Places::FirstSettings(const KnownPlaces& known, const std::string& oldServer) const {
  return "; What the old installation names and these settings do not know yet.\n" +
         PathLines(*this, known) + ServerSections(servers_, known, oldServer) +
         ProviderSections(providers_, known);
}

bool NeedsSettings(const std::string& provider, const KnownPlaces& known) {
  return engine::FindProvider(provider) == nullptr && !known.providers.contains(provider);
}

std::string NamedBy(const Places::Named& named) {
  constexpr std::size_t kShown = 3;
  std::string text;
  std::size_t count = 0;
  for (const std::string& by : named.by)
    if (++count <= kShown) text += (text.empty() ? "" : ", ") + by;
  if (count > kShown) text += " and " + std::to_string(count - kShown) + " more";
  return text;
}

}  // namespace torvik::migrate
