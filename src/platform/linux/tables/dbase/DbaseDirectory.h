#pragma once

#include <memory>
#include <string>

#include "platform/linux/tables/common/TableFile.h"

namespace torvik {

/// A directory as a database whose tables are the dBase files in it, by their names without ".dbf".
/// Letter case does not matter; a file that is no dBase file shows when its table is used.
std::unique_ptr<TableFile> OpenDbaseDirectory(const std::string& directory);

}  // namespace torvik
