#include "platform/linux/OdbcErrors.h"

#include <sql.h>
#include <sqlext.h>

#include "platform/linux/Utf16.h"

namespace torvik {
namespace {

/// The text with every run of line ends and tabs as one blank.
std::string OneLine(const std::string& text) {
  std::string line;
  for (const char c : text) {
    const bool isBlank = c == '\r' || c == '\n' || c == '\t' || c == ' ';
    if (!isBlank) line += c;
    if (isBlank && !line.empty() && line.back() != ' ') line += ' ';
  }
  if (!line.empty() && line.back() == ' ') line.pop_back();
  return line;
}

std::string Text(const std::u16string& buffer, std::size_t length) {
  return FromUtf16(std::u16string_view(buffer).substr(0, length));
}

}  // namespace

std::vector<ado::ProviderError> OdbcErrors(short handleType, void* handle) {
  std::vector<ado::ProviderError> errors;
  std::u16string text(SQL_MAX_MESSAGE_LENGTH * 8, u'\0');
  for (SQLSMALLINT record = 1;; ++record) {
    std::u16string state(6, u'\0');
    SQLINTEGER number = 0;
    SQLSMALLINT length = 0;
    const SQLRETURN code = SQLGetDiagRecW(
        handleType, handle, record, reinterpret_cast<SQLWCHAR*>(state.data()), &number,
        reinterpret_cast<SQLWCHAR*>(text.data()), static_cast<SQLSMALLINT>(text.size()), &length);
    if (!SQL_SUCCEEDED(code)) return errors;
    const std::size_t kept = std::min(static_cast<std::size_t>(length), text.size() - 1);
    errors.push_back(
        {number, OneLine(Text(text, kept)) + " (SQLSTATE " + Text(state, SQL_SQLSTATE_SIZE) + ")"});
  }
}

std::string InOneLine(const std::vector<ado::ProviderError>& errors) {
  std::string line;
  for (const ado::ProviderError& error : errors)
    line += (line.empty() ? "" : "; ") + error.description;
  return line.empty() ? "the driver gives no reason" : line;
}

}  // namespace torvik
