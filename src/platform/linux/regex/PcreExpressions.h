#pragma once

#include <memory>

#include "platform/RegularExpressions.h"

namespace torvik {

/// By PCRE2, with its switches for ECMAScript.
std::unique_ptr<RegularExpressions> NewPcreExpressions();

}  // namespace torvik
