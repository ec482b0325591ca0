#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "platform/Ado.h"
#include "platform/PlatformError.h"
#include "platform/linux/odbc/OdbcCopyRule.h"

namespace torvik {

class OdbcSession;

/// Bulk copy into a table of SQL Server by FreeTDS, on the ODBC connection itself and so within its
/// transaction. The server runs triggers as for any other row, and checks constraints unless told
/// not to.
class OdbcBulkCopy {
 public:
  /// A column that is copied, and its place in the table, from 1.
  struct Target {
    ado::Column column;
    int place = 0;
  };

  /// Asks the driver for it when a connection is made; `connection` is not yet open.
  static void Enable(void* connection);

  /// The socket of an open connection; -1 when the driver does not tell it.
  static int SocketOf(void* connection);

  /// `table` is quoted.
  OdbcBulkCopy(OdbcSession& session, std::string table, std::vector<Target> targets,
               const ado::LoadOptions& options);
  OdbcBulkCopy(const OdbcBulkCopy&) = delete;
  OdbcBulkCopy& operator=(const OdbcBulkCopy&) = delete;

  /// Sends, as one batch, those of the rows `which` whose values a copy stores as an INSERT does;
  /// answers how many the server took, and adds the rows that it has not sent to `others`. When it
  /// throws, the server has none of them, unless the connection has no transaction.
  std::int64_t Copy(const ado::LoadRows& rows, std::span<const std::size_t> which,
                    std::vector<std::size_t>& others);

 private:
  /// A column, and its value where that is not sent from where it lies.
  struct Slot {
    OdbcCopyRule rule;
    int place = 0;
    int type = 0;
    std::string text;
    std::int64_t whole = 0;
    double real = 0;
  };
  bool Fits(std::span<const ado::LoadValue> row) const;
  void Begin();
  static std::string_view BytesOf(Slot& slot, const ado::LoadValue& value);
  void Put(Slot& slot, const ado::LoadValue& value);
  PlatformError Failure();

  OdbcSession& session_;
  const std::string table_;
  const ado::LoadOptions options_;
  std::vector<Slot> slots_;
};

}  // namespace torvik
