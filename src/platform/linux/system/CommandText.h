#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace torvik {

/// The words of a command line: split at blanks and tabs, double quotes keep them together and are
/// dropped. An empty pair of quotes is an empty word; a quote that is not closed goes to the end.
std::vector<std::string> SplitCommandText(std::string_view text);

}  // namespace torvik
