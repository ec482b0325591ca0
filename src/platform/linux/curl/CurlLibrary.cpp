#include "platform/linux/curl/CurlLibrary.h"

#include <mutex>

namespace torvik {

void InitialiseCurl() {
  static std::once_flag once;
  std::call_once(once, [] { curl_global_init(CURL_GLOBAL_DEFAULT); });
}

}  // namespace torvik
