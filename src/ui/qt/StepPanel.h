#pragma once

#include <QWidget>

#include "ui/RunMonitor.h"

class QLabel;
class QPlainTextEdit;

namespace torvik {

class Sparkline;

/// What is known of one step: what it does, how it stands, rows a second over time, its error. Or
/// of one fetch: from where, how much of it has come. Without a choice it shows the fetch that goes
/// on.
class StepPanel final : public QWidget {
 public:
  explicit StepPanel(RunMonitor& monitor);

  /// By its position in the package; -1: none.
  void Choose(int step);
  /// The fetch for a data link.
  void ChooseFetch(const std::string& link);
  void Refresh();

 private:
  /// What is shown of a step or fetch; what is empty is left out.
  struct Facts {
    QString name, state, error, text;
    CountByTime rates;
  };
  Facts OfStep(const dts::StepOutline& outline) const;
  Facts OfFetch(const RunMonitor::Fetch& fetch) const;
  QString Times(double begin, const std::optional<double>& end) const;
  const RunMonitor::Fetch* ShownFetch() const;
  void Show(const Facts& facts);

  RunMonitor& monitor_;
  int step_ = -1;
  std::string fetch_;  // the data link's name; empty: the one that goes on
  QLabel *name_, *state_, *error_;
  Sparkline* rates_;
  QPlainTextEdit* text_;
};

}  // namespace torvik
