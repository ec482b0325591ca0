// Every type and circumstance of tests/data/load-battery.toml, loaded by the built program and read
// back by it, on each kind of server that a test can start.

#include <gtest/gtest.h>

#include <toml++/toml.h>

#include "platform/Ado.h"
#include "scenarios/ScenarioRun.h"
#include "servers/PostgreSqlServer.h"

namespace torvik {
namespace {

/// One load: what makes its table, its rows, and what is there afterwards.
struct LoadCase {
  std::string name, sql, table, text, keys, then, query, rows;
};

class LoadBattery : public testing::TestWithParam<const char*> {
 protected:
  LoadBattery() {
    if (!OnPostgreSql()) {
      sandbox_ = std::make_unique<Sandbox>();
      return;
    }
    PostgreSqlServer::Instance().MakeDatabase("DW");
    sandbox_ = std::make_unique<Sandbox>(PostgreSqlServer::Instance().Section("(local)"));
    const auto made = sandbox_->Run({"torvik-admin", "server", "init", "--warehouse", "DW"});
    EXPECT_EQ(0, made.exitCode) << made.err;
  }

  bool OnPostgreSql() const { return std::string(GetParam()) == "pg"; }

  /// The server's own text in place of the usual one.
  template <class Node>
  std::string Own(const Node& node, const char* usual) const {
    return node[GetParam()].value_or(node[usual].value_or(std::string()));
  }

  LoadCase OfType(const toml::table& type, std::size_t number) const {
    const std::string table = "b" + std::to_string(number);
    LoadCase load{type["type"].value_or(std::string()),
                  "CREATE TABLE " + table + " (id INT PRIMARY KEY, x " + Own(type, "type") + ")",
                  table,
                  "id,x\n",
                  "maximum_error_count = 99",
                  "",
                  "SELECT id, x FROM " + table + " ORDER BY id",
                  ""};
    std::size_t id = 0;
    for (const toml::node& node : *type["values"].as_array()) {
      const toml::array& value = *node.as_array();
      const std::string given = value[0].value_or(std::string()), place = std::to_string(++id);
      std::string kept = value[1].value_or(std::string());
      if (value.size() > 2) kept = (*value[2].as_table())[GetParam()].value_or(kept);
      load.text += place + "," + given + "\n";
      if (kept != "!") load.rows += place + "," + (kept == "=" ? given : kept) + "\n";
    }
    return load;
  }

  LoadCase OfScene(const toml::table& scene) const {
    const auto text = [&](const char* key) { return scene[key].value_or(std::string()); };
    LoadCase load{text("name"), Own(scene, "sql"), text("table"), text("text"),
                  text("keys"), text("then"),      text("query"), ""};
    load.keys += "\nmaximum_error_count = " + std::to_string(scene["rejected"].value_or(0));
    for (const toml::node& row : *scene["rows"].as_array())
      load.rows += row.value_or(std::string()) + "\n";
    return load;
  }

  std::vector<LoadCase> Cases() const {
    const toml::table battery = toml::parse_file(TORVIK_TEST_DATA "/load-battery.toml");
    std::vector<LoadCase> cases;
    for (const toml::node& type : *battery["types"].as_array())
      cases.push_back(OfType(*type.as_table(), cases.size()));
    for (const toml::node& scene : *battery["scenes"].as_array())
      if (LoadCase load = OfScene(*scene.as_table()); !load.sql.empty())
        cases.push_back(std::move(load));
    return cases;
  }

  std::unique_ptr<Sandbox> sandbox_;
};

INSTANTIATE_TEST_SUITE_P(, LoadBattery, testing::Values("emb", "pg"),
                         [](const auto& tested) { return std::string(tested.param); });

std::string File(const std::string& name, const std::string& file, const char* more) {
  return "[[connections]]\nname = '" + name +
         "'\nprovider = 'DTSFlatFile'\nproperties = { 'Data Source' = 'S:\\" + file + "'" + more +
         " }\n";
}

std::string Step(const std::string& name, const std::string& after, const std::string& keys) {
  return "[[steps]]\nname = '" + name + "'\n" +
         (after.empty() ? "" : "after = [ { step = '" + after + "', on = 'completion' } ]\n") +
         keys;
}

TEST_P(LoadBattery, EveryValueArrivesAsItIsOrItsRowIsRejected) {
  const std::vector<LoadCase> cases = Cases();
  const auto database = sandbox_->Connect("DW");
  std::string connections =
      "[[connections]]\nname = 'dw'\nprovider = 'SQLOLEDB'\nproperties = { 'Data Source' = "
      "'(local)', 'Initial Catalog' = 'DW', 'Integrated Security' = 'SSPI' }\n";
  std::string steps;
  for (std::size_t i = 0; i < cases.size(); ++i) {
    const LoadCase& load = cases[i];
    const std::string number = std::to_string(i);
    database->Execute(load.sql);
    sandbox_->WriteFile(number + ".csv", load.text);
    connections += File("in " + number, number + ".csv", ", 'First Row Column Name' = true") +
                   File("out " + number, number + ".out", "");
    steps += Step("load " + number, "",
                  "task = 'DataPump'\nsource = 'in " + number +
                      "'\ndestination = 'dw'\ntable = \"" + load.table + "\"\n" + load.keys + "\n");
    if (!load.then.empty())
      steps += Step("then " + number, "load " + number,
                    "task = 'ExecuteSQL'\nconnection = 'dw'\nsql = '" + load.then + "'\n");
    steps += Step("read " + number, (load.then.empty() ? "load " : "then ") + number,
                  "task = 'DataPump'\nsource = 'dw'\nsource_sql = '''" + load.query +
                      "'''\ndestination = 'out " + number + "'\n");
  }
  sandbox_->PutPackage("Loads", connections + steps);
  sandbox_->WriteJob("job.etl", "Loads");
  sandbox_->Run({"torvik", "-configfile", "job.etl", "-statusfile", "s.txt"});
  const std::string log = sandbox_->ReadFile("logs/Loads.log");
  for (std::size_t i = 0; i < cases.size(); ++i) {
    const std::string number = std::to_string(i), failed = "Step \"load " + number + "\" failed";
    EXPECT_EQ(cases[i].rows, WithoutCr(sandbox_->ReadFile(number + ".out")))
        << cases[i].name << "\n"
        << sandbox_->ReadFile("logs/load " + number + ".exceptions");
    EXPECT_EQ(std::string::npos, log.find(failed))
        << cases[i].name << "\n"
        << log.substr(std::min(log.find(failed), log.size()), 400);
  }
}

}  // namespace
}  // namespace torvik
