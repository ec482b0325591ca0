#include "engine/model/EngineServices.h"
#include "engine/model/TaskReader.h"
#include "engine/model/Variables.h"
#include "engine/tasks/Tasks.h"
#include "platform/Mail.h"

namespace torvik::engine {
namespace {

class SendMailTask final : public Task {
 public:
  explicit SendMailTask(TaskReader& reader)
      : from_(Optional(reader, "from")),
        to_(Addresses(reader, "to")),
        cc_(Addresses(reader, "cc")),
        bcc_(Addresses(reader, "bcc")),
        subject_(reader.RequiredTemplate("subject")),
        text_(Optional(reader, "text")),
        attachments_(reader.Templates("attachments")),
        server_(Optional(reader, "server")),
        user_(Optional(reader, "user")),
        passwordFile_(Optional(reader, "password_file")) {
    RefusePasswords(reader);
    if (to_.empty() && cc_.empty() && bcc_.empty())
      reader.Problem(reader.Table().Place(), "the mail goes to nobody; add \"to\"");
    port_ = reader.Table().Integer("port", 0);
    if (reader.Table().Find("port") != nullptr && (port_ < 1 || port_ > 65535))
      reader.Problem(reader.Table().Find("port")->place, "\"port\" is a number from 1 to 65535");
    if (const auto tls = reader.Choice("tls", {"off", "try", "require", "smtps"}))
      tls_ = TlsOf(tls->text);
  }

  bool CanJoin() const override { return false; }

  TaskResult Run(TaskContext& context) const override {
    const Variables& variables = context.GlobalVariables();
    const auto value = [&](const PlacedText& text) { return variables.Substitute(text.text); };
    const auto values = [&](const std::vector<PlacedText>& texts) {
      std::vector<std::string> all;
      for (const PlacedText& text : texts) all.push_back(value(text));
      return all;
    };
    const std::string reply = context.Services().mail.Send(
        {value(from_), values(to_), values(cc_), values(bcc_), value(subject_), value(text_),
         values(attachments_)},
        {value(server_), static_cast<int>(port_), tls_, value(user_), value(passwordFile_)},
        context.Cancelled());
    context.Output("the mail server has taken the mail: " + reply);
    return std::nullopt;
  }

 private:
  static PlacedText Optional(TaskReader& reader, const char* key) {
    return reader.Template(key).value_or(PlacedText{});
  }

  /// A text or a list of texts.
  static std::vector<PlacedText> Addresses(TaskReader& reader, const char* key) {
    const TomlValue* value = reader.Table().Find(key);
    if (value == nullptr) return {};
    if (std::holds_alternative<TomlArray>(value->data)) return reader.Templates(key);
    return {Optional(reader, key)};
  }

  /// A mail is read by others.
  void RefusePasswords(TaskReader& reader) const {
    for (const PlacedText* text : {&subject_, &text_}) reader.RefusePassword(*text, "the mail");
  }

  static MailTls TlsOf(const std::string& word) {
    if (word == "off") return MailTls::Off;
    if (word == "try") return MailTls::Try;
    return word == "require" ? MailTls::Require : MailTls::Smtps;
  }

  PlacedText from_;
  std::vector<PlacedText> to_, cc_, bcc_;
  PlacedText subject_, text_;
  std::vector<PlacedText> attachments_;
  PlacedText server_, user_, passwordFile_;
  std::int64_t port_ = 0;
  std::optional<MailTls> tls_;
};

}  // namespace

std::unique_ptr<Task> ReadSendMailTask(TaskReader& reader) {
  return std::make_unique<SendMailTask>(reader);
}

}  // namespace torvik::engine
