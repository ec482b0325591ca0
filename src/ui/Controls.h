#pragma once

#include <functional>
#include <string>
#include <utility>
#include <vector>

namespace torvik {

/// A value that others can watch. Whoever watches is told after each change, in the order in which
/// they began to watch.
template <class T>
class Observable {
 public:
  Observable() = default;
  explicit Observable(T value) : value_(std::move(value)) {}

  const T& Get() const { return value_; }

  void Set(T value) {
    if (value == value_) return;
    value_ = std::move(value);
    for (const auto& observer : observers_) observer(value_);
  }

  void Observe(std::function<void(const T&)> observer) {
    observers_.push_back(std::move(observer));
  }

 private:
  T value_{};
  std::vector<std::function<void(const T&)>> observers_;
};

/// What every control of a form has. A control knows nothing of the widget that shows it.
struct Control {
  Observable<bool> Enabled{true};
  Observable<bool> Visible{true};
};

struct TextBox : Control {
  Observable<std::string> Text;
};

struct CheckBox : Control {
  Observable<bool> Value;
};

struct OptionButton : Control {
  Observable<bool> Value;
};

/// A text with a list to choose it from.
struct ComboBox : Control {
  Observable<std::string> Text;
  Observable<std::vector<std::string>> List;
};

struct ListBox : Control {
  Observable<std::vector<std::string>> List;
};

struct CommandButton : Control {
  Observable<std::string> Caption;
};

struct StatusBar : Control {
  Observable<std::string> Text;
};

}  // namespace torvik
