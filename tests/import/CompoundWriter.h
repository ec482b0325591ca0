#pragma once

#include <bit>
#include <cstdint>
#include <map>
#include <string>
#include <string_view>
#include <vector>

namespace torvik::importing {

inline std::string Little(std::uint64_t number, int bytes) {
  std::string text;
  for (int i = 0; i < bytes; ++i) text += static_cast<char>(number >> 8 * i & 0xFF);
  return text;
}

inline std::string Wide(std::string_view ascii) {
  std::string text;
  for (const char c : ascii) text += {c, '\0'};
  return text;
}

/// A storage with its streams and storages.
struct WrittenStorage {
  std::map<std::string, std::string> streams;
  std::map<std::string, WrittenStorage> storages;
};

/// Writes compound files of version 3, as small as they can be.
class CompoundWriter {
 public:
  static std::string Write(const WrittenStorage& root) { return CompoundWriter().File(root); }

 private:
  static constexpr std::uint32_t kNone = 0xFFFFFFFF, kEnd = 0xFFFFFFFE, kTable = 0xFFFFFFFD;

  static std::string Entry(const std::string& name, int type, std::uint32_t sibling,
                           std::uint32_t child, std::uint32_t sector, std::size_t size) {
    std::string entry = Wide(name);
    entry.resize(64);
    entry += Little(2 * name.size() + 2, 2) + Little(type, 1) + Little(1, 1) + Little(kNone, 4) +
             Little(sibling, 4) + Little(child, 4);
    entry.resize(116);
    return entry + Little(sector, 4) + Little(size, 8);
  }

  std::uint32_t Put(std::string bytes) {
    if (bytes.empty()) return kEnd;
    const auto first = static_cast<std::uint32_t>(next_.size());
    bytes.resize((bytes.size() + 511) / 512 * 512);
    for (std::size_t i = 1; i < bytes.size() / 512; ++i) next_.push_back(first + i);
    next_.push_back(kEnd);
    sectors_ += bytes;
    return first;
  }

  std::uint32_t PutSmall(std::string bytes) {
    if (bytes.empty()) return kEnd;
    const auto first = static_cast<std::uint32_t>(small_.size() / 64);
    bytes.resize((bytes.size() + 63) / 64 * 64);
    for (std::size_t i = 1; i < bytes.size() / 64; ++i) nextSmall_ += Little(first + i, 4);
    nextSmall_ += Little(kEnd, 4);
    small_ += bytes;
    return first;
  }

  /// The first entry of what is in the storage; each knows the next one.
  std::uint32_t Children(const WrittenStorage& storage) {
    std::uint32_t sibling = kNone;
    for (const auto& [name, bytes] : storage.streams) {
      const bool isSmall = bytes.size() < 4096;
      const std::uint32_t sector = isSmall ? PutSmall(bytes) : Put(bytes);
      entries_.push_back(Entry(name, 2, sibling, kNone, sector, bytes.size()));
      sibling = static_cast<std::uint32_t>(entries_.size() - 1);
    }
    for (const auto& [name, inner] : storage.storages) {
      const std::uint32_t child = Children(inner);
      entries_.push_back(Entry(name, 1, sibling, child, 0, 0));
      sibling = static_cast<std::uint32_t>(entries_.size() - 1);
    }
    return sibling;
  }

  std::string File(const WrittenStorage& root) {
    entries_.emplace_back();
    const std::uint32_t first = Children(root);
    const std::uint32_t small = Put(small_);
    entries_[0] = Entry("Root Entry", 5, kNone, first, small, small_.size());
    std::string directory;
    for (const std::string& entry : entries_) directory += entry;
    const std::uint32_t directoryAt = Put(directory);
    const std::uint32_t nextSmallAt = Put(nextSmall_);
    const std::size_t tables = next_.size() / 127 + 1;
    const auto firstTable = static_cast<std::uint32_t>(next_.size());
    for (std::size_t i = 0; i < tables; ++i) next_.push_back(kTable);
    next_.resize(tables * 128, kNone);
    std::string header = "\xD0\xCF\x11\xE0\xA1\xB1\x1A\xE1" + std::string(16, '\0') +
                         Little(62, 2) + Little(3, 2) + Little(0xFFFE, 2) + Little(9, 2) +
                         Little(6, 2);
    header.resize(44);
    header += Little(tables, 4) + Little(directoryAt, 4) + Little(0, 4) + Little(4096, 4) +
              Little(nextSmallAt, 4) + Little(1, 4) + Little(kEnd, 4) + Little(0, 4);
    for (std::size_t i = 0; i < 109; ++i) header += Little(i < tables ? firstTable + i : kNone, 4);
    std::string table;
    for (const std::uint32_t next : next_) table += Little(next, 4);
    return header + sectors_ + table;
  }

  std::string sectors_, small_, nextSmall_;
  std::vector<std::uint32_t> next_;
  std::vector<std::string> entries_;
};

inline const std::string kGuidBytes(
    "\x78\x56\x34\x12\xBC\x9A\xF0\xDE\x01\x23\x45\x67\x89\xAB\xCD\xEF", 16);

/// A record of a directory: what stands behind the text is remains of memory.
inline std::string DirectoryRecord(const std::string& text, double date, std::size_t size) {
  std::string record = kGuidBytes + Wide(text) + std::string(2, '\0');
  while (record.size() < 528) record += "dragon"[record.size() % 6];
  record += Little(std::bit_cast<std::uint64_t>(date), 8);
  record.resize(size, '\x7F');
  return record;
}

/// A version of so many steps, tasks, connections and global variables.
inline std::string WrittenVersion(const std::vector<int>& counts) {
  WrittenStorage root;
  for (std::size_t kind = 0; kind < counts.size(); ++kind) {
    WrittenStorage& storage = root.storages["Element0000000" + std::to_string(kind + 3)];
    storage.streams["Directory"] = "dragon";
    for (int i = 0; i < counts[kind]; ++i)
      storage.storages["Part" + std::to_string(i)].streams["Data"] = "dragon";
  }
  const std::string inner = CompoundWriter::Write(root);
  return Little(inner.size(), 4) + inner;
}

/// A package in a structured storage file, two versions of it.
inline WrittenStorage WrittenPackage() {
  WrittenStorage root;
  root.streams["PackageDirectory"] =
      std::string(16, '\x01') + DirectoryRecord("Sales_LoadDW", 37257.75, 544);
  WrittenStorage& package = root.storages["Package00000000"];
  std::string& versions = package.streams["VersionDirectory"];
  versions = std::string(32, '\x01');
  for (const double date : {37257.5, 37258.25}) {
    std::string record = DirectoryRecord("", date, 560);
    record.replace(548, 12, Little(8, 4) + Little(0, 4) + Little(760, 4));
    versions += record;
  }
  package.streams["Version00000000"] = WrittenVersion({2, 1, 1, 0});
  package.streams["Version00000001"] = WrittenVersion({44, 40, 4, 3});
  return root;
}

}  // namespace torvik::importing
