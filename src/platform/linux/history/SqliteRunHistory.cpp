#include "platform/linux/history/SqliteRunHistory.h"

#include <algorithm>
#include <chrono>
#include <functional>
#include <utility>

#include "platform/PlatformError.h"
#include "platform/linux/history/HistoryFile.h"
#include "platform/linux/history/HistoryRows.h"
#include "platform/linux/history/RunProcess.h"
#include "platform/linux/settings/Settings.h"
#include "platform/linux/system/FileSystems.h"
#include "platform/linux/system/WhoRuns.h"

namespace torvik {
namespace {

/// So many old runs are forgotten at once, so that no run waits for a long time's worth of them.
constexpr const char* kForget =
    "DELETE FROM run WHERE id IN (SELECT id FROM run WHERE begin < ? ORDER BY begin LIMIT 200)";

/// A run waits this long for other writers, in all that it writes; the second half is for its end.
constexpr std::chrono::milliseconds kPatience{1000};

/// The log beside the file is kept shorter than this at the ends of runs, and during them.
constexpr std::uintmax_t kLogAtEnd = 512 << 10, kLogMeanwhile = 4 << 20;

/// All or nothing; what throws in between leaves nothing.
class Writing {
 public:
  explicit Writing(sqlite3* handle) : handle_(handle) { Do("BEGIN IMMEDIATE"); }
  ~Writing() {
    if (isOpen_) sqlite3_exec(handle_, "ROLLBACK", nullptr, nullptr, nullptr);
  }
  Writing(const Writing&) = delete;
  Writing& operator=(const Writing&) = delete;

  void Commit() {
    Do("COMMIT");
    isOpen_ = false;
  }

 private:
  void Do(const char* sql) { HistoryStatement(handle_, sql).Run(); }

  sqlite3* const handle_;
  bool isOpen_ = true;
};

class SqliteRunHistory final : public RunHistory {
 public:
  SqliteRunHistory(std::string path, const HistorySettings& settings)
      : path_(std::move(path)), settings_(settings) {}

  std::string Write(RunRecord& run) override {
    if (!settings_.isOn) return {};
    if (std::exchange(begin_, run.begin) != run.begin) patience_.left = kPatience;
    patience_.kept = run.end ? kPatience * 0 : kPatience / 2;
    const std::string problem = Try([&] {
      Writing writing(Writer());
      if (run.id == 0)
        Insert(run);
      else
        Update(run);
      WriteSteps(run);
      WriteFetches(run);
      writing.Commit();
      written_ = run;
    });
    if (writer_) TidyUp(run);
    return problem;
  }

  std::vector<RunRecord> Runs(const RunFilter& filter) override {
    const HistoryHandle reader = Reader();
    if (!reader) return {};
    std::string sql = std::string(kRunColumns) + "WHERE 1";
    if (!filter.job.empty())
      sql += " AND (job = ?1 OR job LIKE ?2 ESCAPE '\\' OR job LIKE ?3 ESCAPE '\\')";
    if (filter.runningOnly) sql += " AND outcome = 0";
    if (filter.failedOnly) sql += " AND outcome <> 1";
    if (filter.since) sql += " AND begin >= " + std::to_string(StoredMoment(*filter.since));
    HistoryStatement rows(reader.get(), (sql + " ORDER BY id DESC").c_str());
    if (!filter.job.empty())
      rows.Bind(filter.job).Bind(NamedLike("/", filter.job)).Bind(NamedLike("\\\\", filter.job));
    std::vector<RunRecord> runs;
    while ((filter.limit == 0 || std::ssize(runs) < filter.limit) && rows.Step())
      if (RunRecord run = RunOf(rows); IsWanted(run, filter)) runs.push_back(std::move(run));
    return runs;
  }

  std::optional<RunRecord> Run(std::int64_t id) override {
    const HistoryHandle reader = Reader();
    if (!reader) return std::nullopt;
    HistoryStatement row(reader.get(), (std::string(kRunColumns) + "WHERE id = ?").c_str());
    row.Bind(id);
    if (!row.Step()) return std::nullopt;
    RunRecord run = RunOf(row);
    ReadParts(reader.get(), run);
    return run;
  }

  std::vector<RunRecord> Unannounced() override {
    const HistoryHandle reader = Reader();
    if (!reader) return {};
    HistoryStatement rows(
        reader.get(),
        (std::string(kRunColumns) + "WHERE alarms <> -1 AND outcome <> 0 ORDER BY id").c_str());
    return RunsWithParts(reader.get(), rows);
  }

  std::string NoteAlarms(std::int64_t id, RaisedAlarms raised) override {
    return Note("UPDATE run SET alarms = ? WHERE id = ?", raised, id);
  }

