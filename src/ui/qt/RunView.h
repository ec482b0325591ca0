#pragma once

#include <functional>
#include <string>

class QLabel;
class QString;
class QTabWidget;

namespace torvik {

class RunMonitor;

/// Whether there is a run to tell of: under way, or the last one.
bool HasRun(const RunMonitor& monitor);
/// How it stands or has ended: "Running", "Failed".
QString VerdictText(const RunMonitor& monitor);

/// Shows how a run stands or has ended; hidden before the first one.
QLabel* NewVerdictLabel(RunMonitor& monitor);

/// The log's lines, and the problems, which come to the front when there are any. `go` is called
/// with the place of a problem that the operator activates.
QTabWidget* NewRunTexts(RunMonitor& monitor, std::function<void(const std::string& place)> go);

}  // namespace torvik
