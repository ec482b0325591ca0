#include "import/PackageContainer.h"

#include <bit>
#include <chrono>
#include <cmath>
#include <cstdio>

#include "import/CompoundFile.h"
#include "platform/PlatformError.h"

namespace torvik::importing {
namespace {

/// A table of the container: a header, then records of one size, each with a GUID first, a text
/// behind it and a date.
struct RecordLayout {
  std::size_t header, record;
};
constexpr RecordLayout kPackages = {16, 544}, kVersions = {32, 560};
constexpr std::size_t kText = 16, kDate = 528;
constexpr std::size_t kServer[] = {548, 552, 556};  // of a version

std::vector<std::string> RecordsOf(const std::string& table, const RecordLayout& layout) {
  std::vector<std::string> records;
  for (std::size_t at = layout.header; at + layout.record <= table.size(); at += layout.record)
    records.push_back(table.substr(at, layout.record));
  return records;
}

std::string GuidText(std::string_view bytes) {
  char text[40];
  std::snprintf(
      text, sizeof text, "%08X-%04X-%04X-%04X-%012llX",
      static_cast<unsigned>(LittleEndian(bytes, 0, 4)),
      static_cast<unsigned>(LittleEndian(bytes, 4, 2)),
      static_cast<unsigned>(LittleEndian(bytes, 6, 2)),
      static_cast<unsigned>(
          __builtin_bswap16(static_cast<std::uint16_t>(LittleEndian(bytes, 8, 2)))),
      static_cast<unsigned long long>(__builtin_bswap64(LittleEndian(bytes, 10, 6)) >> 16));
  return text;
}

/// Days since 30 December 1899.
std::string DateText(std::uint64_t bits) {
  const auto days = std::bit_cast<double>(bits);
  constexpr double kYear9999 = 2958465;
  if (!(days >= 1 && days < kYear9999)) return {};
  using namespace std::chrono;
  const auto instant = sys_days(1899y / December / 30) + seconds(std::llround(days * 86400));
  const year_month_day date(floor<std::chrono::days>(instant));
  const hh_mm_ss time(instant - floor<std::chrono::days>(instant));
  char text[80];
  std::snprintf(text, sizeof text, "%04d-%02u-%02u %02d:%02d:%02d", static_cast<int>(date.year()),
                static_cast<unsigned>(date.month()), static_cast<unsigned>(date.day()),
                static_cast<int>(time.hours().count()), static_cast<int>(time.minutes().count()),
                static_cast<int>(time.seconds().count()));
  return text;
}

/// The parts of one kind are the storages beside their directory.
int StoragesIn(const CompoundFile::Entry& root, const char* name) {
  const CompoundFile::Entry* const kind = root.Find(name);
  int count = 0;
  if (kind != nullptr)
    for (const CompoundFile::Entry& child : kind->children) count += child.isStorage ? 1 : 0;
  return count;
}

/// A version is a file of the same kind behind its length.
std::optional<PartCounts> PartsOf(CompoundFile& file, const CompoundFile::Entry& stream) {
  try {
    const std::string bytes = file.Read(stream);
    const std::uint64_t length = LittleEndian(bytes, 0, 4);
    const CompoundFile inner(std::string_view(bytes).substr(4, length));
    return PartCounts{
        StoragesIn(inner.Root(), "Element00000003"), StoragesIn(inner.Root(), "Element00000004"),
        StoragesIn(inner.Root(), "Element00000005"), StoragesIn(inner.Root(), "Element00000006")};
  } catch (const CompoundDamage&) {
    return std::nullopt;
  }
}

/// The storages or streams called `prefix` and a number, in the order of their numbers.
std::vector<const CompoundFile::Entry*> Numbered(const CompoundFile::Entry& storage,
                                                 std::string_view prefix) {
  constexpr std::size_t kDigits = 8;
  std::vector<const CompoundFile::Entry*> entries;
  for (const CompoundFile::Entry& entry : storage.children)
    if (entry.name.starts_with(prefix) && entry.name.size() == prefix.size() + kDigits)
      entries.push_back(&entry);
  return entries;
}

std::vector<ContainedVersion> VersionsOf(CompoundFile& file, const CompoundFile::Entry& package) {
  std::vector<ContainedVersion> versions;
  const CompoundFile::Entry* const directory = package.Find("VersionDirectory");
  if (directory == nullptr) throw CompoundDamage("a package has no directory of its versions");
  const auto streams = Numbered(package, "Version");
  for (const std::string& record : RecordsOf(file.Read(*directory), kVersions)) {
    ContainedVersion version;
    version.id = GuidText(record);
    version.created = DateText(LittleEndian(record, kDate, 8));
    for (const std::size_t at : kServer)
      version.server +=
          (version.server.empty() ? "" : ".") + std::to_string(LittleEndian(record, at, 4));
    if (versions.size() < streams.size()) version.parts = PartsOf(file, *streams[versions.size()]);
    versions.push_back(std::move(version));
  }
  return versions;
}

std::string Counted(int count, const char* one) {
  return std::to_string(count) + " " + one + (count == 1 ? "" : "s");
}

std::string WordsOf(const ContainedVersion& version) {
  std::string text = "  version " + version.id;
  if (!version.created.empty()) text += " of " + version.created;
  text += ", made by a server of version " + version.server + ": ";
  if (!version.parts) return text + "what it holds is damaged";
  return text + Counted(version.parts->steps, "step") + ", " +
         Counted(version.parts->tasks, "task") + ", " +
         Counted(version.parts->connections, "connection") + ", " +
         Counted(version.parts->variables, "global variable");
}

}  // namespace

bool IsPackageContainer(std::string_view bytes) {
  return CompoundFile::IsOne(bytes);
}

std::vector<ContainedPackage> ReadPackageContainer(const std::string& file,
                                                   std::string_view bytes) {
  const auto refused = [&](const std::string& reason) {
    return PlatformError(0, file + ": this is a structured storage file, but " + reason,
                         "package import");
  };
  try {
    CompoundFile container(bytes);
    const CompoundFile::Entry* const directory = container.Root().Find("PackageDirectory");
    if (directory == nullptr) throw refused("there are no packages in it");
    const auto storages = Numbered(container.Root(), "Package");
    std::vector<ContainedPackage> packages;
    for (const std::string& record : RecordsOf(container.Read(*directory), kPackages)) {
      ContainedPackage package;
      package.id = GuidText(record);
      package.name = WideText(std::string_view(record).substr(kText, kDate - kText));
      package.created = DateText(LittleEndian(record, kDate, 8));
      if (packages.size() >= storages.size())
        throw CompoundDamage("a package of its directory is not there");
      package.versions = VersionsOf(container, *storages[packages.size()]);
      packages.push_back(std::move(package));
    }
    if (packages.empty()) throw refused("its directory of packages is empty");
    return packages;
  } catch (const CompoundDamage& damage) {
    throw refused(std::string("it is damaged: ") + damage.what() + "; take another copy of it");
  }
}

std::string WordsOf(const std::vector<ContainedPackage>& packages) {
  std::string text;
  for (const ContainedPackage& package : packages) {
    text += (text.empty() ? "" : "\n") + std::string("package ") + package.name;
    if (!package.created.empty()) text += " of " + package.created;
    text += ", " + Counted(static_cast<int>(package.versions.size()), "version");
    for (const ContainedVersion& version : package.versions) text += "\n" + WordsOf(version);
  }
  return text;
}

}  // namespace torvik::importing
