#pragma once

#include <ctime>
#include <string>
#include <string_view>
#include <vector>

/// The texts of a mail's head, as RFC 5322, 2047 and 2231 spell them. Texts are UTF-8.
namespace torvik {

struct MailAddress {
  std::string name;     ///< May be empty.
  std::string address;  ///< "a@example.com", ASCII.
};

/// The addresses of a list that commas or semicolons separate. Throws PlatformError, naming what is
/// wrong, for one that is none or that holds control characters.
std::vector<MailAddress> ReadAddresses(const std::string& list);

/// Throws PlatformError when `text` holds control characters, by which it could add lines to the
/// head; `what` is what it is, for the message.
void RefuseControlCharacters(std::string_view text, const std::string& what);

/// A head line "NAME: VALUE" without its line end, in lines of at most 78 characters where that can
/// be; what is not ASCII stands in encoded words.
std::string HeadLine(const std::string& name, std::string_view text);
std::string HeadLine(const std::string& name, const std::vector<MailAddress>& addresses);

/// "Mon, 08 Jan 2001 10:20:30 +0000", in the time zone of `local` whatever the locale is.
std::string MailDate(const std::tm& local);

/// The value of the head line Content-Disposition of an attachment.
std::string AttachmentDisposition(const std::string& fileName);

/// The lines of a text end in CR LF, however they ended.
std::string WithNetworkLineEnds(std::string_view text);

}  // namespace torvik
