#pragma once

#include <QGridLayout>
#include <QLabel>
#include <QPushButton>
#include <functional>

#include "ui/Controls.h"

class QCheckBox;
class QComboBox;
class QLineEdit;
class QRadioButton;

namespace torvik {

/// Fields below each other, each with its label and, where it has one, a button beside it. Labels
/// have mnemonics ("&Server:"), which lead to their field.
class FieldGrid {
 public:
  explicit FieldGrid(QWidget& page) : grid_(new QGridLayout(&page)) {
    grid_->setColumnStretch(1, 1);
  }

  QLabel* Label(QWidget& field, const QString& text);
  QLineEdit* Text(const QString& label, TextBox& box, const QString& help);
  QLineEdit* Path(const QString& label, TextBox& box, const QString& help);
  QLineEdit* Password(const QString& label, TextBox& box, const QString& help);
  QLineEdit* Digits(const QString& label, DigitsBox& box, torvik::Label& unit, const QString& help);
  QComboBox* List(const QString& label, ComboBox& box, std::function<void()> dropDown,
                  const QString& help);
  /// `beside` may be null.
  QCheckBox* Check(const QString& text, CheckBox& box, const QString& help,
                   QWidget* beside = nullptr);
  QRadioButton* Option(const QString& text, OptionButton& option, const QString& help);
  /// A button at the end of the last row.
  QPushButton* Button(const QString& text, CommandButton& button, std::function<void()> click,
                      const QString& help);
  /// A button in a row of its own, under the field.
  void ButtonBelow(const QString& text, CommandButton& button, std::function<void()> click,
                   const QString& help);
  /// "..." at the end of the last row.
  QPushButton* Browse(CommandButton& button, std::function<void()> click, const QString& help);
  /// At the end of the last row.
  void Beside(QWidget& widget);
  void Wide(QWidget& widget);
  /// What is left of the page stays empty.
  void Stretch() { grid_->setRowStretch(row_, 1); }
  /// The label of the last field.
  QLabel& LastLabel() { return *lastLabel_; }

 private:
  QLineEdit* Add(QLineEdit* field, const QString& label, TextBox& box, const QString& help);
  void Place(QWidget& field, const QString& text, const QString& help);

  QGridLayout* grid_;
  int row_ = 0, nextColumn_ = 2;
  QLabel* lastLabel_ = nullptr;
};

}  // namespace torvik
