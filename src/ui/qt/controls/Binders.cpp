#include "ui/qt/controls/Binders.h"

#include <QAbstractButton>
#include <QAction>
#include <QCheckBox>
#include <QComboBox>
#include <QEvent>
#include <QFocusEvent>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QProgressBar>
#include <QRadioButton>
#include <QSignalBlocker>
#include <QStyle>
#include <QTabWidget>
#include <QWheelEvent>

namespace torvik {
namespace {

/// Calls back for events of one type.
class EventWatcher final : public QObject {
 public:
  EventWatcher(QWidget& widget, QEvent::Type type, std::function<void()> work)
      : QObject(&widget), type_(type), work_(std::move(work)) {
    widget.installEventFilter(this);
  }

 private:
  bool eventFilter(QObject*, QEvent* event) override {
    if (event->type() == type_) work_();
    return false;
  }

  const QEvent::Type type_;
  const std::function<void()> work_;
};

/// Calls back when the keyboard has gone to another field: not to another window or to an open
/// list.
class LeaveWatcher final : public QObject {
 public:
  LeaveWatcher(QWidget& widget, std::function<void()> leave)
      : QObject(&widget), leave_(std::move(leave)) {
    widget.installEventFilter(this);
  }

 private:
  bool eventFilter(QObject*, QEvent* event) override {
    if (event->type() != QEvent::FocusOut) return false;
    const Qt::FocusReason reason = static_cast<QFocusEvent*>(event)->reason();
    if (reason != Qt::ActiveWindowFocusReason && reason != Qt::PopupFocusReason) leave_();
    return false;
  }

  const std::function<void()> leave_;
};

class DropDownBox final : public QComboBox {
 public:
  std::function<void()> beforeList;

  /// A wheel scrolls what the list stands in; only an open list is chosen from by it.
  void wheelEvent(QWheelEvent* event) override { event->ignore(); }

