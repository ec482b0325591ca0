#include <algorithm>
#include <locale>
#include <utility>

#include "engine/pump/Conversion.h"
#include "engine/pump/DateTimePicture.h"
#include "engine/pump/RowBatch.h"
#include "engine/pump/Transformation.h"
#include "platform/Text.h"

namespace torvik::engine {
namespace {

const std::locale& Letters() {
  static const std::locale kLetters = [] {
    try {
      return std::locale("C.UTF-8");
    } catch (const std::exception&) {
      return std::locale::classic();  // ASCII letters alone
    }
  }();
  return kLetters;
}

std::string ChangedCase(std::string_view text, bool upper) {
  std::string changed;
  changed.reserve(text.size());
  while (!text.empty()) {
    const std::size_t length = std::max<std::size_t>(CharacterLength(text), 1);
    const auto letter = static_cast<wchar_t>(CodePointOf(text.substr(0, length)));
    AppendCodePoint(static_cast<char32_t>(upper ? std::toupper(letter, Letters())
                                                : std::tolower(letter, Letters())),
                    changed);
    text.remove_prefix(length);
  }
  return changed;
}

/// What changes a text; NULL stays NULL.
class TextChange : public Transformation {
 public:
  std::string Apply(const TransformedRow& row, ado::LoadValue& value) final {
    if (value.IsNull()) return {};
    return Change(TextOfValue(value, row.batch), value, row.batch);
  }

 private:
  virtual std::string Change(std::string_view text, ado::LoadValue& value, RowBatch& batch) = 0;
};

class Trim final : public TextChange {
 public:
  explicit Trim(TrimSide side) : side_(side) {}

 private:
  std::string Change(std::string_view text, ado::LoadValue& value, RowBatch&) override {
    constexpr std::string_view kBlanks = " \t\r\n";
    if (side_ != TrimSide::Right)
      text.remove_prefix(std::min(text.find_first_not_of(kBlanks), text.size()));
    if (side_ != TrimSide::Left) text = text.substr(0, text.find_last_not_of(kBlanks) + 1);
    value = text;
    return {};
  }

  const TrimSide side_;
};

class CaseChange final : public TextChange {
 public:
  explicit CaseChange(LetterCase letterCase) : letterCase_(letterCase) {}

 private:
  std::string Change(std::string_view text, ado::LoadValue& value, RowBatch& batch) override {
    value = batch.Store(ChangedCase(text, letterCase_ == LetterCase::Upper));
    return {};
  }

  const LetterCase letterCase_;
};

class Substring final : public TextChange {
 public:
  Substring(std::size_t start, std::size_t length) : start_(start), length_(length) {}

 private:
  std::string Change(std::string_view text, ado::LoadValue& value, RowBatch&) override {
    text.remove_prefix(FirstCharacters(text, start_ - 1).size());
    value = FirstCharacters(text, length_);
    return {};
  }

  const std::size_t start_, length_;
};

class DateTimeFormat final : public TextChange {
 public:
  DateTimeFormat(const std::string& from, const std::string& to) : from_(from), to_(to) {}

 private:
  std::string Change(std::string_view text, ado::LoadValue& value, RowBatch& batch) override {
    const auto time = from_.Read(text);
    if (!time) return "is not a date of the form " + from_.Text();
    value = batch.Store(to_.Write(*time));
    return {};
  }

  const DateTimePicture from_, to_;
};

class NullIf final : public TextChange {
 public:
  explicit NullIf(std::vector<std::string> values) : values_(std::move(values)) {}

 private:
  std::string Change(std::string_view text, ado::LoadValue& value, RowBatch&) override {
    if (std::ranges::find(values_, text) != values_.end()) value = {};
    return {};
  }

  const std::vector<std::string> values_;
};

class Constant final : public Transformation {
 public:
  explicit Constant(std::string value) : value_(std::move(value)) {}

  std::string Apply(const TransformedRow&, ado::LoadValue& value) override {
    value = value_;
    return {};
  }

 private:
  const std::string value_;
};

}  // namespace

std::unique_ptr<Transformation> NewTrim(TrimSide side) {
  return std::make_unique<Trim>(side);
}
std::unique_ptr<Transformation> NewLetterCase(LetterCase letterCase) {
  return std::make_unique<CaseChange>(letterCase);
}
std::unique_ptr<Transformation> NewSubstring(std::size_t start, std::size_t length) {
  return std::make_unique<Substring>(start, length);
}
std::unique_ptr<Transformation> NewDateTimeFormat(const std::string& from, const std::string& to) {
  return std::make_unique<DateTimeFormat>(from, to);
}
std::unique_ptr<Transformation> NewConstant(std::string value) {
  return std::make_unique<Constant>(std::move(value));
}
std::unique_ptr<Transformation> NewNullIf(std::vector<std::string> values) {
  return std::make_unique<NullIf>(std::move(values));
}

}  // namespace torvik::engine
