#include "admin/packages/GraphCommand.h"

#include <chrono>
#include <condition_variable>
#include <cstdio>
#include <mutex>
#include <thread>

#include "admin/common/ScratchDirectory.h"
#include "admin/packages/PackageGraph.h"
#include "platform/PlatformError.h"
#include "platform/linux/LinuxPlatform.h"

namespace torvik::admin {
namespace {

constexpr std::chrono::seconds kLongestDrawing{120};
constexpr const char* kText = "graph.dot";
constexpr const char* kPicture = "graph.svg";

PlatformError Failure(const std::string& reason) {
  return PlatformError(0, reason, "package graph");
}

void Check(const std::error_code& error, const std::string& path) {
  if (error) throw PlatformError(error.value(), path + ": " + error.message(), "package graph");
}

/// Becomes true when a time has passed.
class Alarm {
 public:
  explicit Alarm(std::chrono::seconds time)
      : waiter_([this, time] {
          std::unique_lock lock(mutex_);
          if (!changed_.wait_for(lock, time, [this] { return isOff_; })) rings_ = true;
        }) {}
  ~Alarm() {
    {
      const std::lock_guard lock(mutex_);
      isOff_ = true;
    }
    changed_.notify_one();
    waiter_.join();
  }
  Alarm(const Alarm&) = delete;
  Alarm& operator=(const Alarm&) = delete;

  const std::atomic<bool>& Rings() const { return rings_; }

 private:
  std::mutex mutex_;
  std::condition_variable changed_;
  bool isOff_ = false;
  std::atomic<bool> rings_ = false;
  std::thread waiter_;
};

void RunGraphviz(Processes& processes, const std::string& engine, const ScratchDirectory& scratch) {
  const Alarm alarm(kLongestDrawing);
  ProcessRequest request;
  request.program = "dot";
  request.arguments = {"-K" + engine, "-Tsvg", "-o", scratch.PathOf(kPicture),
                       scratch.PathOf(kText)};
  if (engine == "neato") request.arguments.insert(request.arguments.begin() + 1, "-n");
  request.cancelled = &alarm.Rings();
  std::string words;
  const ProcessExit exit = processes.Run(request, [&](std::string_view line) {
    if (words.size() < 1000) words += " " + std::string(line);
  });
  if (!exit.started)
    throw Failure("Graphviz's program dot cannot be started: " + exit.error +
                  "; install it (Debian package graphviz), or print its input with --dot");
  if (exit.cancelled)
    throw Failure("Graphviz has drawn for " + std::to_string(kLongestDrawing.count()) +
                  " seconds and is not done; print its input with --dot and draw it elsewhere");
  if (exit.exitCode != 0)
    throw Failure("Graphviz's program dot ended with exit code " + std::to_string(exit.exitCode) +
                  ":" + words);
}

/// Where it was wanted: a file is there whole or not at all.
void Deliver(Files& files, const std::string& made, const GraphOptions& options) {
  if (!options.output.empty())
    return Check(files.CopyWhole(made, options.output, true), options.output);
  const std::string text = ReadText(files, made);
  std::fwrite(text.data(), 1, text.size(), stdout);
}

}  // namespace

int DrawPackage(LinuxPlatform& platform, const engine::PackageModel& package,
                const GraphOptions& options, bool json) {
  if (json && options.output.empty()) throw Failure("--json needs a file for the graph; add -o");
  Files& files = *platform.files;
  std::vector<StepOutcome> outcomes;
  if (!options.log.empty())
    outcomes =
        ReadLastRun(ReadText(files, options.log), package, platform.codePages->Ansi(), options.log);
  const ScratchDirectory scratch(files);
  const std::string text = scratch.PathOf(kText);
  Check(files.ReplaceText(text, GraphText(package, outcomes)), text);
  if (!options.isText)
    RunGraphviz(*platform.processes, HasPlaces(package) ? "neato" : "dot", scratch);
  Deliver(files, options.isText ? text : scratch.PathOf(kPicture), options);
  if (options.output.empty()) return 0;
  std::size_t constraints = 0;
  for (const engine::StepModel& step : package.steps) constraints += step.after.size();
  PrintResult({{"package", package.name},
               {"steps", package.steps.size()},
               {"constraints", constraints},
               {"file", options.output}},
              "the graph of " + package.name + " is in " + options.output, json);
  return 0;
}

}  // namespace torvik::admin
