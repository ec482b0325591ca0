#include "ui/qt/controls/FieldGrid.h"

#include <QCheckBox>
#include <QComboBox>
#include <QLineEdit>
#include <QRadioButton>

#include "ui/qt/controls/Binders.h"
#include "ui/qt/controls/PathEdit.h"

namespace torvik {
namespace {

QString WithoutMnemonic(QString text) {
  text.remove('&');
  return text.remove(':');
}

/// A text that may be longer than its field stands in the field's tip too; a password never does.
void ShowWholeText(QLineEdit& field, const QString& help) {
  const auto show = [&field, help](const QString& text) {
    const bool isShown = text.isEmpty() || field.echoMode() != QLineEdit::Normal;
    field.setToolTip(isShown ? help : text + "\n" + help);
  };
  show(field.text());
  QObject::connect(&field, &QLineEdit::textChanged, &field, show);
}

}  // namespace

QLabel* FieldGrid::Label(QWidget& field, const QString& text) {
  auto* const label = new QLabel(text);
  label->setBuddy(&field);
  field.setAccessibleName(WithoutMnemonic(text));
  return label;
}

void FieldGrid::Place(QWidget& field, const QString& text, const QString& help) {
  lastLabel_ = Label(field, text);
  field.setToolTip(help);
  grid_->addWidget(lastLabel_, row_, 0);
  grid_->addWidget(&field, row_, 1);
  ++row_;
  nextColumn_ = 2;
}

QLineEdit* FieldGrid::Add(QLineEdit* field, const QString& label, TextBox& box,
                          const QString& help) {
  Bind(*field, box);
  Place(*field, label, help);
  ShowWholeText(*field, help);
  return field;
}

QLineEdit* FieldGrid::Text(const QString& label, TextBox& box, const QString& help) {
  return Add(new QLineEdit, label, box, help);
}

QLineEdit* FieldGrid::Path(const QString& label, TextBox& box, const QString& help) {
  return Add(new PathEdit, label, box, help);
}

QLineEdit* FieldGrid::Password(const QString& label, TextBox& box, const QString& help) {
  QLineEdit* const field = Text(label, box, help);
  field->setEchoMode(QLineEdit::Password);
  field->setToolTip(help);
  return field;
}

QLineEdit* FieldGrid::Digits(const QString& label, DigitsBox& box, torvik::Label& unit,
                             const QString& help) {
  auto* const field = new QLineEdit;
  Bind(*field, box);
  field->setInputMethodHints(Qt::ImhDigitsOnly);
  field->setAlignment(Qt::AlignRight);
  field->setMaximumWidth(field->fontMetrics().averageCharWidth() * 12);
  field->setToolTip(help);
  lastLabel_ = Label(*field, label);
  auto* const row = new QHBoxLayout;
  row->addWidget(field);
  auto* const words = new QLabel;
  Bind(*words, unit);
  row->addWidget(words);
  row->addStretch();
  grid_->addWidget(lastLabel_, row_, 0);
  grid_->addLayout(row, row_++, 1);
  nextColumn_ = 2;
  return field;
}

QComboBox* FieldGrid::List(const QString& label, ComboBox& box, std::function<void()> dropDown,
                           const QString& help) {
  QComboBox* const field = NewDropDown();
  Bind(*field, box, std::move(dropDown));
  Place(*field, label, help);
  field->lineEdit()->setAccessibleName(field->accessibleName());
  return field;
}

QCheckBox* FieldGrid::Check(const QString& text, CheckBox& box, const QString& help,
                            QWidget* beside) {
  auto* const field = new QCheckBox(text);
  Bind(*field, box);
  field->setToolTip(help);
  if (beside == nullptr) {
    Wide(*field);
    return field;
  }
  auto* const row = new QHBoxLayout;
  row->addWidget(field);
  row->addWidget(beside);
  row->addStretch();
  grid_->addLayout(row, row_++, 0, 1, -1);
  nextColumn_ = 2;
  return field;
}

QRadioButton* FieldGrid::Option(const QString& text, OptionButton& option, const QString& help) {
  auto* const field = new QRadioButton(text);
  Bind(*field, option);
  field->setToolTip(help);
  Wide(*field);
  return field;
}

namespace {

QPushButton* NewButton(const QString& text, CommandButton& button, std::function<void()> click,
                       const QString& help) {
  auto* const field = new QPushButton(text);
  Bind(*field, button, std::move(click));
  SetHelp(*field, button, help);
  field->setAutoDefault(false);
  return field;
}

}  // namespace

QPushButton* FieldGrid::Button(const QString& text, CommandButton& button,
                               std::function<void()> click, const QString& help) {
  QPushButton* const field = NewButton(text, button, std::move(click), help);
  Beside(*field);
  return field;
}

void FieldGrid::ButtonBelow(const QString& text, CommandButton& button, std::function<void()> click,
                            const QString& help) {
  grid_->addWidget(NewButton(text, button, std::move(click), help), row_++, 1, Qt::AlignLeft);
  nextColumn_ = 2;
}

QPushButton* FieldGrid::Browse(CommandButton& button, std::function<void()> click,
                               const QString& help) {
  QPushButton* const field = Button("...", button, std::move(click), help);
  field->setAccessibleName(help);
  field->setMaximumWidth(field->fontMetrics().horizontalAdvance("...") * 4);
  return field;
}

void FieldGrid::Wide(QWidget& widget) {
  grid_->addWidget(&widget, row_++, 0, 1, -1);
  nextColumn_ = 2;
}

void FieldGrid::Beside(QWidget& widget) {
  grid_->addWidget(&widget, row_ - 1, nextColumn_++);
}

}  // namespace torvik
