#pragma once

#include <functional>
#include <memory>
#include <string>

namespace torvik {

class Messages;

/// What a progress dialog needs of its form. Nothing is drawn before Show.
class AnimateForm {
 public:
  virtual ~AnimateForm() = default;

  virtual void SetCaption(const std::string& caption) = 0;
  virtual void SetDetails(const std::string& text) = 0;
  virtual void SetCancelVisible(bool visible) = 0;
  virtual void SetProgressVisible(bool visible) = 0;
  /// From 0 to 100.
  virtual void SetProgress(int percent) = 0;
  /// The bar runs by itself, one step each `milliseconds`, while it is told to.
  virtual void SetTimerInterval(int milliseconds) = 0;
  virtual void EnableTimer(bool enabled) = 0;
  virtual void Show() = 0;
  virtual void Hide() = 0;

  /// An animation inside the form; `clip` numbers what it shows.
  virtual void OpenClip(int clip) = 0;
  virtual void PlayClip() = 0;
  virtual void StopClip() = 0;
  virtual void CloseClip() = 0;

  /// Called when the user presses Cancel; the form hides itself then.
  std::function<void()> Cancelled;
};

/// A window that shows that a long transfer is running, with an optional Cancel button.
class CopyAnimDlg {
 public:
  CopyAnimDlg(std::unique_ptr<AnimateForm> form, Messages& messages);
  /// Destroys what Create made.
  ~CopyAnimDlg();
  CopyAnimDlg(const CopyAnimDlg&) = delete;
  CopyAnimDlg& operator=(const CopyAnimDlg&) = delete;

  /// True once the user has pressed Cancel; nothing is stopped by that alone.
  bool IsCancelled() const { return isCancelled_; }

  void Create(int type, const std::string& formCaption, const std::string& labelCaption,
              bool allowCancel, bool displayProgressBar);
  void AnimatePlay();
  void AnimateStop();
  void Destroy();
  /// Has no visible effect.
  void AutoPlay() {}
  void SetLabelCaption(const std::string& text);
  void SetPercentDone(int percent);
  void SetVisible(bool visible);

 private:
  const std::unique_ptr<AnimateForm> form_;
  Messages& messages_;
  bool hasClip_ = false;
  bool isCancelled_ = false;
};

}  // namespace torvik
