#pragma once

#include <functional>
#include <memory>
#include <string_view>

namespace torvik {

class ConsoleMode;
class MainForm;
struct Program;

/// Writes the usage text to a console of its own and waits for the user to press Enter.
void ShowConsoleUsage(ConsoleMode& console);

/// Starts the program in the mode that the argument text asks for: usage, interactive, scheduler
/// configuration, or the unattended run of a job file. The form stays in `program` when it is still
/// open at the end.
void Main(Program& program, std::string_view argumentText,
          const std::function<std::unique_ptr<MainForm>(Program&)>& newForm);

}  // namespace torvik
