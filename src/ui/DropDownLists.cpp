#include "ui/DropDownLists.h"

#include "datalinks/BuildConnection.h"
#include "datalinks/DatabaseLists.h"
#include "platform/Ado.h"
#include "platform/Messages.h"
#include "platform/PlatformError.h"
#include "ui/Controls.h"

namespace torvik {

void Select(ComboBox& box, const std::string& text) {
  const std::int16_t position = SelectComboEntry(box, text);
  if (position >= 0)
    box.Choose(position);
  else
    box.Text.Set(text);
}

bool FillFromServer(ado::Provider& databases, Messages& messages, std::int32_t etlType,
                    const ServerLogon& logon, DropDown& box, const std::string& title,
                    void (*list)(ado::Connection& connection, DropDown& box)) {
  std::unique_ptr<ado::Connection> connection;
  std::string errorText;
  if (BuildConnection(databases, etlType, logon, connection, errorText, "")) {
    try {
      list(*connection, box);
      return true;
    } catch (const PlatformError& error) {
      errorText = error.Description();
    }
  }
  messages.Box("Error while connecting to : " + logon.server + "\r\n" + errorText, title,
               BoxIcon::Critical);
  return false;
}

}  // namespace torvik
