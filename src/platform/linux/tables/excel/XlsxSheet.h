#pragma once

#include <string>
#include <vector>

#include "platform/linux/tables/excel/Workbook.h"
#include "platform/linux/tables/excel/XmlReader.h"

namespace torvik {

/// A cell holds 32,767 characters; other programs than the usual one may write more, within reason.
inline constexpr std::size_t kLongestXlsxText = std::size_t{1} << 20;

/// Collects the text of a shared or an inline string out of its runs, without what only tells how
/// it is pronounced.
class XlsxText {
 public:
  void Begin(std::string_view element);
  void End(std::string_view element);
  /// False, and the part left out, when the text gets too long.
  [[nodiscard]] bool Add(std::string_view part);

  /// The text so far, taken. "_x000D_" stands for the character of that number.
  std::string Take();

 private:
  std::string text_;
  int phonetic_ = 0;
  bool isInText_ = false;
};

/// Reads the XML of one sheet into its cells. Texts that the sheet itself holds are added to the
/// workbook's. Throws std::runtime_error, with the cell's name, for what no sheet can hold.
class XlsxSheetHandler final : public XmlHandler {
 public:
  /// `formats` are the number kinds of the cell formats by their position; the first `sharedTexts`
  /// of the workbook's texts are the shared ones.
  XlsxSheetHandler(Workbook& workbook, CellGrid& cells, const std::vector<NumberKind>& formats,
                   std::size_t sharedTexts)
      : workbook_(workbook), cells_(cells), formats_(formats), sharedTexts_(sharedTexts) {}

  void Begin(std::string_view element, const XmlAttributes& attributes) override;
  void End(std::string_view element) override;
  void Text(std::string_view part) override;

 private:
  void BeginRow(const XmlAttributes& attributes);
  void BeginCell(const XmlAttributes& attributes);
  void EndCell();
  void AddText(std::string text);
  void AddSharedText();
  void AddDate();
  NumberKind Format() const;
  [[noreturn]] void Refuse(const std::string& reason) const;

  Workbook& workbook_;
  CellGrid& cells_;
  const std::vector<NumberKind>& formats_;
  const std::size_t sharedTexts_;
  std::int64_t row_ = -1, column_ = -1;
  std::string type_, value_;  ///< Of the current cell.
  std::size_t format_ = 0;
  XlsxText inlineText_;
  bool isInCell_ = false, isInValue_ = false, hasInlineText_ = false;
};

}  // namespace torvik
