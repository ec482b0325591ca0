#include "ui/qt/RunHead.h"

#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QToolButton>

#include "ui/frmRunnerMain.h"
#include "ui/qt/RunView.h"
#include "ui/qt/StepGraphView.h"
#include "ui/qt/controls/Binders.h"
#include "ui/qt/controls/SpokenLabel.h"
#include "ui/qt/controls/Words.h"

namespace torvik {
namespace {

QToolButton* NewTool(const QString& text, const QString& help, std::function<void()> click) {
  auto* const button = new QToolButton;
  button->setText(text);
  button->setToolTip(help);
  button->setAccessibleName(help);
  QObject::connect(button, &QToolButton::clicked, button, std::move(click));
  return button;
}

QPushButton* NewFileButton(const QString& text, const QString& help, std::function<void()> click) {
  auto* const button = new QPushButton(text);
  button->setToolTip(help);
  QObject::connect(button, &QPushButton::clicked, button, std::move(click));
  return button;
}

QLineEdit* NewSearch(StepGraphView& graph) {
  auto* const search = new QLineEdit;
  search->setPlaceholderText(Tr("Find a step"));
  search->setAccessibleName(Tr("Find a step"));
  search->setToolTip(Tr("The return key goes to the next step whose name has this text"));
  search->setClearButtonEnabled(true);
  search->setMinimumWidth(search->fontMetrics().averageCharWidth() * 10);
  search->setMaximumWidth(search->fontMetrics().averageCharWidth() * 28);
  QObject::connect(search, &QLineEdit::returnPressed, &graph,
                   [&graph, search] { graph.FindNext(search->text()); });
  return search;
}

}  // namespace

RunHead::RunHead(frmRunnerMain& form, StepGraphView& graph)
    : all_(new QBoxLayout(QBoxLayout::LeftToRight, this)),
      state_(new QHBoxLayout),
      tools_(new QHBoxLayout),
      time_(new QLabel) {
  all_->setContentsMargins(0, 0, 0, 0);
  all_->addLayout(state_, 1);
  all_->addLayout(tools_);
  state_->addWidget(NewVerdictLabel(form.Monitor));
  // What is too long for a row of its own is cut off and does not make the page wider.
  time_->setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Preferred);
  state_->addWidget(time_, 1);
  AddTools(form, graph);
}

void RunHead::AddTools(frmRunnerMain& form, StepGraphView& graph) {
  tools_->addWidget(NewSearch(graph), 1);
  tools_->addWidget(NewTool("−", Tr("Smaller"), [&graph] { graph.Zoom(0.8); }));
  tools_->addWidget(NewTool("+", Tr("Larger"), [&graph] { graph.Zoom(1.25); }));
  tools_->addWidget(NewTool("⤢", Tr("The whole package"), [&graph] { graph.FitAll(); }));
  auto* const stop = new QPushButton;
  Bind(*stop, form.cmdStop, [&form] { form.cmdStop_Click(); });
  SetHelp(*stop, form.cmdStop, Tr("Ends the run: its steps are cancelled"));
  for (QPushButton* const button :
       {NewFileButton(Tr("Package log"), Tr("Shows what the package has written of its steps"),
                      [&form] { form.cmdShowPackageLog_Click(); }),
        NewFileButton(Tr("Error file"), Tr("Shows the exception log"),
                      [&form] { form.cmdShowErrorFile_Click(); }),
        stop}) {
    button->setAutoDefault(false);
    button->setMinimumWidth(button->sizeHint().width() + fontMetrics().averageCharWidth() * 2);
    tools_->addWidget(button);
  }
}

void RunHead::ShowTime(const QString& words) {
  ShowSpoken(*time_, Tr("Time of the run"), words);
  time_->setToolTip(words);
  Arrange();
}

void RunHead::Arrange() {
  const int wanted = state_->sizeHint().width() + time_->sizeHint().width() +
                     tools_->sizeHint().width() + 3 * all_->spacing();
  all_->setDirection(wanted > width() ? QBoxLayout::TopToBottom : QBoxLayout::LeftToRight);
}

void RunHead::resizeEvent(QResizeEvent*) {
  Arrange();
}

}  // namespace torvik
