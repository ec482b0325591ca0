#pragma once

#include <mutex>
#include <string>
#include <string_view>
#include <vector>

#include "engine/model/PackageModel.h"
#include "platform/Dts.h"

namespace torvik::engine {

/// The global variables of a loaded package. The steps of a run read and set them from several
/// threads at once; each call sees all variables as they stand at one moment.
class Variables final : public dts::GlobalVariables {
 public:
  Variables() = default;
  explicit Variables(std::vector<GlobalVariable> declared) { Declare(std::move(declared)); }

  /// Forgets the variables and takes these in their place. Nobody may use them meanwhile.
  void Declare(std::vector<GlobalVariable> declared);

  dts::Variant Value(std::string_view name) const override;
  void SetValue(std::string_view name, dts::Variant value) override;

  /// The value that the variable was declared with, whose type is the variable's; null when there
  /// is no variable of that name. It stays as it is whatever is set.
  const dts::Variant* Find(std::string_view name) const;

  /// A variable's value as a text; empty when there is none of that name.
  std::string Text(std::string_view name) const;

  /// True for the Boolean True and for the text of it.
  bool IsTrue(std::string_view name) const;

  /// As they stand now.
  std::vector<GlobalVariable> All() const;

  /// `text` with every `${Name}` replaced. Throws when there is no variable of that name.
  std::string Substitute(std::string_view text) const;

  /// `text` with "***" wherever the value of a password variable stands as a word of its own: what
  /// a server or a program says may repeat what it was given.
  std::string WithoutPasswords(std::string text) const;

 private:
  std::size_t PositionOf(std::string_view name) const;
  /// Throws when there is none. The lock must be held.
  const dts::Variant& Current(std::string_view name) const;

  std::vector<GlobalVariable> declared_;
  mutable std::mutex mutex_;          // of the values
  std::vector<dts::Variant> values_;  // as they are now, by position
};

/// The value as `${Name}` puts it into a text; a Boolean is True or False.
std::string TextOf(const dts::Variant& value);

}  // namespace torvik::engine
