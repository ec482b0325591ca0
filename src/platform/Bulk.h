#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

/// Rows in bulk, on their way into a table or out of a query.
namespace torvik::ado {

/// One value: NULL, a text in UTF-8 (of a binary column: its bytes), a whole number or a real one.
/// The bytes of a text stay their owner's.
class LoadValue {
 public:
  enum class Kind : std::uint8_t { Null, Text, Integer, Real };

  constexpr LoadValue() = default;
  constexpr LoadValue(std::string_view text)
      : data_(text.data()), sizeAndKind_(WordOf(Kind::Text) | text.size()) {}
  constexpr LoadValue(const char* text) : LoadValue(std::string_view(text)) {}
  LoadValue(const std::string& text) : LoadValue(std::string_view(text)) {}
  constexpr LoadValue(std::int64_t number)
      : integer_(number), sizeAndKind_(WordOf(Kind::Integer)) {}
  constexpr LoadValue(double number) : real_(number), sizeAndKind_(WordOf(Kind::Real)) {}

  constexpr Kind GetKind() const { return static_cast<Kind>(sizeAndKind_ >> kSizeBits); }
  constexpr bool IsNull() const { return GetKind() == Kind::Null; }
  constexpr bool IsText() const { return GetKind() == Kind::Text; }

  /// Each for a value of that kind alone.
  constexpr std::string_view Text() const {
    return {data_, static_cast<std::size_t>(sizeAndKind_ ^ WordOf(Kind::Text))};
  }
  constexpr std::int64_t Integer() const { return integer_; }
  constexpr double Real() const { return real_; }

 private:
  static constexpr int kSizeBits = 56;

  static constexpr std::uint64_t WordOf(Kind kind) {
    return static_cast<std::uint64_t>(kind) << kSizeBits;
  }

  union {
    const char* data_ = nullptr;
    std::int64_t integer_;
    double real_;
  };
  // One word for both: values pass by the million, and memory sets the pace.
  std::uint64_t sizeAndKind_ = 0;
};
static_assert(sizeof(LoadValue) == 16);

/// Rows of equal width, one after the other.
struct LoadRows {
  std::span<const LoadValue> values;
  std::size_t width = 0;  ///< Values of a row; more than 0.

  std::size_t Count() const { return values.size() / width; }
  std::span<const LoadValue> Row(std::size_t row) const {
    return values.subspan(row * width, width);
  }
};

/// A row that the server did not take, and why, in the server's words.
struct Refusal {
  std::size_t row = 0;  ///< Its position among the rows given, from 0.
  long number = 0;
  std::string description;
};

/// The rows of a query on their way out, by the fastest way that the server has.
class BulkRead {
 public:
  virtual ~BulkRead() = default;

  virtual const std::vector<std::string>& Columns() const = 0;

  /// Has the server begin now, with what it holds now; else the first Next does.
  virtual void Start() {}

  /// Puts the next row into `row`, one value for each column; texts are valid until the next call.
  /// False when there are no more.
  virtual bool Next(std::span<LoadValue> row) = 0;
};

/// Rows on their way into one table, by the fastest way that the server has. They go into the
/// connection's transaction; without one the server may commit them as they come.
class BulkLoad {
 public:
  virtual ~BulkLoad() = default;

  /// Loads `rows`, one value for each column named when the load was opened; their bytes must live
  /// until this returns. Numbers, dates and texts may be given as text; the loader stores them in
  /// the column's own type. A row that the server refuses for what is in it (a constraint, a
  /// trigger, a value out of range) is added to `refused` and leaves nothing; the others are
  /// loaded. After more than `tolerated` refusals by this call the load may end: what it has loaded
  /// is then for the caller to roll back. Anything else that fails (connection, disk, cancel)
  /// throws PlatformError.
  virtual void Load(const LoadRows& rows, std::size_t tolerated, std::vector<Refusal>& refused) = 0;

  /// Gives rows to a server that takes several calls' rows faster when it judges them together:
  /// Settle must follow before anything else but Send is called. False, and nothing is given, where
  /// there is no such way, or not now; Load is for these rows then.
  virtual bool Send(const LoadRows& rows) {
    (void)rows;
    return false;
  }

  /// Has the server judge all rows sent. True: they are loaded. False: none of them is, because one
  /// cannot be taken so; Load tells which. Fails as Load does.
  virtual bool Settle() { return true; }

  /// Loads all rows of a read that has not begun, value `columns[i]` of each into the i-th column,
  /// where the server can take them as they are: they are of its own kind and need no look at any
  /// value but its own. Answers how many the read had. Nothing where there is no such way, and
  /// where a row is refused: nothing is loaded then, and the read begins anew, to be loaded row by
  /// row. `progress` gets the rows so far; what it throws ends the load.
  virtual std::optional<std::int64_t> LoadAll(BulkRead& rows, std::span<const std::size_t> columns,
                                              const std::function<void(std::int64_t)>& progress) {
    (void)rows, (void)columns, (void)progress;
    return std::nullopt;
  }

  /// Ends the load; answers the number of rows that the server took, as the server counts them.
  virtual std::int64_t Finish() = 0;
};

}  // namespace torvik::ado
