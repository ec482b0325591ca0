#pragma once

class QLabel;
class QTabWidget;

namespace torvik {

class RunMonitor;

/// Shows how a run stands or has ended; hidden before the first one.
QLabel* NewVerdictLabel(RunMonitor& monitor);

/// The log's lines, and the problems, which come to the front when there are any.
QTabWidget* NewRunTexts(RunMonitor& monitor);

}  // namespace torvik
