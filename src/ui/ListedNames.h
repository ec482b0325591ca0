#pragma once

#include <string>
#include <utility>
#include <vector>

#include "datalinks/DropDown.h"

namespace torvik {

/// What a server lists, as it comes on another thread than that of the drop-down list which it is
/// for.
class ListedNames final : public DropDown {
 public:
  /// `shown`: what stands in the field of that list.
  explicit ListedNames(std::string shown) : shown_(std::move(shown)) {}

  const std::string& ShownText() const override { return shown_; }
  const std::vector<std::string>& Entries() const override { return entries_; }
  int Chosen() const override { return chosen_; }
  void Choose(int position) override { chosen_ = position; }
  void Refill(std::vector<std::string> entries, int position) override {
    entries_ = std::move(entries);
    chosen_ = position;
  }

  /// Refills that list, unless its field shows another text by now.
  void ShowIn(DropDown& list) const {
    if (list.ShownText() == shown_) list.Refill(entries_, chosen_);
  }

 private:
  const std::string shown_;
  std::vector<std::string> entries_;
  int chosen_ = -1;
};

}  // namespace torvik
