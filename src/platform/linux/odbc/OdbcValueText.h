#pragma once

#include <sql.h>
#include <sqlext.h>

#include <string>

#include "platform/Ado.h"

namespace torvik {

/// "2001-01-08".
std::string DateText(const SQL_DATE_STRUCT& date);

/// "2001-01-08 09:10:11.25": the fraction without zeros behind.
std::string MomentText(const SQL_TIMESTAMP_STRUCT& moment);

}  // namespace torvik
