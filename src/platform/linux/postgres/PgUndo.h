#pragma once

namespace torvik {

class PgSession;

/// A transaction, or a point in the one that is open, to which everything is undone that has not
/// been kept at the end of the scope.
class PgUndo {
 public:
  explicit PgUndo(PgSession& session);
  ~PgUndo();
  PgUndo(const PgUndo&) = delete;
  PgUndo& operator=(const PgUndo&) = delete;

  void Keep();

 private:
  PgSession& session_;
  const bool isOwn_;
  bool kept_ = false;
};

}  // namespace torvik
