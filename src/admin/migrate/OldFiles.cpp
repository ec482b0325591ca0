#include "admin/migrate/OldFiles.h"

#include <algorithm>
#include <filesystem>
#include <map>

#include "datalinks/DataLinks.h"
#include "import/PackageImport.h"
#include "migrate/DtsrunLine.h"
#include "platform/PlatformError.h"
#include "platform/Text.h"
#include "platform/linux/LinuxPlatform.h"
#include "platform/linux/settings/IniText.h"

namespace torvik::admin {
namespace {

namespace fs = std::filesystem;

/// Reads one job file line by line: the sections of data links have names of their own.
class OldJobText {
 public:
  OldJobText(LinuxPlatform& platform, std::string text, const std::string& file)
      : platform_(platform), text_(std::move(text)), file_(file) {}

  migrate::OldJobFile Read(migrate::Places& places) {
    migrate::OldJobFile job;
    job.path = file_;
    for (std::size_t at = 0; at < text_.size();) {
      const IniLine line = ReadIniLine(text_, at);
      at = line.end;
      if (line.kind == IniLine::Kind::Section) {
        section_ = platform_.codePages->Ansi().Decode(line.name);
      } else if (line.kind == IniLine::Kind::Key) {
        Take(LowerAscii(line.name), platform_.codePages->Ansi().Decode(IniValue(line.text)), job,
             places);
      }
    }
    if (job.package.empty() && job.server.empty() && job.database.empty())
      job.problem = "it is no job file";
    return job;
  }

 private:
  void Take(const std::string& key, const std::string& value, migrate::OldJobFile& job,
            migrate::Places& places) {
    if (section_.starts_with(kDataLinkSection)) return TakeOfLink(key, value, places);
    if (key == "package") job.package = value;
    if (key == "dtsserver") job.server = value;
    if (key == "dwserver") job.warehouseServer = value;
    if (key == "dwdb") job.database = value;
    if (key == "dtsserver" || key == "dwserver") places.AddServer(value, file_);
    if (key == "logfile" || key == "logfiledir") places.AddPath(value, file_);
  }

  void TakeOfLink(const std::string& key, const std::string& value, migrate::Places& places) {
    const std::string by = file_ + " [" + section_ + "]";
    if (key == "server") places.AddSource(value, "", by);
    if (key == "ftpserver") places.AddFtpServer(value, by);
    if (key == "file" || key == "directory" || key == "remotedir") places.AddPath(value, by);
  }

  LinuxPlatform& platform_;
  const std::string text_, file_;
  std::string section_;
};

/// A dtsrun line of a batch file stands for a job file.
void AddBatchFile(const std::string& file, const std::string& text, migrate::Inventory& inventory) {
  for (const migrate::DtsrunText& line : migrate::DtsrunLinesIn(text)) {
    migrate::OldJobFile job;
    job.path = file;
    try {
      const migrate::DtsrunLine read = migrate::ReadDtsrunLine(line.text);
      job.package = read.package;
      job.server = read.server;
      inventory.places.AddServer(read.server, file);
      inventory.places.AddPath(read.log, file);
    } catch (const PlatformError& error) {
      job.problem = error.Description();
    }
    inventory.jobFiles.push_back(std::move(job));
  }
}

/// A text may build several packages.
void AddPackageText(const std::string& file, const std::string& bytes,
                    migrate::Inventory& inventory) {
  std::vector<std::string> procedures = importing::PackageProcedures(file, bytes);
  if (procedures.empty()) procedures.emplace_back();
  for (const std::string& procedure : procedures)
    inventory.packageFiles.push_back(
        {file, {}, importing::ImportPackage(file, bytes, {}, {procedure, ""}).name, {}});
}

void AddPackageFile(const std::string& file, const std::string& bytes,
                    migrate::Inventory& inventory) {
  try {
    if (importing::IsPackageContainer(bytes))
      inventory.packageFiles.push_back(
          {file, importing::ReadPackageContainer(file, bytes), {}, {}});
    else
      AddPackageText(file, bytes, inventory);
  } catch (const PlatformError& error) {
    inventory.packageFiles.push_back({file, {}, {}, error.Description()});
  }
}

void AddFile(LinuxPlatform& platform, const fs::path& path, migrate::Inventory& inventory) {
  const std::string ending = LowerAscii(path.extension().string()), file = path.string();
  const auto is = [&](std::initializer_list<const char*> endings) {
    return std::ranges::any_of(endings, [&](const char* one) { return ending == one; });
  };
  if (ending == ".etl")
    inventory.jobFiles.push_back(
        OldJobText(platform, ReadText(*platform.files, file), file).Read(inventory.places));
  else if (is({".bat", ".cmd"}))
    AddBatchFile(file, platform.codePages->Ansi().Decode(ReadText(*platform.files, file)),
                 inventory);
  else if (is({".dts", ".bas", ".cls", ".frm", ".vb", ".vbs"}))
    AddPackageFile(file, ReadText(*platform.files, file), inventory);
}

/// The files below a directory by their names, those of links to directories left out.
std::vector<fs::path> FilesBelow(const std::string& directory) {
  std::vector<fs::path> files;
  std::error_code error;
  for (fs::recursive_directory_iterator entry(directory, error), end; !error && entry != end;
       entry.increment(error))
    if (entry->is_regular_file(error)) files.push_back(entry->path());
  if (error)
    throw PlatformError(error.value(), directory + " cannot be read: " + error.message(),
                        "inventory");
  std::ranges::sort(files);
  return files;
}

}  // namespace

void ReadOldFiles(LinuxPlatform& platform, const std::string& directory,
                  migrate::Inventory& inventory) {
  for (const fs::path& file : FilesBelow(directory)) try {
      AddFile(platform, file, inventory);
    } catch (const PlatformError& error) {
      inventory.unread.push_back(error.Description());
    }
}

std::vector<std::string> PackagesOfJobs(LinuxPlatform& platform, const std::string& directory) {
  migrate::Inventory here;
  std::error_code error;
  if (fs::is_directory(directory, error)) ReadOldFiles(platform, directory, here);
  std::vector<std::string> packages;
  for (const migrate::OldJobFile& job : here.jobFiles)
    if (LowerAscii(fs::path(job.path).extension().string()) == ".etl")
      packages.push_back(job.package);
  return packages;
}

}  // namespace torvik::admin
