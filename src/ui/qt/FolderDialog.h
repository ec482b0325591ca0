#pragma once

#include <optional>
#include <string>

namespace torvik {

class Neighbourhood;

/// Lets the user choose a folder of this machine, of a drive of the settings or of a share, or type
/// its path. Opens at `selection`, in either spelling. Nothing when the user cancels.
std::optional<std::string> ChooseFolder(Neighbourhood& neighbourhood, const std::string& title,
                                        const std::string& selection);

}  // namespace torvik
