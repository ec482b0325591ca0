#include "platform/linux/odbc/OdbcParameterArray.h"

#include <sql.h>
#include <sqlext.h>

#include <algorithm>
#include <bit>
#include <cstring>
#include <utility>

#include "platform/linux/odbc/OdbcDialect.h"
#include "platform/linux/odbc/OdbcLoadValue.h"
#include "platform/linux/text/Utf16.h"

namespace torvik {
namespace {

using Kind = ado::LoadValue::Kind;

}  // namespace

bool OdbcParameterArray::IsAll(const ado::LoadRows& rows, std::size_t position, Kind kind) {
  bool hasOne = false;
  for (std::size_t row = 0; row < rows.Count(); ++row) {
    const ado::LoadValue& value = rows.Row(row)[position];
    if (!value.IsNull() && value.GetKind() != kind) return false;
    hasOne = hasOne || !value.IsNull();
  }
  return hasOne;
}

std::size_t OdbcParameterArray::Take(const ado::LoadRows& rows, std::size_t position) {
  lengths_.assign(rows.Count(), SQL_NULL_DATA);
  const auto takes = [&](Kind kind) { return IsAll(rows, position, kind); };
  if (takes(Kind::Integer)) {
    form_ = Form::Whole;
    TakePlain<std::int64_t>(rows, position, [](const auto& value) { return value.Integer(); });
  } else if (takes(Kind::Real)) {
    form_ = Form::Real;
    TakePlain<double>(rows, position, [](const auto& value) { return value.Real(); });
  } else {
    const Form form = column_.kind == ado::ColumnKind::Binary ? Form::Bytes : Form::Text;
    if (form != std::exchange(form_, form)) stride_ = 0;
    TakePieces(rows, position);
  }
  return data_.size();
}

template <class Plain, class Get>
void OdbcParameterArray::TakePlain(const ado::LoadRows& rows, std::size_t position, Get get) {
  stride_ = sizeof(Plain);
  data_.assign(rows.Count() * stride_, '\0');
  for (std::size_t row = 0; row < rows.Count(); ++row) {
    const ado::LoadValue& value = rows.Row(row)[position];
    if (value.IsNull()) continue;
    const Plain plain = get(value);
    std::memcpy(data_.data() + row * stride_, &plain, sizeof plain);
    lengths_[row] = sizeof plain;
  }
}

void OdbcParameterArray::TakePieces(const ado::LoadRows& rows, std::size_t position) {
  std::size_t longest = sizeof(char16_t);
  pieces_.resize(std::max(pieces_.size(), rows.Count()));
  for (std::size_t row = 0; row < rows.Count(); ++row) {
    const ado::LoadValue& value = rows.Row(row)[position];
    if (value.IsNull()) continue;
    pieces_[row] = PieceOf(value);
    lengths_[row] = static_cast<SQLLEN>(pieces_[row].size());
    longest = std::max(longest, pieces_[row].size());
  }
  // Room that shorter values leave is kept, but not what a single long one took.
  constexpr std::size_t kUsual = 256;
  stride_ = std::max(std::bit_ceil(longest), stride_ <= kUsual ? stride_ : 0);
  data_.assign(rows.Count() * stride_, '\0');
  for (std::size_t row = 0; row < rows.Count(); ++row)
    if (lengths_[row] > 0)
      std::memcpy(data_.data() + row * stride_, pieces_[row].data(), pieces_[row].size());
}

/// The bytes that are sent for a value.
std::string OdbcParameterArray::PieceOf(const ado::LoadValue& value) const {
  if (form_ == Form::Bytes) return TextOf(value);
  const std::u16string text = ToUtf16(dialect_.Sent(column_, TextOf(value)));
  return {reinterpret_cast<const char*>(text.data()), text.size() * sizeof(char16_t)};
}

short OdbcParameterArray::Bind(void* statement, std::uint16_t number) {
  const Binding binding{form_, stride_, data_.data(), lengths_.data()};
  if (binding == binding_) return SQL_SUCCESS;
  binding_ = binding;
  constexpr std::size_t kLongestVarchar = 4000;  // of SQL Server, in UTF-16 units
  const std::size_t units = stride_ / sizeof(char16_t);
  SQLSMALLINT valueType = SQL_C_WCHAR, type = SQL_WVARCHAR;
  std::size_t size = std::max<std::size_t>(units, 1);
  switch (form_) {
    case Form::Whole: valueType = SQL_C_SBIGINT, type = SQL_BIGINT, size = 19; break;
    case Form::Real: valueType = SQL_C_DOUBLE, type = SQL_DOUBLE, size = 15; break;
    case Form::Bytes: valueType = SQL_C_BINARY, type = SQL_LONGVARBINARY, size = stride_; break;
    case Form::Text:
      if (size > kLongestVarchar) type = SQL_WLONGVARCHAR;
      break;
  }
  return SQLBindParameter(statement, number, SQL_PARAM_INPUT, valueType, type, size, 0,
                          data_.data(), static_cast<SQLLEN>(stride_), lengths_.data());
}

}  // namespace torvik
