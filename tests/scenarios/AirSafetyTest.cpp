// The example of the documentation, from its own files: the figures that must come out.

#include <gtest/gtest.h>

#include "scenarios/Sandbox.h"

namespace torvik {
namespace {

const std::string kExample = std::string(TORVIK_SOURCE_DIR) + "/examples/air-safety/";

void Succeeds(const Sandbox& sandbox, const std::vector<std::string>& command) {
  const ProgramResult result = sandbox.Run(command);
  ASSERT_EQ(result.exitCode, 0) << command[0] << " " << command[1] << ": " << result.err;
}

TEST(AirSafety, TheFourJobsLoadTheWarehouseAndASecondRunGivesTheSameFigures) {
  const Sandbox sandbox;
  sandbox.WriteFile("torvik.conf",
                    "[paths]\ndrive D: = " + kExample + "\ndrive L: = " + sandbox.PathOf("logs") +
                        "\n[server (local)]\ndirectory = " + sandbox.PathOf("server") + "\n");
  Succeeds(sandbox, {"torvik-admin", "server", "init", "--warehouse", "AirSafetyDW"});
  Succeeds(sandbox, {"torvik-admin", "package", "put", kExample + "packages/AirSafety_Init.toml",
                     kExample + "packages/AirSafety_Transformations.toml",
                     kExample + "packages/AirSafety_LoadDW.toml",
                     kExample + "packages/AirSafety_Overall.toml"});
  Succeeds(sandbox, {"torvik-admin", "link", "put", kExample + "data_link.toml", "--database",
                     "AirSafetyDW"});
  sandbox.WriteFile("logs/made", "");
  for (const std::string job : {"Init", "Transformations", "LoadDW", "Overall"}) {
    sandbox.Run(
        {"torvik", "-configfile", kExample + "AirSafety_" + job + ".etl", "-statusfile", "s"});
    ASSERT_EQ(sandbox.ReadFile("s"), "ok\r\n")
        << sandbox.ReadFile("logs/AirSafety_" + job + ".txt");
    if (job == "Init" || job == "Transformations") continue;
    // Overall does the three once more: the figures of LoadDW must stand again.
    const struct {
      const char* sql;
      const char* rows;
    } figures[] = {
        {"SELECT COUNT(*) FROM airport", "3376\n"},
        {"SELECT COUNT(*), SUM(cost_total) FROM strike", "10000|40545276\n"},
        {"SELECT COUNT(*) FROM strike WHERE speed_knots IS NULL", "2836\n"},
        {"SELECT COUNT(*), SUM(flights) FROM route", "5366|7009728\n"},
        {"SELECT COUNT(*) FROM route AS r JOIN airport AS o ON o.airport_key = r.origin_key "
         "JOIN airport AS d ON d.airport_key = r.destination_key",
         "5366\n"},
        {"SELECT COUNT(*) FROM strike_airport AS a JOIN strike AS s USING (strike_airport_key)",
         "10000\n"},
        {"SELECT COUNT(*) FROM airport WHERE name LIKE '%,%' OR city LIKE '%,%'", "9\n"},
        {"SELECT MIN(day), MAX(year) FROM calendar", "1990-01-08|2002\n"},
    };
    for (const auto& figure : figures) {
      EXPECT_EQ(sandbox.Query(figure.sql, "AirSafetyDW"), figure.rows) << job << ": " << figure.sql;
    }
  }
}

}  // namespace
}  // namespace torvik
