#include "engine/tasks/PumpInParts.h"

#include <utility>

#include "engine/model/EngineServices.h"
#include "engine/pump/ExceptionFile.h"
#include "engine/pump/RowSource.h"
#include "engine/tasks/PartLoads.h"
#include "engine/tasks/PumpMove.h"
#include "platform/OwnTransaction.h"
#include "platform/PlatformError.h"

namespace torvik::engine {
namespace {

/// Why one connection is to load the rows.
struct ForOneConnection {
  std::string reason;
};

/// The table beside and the connections that fill it; what is left of it goes at the end of the
/// scope, however that is left.
class SharedStaging {
 public:
  SharedStaging(TaskContext& context, const PumpParts& parts, const PumpTable& table)
      : context_(context), table_(table), connections_{&table.connection} {
    while (connections_.size() < static_cast<std::size_t>(parts.connections))
      connections_.push_back(
          &context.FurtherDatabase(parts.destination, static_cast<int>(connections_.size())));
    for (ado::Connection* const connection : connections_) RequireNoTransaction(*connection);
    name_ = table.connection.CreateSharedStagingTable(table.name);
  }
  ~SharedStaging() {
    for (ado::Connection* const connection : connections_) context_.LetFinish(*connection);
    // A rollback that was cancelled has left locks.
    for (ado::Connection* const connection : connections_)
      Try([&] {
        if (connection->HasOpenTransaction().value_or(false)) connection->Execute("ROLLBACK");
      });
    for (ado::Connection* const connection : connections_)
      if (Try([&] { connection->ReleaseStagingTable(table_.name, name_); })) return;
  }
  SharedStaging(const SharedStaging&) = delete;
  SharedStaging& operator=(const SharedStaging&) = delete;

  const std::string& Name() const { return name_; }
  std::span<ado::Connection* const> Connections() const { return connections_; }

 private:
  /// False when the connection is lost or the server refuses.
  template <typename Call>
  static bool Try(const Call& call) {
    try {
      call();
      return true;
    } catch (const std::exception&) {
      return false;
    }
  }

  TaskContext& context_;
  const PumpTable& table_;
  std::vector<ado::Connection*> connections_;
  std::string name_;
};

class PumpOfParts {
 public:
  PumpOfParts(TaskContext& context, const PumpJob& job, const PumpParts& parts,
              const RowSource& source, const PumpTable& table)
      : context_(context),
        job_(job),
        source_(source),
        table_(table),
        text_(context.Services().files, context.Services().codePages, parts.file, parts.format,
              source.Columns()),
        rejects_(job.settings.maximumErrorCount, [this] { text_.Stop(); }),
        exceptions_(NewExceptionFile(context, job.settings)),
        staging_(context, parts, table),
        loads_(context, job, parts, text_, rejects_, staging_.Name()) {}

  PumpOutcome Run() {
    try {
      loads_.Run(staging_.Connections());
      if (rejects_.AreTooLarge())
        throw ForOneConnection{"its rejected rows take more than " +
                               std::to_string(HeldRejects::kMostBytes >> 20) + " MiB"};
      if (rejects_.AreTooMany()) RefuseTooMany();
      return Move();
    } catch (const NotInParts&) {
      throw;
    } catch (const std::exception& error) {
      WriteRejected(rejects_.TakeInOrder(), error.what());
      throw;
    }
  }

 private:
  /// With the row that is one too many where one connection reads the file from its start.
  [[noreturn]] void RefuseTooMany() {
    const std::int64_t allowed = job_.settings.maximumErrorCount;
    auto rows = rejects_.TakeInOrder();
    rows.erase(rows.begin() + allowed + 1, rows.end());
    try {
      ThrowTooManyRejected(rows.back().error, allowed + 1, allowed);
    } catch (const PlatformError& error) {
      WriteRejected(rows, error.what());
      throw;
    }
  }

  PumpOutcome Move() {
    PumpOutcome outcome{loads_.Counts()};
    OwnTransaction transaction(table_.connection);
    try {
      outcome.merged = MoveStagedRows(context_, job_.settings, table_,
                                      {staging_.Name(), outcome.loaded, loads_.Columns()});
    } catch (const PlatformError& error) {
      if (error.isTransient || context_.Cancelled()) throw;
      throw ForOneConnection{"table " + table_.name +
                             " does not take all its rows together: " + error.Description()};
    }
    WriteRejected(rejects_.TakeInOrder(), "");
    transaction.Commit();
    return outcome;
  }

  void WriteRejected(const std::vector<HeldRejects::Row>& rows, const std::string& failure) {
    if (!exceptions_ || std::exchange(isWritten_, true)) return;
    for (const HeldRejects::Row& row : rows) {
      if (!row.sent.empty()) exceptions_->AddSentLine(row.sent, loads_.Columns());
      BadRow bad{row.origin, row.error};
      bad.origin.bytes = row.bytes;
      exceptions_->Add(bad, source_);
    }
    PumpCounts counts = loads_.Counts();
    counts.rejected = static_cast<std::int64_t>(rows.size());
    exceptions_->End(counts, failure);
  }

  TaskContext& context_;
  const PumpJob& job_;
  const RowSource& source_;
  const PumpTable& table_;
  TextParts text_;
  HeldRejects rejects_;
  std::optional<ExceptionFile> exceptions_;
  bool isWritten_ = false;
  SharedStaging staging_;
  PartLoads loads_;
};

}  // namespace

std::optional<PumpOutcome> PumpInParts(TaskContext& context, const PumpJob& job,
                                       const PumpParts& parts, const RowSource& source,
                                       const PumpTable& table) {
  std::string reason;
  try {
    return PumpOfParts(context, job, parts, source, table).Run();
  } catch (const NotInParts& error) {
    reason = error.Description();
  } catch (const ForOneConnection& one) {
    reason = parts.file + ": " + one.reason;
  }
  context.Output(reason + "; it is loaded over one connection");
  context.Database(parts.destination);  // what tidied up can be cancelled again
  return std::nullopt;
}

}  // namespace torvik::engine
