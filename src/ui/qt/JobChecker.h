#pragma once

#include <QObject>
#include <QProcess>
#include <string>

namespace torvik {

class frmRunnerMain;

/// Has the form's job file checked by a process of its own, as torvik-admin job check does; the
/// form goes on meanwhile and is shown what was found.
class JobChecker final : public QObject {
 public:
  /// `admin`: the path of torvik-admin; empty where there is none.
  JobChecker(frmRunnerMain& form, const std::string& admin, QObject* parent);
  ~JobChecker() override;

  void Start();

 private:
  void Finish();

  frmRunnerMain& form_;
  const QString admin_;
  QProcess process_;
};

}  // namespace torvik
