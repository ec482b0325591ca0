#include "platform/linux/odbc/OdbcLoadValue.h"

#include <charconv>
#include <iterator>

namespace torvik {
namespace {

template <class Number>
std::string NumberText(Number number) {
  char text[40];
  return {text, std::to_chars(text, std::end(text), number).ptr};
}

}  // namespace

std::string TextOf(const ado::LoadValue& value) {
  if (value.GetKind() == ado::LoadValue::Kind::Integer) return NumberText(value.Integer());
  if (value.GetKind() == ado::LoadValue::Kind::Real) return NumberText(value.Real());
  return std::string(value.Text());
}

}  // namespace torvik
