#pragma once

#include <string>
#include <vector>

namespace torvik::admin {

/// What a check found, one row for each thing that it looked at.
class CheckReport {
 public:
  void Ok(const std::string& what, const std::string& detail);
  /// `detail` says what is wrong and, after a semicolon, what to do.
  void Problem(const std::string& what, const std::string& detail);
  /// The same of what a run does not fail from.
  void Warning(const std::string& what, const std::string& detail);
  void NotChecked(const std::string& what, const std::string& why);

  /// What the check of a part found: its rows but for those that are ok, which are counted.
  void AddPart(const std::string& name, const CheckReport& part);

  /// "***" is printed wherever the text stands as a word of its own: what a server says may repeat
  /// what it was given.
  void AddSecret(const std::string& text);

  bool HasProblems() const { return Count(State::Problem) > 0; }

  /// Prints the rows and how many there are of each state, of the "job" or "server" of that name.
  void Print(const char* kind, const std::string& name, bool json) const;

 private:
  enum class State { Ok, Warning, Problem, NotChecked };
  struct Row {
    std::string what;
    State state;
    std::string detail;
  };
  static const char* NameOf(State state);
  int Count(State state) const;
  std::vector<Row> PrintableRows() const;
  void Add(const std::string& what, State state, const std::string& detail);

  std::vector<Row> rows_;
  std::vector<std::string> secrets_;
};

}  // namespace torvik::admin
