#include "engine/model/Variables.h"

#include <gtest/gtest.h>

#include "platform/PlatformError.h"

namespace torvik::engine {
namespace {

struct Case {
  const char* text;
  const char* expected;
};

const std::vector<GlobalVariable> kDeclared = {{"Dir", std::string("/data/"), {}},
                                               {"Flag", true, {}},
                                               {"Count", std::int64_t{-7}, {}},
                                               {"Ratio", 0.25, {}},
                                               {"LoginPassword", std::string("ab.c"), {}},
                                               {"otherPASSWORD", std::string(), {}}};

TEST(Variables, StandInTextsAndPasswordsAreTakenOut) {
  const Case templates[] = {{"", ""},
                            {"plain $ {Dir} }", "plain $ {Dir} }"},
                            {"${dIR}${Dir}a.csv", "/data//data/a.csv"},
                            {"${Flag},${Count},${Ratio}", "True,-7,0.25"},
                            {"$${Dir}", "${Dir}"},
                            {"$$${Dir}", "$${Dir}"},
                            {"a$${b ${Dir}", "a${b /data/"},
                            {"${otherPassword}", ""}};
  const Case messages[] = {{"near \"ab.c\": syntax error", "near \"***\": syntax error"},
                           {"ab.c ab.c", "*** ***"},
                           {"ab.cd xab.c abxc", "ab.cd xab.c abxc"}};
  const Variables variables(kDeclared);
  for (const auto& c : templates) EXPECT_EQ(variables.Substitute(c.text), c.expected) << c.text;
  for (const char* text : {"${Nobody}", "${}", "${ Dir}", "${Dir"})
    EXPECT_THROW(variables.Substitute(text), PlatformError) << text;
  for (const auto& c : messages)
    EXPECT_EQ(variables.WithoutPasswords(c.text), c.expected) << c.text;
}

TEST(Variables, AreNeverMadeByWriting) {
  Variables variables(kDeclared);
  EXPECT_THROW(variables.SetValue("New", true), PlatformError);
  EXPECT_THROW(variables.Value("New"), PlatformError);
  variables.SetValue("FLAG", false);
  EXPECT_EQ(variables.Value("Flag"), dts::Variant(false));
}

}  // namespace
}  // namespace torvik::engine
