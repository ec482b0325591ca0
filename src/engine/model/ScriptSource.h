#pragma once

#include <string>

namespace torvik::engine {

/// A script of a document and the function of it that is called.
struct ScriptSource {
  std::string text;
  std::string function;
};

}  // namespace torvik::engine
