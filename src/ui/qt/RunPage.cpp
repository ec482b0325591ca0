#include "ui/qt/RunPage.h"

#include <QLabel>
#include <QPointer>
#include <QScrollArea>
#include <QScrollBar>
#include <QSplitter>
#include <QTabWidget>
#include <QTimer>
#include <QVBoxLayout>
#include <algorithm>

#include "ui/frmRunnerMain.h"
#include "ui/qt/RunHead.h"
#include "ui/qt/RunView.h"
#include "ui/qt/StepGraphView.h"
#include "ui/qt/StepPanel.h"
#include "ui/qt/TimeLine.h"
#include "ui/qt/controls/Binders.h"
#include "ui/qt/controls/ScrolledPage.h"
#include "ui/qt/controls/SpokenLabel.h"
#include "ui/qt/controls/Words.h"

namespace torvik {
namespace {

/// What is told oftener is shown at this pace.
constexpr int kRefreshMilliseconds = 100;

/// Stays at the end of what grows, as long as the operator leaves it there.
void FollowEnd(QScrollBar& bar) {
  const auto last = std::make_shared<int>(0);
  QObject::connect(&bar, &QScrollBar::rangeChanged, &bar, [&bar, last](int, int end) {
    if (bar.value() >= *last) bar.setValue(end);
    *last = end;
  });
}

/// A text in lines, as high as its width makes it. The page takes no height from it beyond that.
class Note final : public QLabel {
 public:
  Note() {
    setWordWrap(true);
    setTextFormat(Qt::PlainText);
    setTextInteractionFlags(Qt::TextSelectableByMouse);
  }

  void Show(const std::string& text) {
    ShowSpoken(*this, Tr("Note on the run"), ToQt(text));
    setVisible(!text.empty());
    FitHeight();
  }

  bool hasHeightForWidth() const override { return false; }

 private:
  void FitHeight() { setMinimumHeight(std::max(0, heightForWidth(width()))); }
  void resizeEvent(QResizeEvent*) override { FitHeight(); }
};

class RunPage final : public QWidget {
 public:
  RunPage(frmRunnerMain& form, std::function<void()> showJob)
      : form_(form),
        showJob_(std::move(showJob)),
        graph_(new StepGraphView(form.Monitor)),
        panel_(new StepPanel(form.Monitor)),
        timeLine_(new TimeLine(form.Monitor)),
        times_(new QScrollArea),
        head_(new RunHead(form, *graph_)),
        note_(new Note) {
    auto* const steps = new QSplitter;
    steps->setObjectName("steps");
    steps->setChildrenCollapsible(false);
    steps->addWidget(graph_);
    steps->addWidget(Scrolled(panel_));
    steps->setSizes({3000, 1000});
    times_->setWidget(timeLine_);
    times_->setWidgetResizable(true);
    times_->setFocusPolicy(Qt::NoFocus);
    FollowEnd(*times_->verticalScrollBar());
    auto* const all = new QSplitter(Qt::Vertical);
    all->setObjectName("run");
    all->setChildrenCollapsible(false);
    all->addWidget(steps);
    all->addWidget(times_);
    all->addWidget(NewRunTexts(form.Monitor, [this](const std::string& place) { Go(place); }));
    all->setSizes({5000, 1500, 2000});
    auto* const layout = new QVBoxLayout(this);
    layout->addWidget(head_);
    layout->addWidget(note_);
    layout->addWidget(all, 1);
    WatchRun();
  }

