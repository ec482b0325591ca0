#pragma once

#include <cstddef>
#include <string_view>

#include "script/Context.h"
#include "script/Value.h"

/// Texts as arguments of functions, and positions in them, which count characters.
namespace torvik::script {

/// The argument's text; what was no text before is one afterwards.
std::string_view TextArgument(Context& context, Value& argument);

/// A count of at least 0.
std::size_t CountArgument(const Value& argument);

/// Where the character number `characters`, from 0, begins in the text; its end when it has less.
std::size_t ByteOffset(Context& context, const Value& text, std::size_t characters);

/// How many characters the first `bytes` of the text are.
std::size_t CharacterOffset(Context& context, const Value& text, std::size_t bytes);

/// The first or the last place of a text that is not empty, in time proportional to the lengths;
/// npos where there is none.
std::size_t FindFirst(std::string_view text, std::string_view wanted);
std::size_t FindLast(std::string_view text, std::string_view wanted);

}  // namespace torvik::script
