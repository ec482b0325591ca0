#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "platform/RunHistory.h"

namespace torvik {

namespace ado {
class Connection;
class Provider;
enum class SqlKind;
}  // namespace ado

/// Where the runs of many machines lie together.
struct HistoryPlace {
  std::string server;  ///< Empty: there is no such place.
  std::string database;
};

/// The ended runs of many machines, in the tables torvik_run, torvik_run_step, torvik_run_fetch and
/// torvik_run_variable of a database. A run is known by its machine, its number there, and its
/// begin. What fails throws PlatformError.
class SharedHistory {
 public:
  /// Opens the database.
  SharedHistory(ado::Provider& databases, const HistoryPlace& place);
  ~SharedHistory();
  SharedHistory(const SharedHistory&) = delete;
  SharedHistory& operator=(const SharedHistory&) = delete;

  /// Adds a run with all its parts, or nothing; one that is there already is left as it is. Makes
  /// the tables when they are missing.
  void Add(const RunRecord& run);

  /// Runs without their parts, the latest first; none where there are no tables yet.
  std::vector<RunRecord> Runs(const RunFilter& filter);

  /// One run with its parts, the latest when the machine has begun its numbers anew.
  std::optional<RunRecord> Run(std::string_view host, std::int64_t id);

 private:
  bool HasTables();
  void MakeTables();
  bool HasRun(const std::string& key);
  std::vector<RunRecord> Query(const std::string& condition, int limit);
  void ReadParts(RunRecord& run);

  std::unique_ptr<ado::Connection> connection_;
  ado::SqlKind sql_;
  bool hasTables_ = false;
};

}  // namespace torvik
