#include "engine/model/Problems.h"

#include <algorithm>
#include <numeric>

#include "platform/PlatformError.h"
#include "platform/Text.h"

namespace torvik::engine {
namespace {

constexpr std::size_t kLongestWord = 200, kMostListed = 30;

/// The number of characters to insert, drop or change to make `b` of `a`.
std::size_t EditDistance(std::string_view a, std::string_view b) {
  std::vector<std::size_t> row(b.size() + 1);
  std::iota(row.begin(), row.end(), std::size_t{0});
  for (std::size_t i = 1; i <= a.size(); ++i) {
    std::size_t diagonal = row[0]++;
    for (std::size_t j = 1; j <= b.size(); ++j) {
      const std::size_t changed = diagonal + (a[i - 1] == b[j - 1] ? 0 : 1);
      diagonal = row[j];
      row[j] = std::min({row[j] + 1, row[j - 1] + 1, changed});
    }
  }
  return row.back();
}

}  // namespace

void Problems::Add(TextPlace place, std::string reason, long number) {
  found_.push_back({place, std::move(reason), number});
}

std::vector<Problems::Problem> Problems::InOrder() const {
  auto ordered = found_;
  std::stable_sort(ordered.begin(), ordered.end(),
                   [](const Problem& a, const Problem& b) { return a.place < b.place; });
  return ordered;
}

std::vector<std::string> Problems::Lines() const {
  std::vector<std::string> lines;
  for (const Problem& problem : InOrder())
    lines.push_back(document_ + ", line " + std::to_string(problem.place.line) + ", column " +
                    std::to_string(problem.place.column) + ": " + problem.reason);
  return lines;
}

void Problems::ThrowIfAny() const {
  if (Empty()) return;
  std::string text;
  for (const std::string& line : Lines()) text += (text.empty() ? "" : "\n") + line;
  throw PlatformError(InOrder().front().number, text, "package document");
}

std::string DidYouMean(std::string_view word, std::span<const std::string> known,
                       const std::string& otherwise) {
  const std::string lowered = LowerAscii(word);
  std::size_t best = std::string::npos;
  const std::string* nearest = nullptr;
  for (const std::string& one : known) {
    // Words of very different lengths, and very long ones, are not one misspelled.
    const auto [shorter, longer] = std::minmax({lowered.size(), one.size()});
    if (longer > kLongestWord || longer - shorter > 1 + one.size() / 4) continue;
    const std::size_t distance = EditDistance(lowered, LowerAscii(one));
    if (distance >= best) continue;
    best = distance;
    nearest = &one;
  }
  const bool isNear = nearest != nullptr && best <= 1 + nearest->size() / 4;
  return isNear ? "did you mean " + Quoted(*nearest) + "?" : otherwise;
}

std::string UseOneOf(std::span<const std::string> known) {
  std::string list;
  for (const std::string& one : known.first(std::min(known.size(), kMostListed)))
    list += (list.empty() ? "use one of " : ", ") + Quoted(one);
  return known.size() > kMostListed ? list + ", ..." : list;
}

std::string CountOf(std::int64_t count, const char* what) {
  return std::to_string(count) + " " + what + (count == 1 ? "" : "s");
}

std::string Quoted(std::string_view text) {
  return '"' + std::string(text) + '"';
}

}  // namespace torvik::engine
