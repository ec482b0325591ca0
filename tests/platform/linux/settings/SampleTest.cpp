// The settings file that packages install, against what the reader itself says that it knows.

#include <gmock/gmock.h>

#include <algorithm>
#include <fstream>
#include <set>
#include <sstream>

#include "platform/linux/settings/SettingsFile.h"

namespace torvik {
namespace {

/// How the sample is read: as it is, with the ';' in front of each setting taken away, or so that
/// what "; or KEY = VALUE" names takes the place of the setting above it.
enum class Sample { AsItIs, Live, Alternatives };

std::vector<std::string> SampleLines(Sample sample) {
  const std::string orElse = "; or ";
  std::ifstream file(TORVIK_SOURCE_DIR "/packaging/torvik.conf");
  std::vector<std::string> lines;
  for (std::string line; std::getline(file, line);) {
    const bool isSetting = line.size() > 1 && line[0] == ';' && line[1] != ' ';
    if (sample != Sample::AsItIs && isSetting) line.erase(0, 1);
    if (sample == Sample::Alternatives && line.starts_with(orElse))
      lines.back() = line.substr(orElse.size());
    else
      lines.push_back(line);
  }
  return lines;
}

std::string Joined(const std::vector<std::string>& lines) {
  std::string text;
  for (const std::string& line : lines) text += line + "\n";
  return text;
}

/// "section key" of each setting; a section that has a name is called by its kind alone.
std::set<std::string> KeysOfSample() {
  std::set<std::string> keys;
  std::string section;
  for (const std::string& line : SampleLines(Sample::Live)) {
    if (line.starts_with('[')) section = line.substr(1, line.find_first_of(" ]") - 1);
    const std::string setting = line.starts_with("; or ") ? line.substr(5) : line;
    const std::size_t end = setting.find(" =");
    if (!setting.starts_with(';') && end != std::string::npos)
      keys.insert(section + " " + setting.substr(0, end));
  }
  return keys;
}

/// What the reader lists behind "there are" when it refuses `text`.
std::vector<std::string> Known(const std::string& text) {
  Settings settings;
  std::string problem = ParseSettings(text, settings);
  const std::size_t list = problem.find("; there ");
  if (list == std::string::npos) return {};
  problem.erase(0, problem.find(' ', list + 8) + 1);
  problem.resize(std::min(problem.find(", separated"), problem.size()));
  if (const std::size_t last = problem.find(" and "); last != std::string::npos)
    problem.replace(last, 5, ", ");
  std::vector<std::string> words;
  std::istringstream parts(problem);
  for (std::string word; std::getline(parts, word, ',');) {
    const std::size_t begin = word.find_first_not_of(" [");
    words.push_back(word.substr(begin, word.find_last_not_of(" ]") + 1 - begin));
  }
  return words;
}

TEST(SampleOfSettings, NamesAllThatTheReaderKnows) {
  const std::set<std::string> sample = KeysOfSample();
  const auto sections = Known("[nonsense]\n");
  EXPECT_GT(sections.size(), 7u);
  // Any name is a key in the last three; a drive and a share have names.
  const std::set<std::string> anyKey = {"paths", "programs", "server NAME", "provider NAME"};
  for (const std::string& section : sections) {
    if (anyKey.contains(section)) continue;
    const auto keys = Known("[" + section + "]\nnonsense = 1\n");
    EXPECT_FALSE(keys.empty()) << section;
    for (const std::string& key : keys)
      EXPECT_TRUE(sample.contains(section.substr(0, section.find(' ')) + " " + key))
          << "packaging/torvik.conf lacks " << key << " in [" << section << "]";
  }
  for (const std::string& key : Known("[server (local)]\nnonsense = 1\n"))
    EXPECT_TRUE(sample.contains("server " + key)) << key;
  for (const char* kind : {"paths drive C:", "paths share", "provider driver", "server backend"})
    EXPECT_TRUE(std::any_of(sample.begin(), sample.end(), [&](const auto& key) {
      return key.starts_with(kind);
    })) << kind;
}

TEST(SampleOfSettings, IsAcceptedAsItIsAndWithEverySettingLive) {
  Settings asItIs, live, alternatives;
  EXPECT_EQ(ParseSettings(Joined(SampleLines(Sample::AsItIs)), asItIs), "");
  EXPECT_EQ(ParseSettings(Joined(SampleLines(Sample::Live)), live), "");
  EXPECT_EQ(ParseSettings(Joined(SampleLines(Sample::Alternatives)), alternatives), "");
  EXPECT_EQ(live.FindServer("DWPROD")->options.at("host"), "db1.example.com");
}

/// Settings with a default show it.
TEST(SampleOfSettings, ShowsDefaults) {
  Settings live, defaults;
  ParseSettings(Joined(SampleLines(Sample::Live)), live);
  EXPECT_EQ(live.codePage, defaults.codePage);
  EXPECT_EQ(live.waitForOtherRunSeconds, defaults.waitForOtherRunSeconds);
  EXPECT_EQ(live.programs.at("eventvwr.exe"), defaults.programs.at("eventvwr.exe"));
  EXPECT_EQ(live.history.isOn, defaults.history.isOn);
  EXPECT_EQ(live.history.keepDays, defaults.history.keepDays);
  EXPECT_EQ(live.ftp.passive, defaults.ftp.passive);
  EXPECT_EQ(live.ftp.tls, defaults.ftp.tls);
  EXPECT_EQ(live.ftp.type, defaults.ftp.type);
  EXPECT_EQ(live.ftp.timeoutSeconds, defaults.ftp.timeoutSeconds);
  EXPECT_EQ(live.mail.tls, defaults.mail.tls);
  EXPECT_EQ(live.mail.timeoutSeconds, defaults.mail.timeoutSeconds);
  EXPECT_EQ(live.Smb("other").timeoutSeconds, defaults.Smb("other").timeoutSeconds);
  EXPECT_EQ(live.Smb("other").port, defaults.Smb("other").port);
}

TEST(SampleOfSettings, ExplainsEachOnALineAboveIt) {
  const std::vector<std::string> lines = SampleLines(Sample::AsItIs);
  for (std::size_t line = 1; line < lines.size(); ++line) {
    const bool isProse = !lines[line].starts_with(';') || lines[line].starts_with("; ");
    EXPECT_TRUE(isProse || lines[line - 1].starts_with("; ")) << lines[line];
  }
}

}  // namespace
}  // namespace torvik
