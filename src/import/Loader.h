#pragma once

#include <string>

#include "import/Record.h"

namespace torvik::importing {

/// Why a text that takes a stored package is not imported: which one it takes, what it sets of it
/// (passwords left out), and what does the same here.
std::string LoaderRefusal(const Recording& recording);

}  // namespace torvik::importing
