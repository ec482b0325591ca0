// What the main form does for the pages of runs.

#include "platform/Files.h"
#include "startup/Program.h"
#include "ui/frmRunnerMain.h"

namespace torvik {
namespace {

/// Of the package versions that were shown; an operator looks at the same few again and again.
constexpr std::size_t kMostOutlines = 16;

}  // namespace

void frmRunnerMain::ShowPackage(const std::vector<dts::StepOutline>& steps) {
  Remember(job_.PackageVersion(), steps);
  Monitor.Package.Set(steps);
}

void frmRunnerMain::Remember(const std::string& version,
                             const std::vector<dts::StepOutline>& steps) {
  if (version.empty()) return;
  if (outlines_.size() >= kMostOutlines) outlines_.clear();
  outlines_[version] = steps;
}

void frmRunnerMain::ReadHistory() {
  History.Read(TorvConfigFile.empty() ? "" : program_.platform.files.FullPath(TorvConfigFile));
}

void frmRunnerMain::ShowRun(std::int64_t id) {
  if (Busy.Get()) return;
  const auto run = History.Run(id);
  if (!run) return;
  shownVersion_ = run->versionGuid;
  const auto known = outlines_.find(shownVersion_);
  const bool isKnown = known != outlines_.end();
  Monitor.ShowRecord(*run, "Run " + std::to_string(id),
                     isKnown ? known->second : std::vector<dts::StepOutline>());
  if (isKnown) return;
  if (shownVersion_.empty())
    return Monitor.Note.Set("The run has not come as far as to load its package.");
  Monitor.Note.Set("Loading the package of this run ...");
  outlineLoader_.Begin({run->packageServer, optDTSSecureLogin.Value.Get(),
                        txtDTSSQLUsername.Text.Get(), txtDTSSQLPassword.Text.Get(), run->package,
                        run->versionGuid});
  LoadsOutline.Set(true);
}

void frmRunnerMain::TakeOutline() {
  const auto answer = outlineLoader_.Take();
  if (!answer) return;
  LoadsOutline.Set(false);
  if (answer->reason.empty()) Remember(answer->versionGuid, answer->steps);
  const bool isShown = !Monitor.Title.Get().empty() && answer->versionGuid == shownVersion_;
  if (!isShown) return;  // another run is looked at meanwhile
  if (answer->reason.empty()) Monitor.Package.Set(answer->steps);
  Monitor.Note.Set(answer->reason.empty() ? ""
                                          : "The steps stand without their arrows, since the "
                                            "package of this run cannot be loaded: " +
                                                answer->reason);
}

}  // namespace torvik
