#include "admin/packages/PackageGraph.h"

#include <algorithm>
#include <cstdint>

#include "platform/Text.h"

namespace torvik::admin {
namespace {

using engine::Constraint;
using engine::Outcome;
using engine::PackageModel;
using engine::StepModel;

/// Graphviz takes minutes for the places of a thousand steps.
constexpr std::size_t kMostStepsPlaced = 300, kMostConstraintsPlaced = 1000;
constexpr std::size_t kColumnWidth = 220, kRowHeight = 110;
constexpr std::size_t kLongestName = 60, kLongestReason = 500;

/// The number of the UTF-8 character that `text` begins with.
std::uint32_t CodePoint(std::string_view text) {
  const auto first = static_cast<unsigned char>(text[0]);
  if (text.size() == 1) return first < 0x80 ? first : 0xFFFD;
  std::uint32_t code = first & (0x7F >> text.size());
  for (const char c : text.substr(1)) code = code << 6 | (static_cast<unsigned char>(c) & 0x3F);
  return code;
}

/// A text inside double quotes of the language; what is not plain stands as an HTML entity.
std::string Escaped(std::string_view text, std::size_t longest) {
  std::string escaped;
  const std::string_view shown = FirstCharacters(text, longest);
  for (std::size_t at = 0; at < shown.size();) {
    const std::size_t length = std::max<std::size_t>(1, CharacterLength(shown.substr(at)));
    const std::uint32_t code = CodePoint(shown.substr(at, length));
    at += length;
    const bool isPlain = code >= 0x20 && code < 0x7F && code != '"' && code != '&' && code != '<' &&
                         code != '>' && code != '\\';
    if (isPlain) {
      escaped += static_cast<char>(code);
    } else if (code == '\\') {
      escaped += "\\\\";  // as an entity it would escape what follows
    } else if (code < 0x20 || code == 0x7F) {
      escaped += ' ';
    } else {
      escaped += "&#" + std::to_string(code) + ";";
    }
  }
  return shown.size() < text.size() ? escaped + "..." : escaped;
}

struct Look {
  const char* colour;
  const char* word;  ///< Colours alone do not tell everybody.
};

Look LookOf(StepOutcome::Kind kind) {
  switch (kind) {
    case StepOutcome::Kind::Running: return {"#ffeb9c", "running"};
    case StepOutcome::Kind::Succeeded: return {"#c6efce", "succeeded"};
    case StepOutcome::Kind::Failed: return {"#ffc7ce", "failed"};
    case StepOutcome::Kind::NotRun: return {"#d9d9d9", "did not run"};
    case StepOutcome::Kind::NotMentioned: break;
  }
  return {"white", ""};
}

struct Arrow {
  const char* attributes;
  const char* word;
};

Arrow ArrowOf(Outcome outcome) {
  switch (outcome) {
    case Outcome::Failure: return {"color=\"#c00000\",arrowhead=tee", "failure"};
    case Outcome::Completion: return {"color=\"#0050c0\",style=dashed,arrowhead=vee", "completion"};
    case Outcome::Success: break;
  }
  return {"color=\"#008000\",arrowhead=normal", "success"};
}

/// The row of each step: below all that it waits for. Steps never wait for each other in a circle.
std::vector<std::size_t> Rows(const std::vector<StepModel>& steps) {
  std::vector<std::vector<std::size_t>> followers(steps.size());
  std::vector<std::size_t> waits(steps.size()), rows(steps.size()), ready;
  for (std::size_t step = 0; step < steps.size(); ++step) {
    waits[step] = steps[step].after.size();
    for (const Constraint& one : steps[step].after) followers[one.step].push_back(step);
    if (waits[step] == 0) ready.push_back(step);
  }
  for (std::size_t at = 0; at < ready.size(); ++at) {
    for (const std::size_t next : followers[ready[at]]) {
      rows[next] = std::max(rows[next], rows[ready[at]] + 1);
      if (--waits[next] == 0) ready.push_back(next);
    }
  }
  return rows;
}

/// The attribute that gives each step its place, or the empty text.
std::vector<std::string> Places(const PackageModel& package) {
  std::vector<std::string> places(package.steps.size());
  if (!HasPlaces(package)) return places;
  const auto rows = Rows(package.steps);
  std::vector<std::size_t> taken(places.size());  // in each row
  for (std::size_t step = 0; step < places.size(); ++step) {
    const std::size_t column = taken[rows[step]]++;
    places[step] = ",pos=\"" + std::to_string(column * kColumnWidth) + "," +
                   std::to_string((places.size() - rows[step]) * kRowHeight) + "!\"";
  }
  return places;
}

std::string Node(const StepModel& step, const StepOutcome& outcome, const std::string& place) {
  const auto [colour, word] = LookOf(outcome.kind);
  std::string label = Escaped(step.name, kLongestName) + "\\n" + Escaped(step.taskKind, 40);
  std::string more = std::string(",fillcolor=\"") + colour + "\"";
  if (step.disabled) {
    label += "\\n(disabled)";
    more = ",fillcolor=\"#d9d9d9\",fontcolor=\"#606060\",color=\"#909090\"";
  } else if (*word != '\0') {
    label += std::string("\\n") + word;
    if (outcome.kind == StepOutcome::Kind::Succeeded)
      label += ": " + Escaped(outcome.text, kLongestName);
  }
  const std::string& tip = outcome.text.empty() ? step.description : outcome.text;
  return "[label=\"" + label + "\",tooltip=\"" +
         Escaped(tip.empty() ? step.name : tip, kLongestReason) + "\"" + more + place + "]";
}

}  // namespace

bool HasPlaces(const PackageModel& package) {
  std::size_t constraints = 0;
  for (const StepModel& step : package.steps) constraints += step.after.size();
  return package.steps.size() > kMostStepsPlaced || constraints > kMostConstraintsPlaced;
}

std::string GraphText(const PackageModel& package, const std::vector<StepOutcome>& outcomes) {
  const auto places = Places(package);
  const bool hasPlaces = HasPlaces(package);
  std::string text = "digraph package {\nlabel=\"" + Escaped(package.name, kLongestName) +
                     "\";\nlabelloc=t;\nsplines=" + (hasPlaces ? "line" : "true") +
                     ";\nnode [shape=box,style=\"rounded,filled\",fontname=\"sans-serif\"];\n"
                     "edge [fontname=\"sans-serif\",fontsize=10];\n";
  for (std::size_t i = 0; i < package.steps.size(); ++i)
    text += "n" + std::to_string(i) + " " +
            Node(package.steps[i], outcomes.empty() ? StepOutcome{} : outcomes[i], places[i]) +
            ";\n";
  for (std::size_t i = 0; i < package.steps.size(); ++i) {
    for (const Constraint& one : package.steps[i].after) {
      const auto [attributes, word] = ArrowOf(one.outcome);
      text += "n" + std::to_string(one.step) + " -> n" + std::to_string(i) + " [" + attributes +
              ",tooltip=\"" + word + "\"";
      // Labels would take Graphviz longer than all the rest; arrowheads tell as well.
      if (!hasPlaces) text += std::string(",label=\"") + word + "\"";
      text += "];\n";
    }
  }
  return text + "}\n";
}

}  // namespace torvik::admin
