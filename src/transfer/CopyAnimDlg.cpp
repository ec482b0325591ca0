#include "transfer/CopyAnimDlg.h"

#include "platform/Messages.h"

namespace torvik {
namespace {

constexpr int kTimerMilliseconds = 25;

}  // namespace

CopyAnimDlg::CopyAnimDlg(std::unique_ptr<AnimateForm> form, Messages& messages)
    : form_(std::move(form)), messages_(messages) {
  form_->Cancelled = [this] { isCancelled_ = true; };
}

CopyAnimDlg::~CopyAnimDlg() {
  Destroy();
}

void CopyAnimDlg::Create(int type, const std::string& formCaption, const std::string& labelCaption,
                         bool allowCancel, bool displayProgressBar) {
  form_->SetCaption(formCaption);
  form_->SetDetails(labelCaption);
  form_->SetCancelVisible(allowCancel);
  form_->SetProgressVisible(displayProgressBar);
  form_->SetProgress(0);
  form_->SetTimerInterval(kTimerMilliseconds);
  form_->Show();
  form_->OpenClip(type);
  hasClip_ = true;
  messages_.PumpEvents();
}

void CopyAnimDlg::AnimatePlay() {
  form_->PlayClip();
  form_->EnableTimer(true);
}

void CopyAnimDlg::AnimateStop() {
  form_->StopClip();
  form_->EnableTimer(false);
}

void CopyAnimDlg::Destroy() {
  if (hasClip_) {
    AnimateStop();
    form_->CloseClip();
    hasClip_ = false;
  }
  form_->Hide();
}

void CopyAnimDlg::SetLabelCaption(const std::string& text) {
  form_->SetDetails(text);
  messages_.PumpEvents();
}

void CopyAnimDlg::SetPercentDone(int percent) {
  form_->SetProgress(percent);
}

void CopyAnimDlg::SetVisible(bool visible) {
  visible ? form_->Show() : form_->Hide();
}

}  // namespace torvik
