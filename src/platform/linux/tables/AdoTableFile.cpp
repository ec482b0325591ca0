#include "platform/linux/tables/AdoTableFile.h"

#include <algorithm>
#include <array>
#include <filesystem>

#include "platform/Text.h"
#include "platform/linux/sqlite/AdoSqlite.h"
#include "platform/linux/system/Posix.h"
#include "platform/linux/tables/TableFileModule.h"
#include "platform/linux/tables/access/AccessFile.h"
#include "platform/linux/tables/dbase/DbaseDirectory.h"
#include "platform/linux/tables/excel/ExcelFile.h"

namespace torvik {
namespace {

/// The first bytes of the file, at most as many as tell its kind.
std::string HeadOf(const std::string& path) {
  std::array<char, 512> head{};
  const Descriptor file = OpenFile(path, O_RDONLY | O_NONBLOCK);
  const ssize_t size = file.IsOpen() ? read(file.Number(), head.data(), head.size()) : -1;
  if (size < 0)
    throw TableFileError(path, "cannot be read: " + LastSystemError().message() +
                                   "; check the path and the rights on it");
  return {head.data(), static_cast<std::size_t>(size)};
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

std::unique_ptr<TableFile> OpenByContent(const std::string& path,
                                         const std::string& extendedProperties) {
  using namespace std::string_view_literals;
  const std::string head = HeadOf(path);
  if (head.starts_with("\xD0\xCF\x11\xE0\xA1\xB1\x1A\xE1"sv))
    return OpenExcelFile(path, ExcelFormat::Xls, extendedProperties);
  if (head.starts_with("PK\3\4"sv))
    return OpenExcelFile(path, ExcelFormat::Xlsx, extendedProperties);
  for (const std::string_view engine : {"Standard Jet DB\0"sv, "Standard ACE DB\0"sv})
    if (std::string_view(head).substr(std::min<std::size_t>(4, head.size())).starts_with(engine))
      return OpenAccessFile(path);
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
