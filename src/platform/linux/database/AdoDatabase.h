#pragma once

#include "platform/Ado.h"

namespace torvik {

/// What stands behind a connection once its server has been found. Destruction closes it.
class AdoDatabase : public ado::Database {
 public:
  /// False once the server has gone away.
  virtual bool IsAlive() const { return true; }
};

}  // namespace torvik
