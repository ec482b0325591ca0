#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <system_error>

#include "platform/PlatformError.h"

namespace torvik::engine {

/// Where in a source an error stands.
struct RowPlace {
  std::string row;              ///< "airports.csv, line 12"
  std::size_t column = 0;       ///< From 1; 0 means the row as a whole.
  std::string columnName = {};  ///< Empty where it is not known.
};

/// What is wrong with a source or one of its rows. Each kind of error has one factory, which owns
/// its wording.
struct RowError : PlatformError {
  RowPlace at = {};        ///< Of a row's error.
  std::string value = {};  ///< The value at fault, shortened; empty where it is the row as a whole.
  std::string reason = {};  ///< Without the place.

  static RowError CannotOpen(const std::string& path, const std::error_code& error);
  static RowError CannotRead(const std::string& path, std::uint64_t offset,
                             const std::error_code& error);
  static RowError CannotWrite(const std::string& path, const std::error_code& error);
  static RowError UnknownEncoding(const std::string& path, const std::string& encoding);
  /// The file begins with the byte-order mark of another encoding.
  static RowError OtherByteOrderMark(const std::string& path, const std::string& mark,
                                     const std::string& encoding);
  static RowError BadFormat(const std::string& path, std::string_view reason);

  static RowError MissingHeader(const RowPlace& at);
  static RowError DuplicateHeader(const RowPlace& at, std::size_t firstColumn);
  static RowError TooFewFields(const RowPlace& at, std::size_t want, std::size_t got);
  static RowError TooManyFields(const RowPlace& at, std::size_t want, std::size_t got,
                                std::string_view value);
  /// Of fixed-width text, in characters.
  static RowError EndsInside(const RowPlace& at, std::size_t want, std::size_t got,
                             std::string_view value);
  static RowError TooWide(const RowPlace& at, std::size_t want, std::size_t got,
                          std::string_view value);
  static RowError OpenQuote(const RowPlace& at, std::string_view value);
  static RowError TextAfterQuote(const RowPlace& at, std::string_view value);
  /// `offset`, here and below, counts the file's bytes from 0.
  static RowError TooLong(const RowPlace& at, std::size_t limitBytes, std::uint64_t bytes,
                          std::uint64_t offset, bool insideQuotes);
  static RowError InvalidByte(const RowPlace& at, unsigned char byte, std::uint64_t offset,
                              const std::string& encoding, std::string_view value);
  static RowError NulByte(const RowPlace& at, std::uint64_t offset, std::string_view value);

  /// `value` does not fit; `reason` goes on from it: "is not a whole number". `column` says what
  /// the destination takes: "elevation INTEGER".
  static RowError Misfit(const RowPlace& at, std::string_view value, const std::string& reason,
                         const std::string& column);
  static RowError NullNotAllowed(const RowPlace& at, const std::string& column);
  /// The server did not take the row.
  static RowError Refused(const RowPlace& at, const PlatformError& error);

 private:
  using PlatformError::PlatformError;
  static RowError At(const RowPlace& at, const std::string& reason, std::string_view value = {});
};

}  // namespace torvik::engine
