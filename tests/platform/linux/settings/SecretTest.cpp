#include "platform/linux/settings/Secret.h"

#include <gmock/gmock.h>

#include <cstdlib>

#include "fakes/TemporaryDirectory.h"
#include "platform/Secrets.h"
#include "platform/linux/system/PathMap.h"

namespace torvik {
namespace {

using testing::HasSubstr;

TEST(Secret, IsTheFirstLineOfAFileOfItsOwnerOrOfACredential) {
  TemporaryDirectory disk;
  disk.Write("credentials/dw", "of systemd\n");
  disk.Write("credentials/empty", "");
  const struct {
    const char* file;
    const char* text;
    mode_t mode;
    const char* secret;
    const char* problem;
  } files[] = {
      {"plain", "gehe im \r\nmore\n", 0600, "gehe im ", ""},
      {"last line", "geheim", 0400, "geheim", ""},
      {"group", "geheim", 0640, "", "holds a password and has the mode 0640"},
      {"empty", "\ngeheim\n", 0600, "", "the first line holds no password"},
  };
  const auto secrets = NewSecrets(PathMap({{"c", disk.Path()}}, {}, ""));
  for (const auto& c : files) {
    disk.Write(c.file, c.text);
    disk.SetMode(c.file, c.mode);
    std::string secret;
    EXPECT_THAT(ReadSecret({disk.PathOf(c.file), ""}, secret), HasSubstr(c.problem)) << c.file;
    EXPECT_EQ(secret, c.secret);
    secret.clear();
    EXPECT_THAT(secrets->Read("file:C:\\" + std::string(c.file), secret), HasSubstr(c.problem));
    EXPECT_EQ(secret, c.secret);
  }
  std::string secret;
  EXPECT_THAT(secrets->Read("file:" + disk.PathOf("gone"), secret), HasSubstr("No such file"));
  EXPECT_THAT(secrets->Read("geheim", secret), HasSubstr("file:PATH or credential:NAME"));
  const std::pair<const char*, const char*> credentials[] = {
      {"dw", ""},
      {"empty", "holds no password"},
      {"gone", "the unit hands it on by LoadCredential=gone:PATH"},
      {"../plain", "a credential is given by its name"},
  };
  unsetenv("CREDENTIALS_DIRECTORY");
  EXPECT_THAT(secrets->Read("credential:dw", secret), HasSubstr("$CREDENTIALS_DIRECTORY is not"));
  setenv("CREDENTIALS_DIRECTORY", disk.PathOf("credentials").c_str(), 1);
  for (const auto& [name, problem] : credentials)
    EXPECT_THAT(secrets->Read(std::string("credential:") + name, secret), HasSubstr(problem));
  unsetenv("CREDENTIALS_DIRECTORY");
  EXPECT_EQ(secret, "of systemd");
}

}  // namespace
}  // namespace torvik
