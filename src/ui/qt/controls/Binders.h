#pragma once

#include <QString>
#include <functional>
#include <string>

#include "ui/Controls.h"

class QAbstractButton;
class QAction;
class QCheckBox;
class QComboBox;
class QLabel;
class QLineEdit;
class QListWidget;
class QProgressBar;
class QRadioButton;
class QTabWidget;
class QWidget;

namespace torvik {

inline QString ToQt(const std::string& text) {
  return QString::fromStdString(text);
}

/// A binder for each kind of control: the widget shows the control from now on, and what the user
/// does with it goes into the control. A widget may go before its control.
void Bind(QWidget& widget, Control& control);
void Bind(QLineEdit& widget, TextBox& control);
void Bind(QLineEdit& widget, DigitsBox& control);
void Bind(QCheckBox& widget, CheckBox& control);
void Bind(QRadioButton& widget, OptionButton& control);
/// `dropDown` is called before the list is shown. The widget is one of NewDropDown.
void Bind(QComboBox& widget, ComboBox& control, std::function<void()> dropDown);
/// `click` is called when the user has selected an entry.
void Bind(QListWidget& widget, ListBox& control, std::function<void()> click);
void Bind(QAbstractButton& widget, CommandButton& control, std::function<void()> click);
/// The button's tip: what it does and, while it is grey, why.
void SetHelp(QAbstractButton& widget, CommandButton& control, const QString& help);
/// The same of a tool that does what the button does, with its keys.
void SetHelp(QAction& tool, CommandButton& control, const QString& help);
void Bind(QLabel& widget, Label& control);
void Bind(QProgressBar& widget, ProgressBar& control);
void Bind(QTabWidget& widget, TabStrip& control);

/// Keeps a widget as a control's value has it, as long as there is the widget.
template <typename T, typename Widget, typename Show>
void Watch(Observable<T>& value, Widget& widget, const Show& show);

/// `leave` is called when the keyboard leaves the widget, `twice` when it is double-clicked.
void OnLeave(QWidget& widget, std::function<void()> leave);
void OnDoubleClick(QWidget& widget, std::function<void()> twice);

/// A box with a list that can also be typed into.
QComboBox* NewDropDown();

}  // namespace torvik

#include <QPointer>

template <typename T, typename Widget, typename Show>
void torvik::Watch(Observable<T>& value, Widget& widget, const Show& show) {
  show(widget, value.Get());
  value.Observe([pointer = QPointer<Widget>(&widget), show](const T& now) {
    if (pointer) show(*pointer, now);
  });
}
