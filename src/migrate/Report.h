#pragma once

#include <string>
#include <vector>

#include "migrate/Inventory.h"

namespace torvik::migrate {

/// A part of a report: a table, a list or a text of settings.
struct ReportSection {
  std::string key;  ///< In JSON.
  std::string title;
  std::string intro;
  std::vector<std::string> headings;
  std::vector<std::vector<std::string>> rows;  ///< Each with a cell for each heading.
  std::string settings = {};                   ///< Shown as it stands.
};

struct Report {
  std::string title;
  std::vector<ReportSection> sections;
};

/// What the installation has, what comes over as it is, what needs settings, what has to be done.
Report ReportOf(const Inventory& inventory, const KnownPlaces& known);

/// What is left: packages that are not here, Agent jobs and job files whose packages no job file
/// here runs. One section, whose rows have a state; `left` is how many are not done.
ReportSection StatusOf(const Inventory& inventory, int& left);

std::string Markdown(const Report& report);
/// One page that needs nothing else.
std::string Html(const Report& report);

}  // namespace torvik::migrate
