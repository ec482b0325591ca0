#include "platform/linux/settings/SmbLogon.h"

#include <algorithm>
#include <string_view>

#include "platform/Text.h"
#include "platform/linux/settings/SecretFile.h"

namespace torvik {
namespace {

/// The library cuts off what is longer.
constexpr std::size_t kLongestText = 255;

std::string_view WithoutBlanksBefore(std::string_view text) {
  return text.substr(std::min(text.find_first_not_of(" \t"), text.size()));
}

/// A line "key = value". A password may end in blanks.
void TakeLine(std::string_view line, SmbLogon& logon) {
  const std::size_t equals = line.find('=');
  if (line.starts_with('#') || equals == std::string_view::npos) return;
  if (line.ends_with('\r')) line.remove_suffix(1);
  std::string key = LowerAscii(WithoutBlanksBefore(line.substr(0, equals)));
  key.erase(key.find_last_not_of(" \t") + 1);
  const std::string value(WithoutBlanksBefore(line.substr(equals + 1)));
  if (key == "username") logon.user = value;
  if (key == "password") logon.password = value;
  if (key == "domain") logon.domain = value;
}

std::string ReadCredentials(const std::string& path, SmbLogon& logon) {
  const Descriptor file = OpenFile(path, O_RDONLY);
  if (!file.IsOpen())
    return "the credentials " + path + " cannot be read: " + LastSystemError().message();
  if (std::string problem = CheckSecretFile(file, path); !problem.empty()) return problem;
  std::string text;
  if (const auto error = ReadAll(file.Number(), text))
    return "the credentials " + path + " cannot be read: " + error.message();
  for (std::size_t at = 0; at < text.size();) {
    const std::size_t end = std::min(text.find('\n', at), text.size());
    TakeLine(std::string_view(text).substr(at, end - at), logon);
    at = end + 1;
  }
  return logon.user.empty() ? path + " names no user; add a line username = NAME" : "";
}

}  // namespace

std::string ReadSmbLogon(const SmbSettings& settings, SmbLogon& logon) {
  logon = {settings.user, settings.password, settings.domain};
  if (!settings.credentials.empty())
    if (std::string problem = ReadCredentials(settings.credentials, logon); !problem.empty())
      return problem;
  if (!settings.passwordReference.IsEmpty())
    if (std::string problem = ReadSecret(settings.passwordReference, logon.password);
        !problem.empty())
      return "[" + settings.section + "]: " + problem;
  if (logon.user.empty()) logon = {};
  const std::size_t backslash = logon.user.find('\\');
  if (backslash != std::string::npos) {
    logon.domain = logon.user.substr(0, backslash);
    logon.user.erase(0, backslash + 1);
  }
  for (const std::string& text : {logon.user, logon.password, logon.domain})
    if (text.size() > kLongestText)
      return "[" + settings.section + "]: the user, password or domain is longer than 255 bytes";
  return {};
}

}  // namespace torvik
