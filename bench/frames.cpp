// Measures the window of the form while it shows runs: how long each frame takes to draw, and how
// far apart the moments are at which it can handle what the operator does.
//   bench_frames WIDTH HEIGHT

#include <time.h>

#include <QApplication>
#include <QElapsedTimer>
#include <QLineEdit>
#include <QMouseEvent>
#include <QSettings>
#include <QTabWidget>
#include <QTest>
#include <QTimer>
#include <QWheelEvent>
#include <algorithm>
#include <cstdio>
#include <cstdlib>

#include "desktop/DesktopSession.h"
#include "ui/qt/StepGraphView.h"

using namespace torvik;

namespace {

/// Milliseconds of one kind, and how they are spread.
class Spread {
 public:
  void Add(double milliseconds) { all_.push_back(milliseconds); }
  void Clear() { all_.clear(); }
  bool IsEmpty() const { return all_.empty(); }

  void Print(const char* what) {
    std::ranges::sort(all_);
    const auto at = [&](double part) {
      return all_[static_cast<std::size_t>(part * static_cast<double>(all_.size() - 1))];
    };
    if (!all_.empty())
      std::printf("%-44s %6zu  median %7.2f  99 %% %7.2f  worst %7.2f ms\n", what, all_.size(),
                  at(0.5), at(0.99), all_.back());
  }

 private:
  std::vector<double> all_;
};

double Milliseconds(const QElapsedTimer& timer) {
  return static_cast<double>(timer.nsecsElapsed()) / 1e6;
}

/// Of this thread: what the window costs, however busy the machine is beside.
double ProcessorMilliseconds() {
  timespec now{};
  clock_gettime(CLOCK_THREAD_CPUTIME_ID, &now);
  return static_cast<double>(now.tv_sec) * 1e3 + static_cast<double>(now.tv_nsec) / 1e6;
}

/// Times what it is given to handle.
class TimedApplication final : public QApplication {
 public:
  using QApplication::QApplication;

  Spread frames, processor;  ///< Each drawing of the window.

  void Clear() {
    frames.Clear();
    processor.Clear();
  }

  bool notify(QObject* receiver, QEvent* event) override {
    const bool draws = event->type() == QEvent::UpdateRequest && receiver->isWidgetType();
    QElapsedTimer timer;
    timer.start();
    const double begin = draws ? ProcessorMilliseconds() : 0;
    const bool result = QApplication::notify(receiver, event);
    if (draws) {
      frames.Add(Milliseconds(timer));
      processor.Add(ProcessorMilliseconds() - begin);
    }
    return result;
  }
};

/// How far apart a clock of a millisecond comes to tick.
class Beats {
 public:
  Beats() {
    timer_.setTimerType(Qt::PreciseTimer);
    timer_.setInterval(1);
    QObject::connect(&timer_, &QTimer::timeout, [this] {
      apart.Add(Milliseconds(since_));
      since_.restart();
    });
    since_.start();
    timer_.start();
  }

  Spread apart;

 private:
  QTimer timer_;
  QElapsedTimer since_;
};

std::string SqlStep(const std::string& name, const std::string& sql, const std::string& after) {
  return "[[steps]]\nname = \"" + name +
         "\"\ntask = \"ExecuteSQL\"\nconnection = \"dw\"\nsql = \"" + sql + "\"\n" +
         (after.empty() ? "" : "after = [ { step = \"" + after + "\" } ]\n");
}

constexpr int kLoads = 10, kRowsOfEach = 150'000;

/// Ten chains of six steps, each of which loads a tenth of the rows.
std::string SixtySteps() {
  std::string text = kManyRows;
  for (int i = 0; i < kLoads; ++i) {
    const std::string number = std::to_string(i), make = "make table " + number,
                      load = "load table " + number;
    text += SqlStep(make,
                    "DROP TABLE IF EXISTS t" + number + "; CREATE TABLE t" + number +
                        " (no INTEGER, words TEXT)",
                    "");
    text += "[[steps]]\nname = \"" + load +
            "\"\ntask = \"DataPump\"\nsource = \"file\"\ndestination = \"dw\"\ntable = \"t" +
            number + "\"\nafter = [ { step = \"" + make + "\" } ]\n";
    for (int k = 0; k < 4; ++k)
      text += SqlStep("sum " + number + "." + std::to_string(k), "SELECT SUM(no) FROM t" + number,
                      k == 0 ? load : "sum " + number + "." + std::to_string(k - 1));
  }
  return text;
}

std::string ThousandSteps() {
  std::string text = kManyRows;
  for (int i = 0; i < 1000; ++i)
    text += SqlStep("step " + std::to_string(i), "SELECT 1",
                    i < 6 ? "" : "step " + std::to_string(i - 6 - i % 3));
  return text;
}

class Bench {
 public:
  Bench(TimedApplication& application, int width, int height) : application_(application) {
    session_.MakeJob();
    std::string rows = "no,words\n";
    for (int i = 0; i < kRowsOfEach; ++i) rows += std::to_string(i) + ",some words of a row\n";
    session_.Files().WriteFile("many.csv", rows);
    session_.Start("");
    session_.Window().resize(width, height);
    session_.Form().OpenJobFile(session_.Files().PathOf("job.etl"));
  }

