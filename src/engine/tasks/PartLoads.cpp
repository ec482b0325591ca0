#include "engine/tasks/PartLoads.h"

#include <chrono>
#include <system_error>
#include <utility>

#include "engine/pump/RowTarget.h"
#include "platform/Ado.h"
#include "platform/OwnTransaction.h"
#include "platform/PlatformError.h"

namespace torvik::engine {

struct PartLoads::Part {
  Part(ado::Connection& itsConnection, std::unique_ptr<RowSource> itsRows,
       std::unique_ptr<RejectedRows> itsRejected, std::vector<ColumnMapping> itsColumns)
      : connection(itsConnection),
        rows(std::move(itsRows)),
        rejected(std::move(itsRejected)),
        columns(std::move(itsColumns)) {}

  ado::Connection& connection;
  std::unique_ptr<RowSource> rows;
  std::unique_ptr<RejectedRows> rejected;
  std::vector<ColumnMapping> columns;
  std::atomic<std::int64_t> read = 0;
  PumpCounts counts = {};  ///< Once it has ended well.
  std::atomic<bool> hasEnded = false;
  std::thread thread = {};
};

PartLoads::PartLoads(TaskContext& context, const PumpJob& job, const PumpParts& parts,
                     TextParts& text, HeldRejects& rejects, std::string table)
    : context_(context),
      job_(job),
      plan_(parts),
      text_(text),
      rejects_(rejects),
      table_(std::move(table)) {}

PartLoads::~PartLoads() {
  stopped_ = true;
  Join();
}

void PartLoads::Run(std::span<ado::Connection* const> connections) {
  for (ado::Connection* const connection : connections)
    parts_.push_back(std::make_unique<Part>(*connection, text_.NewReader(), rejects_.NewPart(),
                                            plan_.newColumns()));
  running_ = parts_.size();
  for (const auto& part : parts_) {
    try {
      part->thread = std::thread([this, &part = *part] { RunPart(part); });
    } catch (const std::system_error&) {
      End(*part, std::make_exception_ptr(NotInParts(plan_.file, "no thread can be made for it")));
    }
  }
  Watch();
  Join();
  if (error_) std::rethrow_exception(error_);
}

void PartLoads::RunPart(Part& part) {
  std::exception_ptr error;
  try {
    Load(part);
  } catch (...) {
    error = std::current_exception();
  }
  End(part, error);
}

void PartLoads::End(Part& part, const std::exception_ptr& error) {
  part.hasEnded = true;
  const std::lock_guard lock(mutex_);
  // A part that has too many rejected rows has done what it had to.
  if (error && !error_ && !rejects_.AreTooMany()) {
    error_ = error;
    stopped_ = true;
  }
  --running_;
  ended_.notify_all();
}

void PartLoads::Load(Part& part) {
  OwnTransaction transaction(part.connection);
  const PumpSettings& settings = job_.settings;
  const auto target = NewTableTarget(part.connection, table_, "", settings.options);
  PumpRequest request{*part.rows, *target};
  request.columns = part.columns;
  request.flags = settings.flags;
  request.maximumErrorCount = settings.maximumErrorCount;
  request.exceptions = part.rejected.get();
  request.settle = [this](std::int64_t, const std::vector<std::string>& columns) {
    const std::lock_guard lock(mutex_);
    columns_ = columns;
  };
  part.counts = RunPump(
      request, [&](std::int64_t rows) { part.read = rows; }, stopped_);
  part.read = part.counts.read;
  transaction.Commit();
}

/// Until all parts have ended: tells progress, and lets nobody wait on the server for one that has
/// failed.
void PartLoads::Watch() {
  constexpr std::chrono::milliseconds kSlice(20);
  std::unique_lock lock(mutex_);
  while (running_ > 0) {
    ended_.wait_for(lock, kSlice);
    lock.unlock();
    if (context_.Cancelled()) stopped_ = true;
    if (!stopped_) context_.Progress(Counts().read);
    if (stopped_) CancelAll();
    lock.lock();
  }
}

/// Once is not enough: between two statements there is nothing to cancel.
void PartLoads::CancelAll() {
  for (const auto& part : parts_) {
    if (part->hasEnded) continue;
    try {
      part->connection.Cancel();
    } catch (const PlatformError&) {
      // The next look tries again.
    }
  }
}

void PartLoads::Join() {
  for (const auto& part : parts_)
    if (part->thread.joinable()) part->thread.join();
}

PumpCounts PartLoads::Counts() const {
  PumpCounts counts;
  for (const auto& part : parts_) {
    counts.read += part->read;
    if (!part->hasEnded) continue;
    counts.loaded += part->counts.loaded;
    counts.skipped += part->counts.skipped;
  }
  counts.rejected = rejects_.Count();
  return counts;
}

}  // namespace torvik::engine
