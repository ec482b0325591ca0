#pragma once

#include <string>

#include "log/LogForm.h"

namespace torvik {

class ExecDTSPackage;

/// How a run has ended, as far as it has come to a verdict.
enum class RunVerdict { None, Ok, Failure };

/// The main form as the start of the program and the run driver see it.
class MainForm : public LogForm {
 public:
  // Set before Show, which reads the job file.
  std::string TorvConfigFile;
  std::string QXJobConfigFile;
  std::string StatusFile;
  std::string LogFile;
  bool StartInConfigMode = false;
  virtual void SetStartInQXJobConfigMode(bool on) = 0;

  /// Loads the job file, or the defaults, into the fields and shows the form.
  virtual void Show() = 0;
  /// The unattended run; does nothing in the interactive modes.
  virtual void Run() = 0;
  virtual bool IsOpen() const = 0;
  virtual void Close() = 0;

  /// True when every field that a run needs is filled; enables or disables Execute and Save.
  virtual bool CheckInputComplete() = 0;
  /// Copies the fields into the form's job and answers that job.
  virtual ExecDTSPackage& FormToJob() = 0;
  /// Connects to the data warehouse and loads the job's data links; false after telling why not.
  virtual bool getDataLinkInfo() = 0;
  /// While busy, Execute and Save are disabled and Close does not close.
  virtual void SetBusy(bool busy) = 0;
  /// Shows how the run has ended.
  virtual void ShowVerdict(RunVerdict verdict) = 0;
};

}  // namespace torvik
