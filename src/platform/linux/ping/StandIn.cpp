// Stands for the room in the programs, which load it when a monitoring service is first called.

#include "platform/linux/modules/Modules.h"
#include "platform/linux/ping/PingCurl.h"

namespace torvik {
namespace {

class LatePinger final : public Pinger {
 public:
  void Send(const PingTarget& target, PingKind kind, const std::string& body,
            const std::atomic<bool>& cancelled) override {
    static const auto make =
        InModule({"libtorvik-ping.so", "libcurl4"}, &NewPingCurl, "calls of a monitoring service");
    make()->Send(target, kind, body, cancelled);
  }
};

}  // namespace

std::unique_ptr<Pinger> NewPingCurl() {
  return std::make_unique<LatePinger>();
}

}  // namespace torvik
