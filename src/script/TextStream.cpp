#include "script/TextStream.h"

#include <algorithm>
#include <iterator>

#include "platform/CodePage.h"
#include "platform/Files.h"
#include "platform/Text.h"
#include "script/Context.h"
#include "script/Conversion.h"
#include "script/FileAccess.h"
#include "script/TextPositions.h"

namespace torvik::script {

namespace {

constexpr std::string_view streamMembers[] = {
    "read", "readline", "readall",   "skipline",        "atendofstream", "atendofline",
    "line", "write",    "writeline", "writeblanklines", "close"};
enum StreamMember {
  Read,
  ReadOneLine,
  ReadAll,
  SkipLine,
  AtEndOfStream,
  AtEndOfLine,
  Line,
  WriteText,
  WriteLine,
  WriteBlankLines,
  CloseIt,
};

constexpr std::size_t muchText = 64 << 10;

}  // namespace

Value TextStream::OpenToRead(Context& context, const std::string& path) {
  const FileAccess& access = *context.files;
  std::uint64_t size = 0;
  ThrowIfFailed(access.AllFiles().Size(path, size), path);
  context.heap.Check(4 * size);
  std::error_code error;
  const auto reader = access.AllFiles().OpenRead(path, error);
  ThrowIfFailed(error, path);
  std::string bytes(size, '\0');
  std::size_t got = 0;
  while (got < bytes.size()) {
    const std::size_t more = reader->Read(bytes.data() + got, bytes.size() - got, error);
    ThrowIfFailed(error, path);
    if (more == 0) break;
    got += more;
  }
  bytes.resize(got);
  context.Work(got);
  Value content = Value::OfText(access.TextEncoding().Decode(bytes), &context.heap);
  return NewObject<TextStream>(*context.files, context.heap, path, std::move(content), true);
}

Value TextStream::OpenToWrite(Context& context, const std::string& path) {
  return NewObject<TextStream>(*context.files, context.heap, path, Value(), false);
}

TextStream::TextStream(FileAccess& files, Heap& heap, std::string path, Value content, bool reads)
    : files_(files), path_(std::move(path)), content_(std::move(content)), reads_(reads) {
  CountOn(heap, sizeof(TextStream) + (reads ? 0 : muchText));
}

TextStream::~TextStream() {
  Flush();
}

int TextStream::FindMember(std::string_view name) const {
  const auto at = std::ranges::find(streamMembers, name);
  return at == std::end(streamMembers) ? NoMember : static_cast<int>(at - streamMembers);
}

void TextStream::ExpectReading(bool reads) const {
  if (!isOpen_ || reads != reads_) throw RuntimeError(54, path_);
}

Value TextStream::ReadCharacters(Context& context, const Value& count) {
  const std::string_view rest = content_.View().substr(at_);
  if (rest.empty()) throw RuntimeError(62, path_);
  const std::string_view text = FirstCharacters(rest, CountArgument(count));
  at_ += text.size();
  line_ += static_cast<std::int32_t>(std::ranges::count(text, '\n'));
  context.Work(text.size());
  return Value::OfText(text, &context.heap);
}

Value TextStream::ReadLine(Context& context) {
  const std::string_view rest = content_.View().substr(at_);
  if (rest.empty()) throw RuntimeError(62, path_);
  const std::size_t end = std::min(rest.find('\n'), rest.size());
  at_ += std::min(end + 1, rest.size());
  ++line_;
  std::string_view line = rest.substr(0, end);
  if (line.ends_with('\r')) line.remove_suffix(1);
  context.Work(line.size());
  return Value::OfText(line, &context.heap);
}

void TextStream::Write(Context& context, std::string_view text) {
  context.Work(text.size());
  context.heap.Check(2 * text.size());
  pending_ += text;
  line_ += static_cast<std::int32_t>(std::ranges::count(text, '\n'));
  if (pending_.size() >= muchText) ThrowIfFailed(Flush(), path_);
}

std::error_code TextStream::Flush() {
  if (pending_.empty()) return {};
  const std::error_code error = files_.AllFiles().AppendText(path_, pending_);
  pending_.clear();
  return error;
}

void TextStream::Close() {
  isOpen_ = false;
  ThrowIfFailed(Flush(), path_);
}

Value TextStream::Invoke(Context& context, int member, std::span<const Value> a) {
  const bool hasText = member == Read || member == WriteText || member == WriteBlankLines;
  ExpectArguments(a, hasText ? 1 : 0, hasText || member == WriteLine ? 1 : 0);
  if (member == CloseIt) {
    Close();
    return {};
  }
  if (member == Line) return Value::OfLong(line_);
  ExpectReading(member < Line);
  switch (member) {
    case Read: return ReadCharacters(context, a[0]);
    case ReadOneLine: return ReadLine(context);
    case ReadAll: return ReadCharacters(context, Value::OfLong(0x7FFFFFFF));
    case SkipLine: ReadLine(context); return {};
    case AtEndOfStream: return Value::OfBoolean(at_ == content_.View().size());
    case AtEndOfLine: {
      const std::string_view rest = content_.View().substr(at_);
      return Value::OfBoolean(rest.empty() || rest[0] == '\r' || rest[0] == '\n');
    }
    case WriteText: Write(context, ToText(a[0])); return {};
    case WriteLine: Write(context, (a.empty() ? "" : ToText(a[0])) + "\r\n"); return {};
    default:
      for (std::size_t count = CountArgument(a[0]); count > 0; --count) {
        context.Spend(1);
        Write(context, "\r\n");
      }
      return {};
  }
}

}  // namespace torvik::script
