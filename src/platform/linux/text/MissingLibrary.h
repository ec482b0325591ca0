#pragma once

#include <string>

namespace torvik {

/// What to say where a library was missing when the program was built: "SUBJECT cannot be reached
/// by this build, which was made without LIBRARY; ..." with `cannot` as "be reached".
inline std::string NotInThisBuild(const std::string& subject, const std::string& cannot,
                                  const std::string& library) {
  return subject + " cannot " + cannot + " by this build, which was made without " + library +
         "; run scripts/install-packages build and build it anew";
}

}  // namespace torvik