  std::vector<RunRecord> Unsent(std::int64_t after, std::size_t most) override {
    const HistoryHandle reader = Reader();
    if (!reader || HistoryVersion(reader.get()) < 3) return {};
    const std::string sql =
        std::string(kRunColumns) + "WHERE sent = 0 AND outcome <> 0 AND id > ? ORDER BY id LIMIT ?";
    HistoryStatement rows(reader.get(), sql.c_str());
    rows.Bind(after).Bind(static_cast<std::int64_t>(most));
    return RunsWithParts(reader.get(), rows);
  }

  std::string NoteSent(std::int64_t id) override {
    return Note("UPDATE run SET sent = ? WHERE id = ?", 1, id);
  }

 private:
  static std::vector<RunRecord> RunsWithParts(sqlite3* handle, HistoryStatement& rows) {
    std::vector<RunRecord> runs;
    while (rows.Step()) {
      runs.push_back(RunOf(rows));
      ReadParts(handle, runs.back());
    }
    return runs;
  }

  std::string Note(const char* update, int value, std::int64_t id) {
    patience_ = {kPatience, {}};
    return Try([&] { HistoryStatement(Writer(), update).Bind(value).Bind(id).Run(); });
  }

  /// What went wrong, in words, or a note.
  std::string Try(const std::function<void()>& write) {
    try {
      write();
    } catch (const std::exception& error) {
      writer_.reset();
      return WordsOf(error) + Mended(error);
    }
    return std::exchange(note_, {});
  }

  /// The next run begins a new history when this one is damaged.
  std::string Mended(const std::exception& error) {
    const auto* const known = dynamic_cast<const PlatformError*>(&error);
    if (known == nullptr || (known->number & 0xFF) != SQLITE_CORRUPT) return {};
    std::string note;
    try {
      MendHistory(path_, note);
    } catch (const PlatformError& problem) {
      note = problem.Description();
    }
    return note.empty() ? note : "; " + note;
  }

  sqlite3* Writer() {
    if (!writer_) writer_ = OpenHistory(path_, note_, patience_);
    return writer_.get();
  }

  /// Runs whose process is gone are told as lost from then on, where that can be written.
  HistoryHandle Reader() const {
    HistoryHandle reader = ReadHistory(path_);
    try {
      if (reader && sqlite3_db_readonly(reader.get(), nullptr) == 0) MarkLost(reader.get());
    } catch (const PlatformError&) {  // a full disk, a lock: the next one that asks notes it
    }
    return reader;
  }

  static void MarkLost(sqlite3* handle) {
    std::vector<std::int64_t> lost;
    HistoryStatement open(handle,
                          "SELECT id, process, process_start, boot FROM run "
                          "WHERE outcome = 0 AND host = ?");
    open.Bind(HostName());
    while (open.Step()) {
      const std::int64_t id = open.Integer();
      RunProcess process{static_cast<int>(open.Integer())};
      process.start = open.Integer();
      process.boot = open.Text();
      if (IsGone(process)) lost.push_back(id);
    }
    for (const std::int64_t id : lost)
      HistoryStatement(
          handle,
          "UPDATE run SET outcome = 3, error = CASE error WHEN '' THEN ? ELSE error END "
          "WHERE id = ? AND outcome = 0")
          .Bind(std::string(kProcessIsGone))
          .Bind(id)
          .Run();
  }

  void Insert(RunRecord& run) {
    const RunProcess process = ThisProcess();
    run.process = process.number;
    run.host = HostName();
    run.startedBy = WhoStarted();
    HistoryStatement insert(
        Writer(),
        "INSERT INTO run (job, package, version, server, begin, end, outcome, rows, rejected, "
        "bytes, failed_step, error, log, attended, alarms, process, process_start, boot, host, "
        "started_by) VALUES (?,?,?,?,?,?,?,?,?,?,?,?,?,?,?,?,?,?,?,?)");
    BindRun(insert, run);
    insert.Bind(process.number).Bind(process.start).Bind(process.boot);
    insert.Bind(run.host).Bind(run.startedBy).Run();
    run.id = sqlite3_last_insert_rowid(Writer());
    WriteVariables(run);
  }

  void WriteVariables(const RunRecord& run) {
    HistoryStatement write(Writer(), "INSERT INTO variable VALUES (?,?,?,?)");
    std::int64_t position = 0;
    for (const auto& [name, value] : run.variables)
      write.Bind(run.id).Bind(position++).Bind(name).Bind(value).Run();
  }

  void Update(const RunRecord& run) {
    HistoryStatement update(
        Writer(),
        "UPDATE run SET job = ?, package = ?, version = ?, server = ?, begin = ?, end = ?, "
        "outcome = ?, rows = ?, rejected = ?, bytes = ?, failed_step = ?, error = ?, log = ?, "
        "attended = ?, alarms = ? WHERE id = ?");
    BindRun(update, run);
    update.Bind(run.id).Run();
  }

  static void BindRun(HistoryStatement& statement, const RunRecord& run) {
    statement.Bind(run.job).Bind(run.package).Bind(run.versionGuid).Bind(run.packageServer);
    statement.Bind(StoredMoment(run.begin));
    BindMoment(statement, run.end);
    statement.Bind(static_cast<int>(run.outcome)).Bind(run.rows).Bind(run.rejectedRows);
    statement.Bind(run.bytes).Bind(run.failedStep).Bind(run.error).Bind(run.logFile);
    statement.Bind(run.isAttended).Bind(run.alarms);
  }

