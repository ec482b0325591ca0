#include "platform/linux/odbc/OdbcUndo.h"

#include <utility>
#include <vector>

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
  if (isDone_) return;
  const std::vector<ado::ProviderError> errors = session_.Errors();
  try {
    Undo();
  } catch (const PlatformError&) {
    // An error here has been reported already: it is the one that led here.
  }
  session_.RestoreErrors(errors);
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

void OdbcUndo::UndoAfter(const PlatformError& error) {
  const std::vector<ado::ProviderError> errors = session_.Errors();
  try {
    Undo();
  } catch (const PlatformError& second) {
    session_.RestoreErrors(errors);
    PlatformError both =
        error.Saying(std::string(error.what()) +
                     "; the server has ended the whole transaction: " + second.what());
    throw both;
  }
}

}  // namespace torvik
