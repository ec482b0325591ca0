#include "platform/linux/mail/MailCurl.h"

#include <gmock/gmock.h>

#include <thread>

#include "platform/PlatformError.h"
#include "scenarios/Sandbox.h"
#include "servers/Certificate.h"
#include "servers/PrivateServer.h"

namespace torvik {
namespace {

using testing::AllOf;
using testing::HasSubstr;
using testing::Not;

class MailCurlTest : public testing::Test {
 protected:
  void Start(const std::string& rules) {
    peer_ = std::make_unique<PrivateServer>("../tests/servers/smtp-peer.py",
                                            rules + "certificate " + Certificate() + "\n");
    settings_ = {"127.0.0.1", peer_->Port()};
    settings_.from = "Torvik <torvik@example.com>";
    settings_.certificates = Certificate();
    settings_.password.file = disk_.PathOf("password");
    settings_.timeoutSeconds = 1;
    disk_.Write("password", "geheim\r\n");
    disk_.SetMode("password", 0600);
  }

  /// The server's last words, or the error's.
  std::string Send(const MailMessage& message, const MailServer& server = {}) {
    try {
      return NewMailCurl(settings_, PathMap({{"c", disk_.Path()}}, {}, ""))
          ->Send(message, server, cancelled_);
    } catch (const PlatformError& error) {
      isTransient_ = error.isTransient;
      return error.Description();
    }
  }

  static MailMessage Plain() { return {"", {"a@example.com"}, {}, {}, "subject", "text", {}}; }

  /// With its key, made once.
  static std::string Certificate() {
    static const TemporaryDirectory disk;
    static const std::string made = NewCertificate(disk);
    return made;
  }

