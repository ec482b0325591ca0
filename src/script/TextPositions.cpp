#include "script/TextPositions.h"

#include <algorithm>
#include <cstring>
#include <string>

#include "platform/Text.h"
#include "script/Conversion.h"

namespace torvik::script {

std::string_view TextArgument(Context& context, Value& argument) {
  if (!argument.Is(Kind::Text)) argument = ToTextValue(argument, &context.heap);
  return argument.View();
}

std::size_t CountArgument(const Value& argument) {
  const std::int32_t count = ToLong(argument);
  if (count < 0) throw InvalidCall();
  return static_cast<std::size_t>(count);
}

std::size_t ByteOffset(Context& context, const Value& text, std::size_t characters) {
  const std::string_view bytes = text.View();
  if (characters >= text.TextOf()->Characters()) return bytes.size();
  if (text.TextOf()->Characters() == bytes.size()) return characters;
  const TextBlock& block = *text.TextOf();
  if (characters < block.markedCharacter) block.markedCharacter = block.markedByte = 0;
  const std::size_t ahead = characters - block.markedCharacter;
  context.Work(ahead);
  block.markedByte += FirstCharacters(bytes.substr(block.markedByte), ahead).size();
  block.markedCharacter = characters;
  return block.markedByte;
}

std::size_t CharacterOffset(Context& context, const Value& text, std::size_t bytes) {
  if (text.TextOf()->Characters() == text.View().size()) return bytes;
  context.Work(bytes);
  std::string_view rest = text.View().substr(0, bytes);
  std::size_t count = 0;
  for (; !rest.empty(); ++count)
    rest.remove_prefix(std::max<std::size_t>(1, CharacterLength(rest)));
  return count;
}

std::size_t FindFirst(std::string_view text, std::string_view wanted) {
  const void* const found = memmem(text.data(), text.size(), wanted.data(), wanted.size());
  if (found == nullptr) return std::string_view::npos;
  return static_cast<std::size_t>(static_cast<const char*>(found) - text.data());
}

std::size_t FindLast(std::string_view text, std::string_view wanted) {
  const std::string backwards(text.rbegin(), text.rend());
  const std::size_t at = FindFirst(backwards, std::string(wanted.rbegin(), wanted.rend()));
  return at == std::string_view::npos ? at : text.size() - at - wanted.size();
}

}  // namespace torvik::script
