#include "ui/qt/controls/PictureParts.h"

#include <QAccessibleWidget>
#include <QPointer>
#include <QWidget>
#include <vector>

namespace torvik {
namespace {

PictureParts* PartsOf(QObject* object) {
  return dynamic_cast<PictureParts*>(object);
}

class PartInterface final : public QAccessibleInterface, public QAccessibleActionInterface {
 public:
  PartInterface(QWidget& picture, int part) : picture_(&picture), part_(part) {}

  bool isValid() const override {
    return picture_ != nullptr && part_ < PartsOf(picture_)->PartCount();
  }
  QObject* object() const override { return nullptr; }
  QWindow* window() const override {
    return picture_ == nullptr ? nullptr : picture_->window()->windowHandle();
  }
  QAccessibleInterface* parent() const override {
    return QAccessible::queryAccessibleInterface(picture_);
  }
  QAccessibleInterface* child(int) const override { return nullptr; }
  QAccessibleInterface* childAt(int, int) const override { return nullptr; }
  int childCount() const override { return 0; }
  int indexOfChild(const QAccessibleInterface*) const override { return -1; }
  QAccessible::Role role() const override { return QAccessible::ListItem; }

  QString text(QAccessible::Text kind) const override {
    return kind == QAccessible::Name && isValid() ? PartsOf(picture_)->PartText(part_) : QString();
  }
  void setText(QAccessible::Text, const QString&) override {}

  QRect rect() const override {
    if (!isValid()) return {};
    const QRect place = PartsOf(picture_)->PartPlace(part_);
    return {picture_->mapToGlobal(place.topLeft()), place.size()};
  }

  QAccessible::State state() const override {
    QAccessible::State state;
    state.invalid = !isValid();
    if (state.invalid) return state;
    state.selectable = state.focusable = true;
    state.selected = PartsOf(picture_)->ChosenPart() == part_;
    state.focused = state.selected && picture_->hasFocus();
    state.invisible = !picture_->isVisible();
    state.offscreen = !picture_->visibleRegion().intersects(PartsOf(picture_)->PartPlace(part_));
    return state;
  }

  void* interface_cast(QAccessible::InterfaceType kind) override {
    return kind == QAccessible::ActionInterface ? static_cast<QAccessibleActionInterface*>(this)
                                                : nullptr;
  }
  QStringList actionNames() const override { return {pressAction()}; }
  void doAction(const QString& action) override {
    if (action == pressAction() && isValid()) PartsOf(picture_)->ChoosePart(part_);
  }
  QStringList keyBindingsForAction(const QString&) const override { return {}; }

 private:
  const QPointer<QWidget> picture_;
  const int part_;
};

class PictureInterface final : public QAccessibleWidget {
 public:
  explicit PictureInterface(QWidget& picture) : QAccessibleWidget(&picture, QAccessible::List) {}
  ~PictureInterface() override {
    for (const QAccessible::Id id : parts_) QAccessible::deleteAccessibleInterface(id);
  }

  int childCount() const override { return Parts().PartCount(); }

  QAccessibleInterface* child(int part) const override {
    if (part < 0 || part >= childCount()) return nullptr;
    while (static_cast<int>(parts_.size()) <= part)
      parts_.push_back(QAccessible::registerAccessibleInterface(
          new PartInterface(*widget(), static_cast<int>(parts_.size()))));
    return QAccessible::accessibleInterface(parts_[static_cast<std::size_t>(part)]);
  }

  int indexOfChild(const QAccessibleInterface* one) const override {
    for (int part = 0; part < childCount(); ++part)
      if (child(part) == one) return part;
    return -1;
  }

  QAccessibleInterface* childAt(int x, int y) const override {
    const QPoint place = widget()->mapFromGlobal(QPoint(x, y));
    for (int part = 0; part < childCount(); ++part)
      if (Parts().PartPlace(part).contains(place)) return child(part);
    return nullptr;
  }

  QAccessibleInterface* focusChild() const override {
    return widget()->hasFocus() ? child(Parts().ChosenPart()) : nullptr;
  }

  QAccessible::State state() const override {
    QAccessible::State state = QAccessibleWidget::state();
    state.busy = Parts().IsBusy();
    return state;
  }

 private:
  PictureParts& Parts() const { return *PartsOf(widget()); }

  mutable std::vector<QAccessible::Id> parts_;
};

QAccessibleInterface* NewInterface(const QString&, QObject* object) {
  return object != nullptr && object->isWidgetType() && PartsOf(object) != nullptr
             ? new PictureInterface(*static_cast<QWidget*>(object))
             : nullptr;
}

void Tell(QWidget& picture, QAccessible::Event what, int part) {
  if (!QAccessible::isActive()) return;
  QAccessibleEvent event(&picture, what);
  event.setChild(part);
  QAccessible::updateAccessibility(&event);
}

}  // namespace

void TellScreenReaders() {
  QAccessible::installFactory(NewInterface);  // once, however often it is called
}

void TellPartChosen(QWidget& picture, int part) {
  if (part < 0) return;
  Tell(picture, QAccessible::Selection, part);
  if (picture.hasFocus()) Tell(picture, QAccessible::Focus, part);
}

void TellPartChanged(QWidget& picture, int part) {
  Tell(picture, QAccessible::NameChanged, part);
}

}  // namespace torvik
