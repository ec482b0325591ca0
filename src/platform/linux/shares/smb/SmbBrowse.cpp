#include "platform/linux/shares/smb/SmbBrowse.h"

#include <libsmbclient.h>

#include <set>

#include "platform/PlatformError.h"

namespace torvik {
namespace {

void GuestLogon(SMBCCTX*, const char*, const char*, char*, int, char*, int, char*, int) {}

/// The names of one kind in a place of the network.
std::vector<std::string> NamesIn(SMBCCTX* context, const std::string& url, unsigned kind) {
  std::vector<std::string> names;
  SMBCFILE* const place = smbc_getFunctionOpendir(context)(context, url.c_str());
  if (place == nullptr) return names;
  while (const smbc_dirent* entry = smbc_getFunctionReaddir(context)(context, place))
    if (entry->smbc_type == kind) names.emplace_back(entry->name, entry->namelen);
  smbc_getFunctionClosedir(context)(context, place);
  return names;
}

}  // namespace

std::vector<std::string> BrowseSmbComputers() {
  SMBCCTX* const context = smbc_new_context();
  if (context == nullptr) throw PlatformError(0, "libsmbclient cannot be set up", "SMB");
  smbc_setFunctionAuthDataWithContext(context, GuestLogon);
  smbc_setTimeout(context, 5000);
  std::set<std::string> computers;
  if (smbc_init_context(context) != nullptr)
    for (const std::string& group : NamesIn(context, "smb://", SMBC_WORKGROUP))
      for (std::string& name : NamesIn(context, "smb://" + group + "/", SMBC_SERVER))
        computers.insert(std::move(name));
  smbc_free_context(context, 1);
  return {computers.begin(), computers.end()};
}

}  // namespace torvik
