#include "platform/linux/ping/PingUrl.h"

#include <algorithm>

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

}  // namespace torvik
