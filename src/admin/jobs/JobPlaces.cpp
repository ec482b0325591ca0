#include <unistd.h>

#include <filesystem>

#include "admin/jobs/JobCheck.h"
#include "config/FileUtils.h"
#include "config/LogDirectory.h"
#include "platform/linux/LinuxPlatform.h"
#include "platform/linux/system/Posix.h"

namespace torvik::admin {
namespace {

namespace fs = std::filesystem;
using Kind = DirectoryState::Kind;

fs::path WithoutTrailingSeparator(const fs::path& path) {
  return path.has_filename() ? path : path.parent_path();
}

/// The nearest place on the way up that is there.
fs::path NearestThere(fs::path path, std::error_code& error) {
  while (fs::status(path, error).type() == fs::file_type::not_found && path.has_relative_path()) {
    path = path.parent_path();
  }
  if (fs::exists(fs::status(path, error))) error.clear();
  return path;
}

DirectoryState LookAt(const fs::path& directory, const std::string& named, bool toWrite) {
  std::error_code error;
  const fs::path wanted = WithoutTrailingSeparator(fs::absolute(directory, error));
  const fs::path there = NearestThere(wanted, error);
  if (error) return {Kind::Unusable, named + ": " + there.string() + ": " + error.message()};
  if (!fs::is_directory(there, error)) {
    return {Kind::Unusable, named + ": " + there.string() + " is not a directory"};
  }
  const bool isThere = there == wanted;
  const int rights = toWrite || !isThere ? W_OK | X_OK : R_OK | X_OK;
  if (access(there.c_str(), rights) != 0) {
    return {Kind::Unusable, named + ": no right to " + (rights & W_OK ? "write to " : "read ") +
                                there.string() + ": " + LastSystemError().message()};
  }
  if (isThere) return {Kind::There, named + " is there"};
  return {Kind::CanBeMade, named + " is not there; it can be made below " + there.string()};
}

bool IsInside(const fs::path& inner, const fs::path& outer) {
  const auto relative = inner.lexically_normal().lexically_relative(outer.lexically_normal());
  return !relative.empty() && *relative.begin() != "..";
}

void CheckLogFile(JobUnderCheck& check, const std::string& path, const fs::path& file) {
  std::error_code error;
  const fs::file_status status = fs::status(file, error);
  if (!fs::exists(status)) return check.report.Ok("exception log", path + " can be made");
  if (fs::is_directory(status)) {
    check.report.Problem("exception log", path + " is a directory; name a file with LogFile");
  } else if (access(file.c_str(), W_OK) != 0) {
    check.report.Problem("exception log", path + ": " + LastSystemError().message() +
                                              "; give the right to write to it");
  } else {
    check.report.Ok("exception log", path + " is there");
  }
}

/// When a run makes the directory, or the empty text: it makes the root of a drive, the log
/// directory and no other.
std::string WhenRunMakes(const JobUnderCheck& check, const fs::path& directory) {
  const fs::path drives = fs::path(check.platform.settings.stateDirectory) / "drives";
  if (directory.parent_path() == drives) return "at its start";
  std::error_code error;
  const fs::path logDirectory = check.paths.ToLinux(check.job.LogFileDir, error);
  if (check.files->IsRoot(check.job.LogFileDir) || error || !IsInside(logDirectory, directory))
    return {};
  return "after the log's first line";
}

void CheckExceptionLog(JobUnderCheck& check) {
  const std::string& path = check.job.ExceptionLogFile;
  std::error_code error;
  const fs::path file = check.paths.ToLinux(path, error);
  if (error) return check.report.Problem("exception log", path + ": " + error.message());
  const fs::path directory = file.has_parent_path() ? file.parent_path() : ".";
  const DirectoryState state = LookAt(directory, "the directory of " + path, true);
  switch (state.kind) {
    case Kind::There: return CheckLogFile(check, path, file);
    case Kind::Unusable: return check.report.Problem("exception log", state.words);
    case Kind::CanBeMade: break;
  }
  const std::string when = WhenRunMakes(check, directory);
  if (when.empty()) {
    check.report.Problem("exception log", state.words + ", but a run does not make it; make it");
  } else {
    check.report.Ok("exception log", state.words + ", and a run makes it " + when);
  }
}

/// A run deletes every file of the directory, whoever wrote it.
bool ReportForeignFiles(JobUnderCheck& check) {
  const JobSettings& job = check.job;
  const auto findings = ForeignFiles(*check.files, {job.LogFileDir, job.DTSPackageName,
                                                    job.ExceptionLogFile, job.TorvConfigFile, ""});
  for (const std::string& finding : findings) {
    check.report.Problem("log directory", job.LogFileDir + " holds " + finding +
                                              ", which a run deletes; name a directory of the "
                                              "job's own with LogFileDir");
  }
  return !findings.empty();
}

void CheckLogDirectory(JobUnderCheck& check) {
  const std::string& path = check.job.LogFileDir;
  if (check.files->IsRoot(path)) {
    return check.report.Problem("log directory",
                                "LogFileDir is \"" + path +
                                    "\", in which a run cannot log; name a directory of the job's "
                                    "own");
  }
  if (const std::string reason = WhyUnusable(*check.files, path); !reason.empty())
    return check.report.Problem("log directory", reason);
  if (ReportForeignFiles(check)) return;
  const DirectoryState state = LookAtDirectory(check.paths, path, true);
  std::vector<std::string> names;
  switch (state.kind) {
    case Kind::Unusable: return check.report.Problem("log directory", state.words);
    case Kind::CanBeMade:
      return check.report.Ok("log directory", state.words + ", and a run makes it");
    case Kind::There: check.files->ListFiles(path, names);
  }
  check.report.Ok("log directory", state.words + "; a run removes the files in it, " +
                                       std::to_string(names.size()) + " now");
}

}  // namespace

DirectoryState LookAtDirectory(const PathMap& paths, const std::string& path, bool toWrite) {
  std::error_code error;
  const std::string directory = paths.ToLinux(path, error);
  if (error) return {Kind::Unusable, path + ": " + error.message()};
  return LookAt(directory, path, toWrite);
}

bool RequireReadable(JobUnderCheck& check, const std::string& what, const std::string& path) {
  if (check.platform.settings.FindServer(path) != nullptr) return true;
  const auto error = check.files->CheckReadable(path);
  if (error) {
    check.report.Problem(what, path + ": " + error.message() + "; correct the path of the file");
  }
  return !error;
}

void CheckLogPlaces(JobUnderCheck& check) {
  const JobSettings& job = check.job;
  if (!job.ExceptionLogFile.empty()) CheckExceptionLog(check);
  if (FileNameOf(job.ExceptionLogFile) == job.DTSPackageName + ".log") {
    check.report.Warning("exception log", job.ExceptionLogFile +
                                              " has the name of the package's own log; choose "
                                              "another one with LogFile");
  }
  CheckLogDirectory(check);
}

}  // namespace torvik::admin
