#include <gmock/gmock.h>

#include <filesystem>
#include <string>

#include "engine/EngineFixture.h"

namespace torvik::engine {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::Not;

/// Objects that scripts make of classes beyond the language.
class ScriptObjects : public EngineTest {
 protected:
  ScriptObjects() { Host(false); }

  void Host(bool mayStartPrograms) {
    EngineServices services = Services();
    services.scriptsMayStartPrograms = mayStartPrograms;
    host_ = NewPackageHost(services);
  }

  /// Runs a script of these statements; answers "ok TEXT", the variable's value afterwards, or what
  /// went wrong.
  std::string Ran(const std::string& statements) {
    disk_.Write("P.log", "");
    Put("P",
        Head("P") + Step("s", "Script",
                         "script = '''\nFunction Main()\n" + statements + "\nEnd Function\n'''"));
    package_ = Load("P");
    package_->GlobalVariables().SetValue("DTSServerLoginPassword", std::string("dragon"));
    const RunResult result = Run(*package_);
    if (result.ends != "S") return result.events.errors;
    return "ok " + std::get<std::string>(package_->GlobalVariables().Value("Text"));
  }

  std::string Log() const { return disk_.Read("P.log"); }

  std::unique_ptr<dts::Package> package_;
};

TEST_F(ScriptObjects, TheShellStartsProgramsWhereTheSettingsAllowIt) {
  const std::string run = "Set shell = CreateObject(\"WScript.Shell\")\n";
  EXPECT_THAT(Ran(run + "shell.Run \"touch " + disk_.PathOf("made") + "\", 0, True"),
              HasSubstr("scripts may not start programs on this machine"));
  EXPECT_FALSE(std::filesystem::exists(disk_.PathOf("made")));
  Host(true);
  const struct {
    const char* statements;
    const char* outcome;
    const char* line;  ///< Of the package's log.
  } cases[] = {
      {"DTSGlobalVariables(\"Text\") = shell.Run(\"sh -c \"\"echo out; exit 3\"\"\", 0, True)",
       "ok 3", "out"},
      {"DTSGlobalVariables(\"Text\") = shell.Run(\"sh -c \"\"exit 3\"\"\")", "ok 0",
       "ended with exit code 3"},
      {"shell.CurrentDirectory = \"/usr\"\nshell.Run \"pwd\"", "ok text", "/usr"},
      {"shell.Run \"no-such-program x\"", "the program \"no-such-program\" cannot be started", ""},
      {"shell.Run \"\"", "Run has an empty command", ""},
      {"shell.Run \"echo dragon\", 0, True", "a password of the package's variables would show",
       ""},
      {"DTSGlobalVariables(\"Text\") = shell.ExpandEnvironmentStrings(\"%TORVIK_TEST%%no%1\")",
       "ok value%no%1", ""},
      {"DTSGlobalVariables(\"Text\") = shell.Environment(\"PROCESS\")(\"TORVIK_TEST\") & "
       "shell.Environment.Item(\"no\")",
       "ok value", ""},
  };
  setenv("TORVIK_TEST", "value", 1);
  for (const auto& c : cases) {
    EXPECT_THAT(Ran(run + c.statements), HasSubstr(c.outcome)) << c.statements;
    EXPECT_THAT(Log(), HasSubstr(c.line)) << c.statements;
    EXPECT_THAT(Log(), Not(HasSubstr("dragon"))) << c.statements;
  }
}

TEST_F(ScriptObjects, AProgramOfTheShellEndsWithItsStep) {
  Host(true);
  Put("P", Head("P") + Step("s", "Script",
                            "script = '''\nFunction Main()\nCreateObject(\"WScript.Shell\").Run "
                            "\"sleep 600\", 0, True\nEnd Function\n'''"));
  package_ = Load("P");
  Impatient events(*package_);
  EXPECT_THROW(package_->Execute(events), PlatformError);
}

TEST_F(ScriptObjects, MailGoesByTheServerOfTheSettings) {
  EXPECT_EQ("ok text", Ran(R"(
Set conf = CreateObject("CDO.Configuration")
conf.Fields.Item("http://schemas.microsoft.com/cdo/configuration/sendusing") = 2
conf.Fields("http://schemas.microsoft.com/cdo/configuration/sendpassword") = "hunter"
conf.Fields.Update
Set mail = CreateObject("CDO.Message")
Set mail.Configuration = conf
With mail
  .From = "etl@example.com"
  .To = "a@example.com; b@example.com"
  .CC = "c@example.com"
  .Subject = "Load " & .To
  .TextBody = "plain"
  .AddAttachment "C:\logs\a.txt"
  .Send
  .HTMLBody = "<b>done</b>"
  .TextBody = "left out"
  .Send
End With)"));
  EXPECT_EQ("ok text", Ran(R"(
Set mail = CreateObject("CDONTS.NewMail")
mail.Importance = 1
mail.BCC = "d@example.com"
mail.Body = "before"
mail.Send "from@example.com", "to@example.com", "subject", "body")"));
  ASSERT_EQ(3U, mail_.messages.size());
  const MailMessage &plain = mail_.messages[0], &page = mail_.messages[1],
                    &brief = mail_.messages[2];
  EXPECT_EQ("etl@example.com", plain.from);
  EXPECT_THAT(plain.to, ElementsAre("a@example.com; b@example.com"));
  EXPECT_THAT(plain.cc, ElementsAre("c@example.com"));
  EXPECT_EQ("Load a@example.com; b@example.com", plain.subject);
  EXPECT_EQ("plain", plain.text);
  EXPECT_THAT(plain.attachments, ElementsAre("C:\\logs\\a.txt"));
  EXPECT_FALSE(plain.isHtml);
  EXPECT_EQ("<b>done</b>", page.text);
  EXPECT_TRUE(page.isHtml);
  EXPECT_EQ("from@example.com to@example.com d@example.com subject body",
            brief.from + " " + brief.to.at(0) + " " + brief.bcc.at(0) + " " + brief.subject + " " +
                brief.text);
  for (const MailServer& server : mail_.servers) EXPECT_EQ("", server.server + server.user);

  EXPECT_THAT(Ran("Set mail = CreateObject(\"CDO.Message\")\nmail.To = \"a@example.com\"\n"
                  "mail.TextBody = \"it is dragon!\"\nmail.Send"),
              HasSubstr("would show in the mail"));
  mail_.failure = PlatformError(550, "no such user", "mail");
  EXPECT_THAT(Ran("Set mail = CreateObject(\"CDONTS.NewMail\")\nmail.Send \"a\", \"b\", \"c\", "
                  "\"d\""),
              HasSubstr("no such user"));
}

}  // namespace
}  // namespace torvik::engine
