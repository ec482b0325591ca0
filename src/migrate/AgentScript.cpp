#include "migrate/AgentScript.h"

#include <algorithm>
#include <map>
#include <optional>

#include "migrate/SqlWords.h"
#include "platform/NumberText.h"
#include "platform/Text.h"

namespace torvik::migrate {
namespace {

using Kind = SqlWord::Kind;

/// A call of a procedure with the values of its arguments.
struct Call {
  std::string procedure;  ///< Small letters, without what stands in front of it.
  std::map<std::string, std::string> values;
  int line = 0;

  std::string Text(const char* name) const {
    const auto found = values.find(name);
    return found == values.end() ? std::string() : found->second;
  }
  int Number(const char* name, int fallback = 0) const {
    return NumberOf<int>(Text(name)).value_or(fallback);
  }
};

/// They say nothing of what a job does and when.
bool IsOfNoConcern(const std::string& procedure) {
  static constexpr const char* kNames[] = {
      "sp_add_jobserver",   "sp_update_job",       "sp_add_category",       "sp_delete_job",
      "sp_attach_schedule", "sp_delete_jobserver", "sp_delete_jobschedule", "sp_help_job"};
  return std::ranges::find(kNames, procedure) != std::end(kNames);
}

bool IsAboutJobs(const std::string& procedure) {
  return procedure.starts_with("sp_") &&
         (procedure.find("job") != procedure.npos || procedure.find("schedule") != procedure.npos);
}

class Script {
 public:
  explicit Script(std::string_view sql) : words_(SqlWordsOf(sql)) {}

  AgentScript Read() {
    while (at_ < words_.size()) {
      const SqlWord& word = words_[at_++];
      if (word.kind != Kind::Name) continue;
      const std::string name = LowerAscii(word.text);
      if (name == "exec" || name == "execute") Execute();
      if (name == "set" || name == "select" || name == "declare") Assign();
    }
    return std::move(script_);
  }

 private:
  bool IsSign(std::size_t at, char sign) const {
    return at < words_.size() && words_[at].kind == Kind::Sign && words_[at].text[0] == sign;
  }

  void Note(int line, const std::string& text) { script_.notes.push_back({line, text}); }

  /// A literal, a variable, or a sum of them. Nothing when it is something else; `at_` then stands
  /// where it stopped.
  std::optional<std::string> Value() {
    std::string sum;
    for (;; ++at_) {
      std::string sign;
      if (IsSign(at_, '-')) {
        sign = "-";
        ++at_;
      }
      if (at_ >= words_.size()) return std::nullopt;
      const SqlWord& word = words_[at_];
      const bool isNull = word.kind == Kind::Name && EqualsIgnoringCase(word.text, "null");
      const auto variable = variables_.find(word.text);
      if (word.kind == Kind::Variable && variable == variables_.end()) return std::nullopt;
      if (word.kind == Kind::Sign || (word.kind == Kind::Name && !isNull)) return std::nullopt;
      ++at_;
      if (!isNull) sum += sign + (word.kind == Kind::Variable ? variable->second : word.text);
      if (!IsSign(at_, '+')) return sum;
    }
  }

  /// "SET @x = value", also several in a SELECT, and behind the type in a DECLARE.
  void Assign() {
    while (at_ + 1 < words_.size() && words_[at_].kind == Kind::Variable) {
      const std::string name = words_[at_++].text;
      while (at_ < words_.size() && !IsSign(at_, '=') && !IsSign(at_, ',') && IsOfType(words_[at_]))
        ++at_;
      if (IsSign(at_, '=')) {
        ++at_;
        const auto value = Value();
        variables_.erase(name);
        if (value) variables_[name] = *value;
        if (!value) return;
      }
      if (!IsSign(at_, ',')) return;
      ++at_;
    }
  }

  /// Part of "NVARCHAR(100)".
  static bool IsOfType(const SqlWord& word) {
    return word.kind == Kind::Number ||
           (word.kind == Kind::Sign && (word.text == "(" || word.text == ")")) ||
           (word.kind == Kind::Name && !BeginsStatement(word));
  }

