#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "engine/model/PackageModel.h"

namespace torvik::engine {

/// Which of the twelve global variables that the runner sets are not declared, or not as the text
/// or Boolean that they are: one line for each, "NAME, line L, column C: reason; what to do".
std::vector<std::string> CheckTwelve(const PackageModel& package);

/// True for the names of the twelve, letter case aside.
bool IsRunnerVariable(std::string_view name);

/// A text as a document spells it, in double quotes.
std::string TomlString(const std::string& text);

/// What a document begins with: its name and the twelve variables.
std::string DocumentHead(const std::string& name, const std::string& description = "");

/// The text of a first document for a package of that name: the twelve variables, the warehouse and
/// one step.
std::string NewPackageDocument(const std::string& name);

}  // namespace torvik::engine
