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

TEST_F(ConnectionsTest, ADataLinkFileSaysWhereTheConnectionLeads) {
  const PackageModel package = ReadPackageDocument(
      "name = 'P'\n[[connections]]\nname = 'c'\n"
      "provider = 'SQLOLEDB'\ndata_link_file = '" +
          disk_.PathOf("dw.udl") +
          "'\nproperties = { 'Data Source' = 'old', "
          "'Connect Timeout' = 5 }\n",
      "P");
  const Variables variables(package.variables);
  const FileServices services{*files_, *codePages_};
  const std::string head = "[oledb]\r\n; Everything after this line\r\n";
  std::string wide = "\xFF\xFE";
  for (const char c : head + "Provider=SQLOLEDB.1;Data Source=new\r\n") wide += {c, '\0'};
  const struct {
    std::string bytes;
    const char* settings;  ///< Or a part of the error.
  } cases[] = {
      {wide, "SQLOLEDB.1: Data Source=new;Connect Timeout=5;"},
      {head + "Provider = MSDAORA ;Password=\"a\"\";b\";Use Procedure=1; Data Source='x'",
       "MSDAORA: Data Source=x;Connect Timeout=5;Password=a\";b;"},
      {head + "Provider=SQLOLEDB;Integrated Security=SSPI;User ID=u",
       "SQLOLEDB: Data Source=old;Connect Timeout=5;Integrated Security=SSPI;"},
      {"[ODBC]\r\nDRIVER=SQL Server\r\nUID=sa\r\nDATABASE=DW\r\nWSID=PC\r\nSERVER=new\r\n",
       "SQLOLEDB: Data Source=new;Connect Timeout=5;User ID=sa;Initial Catalog=DW;"},
      {"; made by hand\n[odbc]\ndriver = {Microsoft Excel Driver (*.xls)}\nDBQ=C:\\a.xls",
       "Microsoft.Jet.OLEDB.4.0: Data Source=C:\\a.xls;Connect Timeout=5;Extended "
       "Properties=Excel 8.0;"},
      {"[ODBC]\nDSN=prod\nTrusted_Connection=Yes\n[x]\nSERVER=no",
       "SQLOLEDB: Data Source=prod;Connect Timeout=5;Integrated Security=SSPI;"},
      {"[ODBC]\nPWDX=tiger", "has neither DRIVER"},
      {head, "there is no line \"Provider=...;...\" in it"},
      {"\xFF\xFEx", "there is no line"},
      {"Data Source=\"tiger", "there is no line"},
  };
  for (const auto& c : cases) {
    disk_.Write("dw.udl", c.bytes);
    std::string text;
    try {
      const auto settings = ResolveConnection(package, "c", variables, &services);
      text = settings.provider + ": ";
      for (const auto& [name, value] : settings.properties) text += name + "=" + value + ";";
    } catch (const PlatformError& error) {
      text = error.Description();
      EXPECT_THAT(text, testing::HasSubstr("dw.udl: "));
      EXPECT_THAT(text, testing::Not(testing::HasSubstr("tiger")));
    }
    EXPECT_THAT(text, testing::HasSubstr(c.settings)) << c.bytes;
  }
}

}  // namespace
}  // namespace torvik::engine
