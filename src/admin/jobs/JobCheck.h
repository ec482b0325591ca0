#pragma once

#include <memory>
#include <string>

#include "admin/common/CheckReport.h"
#include "config/JobSettings.h"
#include "platform/Files.h"
#include "platform/Profile.h"
#include "platform/Shell.h"
#include "platform/linux/system/PathMap.h"

namespace torvik {
class cDataSource;
struct LinuxPlatform;
}  // namespace torvik

namespace torvik::admin {

/// A job that is looked at. Nothing that is done with it makes or changes a file, not even the
/// directory of a drive, which the use of a path makes otherwise.
struct JobUnderCheck {
  /// Reads the job file. Throws PlatformError when it cannot be read or is no job file.
  JobUnderCheck(LinuxPlatform& linux, const std::string& file);

  LinuxPlatform& platform;
  PathMap paths;
  std::unique_ptr<Files> files;
  std::unique_ptr<Profile> profile;
  std::unique_ptr<Shell> shell;
  std::string text;  ///< Of the job file.
  JobSettings job;   ///< Its log directory is the one that a run uses.
  CheckReport report;
  std::vector<std::string> within = {};  ///< The files of the jobs whose steps run it.
};

/// All of the checks below.
void CheckJob(JobUnderCheck& check);

/// What can be said of a place where a directory is needed.
struct DirectoryState {
  enum class Kind { There, CanBeMade, Unusable } kind;
  std::string words;  ///< Begins with the path.
};

/// Whether a directory can be read, or written to when `toWrite` is set, or be made.
DirectoryState LookAtDirectory(const PathMap& paths, const std::string& path, bool toWrite);

/// False, and a problem is reported, when the workbook or Access file of a connection cannot be
/// read. A text that the settings know as a server is no file.
bool RequireReadable(JobUnderCheck& check, const std::string& what, const std::string& path);

/// Why a job file that holds passwords should not be as it is: others may read it. A job file's
/// passwords are scrambled, which hides them from a glance and from nobody else.
std::string OpenPasswords(const JobUnderCheck& check);

/// Each of these adds its rows to the report. What depends on a thing with a problem is listed as
/// not checked.
void CheckSettings(JobUnderCheck& check);
void CheckLogPlaces(JobUnderCheck& check);
void CheckPackage(JobUnderCheck& check);
void CheckDataLinks(JobUnderCheck& check);

/// Opens what one data link names.
void CheckLinkSource(JobUnderCheck& check, const cDataSource& link);

/// Goes where the remote data of a data link come from and reads the status there, but leaves it as
/// it is.
void CheckRemoteData(JobUnderCheck& check, const cDataSource& link);

/// True for a data link whose data a run fetches.
bool IsFetched(const cDataSource& link);

}  // namespace torvik::admin