  void Execute() {
    if (at_ + 1 < words_.size() && words_[at_].kind == Kind::Variable && IsSign(at_ + 1, '='))
      at_ += 2;  // the variable that takes what it returns
    Call call;
    while (at_ < words_.size() && (words_[at_].kind == Kind::Name || IsSign(at_, '.'))) {
      const bool isName = words_[at_].kind == Kind::Name;
      // "msdb..sp_add_job": a name behind a name begins the next statement
      if (isName && !call.procedure.empty() && !IsSign(at_ - 1, '.')) break;
      if (isName) call.procedure = LowerAscii(words_[at_].text);
      call.line = words_[at_++].line;
    }
    if (!IsAboutJobs(call.procedure) || IsOfNoConcern(call.procedure)) return;
    Arguments(call);
    Take(call);
  }

  void Arguments(Call& call) {
    while (at_ + 1 < words_.size() && words_[at_].kind == Kind::Variable && IsSign(at_ + 1, '=')) {
      const SqlWord& name = words_[at_];
      at_ += 2;
      if (const auto value = Value())
        call.values[name.text] = *value;
      else if (!IsIdentity(name.text))
        Note(name.line, call.procedure + ": " + name.text +
                            " is no literal, and no variable that was set to one; it is left out");
      SkipToNextArgument();
      if (!IsSign(at_, ',')) return;
      ++at_;
    }
    if (call.values.empty())
      Note(call.line, call.procedure + " has no named arguments (@name = value); write them so");
  }

  /// The rest of an expression that is not understood, and the word OUTPUT.
  void SkipToNextArgument() {
    while (at_ < words_.size() && !BeginsStatement(words_[at_]) &&
           !(IsSign(at_, ',') && IsSign(at_ + 2, '=')))
      ++at_;
  }

  static bool BeginsStatement(const SqlWord& word) {
    static constexpr const char* kFirst[] = {"exec",   "execute", "go",    "if",  "set",
                                             "select", "declare", "begin", "end", "goto"};
    return word.kind == Kind::Name && std::ranges::any_of(kFirst, [&](const char* first) {
             return EqualsIgnoringCase(word.text, first);
           });
  }

  /// Which job or schedule it is follows from where the call stands.
  static bool IsIdentity(const std::string& argument) {
    return argument == "@job_id" || argument == "@schedule_id" || argument == "@schedule_uid";
  }

  AgentJob* JobOf(const Call& call) {
    const std::string name = call.Text("@job_name");
    auto& jobs = script_.jobs;
    const auto found = std::ranges::find_if(
        jobs, [&](const AgentJob& job) { return EqualsIgnoringCase(job.name, name); });
    if (!name.empty() && found != jobs.end()) return &*found;
    if (name.empty() && !jobs.empty()) return &jobs.back();
    Note(call.line, call.procedure +
                        ": there is no sp_add_job of its job in front of it; it is "
                        "left out");
    return nullptr;
  }

  void Take(const Call& call) {
    if (call.procedure == "sp_add_job") {
      const std::string name = call.Text("@job_name");
      if (name.empty()) return Note(call.line, "sp_add_job has no @job_name; its job has no name");
      script_.jobs.push_back({name, call.Number("@enabled", 1) != 0, {}, {}, call.line});
    } else if (call.procedure == "sp_add_jobstep") {
      if (AgentJob* job = JobOf(call))
        job->steps.push_back(
            {call.Text("@step_name"), call.Text("@subsystem"), call.Text("@command"), call.line});
    } else if (call.procedure == "sp_add_jobschedule" || call.procedure == "sp_add_schedule") {
      if (AgentJob* job = JobOf(call)) job->schedules.push_back(ScheduleOf(call));
    } else {
      Note(call.line, call.procedure + " is not known here; it is left out");
    }
  }

  static AgentSchedule ScheduleOf(const Call& call) {
    const std::string name = call.Text("@name");
    return {name.empty() ? call.Text("@schedule_name") : name,
            call.Number("@enabled", 1) != 0,
            call.Number("@freq_type"),
            call.Number("@freq_interval"),
            call.Number("@freq_subday_type"),
            call.Number("@freq_subday_interval"),
            call.Number("@freq_relative_interval"),
            call.Number("@freq_recurrence_factor"),
            call.Number("@active_start_date"),
            call.Number("@active_start_time"),
            call.Number("@active_end_time", 235959),
            call.Number("@active_end_date", 99991231)};
  }

  const std::vector<SqlWord> words_;
  std::size_t at_ = 0;
  std::map<std::string, std::string> variables_;
  AgentScript script_;
};

}  // namespace

AgentScript ReadAgentScript(std::string_view sql) {
  return Script(sql).Read();
}

}  // namespace torvik::migrate
