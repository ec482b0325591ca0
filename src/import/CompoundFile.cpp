#include "import/CompoundFile.h"

#include <algorithm>

#include "platform/Text.h"

namespace torvik::importing {
namespace {

using namespace std::string_view_literals;

constexpr std::string_view kSignature = "\xD0\xCF\x11\xE0\xA1\xB1\x1A\xE1"sv;
constexpr std::uint32_t kLastSector = 0xFFFFFFFA;  // greater numbers say that a chain ends
constexpr std::uint32_t kNoEntry = 0xFFFFFFFF;
constexpr std::size_t kHeaderBytes = 512, kEntryBytes = 128, kSmallSectorBytes = 64;
constexpr std::size_t kTablesInHeader = 109;
constexpr std::uint64_t kSmallestStream = 4096;  // of those that have sectors of their own
constexpr std::size_t kDeepestStorage = 16;

std::uint32_t LongAt(std::string_view bytes, std::size_t offset) {
  return static_cast<std::uint32_t>(LittleEndian(bytes, offset, 4));
}

/// Takes the entries of the directory, each once.
class Directory {
 public:
  Directory(std::string_view bytes, bool hasLongSizes)
      : bytes_(bytes), hasLongSizes_(hasLongSizes), isTaken_(bytes.size() / kEntryBytes) {}

  CompoundFile::Entry Take(std::uint32_t number, std::size_t depth) {
    if (number >= isTaken_.size() || isTaken_[number] || depth > kDeepestStorage)
      throw CompoundDamage("its directory of streams is damaged");
    isTaken_[number] = true;
    const std::string_view raw = Raw(number);
    const std::size_t nameBytes = LittleEndian(raw, 64, 2);
    CompoundFile::Entry entry;
    entry.name = WideText(raw.substr(0, std::min<std::size_t>(nameBytes, 64)));
    entry.isStorage = raw[66] != 2;
    entry.firstSector = LongAt(raw, 116);
    entry.size = LittleEndian(raw, 120, hasLongSizes_ ? 8 : 4);
    if (entry.isStorage) entry.children = Siblings(LongAt(raw, 76), depth + 1);
    return entry;
  }

 private:
  std::string_view Raw(std::uint32_t number) const {
    return bytes_.substr(number * kEntryBytes, kEntryBytes);
  }

  /// A tree by name, of which each entry knows the next on both of its sides.
  std::vector<CompoundFile::Entry> Siblings(std::uint32_t first, std::size_t depth) {
    std::vector<CompoundFile::Entry> siblings;
    std::vector<std::uint32_t> open = {first};
    while (!open.empty()) {
      const std::uint32_t number = open.back();
      open.pop_back();
      if (number == kNoEntry) continue;
      siblings.push_back(Take(number, depth));
      open.push_back(LongAt(Raw(number), 68));
      open.push_back(LongAt(Raw(number), 72));
    }
    std::ranges::sort(siblings, {}, &CompoundFile::Entry::name);
    return siblings;
  }

