#include "engine/run/PackageExecution.h"

#include <gmock/gmock.h>

#include <map>
#include <mutex>
#include <set>
#include <thread>

#include "engine/EngineFixture.h"
#include "engine/PackageDocument.h"
#include "engine/run/PackageLog.h"
#include "platform/Ado.h"

namespace torvik::engine {
namespace {

using namespace std::chrono_literals;
using testing::AllOf;
using testing::HasSubstr;
using testing::Not;

using Script = std::function<TaskResult(TaskContext&)>;

struct ScriptedTask final : Task {
  explicit ScriptedTask(Script taken) : script(std::move(taken)) {}
  bool CanJoin() const override { return true; }
  TaskResult Run(TaskContext& context) const override { return script(context); }
  Script script;
};

/// Seconds pass fifty times as fast.
struct FastClock final : FakeClock {
  std::chrono::steady_clock::time_point Steady() override {
    return begin + (std::chrono::steady_clock::now() - begin) * 50;
  }
  const std::chrono::steady_clock::time_point begin = std::chrono::steady_clock::now();
};

/// True as soon as the condition holds; false when it does not come to hold.
template <typename Condition>
bool Await(const Condition& condition) {
  const auto end = std::chrono::steady_clock::now() + 20s;
  while (!condition()) {
    if (std::chrono::steady_clock::now() > end) return false;
    std::this_thread::sleep_for(1ms);
  }
  return true;
}

TaskResult WaitForCancel(TaskContext& context) {
  if (!Await([&] { return context.Cancelled().load(); })) return {};
  throw PlatformError(0, "ended early", "test");
}

PlatformError Transient(const std::string& words) {
  PlatformError error(17, words, "test");
  error.isTransient = true;
  return error;
}

/// Runs whose steps do what a test says.
class ExecutionTest : public EngineTest {
 protected:
  struct Ended {
    std::string raised, ends, log, progress;
    long number = 0;
  };

  Ended RunModel(PackageModel model, const std::map<std::string, Script>& scripts = {}) {
    for (StepModel& step : model.steps)
      if (const auto script = scripts.find(step.name); script != scripts.end())
        step.task = std::make_unique<ScriptedTask>(script->second);
    const EngineServices services{server_.Databases(), *files_,   *codePages_, *runClock_,
                                  *processes_,         eventLog_, mail_};
    Variables variables(model.variables);
    Workflow workflow(model.steps);
    disk_.Write("P.log", "");
    PackageLog log(services, "P", variables, [](const std::string& text) { FAIL() << text; });
    Ended ended;
    const auto sink = [&](const ExecutionEvent& event) {
      log.Handle(event);
      if (event.kind == ExecutionEvent::Kind::StepProgress)
        ended.progress += std::to_string(*event.rows) + " ";
    };
    try {
      ExecutePackage({services, model, variables, workflow, {"P"}, sink, cancelled_});
    } catch (const PlatformError& error) {
      ended.raised = error.Description();
      ended.number = error.number;
    }
    for (const StepState& state : workflow.States()) ended.ends += EndOf(state);
    ended.log = disk_.Read("P.log");
    return ended;
  }

  Ended RunSteps(const std::string& steps, const std::map<std::string, Script>& scripts,
                 const std::string& keys = "max_concurrent_steps = 4\n") {
    return RunModel(ReadPackageDocument(Head("P", keys) + steps, "P"), scripts);
  }

