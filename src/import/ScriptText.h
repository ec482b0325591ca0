#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "import/Record.h"

namespace torvik::importing {

/// Which columns a script names.
struct ColumnUse {
  std::vector<std::string> names;  ///< In the order of their first use.
  bool isOpen = false;             ///< Others are named by a number or a variable.
};

/// The columns of `lowerObject` ("dtsdestination"): those in DTSDestination("name").
ColumnUse ColumnsOf(std::string_view script, std::string_view lowerObject);

/// Notes a script's text that holds a password, as a connection string may, and where it reads or
/// writes dates by the settings of its machine; `line` is where the script stands, `what` whose it
/// is.
void NoteScript(std::vector<Note>& notes, int line, const std::string& what,
                std::string_view script);

}  // namespace torvik::importing
