#pragma once

class QWidget;

namespace torvik {

class RunMonitor;

/// Shows a run: its verdict, a bar for each step, the log's lines. Hidden before the first run.
QWidget* NewRunView(RunMonitor& monitor);

}  // namespace torvik
