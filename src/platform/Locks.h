#pragma once

#include <memory>
#include <string>
#include <system_error>

namespace torvik {

/// Held as long as it lives; the system takes it back when the process ends, however it does.
class Lock {
 public:
  virtual ~Lock() = default;
};

/// What came of asking for a lock.
struct LockAnswer {
  std::unique_ptr<Lock> lock = nullptr;
  /// Without a lock: who holds it, as "process 4711 (torvik), which runs since 2001-01-08 09:30:00"
  /// as far as the system tells; empty when nobody does.
  std::string holder = {};
  /// Without a lock and a holder: why it cannot be locked.
  std::error_code error = {};
};

/// Advisory locks between processes of one machine. None waits.
class Locks {
 public:
  virtual ~Locks() = default;

  /// Locks a file or a directory that exists.
  virtual LockAnswer LockFile(const std::string& path) = 0;

  /// Locks the name of a file, whatever becomes of the file; its directory must exist. That of a
  /// device is everybody's.
  virtual LockAnswer LockName(const std::string& path) = 0;
};

}  // namespace torvik
