#include "platform/linux/settings/Settings.h"

#include <gmock/gmock.h>

#include "fakes/TemporaryDirectory.h"
#include "platform/linux/settings/SettingsFile.h"

namespace torvik {
namespace {

using testing::ElementsAre;
using testing::Pair;
using testing::StartsWith;

TEST(Settings, TakesTheFileOver) {
  Settings settings;
  ASSERT_EQ(
      ParseSettings(
          "; the machine's own\r\n"
          "[Text]\n code_page = utf-8   ; of everything\n"
          "[paths]\nDrive C: = /srv/c;1\t;comment\n"
          "share \\\\Files\\In = \"/mnt/a ; b\" ; comment\n"
          "[ftp]\nMode = Passive ; or active\ntls = require\ntimeout = 5\nport=65535\ntype=Binary\n"
          "certificates = /etc/ftp.pem\n"
          "[scripts]\ndirectories = C:\\in; /srv/lists;\nshell = yes\n[run]\nwait_for_other_run = "
          "60\n"
          "[mail]\nserver = mail ; x\nport = 587\ntls = Require\nuser = etl\n"
          "password_file = /etc/mail\nfrom = Torvik <t@example.com>\ntimeout = 9\n"
          "certificates = /etc/mail.pem\n"
          "[server DWProd\\First]\nbackend = ODBC\ndriver = FreeTDS ; or dsn\n"
          "Port = 1433\n"
          "User = etl\npassword_file = /etc/dw\n"
          "[ftp Host]\nuser = ftp\npassword_credential = ftp-pw\n"
          "[server (local)]\ndirectory = /srv/local\n"
          "[provider MSDAORA.1]\ndriver = x\n"
          "[smb Files]\ncredentials = /etc/files\nkerberos = yes\n"
          "[smb]\nuser = etl\nPassword = \"a ; b\"\ntimeout = 7\n"
          "[smb new]\npassword_file = /etc/new\n"
          "[smb old]\ndomain = DW\nport = 4450\n"
          "[monitor Sales]\nping_url_file = /etc/sales\n[notify Sales]\nmail_to =\n"
          "[monitor]\ntextfile_directory = /m\nPing_URL = HTTPS://h/a?b#c ; d\n"
          "[notify]\nmail_to = a@x, b@y\ncommand = page \"to me\" ; x\ncommand_on = Always\n",
          settings),
      "");
  EXPECT_EQ(settings.codePage, "utf-8");
  EXPECT_THAT(settings.drives, ElementsAre(Pair("c", "/srv/c;1")));
  EXPECT_THAT(settings.shares, ElementsAre(Pair("\\\\files\\in", "/mnt/a ; b")));
  EXPECT_TRUE(settings.ftp.passive);
  EXPECT_EQ(settings.ftp.tls, FtpSettings::Tls::Require);
  EXPECT_EQ(settings.ftp.timeoutSeconds, 5);
  EXPECT_EQ(settings.ftp.port, 65535);
  EXPECT_EQ(settings.ftp.type, FtpSettings::Type::Binary);
  EXPECT_EQ(settings.ftp.certificates, "/etc/ftp.pem");
  EXPECT_EQ(settings.waitForOtherRunSeconds, 60);
  EXPECT_THAT(settings.scriptDirectories, ElementsAre("C:\\in", "/srv/lists"));
  EXPECT_TRUE(settings.scriptsMayStartPrograms);
  const MailSettings& mail = settings.mail;
  EXPECT_EQ(mail.server + mail.user + mail.password.file + mail.from + mail.certificates,
            "mailetl/etc/mailTorvik <t@example.com>/etc/mail.pem");
  EXPECT_EQ(mail.port + mail.timeoutSeconds, 587 + 9);
  EXPECT_EQ(mail.tls, MailTls::Require);
  const SmbSettings files = settings.Smb("FILES"), old = settings.Smb("old");
  EXPECT_EQ(files.user + files.password + files.credentials, "/etc/files");
  EXPECT_EQ(files.section, "smb files");
  EXPECT_TRUE(files.kerberos);
  EXPECT_EQ(files.timeoutSeconds, 7);
  EXPECT_EQ(old.user + "," + old.password + "," + old.domain, "etl,a ; b,DW");
  EXPECT_EQ(old.port, 4450);
  const SmbSettings fresh = settings.Smb("new");
  EXPECT_EQ(fresh.user + "," + fresh.password + "," + fresh.passwordReference.file,
            "etl,,/etc/new");
  EXPECT_EQ(settings.ftp.logons.at("host").user, "ftp");
  EXPECT_EQ(settings.ftp.logons.at("host").password.credential, "ftp-pw");
  const auto& [monitor, notify] = settings.alarms;
  EXPECT_EQ(monitor.at("").textfileDirectory + monitor.at("").pingUrl, "/mHTTPS://h/a?b#c");
  EXPECT_EQ(monitor.at("sales").textfileDirectory + monitor.at("sales").pingUrl,
            "/mfile:/etc/sales");
  EXPECT_THAT(notify.at("").command, ElementsAre("page", "to me"));
  EXPECT_EQ(notify.at("").mailTo + notify.at("sales").mailTo, "a@x, b@y");
  EXPECT_EQ(notify.at("sales").commandOn, NotifyOn::Always);
  EXPECT_EQ(settings.Smb("others").port, 445);
  EXPECT_EQ(settings.Smb("others").user, "etl");
  const ServerSettings* server = settings.FindServer("DWPROD\\first");
  ASSERT_NE(server, nullptr);
  EXPECT_EQ(server->backend, "odbc");
  EXPECT_EQ(server->logon.user + server->logon.password.file, "etl/etc/dw");
  EXPECT_THAT(server->options, ElementsAre(Pair("driver", "FreeTDS"), Pair("port", "1433")));
  const ServerSettings* local = settings.FindServer("(LOCAL)");
  ASSERT_NE(local, nullptr);
  EXPECT_EQ(local->backend, "embedded");
  EXPECT_EQ(local->directory, "/srv/local");
  EXPECT_EQ(settings.FindServer("other"), nullptr);
}

TEST(Settings, TellsWhereAndWhyTheFileIsWrong) {
  const std::pair<const char*, std::string> cases[] = {
      {"x = 1", "line 1: a [SECTION] must come before the first key"},
      {"\n[sever DW]\n", "line 2: the section [sever DW] is not known; there are [text]"},
      {"[server]\n", "line 1: the section [server] is not known"},
      {"[text]\nencoding = x\n", "line 2: [text] has no key \"encoding\"; there is code_page"},
      {"[text]\r\n\r\ncode_page = utf-99 ; x\r\n", "line 3: \"utf-99\" is not a single-byte"},
      {"[text]\ncode_page\n", "line 2: this is neither [SECTION] nor KEY = VALUE"},
      {"[paths]\ndrive C = /c\n", "line 2: [paths] has no key \"drive c\"; there are \"drive X:\""},
      {"[paths]\nshare \\\\files = /c\n", "line 2: [paths] has no key \"share \\\\files\""},
      {"[paths]\nshare \\\\a\\b\\c = /c\n", "line 2: [paths] has no key"},
      {"[paths]\ndrive C: = c\n", "line 2: a directory is given by its full path"},
      {"[paths]\ndrive C: = /c\n\ndrive c: = /d\n", "line 4: \"drive c:\" is given twice"},
      {"[scripts]\ndirectory = x\n", "line 2: [scripts] has no key \"directory\"; there are dir"},
      {"[mail]\npassword = x\n", "line 2: [mail] has no key \"password\"; there are server, port"},
      {"[mail]\ntls = yes\n", "line 2: tls is off, try, require or smtps"},
      {"[mail]\npassword_file = x\n", "line 2: a file is given by its full path"},
      {"[run]\nwait = 1\n", "line 2: [run] has no key \"wait\"; there is wait_for_other_run"},
      {"[run]\nwait_for_other_run = -1\n",
       "line 2: wait_for_other_run is a number of seconds from 0 to 604800"},
      {"[ftp]\nmode = on\n", "line 2: mode is active or passive"},
      {"[ftp]\ntype = i\n", "line 2: type is ascii or binary"},
      {"[ftp]\ntls = yes\n", "line 2: tls is off, try or require"},
      {"[ftp]\ntimeout = 0\n", "line 2: timeout is a number of seconds from 1 to 3600"},
      {"[ftp]\ntimeout = 5s\n", "line 2: timeout is a number"},
      {"[ftp]\ntimeout = 99999999999\n", "line 2: timeout is a number"},
      {"[ftp]\ncertificates = x\n", "line 2: a file is given by its full path"},
      {"[ftp]\nport = 0\n", "line 2: port is a number from 1 to 65535"},
      {"[ftp]\ntls = try\nport = 990\n", "line 2: [ftp]: tls needs data connections from here"},
      {"[ftp]\nhost = x\n", "line 2: [ftp] has no key \"host\"; there are mode, type, tls, cert"},
      {"[smb]\nuser = a\n[smb h]\ntime = 1\n", "line 4: [smb] has no key \"time\"; there are user"},
      {"[smb]\npassword = a\ncredentials = /c\n", "line 3: password, password_file, "},
      {"[smb]\npassword_file = /a\npassword_credential = b\n", "line 3: password_file and pass"},
      {"[mail]\npassword_credential = a/b\n", "line 2: a credential is given by its name"},
      {"[ftp h]\npassword_file = /a\n", "line 1: [ftp h]: there is a password and no user"},
      {"[ftp h]\nmode = active\n", "line 2: [ftp HOST] has no key \"mode\""},
      {"[server X]\nbackend = odbc\npassword_file = /a\n", "line 1: [server x]: there is a pass"},
      {"[server (local)]\nuser = a\n", "line 1: [server (local)]: an embedded server knows no u"},
      {"[smb]\ncredentials = c\n", "line 2: a file is given by its full path"},
      {"[smb]\nkerberos = true\n", "line 2: kerberos is yes or no"},
      {"[smb]\ntimeout = 3601\n", "line 2: timeout is a number of seconds from 1 to 3600"},
      {"[smb]\nport = 65536\n", "line 2: port is a number"},
      {"[monitor]\nurl = x\n",
       "line 2: [monitor] has no key \"url\"; there are textfile_directory"},
      {"[monitor a]\ntextfile_directory = m\n", "line 2: textfile_directory is a full path"},
      {"[monitor]\nping_url = secret\n", "line 2: ping_url begins with http:// or https://"},
      {"[monitor]\nping_url_file = m\n", "line 2: a file is given by its full path"},
      {"[notify a]\nmail = x\n", "line 2: [notify] has no key \"mail\"; there are mail_to"},
      {"[notify]\n[history]\nenabled = no\n", "line 1: alarms are raised from the history"},
      {"[history]\nenabled = no\nserver = X\n", "line 3: runs are sent from the history"},
      {"[history]\nkeep = 1\n", "line 2: [history] has no key \"keep\"; there are enabled"},
      {"[notify]\ncommand_on = never\n", "line 2: command_on is failure, change or always"},
      {"[server X]\nbackend = sqlite\n", "line 2: the backend \"sqlite\" is not known"},
      {"[server X]\n[server Y]\nbackend = odbc\n", "line 1: [server x]: no backend is named"},
      {"\n[server X]\nbackend = embedded\n", "line 2: [server x]: an embedded server needs a"},
      {"[server (local)]\nport = 1\n", "line 1: [server (local)]: an embedded server has no key"},
      {"[server X]\nbackend = embedded\ndirectory = x\n", "line 3: a directory is given by its"}};
  for (const auto& [text, problem] : cases) {
    Settings settings;
    settings.sourceFile = "t.conf";
    EXPECT_THAT(ParseSettings(text, settings), StartsWith("t.conf, " + problem)) << text;
  }
}

using Variables = std::map<std::string, std::string>;

TEST(Settings, StateHasItsPlace) {
  const std::tuple<bool, Variables, std::string, std::string> cases[] = {
      {true, {{"TORVIK_STATE", "/s"}, {"HOME", "/h"}}, "/s", "/s/tmp"},
      {true, {{"HOME", "/h"}}, "/var/lib/torvik", "/var/lib/torvik/tmp"},
      {false, {{"HOME", "/h"}, {"TMPDIR", "/t"}}, "/h/.local/state/torvik", "/t"},
      {false,
       {{"XDG_STATE_HOME", "/x"}, {"HOME", "/h"}, {"TMPDIR", ""}},
       "/x/torvik",
       "/x/torvik/tmp"}};
  for (auto [keepsMachineState, variables, state, temporary] : cases) {
    variables["TORVIK_CONF"] = "/dev/null";
    Settings settings;
    EXPECT_EQ(LoadSettings({variables, keepsMachineState}, settings), "") << state;
    EXPECT_EQ(settings.stateDirectory, state);
    EXPECT_EQ(settings.temporaryDirectory, temporary);
    EXPECT_EQ(settings.codePage, "windows-1252");
    EXPECT_EQ(settings.FindServer("(local)")->backend, "embedded");
    EXPECT_EQ(settings.FindServer("(local)")->directory, state + "/servers/local");
  }
  Settings settings;
  EXPECT_THAT(LoadSettings({}, settings), StartsWith("there is no directory for"));
}

TEST(Settings, TheFileIsLookedForInItsOrder) {
  TemporaryDirectory disk;
  disk.Write("own.conf", "[own]\n");
  disk.Write("user/torvik/torvik.conf", "[server (local)]\nbackend = odbc\n");
  disk.Write("home/.config/torvik/torvik.conf", "[home]\n");
  Variables variables;
  const auto load = [&](const char* variable, const std::string& value, Settings& settings) {
    variables[variable] = disk.PathOf(value);
    return LoadSettings({variables, false}, settings);
  };
  Settings settings;
  EXPECT_EQ(load("HOME", "home", settings),
            disk.PathOf("home/.config/torvik/torvik.conf") +
                ", line 1: the section [home] is not known; there are [text], [paths], [ftp], "
                "[ftp HOST], [mail], [scripts], [programs], [run], [history], [limit NAME], [smb], "
                "[smb HOST], "
                "[monitor], [monitor JOB], [notify], [notify JOB], [server NAME], [provider NAME]");
  settings = {};
  EXPECT_EQ(load("XDG_CONFIG_HOME", "user", settings), "");
  EXPECT_EQ(settings.sourceFile, disk.PathOf("user/torvik/torvik.conf"));
  EXPECT_EQ(settings.FindServer("(local)")->backend, "odbc");
  EXPECT_EQ(settings.FindServer("(local)")->directory, "");
  disk.Write("secret.conf", "[smb h]\npassword = geheim\n");
  disk.SetMode("secret.conf", 0640);
  EXPECT_EQ(load("TORVIK_CONF", "secret.conf", settings),
            disk.PathOf("secret.conf") +
                " holds a password and has the mode 0640, so that others may use it; run chmod "
                "600 " +
                disk.PathOf("secret.conf"));
  disk.SetMode("secret.conf", 0600);
  EXPECT_EQ(load("TORVIK_CONF", "secret.conf", settings), "");
  EXPECT_THAT(load("TORVIK_CONF", "own.conf", settings), StartsWith(disk.PathOf("own.conf, line")));
  EXPECT_EQ(load("TORVIK_CONF", "gone.conf", settings),
            disk.PathOf("gone.conf") + " cannot be read: No such file or directory");
}

}  // namespace
}  // namespace torvik