  TemporaryDirectory disk_;
  std::unique_ptr<PrivateServer> peer_;
  MailSettings settings_;
  std::atomic<bool> cancelled_ = false;
  bool isTransient_ = false;
};

TEST_F(MailCurlTest, AMailArrivesAsItWasWritten) {
  Start("");
  std::string bytes;
  for (int i = 0; bytes.size() < 1 << 20; ++i) bytes += "\r\n.\r\n\n\r" + std::to_string(i) + '\0';
  disk_.Write("Z\u00e4hlung \"1\".bin", bytes);
  const std::string text = ".dot\n..\r\nlong " + std::string(2000, 'x') + "\nend \u20ac = \t\n";
  const std::string subject =
      "Lauf beendet: \u00c4nderungen \u6f22\u5b57 " + std::string(90, 'y') + " =?utf-8?q?x?=";
  EXPECT_EQ(Send({"",
                  {"J\u00f6rg M\u00fcller <jm@example.com>; \"Doe, \u00c9\" <d@example.com>"},
                  {"c@example.com"},
                  {"hidden@example.com"},
                  subject,
                  text,
                  {"C:\\Z\u00e4hlung \"1\".bin"}}),
            "250 2.0.0 queued as 4711");
  EXPECT_EQ(peer_->Read("faults"), "");
  EXPECT_EQ(peer_->Read("from"), "Torvik <torvik@example.com>");
  EXPECT_THAT(peer_->Read("to"), AllOf(HasSubstr("J\u00f6rg M\u00fcller <jm@example.com>"),
                                       HasSubstr("\"Doe, \u00c9\" <d@example.com>")));
  EXPECT_EQ(peer_->Read("cc") + peer_->Read("bcc"), "c@example.comNone");
  EXPECT_EQ(peer_->Read("subject"), subject);
  std::string arrived = peer_->Read("text");
  std::erase(arrived, '\r');
  EXPECT_EQ(arrived, ".dot\n..\nlong " + std::string(2000, 'x') + "\nend \u20ac = \t\n");
  EXPECT_TRUE(peer_->Read("attachment") == bytes) << "the bytes differ";
  EXPECT_EQ(peer_->Read("attachment-name"), "Z\u00e4hlung \"1\".bin");
  EXPECT_THAT(peer_->Read("commands"), HasSubstr("RCPT TO:<hidden@example.com>"));
}

TEST_F(MailCurlTest, APageArrivesAsOne) {
  for (const bool isHtml : {false, true}) {
    Start("");
    MailMessage message = Plain();
    message.isHtml = isHtml;
    EXPECT_EQ(Send(message), "250 2.0.0 queued as 4711");
    EXPECT_EQ(peer_->Read("text-type"), isHtml ? "text/html" : "text/plain");
  }
}

TEST_F(MailCurlTest, ProtectionAndLogonAreAsTheSettingsSay) {
  const std::string login = "login etl geheim\nneed-login\noffer AUTH\n", tls = "offer STARTTLS\n";
  const struct {
    std::string rules;
    MailTls tls;
    const char* user;
    const char* words;
    bool isProtected;
  } cases[] = {
      {"", MailTls::Try, "", "250", false},
      {tls, MailTls::Try, "", "250", true},
      {tls + login, MailTls::Try, "etl", "250", true},
      {tls + login, MailTls::Require, "other", "535 5.7.8 wrong user or password", true},
      {login, MailTls::Off, "etl", "250", false},
      {login, MailTls::Off, "", "530 5.7.0 log on first", false},
      {login, MailTls::Try, "etl", "it does not offer STARTTLS", false},
      {"", MailTls::Require, "", "it does not offer STARTTLS", false},
      {"smtps\n" + login, MailTls::Smtps, "etl", "250", false},
  };
  for (const auto& c : cases) {
    Start(c.rules);
    settings_.tls = c.tls;
    settings_.user = c.user;
    EXPECT_THAT(Send(Plain()), AllOf(HasSubstr(c.words), Not(HasSubstr("geheim")))) << c.rules;
    const std::string commands = peer_->Read("commands");
    EXPECT_EQ(commands.find("STARTTLS") != std::string::npos, c.isProtected) << c.rules;
    const bool mayLogOn = c.isProtected || c.tls != MailTls::Try;
    EXPECT_TRUE(mayLogOn || commands.find("AUTH") == std::string::npos) << c.rules;
  }
  settings_.certificates = "";
  settings_.tls = MailTls::Smtps;
  EXPECT_THAT(Send(Plain()), HasSubstr("certificate"));
}

TEST_F(MailCurlTest, TheServersOwnWordsTellWhyItFailed) {
  const struct {
    const char* rules;
    const char* words;
    bool isTransient;
  } cases[] = {
      {"answer RCPT 550 5.1.1 no such user\n", "recipient <a@example.com>: 550 5.1.1 no such user",
       false},
      {"answer MAIL 451 4.3.0 try later\n", "451 4.3.0 try later", true},
      {"answer CONNECT 554 not you\n", "554 not you", false},
      {"answer DATA drop\n", "it ended the connection", false},
      {"answer CONNECT drop\n", "it ended the connection", false},
      {"answer MAIL hang\n", "response timeout", false},
  };
  for (const auto& c : cases) {
    Start(c.rules);
    EXPECT_THAT(Send(Plain()), AllOf(HasSubstr(c.words), Not(HasSubstr("250")))) << c.rules;
    EXPECT_EQ(isTransient_, c.isTransient) << c.rules;
  }
  peer_->Stop();
  EXPECT_THAT(Send(Plain()), HasSubstr("connect"));
  EXPECT_TRUE(isTransient_);
}

TEST_F(MailCurlTest, WhatIsWrongWithAMailIsToldBeforeItIsSent) {
  Start("");
  disk_.Write("open", "geheim");
  disk_.SetMode("open", 0644);
  const std::string open = disk_.PathOf("open");
  const struct {
    std::string to, subject, attachment;
    MailServer server;
    const char* words;
  } cases[] = {
      {"a@example.com\r\nBcc: x@example.com", "s", "", {}, "an address of the mail holds a line"},
      {"a@example.com", "s\nBcc: x@example.com", "", {}, "the subject of the mail holds a line"},
      {"a@example.com", "s", "x\ny", {}, "the name of an attachment of the mail holds a line"},
      {"example.com", "s", "", {}, "\"example.com\" is not a mail address"},
      {"J\u00f6rg@example.com", "s", "", {}, "is not a mail address"},
      {"a@example.com> SIZE=1", "s", "", {}, "is not a mail address"},
      {" ; ", "s", "", {}, "the mail goes to nobody"},
      {"a@example.com", "s", "/no/such", {}, "/no/such cannot be read: No such file"},
      {"a@example.com", "s", "/dev/null", {}, "is not a file that can be sent"},
      {"a@example.com", "s", "", {"", 0, {}, "u", open}, "chmod 600"},
      // The logon of the settings is for their own server alone.
      {"a@example.com", "s", "", {"127.0.0.2", 1, {}, "u", ""}, "no file holds the password"},
  };
  for (const auto& c : cases) {
    MailMessage message{"", {c.to}, {}, {}, c.subject, "", {}};
    if (!c.attachment.empty()) message.attachments = {c.attachment};
    EXPECT_THAT(Send(message, c.server), HasSubstr(c.words)) << c.to << c.subject << c.attachment;
  }
  EXPECT_EQ(peer_->Read("commands"), "") << "nothing is said to the server";
}

TEST_F(MailCurlTest, AJobTellsOfItsFailureByTheSettings) {
  Start("");
  Sandbox sandbox;
  sandbox.AddSettings("[mail]\nserver = 127.0.0.1\nport = " + std::to_string(peer_->Port()) +
                      "\nfrom = torvik@example.com\n");
  sandbox.PutPackage("P", R"([[steps]]
name = "look"
task = "File"
action = "copy"
path = 'S:\orders.csv'
to = 'S:\work\'
[[steps]]
name = "tell"
after = [ { step = "look", on = "failure" } ]
task = "SendMail"
to = "a@example.com"
subject = "the load has failed"
attachments = [ '${ExceptionFilePath}P.log' ]
)");
  sandbox.WriteJob("p.etl", "P");
  EXPECT_EQ(sandbox.Run({"torvik-admin", "run", "p.etl"}).exitCode, 1);
  EXPECT_EQ(peer_->Read("subject"), "the load has failed");
  EXPECT_THAT(peer_->Read("attachment"), HasSubstr("S:\\orders.csv: there is no such file"));
}

TEST_F(MailCurlTest, ASilentServerIsLeftWhenTheStepIsToEnd) {
  Start("answer MAIL hang\n");
  settings_.timeoutSeconds = 60;
  std::thread canceller([&] {
    while (peer_->Read("commands").find("MAIL") == std::string::npos) std::this_thread::yield();
    cancelled_ = true;
  });
  EXPECT_THAT(Send(Plain()), HasSubstr("the step is to end"));
  canceller.join();
}

}  // namespace
}  // namespace torvik
