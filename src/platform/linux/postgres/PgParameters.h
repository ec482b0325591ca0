#pragma once

#include <span>
#include <vector>

#include "platform/Ado.h"
#include "platform/linux/postgres/PgSession.h"

namespace torvik {

/// The values as texts, in the forms that the server reads for whatever type it wants.
std::vector<PgSession::Parameter> PgParameters(std::span<const ado::Value> values);

}  // namespace torvik
