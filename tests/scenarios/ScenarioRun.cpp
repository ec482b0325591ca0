// Runs the whole-run descriptions in *.scenario: what stands before, the commands, what must stand
// after. Lines that begin with "|" are the text that belongs to the directive above them.
//
//   file NAME                  writes a file
//   secret NAME                writes a file that its owner alone may read
//   package NAME               stores a package with the runner's variables; the text is its body
//   job NAME PACKAGE           writes a job file
//   run PROGRAM ARGUMENT ...   runs torvik or torvik-admin; an argument in double quotes keeps its
//                              blanks
//   exit CODE                  the last program's exit code (0 is expected when nothing is said)
//   is NAME                    the file, or stdout or stderr of the last program, is this text
//   has NAME                   holds these lines, in this order, each as a part of a line
//   lacks NAME                 holds none of these lines
//   absent NAME                there is no such file
//   query DATABASE SQL         gives these rows
//
// "%DIR%" stands for the sandbox, "%SOURCE%" for the checkout, "%SERVER%" for the section of the
// server "(local)" in the settings; line ends are compared without their
// CR.

#include "scenarios/ScenarioRun.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <fstream>
#include <sstream>

namespace torvik {
namespace {

struct Directive {
  int line = 0;
  std::string word;
  std::string rest;
  std::vector<std::string> text;

  std::string Joined() const {
    std::string all;
    for (const std::string& each : text) all += each + "\n";
    return all;
  }
};

std::vector<Directive> ReadScenario(const std::filesystem::path& path) {
  std::vector<Directive> directives;
  std::ifstream file(path);
  std::string line;
  for (int number = 1; std::getline(file, line); ++number) {
    if (line.empty() || line[0] == '#') continue;
    if (line[0] == '|') {
      directives.back().text.push_back(line.size() > 2 ? line.substr(2) : "");
      continue;
    }
    const std::size_t blank = line.find(' ');
    directives.push_back({number,
                          line.substr(0, blank),
                          blank == std::string::npos ? "" : line.substr(blank + 1),
                          {}});
  }
  return directives;
}

std::vector<std::string> Words(const std::string& text) {
  std::istringstream stream(text);
  std::vector<std::string> words;
  for (std::string word; stream >> std::ws && !stream.eof();) {
    if (stream.peek() == '"') {
      stream.get();
      std::getline(stream, word, '"');
    } else {
      stream >> word;
    }
    words.push_back(word);
  }
  return words;
}

class ScenarioRun {
 public:
  explicit ScenarioRun(Sandbox& sandbox) : sandbox_(sandbox) {}

  void Do(Directive d) {
    Expand(d.rest);
    for (std::string& text : d.text) Expand(text);
    const std::vector<std::string> words = Words(d.rest);
    if (d.word != "exit" && !exitChecked_) {
      EXPECT_EQ(last_.exitCode, 0) << last_.err;
      exitChecked_ = true;
    }
    if (d.word == "file") {
      sandbox_.WriteFile(d.rest, d.Joined());
    } else if (d.word == "secret") {
      sandbox_.WriteFile(d.rest, d.Joined());
      std::filesystem::permissions(sandbox_.PathOf(d.rest), std::filesystem::perms::owner_read);
    } else if (d.word == "package") {
      sandbox_.PutPackage(d.rest, d.Joined());
    } else if (d.word == "job") {
      sandbox_.WriteJob(words.at(0), words.at(1));
    } else if (d.word == "run") {
      last_ = sandbox_.Run(words);
      exitChecked_ = false;
    } else if (d.word == "exit") {
      EXPECT_EQ(std::to_string(last_.exitCode), d.rest) << last_.out << last_.err;
      exitChecked_ = true;
    } else if (d.word == "is") {
      EXPECT_EQ(Content(d.rest), d.Joined());
    } else if (d.word == "has") {
      ExpectInOrder(Content(d.rest), d.text);
    } else if (d.word == "lacks") {
      for (const auto& text : d.text)
        EXPECT_EQ(Content(d.rest).find(text), std::string::npos) << text;
    } else if (d.word == "absent") {
      EXPECT_FALSE(std::filesystem::exists(sandbox_.PathOf(d.rest))) << d.rest;
    } else if (d.word == "query") {
      const std::string database = words.at(0);
      EXPECT_EQ(sandbox_.Query(d.rest.substr(database.size() + 1), database), d.Joined());
    } else {
      ADD_FAILURE() << "unknown directive " << d.word;
    }
  }

 private:
  void Expand(std::string& text) const {
    Replace(text, "%DIR%", sandbox_.PathOf("."));
    Replace(text, "%SOURCE%", TORVIK_SOURCE_DIR);
    Replace(text, "%SERVER%", sandbox_.ServerSection());
  }

  static void Replace(std::string& text, const std::string& word, const std::string& value) {
    for (std::size_t at; (at = text.find(word)) != std::string::npos;) {
      text.replace(at, word.size(), value);
    }
  }

  std::string Content(const std::string& name) const {
    if (name == "stdout") return WithoutCr(last_.out);
    if (name == "stderr") return WithoutCr(last_.err);
    return WithoutCr(sandbox_.ReadFile(name));
  }

  static void ExpectInOrder(const std::string& content, const std::vector<std::string>& parts) {
    std::size_t from = 0;
    for (const std::string& part : parts) {
      const std::size_t found = content.find(part, from);
      ASSERT_NE(found, std::string::npos) << "missing: " << part << "\nin:\n" << content;
      from = std::min(content.find('\n', found), content.size());
    }
  }

  Sandbox& sandbox_;
  ProgramResult last_{0, "", ""};
  bool exitChecked_ = true;
};

}  // namespace

void RunScenario(const std::filesystem::path& path, Sandbox& sandbox) {
  ScenarioRun run(sandbox);
  for (const Directive& directive : ReadScenario(path)) {
    SCOPED_TRACE(path.filename().string() + ":" + std::to_string(directive.line));
    ASSERT_NO_THROW(run.Do(directive));
  }
}

}  // namespace torvik
