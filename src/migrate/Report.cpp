#include "migrate/Report.h"

#include <algorithm>

#include "migrate/DtsrunLine.h"
#include "platform/PlatformError.h"
#include "platform/Text.h"

namespace torvik::migrate {
namespace {

std::string Appended(std::string list, const std::string& text, const char* between = "; ") {
  if (!text.empty()) list += (list.empty() ? "" : between) + text;
  return list;
}

const importing::ContainedVersion* LatestVersion(const Inventory& inventory,
                                                 const std::string& name) {
  for (const OldPackageFile& file : inventory.packageFiles)
    for (const importing::ContainedPackage& package : file.contained)
      if (EqualsIgnoringCase(package.name, name) && !package.versions.empty())
        return &package.versions.back();
  return nullptr;
}

std::string PartsOf(const importing::ContainedVersion* version) {
  if (version == nullptr || !version->parts) return {};
  return std::to_string(version->parts->steps) + " steps, " +
         std::to_string(version->parts->connections) + " connections";
}

ReportSection Packages(const Inventory& inventory) {
  ReportSection section{
      "packages",
      "Packages",
      "A package that has to be saved as text is opened in its designer and saved "
      "as a Visual Basic file; then: torvik-admin package import.",
      {"package", "versions", "latest", "owner", "in files", "state"},
      {}};
  for (const std::string& name : PackagesOf(inventory)) {
    const auto stored = std::ranges::find_if(inventory.packages, [&](const OldPackage& package) {
      return EqualsIgnoringCase(package.name, name);
    });
    const bool isStored = stored != inventory.packages.end();
    section.rows.push_back({name, isStored ? std::to_string(stored->versions) : "none",
                            isStored ? stored->created : "", isStored ? stored->owner : "",
                            PartsOf(LatestVersion(inventory, name)),
                            WordsOf(StateOf(inventory, name))});
  }
  return section;
}

struct StepWords {
  std::string runs, state;
};

/// A step in words; its command may hold passwords, so nothing of it is shown but what is read.
StepWords WordsOfStep(const Inventory& inventory, const AgentStep& step) {
  StepWords words;
  for (const DtsrunText& line : DtsrunLinesIn(step.command)) try {
      const DtsrunLine read = ReadDtsrunLine(line.text);
      words.runs = Appended(words.runs, "package " + read.package +
                                            (read.server.empty() ? "" : " of " + read.server));
      words.state = Appended(words.state, Has(inventory.jobsHere, read.package)
                                              ? "a job file here runs it"
                                              : "job from-agent or job from-dtsrun takes it over");
      for (const std::string& remark : read.remarks) words.state = Appended(words.state, remark);
    } catch (const PlatformError& error) {
      words.runs = Appended(words.runs, "a dtsrun line");
      words.state = Appended(words.state, error.Description());
    }
  if (words.runs.empty())
    words = {step.subsystem.empty() ? "no package" : step.subsystem + ", no package",
             "is no concern of packages; give it another scheduler"};
  return words;
}

std::string TimesText(const AgentJob& job) {
  std::string text;
  for (const AgentSchedule& schedule : job.schedules) {
    const CalendarTimes times = TimesOf(schedule);
    for (const std::string& time : times.times) text = Appended(text, time);
    if (!times.problem.empty()) text = Appended(text, schedule.name + ": " + times.problem);
  }
  return text;
}

ReportSection AgentJobs(const Inventory& inventory) {
  ReportSection section{"agent_jobs",
                        "Agent jobs",
                        "Script them in the server's tools; then: torvik-admin job from-agent.",
                        {"job", "enabled", "starts", "step", "runs", "state"},
                        {}};
  for (const AgentJob& job : inventory.agentJobs)
    for (const AgentStep& step : job.steps) {
      const StepWords words = WordsOfStep(inventory, step);
      section.rows.push_back({job.name, job.isEnabled ? "yes" : "no", TimesText(job), step.name,
                              words.runs, words.state});
    }
  return section;
}

ReportSection Links(const Inventory& inventory) {
  ReportSection section{"data_links",
                        "Data links",
                        "They come over as they are, with the warehouse.",
                        {"database", "model", "data link", "source", "remote data"},
                        {}};
  for (const OldLink& link : inventory.links)
    section.rows.push_back({link.database, link.model, link.name, link.source, link.remote});
  return section;
}

ReportSection JobFiles(const Inventory& inventory) {
  ReportSection section{
      "job_files",
      "Job files",
      "A job file (.etl) comes over as it is; torvik-admin job check opens what it "
      "names. The dtsrun lines of batch files: torvik-admin job from-dtsrun.",
      {"file", "package", "its server", "warehouse", "state"},
      {}};
  for (const OldJobFile& job : inventory.jobFiles)
    section.rows.push_back({job.path, job.package, job.server,
                            job.database.empty() ? "" : job.database + " of " + job.warehouseServer,
                            !job.problem.empty()               ? job.problem
                            : Has(inventory.here, job.package) ? "can run"
                                                               : "waits for its package"});
  return section;
}

ReportSection PackageFiles(const Inventory& inventory) {
  ReportSection section{
      "package_files",
      "Packages in files",
      "Structured storage files (.dts) are encrypted: only what they hold is told.",
      {"file", "package", "versions", "made by", "state"},
      {}};
  for (const OldPackageFile& file : inventory.packageFiles) {
    if (!file.problem.empty())
      section.rows.push_back({file.path, file.name, "", "", file.problem});
    else if (!file.name.empty())
      section.rows.push_back(
          {file.path, file.name, "", "", WordsOf(StateOf(inventory, file.name))});
    for (const importing::ContainedPackage& package : file.contained)
      section.rows.push_back({file.path, package.name, std::to_string(package.versions.size()),
                              package.versions.empty() ? "" : package.versions.back().server,
                              WordsOf(StateOf(inventory, package.name))});
  }
  return section;
}

void AddPlaces(ReportSection& section, const char* kind, const Places::Names& names,
               const std::set<std::string>& known, const char* asItIs, const char* needs) {
  for (const auto& [lower, named] : names)
    section.rows.push_back(
        {kind, named.text, NamedBy(named), known.contains(lower) ? asItIs : needs});
}

ReportSection PlacesSection(const Inventory& inventory, const KnownPlaces& known) {
  ReportSection section{
      "places",
      "Servers, drives and shares",
      "What the packages that are here, Agent jobs, job files and data links name.",
      {"kind", "place", "named by", "state"},
      {}};
  const Places& places = inventory.places;
  constexpr const char* kIsSet = "is set";
  AddPlaces(section, "server", places.Servers(), known.servers, kIsSet,
            "is a host, unless [server] says more");
  AddPlaces(section, "other server", places.OtherServers(), known.servers, kIsSet,
            "is reached by its provider's driver");
  AddPlaces(section, "drive", places.Drives(), known.drives, kIsSet,
            "is in the state directory, unless [paths] has it elsewhere");
  AddPlaces(section, "share", places.Shares(), known.shares, kIsSet,
            "is reached over SMB, or by a line in [paths]");
  AddPlaces(section, "FTP server", places.FtpServers(), {}, "", "comes over as it is");
  for (const auto& [lower, named] : places.Providers())
    section.rows.push_back({"provider", named.text, NamedBy(named),
                            NeedsSettings(lower, known) ? "needs [provider]" : "is known"});
  return section;
}

}  // namespace

Report ReportOf(const Inventory& inventory, const KnownPlaces& known) {
  Report report{"Inventory of " + inventory.server, {}};
  for (ReportSection section :
       {Packages(inventory), AgentJobs(inventory), JobFiles(inventory), PackageFiles(inventory),
        Links(inventory), PlacesSection(inventory, known)})
    if (!section.rows.empty()) report.sections.push_back(std::move(section));
  report.sections.push_back({"settings",
                             "First settings",
                             "For torvik.conf; what stands behind a ';' has to be chosen.",
                             {},
                             {},
                             inventory.places.FirstSettings(known, inventory.server)});
  if (!inventory.unread.empty()) {
    ReportSection unread{"unread", "What could not be read", "", {"what"}, {}};
    for (const std::string& what : inventory.unread) unread.rows.push_back({what});
    report.sections.push_back(std::move(unread));
  }
  return report;
}

ReportSection StatusOf(const Inventory& inventory, int& left) {
  ReportSection section{"status", "What is left", "", {"what", "name", "state"}, {}};
  left = 0;
  const auto add = [&](const char* what, const std::string& name, bool isDone,
                       const std::string& state) {
    left += isDone ? 0 : 1;
    section.rows.push_back({what, name, state});
  };
  for (const std::string& name : PackagesOf(inventory)) {
    const PackageState state = StateOf(inventory, name);
    add("package", name, state == PackageState::Here, WordsOf(state));
  }
  for (const AgentJob& job : inventory.agentJobs)
    for (const AgentStep& step : job.steps)
      for (const DtsrunText& line : DtsrunLinesIn(step.command)) try {
          const std::string package = ReadDtsrunLine(line.text).package;
          const bool isDone = Has(inventory.jobsHere, package);
          add("Agent job", job.name + ", " + step.name, isDone,
              isDone ? "a job file here runs " + package : "no job file here runs " + package);
        } catch (const PlatformError& error) {
          add("Agent job", job.name + ", " + step.name, false, error.Description());
        }
  for (const OldJobFile& job : inventory.jobFiles) {
    const bool isDone = job.problem.empty() && Has(inventory.jobsHere, job.package);
    add("job file", job.path, isDone,
        !job.problem.empty() ? job.problem
        : isDone             ? "a job file here runs " + job.package
                             : "no job file here runs " + job.package);
  }
  return section;
}

}  // namespace torvik::migrate
