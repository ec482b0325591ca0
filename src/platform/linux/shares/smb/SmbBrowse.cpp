#include "platform/linux/shares/smb/SmbBrowse.h"

#include <set>

#include "platform/PlatformError.h"
#include "platform/linux/shares/smb/SmbLibrary.h"

namespace torvik {
namespace {

void GuestLogon(SMBCCTX*, const char*, const char*, char*, int, char*, int, char*, int) {}

/// The names of one kind in a place of the network.
std::vector<std::string> NamesIn(const SmbLibrary& library, SMBCCTX* context,
                                 const std::string& url, unsigned kind) {
  std::vector<std::string> names;
  SMBCFILE* const place = library.getOpendir(context)(context, url.c_str());
  if (place == nullptr) return names;
  while (const smbc_dirent* entry = library.getReaddir(context)(context, place))
    if (entry->smbc_type == kind) names.emplace_back(entry->name, entry->namelen);
  library.getClosedir(context)(context, place);
  return names;
}

}  // namespace

std::vector<std::string> BrowseSmbComputers() {
  const SmbLibrary& library = LoadSmbLibrary();
  SMBCCTX* const context = library.newContext();
  if (context == nullptr) throw PlatformError(0, "libsmbclient cannot be set up", "SMB");
  library.setAuthData(context, GuestLogon);
  library.setTimeout(context, 5000);
  std::set<std::string> computers;
  if (library.initContext(context) != nullptr)
    for (const std::string& group : NamesIn(library, context, "smb://", SMBC_WORKGROUP))
      for (std::string& name : NamesIn(library, context, "smb://" + group + "/", SMBC_SERVER))
        computers.insert(std::move(name));
  library.freeContext(context, 1);
  return {computers.begin(), computers.end()};
}

}  // namespace torvik
