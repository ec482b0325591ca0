#include "platform/linux/tables/excel/XlsWorkbook.h"

#include <map>
#include <stdexcept>
#include <utility>

#include "platform/linux/tables/common/TableFile.h"
#include "platform/linux/tables/excel/XlsSheet.h"
#include "platform/linux/text/IconvCodePages.h"

namespace torvik {
namespace {

using enum XlsRecordType;

/// iconv's name of a code page as workbooks number them.
std::string CodePageName(unsigned number) {
  constexpr unsigned kAscii = 367, kMacintosh = 10000, kMacintoshOf5 = 32768, kWindowsOf5 = 32769;
  if (number == kAscii || number == kWindowsOf5) return "windows-1252";
  if (number == kMacintosh || number == kMacintoshOf5) return "macintosh";
  return "cp" + std::to_string(number);
}

class XlsReader {
 public:
  XlsReader(const std::string& path, std::string stream)
      : path_(path), stream_(std::move(stream)) {}

  Workbook Read() {
    try {
      ReadGlobals();
      for (std::size_t i = 0; i < workbook_.sheets.size(); ++i)
        ReadXlsSheet(stream_, sheetPositions_[i], globals_, workbook_, workbook_.sheets[i].cells);
      return std::move(workbook_);
    } catch (const PlatformError&) {
      throw;
    } catch (const std::runtime_error& error) {
      throw TableFileError(path_, std::string("is damaged: ") + error.what() +
                                      "; open it in a spreadsheet program and save it anew");
    }
  }

 private:
  void ReadGlobals() {
    SetCodePage(1252);
    std::size_t position = 0;
    for (;;) {
      const auto record = TakeXlsRecord(stream_, position);
      if (!record) throw std::runtime_error("its list of sheets does not end");
      const auto type = static_cast<XlsRecordType>(record->type);
      if (type == EndOfFile) break;
      Take(type, XlsBytes(record->pieces));
    }
    globals_.sharedTexts = workbook_.texts.size();
    for (const int format : cellFormats_) {
      const auto own = numberFormats_.find(format);
      globals_.formats.push_back(own == numberFormats_.end() ? NumberKindOf(format) : own->second);
    }
  }

  void Take(XlsRecordType type, XlsBytes bytes) {
    switch (type) {
      case BeginOfFile: TakeVersion(bytes); break;
      case FilePassword:
        throw TableFileError(path_,
                             "is protected by a password; open it in a spreadsheet program "
                             "and save it without one");
      case CodePage: SetCodePage(bytes.Word()); break;
      case DateMode: workbook_.countsFrom1904 = bytes.Word() != 0; break;
      case NumberFormat: TakeNumberFormat(bytes); break;
      case CellFormat:
        bytes.Skip(2);
        cellFormats_.push_back(bytes.Word());
        break;
      case SharedTexts: TakeSharedTexts(bytes); break;
      case BoundSheet: TakeSheet(bytes); break;
      default: break;
    }
  }

  void TakeVersion(XlsBytes& bytes) {
    constexpr unsigned kBiff5 = 0x0500, kBiff8 = 0x0600;
    const unsigned version = bytes.Word();
    globals_.isBiff8 = version == kBiff8;
    if (version != kBiff5 && version != kBiff8)
      throw TableFileError(path_,
                           "is a workbook of a version that is not read here; save it as "
                           ".xlsx");
  }

  void SetCodePage(unsigned number) {
    constexpr unsigned kUtf16 = 1200;
    if (number == kUtf16) return;
    globals_.codePage = NewIconvCodePages("windows-1252")->Open(CodePageName(number));
    if (!globals_.codePage && !globals_.isBiff8)
      throw TableFileError(path_, "has texts in code page " + std::to_string(number) +
                                      ", which is not read here; save it as .xlsx");
  }

  void TakeNumberFormat(XlsBytes& bytes) {
    const int number = bytes.Word();
    std::string code;
    if (globals_.isBiff8) {
      code = bytes.Text();
    } else {
      const std::size_t size = bytes.Byte();
      code = bytes.Bytes(size);
    }
    numberFormats_[number] = NumberKindOf(code);
  }

  void TakeSharedTexts(XlsBytes& bytes) {
    bytes.Skip(4);
    for (std::uint32_t left = bytes.Long(); left > 0; --left)
      workbook_.texts.push_back(bytes.Text());
  }

  void TakeSheet(XlsBytes& bytes) {
    constexpr unsigned kWorksheet = 0;
    const std::size_t position = bytes.Long();
    bytes.Skip(1);
    if (bytes.Byte() != kWorksheet) return;
    const std::size_t size = bytes.Byte();
    std::string name;
    if (globals_.isBiff8) {
      const bool isWide = (bytes.Byte() & 1) != 0;
      name = bytes.Characters(size, isWide);
    } else {
      name = globals_.codePage->Decode(bytes.Bytes(size));
    }
    workbook_.sheets.push_back({name, {}});
    sheetPositions_.push_back(position);
  }

  const std::string& path_;
  const std::string stream_;
  Workbook workbook_;
  XlsGlobals globals_;
  std::vector<std::size_t> sheetPositions_;
  std::vector<int> cellFormats_;
  std::map<int, NumberKind> numberFormats_;
};

}  // namespace

Workbook ReadXlsWorkbook(const std::string& path, ContainerFile& file) {
  // Documents from two eras may stand side by side; the later one holds more.
  for (const char* name : {"Workbook", "Book"})
    if (const auto stream = file.Open(name)) return XlsReader(path, ReadContained(*stream)).Read();
  if (file.Open("EncryptedPackage"))
    throw TableFileError(path,
                         "is encrypted with a password; open it in a spreadsheet program and "
                         "save it without one");
  throw TableFileError(path,
                       "is no workbook: it is another document of an office program; open it "
                       "in the program that wrote it and save it as .xlsx");
}

}  // namespace torvik
