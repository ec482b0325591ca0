#include "admin/Completion.h"

#include <unistd.h>

#include <CLI/CLI.hpp>
#include <csignal>
#include <cstdio>

namespace torvik::admin {
namespace {

constexpr unsigned kLongestSeconds = 2;

/// By the name of the option or positional; a name behind its command goes first.
const std::map<std::string, WordKind>& Kinds() {
  static const std::map<std::string, WordKind> kinds = {{"JOB", WordKind::Job},
                                                        {"history JOB", WordKind::JobName},
                                                        {"trend JOB", WordKind::JobName},
                                                        {"schedule JOB", WordKind::JobName},
                                                        {"unschedule JOB", WordKind::JobName},
                                                        {"KEY", WordKind::JobKey},
                                                        {"FILE", WordKind::File},
                                                        {"--output", WordKind::File},
                                                        {"--log", WordKind::File},
                                                        {"--svg", WordKind::File},
                                                        {"--jobs", WordKind::Directory},
                                                        {"--jobs-here", WordKind::Directory},
                                                        {"DIRECTORY", WordKind::Directory},
                                                        {"--root", WordKind::Directory},
                                                        {"--package", WordKind::Package},
                                                        {"--job", WordKind::Job},
                                                        {"get NAME", WordKind::Package},
                                                        {"remove NAME", WordKind::Package},
                                                        {"versions NAME", WordKind::Package},
                                                        {"prune NAME", WordKind::Package},
                                                        {"link remove NAME", WordKind::Link},
                                                        {"MODEL", WordKind::Model},
                                                        {"--model", WordKind::Model},
                                                        {"SERVER", WordKind::Server},
                                                        {"--server", WordKind::Server},
                                                        {"--into", WordKind::Server},
                                                        {"--warehouse-server", WordKind::Server}};
  return kinds;
}

std::string LongName(const CLI::Option& option) {
  if (option.get_positional()) return option.get_name(true);
  return option.get_lnames().empty() ? option.get_name() : "--" + option.get_lnames().front();
}

WordKind KindOf(const CLI::App& command, const CLI::Option& option) {
  const std::string name = LongName(option);
  const std::string behind = command.get_name() + " " + name;
  const std::string group =
      command.get_parent() == nullptr ? "" : command.get_parent()->get_name() + " " + behind;
  for (const std::string& key : {group, behind, name})
    if (const auto found = Kinds().find(key); found != Kinds().end()) return found->second;
  if (name.ends_with("file")) return WordKind::File;
  return name.ends_with("directory") ? WordKind::Directory : WordKind::Any;
}

bool TakesValue(const CLI::Option& option) {
  return option.get_items_expected_max() > 0 && option.get_type_size() > 0;
}

/// The option that a word is, or null.
const CLI::Option* OptionOf(const CLI::App& command, const std::string& word) {
  if (!word.starts_with('-')) return nullptr;
  return command.get_option_no_throw(word.substr(0, word.find('=')));
}

std::vector<const CLI::App*> CommandsOf(const CLI::App& group) {
  return group.get_subcommands([](const CLI::App*) { return true; });
}

/// The command of that name in the group, or null.
const CLI::App* CommandOf(const CLI::App& group, const std::string& name) {
  for (const CLI::App* command : CommandsOf(group))
    if (command->get_name() == name) return command;
  return nullptr;
}

/// Goes through the words up to the last one.
class Walk {
 public:
  explicit Walk(const CLI::App& app) : command_(&app) {}

  void Take(const std::string& word) {
    if (open_ != nullptr) {
      expected_.options[LongName(*open_)] = word;
      open_ = nullptr;
    } else if (const CLI::Option* option = OptionOf(*command_, word)) {
      const std::size_t equals = word.find('=');
      if (equals != word.npos) expected_.options[LongName(*option)] = word.substr(equals + 1);
      if (equals == word.npos && TakesValue(*option)) open_ = option;
    } else if (const CLI::App* next = CommandOf(*command_, word)) {
      command_ = next;
    } else {
      const CLI::Option* const positional = Positional();
      if (positional != nullptr) expected_.options[LongName(*positional)] = word;
      ++positionals_;
    }
  }

  Expected Next(const std::string& word) {
    expected_.prefix = word;
    if (open_ != nullptr) {
      AddValue(*open_);
    } else if (word.starts_with('-')) {
      AddOptions();
    } else {
      for (const CLI::App* next : CommandsOf(*command_))
        Add(next->get_name(), next->get_description());
      if (const CLI::Option* positional = Positional()) AddValue(*positional);
    }
    return std::move(expected_);
  }

 private:
  /// The one that the next word is; the last one when that may be repeated.
  const CLI::Option* Positional() const {
    const auto all =
        command_->get_options([](const CLI::Option* o) { return o->get_positional(); });
    if (positionals_ < all.size()) return all[positionals_];
    const bool repeats = !all.empty() && all.back()->get_items_expected_max() > 1;
    return repeats ? all.back() : nullptr;
  }

  void Add(const std::string& word, const std::string& help) {
    if (word.starts_with(expected_.prefix)) expected_.words.push_back({word, help});
  }

  void AddValue(const CLI::Option& option) {
    expected_.kind = KindOf(*command_, option);
    // A package is drawn from a file, or from the server that is named.
    if (command_->get_name() == "graph" && expected_.options.contains("--server") &&
        option.get_positional())
      expected_.kind = WordKind::Package;
  }

  void AddOptions() {
    for (const CLI::Option* option : command_->get_options()) {
      for (const std::string& name : option->get_lnames())
        Add("--" + name, option->get_description());
      for (const std::string& name : option->get_snames())
        Add("-" + name, option->get_description());
    }
  }

  const CLI::App* command_;
  const CLI::Option* open_ = nullptr;  ///< Waits for its value.
  std::size_t positionals_ = 0;
  Expected expected_;
};

const char* LineOf(WordKind kind) {
  switch (kind) {
    case WordKind::File: return ":files";
    case WordKind::Directory: return ":directories";
    case WordKind::Job: return ":jobs";
    default: return nullptr;
  }
}

}  // namespace

Expected ExpectedNext(const CLI::App& app, const std::vector<std::string>& words) {
  Walk walk(app);
  for (std::size_t word = 0; word + 1 < words.size(); ++word) walk.Take(words[word]);
  return walk.Next(words.empty() ? "" : words.back());
}

int Complete(const CLI::App& app, const std::vector<std::string>& words) {
  const Expected expected = ExpectedNext(app, words);
  for (const Expected::Word& word : expected.words)
    std::printf("%s\t%s\n", word.text.c_str(), word.help.c_str());
  if (const char* line = LineOf(expected.kind)) std::printf("%s\n", line);
  std::fflush(stdout);
  // A server that does not answer must not hold the user's shell.
  std::signal(SIGALRM, [](int) { _exit(0); });
  alarm(kLongestSeconds);
  try {
    for (const std::string& name : NamesOf(expected))
      if (name.starts_with(expected.prefix) && name.find('\n') == name.npos)
        std::printf("%s\t\n", name.c_str());
  } catch (const std::exception&) {
  }
  std::fflush(stdout);
  return 0;
}

}  // namespace torvik::admin
