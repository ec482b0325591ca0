#include <string>
#include <utility>

#include "engine/model/EngineServices.h"
#include "engine/model/PackageControl.h"
#include "engine/model/ScriptClasses.h"
#include "platform/Mail.h"
#include "platform/PlatformError.h"
#include "script/Conversion.h"
#include "script/Functions.h"
#include "script/Object.h"

namespace torvik::engine {
namespace {

using script::Value;
using MailArguments = std::span<const Value>;

std::string TextAt(MailArguments arguments, std::size_t position) {
  const bool isGiven =
      arguments.size() > position && !arguments[position].Is(script::Kind::Missing);
  return isGiven ? script::ToText(arguments[position]) : "";
}

std::vector<std::string> OneOrNone(const std::string& addresses) {
  return addresses.empty() ? std::vector<std::string>() : std::vector{addresses};
}

/// Hands the mail to the server of the settings.
void SendByHost(const ScriptHost& host, const MailMessage& message) {
  host.RefusePasswords(message.subject + "\n" + message.text, "the mail");
  const std::string reply = host.services.mail.Send(message, {}, host.cancelled);
  host.package.WriteLog(host.step, "the mail server has taken the mail: " + reply);
}

/// The fields of a configuration: which server, port and logon. Those of the settings are used, so
/// that no password stands in a script.
class MailFields final : public script::Object {
 public:
  std::string_view TypeName() const override { return "Fields"; }
  int FindMember(std::string_view name) const override {
    static constexpr std::string_view kMembers[] = {"item", "update"};
    return script::MemberNamed(kMembers, name);
  }
  Value Invoke(script::Context&, int, MailArguments) override { return {}; }
  void Put(script::Context&, int, MailArguments, const Value&) override {}
};

class MailConfiguration final : public script::Object {
 public:
  std::string_view TypeName() const override { return "Configuration"; }
  int FindMember(std::string_view name) const override {
    static constexpr std::string_view kMembers[] = {"fields", "load"};
    return script::MemberNamed(kMembers, name);
  }
  Value Invoke(script::Context& context, int member, MailArguments arguments) override {
    if (member != 0) return {};
    const Value fields = script::NewObject<MailFields>();
    return arguments.empty() ? fields : fields.AsObject()->Invoke(context, 0, arguments);
  }
  /// configuration.Fields("...smtpserver") = "..."
  void Put(script::Context&, int, MailArguments, const Value&) override {}
};

/// A mail whose parts have other names in each of the two classes.
class MailObject final : public script::Object {
 public:
  enum class Class { Message, Short };

  MailObject(std::shared_ptr<ScriptHost> host, Class kind)
      : host_(std::move(host)), isShort_(kind == Class::Short) {}

  std::string_view TypeName() const override { return isShort_ ? "NewMail" : "IMessage"; }
  int FindMember(std::string_view name) const override {
    static constexpr std::string_view kMembers[] = {
        "from",       "to",         "cc",        "bcc",           "subject",    "textbody",
        "htmlbody",   "body",       "send",      "addattachment", "attachfile", "configuration",
        "bodyformat", "mailformat", "importance"};
    return name.empty() ? NoMember : script::MemberNamed(kMembers, name);
  }

  Value Invoke(script::Context& context, int member, MailArguments arguments) override {
    switch (member) {
      case kSend: Send(arguments); return {};
      case kAddAttachment:
      case kAttachFile:
        script::ExpectArguments(arguments, 1, 3);
        message_.attachments.push_back(script::ToText(arguments[0]));
        return {};
      case kConfiguration: return script::NewObject<MailConfiguration>();
      case kBodyFormat:
      case kMailFormat:
      case kImportance: return Value::OfLong(0);
      default: return script::NewText(context, Part(member));
    }
  }

  void Put(script::Context&, int member, MailArguments, const Value& value) override {
    switch (member) {
      case kSend:
      case kAddAttachment:
      case kAttachFile: throw script::RuntimeError(450);
      case kConfiguration:
      case kMailFormat:
      case kImportance: return;  // how it goes is the settings' affair
      case kBodyFormat: message_.isHtml = script::ToLong(value) == kHtmlFormat; return;
      case kHtmlBody: message_.isHtml = true; break;
      case kTextBody:
        // Of a mail that has both, the page is sent.
        if (message_.isHtml) return;
        break;
      default: break;
    }
    Part(member) = script::ToText(value);
  }

 private:
  enum Member {
    kFrom,
    kTo,
    kCc,
    kBcc,
    kSubject,
    kTextBody,
    kHtmlBody,
    kBody,
    kSend,
    kAddAttachment,
    kAttachFile,
    kConfiguration,
    kBodyFormat,
    kMailFormat,
    kImportance
  };
  static constexpr std::int32_t kHtmlFormat = 0;  ///< CdoBodyFormatHTML.

  std::string& Part(int member) {
    switch (member) {
      case kFrom: return message_.from;
      case kTo: return to_;
      case kCc: return cc_;
      case kBcc: return bcc_;
      case kSubject: return message_.subject;
      default: return message_.text;
    }
  }

  /// The short class takes Send(from, to, subject, body, importance).
  void Send(MailArguments arguments) {
    script::ExpectArguments(arguments, 0, isShort_ ? 5 : 0);
    static constexpr int kInOrder[] = {kFrom, kTo, kSubject, kBody};
    for (std::size_t i = 0; i < std::size(kInOrder); ++i)
      if (const std::string text = TextAt(arguments, i); !text.empty()) Part(kInOrder[i]) = text;
    message_.to = OneOrNone(to_);
    message_.cc = OneOrNone(cc_);
    message_.bcc = OneOrNone(bcc_);
    SendByHost(*host_, message_);
  }

  const std::shared_ptr<ScriptHost> host_;
  const bool isShort_;
  MailMessage message_;
  std::string to_, cc_, bcc_;
};

}  // namespace

Value NewMailMessage(const std::shared_ptr<ScriptHost>& host) {
  return script::NewObject<MailObject>(host, MailObject::Class::Message);
}

Value NewShortMail(const std::shared_ptr<ScriptHost>& host) {
  return script::NewObject<MailObject>(host, MailObject::Class::Short);
}

Value NewMailConfiguration(const std::shared_ptr<ScriptHost>&) {
  return script::NewObject<MailConfiguration>();
}

}  // namespace torvik::engine
