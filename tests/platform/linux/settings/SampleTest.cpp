// The settings file that packages install, against what the reader itself says that it knows.

#include <gmock/gmock.h>

#include <fstream>
#include <regex>
#include <set>

#include "platform/linux/settings/SettingsFile.h"

namespace torvik {
namespace {

/// Its lines; one that is a setting, a section or a blank loses the ';' in front of it.
std::vector<std::string> SampleLines(bool isLive) {
  std::ifstream file(TORVIK_SOURCE_DIR "/packaging/torvik.conf");
  std::vector<std::string> lines;
  for (std::string line; std::getline(file, line);) {
    const bool isSetting = line.size() > 1 && line[0] == ';' && line[1] != ' ';
    lines.push_back(isLive && isSetting ? line.substr(1) : line);
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
  for (const std::string& line : SampleLines(true)) {
    if (line.starts_with('[')) section = line.substr(1, line.find_first_of(" ]") - 1);
    const std::size_t end = line.find(" =");
    if (!line.starts_with(';') && end != std::string::npos)
      keys.insert(section + " " + line.substr(0, end));
  }
  return keys;
}

/// What the reader lists behind "there are" when it refuses `text`.
std::vector<std::string> Known(const std::string& text, const std::string& pattern) {
  Settings settings;
  std::string problem = ParseSettings(text, settings);
  const std::size_t list = problem.find("; there ");
  if (list == std::string::npos) return {};
  problem.erase(0, problem.find(' ', list + 8) + 1);
  problem = std::regex_replace(problem, std::regex(" and |, separated.*"), ", ");
  std::vector<std::string> words;
  const std::regex word(pattern);
  for (std::sregex_iterator found(problem.begin(), problem.end(), word), end; found != end; ++found)
    words.push_back((*found)[1]);
  return words;
}

TEST(SampleOfSettings, NamesAllThatTheReaderKnows) {
  const std::set<std::string> sample = KeysOfSample();
  const auto sections = Known("[nonsense]\n", R"(\[(\w+)\])");
  EXPECT_GT(sections.size(), 7u);
  for (const std::string& section : sections) {
    if (section == "programs") continue;  // any name is a key
    const auto keys = Known("[" + section + "]\nnonsense = 1\n", R"(([\w]+))");
    EXPECT_FALSE(keys.empty()) << section;
    if (section == "paths") continue;  // a drive and a share, which have names
    for (const std::string& key : keys)
      EXPECT_TRUE(sample.contains(section + " " + key))
          << "packaging/torvik.conf lacks " << key << " in [" << section << "]";
  }
  for (const std::string& key : Known("[server (local)]\nnonsense = 1\n", R"((\w+))"))
    EXPECT_TRUE(sample.contains("server " + key)) << key;
  for (const char* kind : {"paths drive C:", "paths share", "provider driver", "server backend"})
    EXPECT_TRUE(std::any_of(sample.begin(), sample.end(), [&](const auto& key) {
      return key.starts_with(kind);
    })) << kind;
}

TEST(SampleOfSettings, IsAcceptedAsItIsAndWithEverySettingLive) {
  Settings asItIs, live;
  EXPECT_EQ(ParseSettings(Joined(SampleLines(false)), asItIs), "");
  EXPECT_EQ(ParseSettings(Joined(SampleLines(true)), live), "");
  EXPECT_EQ(live.FindServer("DWPROD")->options.at("host"), "db1.example.com");
}

/// Settings with a default show it.
TEST(SampleOfSettings, ShowsDefaults) {
  Settings live, defaults;
  ParseSettings(Joined(SampleLines(true)), live);
  EXPECT_EQ(live.codePage, defaults.codePage);
  EXPECT_EQ(live.waitForOtherRunSeconds, defaults.waitForOtherRunSeconds);
  EXPECT_EQ(live.programs, defaults.programs);
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
  const std::vector<std::string> lines = SampleLines(false);
  for (std::size_t line = 1; line < lines.size(); ++line) {
    const bool isProse = !lines[line].starts_with(';') || lines[line].starts_with("; ");
    EXPECT_TRUE(isProse || lines[line - 1].starts_with("; ")) << lines[line];
  }
}

}  // namespace
}  // namespace torvik