  void Run(const char* what, const std::string& package) {
    session_.Files().PutPackage("Sales_LoadDW", package);
    constexpr int kTimes = 10;
    QElapsedTimer timer;
    timer.start();
    application_.Clear();
    Beats beats;
    bool isGood = true;
    for (int i = 0; i < kTimes; ++i) {
      session_.Form().cmdExecute_Click();
      isGood &= session_.Form().Monitor.Verdict.Get() == RunVerdict::Ok;
    }
    std::printf("%s, %d times: %.1f s, %s\n", what, kTimes, Milliseconds(timer) / 1000,
                isGood ? "ok" : "FAILED");
    beats.apart.Print("  handles events every");
    application_.frames.Print("  draws a frame in");
    application_.processor.Print("  of that on the processor");
  }

  /// What an operator does with a run that is shown.
  void Look(const char* what) {
    std::printf("%s\n", what);
    auto& graph = *session_.Window().findChild<StepGraphView*>();
    const auto time = [&](const char* name, int times, const auto& work) {
      Spread took;
      for (int i = 0; i < times; ++i) {
        QElapsedTimer timer;
        timer.start();
        work(i);
        QApplication::processEvents();
        took.Add(Milliseconds(timer));
      }
      took.Print(name);
    };
    session_.Form().ReadHistory();
    const std::int64_t run = session_.Form().History.Runs().front().id;
    time("  opens a run of the history in", 5, [&](int) { session_.Form().ShowRun(run); });
    const auto turn = [&](int delta) {
      const QPointF middle = graph.viewport()->rect().center();
      QWheelEvent event(middle, graph.viewport()->mapToGlobal(middle), {}, {0, delta}, Qt::NoButton,
                        Qt::ControlModifier, Qt::NoScrollPhase, false);
      QApplication::sendEvent(graph.viewport(), &event);
    };
    graph.FitAll();
    time("  zooms in and out again", 120, [&](int i) { turn(i % 24 < 12 ? 120 : -120); });
    time("  shows the whole", 5, [&](int i) { i % 2 == 0 ? graph.FitAll() : graph.Zoom(2); });
    auto& search = session_.Find<QLineEdit>("Find a step");
    QTest::keyClicks(&search, "1");
    time("  goes to the next step found", 60,
         [&](int) { QTest::keyClick(&search, Qt::Key_Return); });
    search.clear();
    graph.Zoom(0.6 / graph.transform().m11());
    const auto mouse = [&](QEvent::Type type, QPointF at) {
      QMouseEvent event(type, at, graph.viewport()->mapToGlobal(at), Qt::LeftButton, Qt::LeftButton,
                        {});
      QApplication::sendEvent(graph.viewport(), &event);
    };
    mouse(QEvent::MouseButtonPress, {300, 60});
    time("  is dragged", 100, [&](int i) {
      const int way = i % 50 < 25 ? i % 25 : 25 - i % 25;
      mouse(QEvent::MouseMove, QPointF(300 - 9 * way, 60 + 2 * way));
    });
    mouse(QEvent::MouseButtonRelease, {300, 60});
    time("  is made larger and smaller", 20, [&](int i) {
      session_.Window().resize(session_.Window().size() + QSize(i % 2 == 0 ? 20 : -20, 0));
    });
  }

 private:
  TimedApplication& application_;
  DesktopSession session_;
};

}  // namespace

int main(int argc, char** argv) {
  if (argc < 3) {
    std::fprintf(stderr, "usage: bench_frames WIDTH HEIGHT\n");
    return 2;
  }
  TimedApplication application(argc, argv);
  QApplication::setOrganizationName("TorvikBench");
  QSettings().clear();
  Bench bench(application, std::atoi(argv[1]), std::atoi(argv[2]));
  bench.Run("a run of 60 steps and 1,500,000 rows", SixtySteps());
  bench.Look("60 steps");
  bench.Run("a run of 1,000 steps", ThousandSteps());
  bench.Look("1,000 steps");
  return 0;
}
