#pragma once

#include <string>

namespace torvik {

class ExecDTSPackage;
class MainForm;
struct Program;
struct PlatformError;

/// The run of one job from start to end, over the main form's fields.
class RunDriver {
 public:
  RunDriver(Program& program, MainForm& form) : program_(program), form_(form) {}

  /// The unattended run: executes the job when every field that it needs is filled, copies the
  /// exception log to the file that the command line names, and closes the form.
  void Run();

  /// Executes the job that the form holds. Failures go to the log and the status file, in the
  /// interactive modes to message boxes as well; none leaves here.
  void ExecuteJob();

 private:
  void LoadAndExecute();
  void LogHeader(const ExecDTSPackage& job);
  void ReportLoadFailure(const ExecDTSPackage& job);
  bool DataLinksAreLoaded();
  bool StoreLinksAndFetchRemoteData(ExecDTSPackage& job);
  void ExecutePackage(ExecDTSPackage& job);
  void ReportExecuteFailure(const ExecDTSPackage& job, const std::string& raised);
  void Fail();
  void Log(const std::string& text);
  void ShowBox(const std::string& text, const std::string& title);

  Program& program_;
  MainForm& form_;
};

}  // namespace torvik
