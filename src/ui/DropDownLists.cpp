#include "ui/DropDownLists.h"

#include "datalinks/BuildConnection.h"
#include "datalinks/DatabaseLists.h"
#include "platform/Ado.h"
#include "platform/Messages.h"
#include "platform/PlatformError.h"
#include "ui/AsideWork.h"
#include "ui/Controls.h"
#include "ui/ListedNames.h"

namespace torvik {

void Select(ComboBox& box, const std::string& text) {
  const std::int16_t position = SelectComboEntry(box, text);
  if (position >= 0)
    box.Choose(position);
  else
    box.Text.Set(text);
}

bool ListFromServer(AsideWork& aside, ado::Provider& databases, Messages& messages,
                    const NamesOfServer& server, ListedNames& names) {
  const ServerLogon logon = server.logon();
  bool isListed = false;
  std::string errorText;
  const auto list = [&] {
    std::unique_ptr<ado::Connection> connection;
    if (!BuildConnection(databases, server.etlType, logon, connection, errorText, "")) return;
    try {
      server.list(*connection, names);
      isListed = true;
    } catch (const PlatformError& error) {
      errorText = error.Description();
    }
  };
  aside.Do(list, [&] {
    if (!isListed)
      messages.Box("Error while connecting to : " + logon.server + "\r\n" + errorText, server.title,
                   BoxIcon::Critical);
  });
  return isListed && server.logon() == logon;
}

}  // namespace torvik
