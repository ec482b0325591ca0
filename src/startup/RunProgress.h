#pragma once

#include "platform/Dts.h"

namespace torvik {

class LogForm;
class Messages;

/// Shows an execution in the form's status bar and keeps the form responsive meanwhile.
class RunProgress final : public dts::PackageEvents {
 public:
  RunProgress(LogForm& form, Messages& messages) : form_(form), messages_(messages) {}

  void OnStart(std::string_view step) override;
  void OnProgress(std::string_view step, std::int64_t rows) override;
  void OnFinish(std::string_view step) override;
  void OnError(std::string_view step, std::string_view description) override;
  void OnIdle() override;

 private:
  LogForm& form_;
  Messages& messages_;
};

}  // namespace torvik
