#pragma once

#include <string>

#include "transfer/CopyAnimDlg.h"
#include "ui/Controls.h"

namespace torvik {

class Messages;

/// The progress dialog's form.
class frmAnimate final : public AnimateForm {
 public:
  explicit frmAnimate(Messages& messages);
  ~frmAnimate() override { Unloaded(); }

  ProgressBar prgCopyFiles;
  Timer tmrProgress;
  Label lblDetails;
  CommandButton cmdCancel;
  Observable<std::string> Caption;
  Observable<bool> Visible;
  /// The clip that is shown, 0 for none, and whether it plays.
  Observable<int> Clip;
  Observable<bool> Plays;
  Signal Unloaded;

  /// What the timer calls while it is enabled: the bar goes on by itself, whatever the progress.
  void tmrProgress_Timer();
  void cmdCancel_Click();

  void SetCaption(const std::string& caption) override { Caption.Set(caption); }
  void SetDetails(const std::string& text) override { lblDetails.Caption.Set(text); }
  void SetCancelVisible(bool visible) override { cmdCancel.Visible.Set(visible); }
  void SetProgressVisible(bool visible) override { prgCopyFiles.Visible.Set(visible); }
  void SetProgress(int percent) override { prgCopyFiles.Value.Set(percent); }
  void SetTimerInterval(int milliseconds) override { tmrProgress.Interval.Set(milliseconds); }
  void EnableTimer(bool enabled) override { tmrProgress.Enabled.Set(enabled); }
  void Show() override { Visible.Set(true); }
  void Hide() override { Visible.Set(false); }
  void OpenClip(int clip) override { Clip.Set(clip); }
  void PlayClip() override { Plays.Set(true); }
  void StopClip() override { Plays.Set(false); }
  void CloseClip() override { Clip.Set(0); }

 private:
  Messages& messages_;
  int counter_ = 0;
};

}  // namespace torvik
