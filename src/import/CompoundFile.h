#pragma once

#include <cstdint>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace torvik::importing {

/// What a compound file should have and does not.
struct CompoundDamage : std::runtime_error {
  using std::runtime_error::runtime_error;
};

/// A structured storage (compound) file in memory, of version 3 or 4: storages that hold streams
/// and storages. The bytes must outlive it. Takes no more time and memory than the size of the file
/// explains, whatever is in it.
class CompoundFile {
 public:
  struct Entry {
    std::string name;
    bool isStorage = false;
    std::uint32_t firstSector = 0;
    std::uint64_t size = 0;       ///< Of a stream, as the file says.
    std::vector<Entry> children;  ///< Of a storage, by name.

    const Entry* Find(std::string_view child) const;
  };

  /// True when the bytes begin as those of a compound file.
  static bool IsOne(std::string_view bytes);

  /// Throws CompoundDamage.
  explicit CompoundFile(std::string_view bytes);

  const Entry& Root() const { return root_; }

  /// Throws CompoundDamage when the sectors of the stream are not there, and when more has been
  /// read than the file has: streams that share their sectors.
  std::string Read(const Entry& stream);

 private:
  using Sectors = std::vector<std::uint32_t>;

  std::string_view Sector(std::uint32_t number) const;
  void AddTables();
  void AddTable(std::uint32_t sector);
  std::string Chain(std::uint32_t first, std::uint64_t limit);
  std::string SmallChain(std::uint32_t first, std::uint64_t size);
  void Spend(std::uint64_t bytes);
  void ReadDirectory();

  std::string_view bytes_;
  std::size_t sectorBytes_ = 0;
  std::uint64_t left_ = 0;  ///< How much may still be read.
  Sectors next_, nextSmall_;
  std::string smallSectors_;
  Entry root_;
};

/// The number of `count` bytes, the lowest first, at `offset`; throws CompoundDamage behind the
/// end.
std::uint64_t LittleEndian(std::string_view bytes, std::size_t offset, std::size_t count);

/// UTF-16 up to a NUL or the end, in UTF-8; what a terminal takes for a command becomes a blank.
std::string WideText(std::string_view bytes);

}  // namespace torvik::importing
