#pragma once

#include <optional>
#include <string>

namespace torvik {

class Neighbourhood;

/// Lets the user choose a server: one of the settings and of ODBC, one that the network shows as
/// they are found, or one whose name is typed. Nothing when the user cancels.
std::optional<std::string> ChooseComputer(Neighbourhood& neighbourhood, const std::string& title);

}  // namespace torvik
