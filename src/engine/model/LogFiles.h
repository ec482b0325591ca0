#pragma once

#include <ctime>
#include <string>

namespace torvik::engine {

class Variables;

/// The path of the file called `name` in the run's log directory, that of the global variable
/// "ExceptionFilePath"; empty when there is none. Separators in the name become '_'.
std::string InLogDirectory(const Variables& variables, std::string name);

/// "2024-05-01 02:00:00", as every log line begins.
std::string LogTime(const std::tm& time);

}  // namespace torvik::engine
