#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "platform/linux/tables/access/AccessPages.h"
#include "platform/linux/tables/common/TableFile.h"

namespace torvik {

/// The table whose definition begins on `page`. `file` must outlive it. Throws PlatformError when
/// the definition is damaged.
std::unique_ptr<FileTable> NewAccessTable(const AccessPages& file, const std::string& name,
                                          std::uint32_t page);

}  // namespace torvik
