#pragma once

#include <memory>
#include <string>

#include "platform/linux/tables/common/TableFile.h"
#include "platform/linux/tables/excel/Workbook.h"
#include "platform/linux/tables/excel/WorkbookFile.h"

namespace torvik {

/// Part of a sheet as a table, whose first row that is not empty is its header if it has one. The
/// workbook and the sheet must outlive it.
std::unique_ptr<FileTable> NewSheetTable(const std::string& name, const Workbook& workbook,
                                         const Sheet& sheet, const CellRange& range,
                                         const WorkbookOptions& options);

}  // namespace torvik
