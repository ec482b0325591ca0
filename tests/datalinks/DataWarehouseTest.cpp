#include "datalinks/DataWarehouse.h"

#include <gmock/gmock.h>

#include "fakes/FakeAdo.h"

namespace torvik {
namespace {

using ::testing::ElementsAre;

TEST(DataWarehouse, SetsThePropertiesOneByOneAndOpens) {
  FakeAdo ado;
  DataWarehouse warehouse(ado);
  std::string errorText;
  EXPECT_THROW(warehouse.Connection(), PlatformError);
  EXPECT_TRUE(warehouse.ConnectDataWarehouse({"DWPROD", false, "sa", "pw"}, "DW", errorText));
  EXPECT_THAT(ado.state.calls,
              ElementsAre("NewConnection", "SetConnectionTimeout 20", "SetProvider sqloledb",
                          "SetProperty Data Source=DWPROD", "SetProperty User ID=sa",
                          "SetProperty Password=pw", "SetProperty Initial Catalog=DW", "Open"));
  EXPECT_TRUE(warehouse.HasBeenOpened());

  ado.state.calls.clear();
  EXPECT_TRUE(warehouse.ConnectDataWarehouse({"DWPROD", true, "sa", "pw"}, "DW", errorText));
  EXPECT_THAT(ado.state.calls,
              ElementsAre("Close", "SetConnectionTimeout 20", "SetProvider sqloledb",
                          "SetProperty Data Source=DWPROD", "SetProperty Integrated Security=SSPI",
                          "SetProperty Initial Catalog=DW", "Open"));

  ado.state.calls.clear();
  EXPECT_TRUE(warehouse.ConnectDataWarehouse({"DWPROD", true, "", ""}, std::nullopt, errorText, 5));
  EXPECT_THAT(ado.state.calls, ElementsAre("Close", "SetConnectionTimeout 5",
                                           "SetProvider sqloledb", "SetProperty Data Source=DWPROD",
                                           "SetProperty Integrated Security=SSPI", "Open"));
}

TEST(DataWarehouse, AFailureIsTheServerAndALineForEachError) {
  FakeAdo ado;
  ado.state.failOpen = {{17, "server not found"}, {18, "logon refused"}};
  DataWarehouse warehouse(ado);
  std::string errorText = "former text";
  EXPECT_FALSE(warehouse.ConnectDataWarehouse({"DWPROD", true, "", ""}, "DW", errorText));
  EXPECT_EQ(errorText, "Error while connecting to : DWPROD\r\nserver not found\r\nlogon refused");
  EXPECT_FALSE(warehouse.HasBeenOpened());
}

}  // namespace
}  // namespace torvik
