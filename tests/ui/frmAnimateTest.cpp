#include "ui/frmAnimate.h"

#include <gmock/gmock.h>

#include "fakes/FakeMessages.h"

namespace torvik {
namespace {

TEST(frmAnimate, TheBarRunsByItselfAndBeginsAnew) {
  FakeMessages messages;
  frmAnimate form(messages);
  std::vector<int> values;
  form.prgCopyFiles.Value.Observe([&](int value) { values.push_back(value); });
  for (int tick = 0; tick < 16; ++tick) form.tmrProgress_Timer();
  EXPECT_THAT(values,
              testing::ElementsAre(7, 14, 21, 28, 35, 42, 49, 56, 63, 70, 77, 84, 91, 98, 0, 7));
}

TEST(frmAnimate, CancelHidesTheFormAndIsKeptByItsDialog) {
  FakeMessages messages;
  auto made = std::make_unique<frmAnimate>(messages);
  frmAnimate& form = *made;
  CopyAnimDlg dialog(std::move(made), messages);
  dialog.Create(1, "Copying", "files", true, false);
  EXPECT_TRUE(form.Visible.Get());
  EXPECT_EQ(1, form.Clip.Get());
  EXPECT_FALSE(form.prgCopyFiles.Visible.Get());
  dialog.AnimatePlay();
  EXPECT_TRUE(form.tmrProgress.Enabled.Get());
  EXPECT_FALSE(dialog.IsCancelled());
  form.cmdCancel_Click();
  EXPECT_TRUE(dialog.IsCancelled());
  EXPECT_FALSE(form.Visible.Get());
  dialog.Destroy();
  EXPECT_FALSE(form.tmrProgress.Enabled.Get());
  EXPECT_EQ(0, form.Clip.Get());
}

}  // namespace
}  // namespace torvik
