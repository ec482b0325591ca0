// Jobs are started at times by timers of systemd, or by the crontab line that does the same.

#include <gmock/gmock.h>

#include <filesystem>

#include "scenarios/Sandbox.h"

namespace torvik {
namespace {

using testing::AllOf;
using testing::HasSubstr;
using testing::Not;

constexpr const char* kDropIn = "root/etc/systemd/system/torvik@Sales.timer.d/schedule.conf";
constexpr const char* kWanted = "root/etc/systemd/system/timers.target.wants/torvik@Sales.timer";

/// A root directory with the units as they are installed, and the job Sales.
class Schedule : public testing::Test {
 protected:
  Schedule() {
    sandbox_.WriteFile("root/etc/torvik/jobs/Sales.etl", "");
    sandbox_.WriteFile("root/etc/torvik/jobs/Sales & more.etl", "");
    sandbox_.WriteFile("Elsewhere.etl", "");
    const std::string units = sandbox_.PathOf("root/lib/systemd/system");
    std::filesystem::create_directories(units);
    for (const char* unit : {"torvik@.timer", "torvik@.service"})
      std::filesystem::copy(std::string(TORVIK_SOURCE_DIR "/packaging/systemd/") + unit, units);
  }

  /// The exit code and what was printed.
  std::string Job(std::vector<std::string> words) const {
    words.insert(words.begin(), {"torvik-admin", "job"});
    words.insert(words.end(), {"--root", sandbox_.PathOf("root")});
    const ProgramResult result = sandbox_.Run(words);
    return std::to_string(result.exitCode) + " " + result.out + result.err;
  }

  bool IsEnabled() const { return std::filesystem::is_symlink(sandbox_.PathOf(kWanted)); }

  Sandbox sandbox_;
};

TEST_F(Schedule, ATimerIsWrittenCheckedListedAndTakenAway) {
  EXPECT_THAT(Job({"schedule", "Sales", "Mon..Fri 02:00", "Sun 12:00"}),
              AllOf(HasSubstr("0 torvik@Sales.timer starts "), HasSubstr(" 02:00:00 "),
                    HasSubstr("Sun "), HasSubstr(" 12:00:00 ")));
  EXPECT_THAT(sandbox_.ReadFile(kDropIn),
              HasSubstr("[Timer]\nOnCalendar=\nOnCalendar=Mon..Fri 02:00\nOnCalendar=Sun 12:00\n"));
  EXPECT_TRUE(IsEnabled());
  EXPECT_THAT(Job({"schedule", "Sales.etl", "04:00"}), HasSubstr(" 04:00:00 "));
  EXPECT_THAT(Job({"list"}), AllOf(HasSubstr("Sales         04:00     "), HasSubstr(" 04:00:00 "),
                                   HasSubstr("Sales & more"), Not(HasSubstr("Mon..Fri"))));
  EXPECT_THAT(Job({"list", "--json"}), HasSubstr("\"schedule\": \"04:00\""));
  EXPECT_THAT(Job({"unschedule", "Sales"}), HasSubstr("0 Sales is no longer scheduled"));
  EXPECT_FALSE(IsEnabled());
  EXPECT_EQ("", sandbox_.ReadFile(kDropIn));
  EXPECT_THAT(Job({"unschedule", "Sales"}), HasSubstr("0 Sales was not scheduled"));
}

TEST_F(Schedule, WhatCannotBeScheduledIsRefusedAndLeavesWhatWas) {
  Job({"schedule", "Sales", "04:00"});
  const struct {
    std::vector<std::string> words;
    const char* reason;
  } cases[] = {
      {{"Sales", "at night"}, "Failed to parse calendar specification 'at night'"},
      {{"Sales", "2020-01-01 02:00"}, "2020-01-01 02:00: that time never comes again"},
      {{"Gone", "02:00"}, "Gone.etl: there is no such job file"},
      {{"Sales & more", "02:00"}, "a unit's name has letters, digits"},
      {{sandbox_.PathOf("Elsewhere.etl"), "02:00"}, "put the job file there"},
  };
  for (const auto& c : cases) {
    EXPECT_THAT(Job({"schedule", c.words[0], c.words[1]}),
                AllOf(HasSubstr("1 "), HasSubstr(c.reason)));
    EXPECT_THAT(sandbox_.ReadFile(kDropIn), HasSubstr("\nOnCalendar=04:00\n"));
  }
  std::filesystem::remove_all(sandbox_.PathOf("root/lib"));
  EXPECT_THAT(Job({"schedule", "Sales", "05:00"}), HasSubstr("1 torvik-admin: systemctl: "));
  EXPECT_THAT(sandbox_.ReadFile(kDropIn), HasSubstr("\nOnCalendar=04:00\n"));
}

TEST_F(Schedule, WithoutSystemdTheCrontabLineIsTold) {
  sandbox_.SetVariable("PATH", "/nowhere");
  const std::pair<const char*, const char*> cases[] = {
      {"Mon..Fri 02:00", "\n0 2 * * 1-5  "},
      {"Fri,Sat..Sun 23:05:00", "\n5 23 * * 5,6,0  "},
      {"Wed..Sunday 2:00", "\n0 2 * * 3-7  "},
      {"*-*-01 04:30", "\n30 4 1 * *  "},
      {"*-1,7-15..20 0:0", "\n0 0 15-20 1,7 *  "},
      {"*:0/15", "\n0-59/15 * * * *  "},
      {"8..18/2:30", "\n30 8-18/2 * * *  "},
      {"12-24", "\n0 0 24 12 *  "},
      {"daily", "\n0 0 * * *  "},
      {"quarterly", "\n0 0 1 1,4,7,10 *  "},
      {"Mon *-*-01 02:00", ""},
      {"2027-01-01 02:00", ""},
      {"*-02~01 02:00", ""},
      {"02:00:30", ""},
      {"24:00", ""},
      {"Mox 02:00", ""},
      {"Mon.. 02:00", ""},
      {"02:00 UTC", ""},
      {"1..:00", ""},
      {"*:0/0", ""},
      {"-", ""},
  };
  for (const auto& [when, line] : cases) {
    const std::string told = Job({"schedule", "Sales", when});
    if (*line != '\0')
      EXPECT_THAT(told, AllOf(HasSubstr(std::string("0 ")), HasSubstr(line),
                              HasSubstr("torvik-admin run " +
                                        sandbox_.PathOf("root/etc/torvik/jobs/Sales.etl"))));
    else
      EXPECT_THAT(told, AllOf(HasSubstr("1 "), HasSubstr("cron has no line"))) << when;
  }
}

}  // namespace
}  // namespace torvik
