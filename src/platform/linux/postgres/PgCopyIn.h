#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "platform/linux/postgres/PgErrors.h"
#include "platform/linux/postgres/PgSession.h"

namespace torvik {

/// Rows into a table by COPY ... FROM STDIN, which has the connection for itself until its end.
class PgCopyIn {
 public:
  /// Begins. `copy`: the statement. `place`: for messages. `hasPoint`: within a transaction a
  /// failure undoes itself alone. What the server has against the statement is End's to tell.
  PgCopyIn(PgSession& session, const std::string& copy, std::string place, bool hasPoint);
  /// Gives up what has not ended: none of its rows is loaded; without a point the transaction has
  /// failed.
  ~PgCopyIn();
  PgCopyIn(const PgCopyIn&) = delete;
  PgCopyIn& operator=(const PgCopyIn&) = delete;

  /// Sends a piece of the format. False when the connection is lost or the server takes no rows.
  bool Send(std::string_view bytes);

  /// Ends; once. An error that lies in the rows is answered, and none of them is loaded; any other
  /// throws PlatformError.
  std::optional<PgError> End();

  /// How many rows the server took, as it counts them; known at the end.
  std::int64_t Count() const { return count_; }

 private:
  void TakeRest();
  void Undo();

  PgSession& session_;
  const std::string place_;
  const bool hasPoint_;
  std::optional<PgSession::Running> running_;
  PgResult result_;
  bool isOpen_ = false;  ///< The server waits for rows.
  std::int64_t count_ = 0;
};

}  // namespace torvik
