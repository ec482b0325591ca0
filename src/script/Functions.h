#pragma once

#include <cstdint>
#include <span>
#include <string_view>

#include "script/Context.h"
#include "script/Value.h"

/// The run-time library. Functions may change their arguments, which are copies.
namespace torvik::script {

using Arguments = std::span<Value>;

struct Function {
  std::string_view name;  ///< In lower case.
  std::uint8_t least, most;
  Value (*call)(Context& context, Arguments arguments);
  bool takesObjects = false;  ///< Objects are passed as they are, not as their default values.
};

std::span<const Function> TextFunctions();
std::span<const Function> SearchFunctions();
std::span<const Function> DateFunctions();
std::span<const Function> ConversionFunctions();
std::span<const Function> FormatFunctions();
std::span<const Function> MathFunctions();
std::span<const Function> InformationFunctions();
std::span<const Function> ObjectFunctions();

/// Null when there is none of that name.
const Function* FindFunction(std::string_view lowerCase);

/// The constants vbCrLf, vbTrue and so on; false when there is none of that name.
bool FindConstant(std::string_view lowerCase, Value& value);

/// Whether CreateObject makes an object of this class; letter case does not matter.
bool CanCreateObject(std::string_view name);

/// A text of the script; its length counts as work.
Value NewText(Context& context, std::string_view text);

/// An argument that may be left out.
bool IsGiven(Arguments arguments, std::size_t index);
std::int32_t LongOr(Arguments arguments, std::size_t index, std::int32_t otherwise);

}  // namespace torvik::script
