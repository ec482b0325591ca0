#include "platform/linux/tables/dbase/DbaseTable.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <bit>
#include <charconv>
#include <chrono>
#include <cstdio>
#include <filesystem>
#include <set>
#include <vector>

#include "platform/CodePage.h"
#include "platform/NumberText.h"
#include "platform/Text.h"
#include "platform/linux/database/SqliteColumns.h"
#include "platform/linux/system/Posix.h"
#include "platform/linux/tables/common/DecimalText.h"
#include "platform/linux/tables/common/LittleEndian.h"
#include "platform/linux/tables/dbase/DbaseMemo.h"
#include "platform/linux/text/IconvCodePages.h"

namespace torvik {
namespace {

constexpr std::size_t kHeaderBytes = 32, kFieldBytes = 32;

/// One field of a record.
struct Field {
  char type = 'C';
  std::size_t offset = 0;  ///< In the record, behind the mark of deletion.
  std::size_t size = 0;
  int decimals = 0;
};

/// What the header says.
struct Layout {
  std::uint64_t records = 0;
  std::size_t headerBytes = 0, recordBytes = 0;
  std::string encoding;
  std::vector<Field> fields;
  std::vector<ado::Column> columns;
};

/// By the language driver in the header; the code page of DOS where none is said.
std::string EncodingOf(unsigned char driver) {
  static constexpr struct {
    unsigned char driver;
    const char* encoding;
  } kEncodings[] = {
      {0x01, "cp437"},  {0x03, "cp1252"}, {0x08, "cp865"},  {0x09, "cp437"},  {0x0B, "cp437"},
      {0x0D, "cp437"},  {0x0F, "cp437"},  {0x11, "cp437"},  {0x15, "cp437"},  {0x17, "cp865"},
      {0x18, "cp437"},  {0x19, "cp437"},  {0x1B, "cp437"},  {0x1C, "cp863"},  {0x1F, "cp852"},
      {0x22, "cp852"},  {0x23, "cp852"},  {0x24, "cp860"},  {0x26, "cp866"},  {0x40, "cp852"},
      {0x57, "cp1252"}, {0x58, "cp1252"}, {0x59, "cp1252"}, {0x64, "cp852"},  {0x65, "cp866"},
      {0x66, "cp865"},  {0x67, "cp861"},  {0x6A, "cp737"},  {0x6B, "cp857"},  {0x6C, "cp863"},
      {0x86, "cp737"},  {0x87, "cp852"},  {0x88, "cp857"},  {0xC8, "cp1250"}, {0xC9, "cp1251"},
      {0xCA, "cp1254"}, {0xCB, "cp1253"}, {0xCC, "cp1257"}};
  for (const auto& known : kEncodings)
    if (known.driver == driver) return known.encoding;
  return "cp850";
}

std::string DeclaredType(const Field& field) {
  const std::string size = std::to_string(field.size);
  switch (field.type) {
    case 'N':
      // More digits than a whole number of eight bytes has.
      if (field.decimals == 0) return field.size <= 18 ? "BIGINT" : "DECIMAL(" + size + ",0)";
      return "DECIMAL(" + size + "," + std::to_string(field.decimals) + ")";
    case 'F':
    case 'B':
    case 'O': return "DOUBLE";
    case 'I':
    case '+': return "INTEGER";
    case 'Y': return "DECIMAL(19,4)";
    case 'D': return "DATE";
    case 'T':
    case '@': return "DATETIME";
    case 'L': return "BIT";
    case 'C': return "VARCHAR(" + size + ")";
    default: return "TEXT";
  }
}

std::string_view TrimmedBlanks(std::string_view text) {
  constexpr std::string_view kBlanks(" \0", 2);
  const std::size_t begin = std::min(text.find_first_not_of(kBlanks), text.size());
  return text.substr(begin, text.find_last_not_of(kBlanks) + 1 - begin);
}

class DbaseFile {
 public:
  explicit DbaseFile(const std::string& path)
      : path_(path), file_(OpenFile(path, O_RDONLY | O_NONBLOCK)) {
    if (!file_.IsOpen())
      throw TableFileError(path, "cannot be read: " + LastSystemError().message() +
                                     "; check the path and the rights on it");
  }

