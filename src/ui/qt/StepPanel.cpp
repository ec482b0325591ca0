#include "ui/qt/StepPanel.h"

#include <QLabel>
#include <QVBoxLayout>

#include "ui/qt/StepLook.h"
#include "ui/qt/controls/Binders.h"
#include "ui/qt/controls/ReadOnlyText.h"
#include "ui/qt/controls/Sparkline.h"
#include "ui/qt/controls/SpokenLabel.h"
#include "ui/qt/controls/Words.h"

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
      text_(new ReadOnlyText(Tr("What the step does"))) {
  error_->setStyleSheet("border: 0 solid #cd3c3c; border-left-width: 3px; padding-left: 6px");
  rates_->setAccessibleName(Tr("Rows or bytes over time"));
  rates_->setToolTip(Tr("Rows, or bytes of a fetch, over time, from the begin on"));
  auto* const layout = new QVBoxLayout(this);
  layout->setContentsMargins(6, 0, 0, 0);
  for (QWidget* widget : {static_cast<QWidget*>(name_), static_cast<QWidget*>(state_),
                          static_cast<QWidget*>(rates_), static_cast<QWidget*>(error_)})
    layout->addWidget(widget);
  layout->addWidget(text_, 1);
  layout->addStretch();
  Refresh();
}

void StepPanel::Choose(int step) {
  step_ = step;
  fetch_.clear();
  Refresh();
}

void StepPanel::ChooseFetch(const std::string& link) {
  step_ = -1;
  fetch_ = link;
  Refresh();
}

void StepPanel::Refresh() {
  const std::vector<dts::StepOutline>& package = monitor_.Package.Get();
  if (step_ >= 0 && step_ < static_cast<int>(package.size()))
    Show(OfStep(package[static_cast<std::size_t>(step_)]));
  else if (const RunMonitor::Fetch* const fetch = ShownFetch(); fetch != nullptr)
    Show(OfFetch(*fetch));
  else
    Show({.name = package.empty() ? QString()
                                  : Tr("Click a step to see what it does and how it stands.")});
}

const RunMonitor::Fetch* StepPanel::ShownFetch() const {
  if (!fetch_.empty()) return monitor_.FindFetch(fetch_);
  const std::vector<RunMonitor::Fetch>& all = monitor_.Fetches();
  return all.empty() || all.back().end || !monitor_.Runs.Get() ? nullptr : &all.back();
}

StepPanel::Facts StepPanel::OfStep(const dts::StepOutline& outline) const {
  const RunMonitor::Step* const step = monitor_.Find(outline.name);
  const StepLook look = LookOf(outline, step, monitor_.VerdictAtEnd());
  Facts facts{.name = ToQt(outline.name), .text = ToQt(outline.text)};
  if (!outline.task.empty()) facts.state = ToQt(outline.task) + "\n";
  facts.state += look.sign + " " + look.word;
  if (step == nullptr) return facts;
  if (const std::string figures = FiguresOf(*step); !figures.empty())
    facts.state += "\n" + ToQt(figures);
  if (step->state != StepState::NotRun) facts.state += "\n" + Times(step->begin, step->end);
  facts.error = ToQt(step->error);
  facts.rates = step->bytes > 0 ? step->bytesByTime : step->rowsByTime;
  return facts;
}

StepPanel::Facts StepPanel::OfFetch(const RunMonitor::Fetch& fetch) const {
  const StepLook look = LookOf(fetch.state);
  Facts facts{.name = Tr("Data link ") + ToQt(fetch.link)};
  facts.state = look.sign + " " + look.word + "\n" + ToQt(FiguresOf(fetch)) + "\n" +
                Times(fetch.begin, fetch.end);
  facts.error = ToQt(fetch.error);
  if (!fetch.file.empty())
    facts.text = Tr("file ") + ToQt(fetch.file).section('/', -1).section('\\', -1) + "\n";
  if (!fetch.from.empty())
    facts.text += Tr("from ") + ToQt(fetch.from) + "\n" + Tr("to   ") + ToQt(fetch.to);
  facts.rates = fetch.bytesByTime;
  return facts;
}

QString StepPanel::Times(double begin, const std::optional<double>& end) const {
  return SecondsText(end.value_or(monitor_.Seconds()) - begin) + Tr(", begun at ") +
         ToQt(ClockText(begin));
}

void StepPanel::Show(const Facts& facts) {
  QFont font = name_->font();
  font.setBold(!facts.state.isEmpty());
  name_->setFont(font);
  name_->setText(facts.name);
  ShowSpoken(*state_, Tr("State of the step"), facts.state);
  state_->setVisible(!facts.state.isEmpty());
  ShowSpoken(*error_, Tr("Error of the step"), facts.error);
  error_->setVisible(!facts.error.isEmpty());
  rates_->Show(facts.rates.Intervals());
  if (text_->toPlainText() != facts.text) text_->setPlainText(facts.text);
  text_->setVisible(!facts.text.isEmpty());
}

}  // namespace torvik
