#pragma once

#include <libpq-fe.h>

#include <memory>

namespace torvik {

struct PgResultDeleter {
  void operator()(PGresult* result) const { PQclear(result); }
};
using PgResult = std::unique_ptr<PGresult, PgResultDeleter>;

}  // namespace torvik