  PlatformError Damaged(const std::string& reason) const {
    return TableFileError(path_, "is damaged, or no dBase file: " + reason);
  }

  /// As many of the bytes as there are.
  std::string BytesAt(std::uint64_t offset, std::size_t most) const {
    std::string bytes(most, '\0');
    std::size_t filled = 0;
    while (filled < most) {
      const ssize_t got = pread(file_.Number(), bytes.data() + filled, most - filled,
                                static_cast<off_t>(offset + filled));
      if (got < 0) throw TableFileError(path_, "cannot be read: " + LastSystemError().message());
      if (got == 0) break;
      filled += static_cast<std::size_t>(got);
    }
    bytes.resize(filled);
    return bytes;
  }

  Layout ReadLayout() const {
    const std::string head = BytesAt(0, kHeaderBytes);
    if (head.size() < kHeaderBytes) throw Damaged("it has no header");
    Layout layout;
    layout.records = LittleEndian<std::uint32_t>(head, 4);
    layout.headerBytes = LittleEndian<std::uint16_t>(head, 8);
    layout.recordBytes = LittleEndian<std::uint16_t>(head, 10);
    layout.encoding = EncodingOf(static_cast<unsigned char>(head[29]));
    if (layout.headerBytes <= kHeaderBytes || layout.recordBytes < 2)
      throw Damaged("its header says that nothing follows");
    ReadFields(layout);
    return layout;
  }

 private:
  void ReadFields(Layout& layout) const {
    constexpr char kEnd = '\r';
    const std::string header = BytesAt(0, layout.headerBytes);
    const auto names = NewIconvCodePages("windows-1252")->Open(layout.encoding);
    std::set<std::string> known;
    std::size_t offset = 1;
    for (std::size_t at = kHeaderBytes; at + kFieldBytes <= header.size() && header[at] != kEnd;
         at += kFieldBytes) {
      const std::string_view entry = std::string_view(header).substr(at, kFieldBytes);
      const std::string_view name = entry.substr(0, std::min<std::size_t>(entry.find('\0'), 11));
      Field field{entry[11], offset, static_cast<unsigned char>(entry[16]),
                  static_cast<unsigned char>(entry[17])};
      // A text longer than 255 characters has its size in both bytes.
      if (field.type == 'C') {
        field.size += 256 * static_cast<std::size_t>(field.decimals);
        field.decimals = 0;
      }
      offset += field.size;
      constexpr char kSystemField = '0';  // the marks for NULL of Visual FoxPro
      if (field.type == kSystemField) continue;
      layout.fields.push_back(field);
      layout.columns.push_back(ColumnOfType(DeclaredType(field)));
      layout.columns.back().name = names->Decode(TrimmedBlanks(name));
      if (name.empty() || !known.insert(LowerAscii(layout.columns.back().name)).second)
        throw Damaged("the columns' names cannot be read");
    }
    if (layout.fields.empty()) throw Damaged("it has no columns");
    if (offset > layout.recordBytes) throw Damaged("its columns are longer than its records");
  }

  const std::string path_;
  const Descriptor file_;
};

/// The values of one record. Each function answers nothing for bytes that are no value of the type.
class DbaseValues {
 public:
  DbaseValues(const std::string& path, const Layout& layout)
      : memo_(path), codePage_(NewIconvCodePages("windows-1252")->Open(layout.encoding)) {}

  std::optional<ado::Value> Value(const Field& field, std::string_view bytes) {
    switch (field.type) {
      case 'N': return field.decimals == 0 && field.size <= 18 ? Whole(bytes) : Decimal(bytes);
      case 'F': return Real(bytes);
      case 'D': return Date(bytes);
      case 'L': return Logical(bytes);
      case 'M': return Memo(bytes);
      case 'I':
        return Sized(bytes, 4, [&] { return std::int64_t{LittleEndian<std::int32_t>(bytes)}; });
      case 'B':
        return Sized(bytes, 8,
                     [&] { return std::bit_cast<double>(LittleEndian<std::uint64_t>(bytes)); });
      case 'Y': return Sized(bytes, 8, [&] { return Currency(bytes); });
      case 'T': return Sized(bytes, 8, [&] { return Moment(bytes); });
      case 'G':
      case 'P': return ado::Null{};  // pictures and objects
      default: return Text(bytes);
    }
  }

