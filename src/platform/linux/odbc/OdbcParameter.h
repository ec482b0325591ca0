#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

#include "platform/Ado.h"

namespace torvik {

/// One parameter of a compiled statement. It must stay where it is for as long as that lives: the
/// driver reads the value when the statement runs.
class OdbcParameter {
 public:
  OdbcParameter() = default;
  OdbcParameter(const OdbcParameter&) = delete;
  OdbcParameter& operator=(const OdbcParameter&) = delete;

  /// Makes `value` the parameter's, which is the statement's `number`th from 1; answers the code of
  /// SQLBindParameter. It is bound again only when it must be, since a driver may compile the
  /// statement anew for that.
  short Set(void* statement, std::uint16_t number, const ado::Value& value);

 private:
  struct Binding {
    int valueType = 0, type = 0;
    std::size_t size = 0;
    void* data = nullptr;
    bool operator==(const Binding&) const = default;
  };
  Binding Take(const ado::Null& value);
  Binding Take(std::int64_t value);
  Binding Take(double value);
  Binding Take(const std::string& value);
  Binding Take(const ado::Blob& value);

  Binding binding_;  ///< As the driver has it.
  std::int64_t whole_ = 0;
  double real_ = 0;
  std::u16string text_;
  std::string bytes_;
  long length_ = 0;
};

}  // namespace torvik
