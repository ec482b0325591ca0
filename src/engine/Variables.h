#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "engine/PackageModel.h"
#include "platform/Dts.h"

namespace torvik::engine {

/// The global variables of a loaded package.
class Variables final : public dts::GlobalVariables {
 public:
  Variables() = default;
  explicit Variables(std::vector<GlobalVariable> declared) : all_(std::move(declared)) {}

  const dts::Variant& Value(std::string_view name) const override;
  void SetValue(std::string_view name, dts::Variant value) override;

  /// Null when there is no variable of that name.
  const dts::Variant* Find(std::string_view name) const;

  /// A variable's value as a text; empty when there is none of that name.
  std::string Text(std::string_view name) const;

  /// True for the Boolean True and for the text of it.
  bool IsTrue(std::string_view name) const;

  const std::vector<GlobalVariable>& All() const { return all_; }

  /// `text` with every `${Name}` replaced. Throws when there is no variable of that name.
  std::string Substitute(std::string_view text) const;

  /// `text` with "***" wherever the value of a password variable stands as a word of its own: what
  /// a server or a program says may repeat what it was given.
  std::string WithoutPasswords(std::string text) const;

 private:
  std::vector<GlobalVariable> all_;
};

/// The value as `${Name}` puts it into a text; a Boolean is True or False.
std::string TextOf(const dts::Variant& value);

/// A variable whose name ends in "Password" holds one.
bool IsPasswordName(std::string_view name);

}  // namespace torvik::engine