 private:
  template <typename Read>
  static std::optional<ado::Value> Sized(std::string_view bytes, std::size_t size,
                                         const Read& read) {
    if (bytes.size() != size) return std::nullopt;
    return read();
  }

  ado::Value Text(std::string_view bytes) const {
    const std::string_view text =
        bytes.substr(0, bytes.find_last_not_of(std::string_view(" \0", 2)) + 1);
    return text.empty() ? ado::Value(ado::Null{}) : ado::Value(codePage_->Decode(text));
  }

  /// An overflow in the program that wrote it has left asterisks.
  static bool IsMissing(std::string_view text) {
    return text.empty() || text.find_first_not_of('*') == text.npos;
  }

  static std::optional<ado::Value> Whole(std::string_view bytes) {
    const std::string_view text = TrimmedBlanks(bytes);
    if (IsMissing(text)) return ado::Null{};
    std::int64_t number = 0;
    const auto read =
        std::from_chars(text.data() + (text[0] == '+'), text.data() + text.size(), number);
    if (read.ec != std::errc()) return std::nullopt;
    const std::string_view rest(read.ptr,
                                static_cast<std::size_t>(text.data() + text.size() - read.ptr));
    if (rest.find_first_not_of(".0") != rest.npos) return std::nullopt;
    return number;
  }

  static std::optional<ado::Value> Decimal(std::string_view bytes) {
    const std::string_view text = TrimmedBlanks(bytes);
    if (IsMissing(text)) return ado::Null{};
    const bool isNumber = text.find_first_not_of("+-.0123456789") == text.npos;
    if (!isNumber) return Real(bytes);  // with an exponent
    return std::string(text.substr(text[0] == '+' ? 1 : 0));
  }

  static std::optional<ado::Value> Real(std::string_view bytes) {
    const std::string_view text = TrimmedBlanks(bytes);
    if (IsMissing(text)) return ado::Null{};
    const auto number = NumberOf<double>(text.substr(text[0] == '+' ? 1 : 0));
    return number ? std::optional<ado::Value>(*number) : std::nullopt;
  }

  static std::optional<ado::Value> Date(std::string_view bytes) {
    const std::string_view text = TrimmedBlanks(bytes);
    if (text.empty() || text.find_first_not_of('0') == text.npos) return ado::Null{};
    if (text.size() != 8 || text.find_first_not_of("0123456789") != text.npos) return std::nullopt;
    return std::string(text.substr(0, 4)) + "-" + std::string(text.substr(4, 2)) + "-" +
           std::string(text.substr(6));
  }

  static std::optional<ado::Value> Logical(std::string_view bytes) {
    const std::string_view text = TrimmedBlanks(bytes);
    if (text.empty() || text == "?") return ado::Null{};
    if (std::string_view("TtYy1").find(text[0]) != std::string_view::npos) return std::int64_t{1};
    if (std::string_view("FfNn0").find(text[0]) != std::string_view::npos) return std::int64_t{0};
    return std::nullopt;
  }

  static ado::Value Currency(std::string_view bytes) {
    const auto amount = LittleEndian<std::int64_t>(bytes);
    std::uint64_t magnitude =
        amount < 0 ? 0 - static_cast<std::uint64_t>(amount) : static_cast<std::uint64_t>(amount);
    std::string digits(sizeof magnitude, '\0');
    for (char& byte : digits) {
      byte = static_cast<char>(magnitude & 0xFF);
      magnitude >>= 8;
    }
    return DecimalText(digits, amount < 0, 4);
  }

