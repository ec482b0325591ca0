// Every whole document of docs/packages.md is run, on databases and files that are made for it.

#include <gmock/gmock.h>

#include <filesystem>
#include <fstream>

#include "engine/EngineFixture.h"
#include "engine/PackageDocument.h"
#include "engine/model/RunnerVariables.h"

namespace torvik::engine {
namespace {

std::string Content(const std::filesystem::path& path) {
  std::ifstream stream(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(stream), {}};
}

std::string WithDirectory(std::string text, const std::string& directory) {
  const std::string variable = "${Directory}";
  for (auto at = text.find(variable); at != std::string::npos; at = text.find(variable))
    text.replace(at, variable.size(), directory);
  return text;
}

class Manual : public EngineTest {
 protected:
  /// The documents, in the order of the manual.
  static std::vector<std::string> Examples() {
    const std::string text = Content(TORVIK_SOURCE_DIR "/docs/packages.md");
    const std::string fence = "```toml\nname = ";
    std::vector<std::string> examples;
    for (auto at = text.find(fence); at != std::string::npos; at = text.find(fence, at + 1)) {
      const auto begin = text.find("name = ", at);
      examples.push_back(text.substr(begin, text.find("```", begin) - begin));
    }
    return examples;
  }

  void MakeWorld() {
    std::filesystem::create_directories(disk_.PathOf("inbox"));
    std::filesystem::create_directories(disk_.PathOf("work/archive"));
    disk_.Write("inbox/orders1.csv", "Order No,Amount\n");
    ftp_.files = {{"/export/orders-1.csv", ""}, {"/export/customers.csv", ""}};
    for (const auto& file : std::filesystem::directory_iterator(kData)) {
      if (file.path().extension() != ".sql") {
        disk_.Write(file.path().filename().string(), Content(file.path()));
        continue;
      }
      const std::string database = file.path().stem().string();
      if (database != "dw") CreateWarehouse(server_.Directory(), database);
      server_.Open(database)->Execute(WithDirectory(Content(file.path()), disk_.PathOf("")));
    }
  }

  static constexpr const char* kData = TORVIK_SOURCE_DIR "/tests/data/manual";
};

void Give(dts::Package& package, const std::string& name, dts::Variant value) {
  try {
    package.GlobalVariables().SetValue(name, std::move(value));
  } catch (const PlatformError&) {
    // This example does not declare it.
  }
}

TEST_F(Manual, EveryWholeExampleRuns) {
  const std::vector<std::string> examples = Examples();
  EXPECT_THAT(CheckTwelve(ReadPackageDocument(examples.at(0), "first")), testing::IsEmpty());
  MakeWorld();
  std::vector<std::string> names;
  for (const std::string& example : examples) {
    names.push_back(ReadPackageDocument(example, "docs/packages.md").name);
    Put(names.back(), example);
  }
  for (const std::string& name : names) {
    const auto package = Load(name);
    for (const char* directory : {"Directory", "ExceptionFilePath", "Folder", "LogDirectory"})
      Give(*package, directory, disk_.PathOf(""));
    Give(*package, "Inbox", disk_.PathOf("inbox/"));
    Give(*package, "Work", disk_.PathOf("work/"));
    for (const char* server : {"DTSServer", "DestinationServer"})
      Give(*package, server, std::string("(local)"));
    Give(*package, "DestServerDatabaseName", std::string("dw"));
    const RunResult result = Run(*package);
    EXPECT_EQ("", result.raised + result.events.errors) << name;
    EXPECT_EQ(std::string::npos, result.ends.find('F')) << name << ": " << result.ends;
  }
  EXPECT_EQ("2|France|FR-002\n3|France|FR-003", RowsOf(*warehouse_, "SELECT * FROM scripted"));
  EXPECT_EQ("1|2024-01-31|Luxembourg|-|orders.txt\n3|2024-02-01|France|gro\u00df|orders.txt",
            RowsOf(*warehouse_, "SELECT * FROM sale ORDER BY order_no"));
}

}  // namespace
}  // namespace torvik::engine
