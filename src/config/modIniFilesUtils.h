#pragma once

#include <cstdint>
#include <string>

#include "platform/VariantBool.h"

namespace torvik {

class Profile;

/// The value of a key in an initialisation file, at most 2,047 characters of it; `fallback` when
/// there is no such key.
std::string ReadIniString(Profile& profile, const std::string& section, const std::string& key,
                          const std::string& fallback, const std::string& file);

/// Stores a key's value; not 0 on success.
std::int16_t WriteIniString(Profile& profile, const std::string& section, const std::string& key,
                            const std::string& value, const std::string& file);

/// The truth of a stored text: false only for "FALSE" in any letter case.
bool IsIniTrue(const std::string& text);

/// "TRUE" for True itself, "FALSE" for every other value.
std::string IniTruth(VariantBool value);

/// A text whose blanks or quotes at its ends the reader would take off, in double quotes, which the
/// reader takes off instead; any other text as it stands. For scrambled texts, which may begin or
/// end in anything.
std::string QuoteForIniFile(const std::string& text);

}  // namespace torvik
