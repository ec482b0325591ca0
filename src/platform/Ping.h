#pragma once

#include <atomic>
#include <string>

namespace torvik {

/// What a monitoring service that misses calls is told of a run.
enum class PingKind { Start, Success, Fail };

/// Calls monitoring services.
class Pinger {
 public:
  virtual ~Pinger() = default;

  /// `url` is the address, http or https, that the service has given out for one job, or a
  /// reference to it (Secrets.h): whoever knows it can speak for the job. Calls URL/start, URL or
  /// URL/fail, whatever query the URL has kept behind it; a `body` that is not empty goes along as
  /// plain text. Returns when the service has said that it knows. Throws PlatformError, whose words
  /// never hold the URL: when the service cannot be reached, answers anything else, or not within
  /// ten seconds, and soon after `cancelled` becomes true.
  virtual void Send(const std::string& url, PingKind kind, const std::string& body,
                    const std::atomic<bool>& cancelled) = 0;
};

}  // namespace torvik
