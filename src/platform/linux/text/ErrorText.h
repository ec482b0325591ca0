#pragma once

#include <string>
#include <vector>

#include "platform/Ado.h"

namespace torvik {

/// The text with every run of line ends and tabs as one blank.
std::string OneLine(const std::string& text);

/// The errors' texts in one line.
std::string InOneLine(const std::vector<ado::ProviderError>& errors);

}  // namespace torvik
