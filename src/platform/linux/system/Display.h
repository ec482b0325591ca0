#pragma once

#include <string>

namespace torvik {

/// Whether windows can be shown: an X server or a Wayland compositor that takes a connection, or a
/// platform that QT_QPA_PLATFORM names.
bool HasDisplay();

/// A function of a module that is loaded for the rest of the run; null, and `reason` set, when that
/// is not there. It is looked for beside the program, then where it is installed.
void* FindInModule(const std::string& file, const char* function, std::string& reason);

}  // namespace torvik
