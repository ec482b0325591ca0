#pragma once

#include <algorithm>
#include <functional>
#include <string>
#include <utility>
#include <vector>

#include "datalinks/DropDown.h"

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

/// Something that happens, and that others can watch.
class Signal {
 public:
  void operator()() const {
    for (const auto& observer : observers_) observer();
  }
  void Observe(std::function<void()> observer) { observers_.push_back(std::move(observer)); }

 private:
  std::vector<std::function<void()>> observers_;
};

/// What every control of a form has. A control knows nothing of the widget that shows it.
struct Control {
  Observable<bool> Enabled{true};
  Observable<bool> Visible{true};
  Observable<bool> Missing;  ///< Something has to be filled in here.
  Signal SetFocus;           ///< The keyboard goes to it.
};

struct TextBox : Control {
  Observable<std::string> Text;
};

/// A text box that takes digits alone; what else is typed or pasted into it is dropped, and what
/// would make the number too large.
struct DigitsBox : TextBox {
  static constexpr int kLargest = 32767;  ///< As the column has it, a 16-bit integer.

  /// Whether a key is taken: a digit, or the backspace (8).
  static bool AcceptsKey(char32_t key) { return (key >= U'0' && key <= U'9') || key == 8; }

  /// A number that is negative shows its sign.
  void Show(int number) {
    isShowing_ = true;
    last_ = std::to_string(number);
    Text.Set(last_);
    isShowing_ = false;
  }

  DigitsBox() {
    Text.Observe([this](const std::string& text) {
      if (isShowing_) return;
      std::string digits = text;
      std::erase_if(digits, [](char c) { return c < '0' || c > '9'; });
      const std::size_t first = std::min(digits.find_first_not_of('0'), digits.size());
      const std::string number = digits.substr(first);
      const bool isTooLarge = number.size() > 5 || (number.size() == 5 && number > "32767");
      if (!isTooLarge) last_ = digits;
      Text.Set(isTooLarge ? last_ : digits);
    });
  }
  DigitsBox(const DigitsBox&) = delete;
  DigitsBox& operator=(const DigitsBox&) = delete;

 private:
  bool isShowing_ = false;
  std::string last_;
};

struct CheckBox : Control {
  Observable<bool> Value;
};

struct OptionButton : Control {
  Observable<bool> Value;
};

/// A text with a list to choose it from. A text that is set, and is not that of the chosen entry,
/// takes back the choice.
struct ComboBox : Control, DropDown {
  Observable<std::string> Text;
  Observable<std::vector<std::string>> List;
  Observable<int> ListIndex{-1};  ///< The chosen entry's position from 0, or -1. Set by Choose.

  ComboBox() {
    Text.Observe([this](const std::string& text) {
      if (text != EntryAt(ListIndex.Get())) ListIndex.Set(-1);
    });
  }
  ComboBox(const ComboBox&) = delete;
  ComboBox& operator=(const ComboBox&) = delete;

  const std::string& ShownText() const override { return Text.Get(); }
  const std::vector<std::string>& Entries() const override { return List.Get(); }
  int Chosen() const override { return ListIndex.Get(); }
  void Choose(int position) override {
    ListIndex.Set(position);
    Text.Set(EntryAt(position));
  }
  void Refill(std::vector<std::string> entries, int position) override {
    ListIndex.Set(-1);  // a position in the old list says nothing about the new one
    List.Set(std::move(entries));
    Choose(position);
  }

 private:
  std::string EntryAt(int position) const {
    return position < 0 ? "" : List.Get().at(static_cast<std::size_t>(position));
  }
};

struct ListBox : Control {
  Observable<std::vector<std::string>> List;
  Observable<int> ListIndex{-1};  ///< The selected entry's position from 0, or -1.
};

struct CommandButton : Control {
  Observable<std::string> Caption;
  Observable<std::string> Reason;  ///< Why it is not enabled; empty when it is.

  void EnableUnless(const std::string& reason) {
    Reason.Set(reason);
    Enabled.Set(reason.empty());
  }
};

struct Label : Control {
  Observable<std::string> Caption;
};

struct Image : Control {};

/// Pages of which one is in front, counted from 0.
struct TabStrip : Control {
  Observable<int> Tab;
};

/// From 0 to 100.
struct ProgressBar : Control {
  Observable<int> Value;
};

/// Who draws the form calls the form's handler each Interval milliseconds while it is enabled.
struct Timer : Control {
  Observable<int> Interval;
};

struct StatusBar : Control {
  Observable<std::string> Text;
};

}  // namespace torvik