 private:
  void WatchRun() {
    graph_->onChosen = [this](int step) {
      panel_->Choose(step);
      const auto& steps = form_.Monitor.Package.Get();
      ShowTimeOf(step < 0 ? "" : steps[static_cast<std::size_t>(step)].name);
    };
    timeLine_->onChosen = [this](const std::string& name) { ChooseNamed(name); };
    pace_.setSingleShot(true);
    pace_.setInterval(kRefreshMilliseconds);
    connect(&pace_, &QTimer::timeout, this, [this] { Refresh(); });
    clock_.setInterval(500);
    connect(&clock_, &QTimer::timeout, this, [this] { Refresh(); });
    loading_.setInterval(kRefreshMilliseconds);
    connect(&loading_, &QTimer::timeout, this, [this] { form_.TakeOutline(); });
    Watch(form_.LoadsOutline, *this, [](RunPage& page, bool loads) {
      if (loads) page.loading_.start();
      if (!loads) page.loading_.stop();
    });
    Watch(form_.Monitor.Note, *note_, [](Note& note, const std::string& text) { note.Show(text); });
    Watch(form_.Monitor.Package, *this, [](RunPage& page, const auto&) {
      page.graph_->ShowPackage();
      page.panel_->Choose(-1);
      page.timeLine_->Choose("");
    });
    form_.Monitor.StepsChanged.Observe([page = QPointer<RunPage>(this)] {
      if (page && !page->pace_.isActive()) page->pace_.start();
    });
    Watch(form_.Monitor.Verdict, *this, [](RunPage& page, RunVerdict verdict) {
      page.Refresh();
      if (verdict == RunVerdict::Failure && page.graph_->Chosen() < 0) page.ChooseFailed();
    });
    Watch(form_.Monitor.Runs, *this, [](RunPage& page, bool runs) {
      if (runs) page.clock_.start();
      if (!runs) page.clock_.stop();
      page.Refresh();
    });
  }

  /// To a step, or to the field that a check has something against.
  void Go(const std::string& place) {
    if (ChooseNamed(place) || form_.Busy.Get()) return;
    showJob_();
    form_.GoTo(place);
  }

  bool ChooseNamed(const std::string& name) {
    const auto& steps = form_.Monitor.Package.Get();
    const auto found = std::ranges::find(steps, name, &dts::StepOutline::name);
    if (found != steps.end()) {
      graph_->Choose(static_cast<int>(found - steps.begin()));
      return true;
    }
    for (const RunMonitor::Fetch& fetch : form_.Monitor.Fetches()) {
      if (PlaceOfFetch(fetch.link) != name) continue;
      graph_->Choose(-1);
      panel_->ChooseFetch(fetch.link);
      ShowTimeOf(name);
      return true;
    }
    return false;
  }

  /// Its bar, if it has one, is marked and in sight.
  void ShowTimeOf(const std::string& place) {
    const int top = timeLine_->Choose(place);
    const int row = fontMetrics().height();
    if (top >= 0) times_->ensureVisible(0, top, 0, 2 * row);
  }

  /// What has failed is what the operator looks for.
  void ChooseFailed() {
    const auto failed =
        std::ranges::find(form_.Monitor.Steps(), StepState::Failed, &RunMonitor::Step::state);
    if (failed != form_.Monitor.Steps().end()) ChooseNamed(failed->name);
  }

  /// The fetch that goes on, and how far it has come.
  QString FetchWords() const {
    const auto& fetches = form_.Monitor.Fetches();
    if (!form_.Monitor.Runs.Get() || fetches.empty() || fetches.back().end) return {};
    return Tr("fetching %1: ").arg(ToQt(fetches.back().link)) + ToQt(FiguresOf(fetches.back()));
  }

  void Refresh() {
    graph_->ShowSteps();
    panel_->Refresh();
    timeLine_->Refresh();
    const RunMonitor& monitor = form_.Monitor;
    QStringList words;
    if (const std::string& title = monitor.Title.Get(); !title.empty()) words << ToQt(title);
    if (monitor.Seconds() > 0) words << ToQt(ClockText(monitor.Seconds()));
    if (const auto usual = form_.History.UsualSeconds(); usual && monitor.Runs.Get())
      words << Tr("usually %1").arg(ToQt(ClockText(*usual)));
    if (const QString fetch = FetchWords(); !fetch.isEmpty()) words << fetch;
    head_->ShowTime(words.join(", "));
  }

  frmRunnerMain& form_;
  const std::function<void()> showJob_;
  StepGraphView* graph_;
  StepPanel* panel_;
  TimeLine* timeLine_;
  QScrollArea* times_;
  RunHead* head_;
  Note* note_;
  QTimer pace_, clock_, loading_;
};

}  // namespace

QWidget* NewRunPage(frmRunnerMain& form, std::function<void()> showJob) {
  return new RunPage(form, std::move(showJob));
}

}  // namespace torvik
