#include "platform/linux/odbc/OdbcParameter.h"

#include <sql.h>
#include <sqlext.h>

#include <algorithm>
#include <bit>
#include <variant>

#include "platform/linux/text/Utf16.h"

namespace torvik {
namespace {

constexpr std::size_t kLongestVarchar = 4000;  // of SQL Server, in UTF-16 units

/// A size that also fits other values of about this length.
std::size_t RoomFor(std::size_t length) {
  return std::bit_ceil(std::max<std::size_t>(length, 1));
}

}  // namespace

OdbcParameter::Binding OdbcParameter::Take(const ado::Null&) {
  length_ = SQL_NULL_DATA;
  return binding_.data == nullptr ? Binding{SQL_C_CHAR, SQL_VARCHAR, 1, &whole_} : binding_;
}

OdbcParameter::Binding OdbcParameter::Take(std::int64_t value) {
  whole_ = value;
  return {SQL_C_SBIGINT, SQL_BIGINT, 19, &whole_};
}

OdbcParameter::Binding OdbcParameter::Take(double value) {
  real_ = value;
  return {SQL_C_DOUBLE, SQL_DOUBLE, 15, &real_};
}

OdbcParameter::Binding OdbcParameter::Take(const std::string& value) {
  const std::u16string text = ToUtf16(value);
  text_.assign(text);  // in its old place where it fits
  length_ = static_cast<SQLLEN>(text_.size() * sizeof(char16_t));
  if (text_.size() > kLongestVarchar)
    return {SQL_C_WCHAR, SQL_WLONGVARCHAR, RoomFor(text_.size()), text_.data()};
  const std::size_t before = binding_.type == SQL_WVARCHAR ? binding_.size : 0;
  const std::size_t size = std::min(RoomFor(text_.size()), kLongestVarchar);
  return {SQL_C_WCHAR, SQL_WVARCHAR, std::max(before, size), text_.data()};
}

OdbcParameter::Binding OdbcParameter::Take(const ado::Blob& value) {
  bytes_.assign(value.bytes);
  length_ = static_cast<SQLLEN>(bytes_.size());
  const std::size_t before = binding_.type == SQL_LONGVARBINARY ? binding_.size : 0;
  return {SQL_C_BINARY, SQL_LONGVARBINARY, std::max(before, RoomFor(bytes_.size())), bytes_.data()};
}

short OdbcParameter::Set(void* statement, std::uint16_t number, const ado::Value& value) {
  length_ = 0;
  const Binding binding = std::visit([this](const auto& v) { return Take(v); }, value);
  if (binding == binding_) return SQL_SUCCESS;
  binding_ = binding;
  return SQLBindParameter(
      statement, number, SQL_PARAM_INPUT, static_cast<SQLSMALLINT>(binding.valueType),
      static_cast<SQLSMALLINT>(binding.type), binding.size, 0, binding.data, 0, &length_);
}

}  // namespace torvik
