#pragma once

#include <map>
#include <string>
#include <vector>

namespace CLI {
class App;
}

namespace torvik::admin {

/// The first argument of the call that shells make when the user asks what may come next: the words
/// typed so far follow, the last of them is the one to complete. packaging/completions has the
/// shells' side.
inline constexpr const char* kCompleteCommand = "__complete";

/// What a word may be, as far as a command says it. A Job is a file, a JobName one of the
/// machine's.
enum class WordKind { Any, File, Directory, Job, JobName, Package, Model, Link, Server, JobKey };

/// What may stand in place of the last word.
struct Expected {
  struct Word {
    std::string text, help;
  };
  std::vector<Word> words;                     ///< Commands, options, values: those that begin so.
  WordKind kind = WordKind::Any;               ///< What else it may be.
  std::map<std::string, std::string> options;  ///< Given before it: "--server" and its value.
  std::string prefix;                          ///< The last word.
};

Expected ExpectedNext(const CLI::App& app, const std::vector<std::string>& words);

/// Prints a line for each word that may come next, a tab and what it means behind it, or one for
/// the shell to go on with: ":jobs", ":files", ":directories". Names that a server knows are asked
/// for quickly; whatever fails, there are fewer words and no message. Answers the exit code.
int Complete(const CLI::App& app, const std::vector<std::string>& words);

/// Of packages, links, servers: the names of this kind, as the options given lead to them. Throws
/// what the servers throw.
std::vector<std::string> NamesOf(const Expected& expected);

}  // namespace torvik::admin
