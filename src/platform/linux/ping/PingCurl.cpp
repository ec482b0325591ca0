#include "platform/linux/ping/PingCurl.h"

#include <new>

#include "platform/PlatformError.h"
#include "platform/Secrets.h"
#include "platform/Version.h"
#include "platform/linux/curl/CurlLibrary.h"
#include "platform/linux/ping/PingUrl.h"
#include "platform/linux/settings/Secret.h"
#include "platform/linux/system/PathMap.h"

namespace torvik {
namespace {

constexpr long kTimeoutSeconds = 10;

/// One call of a service.
class PingCall {
 public:
  PingCall(const std::string& url, PingKind kind, const std::atomic<bool>& cancelled)
      : host_(HostOf(url)), cancelled_(cancelled) {
    InitialiseCurl();
    easy_.reset(curl_easy_init());
    if (!easy_) throw std::bad_alloc();
    // The library's own words about an address could repeat it.
    if (curl_easy_setopt(easy_.get(), CURLOPT_URL, UrlOf(kind, url).c_str()) != CURLE_OK)
      throw std::bad_alloc();
    Set(CURLOPT_PROTOCOLS_STR, "http,https");
    Set(CURLOPT_NOSIGNAL, 1L);
    Set(CURLOPT_TIMEOUT, kTimeoutSeconds);
    Set(CURLOPT_USERAGENT, (std::string("torvik/") + kVersion).c_str());
    Set(CURLOPT_ERRORBUFFER, details_);
    Set(CURLOPT_WRITEFUNCTION, &PingCall::Forget);
    Set(CURLOPT_NOPROGRESS, 0L);
    Set(CURLOPT_XFERINFOFUNCTION, &PingCall::GoOn);
    Set(CURLOPT_XFERINFODATA, this);
  }

  void Run(const std::string& body) {
    Owned<curl_slist, curl_slist_free_all> head;
    if (!body.empty()) {
      head.reset(curl_slist_append(nullptr, "Content-Type: text/plain; charset=utf-8"));
      if (!head) throw std::bad_alloc();
      Set(CURLOPT_HTTPHEADER, head.get());
      Set(CURLOPT_POSTFIELDSIZE, static_cast<long>(body.size()));
      Set(CURLOPT_POSTFIELDS, body.c_str());
    }
    const CURLcode result = curl_easy_perform(easy_.get());
    if (result == CURLE_ABORTED_BY_CALLBACK) throw Failure("the call was given up", false);
    if (result == CURLE_URL_MALFORMAT)  // which part of it is the host is not certain
      throw PlatformError(0, "the URL of the monitoring service is not spelled as one", "ping");
    if (result != CURLE_OK) throw Failure(WordsFor(result), IsPassing(result));
    long answer = 0;
    curl_easy_getinfo(easy_.get(), CURLINFO_RESPONSE_CODE, &answer);
    if (answer < 200 || answer > 299)
      throw Failure("it answers with the HTTP status " + std::to_string(answer),
                    answer >= 500 || answer == 429);
  }

 private:
  template <class T>
  void Set(CURLoption option, T value) {
    const CURLcode result = curl_easy_setopt(easy_.get(), option, value);
    if (result != CURLE_OK) throw Failure(curl_easy_strerror(result), false);
  }

  PlatformError Failure(const std::string& words, bool isTransient) const {
    PlatformError error(0, "the monitoring service " + host_ + ": " + words, "ping");
    error.isTransient = isTransient;
    return error;
  }

  std::string WordsFor(CURLcode result) const {
    return details_[0] != '\0' ? details_ : curl_easy_strerror(result);
  }

  static bool IsPassing(CURLcode result) {
    switch (result) {
      case CURLE_COULDNT_CONNECT:
      case CURLE_COULDNT_RESOLVE_HOST:
      case CURLE_COULDNT_RESOLVE_PROXY:
      case CURLE_OPERATION_TIMEDOUT:
      case CURLE_GOT_NOTHING:
      case CURLE_SEND_ERROR:
      case CURLE_RECV_ERROR: return true;
      default: return false;
    }
  }

  static std::size_t Forget(char*, std::size_t size, std::size_t count, void*) {
    return size * count;
  }
  static int GoOn(void* self, curl_off_t, curl_off_t, curl_off_t, curl_off_t) {
    return static_cast<PingCall*>(self)->cancelled_ ? 1 : 0;
  }

  const std::string host_;
  const std::atomic<bool>& cancelled_;
  char details_[CURL_ERROR_SIZE] = "";
  Owned<CURL, curl_easy_cleanup> easy_;
};

class PingCurl final : public Pinger {
 public:
  explicit PingCurl(const PathMap& paths) : secrets_(NewSecrets(paths)) {}

  void Send(const std::string& url, PingKind kind, const std::string& body,
            const std::atomic<bool>& cancelled) override {
    PingCall(Known(url), kind, cancelled).Run(body);
  }

 private:
  std::string Known(const std::string& url) const {
    if (!RefersToSecret(url)) return url;
    std::string known;
    if (const std::string problem = secrets_->Read(url, known); !problem.empty())
      throw PlatformError(0, "the URL of the monitoring service: " + problem, "ping");
    const std::string start = LowerAscii(known.substr(0, 8));
    if (start.starts_with("http://") || start.starts_with("https://")) return known;
    throw PlatformError(0, url + ": there is no URL in it that begins with http:// or https://",
                        "ping");
  }

  const std::unique_ptr<Secrets> secrets_;
};

}  // namespace

std::unique_ptr<Pinger> NewPingCurl(const PathMap& paths) {
  return std::make_unique<PingCurl>(paths);
}

}  // namespace torvik