  /// A Julian day, then milliseconds.
  static ado::Value Moment(std::string_view bytes) {
    constexpr std::int32_t kJulianDayOf1970 = 2440588;
    constexpr std::int64_t kMostDays = 5'000'000;
    const std::int64_t day = LittleEndian<std::int32_t>(bytes);
    if (day <= 0 || day > kMostDays) return ado::Null{};
    const std::chrono::year_month_day date{
        std::chrono::sys_days{std::chrono::days{day - kJulianDayOf1970}}};
    // Writers are off by a millisecond.
    const auto seconds =
        (std::clamp(LittleEndian<std::int32_t>(bytes, 4), 0, 86'399'000) + 500) / 1000;
    char text[64];
    const int size = std::snprintf(
        text, sizeof text, "%04d-%02u-%02u %02d:%02d:%02d", static_cast<int>(date.year()),
        static_cast<unsigned>(date.month()), static_cast<unsigned>(date.day()), seconds / 3600,
        seconds / 60 % 60, seconds % 60);
    return std::string(text, static_cast<std::size_t>(size));
  }

  /// The number of a block, as ten digits or in four bytes.
  std::optional<ado::Value> Memo(std::string_view bytes) {
    std::uint64_t block = 0;
    if (bytes.size() == 4) {
      block = LittleEndian<std::uint32_t>(bytes);
    } else {
      const std::string_view text = TrimmedBlanks(bytes);
      const char* const end = text.data() + text.size();
      if (!text.empty() && std::from_chars(text.data(), end, block).ptr != end) return std::nullopt;
    }
    if (block == 0) return ado::Null{};
    return codePage_->Decode(memo_.TextAt(block));
  }

  DbaseMemo memo_;
  const std::unique_ptr<CodePage> codePage_;
};

class DbaseRows final : public FileRows {
 public:
  DbaseRows(const std::string& path, const Layout& layout)
      : file_(path), layout_(layout), values_(path, layout) {}

  bool Step() override {
    while (next_ < layout_.records) {
      if (!Read(next_++)) return false;
      constexpr char kDeleted = '*';
      if (record_[0] != kDeleted) return true;
    }
    return false;
  }

  std::int64_t Place() const override { return static_cast<std::int64_t>(next_); }
  void GoTo(std::int64_t place) override {
    next_ = static_cast<std::uint64_t>(place);
    if (!Read(next_ - 1)) throw file_.Damaged("a record has gone while it was read");
  }

  ado::Value Column(int column) override {
    const Field& field = layout_.fields[static_cast<std::size_t>(column)];
    auto value = values_.Value(field, std::string_view(record_).substr(field.offset, field.size));
    if (!value)
      throw file_.Damaged("record " + std::to_string(next_) + ", column " +
                          layout_.columns[static_cast<std::size_t>(column)].name +
                          ": it is no value of its type");
    return std::move(*value);
  }

 private:
  /// False at the file's end: a header may count records that were never written.
  bool Read(std::uint64_t record) {
    constexpr std::uint64_t kAtOnce = 64;
    constexpr char kEndOfFile = '\x1A';
    const std::size_t size = layout_.recordBytes;
    if (record < blockBegin_ || record - blockBegin_ >= block_.size() / size) {
      block_ = file_.BytesAt(layout_.headerBytes + record * size, kAtOnce * size);
      blockBegin_ = record;
    }
    if (block_.size() < size || block_[(record - blockBegin_) * size] == kEndOfFile) return false;
    record_.assign(block_, (record - blockBegin_) * size, size);
    return true;
  }

  const DbaseFile file_;
  const Layout& layout_;
  DbaseValues values_;
  std::string block_, record_;
  std::uint64_t blockBegin_ = 0, next_ = 0;
};

class DbaseTable final : public FileTable {
 public:
  DbaseTable(const std::string& path, const std::string& name)
      : path_(path), name_(name), layout_(DbaseFile(path).ReadLayout()) {}

  const std::string& Name() const override { return name_; }
  const std::vector<ado::Column>& Columns() const override { return layout_.columns; }
  std::int64_t RowEstimate() const override { return static_cast<std::int64_t>(layout_.records); }
  std::unique_ptr<FileRows> Open() const override {
    return std::make_unique<DbaseRows>(path_, layout_);
  }

 private:
  const std::string path_, name_;
  const Layout layout_;
};

}  // namespace

std::unique_ptr<FileTable> NewDbaseTable(const std::string& path, const std::string& name) {
  return std::make_unique<DbaseTable>(path, name);
}

}  // namespace torvik
