// Rooms that are modules beside the programs: what they need is in the programs, and without one
// all else runs.

#include <gmock/gmock.h>

#include <algorithm>
#include <filesystem>
#include <fstream>

#include "scenarios/Sandbox.h"

namespace torvik {
namespace {

namespace fs = std::filesystem;
using ::testing::HasSubstr;

bool IsRoom(const fs::path& file) {
  const std::string name = file.filename().string();
  return name.starts_with("libtorvik-") && file.extension() == ".so" &&
         name != "libtorvik-desktop.so";
}

constexpr const char* kOfAnotherVersion = "of another version";

fs::path RealModule() {
  return fs::path(TORVIK_PROGRAM).parent_path() / "libtorvik-postgres.so";
}

/// The real one, with its version changed where it stands.
void MakeModule(const Sandbox& sandbox) {
  const fs::path real = RealModule();
  std::ifstream file(real, std::ios::binary);
  std::string bytes{std::istreambuf_iterator<char>(file), {}};
  const std::string own = TORVIK_VERSION;
  std::string version = own;
  std::replace_if(
      version.begin(), version.end(), [](char c) { return c != '.'; }, '9');
  std::size_t changed = 0;
  for (std::size_t at = 0; (at = bytes.find(own + '\0', at)) != bytes.npos; ++changed)
    bytes.replace(at, own.size(), version);
  ASSERT_GT(changed, 0u);
  fs::remove(sandbox.PathOf("libtorvik-postgres.so"));
  sandbox.WriteFile("libtorvik-postgres.so", bytes);
}

TEST(Modules, FindAllThatTheyNeedInBothPrograms) {
  Sandbox sandbox;
  sandbox.SetVariable("LD_BIND_NOW", "1");
  sandbox.SetVariable("ASAN_OPTIONS", "verify_asan_link_order=0:detect_leaks=0");
  for (const auto& file : fs::directory_iterator(fs::path(TORVIK_PROGRAM).parent_path())) {
    if (!IsRoom(file.path())) continue;
    sandbox.SetVariable("LD_PRELOAD", file.path());
    for (const char* program : {"torvik", "torvik-admin"}) {
      const ProgramResult result = sandbox.Run({program, "--version"});
      EXPECT_EQ(result.exitCode, 0) << file.path();
      EXPECT_EQ(result.err, "") << file.path();
    }
  }
}

TEST(Modules, AreNamedWithTheirPackagesWhereTheyCannotBeLoaded) {
  Sandbox sandbox("[server (local)]\nbackend = postgresql\nhost = dw.example\n");
  const std::string program = sandbox.PathOf("torvik-admin");
  fs::copy_file(TORVIK_ADMIN_PROGRAM, program);
  const struct {
    const char* module;
    const char* words;
  } cases[] = {
      {nullptr, "dw.example needs libtorvik-postgres.so, which is not installed"},
      {"no library", "libtorvik-postgres.so: file too short; install libpq5"},
      {kOfAnotherVersion, "libtorvik-postgres.so is of torvik 9"},
  };
  for (const auto& c : cases) {
    if (c.module == kOfAnotherVersion && !fs::exists(RealModule())) continue;  // of no library
    if (c.module == kOfAnotherVersion)
      MakeModule(sandbox);
    else if (c.module != nullptr)
      sandbox.WriteFile("libtorvik-postgres.so", c.module);
    const ProgramResult result = sandbox.Run({program, "package", "list"});
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_THAT(result.err, HasSubstr(c.words));
  }
}

}  // namespace
}  // namespace torvik
