#include "engine/Variables.h"

#include <gtest/gtest.h>

#include "platform/PlatformError.h"

namespace torvik::engine {
namespace {

Variables Declared() {
  return Variables({{"Dir", std::string("/data/"), {}},
                    {"Flag", true, {}},
                    {"Count", std::int64_t{-7}, {}},
                    {"Ratio", 0.25, {}},
                    {"LoginPassword", std::string("ab.c"), {}},
                    {"otherPASSWORD", std::string(), {}}});
}

TEST(Variables, StandInTexts) {
  const struct {
    const char* text;
    const char* expected;
  } cases[] = {
      {"", ""},
      {"plain $ {Dir} }", "plain $ {Dir} }"},
      {"${Dir}a.csv", "/data/a.csv"},
      {"${dIR}${Dir}", "/data//data/"},
      {"${Flag},${Count},${Ratio}", "True,-7,0.25"},
      {"$${Dir}", "${Dir}"},
      {"$$${Dir}", "$${Dir}"},
      {"a$${b ${Dir}", "a${b /data/"},
      {"${otherPassword}", ""},
  };
  for (const auto& c : cases) EXPECT_EQ(Declared().Substitute(c.text), c.expected) << c.text;
  for (const char* text : {"${Nobody}", "${}", "${ Dir}", "${Dir"})
    EXPECT_THROW(Declared().Substitute(text), PlatformError) << text;
}

TEST(Variables, PasswordsAreTakenOutOfTexts) {
  const struct {
    const char* text;
    const char* expected;
  } cases[] = {
      {"near \"ab.c\": syntax error", "near \"***\": syntax error"},
      {"ab.c ab.c", "*** ***"},
      {"ab.cd xab.c abxc", "ab.cd xab.c abxc"},
  };
  for (const auto& c : cases) EXPECT_EQ(Declared().WithoutPasswords(c.text), c.expected) << c.text;
}

TEST(Variables, AreNeverMadeByWriting) {
  Variables variables = Declared();
  EXPECT_THROW(variables.SetValue("New", true), PlatformError);
  EXPECT_THROW(variables.Value("New"), PlatformError);
  variables.SetValue("FLAG", false);
  EXPECT_EQ(variables.Value("Flag"), dts::Variant(false));
}

}  // namespace
}  // namespace torvik::engine