  FastClock fastClock_;
  Clock* runClock_ = &fastClock_;
  std::atomic<bool> cancelled_ = false;
};

TEST_F(ExecutionTest, StepsOverlapAsFarAsTheyMay) {
  const char *const kMain = "execute_in_main_thread = true", *const kJoin =
                                                                 "join_transaction = true";
  const struct {
    const char* keys;     // of the package
    const char* steps;    // of each of the first three
    const char* others;   // of each of three more
    int peak;             // how many are seen at once
    std::size_t threads;  // that run them; 0: as many as come
  } cases[] = {{"max_concurrent_steps = 1", "", "", 1, 1},
               {"max_concurrent_steps = 1", "", kMain, 1, 2},
               {"max_concurrent_steps = 3", "", "", 3, 3},
               {"max_concurrent_steps = 4", kMain, kMain, 1, 1},
               {"max_concurrent_steps = 4", kMain, "", 4, 4},
               {"max_concurrent_steps = 4", kJoin, "commit_success = true", 1, 0},
               {"max_concurrent_steps = 4", kJoin, "", 4, 0},
               {"max_concurrent_steps = 4\nuse_transaction = false", kJoin, kJoin, 4, 4}};
  for (const auto& c : cases) {
    std::atomic<int> inside = 0, peak = 0;
    std::mutex mutex;
    std::set<std::thread::id> threads;
    std::set<ado::Connection*> inUse;
    const Script meet = [&](TaskContext& context) -> TaskResult {
      ado::Connection& connection = context.ReadDatabase("dw");
      {
        const std::lock_guard lock(mutex);
        threads.insert(std::this_thread::get_id());
        EXPECT_TRUE(inUse.insert(&connection).second) << c.steps << c.others;
      }
      Variables& variables = context.GlobalVariables();
      variables.SetValue("Text", variables.Substitute("${Count}") + "1");
      const int now = ++inside;
      for (int seen = peak; seen < now && !peak.compare_exchange_weak(seen, now);) {
      }
      EXPECT_TRUE(Await([&] { return peak >= c.peak; })) << c.keys << c.steps << c.others;
      std::this_thread::sleep_for(5ms);  // for one too many to come
      const std::lock_guard lock(mutex);
      inUse.erase(&connection);
      --inside;
      return {};
    };
    std::string steps;
    std::map<std::string, Script> scripts;
    for (const char* name : {"a", "b", "c", "d", "e", "f"}) {
      steps += Sql(name, "SELECT 1", *name < 'd' ? c.steps : c.others);
      scripts[name] = meet;
    }
    EXPECT_EQ(RunSteps(steps, scripts, c.keys + std::string("\n")).ends, "SSSSSS");
    EXPECT_EQ(peak, c.peak) << c.keys << c.steps << c.others;
    EXPECT_THAT(threads.size(), testing::AnyOf(c.threads, c.threads ? c.threads : threads.size()))
        << c.keys << c.steps << c.others;
  }
}

TEST_F(ExecutionTest, AFailureThatEndsThePackageEndsItsRunningSteps) {
  const struct {
    const char *package, *step;
    bool byUser;
    const char *ends, *raised, *log;
    long number;
  } cases[] = {
      {"fail_on_error = true", "", false, "FFW",
       "package \"P\" failed because step \"a\" failed: bad",
       ": cancelled because step \"a\" failed: ended early", 1064},
      {"", "fail_package_on_error = true", false, "FFW", "step \"a\" failed: bad",
       "Step \"c\" did not run: the package ended before", 1064},
      {"", "", true, "FFW", "the execution was cancelled", "the execution was cancelled: ended",
       1063},
  };
  for (const auto& c : cases) {
    cancelled_ = false;
    std::atomic<bool> waiting = false;
    const Ended ended =
        RunSteps(Sql("a", "SELECT 1", c.step) + Sql("b", "SELECT 1") + Sql("c", "SELECT 1"),
                 {{"a",
                   [&](TaskContext& context) -> TaskResult {
                     EXPECT_TRUE(Await([&] { return waiting.load(); }));
                     cancelled_ = c.byUser;
                     if (c.byUser) return WaitForCancel(context);
                     throw PlatformError(0, "bad", "test");
                   }},
                  {"b",
                   [&](TaskContext& context) {
                     waiting = true;
                     return WaitForCancel(context);
                   }}},
                 std::string("max_concurrent_steps = 2\n") + c.package + "\n");
    EXPECT_EQ(ended.ends, c.ends) << c.raised << ended.log;
    EXPECT_EQ(ended.number, c.number) << c.raised;
    EXPECT_THAT(ended.raised, HasSubstr(c.raised));
    EXPECT_THAT(ended.log, HasSubstr(c.log));
  }
}

TEST_F(ExecutionTest, OnlyTransientFailuresAreTriedAgain) {
  enum class Kind { Passing, Lasting, Losing };
  const std::string join = "join_transaction = true\n", retry = "retries = 3\n";
  const struct {
    const char* what;
    std::string keys;
    int failures;  // before an attempt succeeds
    Kind kind;
    bool committed;  // what the step before it did
    const char *ends, *rows, *log;
    const char* raised = "";
  } cases[] = {
      {"no retries", "", 1, Kind::Passing, true, "SFS", "1 3 10", "failed after"},
      {"two failures", retry, 2, Kind::Passing, true, "SSS", "1 3 10 11 12",
       "failed after [0-9.]+ seconds: busy; attempt 3 of 4 follows in 10 seconds"},
      {"a joined attempt is undone alone", retry + join, 2, Kind::Passing, false, "SSS", "1 3 12",
       "attempt 2 of 4 follows in 10 seconds"},
      {"none left", retry + "retry_delay_seconds = 0", 9, Kind::Passing, true, "SFS",
       "1 3 10 11 12 13", "attempt 4 of 4 follows in 0 seconds"},
      {"not transient", retry, 1, Kind::Lasting, true, "SFS", "1 3 10", "failed after"},
      {"a transaction of its own is lost", retry + join, 1, Kind::Losing, true, "SFS", "1 3",
       "failed after"},
      {"the transaction is lost", retry + join, 1, Kind::Losing, false, "SFW", "",
       "busy; the package's whole transaction is rolled back, because the step cannot be undone",
       "the work of earlier steps in its transaction is lost: step \"b\" failed: busy"},
  };
  warehouse_->Execute("CREATE TABLE t (n INTEGER)");
  for (const auto& c : cases) {
    warehouse_->Execute("DELETE FROM t");
    int attempts = 0;
    const Ended ended = RunSteps(
        Sql("a", "INSERT INTO t VALUES (1)",
            join + (c.committed ? "commit_success = true\n" : "")) +
            Sql("b", "SELECT 1", c.keys + "\nafter = [{ step = 'a' }]\n") +
            Sql("c", "INSERT INTO t VALUES (3)",
                join + "commit_success = true\nafter = [{ step = 'b', on = 'completion' }]"),
        {{"b", [&](TaskContext& context) -> TaskResult {
            ado::Connection& dw = context.Database("dw");
            dw.Execute("INSERT INTO t VALUES (" + std::to_string(10 + attempts) + ")");
            if (c.kind == Kind::Losing) dw.Execute("ROLLBACK");
            if (attempts++ >= c.failures) return 1;
            throw c.kind == Kind::Lasting ? PlatformError(17, "busy", "test") : Transient("busy");
          }}});
    EXPECT_EQ(ended.ends, c.ends) << c.what << ended.log;
    EXPECT_EQ(Query("SELECT n FROM t ORDER BY n"), c.rows) << c.what;
    EXPECT_THAT(ended.log, testing::ContainsRegex(c.log)) << c.what;
    EXPECT_THAT(ended.raised, HasSubstr(c.raised)) << c.what;
    EXPECT_EQ(ended.raised.empty(), *c.raised == 0) << c.what << ended.raised;
  }
}

TEST_F(ExecutionTest, AWaitForTheNextAttemptEndsWithThePackage) {
  runClock_ = &clock_;  // stands still: the hour never passes
  const Ended ended = RunSteps(
      Sql("a", "SELECT 1", "retries = 1\nretry_delay_seconds = 3600") + Sql("b", "SELECT 1"),
      {{"a", [&](TaskContext&) -> TaskResult { throw Transient("busy"); }},
       {"b",
        [&](TaskContext&) -> TaskResult {
          EXPECT_TRUE(
              Await([&] { return disk_.Read("P.log").find("follows in") != std::string::npos; }));
          throw PlatformError(0, "bad", "test");
        }}},
      "max_concurrent_steps = 2\nfail_on_error = true\n");
  EXPECT_EQ(ended.ends, "FF");
  EXPECT_THAT(ended.log, HasSubstr(": cancelled because step \"b\" failed: busy"));
}

TEST_F(ExecutionTest, AStepEndsWhenItsTimeHasPassed) {
  const std::string endless =
      "WITH RECURSIVE r (n) AS (SELECT 1 UNION ALL SELECT n + 1 FROM r) SELECT n FROM r";
  const std::string count = "SELECT COUNT(*) AS Count FROM (" + endless + ")";
  const std::string on = "connection = \"dw\"\n";
  const struct {
    std::string step;
    const char* ends;
  } cases[] = {
      {Sql("b", count, "timeout_seconds = 5"), "FSS"},
      {Sql("b", "INSERT INTO t " + endless, "timeout_seconds = 5\nretries = 9"), "FSS"},
      {Step("b", "SetVariables", on + "timeout_seconds = 5\nsql = \"" + count + "\""), "FSS"},
      {Step("b", "DataPump",
            "timeout_seconds = 5\nsource = 'dw again'\nsource_sql = '" + endless +
                "'\ndestination = 'dw'\ntable = 't'"),
       "FSS"},
      // The embedded server drops the whole transaction of a statement that is cancelled.
      {Sql("b", "INSERT INTO t " + endless, "join_transaction = true\ntimeout_seconds = 5"), "FSW"},
  };
  warehouse_->Execute("CREATE TABLE t (n INTEGER)");
  for (const auto& c : cases) {
    warehouse_->Execute("DELETE FROM t");
    const Ended ended =
        RunSteps(c.step +
                     Sql("a", "INSERT INTO t VALUES (1)",
                         "join_transaction = true\npriority = 5\ncommit_success = " +
                             std::string(*(c.ends + 2) == 'S' ? "true" : "false")) +
                     Sql("c", "INSERT INTO t VALUES (2)",
                         "join_transaction = true\ncommit_success = true\n"
                         "after = [{ step = 'b', on = 'completion' }, { step = 'a' }]"),
                 {}, "max_concurrent_steps = 1\n");
    EXPECT_EQ(ended.ends, c.ends) << c.step << ended.log;
    EXPECT_EQ(Query("SELECT n FROM t ORDER BY n"), *(c.ends + 2) == 'S' ? "1 2" : "") << c.step;
    EXPECT_THAT(ended.log,
                HasSubstr("the step took longer than its 5 seconds (timeout_seconds): "));
    EXPECT_THAT(ended.log, Not(HasSubstr("attempt 2"))) << c.step;
  }
}

TEST_F(ExecutionTest, AConnectionIsHandedOnUnlessItsStepFailedOrClosesIt) {
  const struct {
    const char *sql, *keys, *ends;
  } cases[] = {{"CREATE TEMP TABLE mine (n)", "", "SS"},
               {"CREATE TEMP TABLE mine (n)", "connection = 'dw'\nclose_connection = true", "SF"},
               {"CREATE TEMP TABLE mine (n); SELECT * FROM nowhere", "", "FF"}};
  for (const auto& c : cases)
    EXPECT_EQ(RunSteps(Sql("a", c.sql, c.keys) + Sql("b", "INSERT INTO temp.mine VALUES (1)",
                                                     "after = [{ step = 'a', on = 'completion' }]"),
                       {})
                  .ends,
              c.ends)
        << c.sql << c.keys;
}

TEST_F(ExecutionTest, ProgressIsThrottledAndRejectedRowsAreLogged) {
  runClock_ = &clock_;
  const Ended ended = RunSteps(Sql("a", "SELECT 1"), {{"a", [](TaskContext& context) {
                                                         for (int rows = 1; rows <= 1000; ++rows)
                                                           context.Progress(rows);
                                                         return TaskResult(997, 3);
                                                       }}});
  EXPECT_EQ(ended.progress, "1 1000 ");
  EXPECT_THAT(ended.log, HasSubstr("Step \"a\" succeeded: 997 rows, 3 rejected, 0.000 seconds"));
}

TEST_F(ExecutionTest, TenThousandStepsRun) {
  PackageModel model;
  model.name = "P";
  constexpr std::size_t kSteps = 10000;
  std::atomic<std::size_t> ran = 0;
  for (std::size_t i = 0; i < kSteps; ++i) {
    StepModel& step = model.steps.emplace_back();
    step.name = std::to_string(i);
    step.task = std::make_unique<ScriptedTask>([&](TaskContext&) { return TaskResult(++ran); });
    if (i % 2 == 1) step.after = {{i - 1, Outcome::Success}};
    if (i % 4 == 2) step.after = {{i - 2, Outcome::Completion}, {i - 1, Outcome::Success}};
  }
  EXPECT_EQ(RunModel(std::move(model)).ends, std::string(kSteps, 'S'));
  EXPECT_EQ(ran, kSteps);
}

}  // namespace
}  // namespace torvik::engine
