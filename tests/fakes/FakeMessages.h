#pragma once

#include <algorithm>
#include <functional>
#include <string>
#include <vector>

#include "platform/Messages.h"

namespace torvik {

/// Keeps what the user would have been told.
struct FakeMessages final : Messages {
  struct ShownBox {
    std::string text, title;
    BoxIcon icon;
    bool operator==(const ShownBox&) const = default;
  };

  std::vector<ShownBox> boxes;
  std::vector<ShownBox> questions;
  std::string choice = "Cancel";  ///< In all of them that offer it.
  std::vector<std::string> reports;
  std::function<void()> onPump;  ///< What has arrived when events are handled; may be empty.

  void Box(std::string_view text, std::string_view title, BoxIcon icon) override {
    boxes.push_back({std::string(text), std::string(title), icon});
  }
  int Ask(std::string_view text, std::string_view title, std::span<const char* const> choices,
          int) override {
    questions.push_back({std::string(text), std::string(title), BoxIcon::None});
    const auto chosen = std::find(choices.begin(), choices.end(), choice);
    return chosen == choices.end() ? kNoChoice : static_cast<int>(chosen - choices.begin());
  }
  void Report(std::string_view line) override { reports.emplace_back(line); }
  void PumpEvents() override {
    if (onPump) onPump();
  }
};

}  // namespace torvik
