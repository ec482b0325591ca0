#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "platform/Ado.h"

namespace torvik {

class OdbcDialect;

/// One parameter of a compiled statement that runs once for each of several rows. It must stay
/// where it is for as long as that lives.
class OdbcParameterArray {
 public:
  OdbcParameterArray(const ado::Column& column, const OdbcDialect& dialect)
      : column_(column), dialect_(dialect) {}
  OdbcParameterArray(const OdbcParameterArray&) = delete;
  OdbcParameterArray& operator=(const OdbcParameterArray&) = delete;

  /// Takes the `position`th value of each of the rows; answers the bytes that they fill.
  std::size_t Take(const ado::LoadRows& rows, std::size_t position);

  /// Makes them the statement's `number`th parameter, from 1; answers the code of SQLBindParameter.
  /// They are bound again only when they must be, since a driver may compile the statement anew.
  short Bind(void* statement, std::uint16_t number);

 private:
  enum class Form { Whole, Real, Bytes, Text };
  struct Binding {
    Form form = Form::Text;
    std::size_t stride = 0;
    const void *data = nullptr, *lengths = nullptr;
    bool operator==(const Binding&) const = default;
  };
  static bool IsAll(const ado::LoadRows& rows, std::size_t position, ado::LoadValue::Kind kind);
  template <class Plain, class Get>
  void TakePlain(const ado::LoadRows& rows, std::size_t position, Get get);
  void TakePieces(const ado::LoadRows& rows, std::size_t position);
  std::string PieceOf(const ado::LoadValue& value) const;

  const ado::Column column_;
  const OdbcDialect& dialect_;
  Form form_ = Form::Text;
  std::size_t stride_ = 0;  ///< Bytes from one value to the next.
  Binding binding_;         ///< As the driver has it.
  std::string data_;
  std::vector<long> lengths_;
  std::vector<std::string> pieces_;
};

}  // namespace torvik
