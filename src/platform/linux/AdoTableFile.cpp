#include "platform/linux/AdoTableFile.h"

#include <algorithm>
#include <array>
#include <filesystem>

#include "platform/Text.h"
#include "platform/linux/AccessFile.h"
#include "platform/linux/AdoSqlite.h"
#include "platform/linux/ContainerFile.h"
#include "platform/linux/DbaseDirectory.h"
#include "platform/linux/Posix.h"
#include "platform/linux/TableFileModule.h"
#include "platform/linux/WorkbookFile.h"
#include "platform/linux/XlsWorkbook.h"
#include "platform/linux/XlsxWorkbook.h"

namespace torvik {
namespace {

/// The first bytes of the file, at most as many as tell its kind.
std::string HeadOf(const std::string& path) {
  std::array<char, 512> head{};
  const Descriptor file = OpenFile(path, O_RDONLY);
  const ssize_t size = file.IsOpen() ? read(file.Number(), head.data(), head.size()) : -1;
  if (size < 0)
    throw TableFileError(path, "cannot be read: " + LastSystemError().message() +
                                   "; check the path and the rights on it");
  return {head.data(), static_cast<std::size_t>(size)};
}

PlatformError NotReadHere(const std::string& path, const std::string& libraries) {
  return TableFileError(path, "cannot be read by this build, which was made without " + libraries +
                                  "; run scripts/install-packages and build it anew");
}

/// What a file is that is no workbook and no Access file.
std::string KindOfOther(std::string_view head) {
  const std::string text = LowerAscii(head);
  if (head.empty()) return "is empty";
  if (text.find("<html") != std::string::npos || text.find("<table") != std::string::npos)
    return "is a web page (HTML)";
  if (text.find("<?xml") != std::string::npos) return "is an XML document";
  const bool isText = head.find('\0') == std::string_view::npos;
  return isText ? "is a text file" : "is neither a workbook nor an Access file";
}

std::unique_ptr<TableFile> OpenWorkbook(const std::string& path, bool isZip,
                                        const WorkbookOptions& options) {
  if constexpr (!TORVIK_HAS_WORKBOOKS) {
    throw NotReadHere(path, "libgsf and expat");
  } else {
    const auto container = isZip ? OpenZipFile(path) : OpenCompoundFile(path);
    return NewWorkbookFile(
        isZip ? ReadXlsxWorkbook(path, *container) : ReadXlsWorkbook(path, *container), options);
  }
}

std::unique_ptr<TableFile> OpenAccess(const std::string& path) {
  if constexpr (!TORVIK_HAS_ACCESS_FILES)
    throw NotReadHere(path, "libmdb");
  else
    return OpenAccessFile(path);
}

std::unique_ptr<TableFile> OpenByContent(const std::string& path,
                                         const std::string& extendedProperties) {
  using namespace std::string_view_literals;
  const WorkbookOptions options = ReadWorkbookOptions(extendedProperties);
  const std::string head = HeadOf(path);
  if (head.starts_with("\xD0\xCF\x11\xE0\xA1\xB1\x1A\xE1"sv))
    return OpenWorkbook(path, false, options);
  if (head.starts_with("PK\3\4"sv)) return OpenWorkbook(path, true, options);
  for (const std::string_view engine : {"Standard Jet DB\0"sv, "Standard ACE DB\0"sv})
    if (std::string_view(head).substr(std::min<std::size_t>(4, head.size())).starts_with(engine))
      return OpenAccess(path);
  throw TableFileError(path, KindOfOther(head) +
                                 ", whatever its name says; open it in the program that wrote it "
                                 "and save it as .xlsx, or read it as a flat file");
}

}  // namespace

std::unique_ptr<AdoDatabase> OpenTableFile(const std::string& path,
                                           const std::string& extendedProperties) {
  if (LowerAscii(extendedProperties).starts_with("dbase")) {
    std::error_code ignored;
    const std::filesystem::path place(path);
    // Some name a file instead of the directory that it lies in.
    const auto directory =
        std::filesystem::is_directory(place, ignored) ? place : place.parent_path();
    return OpenReadOnlyTables(directory.stem(), path,
                              NewTableFileModule(OpenDbaseDirectory(directory)));
  }
  return OpenReadOnlyTables(std::filesystem::path(path).stem(), path,
                            NewTableFileModule(OpenByContent(path, extendedProperties)));
}

}  // namespace torvik
