#include "ui/qt/AnimateDialog.h"

#include <QCloseEvent>
#include <QDialog>
#include <QLabel>
#include <QPainter>
#include <QPointer>
#include <QProgressBar>
#include <QPushButton>
#include <QStyle>
#include <QTimer>
#include <QVBoxLayout>

#include "ui/frmAnimate.h"
#include "ui/qt/controls/Binders.h"

namespace torvik {
namespace {

/// The clip: a file that goes from one place to the other, again and again.
class CopyClip final : public QWidget {
 public:
  explicit CopyClip(frmAnimate& form) {
    setFixedHeight(fontMetrics().height() * 3);
    timer_.setInterval(40);
    QObject::connect(&timer_, &QTimer::timeout, this, [this] {
      place_ = (place_ + 2) % 100;
      update();
    });
    Watch(form.Clip, *this, [](CopyClip& clip, int number) { clip.setVisible(number != 0); });
    Watch(form.Plays, *this,
          [](CopyClip& clip, bool plays) { plays ? clip.timer_.start() : clip.timer_.stop(); });
  }

 private:
  void paintEvent(QPaintEvent*) override {
    QPainter painter(this);
    const int size = height() * 2 / 3, top = (height() - size) / 2;
    const auto draw = [&](QStyle::StandardPixmap picture, int left) {
      style()->standardIcon(picture).paint(&painter, left, top, size, size);
    };
    draw(QStyle::SP_DriveNetIcon, 0);
    draw(QStyle::SP_DirIcon, width() - size);
    draw(QStyle::SP_FileIcon, size + (width() - 3 * size) * place_ / 100);
  }

  QTimer timer_;
  int place_ = 0;
};

class AnimateDialog final : public QDialog {
 public:
  explicit AnimateDialog(frmAnimate& form) : form_(form) {
    auto* const layout = new QVBoxLayout(this);
    auto* const details = new QLabel;
    details->setWordWrap(true);
    auto* const bar = new QProgressBar;
    bar->setTextVisible(false);
    auto* const cancel = new QPushButton(QObject::tr("Cancel"));
    Bind(*details, form.lblDetails);
    Bind(*bar, form.prgCopyFiles);
    Bind(*cancel, form.cmdCancel, [&form] { form.cmdCancel_Click(); });
    layout->addWidget(new CopyClip(form));
    layout->addWidget(details);
    layout->addWidget(bar);
    layout->addWidget(cancel, 0, Qt::AlignRight);
    setMinimumWidth(fontMetrics().averageCharWidth() * 60);
    WatchForm();
  }

 private:
  void WatchForm() {
    Watch(form_.Caption, *this, [](AnimateDialog& dialog, const std::string& caption) {
      dialog.setWindowTitle(ToQt(caption));
    });
    Watch(form_.Visible, *this,
          [](AnimateDialog& dialog, bool visible) { dialog.setVisible(visible); });
    Watch(form_.tmrProgress.Interval, *this,
          [](AnimateDialog& dialog, int interval) { dialog.timer_.setInterval(interval); });
    Watch(form_.tmrProgress.Enabled, *this, [](AnimateDialog& dialog, bool enabled) {
      enabled ? dialog.timer_.start() : dialog.timer_.stop();
    });
    QObject::connect(&timer_, &QTimer::timeout, this, [this] { form_.tmrProgress_Timer(); });
    form_.Unloaded.Observe([self = QPointer<AnimateDialog>(this)] {
      if (!self) return;
      self->timer_.stop();
      self->hide();
      self->deleteLater();
    });
  }

  /// Escape and the window's own sign are the Cancel button, where there is one.
  void reject() override {
    if (form_.cmdCancel.Visible.Get()) form_.cmdCancel_Click();
  }
  void closeEvent(QCloseEvent* event) override {
    event->ignore();
    reject();
  }

  frmAnimate& form_;
  QTimer timer_;
};

}  // namespace

QWidget* NewAnimateDialog(frmAnimate& form) {
  return new AnimateDialog(form);
}

}  // namespace torvik
