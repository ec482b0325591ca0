#include "engine/ResumedSteps.h"

#include <gmock/gmock.h>

#include "engine/PackageDocument.h"
#include "platform/PlatformError.h"

namespace torvik::engine {
namespace {

/// "a b" where these are left out, in their order, else the reason.
std::string LeftOut(const std::string& steps, const std::vector<std::string>& succeeded) {
  const PackageModel package = ReadPackageDocument(
      "name = \"P\"\nuse_transaction = true\n[global_variables]\nText = \"\"\n[[connections]]\n"
      "name = \"w\"\nprovider = \"SQLOLEDB\"\nproperties = { \"Data Source\" = \"s\" }\n" +
          steps,
      "p.toml");
  try {
    std::string names;
    for (const std::size_t step : StepsToLeaveOut(package, succeeded))
      names += (names.empty() ? "" : " ") + package.steps[step].name;
    return names;
  } catch (const PlatformError& error) {
    return error.Description();
  }
}

std::string Step(const std::string& name, const std::string& keys) {
  return "[[steps]]\nname = \"" + name + "\"\n" + keys + "\n";
}

std::string Statement(const std::string& name, const std::string& keys = "") {
  return Step(name, "task = \"ExecuteSQL\"\nconnection = \"w\"\nsql = \"SELECT 1\"\n" + keys);
}

std::string After(const std::string& step, const std::string& on = "success") {
  return "after = [ { step = \"" + step + "\", on = \"" + on + "\" } ]";
}

TEST(ResumedSteps, AreThoseWhoseWorkStandsAndWhoseOrderIsKept) {
  const struct {
    const char* what;
    std::string steps;
    std::vector<std::string> succeeded;
    const char* leftOut;
  } cases[] = {
      {"nothing has succeeded", Statement("a"), {}, ""},
      {"a chain is left out up to what failed",
       Statement("c", After("b")) + Statement("b", After("a")) + Statement("a"),
       {"b", "a"},
       "a b"},
      {"what waits for a step that runs again does so too",
       Statement("a") + Statement("b", After("a", "completion")),
       {"b"},
       ""},
      {"what handled a failure may be needed again",
       Statement("a") + Statement("b", After("a", "failure")),
       {"a", "b"},
       "a"},
      {"a step that is disabled now keeps nobody back",
       Statement("a", "disabled = true") + Statement("b"),
       {"a", "b"},
       "b"},
      {"what only sets variables runs each time, and what follows it need not",
       Step("v", "task = \"SetVariables\"\nvalues = { Text = \"x\" }") + Statement("b", After("v")),
       {"v", "b"},
       "b"},
      {"a step of a name that the package has not", Statement("a"), {"b"}, ""},
      {"a transaction was rolled back",
       Statement("a", "join_transaction = true"),
       {"a"},
       "step \"a\" can be neither left out nor run again: it is part of the package's "
       "transaction; run the job anew"},
      {"a query's results are variables",
       Statement("a", "results = [\"Text\"]"),
       {"a"},
       "step \"a\" can be neither left out nor run again: it sets variables that later steps may "
       "need; run the job anew"}};
  for (const auto& one : cases)
    EXPECT_EQ(one.leftOut, LeftOut(one.steps, one.succeeded)) << one.what;
}

}  // namespace
}  // namespace torvik::engine
