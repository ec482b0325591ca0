#pragma once

#include <cstddef>
#include <string_view>

#include "platform/Ado.h"

namespace torvik {

/// Which values of a column of SQL Server a bulk copy carries to it as an INSERT would store them.
/// In a copy it is the driver that converts: what it would round, cut or misread in another way
/// than the server does is no value for it.
class OdbcCopyRule {
 public:
  explicit OdbcCopyRule(const ado::Column& column);

  /// False when no value of this column is.
  bool TakesColumn() const { return type_ != Type::None; }

  /// `value` may be NULL.
  bool Takes(const ado::LoadValue& value) const;

  ado::ColumnKind Kind() const { return kind_; }

 private:
  enum class Type {
    None,
    Whole,
    Byte,
    Truth,
    Real,
    Double,
    Decimal,
    Money,
    SmallMoney,
    Date,
    DateTime,
    SmallDateTime,
    DateTime2,
    WideText,
    NarrowText
  };
  static Type TypeOf(const ado::Column& column);
  bool TakesWhole(const ado::LoadValue& value) const;
  bool TakesReal(const ado::LoadValue& value) const;
  bool TakesDecimal(std::string_view text) const;
  bool TakesMoment(std::string_view text) const;
  bool TakesText(std::string_view text) const;

  const Type type_;
  const ado::ColumnKind kind_;
  const bool nullable_;
  const std::size_t size_;
  const int precision_, scale_, codePage_;
};

}  // namespace torvik
