#include "platform/linux/postgres/PgUndo.h"

#include <vector>

#include "platform/linux/postgres/PgSession.h"

namespace torvik {
namespace {

constexpr const char* kRowPoint = "torvik_row";

}  // namespace

PgUndo::PgUndo(PgSession& session) : session_(session), isOwn_(!session.InTransaction()) {
  if (isOwn_) {
    session_.BeginTrans();
  } else {
    session_.SetPoint(kRowPoint);
  }
}

PgUndo::~PgUndo() {
  if (kept_) return;
  const std::vector<ado::ProviderError> errors = session_.Errors();
  try {
    if (isOwn_) {
      session_.EndTrans(false);
    } else {
      session_.RollbackToPoint(kRowPoint);
      session_.ReleasePoint(kRowPoint);
    }
  } catch (const PlatformError&) {
    // An error here has been reported already: it is the one that led here.
  }
  session_.RestoreErrors(errors);
}

void PgUndo::Keep() {
  if (isOwn_) {
    session_.EndTrans(true);
  } else {
    session_.ReleasePoint(kRowPoint);
  }
  kept_ = true;
}

}  // namespace torvik
