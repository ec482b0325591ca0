#pragma once

#include <string>
#include <string_view>

#include "platform/linux/settings/Settings.h"

namespace torvik {

/// Takes the text of a settings file over into `settings`, whose sourceFile messages name. A
/// comment begins a line with ';' or follows a value behind " ;". Answers the empty text, or what
/// is wrong and on which line. The keys of [provider NAME] are not looked at.
std::string ParseSettings(std::string_view text, Settings& settings);

}  // namespace torvik
