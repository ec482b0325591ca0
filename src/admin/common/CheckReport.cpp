#include "admin/common/CheckReport.h"

#include <algorithm>

#include "admin/common/Admin.h"
#include "engine/model/Variables.h"
#include "platform/CountText.h"

namespace torvik::admin {
namespace {

/// What a provider says may have several lines.
std::string LinesAsList(const std::string& text) {
  std::string line;
  for (const char c : text) {
    const bool isBreak = c == '\r' || c == '\n';
    if (!isBreak) line += c;
    if (isBreak && !line.empty() && !line.ends_with("; ")) line += "; ";
  }
  return line.ends_with("; ") ? line.substr(0, line.size() - 2) : line;
}

}  // namespace

void CheckReport::Ok(const std::string& what, const std::string& detail) {
  Add(what, State::Ok, detail);
}

void CheckReport::Problem(const std::string& what, const std::string& detail) {
  Add(what, State::Problem, detail);
}

void CheckReport::Warning(const std::string& what, const std::string& detail) {
  Add(what, State::Warning, detail);
}

void CheckReport::NotChecked(const std::string& what, const std::string& why) {
  Add(what, State::NotChecked, why);
}

void CheckReport::AddPart(const std::string& name, const CheckReport& part) {
  if (const int ok = part.Count(State::Ok); ok > 0) Ok(name, Counted(ok, "is ok", "are ok"));
  for (const Row& row : part.rows_)
    if (row.state != State::Ok) Add(name + ", " + row.what, row.state, row.detail);
  secrets_.insert(secrets_.end(), part.secrets_.begin(), part.secrets_.end());
}

void CheckReport::AddSecret(const std::string& text) {
  if (!text.empty()) secrets_.push_back(text);
}

void CheckReport::Print(const char* kind, const std::string& name, bool json) const {
  const int ok = Count(State::Ok);
  const int warnings = Count(State::Warning);
  const int problems = Count(State::Problem);
  const int notChecked = Count(State::NotChecked);
  std::vector<JsonRow> table;
  Json checks = Json::array();
  for (const Row& row : PrintableRows()) {
    checks.push_back({{"what", row.what}, {"state", NameOf(row.state)}, {"detail", row.detail}});
    table.push_back({row.what, NameOf(row.state), row.detail});
  }
  if (!json) PrintRows({"what", "state", "detail"}, table, false);
  PrintResult({{kind, name},
               {"checks", checks},
               {"ok", ok},
               {"warnings", warnings},
               {"problems", problems},
               {"not_checked", notChecked}},
              name + ": " + Counted(ok, "is ok", "are ok") + ", " +
                  (warnings == 0 ? "" : Counted(warnings, "warning") + ", ") +
                  Counted(problems, "problem") + ", " + std::to_string(notChecked) + " not checked",
              json);
}

const char* CheckReport::NameOf(State state) {
  switch (state) {
    case State::Ok: return "ok";
    case State::Warning: return "warning";
    case State::Problem: return "problem";
    case State::NotChecked: break;
  }
  return "not checked";
}

int CheckReport::Count(State state) const {
  return static_cast<int>(std::count_if(rows_.begin(), rows_.end(),
                                        [&](const Row& row) { return row.state == state; }));
}

std::vector<CheckReport::Row> CheckReport::PrintableRows() const {
  std::vector<engine::GlobalVariable> passwords;
  for (const std::string& secret : secrets_) passwords.push_back({"Password", secret, {}});
  const engine::Variables hidden(std::move(passwords));
  std::vector<Row> rows = rows_;
  for (Row& row : rows) {
    row.what = hidden.WithoutPasswords(row.what);
    row.detail = hidden.WithoutPasswords(row.detail);
  }
  return rows;
}

void CheckReport::Add(const std::string& what, State state, const std::string& detail) {
  rows_.push_back({LinesAsList(what), state, LinesAsList(detail)});
}

}  // namespace torvik::admin
