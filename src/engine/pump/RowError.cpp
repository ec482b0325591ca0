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

/// A value in double quotes on one line, cut where it is long.
std::string Shown(std::string_view value) {
  std::string text(FirstCharacters(value, kShownCharacters));
  for (char& c : text)
    if (static_cast<unsigned char>(c) < ' ') c = ' ';
  return '"' + text + (text.size() < value.size() ? "...\"" : "\"");
}

}  // namespace

RowError RowError::At(const RowPlace& at, const std::string& reason) {
  std::string place = at.row;
  if (at.column > 0) place += ", column " + std::to_string(at.column);
  if (!at.columnName.empty()) place += " (" + at.columnName + ")";
  return RowError(0, place + ": " + reason, kSource);
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

RowError RowError::UnknownEncoding(const std::string& path, const std::string& encoding) {
  return RowError(
      0, path + ": the encoding " + Shown(encoding) + " is not known; utf-8 and windows-1252 are",
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

RowError RowError::TooManyFields(const RowPlace& at, std::size_t want, std::size_t got) {
  return At(at, "the row has " + Fields(got) + ", " + std::to_string(want) +
                    " are expected; a value that holds the delimiter needs a text qualifier");
}

RowError RowError::OpenQuote(const RowPlace& at) {
  return At(at, "the text qualifier opened here is never closed");
}

RowError RowError::TextAfterQuote(const RowPlace& at) {
  return At(at,
            "text follows the closing text qualifier; a qualifier inside a value must be doubled");
}

RowError RowError::TooLong(const RowPlace& at, std::size_t limitBytes, bool insideQuotes) {
  return At(at, "the row is longer than " + std::to_string(limitBytes >> 20) + " MiB; " +
                    (insideQuotes ? "the text qualifier opened here may never be closed"
                                  : "its row delimiter may be another one"));
}

RowError RowError::InvalidByte(const RowPlace& at, unsigned char byte, std::uint64_t offset,
                               const std::string& encoding) {
  char hex[8];
  std::snprintf(hex, sizeof hex, "0x%02X", byte);
  return At(at, std::string("byte ") + hex + " (byte " + std::to_string(offset) +
                    " of the file) is not valid " + encoding + "; is the file in that encoding?");
}

RowError RowError::NulByte(const RowPlace& at, std::uint64_t offset) {
  return At(at, "a NUL byte (byte " + std::to_string(offset) +
                    " of the file) is not text; the file may be binary or UTF-16");
}

RowError RowError::Misfit(const RowPlace& at, std::string_view value, const std::string& reason,
                          const std::string& column) {
  return At(at, Shown(value) + " " + reason + "; it goes into " + column);
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
