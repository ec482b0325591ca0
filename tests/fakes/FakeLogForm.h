#pragma once

#include <string>
#include <vector>

#include "log/LogForm.h"

namespace torvik {

/// A form that names an exception log and keeps what its status bar showed.
struct FakeLogForm final : LogForm {
  std::string file = "err.txt";
  std::vector<std::string> statuses;

  std::string ErrorFile() const override { return file; }
  void SetFormStatus(const std::string& text) override { statuses.push_back(text); }
};

}  // namespace torvik
