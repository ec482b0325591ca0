#include "platform/linux/mail/MailConversation.h"

#include <cstdio>
#include <ctime>
#include <new>
#include <random>

#include "platform/linux/curl/CurlLibrary.h"
#include "platform/linux/mail/MailFailure.h"

namespace torvik {
namespace {

/// Unlike that of any other mail.
std::string NewMessageId(const std::string& sender) {
  std::random_device random;
  char text[80];
  std::snprintf(text, sizeof text, "<%08x%08x.%08x%08x", random(), random(), random(), random());
  return text + sender.substr(sender.rfind('@')) + ">";
}

std::tm LocalTime() {
  const std::time_t now = std::time(nullptr);
  std::tm local{};
  localtime_r(&now, &local);
  return local;
}

/// One conversation with a server.
class Conversation {
 public:
  Conversation(const MailDelivery& delivery, const std::atomic<bool>& cancelled)
      : delivery_(delivery), cancelled_(cancelled) {
    InitialiseCurl();
    easy_.reset(curl_easy_init());
    mime_.reset(easy_ ? curl_mime_init(easy_.get()) : nullptr);
    if (!mime_) throw std::bad_alloc();
  }

  void SetHead(const CheckedMail& mail) {
    AddHead("Date: " + MailDate(LocalTime()));
    AddHead("Message-ID: " + NewMessageId(mail.from.address));
    AddHead(HeadLine("From", {mail.from}));
    if (!mail.to.empty()) AddHead(HeadLine("To", mail.to));
    if (!mail.cc.empty()) AddHead(HeadLine("Cc", mail.cc));
    if (mail.to.empty() && mail.cc.empty()) AddHead("To: undisclosed-recipients:;");
    AddHead(HeadLine("Subject", mail.subject));
    Set(CURLOPT_MAIL_FROM, ("<" + mail.from.address + ">").c_str());
    for (const auto* group : {&mail.to, &mail.cc, &mail.bcc})
      for (const MailAddress& one : *group) Append(recipients_, "<" + one.address + ">");
  }

  void AddText(const std::string& text, bool isHtml) {
    curl_mimepart* part = NewPart();
    const std::string lines = WithNetworkLineEnds(text);
    Check(curl_mime_data(part, lines.data(), lines.size()));
    Check(curl_mime_type(part, isHtml ? "text/html; charset=utf-8" : "text/plain; charset=utf-8"));
    Check(curl_mime_encoder(part, "quoted-printable"));
  }

  void AddFile(const CheckedMail::File& file) {
    curl_mimepart* part = NewPart();
    Check(curl_mime_filedata(part, file.path.c_str()));
    Check(curl_mime_type(part, "application/octet-stream"));
    Check(curl_mime_encoder(part, "base64"));
    const std::string line = "Content-Disposition: " + AttachmentDisposition(file.name);
    Check(curl_mime_headers(part, curl_slist_append(nullptr, line.c_str()), 1));
  }

  std::string Run() {
    SetServer();
    SetSecurity();
    Set(CURLOPT_HTTPHEADER, head_.get());
    Set(CURLOPT_MAIL_RCPT, recipients_.get());
    Set(CURLOPT_MIMEPOST, mime_.get());
    Set(CURLOPT_VERBOSE, 1L);
    Set(CURLOPT_DEBUGFUNCTION, &Conversation::Listen);
    Set(CURLOPT_DEBUGDATA, this);
    Set(CURLOPT_ERRORBUFFER, details_);
    Set(CURLOPT_NOPROGRESS, 0L);
    Set(CURLOPT_XFERINFOFUNCTION, &Conversation::GoOn);
    Set(CURLOPT_XFERINFODATA, this);
    const CURLcode result = curl_easy_perform(easy_.get());
    if (result != CURLE_OK) throw ErrorOf(result);
    return taken_.empty() ? reply_ : taken_;
  }

 private:
  static void Check(CURLcode result) {
    if (result != CURLE_OK) throw MailFailure(curl_easy_strerror(result));
  }
  template <class T>
  void Set(CURLoption option, T value) {
    Check(curl_easy_setopt(easy_.get(), option, value));
  }

  using List = Owned<curl_slist, curl_slist_free_all>;
  static void Append(List& list, const std::string& text) {
    curl_slist* longer = curl_slist_append(list.get(), text.c_str());
    if (longer == nullptr) throw std::bad_alloc();
    list.release();
    list.reset(longer);
  }
  void AddHead(const std::string& line) { Append(head_, line); }

  curl_mimepart* NewPart() {
    curl_mimepart* part = curl_mime_addpart(mime_.get());
    if (part == nullptr) throw std::bad_alloc();
    return part;
  }

