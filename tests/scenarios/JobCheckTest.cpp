// A check of a job leaves every file of its servers, and all around them, as it was.

#include <gmock/gmock.h>

#include <filesystem>
#include <map>

#include "platform/Ado.h"
#include "scenarios/Sandbox.h"

namespace torvik {
namespace {

/// Every file and directory but what the programs printed, with content and time of change.
std::map<std::string, std::string> Everything(const Sandbox& sandbox) {
  namespace fs = std::filesystem;
  std::map<std::string, std::string> all;
  const fs::path top = sandbox.PathOf("");
  for (const auto& entry : fs::recursive_directory_iterator(top)) {
    const std::string name = entry.path().lexically_relative(top);
    if (name.starts_with(".")) continue;
    const auto changed = entry.last_write_time().time_since_epoch().count();
    all[name] = entry.is_directory() ? "" : std::to_string(changed) + " " + sandbox.ReadFile(name);
  }
  return all;
}

TEST(JobCheck, NothingIsChanged) {
  const Sandbox sandbox;
  const auto warehouse = sandbox.Connect("DW");
  for (const std::string type : {"1", "3", "4", "6"}) {
    warehouse->Execute(
        "INSERT INTO dwm_data_link (model, source_name, Type, ds_server, ds_database, ds_directory,"
        " transfer_data) VALUES ('Sales', 'link" +
        type + "', " + type + ", '(local)', 'DW', 'X:\\in', 1)");
  }
  warehouse->Close();
  sandbox.PutPackage("Sales_LoadDW", R"toml([[connections]]
name = "warehouse"
provider = "SQLOLEDB"
properties = { "Data Source" = "${DestinationServer}", "Initial Catalog" = "DW" }
[[connections]]
name = "nowhere"
provider = "SQLOLEDB"
properties = { "Data Source" = "(local)", "Initial Catalog" = "nowhere" }
)toml");
  sandbox.WriteJob("job.etl", "Sales_LoadDW");
  const auto before = Everything(sandbox);
  ASSERT_TRUE(before.contains("server/DW.db"));
  const ProgramResult check = sandbox.Run({"torvik-admin", "job", "check", "job.etl"});
  EXPECT_EQ(check.exitCode, 1) << check.err;
  EXPECT_THAT(check.out, ::testing::HasSubstr("data link link6")) << check.out;
  EXPECT_EQ(Everything(sandbox), before);
}

}  // namespace
}  // namespace torvik
