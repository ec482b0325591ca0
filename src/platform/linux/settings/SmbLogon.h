#pragma once

#include <string>

#include "platform/linux/settings/Settings.h"

namespace torvik {

/// Who logs on to a server of shares; without a user, a guest.
struct SmbLogon {
  std::string user, password, domain;
};

/// The logon of a section [smb], from its credentials or password file where it names one. Answers
/// the empty text, or what is wrong with the file.
std::string ReadSmbLogon(const SmbSettings& settings, SmbLogon& logon);

}  // namespace torvik
