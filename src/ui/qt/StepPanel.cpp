#include "ui/qt/StepPanel.h"

#include <QFontDatabase>
#include <QLabel>
#include <QPlainTextEdit>
#include <QVBoxLayout>

#include "ui/qt/Binders.h"
#include "ui/qt/Sparkline.h"
#include "ui/qt/StepLook.h"
#include "ui/qt/Words.h"

namespace torvik {
namespace {

QLabel* NewText() {
  auto* const label = new QLabel;
  label->setWordWrap(true);
  label->setTextFormat(Qt::PlainText);
  label->setTextInteractionFlags(Qt::TextSelectableByMouse | Qt::TextSelectableByKeyboard);
  return label;
}

}  // namespace

StepPanel::StepPanel(RunMonitor& monitor)
    : monitor_(monitor),
      name_(NewText()),
      state_(NewText()),
      error_(NewText()),
      rates_(new Sparkline),
      text_(new QPlainTextEdit) {
  QFont bold = name_->font();
  bold.setBold(true);
  name_->setFont(bold);
  state_->setAccessibleName(Tr("State of the step"));
  error_->setAccessibleName(Tr("Error of the step"));
  rates_->setToolTip(Tr("Rows over time, from the step's begin on"));
  text_->setReadOnly(true);
  text_->setFont(QFontDatabase::systemFont(QFontDatabase::FixedFont));
  text_->setAccessibleName(Tr("What the step does"));
  auto* const layout = new QVBoxLayout(this);
  layout->setContentsMargins(6, 0, 0, 0);
  for (QWidget* widget : {static_cast<QWidget*>(name_), static_cast<QWidget*>(state_),
                          static_cast<QWidget*>(rates_), static_cast<QWidget*>(error_)})
    layout->addWidget(widget);
  layout->addWidget(text_, 1);
  Refresh();
}

void StepPanel::Choose(int step) {
  step_ = step;
  Refresh();
}

void StepPanel::Refresh() {
  const std::vector<dts::StepOutline>& package = monitor_.Package.Get();
  const bool isChosen = step_ >= 0 && step_ < static_cast<int>(package.size());
  for (QWidget* widget :
       {static_cast<QWidget*>(state_), static_cast<QWidget*>(error_), static_cast<QWidget*>(text_)})
    widget->setVisible(isChosen);
  if (!isChosen) {
    rates_->Show({});
    name_->setText(Tr("Click a step to see what it does and how it stands."));
    return;
  }
  const dts::StepOutline& outline = package[static_cast<std::size_t>(step_)];
  const RunMonitor::Step* const step = monitor_.Find(outline.name);
  const bool isOver = !monitor_.Runs.Get() && monitor_.Verdict.Get() != RunVerdict::None;
  const StepLook look = LookOf(outline, step, isOver);
  name_->setText(ToQt(outline.name));
  QString state = look.sign + " " + look.word;
  if (step != nullptr) {
    if (step->rows > 0) state = look.sign + " " + ToQt(Described(*step));
    const double end = step->end.value_or(monitor_.Seconds());
    state += "\n" + QString::number(std::max(0.0, end - step->begin), 'f', 1) +
             Tr(" s, begun at ") + ToQt(ClockText(step->begin));
  }
  state_->setText(ToQt(outline.task) + (outline.task.empty() ? "" : "\n") + state);
  error_->setText(step == nullptr ? QString() : ToQt(step->error));
  error_->setVisible(!error_->text().isEmpty());
  rates_->Show(step == nullptr ? std::vector<std::int64_t>() : step->rowsByTime);
  const QString text = ToQt(outline.text);
  if (text_->toPlainText() != text) text_->setPlainText(text);
  text_->setVisible(!text.isEmpty());
}

}  // namespace torvik