  /// What makes the list may handle events meanwhile, the end of the form among them.
  void showPopup() override {
    if (beforeList) beforeList();
    if (isVisible()) QComboBox::showPopup();
  }
};

/// A mark at the end of a field that must be filled.
void MarkMissing(QLineEdit& field, Observable<bool>& missing) {
  auto* const mark = new QAction(field.style()->standardIcon(QStyle::SP_MessageBoxWarning),
                                 QObject::tr("Execute needs this field"), &field);
  Watch(missing, field, [mark = QPointer<QAction>(mark)](QLineEdit& line, bool isMissing) {
    if (isMissing)
      line.addAction(mark, QLineEdit::TrailingPosition);
    else
      line.removeAction(mark);
    line.setAccessibleDescription(isMissing ? QObject::tr("must be filled in") : QString());
  });
}

void ShowText(QLineEdit& line, const std::string& text) {
  if (line.text() != ToQt(text)) line.setText(ToQt(text));
}

}  // namespace

void Bind(QWidget& widget, Control& control) {
  Watch(control.Enabled, widget, [](QWidget& one, bool enabled) { one.setEnabled(enabled); });
  Watch(control.Visible, widget, [](QWidget& one, bool visible) { one.setVisible(visible); });
  control.SetFocus.Observe([pointer = QPointer<QWidget>(&widget)] {
    if (pointer) pointer->setFocus(Qt::OtherFocusReason);
  });
}

void Bind(QLineEdit& widget, TextBox& control) {
  Bind(static_cast<QWidget&>(widget), static_cast<Control&>(control));
  Watch(control.Text, widget, ShowText);
  MarkMissing(widget, control.Missing);
  QObject::connect(&widget, &QLineEdit::textChanged, &widget,
                   [&control](const QString& text) { control.Text.Set(text.toStdString()); });
}

void Bind(QLineEdit& widget, DigitsBox& control) {
  Bind(widget, static_cast<TextBox&>(control));
  // What the control has dropped goes from the field as well.
  QObject::connect(&widget, &QLineEdit::textChanged, &widget,
                   [&widget, &control] { ShowText(widget, control.Text.Get()); });
}

void Bind(QCheckBox& widget, CheckBox& control) {
  Bind(static_cast<QWidget&>(widget), static_cast<Control&>(control));
  Watch(control.Value, widget, [](QCheckBox& one, bool checked) { one.setChecked(checked); });
  QObject::connect(&widget, &QCheckBox::toggled, &widget,
                   [&control](bool checked) { control.Value.Set(checked); });
}

void Bind(QRadioButton& widget, OptionButton& control) {
  Bind(static_cast<QWidget&>(widget), static_cast<Control&>(control));
  Watch(control.Value, widget, [](QRadioButton& one, bool chosen) { one.setChecked(chosen); });
  // The other one of a pair takes back itself.
  QObject::connect(&widget, &QRadioButton::toggled, &widget, [&control](bool chosen) {
    if (chosen) control.Value.Set(true);
  });
}

void Bind(QComboBox& widget, ComboBox& control, std::function<void()> dropDown) {
  Bind(static_cast<QWidget&>(widget), static_cast<Control&>(control));
  static_cast<DropDownBox&>(widget).beforeList = std::move(dropDown);
  Watch(control.List, widget, [&control](QComboBox& one, const std::vector<std::string>& list) {
    const QSignalBlocker quiet(&one);
    one.clear();
    for (const std::string& entry : list) one.addItem(ToQt(entry));
    one.setEditText(ToQt(control.Text.Get()));
  });
  Watch(control.Text, widget, [](QComboBox& one, const std::string& text) {
    if (one.currentText() != ToQt(text)) one.setEditText(ToQt(text));
  });
  MarkMissing(*widget.lineEdit(), control.Missing);
  QObject::connect(&widget, &QComboBox::editTextChanged, &widget,
                   [&control](const QString& text) { control.Text.Set(text.toStdString()); });
  QObject::connect(&widget, &QComboBox::activated, &widget,
                   [&control](int position) { control.Choose(position); });
}

void Bind(QListWidget& widget, ListBox& control, std::function<void()> click) {
  Bind(static_cast<QWidget&>(widget), static_cast<Control&>(control));
  Watch(control.List, widget, [](QListWidget& one, const std::vector<std::string>& list) {
    const QSignalBlocker quiet(&one);
    one.clear();
    for (const std::string& entry : list) one.addItem(ToQt(entry));
    one.setCurrentRow(-1);
  });
  Watch(control.ListIndex, widget, [](QListWidget& one, int position) {
    if (one.currentRow() != position) one.setCurrentRow(position);
  });
  QObject::connect(&widget, &QListWidget::currentRowChanged, &widget,
                   [&control, click = std::move(click)](int position) {
                     if (control.ListIndex.Get() == position) return;
                     control.ListIndex.Set(position);
                     click();
                   });
}

void Bind(QAbstractButton& widget, CommandButton& control, std::function<void()> click) {
  Bind(static_cast<QWidget&>(widget), static_cast<Control&>(control));
  Watch(control.Caption, widget, [](QAbstractButton& one, const std::string& caption) {
    if (!caption.empty()) one.setText(ToQt(caption));
  });
  QObject::connect(&widget, &QAbstractButton::clicked, &widget, std::move(click));
}

void SetHelp(QAbstractButton& widget, CommandButton& control, const QString& help) {
  Watch(control.Reason, widget, [help](QAbstractButton& one, const std::string& reason) {
    one.setToolTip(reason.empty() ? help : help + "\n" + ToQt(reason));
    one.setAccessibleDescription(ToQt(reason));
  });
}

void SetHelp(QAction& tool, CommandButton& control, const QString& help) {
  const QString keys = tool.shortcut().toString(QKeySequence::NativeText);
  const QString all = keys.isEmpty() ? help : help + " (" + keys + ")";
  Watch(control.Reason, tool, [all](QAction& one, const std::string& reason) {
    one.setToolTip(reason.empty() ? all : all + "\n" + ToQt(reason));
  });
}

void Bind(QLabel& widget, Label& control) {
  Bind(static_cast<QWidget&>(widget), static_cast<Control&>(control));
  Watch(control.Caption, widget, [](QLabel& one, const std::string& caption) {
    if (!caption.empty()) one.setText(ToQt(caption));
  });
}

void Bind(QProgressBar& widget, ProgressBar& control) {
  Bind(static_cast<QWidget&>(widget), static_cast<Control&>(control));
  Watch(control.Value, widget, [](QProgressBar& one, int percent) { one.setValue(percent); });
}

void Bind(QTabWidget& widget, TabStrip& control) {
  Watch(control.Tab, widget, [](QTabWidget& one, int page) { one.setCurrentIndex(page); });
  QObject::connect(&widget, &QTabWidget::currentChanged, &widget,
                   [&control](int page) { control.Tab.Set(page); });
}

void OnLeave(QWidget& widget, std::function<void()> leave) {
  new LeaveWatcher(widget, std::move(leave));
}

void OnDoubleClick(QWidget& widget, std::function<void()> twice) {
  new EventWatcher(widget, QEvent::MouseButtonDblClick, std::move(twice));
}

QComboBox* NewDropDown() {
  auto* const box = new DropDownBox;
  box->setEditable(true);
  box->setInsertPolicy(QComboBox::NoInsert);
  box->setCompleter(nullptr);
  return box;
}

}  // namespace torvik
