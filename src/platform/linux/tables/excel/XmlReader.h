#pragma once

#include <functional>
#include <string>
#include <string_view>

namespace torvik {

/// The attributes of one element. Names come without the prefix of their namespace.
class XmlAttributes {
 public:
  explicit XmlAttributes(const char** list) : list_(list) {}

  /// Null when the element has no such attribute.
  const char* Find(std::string_view name) const;
  /// Empty when the element has no such attribute.
  std::string_view operator[](std::string_view name) const;

 private:
  const char** list_;  ///< Names and values in turn, then null.
};

/// Takes the elements of a document one after the other. Names come without the prefix of their
/// namespace. What a function throws ends the reading.
class XmlHandler {
 public:
  virtual ~XmlHandler() = default;
  virtual void Begin(std::string_view element, const XmlAttributes& attributes) = 0;
  virtual void End(std::string_view element) = 0;
  /// Part of the text of the element that has begun.
  virtual void Text(std::string_view part) = 0;
};

/// Reads a document in chunks, of which `nextChunk` answers an empty one at the end. A document
/// type is refused. Answers what is wrong with the document and in which line; empty when nothing
/// is.
std::string ReadXml(const std::function<std::string_view()>& nextChunk, XmlHandler& handler);

}  // namespace torvik
