#include "platform/linux/system/SyslogEventLog.h"

#include <syslog.h>

namespace torvik {
namespace {

class SyslogEventLog final : public EventLog {
 public:
  SyslogEventLog() { openlog("torvik", LOG_PID, LOG_DAEMON); }
  ~SyslogEventLog() override { closelog(); }

  void Write(std::string_view text, bool failed) override {
    syslog(failed ? LOG_ERR : LOG_INFO, "%.*s", static_cast<int>(text.size()), text.data());
  }
};

}  // namespace

std::unique_ptr<EventLog> NewSyslogEventLog() {
  return std::make_unique<SyslogEventLog>();
}

}  // namespace torvik
