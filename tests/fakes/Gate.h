#pragma once

#include <functional>
#include <future>

namespace torvik {

/// Where another thread waits until it may go on.
class Gate {
 public:
  std::function<void()> Pass() {
    return [this] {
      arrived_.set_value();
      open_.get_future().wait();
    };
  }
  void WaitForArrival() { arrived_.get_future().wait(); }
  void Open() { open_.set_value(); }

 private:
  std::promise<void> arrived_, open_;
};

}  // namespace torvik
