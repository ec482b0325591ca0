#include <chrono>
#include <filesystem>

#include "admin/common/Secrets.h"
#include "admin/nights/BatchNights.h"
#include "admin/nights/CheckNight.h"
#include "admin/nights/NightDirectory.h"
#include "admin/nights/NightPackage.h"
#include "history/RunJson.h"
#include "nights/BatchScript.h"
#include "nights/Slurm.h"
#include "nights/Submissions.h"
#include "platform/PlatformError.h"
#include "platform/Text.h"
#include "platform/linux/LinuxPlatform.h"
#include "platform/linux/system/ProgramBeside.h"

namespace torvik::admin {
namespace {

constexpr int kHighestPriority = 5, kNiceOfAPriority = 100;

/// The steps that an earlier night of the same package has done.
std::vector<bool> DoneBefore(LinuxPlatform& platform, const NightPackage& package, int number) {
  std::vector<bool> isDone(package.steps.size());
  if (number < 0) return isDone;
  const auto [night, record, traces, statuses] = LookAtNight(platform, number);
  const std::string place = "night " + std::to_string(night.number);
  bool isSame = record.package == package.name && record.steps.size() == package.steps.size();
  for (std::size_t i = 0; isSame && i < isDone.size(); ++i)
    isSame = record.steps[i].name == package.steps[i].name;
  if (!isSame)
    throw PlatformError(0, place + " cannot be resumed: its package has had other steps", "night");
  for (std::size_t i = 0; i < isDone.size(); ++i) {
    const nights::StepState state = statuses[i].state;
    if (state == nights::StepState::Running || state == nights::StepState::Waiting)
      throw PlatformError(0, place + " is under way; wait, or end it by torvik-admin night cancel",
                          "night");
    isDone[i] = state == nights::StepState::Ok;
  }
  if (nights::WholeOf(statuses) == nights::StepState::Ok)
    throw PlatformError(0, place + " went well: there is nothing to go on with", "night");
  return isDone;
}

class Submitting {
 public:
  Submitting(LinuxPlatform& platform, const NightPackage& package, std::vector<bool> isDone,
             const SubmitOptions& options)
      : platform_(platform),
        slurm_(*platform.processes),
        steps_(package.steps),
        isLeftOut_(isDone),
        options_(options),
        largestArray_(slurm_.LargestArray()),
        night_(NewNightDirectory(platform)) {
    record_.package = package.name;
    record_.submitted = UtcText(std::chrono::system_clock::now());
    const std::vector<bool> never = nights::NeverReached(steps_, isDone);
    for (std::size_t i = 0; i < steps_.size(); ++i) {
      isLeftOut_[i] = isLeftOut_[i] || never[i];
      record_.steps.push_back(
          {steps_[i].name, steps_[i].job, steps_[i].after, steps_[i].isDisabled, isDone[i], ""});
    }
  }

  /// What was submitted before a failure is taken back, and nothing is left of the night.
  void Run() {
    submissions_ = nights::SubmissionsOf(steps_, isLeftOut_, largestArray_);
    places_ = nights::PlacesOf(submissions_, steps_.size());
    try {
      WriteNight(platform_, night_, record_);
      for (const nights::Submission& submission : submissions_) Submit(submission);
      WriteNight(platform_, night_, record_);
    } catch (const PlatformError&) {
      slurm_.Cancel(record_.jobs);
      std::error_code ignored;
      std::filesystem::remove_all(night_.path, ignored);
      throw;
    }
  }

  int Number() const { return night_.number; }
  const nights::NightRecord& Record() const { return record_; }

 private:
  void Submit(const nights::Submission& submission) {
    const nights::NightStep& first = steps_[submission.steps[0]];
    nights::BatchRequest request;
    request.name = record_.package;
    request.tasks = nights::ArrayText(submission.tasks);
    request.dependency =
        nights::DependencyOf(submission, steps_, isLeftOut_, places_, record_.jobs);
    request.licences = first.limits;
    request.timeout = first.timeout;
    request.nice = (kHighestPriority - first.priority) * kNiceOfAPriority;
    request.output = night_.path + "/slurm.out";
    request.directory = std::filesystem::current_path().string();
    request.options = options_.options;
    request.script = nights::ScriptOf(submission, steps_, isLeftOut_, night_.path,
                                      ProgramBeside("torvik-admin"));
    const std::string job = slurm_.Submit(request);
    record_.jobs.push_back(job);
    for (std::size_t i = 0; i < submission.steps.size(); ++i)
      record_.steps[submission.steps[i]].task = job + "_" + std::to_string(submission.tasks[i]);
  }

  LinuxPlatform& platform_;
  nights::Slurm slurm_;
  const std::vector<nights::NightStep>& steps_;
  std::vector<bool> isLeftOut_;
  const SubmitOptions& options_;
  const std::size_t largestArray_;  // asked for before anything is made
  const NightDirectory night_;
  nights::NightRecord record_;
  std::vector<nights::Submission> submissions_;
  std::vector<nights::PlaceInNight> places_;
};

/// Throws for a limit that Slurm has no licence for: its steps would never begin.
void RequireLicences(LinuxPlatform& platform, const NightPackage& package) {
  std::optional<std::map<std::string, std::int64_t>> licences;
  for (const nights::NightStep& step : package.steps)
    for (const std::string& limit : step.limits) {
      if (!licences) licences = nights::Slurm(*platform.processes).Licences();
      if (const auto found = licences->find(limit); found != licences->end() && found->second > 0)
        continue;
      const auto own = platform.settings.limits.find(LowerAscii(limit));
      const int count = own == platform.settings.limits.end() ? 1 : own->second;
      throw PlatformError(0,
                          "the step \"" + step.name + "\" has the limit " + limit +
                              ", and Slurm no licence of this name; add it to Licenses in its "
                              "slurm.conf (" +
                              limit + ":" + std::to_string(count) + ")",
                          "night");
    }
}

}  // namespace

int SubmitNight(LinuxPlatform& platform, const Invocation& invocation,
                const SubmitOptions& options) {
  const NightPackage package =
      ReadNight(platform, invocation.server, options.package, options.variables);
  if (options.checksOnly) return CheckNight(platform, package, invocation.json);
  for (const std::string& remark : package.remarks) Warn(remark);
  RequireLicences(platform, package);
  Submitting submitting(platform, package, DoneBefore(platform, package, options.resumed), options);
  submitting.Run();
  const nights::NightRecord& record = submitting.Record();
  std::size_t count = 0;
  for (const nights::SubmittedStep& step : record.steps) count += step.task.empty() ? 0 : 1;
  const std::string number = std::to_string(submitting.Number());
  PrintResult({{"night", submitting.Number()},
               {"package", record.package},
               {"steps", count},
               {"slurm_jobs", record.jobs}},
              "night " + number + ": " + std::to_string(count) + " jobs of " + record.package +
                  " are in Slurm's queue, as " + std::to_string(record.jobs.size()) +
                  " arrays; torvik-admin night status " + number + " tells what becomes of them",
              invocation.json);
  return 0;
}

}  // namespace torvik::admin
