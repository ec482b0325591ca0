#include "ui/qt/JobChecker.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include "platform/CountText.h"
#include "ui/frmRunnerMain.h"
#include "ui/qt/controls/Binders.h"
#include "ui/qt/controls/Words.h"

namespace torvik {
namespace {

/// What a job check has found that needs somebody; what was not looked at counts too, since the job
/// may yet fail there.
std::vector<RunMonitor::Problem> ProblemsIn(const QJsonArray& checks) {
  std::vector<RunMonitor::Problem> problems;
  for (const QJsonValue& check : checks) {
    const QString state = check["state"].toString();
    if (state == "ok") continue;
    const QString before = state == "problem" ? QString() : state + ": ";
    problems.push_back({check["what"].toString().toStdString(),
                        (before + check["detail"].toString()).toStdString()});
  }
  return problems;
}

}  // namespace

JobChecker::JobChecker(frmRunnerMain& form, const std::string& admin, QObject* parent)
    : QObject(parent), form_(form), admin_(ToQt(admin)) {
  connect(&process_, &QProcess::finished, this, [this] { Finish(); });
  connect(&process_, &QProcess::errorOccurred, this, [this](QProcess::ProcessError error) {
    if (error == QProcess::FailedToStart) Finish();
  });
}

JobChecker::~JobChecker() {
  process_.disconnect(this);
  process_.kill();
  process_.waitForFinished(1000);
}

void JobChecker::Start() {
  if (process_.state() != QProcess::NotRunning || !form_.BeginCheck()) return;
  process_.start(admin_, {"job", "check", ToQt(form_.TorvConfigFile), "--json"});
}

void JobChecker::Finish() {
  const QByteArray output = process_.readAllStandardOutput();
  const QJsonObject result = QJsonDocument::fromJson(output).object();
  if (result.isEmpty()) {
    const QString words = QString::fromUtf8(process_.readAllStandardError()).trimmed();
    const QString reason = words.isEmpty() ? process_.errorString() : words;
    return form_.EndCheck({{"job check", reason.toStdString()}},
                          Tr("The job cannot be checked").toStdString());
  }
  const QString sentence = Tr("Checked: %1 ok, %2, %3, %4 not checked")
                               .arg(result["ok"].toInt())
                               .arg(ToQt(Counted(result["problems"].toInt(), "problem")))
                               .arg(ToQt(Counted(result["warnings"].toInt(), "warning")))
                               .arg(result["not_checked"].toInt());
  form_.EndCheck(ProblemsIn(result["checks"].toArray()), sentence.toStdString());
}

}  // namespace torvik
