#pragma once

#include <memory>
#include <string>

#include "platform/linux/tables/common/TableFile.h"

namespace torvik {

/// The table of one dBase file (.dbf) of versions III to 5, FoxPro and Visual FoxPro, with the
/// texts of its memo file beside it. Its records that are marked as deleted are not seen. Format:
/// the published descriptions of the Xbase file format.
std::unique_ptr<FileTable> NewDbaseTable(const std::string& path, const std::string& name);

}  // namespace torvik
