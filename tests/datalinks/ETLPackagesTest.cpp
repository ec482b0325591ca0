#include "datalinks/ETLPackages.h"

#include <gtest/gtest.h>

namespace torvik {
namespace {

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

}  // namespace
}  // namespace torvik
