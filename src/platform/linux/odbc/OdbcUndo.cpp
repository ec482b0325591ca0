#include "platform/linux/odbc/OdbcUndo.h"

#include <utility>

#include "platform/linux/odbc/OdbcSession.h"

namespace torvik {

OdbcUndo::OdbcUndo(OdbcSession& session, std::string point)
    : session_(session), point_(std::move(point)), isOwn_(!session.InTransaction()) {
  if (isOwn_) {
    session_.BeginTrans();
  } else {
    session_.SetPoint(point_);
  }
}

OdbcUndo::~OdbcUndo() {
  try {
    if (!isDone_) Undo();
  } catch (const PlatformError&) {
    // An error here has been reported already: it is the one that led here.
  }
}

void OdbcUndo::Keep() {
  if (isOwn_) session_.EndTrans(true);
  isDone_ = true;
}

void OdbcUndo::Undo() {
  isDone_ = true;
  if (isOwn_) {
    session_.EndTrans(false);
  } else {
    session_.RollbackToPoint(point_);
  }
}

}  // namespace torvik
