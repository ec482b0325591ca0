#pragma once

#include <memory>

#include "platform/Mail.h"
#include "platform/linux/settings/Settings.h"

namespace torvik {

/// Mail over SMTP, by libcurl. In a build without it every mail fails, and the error says so.
std::unique_ptr<Mailer> NewMailCurl(const MailSettings& settings, const PathMap& paths);

}  // namespace torvik
