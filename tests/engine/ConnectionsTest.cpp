#include "engine/Connections.h"

#include <gmock/gmock.h>

#include "EngineFixture.h"
#include "engine/PackageDocument.h"
#include "engine/Variables.h"

namespace torvik::engine {
namespace {

std::string Text(const ConnectionSettings& settings) {
  std::string text;
  for (const auto& [name, value] : settings.properties) text += name + "=" + value + ";";
  return text;
}

TEST(Connections, ATrustedLogonSendsNoUser) {
  const PackageModel package = ReadPackageDocument(R"toml(
name = "P"
[global_variables]
Trusted = false
[[connections]]
name = "c"
provider = "SQLOLEDB"
properties = { "Data Source" = "s", "User ID" = "u", "Password" = "p", "Integrated Security" = "${Trusted}" }
)toml",
                                                   "P");
  const struct {
    dts::Variant trusted;
    const char* properties;
  } cases[] = {
      {true, "Data Source=s;Integrated Security=SSPI;"},
      {std::string("SSPI"), "Data Source=s;Integrated Security=SSPI;"},
      {false, "Data Source=s;User ID=u;Password=p;"},
      {std::string(), "Data Source=s;User ID=u;Password=p;"},
  };
  for (const auto& c : cases) {
    Variables variables(package.variables);
    variables.SetValue("Trusted", c.trusted);
    EXPECT_EQ(Text(ResolveConnection(package, "c", variables)), c.properties) << TextOf(c.trusted);
  }
}

using ConnectionsTest = EngineTest;

TEST_F(ConnectionsTest, AnOpenConnectionFollowsItsVariables) {
  CreateWarehouse(directory_, "second");
  for (const char* database : {"dw", "second"})
    Open(database)->Execute("CREATE TABLE place (name TEXT); INSERT INTO place VALUES ('second')");
  const std::string moving = "connection = \"moving\"\n";
  Put("P", Head("P") + R"toml(
[[connections]]
name = "moving"
provider = "SQLOLEDB"
properties = { "Data Source" = "(local)", "Initial Catalog" = "${Text}" }
[[steps]]
name = "move"
task = "SetVariables"
connection = "moving"
sql = "SELECT name AS Text FROM place"
)toml" +
               Sql("then", "INSERT INTO place VALUES ('here')",
                   moving + "after = [{ step = \"move\" }]"));
  const auto package = Load("P");
  package->GlobalVariables().SetValue("Text", std::string("dw"));
  EXPECT_EQ(Run(*package).events.errors, "");
  EXPECT_EQ(Query("SELECT name FROM place"), "second ");
  EXPECT_EQ(Query("SELECT name FROM second.dbo.place"), "second here ");

  package->GlobalVariables().SetValue("Text", std::string("nowhere"));
  EXPECT_THAT(Run(*package).events.errors,
              testing::HasSubstr("the connection \"moving\" cannot be opened: "));
}

}  // namespace
}  // namespace torvik::engine
