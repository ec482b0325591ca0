#pragma once

#include <string>

#include "startup/RunLocks.h"

namespace torvik {

class ExecDTSPackage;
class MainForm;
struct Program;

/// The run of one job from start to end, over the main form's fields.
class RunDriver {
 public:
  RunDriver(Program& program, MainForm& form) : program_(program), form_(form), locks_(program) {}

  /// The unattended run: executes the job when every field that it needs is filled, copies the
  /// exception log to the file that the command line names, and closes the form.
  void Run();

  /// Executes the job that the form holds, unless another run stands in the way. Failures go to the
  /// log and the status file, in the interactive modes to message boxes as well; none leaves here.
  void ExecuteJob();

 private:
  bool Execute();
  bool BeginsAlone(const ExecDTSPackage& job);
  void LoadAndExecute(ExecDTSPackage& job);
  void LogHeader(const ExecDTSPackage& job);
  void ReportLoadFailure(const ExecDTSPackage& job);
  bool GoesOn(ExecDTSPackage& job);
  bool DataLinksAreLoaded();
  bool StoreLinksAndFetchRemoteData(ExecDTSPackage& job);
  void ShowMissingData();
  void ExecutePackage(ExecDTSPackage& job);
  void ReportExecuteFailure(const ExecDTSPackage& job, const std::string& raised);
  void TellGatheringProblems();
  void Succeed(const ExecDTSPackage& job);
  void EndUnexpectedly(const std::string& reason);
  void EndByExit();
  void Fail();
  void CopyLog();
  void Record(const ExecDTSPackage& job);
  void RecordWithoutVerdict();
  void Log(const std::string& text);
  void ShowBox(const std::string& text, const std::string& title);

  Program& program_;
  MainForm& form_;
  RunLocks locks_;
  bool hasVerdict_ = false;  // it is written, and stands
};

}  // namespace torvik
