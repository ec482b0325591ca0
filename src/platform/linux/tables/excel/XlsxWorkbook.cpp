#include "platform/linux/tables/excel/XlsxWorkbook.h"

#include <charconv>
#include <functional>
#include <map>
#include <stdexcept>
#include <utility>

#include "platform/linux/tables/common/TableFile.h"
#include "platform/linux/tables/excel/XlsxSheet.h"
#include "platform/linux/tables/excel/XmlReader.h"

namespace torvik {
namespace {

/// A handler that is nothing but one function for the begin of elements.
class ElementHandler final : public XmlHandler {
 public:
  using OnBegin = std::function<void(std::string_view, const XmlAttributes&)>;
  explicit ElementHandler(OnBegin onBegin) : onBegin_(std::move(onBegin)) {}

  void Begin(std::string_view element, const XmlAttributes& attributes) override {
    onBegin_(element, attributes);
  }
  void End(std::string_view) override {}
  void Text(std::string_view) override {}

 private:
  const OnBegin onBegin_;
};

class SharedTextHandler final : public XmlHandler {
 public:
  explicit SharedTextHandler(std::vector<std::string>& texts) : texts_(texts) {}

  void Begin(std::string_view element, const XmlAttributes&) override { text_.Begin(element); }
  void End(std::string_view element) override {
    text_.End(element);
    if (element == "si") texts_.push_back(text_.Take());
  }
  void Text(std::string_view part) override {
    if (!text_.Add(part))
      throw std::runtime_error("shared text " + std::to_string(texts_.size() + 1) +
                               " is longer than 1 MiB");
  }

 private:
  std::vector<std::string>& texts_;
  XlsxText text_;
};

int NumberIn(std::string_view text) {
  int number = 0;
  std::from_chars(text.data(), text.data() + text.size(), number);
  return number;
}

/// The number kinds of cell formats out of the styles.
class StyleHandler final : public XmlHandler {
 public:
  explicit StyleHandler(std::vector<NumberKind>& formats) : formats_(formats) {}

  void Begin(std::string_view element, const XmlAttributes& attributes) override {
    if (element == "numFmt")
      codes_[NumberIn(attributes["numFmtId"])] = NumberKindOf(attributes["formatCode"]);
    if (element == "cellXfs") isInCellFormats_ = true;
    if (element == "xf" && isInCellFormats_)
      formats_.push_back(KindOf(NumberIn(attributes["numFmtId"])));
  }
  void End(std::string_view element) override {
    if (element == "cellXfs") isInCellFormats_ = false;
  }
  void Text(std::string_view) override {}

 private:
  NumberKind KindOf(int format) const {
    const auto own = codes_.find(format);
    return own == codes_.end() ? NumberKindOf(format) : own->second;
  }

  std::vector<NumberKind>& formats_;
  std::map<int, NumberKind> codes_;
  bool isInCellFormats_ = false;
};

struct Relation {
  std::string type;  ///< The last word of its address: "worksheet".
  std::string part;
};

class XlsxReader {
 public:
  XlsxReader(const std::string& path, ContainerFile& package) : path_(path), package_(package) {}

  Workbook Read() {
    const std::string main = WorkbookPart();
    if (main.ends_with(".bin"))
      throw TableFileError(path_,
                           "is a binary workbook (.xlsb), which is not read here; save it as "
                           ".xlsx");
    const auto relations = ReadRelations(main);
    if (!TryRead(main, ElementHandler([&](std::string_view element, const XmlAttributes& a) {
                   TakeElement(element, a, relations);
                 })))
      throw TableFileError(path_, "is no workbook: it lacks the part " + main);
    for (const auto& [id, relation] : relations) {
      if (relation.type == "sharedStrings")
        TryRead(relation.part, SharedTextHandler(workbook_.texts));
      if (relation.type == "styles") TryRead(relation.part, StyleHandler(formats_));
    }
    if (workbook_.sheets.empty())
      throw TableFileError(path_, "is an Office document without a worksheet");
    sharedTexts_ = workbook_.texts.size();
    for (std::size_t i = 0; i < workbook_.sheets.size(); ++i)
      ReadSheet(workbook_.sheets[i], sheetParts_[i]);
    return std::move(workbook_);
  }

 private:
  std::string WorkbookPart() {
    for (const auto& [id, relation] : ReadRelations(""))
      if (relation.type == "officeDocument") return relation.part;
    throw TableFileError(path_,
                         "is no workbook: it is a zip file without an Office document; open "
                         "it in a spreadsheet program and save it as .xlsx");
  }

  void TakeElement(std::string_view element, const XmlAttributes& attributes,
                   const std::map<std::string, Relation>& relations) {
    if (element == "workbookPr")
      workbook_.countsFrom1904 = attributes["date1904"] == "1" || attributes["date1904"] == "true";
    if (element != "sheet") return;
    const auto relation = relations.find(std::string(attributes["id"]));
    // Sheets of charts and macros have no cells.
    if (relation == relations.end() || relation->second.type != "worksheet") return;
    workbook_.sheets.push_back({std::string(attributes["name"]), {}});
    sheetParts_.push_back(relation->second.part);
  }

  void ReadSheet(Sheet& sheet, const std::string& part) {
    const bool found =
        TryRead(part, XlsxSheetHandler(workbook_, sheet.cells, formats_, sharedTexts_));
    if (!found) throw Damaged(part, "it is missing");
    sheet.cells.Finish();
  }

  /// By their ids. `part` is that whose relations they are.
  std::map<std::string, Relation> ReadRelations(const std::string& part) {
    const std::size_t folderEnd = part.rfind('/') + 1;
    const std::string folder = part.substr(0, folderEnd);
    std::map<std::string, Relation> relations;
    TryRead(folder + "_rels/" + part.substr(folderEnd) + ".rels",
            ElementHandler([&](std::string_view element, const XmlAttributes& attributes) {
              if (element != "Relationship") return;
              const std::string_view type = attributes["Type"];
              relations[std::string(attributes["Id"])] = {
                  std::string(type.substr(type.rfind('/') + 1)),
                  PartAt(folder, attributes["Target"])};
            }));
    return relations;
  }

  static std::string PartAt(std::string folder, std::string_view target) {
    if (target.starts_with('/')) return std::string(target.substr(1));
    while (target.starts_with("../")) {
      target.remove_prefix(3);
      folder.resize(folder.rfind('/', folder.size() < 2 ? 0 : folder.size() - 2) + 1);
    }
    if (target.starts_with("./")) target.remove_prefix(2);
    return folder + std::string(target);
  }

  /// False when the package has no such part.
  template <typename Handler>
  bool TryRead(const std::string& part, Handler handler) {
    const auto file = package_.Open(part);
    if (!file) return false;
    std::string problem;
    try {
      problem = ReadXml([&] { return file->Next(); }, handler);
    } catch (const PlatformError&) {
      throw;
    } catch (const std::runtime_error& error) {
      problem = error.what();
    }
    if (!problem.empty()) throw Damaged(part, problem);
    return true;
  }

  PlatformError Damaged(const std::string& part, const std::string& reason) const {
    return TableFileError(path_, "is damaged: its part " + part + ": " + reason +
                                     "; open it in a spreadsheet program and save it anew");
  }

  const std::string& path_;
  ContainerFile& package_;
  Workbook workbook_;
  std::vector<std::string> sheetParts_;
  std::vector<NumberKind> formats_;
  std::size_t sharedTexts_ = 0;
};

}  // namespace

Workbook ReadXlsxWorkbook(const std::string& path, ContainerFile& package) {
  return XlsxReader(path, package).Read();
}

}  // namespace torvik
