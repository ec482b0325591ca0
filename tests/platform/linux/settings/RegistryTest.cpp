#include <gmock/gmock.h>
#include <sys/stat.h>
#include <unistd.h>

#include <functional>
#include <memory>
#include <thread>
#include <vector>

#include "fakes/FakeRegistry.h"
#include "fakes/TemporaryDirectory.h"
#include "platform/linux/settings/RegistryFile.h"

namespace torvik {
namespace {

using namespace registry;

struct Kind {
  const char* name;
  std::function<std::unique_ptr<Registry>(const std::string& directory)> make;
};
void PrintTo(const Kind& kind, std::ostream* out) {
  *out << kind.name;
}

class RegistryContract : public testing::TestWithParam<Kind> {
 protected:
  RegistryKey Make(const std::string& path) {
    RegistryKey key = 0;
    EXPECT_EQ(kSuccess, registry_->RegCreateKeyExA(kLocalMachine, path, kAllAccess, key)) << path;
    return key;
  }
  std::int32_t Open(const std::string& path, RegistryKey& key) {
    return registry_->RegOpenKeyExA(kLocalMachine, path, kAllAccess, key);
  }
  std::string Value(RegistryKey key, const std::string& name) {
    std::uint32_t size = 0;
    if (registry_->RegQueryValueExA(key, name, nullptr, size) != kSuccess) return "none";
    std::string data(size, '?');
    EXPECT_EQ(kSuccess, registry_->RegQueryValueExA(key, name, data.data(), size));
    return data;
  }

