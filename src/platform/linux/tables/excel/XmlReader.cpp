#include "platform/linux/tables/excel/XmlReader.h"

#include <expat.h>

#include <exception>
#include <memory>

namespace torvik {
namespace {

std::string_view WithoutPrefix(std::string_view name) {
  return name.substr(name.find(':') + 1);
}

/// Nothing may be thrown through the library: what the handler throws waits here.
class Parse {
 public:
  explicit Parse(XmlHandler& handler) : handler_(handler), parser_(XML_ParserCreate(nullptr)) {
    XML_SetUserData(parser_.get(), this);
    XML_SetElementHandler(parser_.get(), OnBegin, OnEnd);
    XML_SetCharacterDataHandler(parser_.get(), OnText);
    XML_SetStartDoctypeDeclHandler(parser_.get(), OnDocumentType);
  }

  std::string Run(const std::function<std::string_view()>& nextChunk) {
    for (;;) {
      const std::string_view chunk = nextChunk();
      // The library collects what it cannot hand on yet, up to gigabytes.
      unheard_ += chunk.size();
      if (unheard_ > kLongestTag) return Place() + "a tag or name is longer than 16 MiB";
      const XML_Status status =
          XML_Parse(parser_.get(), chunk.data(), static_cast<int>(chunk.size()), chunk.empty());
      if (thrown_) std::rethrow_exception(thrown_);
      if (status != XML_STATUS_OK) return Problem();
      if (chunk.empty()) return "";
    }
  }

 private:
  static constexpr std::size_t kLongestTag = std::size_t{16} << 20;

  std::string Problem() const {
    const std::string reason = hasDocumentType_ ? "a document type, which may not be there"
                                                : XML_ErrorString(XML_GetErrorCode(parser_.get()));
    return Place() + reason;
  }

  std::string Place() const {
    return "line " + std::to_string(XML_GetCurrentLineNumber(parser_.get())) + ": ";
  }

  template <typename Action>
  void Guarded(const Action& action) {
    unheard_ = 0;
    if (thrown_) return;
    try {
      action();
    } catch (...) {
      thrown_ = std::current_exception();
      XML_StopParser(parser_.get(), XML_FALSE);
    }
  }

  static Parse& Of(void* self) { return *static_cast<Parse*>(self); }
  static void OnBegin(void* self, const char* name, const char** attributes) {
    Of(self).Guarded(
        [&] { Of(self).handler_.Begin(WithoutPrefix(name), XmlAttributes(attributes)); });
  }
  static void OnEnd(void* self, const char* name) {
    Of(self).Guarded([&] { Of(self).handler_.End(WithoutPrefix(name)); });
  }
  static void OnText(void* self, const char* text, int length) {
    Of(self).Guarded([&] { Of(self).handler_.Text({text, static_cast<std::size_t>(length)}); });
  }
  static void OnDocumentType(void* self, const char*, const char*, const char*, int) {
    Of(self).hasDocumentType_ = true;
    XML_StopParser(Of(self).parser_.get(), XML_FALSE);
  }

  struct Free {
    void operator()(XML_Parser parser) const { XML_ParserFree(parser); }
  };

  XmlHandler& handler_;
  const std::unique_ptr<std::remove_pointer_t<XML_Parser>, Free> parser_;
  std::exception_ptr thrown_;
  std::size_t unheard_ = 0;  // bytes since the handler was last told something
  bool hasDocumentType_ = false;
};

}  // namespace

const char* XmlAttributes::Find(std::string_view name) const {
  for (const char** entry = list_; *entry != nullptr; entry += 2)
    if (WithoutPrefix(entry[0]) == name) return entry[1];
  return nullptr;
}

std::string_view XmlAttributes::operator[](std::string_view name) const {
  const char* value = Find(name);
  return value ? value : std::string_view();
}

std::string ReadXml(const std::function<std::string_view()>& nextChunk, XmlHandler& handler) {
  return Parse(handler).Run(nextChunk);
}

}  // namespace torvik
