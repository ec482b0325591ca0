#pragma once

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
  Answer answer = Answer::Yes;  ///< To all of them.
  std::vector<std::string> reports;
  std::function<void()> onPump;  ///< What has arrived when events are handled; may be empty.

  void Box(std::string_view text, std::string_view title, BoxIcon icon) override {
    boxes.push_back({std::string(text), std::string(title), icon});
  }
  Answer Ask(std::string_view text, std::string_view title) override {
    questions.push_back({std::string(text), std::string(title), BoxIcon::None});
    return answer;
  }
  void Report(std::string_view line) override { reports.emplace_back(line); }
  void PumpEvents() override {
    if (onPump) onPump();
  }
};

}  // namespace torvik
