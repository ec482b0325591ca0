#include "engine/pump/RowError.h"

#include <cstdio>

#include "platform/Text.h"

namespace torvik::engine {
namespace {

constexpr char kSource[] = "data pump";
constexpr std::size_t kShownCharacters = 60;

std::string Fields(std::size_t count) {
  return std::to_string(count) + (count == 1 ? " field" : " fields");
}

std::string Characters(std::size_t count) {
  return std::to_string(count) + (count == 1 ? " character" : " characters");
}

/// A value in double quotes on one line, cut where it is long.
std::string Shown(std::string_view value) {
  std::string text;
  const std::string_view shown = FirstCharacters(value, kShownCharacters);
  for (std::size_t at = 0; at < shown.size();) {
    const std::size_t length = CharacterLength(shown.substr(at));
    if (length == 0)
      text += "\uFFFD";  // a byte that is not text
    else
      text += static_cast<unsigned char>(shown[at]) < ' ' ? " " : shown.substr(at, length);
    at += length == 0 ? 1 : length;
  }
  return '"' + text + (shown.size() < value.size() ? "...\"" : "\"");
}

}  // namespace

RowError RowError::At(const RowPlace& at, const std::string& reason, std::string_view value) {
  std::string place = at.row;
  if (at.column > 0) place += ", column " + std::to_string(at.column);
  if (!at.columnName.empty()) place += " (" + at.columnName + ")";
  RowError error(0, place + ": " + reason, kSource);
  error.at = at;
  error.reason = reason;
  if (!value.empty()) error.value = Shown(value);
  return error;
}

RowError RowError::CannotOpen(const std::string& path, const std::error_code& error) {
  return RowError(error.value(), path + ": cannot be opened: " + error.message(), kSource);
}

RowError RowError::CannotRead(const std::string& path, std::uint64_t offset,
                              const std::error_code& error) {
  return RowError(
      error.value(),
      path + ": cannot be read from byte " + std::to_string(offset) + " on: " + error.message(),
      kSource);
}

RowError RowError::CannotWrite(const std::string& path, const std::error_code& error) {
  return RowError(error.value(), path + ": cannot be written: " + error.message(), kSource);
}

RowError RowError::UnknownEncoding(const std::string& path, const std::string& encoding) {
  return RowError(
      0,
      path + ": the encoding " + Shown(encoding) +
          " is not known; use a name that \"iconv -l\" lists, like utf-8, utf-16 or windows-1252",
      kSource);
}

RowError RowError::OtherByteOrderMark(const std::string& path, const std::string& mark,
                                      const std::string& encoding) {
  return RowError(0,
                  path + ": the file begins with the byte-order mark of " + mark +
                      ", but its encoding is said to be " + Shown(encoding) + "; correct that",
                  kSource);
}

RowError RowError::BadFormat(const std::string& path, std::string_view reason) {
  return RowError(0, path + ": " + std::string(reason), kSource);
}

RowError RowError::MissingHeader(const RowPlace& at) {
  return At(at, "a line with the column names is expected here, and there is none");
}

RowError RowError::DuplicateHeader(const RowPlace& at, std::size_t firstColumn) {
  return At(at, "column " + std::to_string(firstColumn) +
                    " has the same name; give every column a name of its own");
}

RowError RowError::TooFewFields(const RowPlace& at, std::size_t want, std::size_t got) {
  return At(at, "the row ends after " + Fields(got) + ", " + std::to_string(want) +
                    " are expected; a delimiter may be missing");
}

RowError RowError::TooManyFields(const RowPlace& at, std::size_t want, std::size_t got,
                                 std::string_view value) {
  return At(at,
            "the row has " + Fields(got) + ", " + std::to_string(want) +
                " are expected; a value that holds the delimiter needs a text qualifier",
            value);
}

RowError RowError::EndsInside(const RowPlace& at, std::size_t want, std::size_t got,
                              std::string_view value) {
  return At(at,
            "the row ends after " + Characters(got) + " of this column, which has " +
                std::to_string(want) + "; the column lengths may be others",
            value);
}

RowError RowError::TooWide(const RowPlace& at, std::size_t want, std::size_t got,
                           std::string_view value) {
  return At(at,
            "the row has " + Characters(got) + ", its columns " + std::to_string(want) +
                "; the column lengths may be others",
            value);
}

RowError RowError::OpenQuote(const RowPlace& at, std::string_view value) {
  return At(at, "the text qualifier opened here is never closed", value);
}

RowError RowError::TextAfterQuote(const RowPlace& at, std::string_view value) {
  return At(at,
            "text follows the closing text qualifier; a qualifier inside a value must be doubled",
            value);
}

RowError RowError::TooLong(const RowPlace& at, std::size_t limitBytes, std::uint64_t bytes,
                           std::uint64_t offset, bool insideQuotes) {
  return At(at, "the row is longer than " + std::to_string(limitBytes >> 20) + " MiB: it has " +
                    std::to_string(bytes) + " bytes from byte " + std::to_string(offset) +
                    " of the file on; " +
                    (insideQuotes ? "a text qualifier in it may never be closed"
                                  : "its row delimiter may be another one"));
}

RowError RowError::InvalidByte(const RowPlace& at, unsigned char byte, std::uint64_t offset,
                               const std::string& encoding, std::string_view value) {
  char hex[8];
  std::snprintf(hex, sizeof hex, "0x%02X", byte);
  return At(at,
            std::string("byte ") + hex + " (byte " + std::to_string(offset) +
                " of the file) is not valid " + encoding + "; is the file in that encoding?",
            value);
}

RowError RowError::NulByte(const RowPlace& at, std::uint64_t offset, std::string_view value) {
  return At(at,
            "a NUL character (byte " + std::to_string(offset) +
                " of the file) is not text; the file may be binary or in another encoding",
            value);
}

RowError RowError::Misfit(const RowPlace& at, std::string_view value, const std::string& reason,
                          const std::string& column) {
  RowError error = At(at, Shown(value) + " " + reason + "; it goes into " + column);
  error.value = Shown(value);
  return error;
}

RowError RowError::NullNotAllowed(const RowPlace& at, const std::string& column) {
  return At(at, "the value is missing; " + column + " must have one");
}

RowError RowError::Refused(const RowPlace& at, const PlatformError& error) {
  RowError refused = At(at, error.Description());
  refused.number = error.number;
  refused.source = error.source;
  return refused;
}

}  // namespace torvik::engine