  std::string_view bytes_;
  bool hasLongSizes_;
  std::vector<bool> isTaken_;
};

}  // namespace

std::uint64_t LittleEndian(std::string_view bytes, std::size_t offset, std::size_t count) {
  if (offset > bytes.size() || bytes.size() - offset < count)
    throw CompoundDamage("it ends too early");
  std::uint64_t number = 0;
  for (std::size_t i = count; i-- > 0;)
    number = number << 8 | static_cast<unsigned char>(bytes[offset + i]);
  return number;
}

std::string WideText(std::string_view bytes) {
  std::string text;
  for (std::size_t at = 0; at + 1 < bytes.size(); at += 2) {
    auto point = static_cast<char32_t>(LittleEndian(bytes, at, 2));
    if (point == 0) break;
    const bool isHigh = point >= 0xD800 && point < 0xDC00;
    if (isHigh && at + 3 < bytes.size()) {
      const auto low = static_cast<char32_t>(LittleEndian(bytes, at + 2, 2));
      if (low >= 0xDC00 && low < 0xE000) {
        point = 0x10000 + ((point - 0xD800) << 10) + (low - 0xDC00);
        at += 2;
      }
    }
    const bool isHalf = point >= 0xD800 && point < 0xE000;
    const bool isCommand = point < 0x20 || (point >= 0x7F && point < 0xA0);
    AppendCodePoint(isHalf ? 0xFFFD : isCommand ? U' ' : point, text);
  }
  return text;
}

const CompoundFile::Entry* CompoundFile::Entry::Find(std::string_view child) const {
  const auto found = std::ranges::find_if(
      children, [&](const Entry& entry) { return EqualsIgnoringCase(entry.name, child); });
  return found == children.end() ? nullptr : &*found;
}

bool CompoundFile::IsOne(std::string_view bytes) {
  return bytes.starts_with(kSignature);
}

CompoundFile::CompoundFile(std::string_view bytes) : bytes_(bytes), left_(2 * bytes.size()) {
  if (!IsOne(bytes) || bytes.size() < kHeaderBytes) throw CompoundDamage("its header is damaged");
  const std::uint64_t shift = LittleEndian(bytes, 30, 2);
  if ((shift != 9 && shift != 12) || LittleEndian(bytes, 32, 2) != 6 ||
      LongAt(bytes, 56) != kSmallestStream)
    throw CompoundDamage("its header is damaged");
  sectorBytes_ = std::size_t{1} << shift;
  AddTables();
  ReadDirectory();
}

std::string_view CompoundFile::Sector(std::uint32_t number) const {
  const std::uint64_t begin = (std::uint64_t{number} + 1) * sectorBytes_;
  if (begin >= bytes_.size()) throw CompoundDamage("a sector lies behind its end");
  return bytes_.substr(begin, sectorBytes_);  // the last one may be cut
}

/// The tables of sectors: where they lie is told by the header, and by further sectors of the kind.
void CompoundFile::AddTables() {
  for (std::size_t i = 0; i < kTablesInHeader; ++i) AddTable(LongAt(bytes_, 76 + 4 * i));
  const std::size_t perSector = sectorBytes_ / 4 - 1;
  std::uint32_t sector = LongAt(bytes_, 68);
  while (sector < kLastSector) {
    Spend(sectorBytes_);
    const std::string_view list = Sector(sector);
    for (std::size_t i = 0; i < perSector; ++i) AddTable(LongAt(list, 4 * i));
    sector = LongAt(list, 4 * perSector);
  }
}

void CompoundFile::AddTable(std::uint32_t sector) {
  if (sector >= kLastSector) return;
  Spend(sectorBytes_);
  const std::string_view table = Sector(sector);
  for (std::size_t at = 0; at + 4 <= table.size(); at += 4) next_.push_back(LongAt(table, at));
}

void CompoundFile::Spend(std::uint64_t bytes) {
  if (bytes > left_) throw CompoundDamage("its chains of sectors are damaged");
  left_ -= bytes;
}

std::string CompoundFile::Chain(std::uint32_t first, std::uint64_t limit) {
  std::string read;
  for (std::uint32_t sector = first; sector < kLastSector && read.size() < limit;) {
    Spend(sectorBytes_);
    read += Sector(sector);
    if (sector >= next_.size()) throw CompoundDamage("its chains of sectors are damaged");
    sector = next_[sector];
  }
  return read.substr(0, limit);
}

std::string CompoundFile::SmallChain(std::uint32_t first, std::uint64_t size) {
  std::string read;
  for (std::uint32_t sector = first; sector < kLastSector && read.size() < size;) {
    const std::uint64_t begin = std::uint64_t{sector} * kSmallSectorBytes;
    if (begin >= smallSectors_.size() || sector >= nextSmall_.size())
      throw CompoundDamage("a small sector is not there");
    Spend(kSmallSectorBytes);
    read += smallSectors_.substr(begin, kSmallSectorBytes);
    sector = nextSmall_[sector];
  }
  return read.substr(0, size);
}

void CompoundFile::ReadDirectory() {
  const std::string directory = Chain(LongAt(bytes_, 48), bytes_.size());
  root_ = Directory(directory, sectorBytes_ > kHeaderBytes).Take(0, 0);
  const std::string table = Chain(LongAt(bytes_, 60), bytes_.size());
  for (std::size_t at = 0; at + 4 <= table.size(); at += 4) nextSmall_.push_back(LongAt(table, at));
  smallSectors_ = Chain(root_.firstSector, root_.size);
  // What follows is read once, the small streams within what has been read already.
  left_ = 2 * bytes_.size();
}

std::string CompoundFile::Read(const Entry& stream) {
  std::string read = stream.size < kSmallestStream ? SmallChain(stream.firstSector, stream.size)
                                                   : Chain(stream.firstSector, stream.size);
  if (read.size() < stream.size) throw CompoundDamage("the stream " + stream.name + " is cut");
  return read;
}

}  // namespace torvik::importing
