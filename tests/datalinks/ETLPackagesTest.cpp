#include "datalinks/ETLPackages.h"

#include <gmock/gmock.h>

#include "fakes/FakeAdo.h"
#include "ui/Controls.h"

namespace torvik {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

const std::string kPackages = "SELECT DISTINCT name FROM msdb.dbo.sysdtspackages";

TEST(ETLPackages, TheModelStandsBeforeTheFirstSuffixOfTheListThatOccurs) {
  const struct {
    const char* package;
    const char* model;
  } cases[] = {
      {"Sales_Init", "Sales"},
      {"Sales_LoadDW", "Sales"},
      {"Sales_LoadDW_Init", "Sales_LoadDW"},  // "_Init" comes first in the list
      {"Sales_Init_LoadDW", "Sales"},
      {"Sales_InitialLoad", "Sales"},  // the suffix need not stand at the end
      {"Stock_ProcessTransformations", "Stock"},
      {"Stock_Transformations", "Stock"},
      {"sales_INIT", "sales"},
      {"A_Init_Init", "A"},
      {"_Init_Sales", ""},
      {"Backup", ""},
      {"", ""},
      {"Sales_Ini", ""},
      {"X_CleanUpIntermediate", "X"},
      {"X_AlterTableDW", "X"},
      {"X_Upload", "X"},
  };
  for (const auto& c : cases) EXPECT_EQ(ModelNameFromPackage(c.package), c.model) << c.package;
}

struct CatalogueTest : ::testing::Test {
  FakeAdo ado;
  ETLPackages catalogue{ado};
  ComboBox box;

  CatalogueTest() {
    Offer({"Sales_Init", "Backup", "SALES_LoadDW", "Stock_Upload", "_Init_Sales", "Sales_LoadDW"});
    catalogue.strSQLServer = "DTS";
    catalogue.strSQLUser = "sa";
    catalogue.strSQLPassword = "pw";
  }

  void Offer(const std::vector<std::string>& names) {
    ado.state.rows[kPackages] = {{"name"}, {}};
    for (const auto& name : names) ado.state.rows[kPackages].rows.push_back({name});
  }
  std::vector<std::string> Models() {
    catalogue.FillComboBoxWithETLModels(box);
    return box.Entries();
  }
  std::vector<std::string> PackagesOf(const std::string& model) {
    catalogue.FillComboBoxWithPackageFromETLModel(box, model);
    return box.Entries();
  }
};

TEST_F(CatalogueTest, LogsOnAndClosesTheConnection) {
  ASSERT_TRUE(catalogue.RetrievePackages());
  EXPECT_THAT(ado.state.calls,
              ElementsAre("NewConnection", "SetConnectionTimeout 20", "SetProvider sqloledb",
                          "SetProperty Data Source=DTS", "SetProperty User ID=sa",
                          "SetProperty Password=pw", "Open", "Close"));
  ado.state.calls.clear();
  catalogue.blnSQLTrustedLogin = true;
  ASSERT_TRUE(catalogue.RetrievePackages());
  EXPECT_THAT(ado.state.calls,
              ElementsAre("NewConnection", "SetConnectionTimeout 20", "SetProvider sqloledb",
                          "SetProperty Data Source=DTS", "SetProperty Integrated Security=SSPI",
                          "Open", "Close"));
}

TEST_F(CatalogueTest, ModelsKeepTheirFirstSpellingAndPackagesAreFoundByIt) {
  EXPECT_THAT(Models(), IsEmpty());
  ASSERT_TRUE(catalogue.RetrievePackages());
  EXPECT_THAT(Models(), ElementsAre("Sales", "Stock"));
  EXPECT_THAT(PackagesOf("Sales"), ElementsAre("Sales_Init", "Sales_LoadDW"));
  EXPECT_THAT(PackagesOf("SALES"), ElementsAre("SALES_LoadDW"));
  EXPECT_THAT(PackagesOf(""), IsEmpty());
  EXPECT_THAT(PackagesOf("Backup"), IsEmpty());
}

TEST_F(CatalogueTest, ASecondReadingAppendsThePackagesAgain) {
  ASSERT_TRUE(catalogue.RetrievePackages());
  ASSERT_TRUE(catalogue.RetrievePackages());
  EXPECT_THAT(Models(), ElementsAre("Sales", "Stock"));
  EXPECT_THAT(PackagesOf("Stock"), ElementsAre("Stock_Upload", "Stock_Upload"));
}

TEST_F(CatalogueTest, AFailureKeepsWhatWasReadBefore) {
  ado.state.failOpen = {{17, "server not found"}};
  EXPECT_FALSE(catalogue.RetrievePackages());
  EXPECT_THAT(Models(), IsEmpty());
  ado.state.rows[kPackages].failAt = 1;
  EXPECT_FALSE(catalogue.RetrievePackages());
  EXPECT_THAT(Models(), ElementsAre("Sales"));
  EXPECT_THAT(PackagesOf("Sales"), ElementsAre("Sales_Init"));
  ado.state.rows.clear();
  EXPECT_FALSE(catalogue.RetrievePackages());
  EXPECT_THAT(PackagesOf("Sales"), ElementsAre("Sales_Init"));
}

}  // namespace
}  // namespace torvik
