#include "ui/frmAnimate.h"

#include "platform/Messages.h"

namespace torvik {

frmAnimate::frmAnimate(Messages& messages) : messages_(messages) {
  tmrProgress.Enabled.Set(false);
}

void frmAnimate::tmrProgress_Timer() {
  constexpr int kStep = 7, kMost = 100;
  counter_ += kStep;
  if (counter_ > kMost) counter_ = 0;
  messages_.PumpEvents();
  prgCopyFiles.Value.Set(counter_);
}

void frmAnimate::cmdCancel_Click() {
  if (Cancelled) Cancelled();
  Hide();
}

}  // namespace torvik
