// Stands for the room in the programs, which load it when a monitoring service is first called.

#include "platform/linux/modules/Modules.h"
#include "platform/linux/ping/PingCurl.h"
#include "platform/linux/system/PathMap.h"

namespace torvik {
namespace {

class LatePinger final : public Pinger {
 public:
  explicit LatePinger(const PathMap& paths) : paths_(paths) {}

  void Send(const std::string& url, PingKind kind, const std::string& body,
            const std::atomic<bool>& cancelled) override {
    static const auto make = InModule(kPingModule, &NewPingCurl, "calls of a monitoring service");
    make(paths_)->Send(url, kind, body, cancelled);
  }

 private:
  const PathMap paths_;
};

}  // namespace

std::unique_ptr<Pinger> NewPingCurl(const PathMap& paths) {
  return std::make_unique<LatePinger>(paths);
}

}  // namespace torvik
