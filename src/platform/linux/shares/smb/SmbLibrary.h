#pragma once

#include <libsmbclient.h>

namespace torvik {

/// The functions of libsmbclient that are used. It brings some seventy libraries along, which cost
/// every start of the program more than all the others: it is loaded when it is first needed.
struct SmbLibrary {
  decltype(&::smbc_new_context) newContext;
  decltype(&::smbc_init_context) initContext;
  decltype(&::smbc_free_context) freeContext;
  decltype(&::smbc_setLogCallback) setLogCallback;
  decltype(&::smbc_setConfiguration) setConfiguration;
  decltype(&::smbc_setDebug) setDebug;
  decltype(&::smbc_setPort) setPort;
  decltype(&::smbc_setTimeout) setTimeout;
  decltype(&::smbc_setOptionProtocols) setProtocols;
  decltype(&::smbc_setOptionUseKerberos) setUseKerberos;
  decltype(&::smbc_setOptionFallbackAfterKerberos) setFallbackAfterKerberos;
  decltype(&::smbc_setOptionNoAutoAnonymousLogin) setNoAutoAnonymousLogin;
  decltype(&::smbc_setOptionUseCCache) setUseLogonCache;
  decltype(&::smbc_setOptionUserData) setUserData;
  decltype(&::smbc_getOptionUserData) getUserData;
  decltype(&::smbc_setFunctionAuthDataWithContext) setAuthData;
  decltype(&::smbc_getFunctionStat) getStat;
  decltype(&::smbc_getFunctionFstat) getFstat;
  decltype(&::smbc_getFunctionOpen) getOpen;
  decltype(&::smbc_getFunctionRead) getRead;
  decltype(&::smbc_getFunctionWrite) getWrite;
  decltype(&::smbc_getFunctionClose) getClose;
  decltype(&::smbc_getFunctionOpendir) getOpendir;
  decltype(&::smbc_getFunctionReaddir) getReaddir;
  decltype(&::smbc_getFunctionReaddirPlus) getReaddirPlus;
  decltype(&::smbc_getFunctionClosedir) getClosedir;
};

/// Throws PlatformError when the library cannot be loaded.
const SmbLibrary& LoadSmbLibrary();

}  // namespace torvik
