#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>

#include "platform/linux/postgres/PgSession.h"

namespace torvik {

/// A query's rows by COPY ... TO STDOUT, which has the connection for itself until its last row or
/// its end. In a transaction a failure undoes itself alone.
class PgCopyOut {
 public:
  /// `options`: what stands behind TO STDOUT.
  PgCopyOut(PgSession& session, const PgStatement& query, const std::string& options);
  /// Ends what is still on its way.
  ~PgCopyOut();
  PgCopyOut(const PgCopyOut&) = delete;
  PgCopyOut& operator=(const PgCopyOut&) = delete;

  /// The next piece of the format that the server sends, a row each, which the caller may change,
  /// valid until the next call; null data when there are no more.
  std::span<char> Next();

  /// How many rows there were, as the server counts them; known at their end.
  std::int64_t Count() const { return count_; }

 private:
  void Begin(const PgStatement& query, const std::string& options);
  void Finish();
  PgResult End();

  PgSession& session_;
  const bool hasPoint_;
  std::optional<PgSession::Running> running_;
  char* piece_ = nullptr;
  bool isAtEnd_ = true;
  std::int64_t count_ = 0;
};

}  // namespace torvik
