#pragma once

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "transfer/CopyAnimDlg.h"

namespace torvik {

/// What was done to the forms of progress dialogs, and the one that is there now.
struct FakeAnimateForms {
  std::vector<std::string> calls;  ///< "Show", "Details TEXT", "Timer 1", "Clip 1", "Gone", ...
  AnimateForm* current = nullptr;

  std::unique_ptr<AnimateForm> New();
};

class FakeAnimateForm final : public AnimateForm {
 public:
  explicit FakeAnimateForm(FakeAnimateForms& forms) : forms_(forms) { forms_.current = this; }
  ~FakeAnimateForm() override {
    forms_.current = nullptr;
    Note("Gone");
  }

  void SetCaption(const std::string& caption) override { Note("Caption " + caption); }
  void SetDetails(const std::string& text) override { Note("Details " + text); }
  void SetCancelVisible(bool visible) override { Note("Cancel " + std::to_string(visible)); }
  void SetProgressVisible(bool visible) override { Note("Bar " + std::to_string(visible)); }
  void SetProgress(int percent) override { Note("Percent " + std::to_string(percent)); }
  void SetTimerInterval(int milliseconds) override {
    Note("Every " + std::to_string(milliseconds));
  }
  void EnableTimer(bool enabled) override { Note("Timer " + std::to_string(enabled)); }
  void Show() override { Note("Show"); }
  void Hide() override { Note("Hide"); }
  void OpenClip(int clip) override { Note("Clip " + std::to_string(clip)); }
  void PlayClip() override { Note("Play"); }
  void StopClip() override { Note("Stop"); }
  void CloseClip() override { Note("Clip 0"); }

 private:
  void Note(const std::string& call) { forms_.calls.push_back(call); }

  FakeAnimateForms& forms_;
};

inline std::unique_ptr<AnimateForm> FakeAnimateForms::New() {
  return std::make_unique<FakeAnimateForm>(*this);
}

}  // namespace torvik
