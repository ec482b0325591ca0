#pragma once

#include <memory>
#include <string>

#include "platform/linux/tables/common/TableFile.h"
#include "platform/linux/tables/excel/Workbook.h"

namespace torvik {

/// How the sheets of a workbook are taken for tables.
struct WorkbookOptions {
  bool hasHeader = true;     ///< The first row that is not empty names the columns.
  bool mixedAsText = false;  ///< Every value of a column with several types is a text.
};

/// Reads the extended properties of a connection: "Excel 8.0;HDR=NO;IMEX=1". Throws PlatformError
/// for a value that is none.
WorkbookOptions ReadWorkbookOptions(const std::string& extendedProperties);

/// The sheets of a workbook as tables. The sheet "Sales" is the table "Sales$", also "Sales" unless
/// another one is called that, and part of it is "Sales$A2:C10". Rows are all those between the
/// first and the last that is not empty. Columns are those between the first and the last that is
/// not empty, or those of the part. A column without a name, and one with the name of a column
/// before it, is called F1, F2, ... by its position.
std::unique_ptr<TableFile> NewWorkbookFile(Workbook workbook, const WorkbookOptions& options);

}  // namespace torvik
