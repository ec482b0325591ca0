#pragma once

#include <memory>

#include "platform/Console.h"

namespace torvik {

class CodePages;

/// The standard streams as the console, in the system's code page. A signal that arrives while a
/// line is awaited ends the wait like the end of input does.
std::unique_ptr<Console> NewStdConsole(const CodePages& codePages);

}  // namespace torvik