  void SetServer() {
    url_.reset(curl_url());
    const bool isAddress = delivery_.server.find(':') != std::string::npos;
    const std::string host = isAddress && !delivery_.server.starts_with('[')
                                 ? "[" + delivery_.server + "]"
                                 : delivery_.server;
    const auto set = [&](CURLUPart part, const std::string& text) {
      return curl_url_set(url_.get(), part, text.c_str(), 0) == CURLUE_OK;
    };
    if (!set(CURLUPART_SCHEME, delivery_.tls == MailTls::Smtps ? "smtps" : "smtp") ||
        !set(CURLUPART_HOST, host) || !set(CURLUPART_PORT, std::to_string(delivery_.port)))
      throw MailFailure("\"" + delivery_.server + "\" is not the name of a mail server");
    Set(CURLOPT_CURLU, url_.get());
    Set(CURLOPT_PROXY, "");  // otherwise the environment would decide
    Set(CURLOPT_NOSIGNAL, 1L);
    const auto seconds = static_cast<long>(delivery_.timeoutSeconds);
    Set(CURLOPT_CONNECTTIMEOUT, seconds);
    Set(CURLOPT_SERVER_RESPONSE_TIMEOUT, seconds);
    Set(CURLOPT_LOW_SPEED_LIMIT, 1L);
    Set(CURLOPT_LOW_SPEED_TIME, seconds);
  }

  void SetSecurity() {
    if (!delivery_.user.empty()) {
      Set(CURLOPT_USERNAME, delivery_.user.c_str());
      Set(CURLOPT_PASSWORD, delivery_.password.c_str());
    }
    if (!delivery_.certificates.empty()) Set(CURLOPT_CAINFO, delivery_.certificates.c_str());
    switch (delivery_.tls) {
      case MailTls::Off:
      case MailTls::Smtps: break;
      case MailTls::Try: Set(CURLOPT_USE_SSL, static_cast<long>(CURLUSESSL_TRY)); break;
      case MailTls::Require: Set(CURLOPT_USE_SSL, static_cast<long>(CURLUSESSL_ALL)); break;
    }
  }

  static int GoOn(void* self, curl_off_t, curl_off_t, curl_off_t, curl_off_t) {
    return static_cast<Conversation*>(self)->cancelled_ ? 1 : 0;
  }

  /// Keeps the server's last reply and the recipient that it was about. What else is said, a
  /// password among it, is forgotten.
  static int Listen(CURL*, curl_infotype kind, char* data, std::size_t size, void* self) {
    auto& own = *static_cast<Conversation*>(self);
    std::string_view line(data, size);
    while (line.ends_with('\n') || line.ends_with('\r')) line.remove_suffix(1);
    if (kind == CURLINFO_HEADER_OUT) {
      constexpr std::string_view kRecipient = "RCPT TO:";
      own.recipient_ = line.starts_with(kRecipient) ? line.substr(kRecipient.size()) : "";
      // It may still send its goodbye, which is no answer to the mail.
      if (line.starts_with("QUIT")) own.isOver_ = true;
    } else if (kind == CURLINFO_HEADER_IN && !own.isOver_) {
      own.reply_ = line;
      if (line.starts_with("250")) own.taken_ = line;
      own.refused_ = own.recipient_;
    }
    return 0;
  }

  PlatformError ErrorOf(CURLcode result) const {
    const std::string place =
        "the mail server " + delivery_.server + ":" + std::to_string(delivery_.port);
    if (result == CURLE_ABORTED_BY_CALLBACK)
      return MailFailure(place + ": the mail was given up, because the step is to end");
    const bool isRefusal = !reply_.empty() && (reply_[0] == '4' || reply_[0] == '5') &&
                           result != CURLE_OPERATION_TIMEDOUT;
    std::string words = details_[0] != '\0' ? details_ : curl_easy_strerror(result);
    if (isRefusal) words = (refused_.empty() ? "" : "the recipient " + refused_ + ": ") + reply_;
    const bool isCut =
        result == CURLE_RECV_ERROR || result == CURLE_SEND_ERROR || result == CURLE_GOT_NOTHING;
    if (isCut && !isRefusal) words = "it ended the connection before it had taken the mail";
    if (result == CURLE_USE_SSL_FAILED && !isRefusal)
      words = "it does not offer STARTTLS, and without TLS the mail is not sent; see \"tls\"";
    PlatformError error = MailFailure(place + ": " + words);
    error.isTransient = (isRefusal && reply_[0] == '4') || result == CURLE_COULDNT_CONNECT ||
                        result == CURLE_COULDNT_RESOLVE_HOST;
    return error;
  }

  const MailDelivery& delivery_;
  const std::atomic<bool>& cancelled_;
  Owned<CURLU, curl_url_cleanup> url_;
  List head_, recipients_;
  char details_[CURL_ERROR_SIZE] = "";
  std::string reply_, taken_, recipient_, refused_;
  bool isOver_ = false;
  Owned<CURL, curl_easy_cleanup> easy_;
  Owned<curl_mime, curl_mime_free> mime_;
};

}  // namespace

std::string Converse(const MailDelivery& delivery, const CheckedMail& mail,
                     const std::atomic<bool>& cancelled) {
  Conversation conversation(delivery, cancelled);
  conversation.SetHead(mail);
  conversation.AddText(mail.text, mail.isHtml);
  for (const CheckedMail::File& file : mail.attachments) conversation.AddFile(file);
  return conversation.Run();
}

}  // namespace torvik
