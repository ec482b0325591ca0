#pragma once

#include <exception>

#include "platform/Ado.h"

namespace torvik {

/// A transaction of one connection: what is not committed is rolled back.
class OwnTransaction {
 public:
  explicit OwnTransaction(ado::Connection& connection) : connection_(connection) {
    connection_.BeginTrans();
  }
  ~OwnTransaction() {
    if (committed_) return;
    try {
      connection_.RollbackTrans();
    } catch (const std::exception&) {
      // The error that led here says more; closing the connection rolls back as well.
    }
  }
  OwnTransaction(const OwnTransaction&) = delete;
  OwnTransaction& operator=(const OwnTransaction&) = delete;

  /// Keeps what has been done, and begins another transaction.
  void CommitAndGoOn() {
    committed_ = true;
    connection_.CommitTrans();
    connection_.BeginTrans();
    committed_ = false;
  }

  void Commit() {
    connection_.CommitTrans();
    committed_ = true;
  }

 private:
  ado::Connection& connection_;
  bool committed_ = false;
};

}  // namespace torvik
