#pragma once

#include <string>
#include <vector>

#include "log/FetchStatus.h"
#include "log/LogForm.h"

namespace torvik {

/// A form that names an exception log and keeps what its status bar showed.
struct FakeLogForm final : LogForm {
  std::string file = "err.txt";
  std::vector<std::string> statuses;
  std::vector<FetchStatus> fetches;  ///< As they were shown.

  std::string ErrorFile() const override { return file; }
  void SetFormStatus(const std::string& text) override { statuses.push_back(text); }
  void ShowFetch(const FetchStatus& status) override { fetches.push_back(status); }
};

}  // namespace torvik
