#include "platform/linux/shares/smb/SmbLibrary.h"

#include <dlfcn.h>

#include <string>
#include <type_traits>

#include "platform/PlatformError.h"

namespace torvik {
namespace {

constexpr const char* kName = "libsmbclient.so.0";

[[noreturn]] void Refuse(const std::string& problem) {
  throw PlatformError(0,
                      "shares need libsmbclient, which cannot be loaded: " + problem +
                          "; install the package libsmbclient",
                      "SMB");
}

SmbLibrary Load() {
  void* library = dlopen(kName, RTLD_NOW | RTLD_LOCAL);
  if (library == nullptr) Refuse(dlerror());
  const auto take = [&](auto& function, const char* symbol) {
    function =
        reinterpret_cast<std::remove_reference_t<decltype(function)>>(dlsym(library, symbol));
    if (function == nullptr) Refuse(std::string(kName) + " has no " + symbol);
  };
  SmbLibrary functions;
  take(functions.newContext, "smbc_new_context");
  take(functions.initContext, "smbc_init_context");
  take(functions.freeContext, "smbc_free_context");
  take(functions.setLogCallback, "smbc_setLogCallback");
  take(functions.setConfiguration, "smbc_setConfiguration");
  take(functions.setDebug, "smbc_setDebug");
  take(functions.setPort, "smbc_setPort");
  take(functions.setTimeout, "smbc_setTimeout");
  take(functions.setProtocols, "smbc_setOptionProtocols");
  take(functions.setUseKerberos, "smbc_setOptionUseKerberos");
  take(functions.setFallbackAfterKerberos, "smbc_setOptionFallbackAfterKerberos");
  take(functions.setNoAutoAnonymousLogin, "smbc_setOptionNoAutoAnonymousLogin");
  take(functions.setUseLogonCache, "smbc_setOptionUseCCache");
  take(functions.setUserData, "smbc_setOptionUserData");
  take(functions.getUserData, "smbc_getOptionUserData");
  take(functions.setAuthData, "smbc_setFunctionAuthDataWithContext");
  take(functions.getStat, "smbc_getFunctionStat");
  take(functions.getFstat, "smbc_getFunctionFstat");
  take(functions.getOpen, "smbc_getFunctionOpen");
  take(functions.getRead, "smbc_getFunctionRead");
  take(functions.getWrite, "smbc_getFunctionWrite");
  take(functions.getClose, "smbc_getFunctionClose");
  take(functions.getOpendir, "smbc_getFunctionOpendir");
  take(functions.getReaddir, "smbc_getFunctionReaddir");
  take(functions.getReaddirPlus, "smbc_getFunctionReaddirPlus");
  take(functions.getClosedir, "smbc_getFunctionClosedir");
  return functions;
}

}  // namespace

const SmbLibrary& LoadSmbLibrary() {
  static const SmbLibrary library = Load();
  return library;
}

}  // namespace torvik
