#pragma once

#include "script/Value.h"

namespace torvik::script {

struct Context;

/// A new object of class RegExp; the context has regular expressions.
Value NewRegExp(Context& context);

}  // namespace torvik::script
