#pragma once

#include <string>

namespace torvik::engine {

/// A script of a document and the function of it that is called.
struct ScriptSource {
  std::string text;
  std::string function;
  std::string lacks = {};  ///< What it uses and is not there, in words; empty: nothing is known.
};

}  // namespace torvik::engine
