#pragma once

#include <string>

namespace torvik {

class OdbcSession;
class PlatformError;

/// A transaction, or a point in the one that is open, to which everything is undone that has not
/// been kept at the end of the scope.
class OdbcUndo {
 public:
  /// `point` is the name of the point; one of that name that is there moves.
  OdbcUndo(OdbcSession& session, std::string point);
  ~OdbcUndo();
  OdbcUndo(const OdbcUndo&) = delete;
  OdbcUndo& operator=(const OdbcUndo&) = delete;

  void Keep();

  /// Undoes now, and throws when that fails.
  void Undo();

  /// The same after `error`. When the server has ended the whole transaction on its account, that
  /// is what it throws, and what failed behind it follows.
  void UndoAfter(const PlatformError& error);

 private:
  OdbcSession& session_;
  const std::string point_;
  const bool isOwn_;
  bool isDone_ = false;
};

}  // namespace torvik
