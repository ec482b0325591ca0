#pragma once

#include <curl/curl.h>

#include <memory>
#include <mutex>

/// What every use of libcurl here needs; for the files that speak to it.
namespace torvik {

template <auto release>
struct Releaser {
  void operator()(auto* owned) const { release(owned); }
};
/// Something of the library's that its owner gives back.
template <class T, auto release>
using Owned = std::unique_ptr<T, Releaser<release>>;

/// Readies the library; before its first use, as often as one likes.
inline void InitialiseCurl() {
  static std::once_flag once;
  std::call_once(once, [] { curl_global_init(CURL_GLOBAL_DEFAULT); });
}

}  // namespace torvik
