#include "datalinks/BuildConnection.h"

#include <gtest/gtest.h>

#include "fakes/FakeAdo.h"

namespace torvik {
namespace {

std::string Calls(const FakeAdo& ado) {
  std::string calls;
  for (const std::string& call : ado.state.calls) calls += call + "\n";
  return calls;
}

TEST(BuildConnection, EachKindSetsItsProviderAndPropertiesInOrder) {
  const std::string begin = "NewConnection\n";
  const std::string sql = "SetProvider SQLOLEDB.1\n";
  const std::string jet = "SetProvider Microsoft.Jet.OLEDB.4.0\n";
  const std::string oracle = "SetProvider MSDAORA.1\n";
  const std::string catalogue = "SetProperty Initial Catalog=DW\n";
  const std::string server =
      "SetConnectionTimeout 20\nSetProperty Persist Security Info=False\n"
      "SetProperty Data Source=srv\n";
  const std::string user = "SetProperty User ID=me\nSetProperty Password=pw\nOpen\n";
  const std::string trusted = "SetProperty Integrated Security=SSPI\nOpen\n";
  const struct {
    std::int32_t kind;
    bool isTrusted;
    const char* database;
    std::string calls;
  } cases[] = {
      {1, true, "DW", begin + sql + catalogue + server + trusted},
      {1, false, "DW", begin + sql + catalogue + server + user},
      {1, true, "  ", begin + sql + server + trusted},
      {2, true, "DW", begin + server + user},
      {3, true, "DW", begin + server + user},
      {4, true, "DW", begin + jet + server + user},
      {5, false, "DW", begin + jet + server + user},
      {6, true, "DW", begin + oracle + catalogue + server + user},
      {6, false, " ", begin + oracle + server + user},
      {7, false, "DW", begin + oracle + catalogue + server + user},
      {7, false, "", begin + oracle + server + user},
      {8, false, "DW", begin + server + user},
      {-1, true, "DW", begin + server + user},
  };
  for (const auto& c : cases) {
    FakeAdo ado;
    std::unique_ptr<ado::Connection> connection;
    std::string errorText = "kept";
    EXPECT_TRUE(BuildConnection(ado, c.kind, {"srv", c.isTrusted, "me", "pw"}, connection,
                                errorText, c.database));
    EXPECT_EQ(Calls(ado), c.calls) << "kind " << c.kind << ", database " << c.database;
    EXPECT_EQ(errorText, "kept");
  }
}

TEST(BuildConnection, AStepThatFailsIsPassedOver) {
  FakeAdo ado;
  ado.state.refused = {"Initial Catalog", "Persist Security Info", "User ID"};
  std::unique_ptr<ado::Connection> connection;
  std::string errorText;
  EXPECT_TRUE(BuildConnection(ado, 6, {"srv", false, "me", "pw"}, connection, errorText, "DW"));
  EXPECT_EQ(connection->State(), ado::ObjectState::Open);
  EXPECT_EQ(errorText, "");
}

TEST(BuildConnection, AFailureAddsALineForEachErrorAndLeavesNoConnection) {
  FakeAdo ado;
  std::unique_ptr<ado::Connection> connection = ado.NewConnection();
  for (const char* former : {"", "former text"}) {
    ado.state.failOpen = {{17, "server not found"}, {18, "logon refused"}};
    std::string errorText = former;
    EXPECT_FALSE(BuildConnection(ado, 1, {"srv", true, "", ""}, connection, errorText, ""));
    EXPECT_EQ(errorText, std::string(former) + "\r\nserver not found\r\nlogon refused");
    EXPECT_EQ(connection, nullptr);
  }
}

}  // namespace
}  // namespace torvik
