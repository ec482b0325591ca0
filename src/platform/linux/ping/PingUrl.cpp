#include "platform/linux/ping/PingUrl.h"

#include <algorithm>
#include <string_view>

#include "platform/PlatformError.h"
#include "platform/Text.h"
#include "platform/linux/settings/SecretFile.h"
#include "platform/linux/system/Posix.h"

namespace torvik {

std::string UrlOf(PingKind kind, const std::string& url) {
  std::size_t end = std::min(url.find_first_of("?#"), url.size());
  const std::string query = url.substr(end, url.find('#', end) - end);
  const char* const word = kind == PingKind::Start  ? "/start"
                           : kind == PingKind::Fail ? "/fail"
                                                    : "";
  if (*word != '\0')
    while (end > 0 && url[end - 1] == '/') --end;
  return url.substr(0, end) + word + query;
}

std::string HostOf(const std::string& url) {
  const std::size_t scheme = url.find("://");
  const std::size_t begin = scheme == std::string::npos ? 0 : scheme + 3;
  const std::string authority = url.substr(begin, url.find_first_of("/?#", begin) - begin);
  return authority.substr(authority.rfind('@') + 1);
}

std::string ReadUrl(const PingTarget& target) {
  if (target.urlFile.empty()) return target.url;
  const auto fail = [&](const std::string& reason) {
    return PlatformError(0, target.urlFile + ": " + reason, "ping");
  };
  const Descriptor file = OpenFile(target.urlFile, O_RDONLY);
  std::string text;
  if (const auto error = file.IsOpen() ? ReadAll(file.Number(), text) : LastSystemError())
    throw fail("the URL to call cannot be read: " + error.message());
  if (const std::string problem = CheckSecretFile(file, target.urlFile, "the URL to call");
      !problem.empty())
    throw PlatformError(0, problem, "ping");
  const std::string url(Trimmed(text.substr(0, text.find('\n')), kWhiteSpace));
  const std::string start = LowerAscii(url.substr(0, 8));
  if (!start.starts_with("http://") && !start.starts_with("https://"))
    throw fail("its first line is no URL that begins with http:// or https://");
  return url;
}

}  // namespace torvik