  TemporaryDirectory disk_;
  std::unique_ptr<Registry> registry_ = GetParam().make(disk_.PathOf("registry"));
};

TEST_P(RegistryContract, ValuesAreKeptByteForByte) {
  const RegistryKey key = Make("Software\\Quor\\Torvik");
  const std::pair<const char*, std::string> values[] = {
      {"", "default"},
      {"plain", "C:\\jobs\\a.etl"},
      {"odd \"name\"]=", "line\r\nbreak, \"quotes\" and \\"},
      {"bytes", std::string("\0\xE4\xFF\x7F", 4)},
      {"empty", ""}};
  for (const auto& [name, data] : values)
    EXPECT_EQ(kSuccess, registry_->RegSetValueExA(key, name, kText, data)) << name;
  for (const auto& [name, data] : values) EXPECT_EQ(data, Value(key, name)) << name;
  EXPECT_EQ("default", Value(key, ""));
  EXPECT_EQ(kSuccess, registry_->RegSetValueExA(key, "PLAIN", kText, "second"));
  EXPECT_EQ("second", Value(key, "plain"));
  std::uint32_t size = 3;
  char part[4] = "???";
  EXPECT_EQ(kSuccess, registry_->RegQueryValueExA(key, "plain", part, size));
  EXPECT_STREQ("sec", part);
  EXPECT_EQ(kCannotWrite, registry_->RegSetValueExA(key, "plain", 4, "1234"));
  EXPECT_EQ("second", Value(key, "plain"));
}

TEST_P(RegistryContract, KeysAreMadeFoundAndDeleted) {
  RegistryKey key = 0;
  EXPECT_EQ(kFileNotFound, Open("Software", key));
  const RegistryKey made = Make("Software\\A\\B");
  EXPECT_EQ(kSuccess, Open("software\\a", key));
  EXPECT_EQ(kAccessDenied, registry_->RegDeleteKeyA(Make("Software"), "A"));
  EXPECT_EQ(kFileNotFound, registry_->RegDeleteKeyA(key, "none"));
  EXPECT_EQ(kSuccess, registry_->RegDeleteKeyA(key, "b"));
  EXPECT_EQ(kFileNotFound, Open("Software\\A\\B", key));
  EXPECT_EQ(kFileNotFound, registry_->RegDeleteValueA(key, "x"));
  EXPECT_EQ(kSuccess, registry_->RegCloseKey(made));
  EXPECT_EQ(kInvalidHandle, registry_->RegCloseKey(made));
  EXPECT_EQ(kInvalidHandle, registry_->RegSetValueExA(made, "x", kText, "1"));
}

INSTANTIATE_TEST_SUITE_P(
    All, RegistryContract,
    testing::Values(Kind{"fake",
                         [](const std::string&) { return std::make_unique<FakeRegistry>(); }},
                    Kind{"file", [](const std::string& path) { return NewRegistryFile(path); }}));

class RegistryOfAFile : public testing::Test {
 protected:
  std::int32_t Save(const std::string& name, const std::string& data) {
    const auto registry = NewRegistryFile(disk_.PathOf("r"));
    RegistryKey key = 0;
    const std::int32_t made = registry->RegCreateKeyExA(kLocalMachine, "S\\T", kAllAccess, key);
    return made != kSuccess ? made : registry->RegSetValueExA(key, name, kText, data);
  }
  TemporaryDirectory disk_;
};

TEST_F(RegistryOfAFile, AnotherProcessFindsIt) {
  ASSERT_EQ(kSuccess, Save("a", "1\n"));
  EXPECT_EQ("[S]\n\n[S\\T]\n\"a\"=\"1\\x0A\"\n", disk_.Read("r/HKEY_LOCAL_MACHINE.reg"));
  std::vector<std::thread> writers;
  for (int i = 0; i < 4; ++i)
    writers.emplace_back([&, i] {
      for (int j = 0; j < 10; ++j)
        EXPECT_EQ(kSuccess, Save(std::to_string(i) + "-" + std::to_string(j), "x"));
    });
  for (std::thread& writer : writers) writer.join();
  const std::string text = disk_.Read("r/HKEY_LOCAL_MACHINE.reg");
  EXPECT_EQ(41 + 3, std::count(text.begin(), text.end(), '\n'));
}

TEST_F(RegistryOfAFile, ADamagedFileIsLeftAlone) {
  ASSERT_EQ(kSuccess, Save("a", "1"));
  const std::string damaged = "[S\\T]\n\"a\"=\"1\"\n\"b=2\n";
  disk_.Write("r/HKEY_LOCAL_MACHINE.reg", damaged);
  EXPECT_EQ(kCannotOpen, Save("c", "3"));
  EXPECT_EQ(damaged, disk_.Read("r/HKEY_LOCAL_MACHINE.reg"));
}

TEST_F(RegistryOfAFile, WhatAPersonHasWrittenStays) {
  disk_.Write("r/HKEY_LOCAL_MACHINE.reg", "; mine\r\n[S\\T]\r\n; of a\r\n\"A\"=\"1\"\r\n");
  ASSERT_EQ(kSuccess, Save("a", "2"));
  EXPECT_EQ("[S]\n\n[S\\T]\n; mine\n; of a\n\"A\"=\"2\"\n", disk_.Read("r/HKEY_LOCAL_MACHINE.reg"));
}

TEST_F(RegistryOfAFile, WithoutWriteRightsItCannotBeOpened) {
  ASSERT_EQ(kSuccess, Save("a", "1"));
  chmod(disk_.Path().c_str(), 0755);
  chmod(disk_.PathOf("r").c_str(), 0755);
  chmod(disk_.PathOf("r/HKEY_LOCAL_MACHINE.reg").c_str(), 0444);
  const bool isRoot = geteuid() == 0;
  // Root may write anywhere: somebody else looks.
  if (isRoot) {
    ASSERT_EQ(0, seteuid(65534));
  }
  const auto registry = NewRegistryFile(disk_.PathOf("r"));
  RegistryKey key = 0;
  const std::int32_t opened = registry->RegOpenKeyExA(kLocalMachine, "S\\T", kAllAccess, key);
  const std::int32_t saved = Save("b", "1");
  if (isRoot) {
    ASSERT_EQ(0, seteuid(0));
  }
  EXPECT_EQ(kAccessDenied, opened);
  EXPECT_EQ(kAccessDenied, saved);
}

}  // namespace
}  // namespace torvik
