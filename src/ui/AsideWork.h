#pragma once

#include <functional>
#include <utility>

#include "ui/Controls.h"

namespace torvik {

class Messages;

/// What may take long is done on a thread of its own, with the hourglass on; the form handles its
/// events meanwhile.
class AsideWork {
 public:
  AsideWork(Messages& messages, Observable<bool>& hourglass)
      : messages_(messages), hourglass_(hourglass) {}
  AsideWork(const AsideWork&) = delete;
  AsideWork& operator=(const AsideWork&) = delete;

  /// Does `work` aside, which must not touch the form, and then calls `tell` on this thread. What
  /// the work throws is thrown here. Does nothing while another one is done.
  void Do(const std::function<void()>& work, const std::function<void()>& tell);
  bool IsOn() const { return isOn_; }
  /// Calls `next` once what is done aside has been told.
  void Afterwards(std::function<void()> next) { next_ = std::move(next); }

 private:
  void WaitFor(const std::function<void()>& work);

  Messages& messages_;
  Observable<bool>& hourglass_;
  bool isOn_ = false;
  std::function<void()> next_;
};

}  // namespace torvik
