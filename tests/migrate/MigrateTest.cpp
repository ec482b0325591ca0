#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "migrate/AgentScript.h"
#include "migrate/SqlAdvice.h"

namespace torvik::migrate {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using testing::SizeIs;

std::string Joined(const CalendarTimes& times) {
  std::string text;
  for (const std::string& time : times.times) text += (text.empty() ? "" : "; ") + time;
  return text;
}

TEST(AgentSchedule, BecomesCalendarTimesOrSaysWhyNot) {
  const struct {
    AgentSchedule schedule;
    const char *times, *problem;
  } cases[] = {
      {{"", true, 4, 1, 1, 0, 0, 0, 20020101, 20000}, "02:00", ""},
      {{"", true, 4, 1, 4, 15, 0, 0, 0, 80000, 175959}, "08..17:00/15", ""},
      {{"", true, 4, 1, 8, 6, 0, 0, 0, 3000}, "00/6:30", ""},
      {{"", true, 4, 1, 4, 30}, "*:00,30", ""},
      {{"", true, 4, 1, 4, 45, 0, 0, 0, 80000, 100000}, "08:00,45; 09:30", ""},
      {{"", true, 4, 1, 4, 11}, "", "do not repeat in an hour"},
      {{"", true, 4, 1, 4, 10, 0, 0, 0, 220000, 50000}, "", "over midnight"},
      {{"", true, 4, 3, 1, 0, 0, 0, 0, 60000}, "06:00", "only every 3 days"},
      {{"", true, 4, 1, 2, 10}, "", "every 10 seconds"},
      {{"", true, 8, 62, 1, 0, 0, 1, 0, 13000}, "Mon..Fri 01:30", ""},
      {{"", true, 8, 65, 1, 0, 0, 2, 0, 13000}, "Sat,Sun 01:30", "only every 2 weeks"},
      {{"", true, 8, 127, 1, 0, 0, 1, 0, 13000}, "01:30", ""},
      {{"", true, 8, 0, 1, 0, 0, 1}, "", "no day of the week"},
      {{"", true, 16, 15, 1, 0, 0, 1, 0, 40000}, "*-*-15 04:00", ""},
      {{"", true, 16, 1, 1, 0, 0, 3, 20020201, 40000}, "*-02,05,08,11-01 04:00", ""},
      {{"", true, 16, 1, 1, 0, 0, 5}, "", "every 5 months"},
      {{"", true, 32, 2, 1, 0, 1, 1, 0, 40000}, "Mon *-*-01..07 04:00", ""},
      {{"", true, 32, 6, 1, 0, 16, 1, 0, 40000}, "Fri *-*~07/1 04:00", ""},
      {{"", true, 32, 8, 1, 0, 16, 1, 0, 40000}, "*-*~01 04:00", ""},
      {{"", true, 32, 9, 1, 0, 1, 1, 0, 40000}, "", "n-th weekday"},
      {{"", true, 1, 0, 0, 0, 0, 0, 20301224, 181500}, "2030-12-24 18:15", "once"},
      {{"", true, 4, 1, 1, 0, 0, 0, 0, 20000, 235959, 20051231}, "02:00", "day was 2005-12-31"},
      {{"", true, 64}, "", "when the Agent started"},
      {{"", false, 4, 1, 1}, "", "disabled"},
      {{"", true, 3}, "", "freq_type"},
      {{"", true, 4, 1, 4, -5, 0, 0, -1, -1, -1}, "00:00", ""}};
  int number = 0;
  for (const auto& c : cases) {
    const CalendarTimes times = TimesOf(c.schedule);
    EXPECT_EQ(Joined(times), c.times) << number;
    EXPECT_THAT(times.problem, *c.problem == '\0' ? testing::Matcher<std::string>(IsEmpty())
                                                  : HasSubstr(c.problem))
        << number;
    ++number;
  }
}

TEST(AgentScript, HasItsJobsWithStepsAndSchedules) {
  const AgentScript script = ReadAgentScript(R"(
USE [msdb]
GO
/* a job /* of the night */ exec sp_add_job */
BEGIN TRANSACTION
DECLARE @ReturnCode INT, @jobId BINARY(16), @log NVARCHAR(100)
SET @log = N'C:\log.txt'
EXEC @ReturnCode = msdb.dbo.sp_add_job @job_name=N'Load ''Sales''', @enabled=0, @owner_login_name=N'sa', @job_id = @jobId OUTPUT
IF (@@ERROR <> 0) GOTO Quit -- exec sp_add_job
EXEC @ReturnCode = msdb..sp_add_jobstep @job_id=@jobId, @step_name=N'load',
  @subsystem=N'CmdExec', @command=N'DTSRun /S OLD /E /N Sales_LoadDW /L ' + @log, @flags=0
EXECUTE msdb.dbo.[sp_add_jobschedule] @job_id=@jobId, @name=N'nightly', @freq_type=4, @freq_interval=1, @active_start_time=20000
EXEC sp_add_jobserver @job_id=@jobId
GO
EXEC sp_add_job 'Positional'
EXEC sp_add_job @job_name = 'Second'
EXEC sp_add_jobstep @job_name = 'load ''sales''', @step_name = 'late', @subsystem = 'TSQL', @command = 'dragon' + CHAR(13), @database_name = 'DW'
EXEC sp_add_jobstep @job_name = 'Nobody', @step_name = 'x', @command = 'dragon'
EXEC sp_add_jobalert @password = 'dragon'
EXEC sp_who 'dragon'
)");
  ASSERT_THAT(script.jobs, SizeIs(2));
  const AgentJob& sales = script.jobs[0];
  EXPECT_EQ(sales.name, "Load 'Sales'");
  EXPECT_FALSE(sales.isEnabled);
  ASSERT_THAT(sales.steps, SizeIs(2));
  EXPECT_EQ(sales.steps[0].line, 10);
  EXPECT_THAT(DtsrunLinesIn(sales.steps[0].command),
              ElementsAre(testing::Field(&DtsrunText::text,
                                         "DTSRun /S OLD /E /N Sales_LoadDW /L C:\\log.txt")));
  EXPECT_EQ(sales.steps[1].name, "late");
  ASSERT_THAT(sales.schedules, SizeIs(1));
  EXPECT_EQ(Joined(TimesOf(sales.schedules[0])), "02:00");
  EXPECT_THAT(script.jobs[1].steps, IsEmpty());
  std::string notes;
  for (const ScriptNote& note : script.notes)
    notes += std::to_string(note.line) + ": " + note.text + "\n";
  EXPECT_EQ(notes,
            "15: sp_add_job has no named arguments (@name = value); write them so\n"
            "15: sp_add_job has no @job_name; its job has no name\n"
            "17: sp_add_jobstep: @command is no literal, and no variable that was set to one; it "
            "is left out\n"
            "18: sp_add_jobstep: there is no sp_add_job of its job in front of it; it is left "
            "out\n"
            "19: sp_add_jobalert is not known here; it is left out\n");
}

TEST(AgentScript, TextsThatEndTooEarlyAreRead) {
  const std::string whole =
      "DECLARE @x INT = 1 EXEC @r = msdb.dbo.sp_add_job @job_name = N'a' + @x, @enabled = -1 "
      "EXEC sp_add_jobstep @step_name = [b], @command = 'c' /* d */ SET @y = N'e";
  for (std::size_t size = 0; size <= whole.size(); ++size)
    EXPECT_LE(ReadAgentScript(whole.substr(0, size)).jobs.size(), 1U) << size;
}

TEST(AgentStep, ItsDtsrunLinesAreFound) {
  const struct {
    const char *command, *lines;
  } cases[] = {
      {"dtsrun /N a", "1: dtsrun /N a\n"},
      {"DTSRUN/SOLD /N a", "1: dtsrun /SOLD /N a\n"},
      {"@echo off\r\n  @\"C:\\Program Files\\dtsrun.exe\" /N a\r\n\r\ncall dtsrun /N b\r\n",
       "2: \"C:\\Program Files\\dtsrun.exe\" /N a\n4: dtsrun /N b\n"},
      {"C:\\Tools\\dtsrun /N a", "1: C:\\Tools\\dtsrun /N a\n"},
      {"echo dtsrun /N a", ""},
      {"\"dtsrun", "1: \"dtsrun\n"},
      {"", ""}};
  for (const auto& c : cases) {
    std::string lines;
    for (const DtsrunText& line : DtsrunLinesIn(c.command))
      lines += std::to_string(line.line) + ": " + line.text + "\n";
    EXPECT_EQ(lines, c.lines) << c.command;
  }
}

TEST(SqlAdvice, NamesWhatOtherServersDoNotHave) {
  const struct {
    const char* sql;
    std::vector<std::string> begins;
  } cases[] = {{"SELECT TOP 5 n = ISNULL(a, b), getdate() FROM [t]",
                {"TOP n", "SELECT alias", "ISNULL(", "GETDATE()", "[name]"}},
               {"SELECT a, x = (SELECT y = 1 FROM t WHERE b = 2), c FROM t", {"SELECT alias"}},
               {"SELECT a AS b FROM t WHERE a = 1 AND top_ = 2, c = 3", {}},
               {"UPDATE t SET a = 1, b = 2 WHERE c = 'TOP' -- TOP", {}},
               {"SELECT a INTO u FROM t", {"SELECT ... INTO"}},
               {"INSERT INTO u SELECT a FROM t", {}},
               {"SELECT 'x' + a, b + 1 FROM t", {"'text' + a"}},
               {"SELECT CONVERT(CHAR(8), d, 112), isnull FROM t", {"CONVERT("}},
               {"", {}}};
  for (const auto& c : cases) {
    const std::vector<std::string> advice = AdviceFor(c.sql);
    ASSERT_EQ(advice.size(), c.begins.size()) << c.sql << testing::PrintToString(advice);
    for (std::size_t i = 0; i < advice.size(); ++i)
      EXPECT_THAT(advice[i], testing::StartsWith(c.begins[i])) << c.sql;
  }
}

}  // namespace
}  // namespace torvik::migrate
