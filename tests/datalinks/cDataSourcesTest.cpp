#include "datalinks/cDataSources.h"

#include <gtest/gtest.h>

#include "platform/PlatformError.h"

namespace torvik {
namespace {

cDataSource Named(const char* name) {
  cDataSource link;
  link.strName = name;
  return link;
}

template <class Key>
std::string NameAt(const cDataSources& links, const Key& key) {
  try {
    return links.Item(key).strName;
  } catch (const PlatformError& error) {
    return std::to_string(error.number) + ": " + error.Description();
  }
}

TEST(cDataSources, ItemsAreFoundByPositionFromOneAndByKeyInAnyLetterCase) {
  cDataSources links;
  links.Add(Named("a"));
  links.Add(Named("b"), "Z\u00FCrich");
  EXPECT_THROW(links.Add(Named("c"), "z\u00DCRICH"), PlatformError);
  EXPECT_EQ(links.Count(), 2);
  const struct {
    std::int32_t position;
    const char* name;
  } positions[] = {{1, "a"},
                   {2, "b"},
                   {0, "9: there is no data link at position 0; there are 2, counted from 1"},
                   {3, "9: there is no data link at position 3; there are 2, counted from 1"},
                   {-1, "9: there is no data link at position -1; there are 2, counted from 1"}};
  for (const auto& c : positions) EXPECT_EQ(NameAt(links, c.position), c.name) << c.position;
  const struct {
    const char* key;
    const char* name;
  } keys[] = {{"Z\u00FCrich", "b"},
              {"Z\u00DCRICH", "b"},
              {"a", "5: no data link has the key \"a\""},  // a name is no key
              {"", "5: no data link has the key \"\""}};
  for (const auto& c : keys) EXPECT_EQ(NameAt(links, std::string(c.key)), c.name) << c.key;
}

TEST(cDataSources, AClearedCollectionTakesTheSameKeysAgain) {
  cDataSources links;
  links.Add(Named("a"), "key");
  links.Clear();
  EXPECT_EQ(links.Count(), 0);
  links.Add(Named("b"), "key");
  EXPECT_EQ(NameAt(links, std::string("KEY")), "b");
  EXPECT_EQ(links.getDSByName("a"), nullptr);
}

}  // namespace
}  // namespace torvik