  /// What takes time has some when the run has its verdict. It waits for nobody: what is not done
  /// this time is done by another run.
  void TidyUp(const RunRecord& run) {
    patience_.kept = patience_.left;
    try {
      if (run.end) Forget();
    } catch (const std::exception&) {
    }
    ShortenLog(writer_.get(), path_, run.end ? kLogAtEnd : kLogMeanwhile);
  }

  void Forget() {
    const auto kept = std::chrono::hours(24) * settings_.keepDays;
    const std::int64_t oldest = StoredMoment(std::chrono::system_clock::now() - kept);
    if (!HasRunBefore(oldest)) return;
    Writing writing(Writer());
    HistoryStatement(Writer(), kForget).Bind(oldest).Run();
    for (const char* sql : {"DELETE FROM step WHERE run < (SELECT MIN(id) FROM run)",
                            "DELETE FROM fetch WHERE run < (SELECT MIN(id) FROM run)",
                            "DELETE FROM variable WHERE run < (SELECT MIN(id) FROM run)"})
      HistoryStatement(Writer(), sql).Run();
    writing.Commit();
  }

  bool HasRunBefore(std::int64_t begin) {
    return HistoryStatement(Writer(), "SELECT 1 FROM run WHERE begin < ? LIMIT 1")
        .Bind(begin)
        .Step();
  }

  void WriteSteps(const RunRecord& run) {
    const bool isKnown = written_.id == run.id;
    if (isKnown && written_.steps.size() > run.steps.size())
      HistoryStatement(Writer(), "DELETE FROM step WHERE run = ? AND position >= ?")
          .Bind(run.id)
          .Bind(static_cast<std::int64_t>(run.steps.size()))
          .Run();
    std::optional<HistoryStatement> write;
    for (std::size_t i = 0; i < run.steps.size(); ++i) {
      const StepRecord& step = run.steps[i];
      if (isKnown && i < written_.steps.size() && written_.steps[i] == step) continue;
      if (!write)
        write.emplace(Writer(), "INSERT OR REPLACE INTO step VALUES (?,?,?,?,?,?,?,?,?,?)");
      write->Bind(run.id).Bind(static_cast<std::int64_t>(i)).Bind(step.step);
      write->Bind(StoredMoment(step.begin));
      BindMoment(*write, step.end);
      write->Bind(static_cast<int>(step.outcome)).Bind(step.rows).Bind(step.rejectedRows);
      write->Bind(step.attempt).Bind(step.error).Run();
    }
  }

  void WriteFetches(const RunRecord& run) {
    const bool isKnown = written_.id == run.id;
    for (std::size_t i = 0; i < run.fetches.size(); ++i) {
      const FetchRecord& fetch = run.fetches[i];
      if (isKnown && i < written_.fetches.size() && written_.fetches[i] == fetch) continue;
      HistoryStatement write(Writer(), "INSERT OR REPLACE INTO fetch VALUES (?,?,?,?,?,?,?,?,?)");
      write.Bind(run.id).Bind(static_cast<std::int64_t>(i)).Bind(fetch.link);
      write.Bind(StoredMoment(fetch.begin));
      BindMoment(write, fetch.end);
      write.Bind(fetch.isComplete).Bind(fetch.files).Bind(fetch.bytes).Bind(fetch.error).Run();
    }
  }

  static bool IsWanted(const RunRecord& run, const RunFilter& filter) {
    const bool isRunning = run.outcome == RunOutcome::Running;
    if (filter.runningOnly && !isRunning) return false;
    return !filter.failedOnly || (!isRunning && run.outcome != RunOutcome::Ok);
  }

  /// For a job by its name alone, with or without its ending, behind the separator.
  static std::string NamedLike(const std::string& separator, const std::string& name) {
    std::string pattern = "%" + separator;
    for (const char c : name) {
      if (c == '%' || c == '_' || c == '\\') pattern += '\\';
      pattern += c;
    }
    return name.ends_with(".etl") ? pattern : pattern + ".etl";
  }

  const std::string path_;
  const HistorySettings settings_;
  HistoryPatience patience_;
  Moment begin_;  ///< Of the run that is written.
  HistoryHandle writer_;
  std::string note_;
  RunRecord written_;  ///< As the file has it.
};

}  // namespace

std::string HistoryFileIn(const std::string& stateDirectory) {
  const bool isShared = !NetworkFileSystemOf(stateDirectory).empty();
  return stateDirectory + "/history" + (isShared ? "-" + HostName() : "") + ".db";
}

std::unique_ptr<RunHistory> NewSqliteRunHistory(std::string path, const HistorySettings& settings) {
  return std::make_unique<SqliteRunHistory>(std::move(path), settings);
}

}  // namespace torvik
