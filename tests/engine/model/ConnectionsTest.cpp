#include "engine/model/Connections.h"

#include <gmock/gmock.h>

#include "engine/EngineFixture.h"
#include "engine/PackageDocument.h"
#include "engine/model/Variables.h"

namespace torvik::engine {
namespace {

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
  } cases[] = {{true, "Data Source=s;Integrated Security=SSPI;"},
               {std::string("SSPI"), "Data Source=s;Integrated Security=SSPI;"},
               {false, "Data Source=s;User ID=u;Password=p;"},
               {std::string(), "Data Source=s;User ID=u;Password=p;"}};
  for (const auto& c : cases) {
    Variables variables(package.variables);
    variables.SetValue("Trusted", c.trusted);
    std::string text;
    for (const auto& [name, value] : ResolveConnection(package, "c", variables).properties)
      text += name + "=" + value + ";";
    EXPECT_EQ(text, c.properties) << TextOf(c.trusted);
  }
}

using ConnectionsTest = EngineTest;

TEST_F(ConnectionsTest, AnOpenConnectionFollowsItsVariables) {
  CreateWarehouse(server_.Directory(), "second");
  for (const char* database : {"dw", "second"})
    server_.Open(database)->Execute("CREATE TABLE t (name TEXT); INSERT INTO t VALUES ('second')");
  Put("P", Head("P") + R"toml(
[[connections]]
name = "moving"
provider = "SQLOLEDB"
properties = { "Data Source" = "(local)", "Initial Catalog" = "${Text}" }
)toml" +
               Step("move", "SetVariables",
                    "connection = \"moving\"\nsql = \"SELECT name AS Text FROM t\"") +
               Sql("then", "INSERT INTO t VALUES ('here')", "connection = \"moving\""));
  const auto package = Load("P");
  package->GlobalVariables().SetValue("Text", std::string("dw"));
  EXPECT_EQ(Run(*package).events.errors, "");
  EXPECT_EQ(Query("SELECT name FROM t"), "second");
  EXPECT_EQ(Query("SELECT name FROM second.dbo.t"), "second here");

  package->GlobalVariables().SetValue("Text", std::string("nowhere"));
  EXPECT_THAT(Run(*package).events.errors,
              testing::HasSubstr("the connection \"moving\" cannot be opened: "));
}

}  // namespace
}  // namespace torvik::engine
