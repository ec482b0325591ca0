#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "import/Record.h"

namespace torvik::importing {

/// Notes which of the properties that are only kept would have changed what happens. `object` is
/// the kind of part they belong to ("package", "step", "datapump"), `what` which one it is:
/// "the step \"load\"".
void NoteKept(std::string_view object, const std::string& what,
              const std::vector<Property>& properties, std::vector<Note>& notes);

}  // namespace torvik::importing
