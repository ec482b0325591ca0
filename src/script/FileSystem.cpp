#include "script/FileSystem.h"

#include <algorithm>
#include <chrono>
#include <ctime>
#include <iterator>
#include <string>
#include <vector>

#include "platform/Clock.h"
#include "platform/Files.h"
#include "script/Context.h"
#include "script/Conversion.h"
#include "script/DateText.h"
#include "script/FileAccess.h"
#include "script/Functions.h"
#include "script/Object.h"
#include "script/TextStream.h"

namespace torvik::script {

namespace {

using MemberArguments = std::span<const Value>;

constexpr std::int64_t nanosecondsOfSecond = 1'000'000'000;

double LocalDate(Clock& clock, std::int64_t nanoseconds) {
  std::tm local = clock.LocalTime();
  const auto now = std::chrono::system_clock::to_time_t(clock.Now());
  const std::int64_t zone = timegm(&local) - now;
  return DateNumber(DaysOfDate(1970, 1, 1), nanoseconds / nanosecondsOfSecond + zone);
}

Value FolderOf(Context& context, const std::string& given);

FileStatus StatusAt(Context& context, const std::string& path) {
  FileStatus status;
  ThrowIfFailed(context.files->AllFiles().Status(path, status), path);
  return status;
}

/// What GetFile tells of a file.
class FileObject final : public Object {
 public:
  FileObject(Heap& heap, std::string path) : path_(std::move(path)) {
    CountOn(heap, sizeof(FileObject) + path_.size());
  }

  std::string_view TypeName() const override { return "File"; }
  int FindMember(std::string_view name) const override {
    static constexpr std::string_view members[] = {"path", "name", "size", "datelastmodified",
                                                   "parentfolder"};
    return MemberNamed(members, name);
  }
  Value Invoke(Context& context, int member, std::span<const Value> arguments) override {
    ExpectArguments(arguments, 0, 0);
    switch (member) {
      case 0: return NewText(context, path_);
      case 1: return NewText(context, FileNameOf(path_));
      case 2: return Value::OfWhole(static_cast<std::int64_t>(StatusAt(context, path_).bytes));
      case 3: return Value::OfDate(LocalDate(context.clock, StatusAt(context, path_).changed));
      default: return FolderOf(context, std::string(ParentFolderOf(path_)));
    }
  }

 private:
  const std::string path_;
};

/// The files of a folder, or the folders in it, in the order of their names.
class EntriesObject final : public Object {
 public:
  enum class Kind { Files, Folders };

  EntriesObject(Heap& heap, std::string folder, Kind kind)
      : folder_(std::move(folder)), kind_(kind) {
    CountOn(heap, sizeof(EntriesObject) + folder_.size());
  }

  std::string_view TypeName() const override { return kind_ == Kind::Files ? "Files" : "Folders"; }
  int FindMember(std::string_view name) const override {
    static constexpr std::string_view members[] = {"item", "count"};
    return MemberNamed(members, name);
  }
  Value Invoke(Context& context, int member, std::span<const Value> arguments) override {
    ExpectArguments(arguments, member == 0 ? 1 : 0, member == 0 ? 1 : 0);
    if (member == 1) return Value::OfLong(static_cast<std::int32_t>(Names(context).size()));
    const std::string path = context.files->Allowed(JoinedPath(folder_, ToText(arguments[0])));
    if (kind_ == Kind::Files && !context.files->FileExists(path)) throw RuntimeError(53, path);
    if (kind_ == Kind::Folders && !context.files->FolderExists(path)) throw RuntimeError(76, path);
    return EntryAt(context, path);
  }
  Value Items(Context& context) override {
    const std::vector<std::string> names = Names(context);
    Value array = NewArray(context.heap, names.size());
    for (std::size_t i = 0; i < names.size(); ++i)
      array.AsArray()->elements[i] = EntryAt(context, JoinedPath(folder_, names[i]));
    return array;
  }

 private:
  Value EntryAt(Context& context, const std::string& path) const {
    return kind_ == Kind::Files ? NewObject<FileObject>(context.heap, path)
                                : FolderOf(context, path);
  }

  std::vector<std::string> Names(Context& context) const {
    std::vector<std::string> names;
    Files& files = context.files->AllFiles();
    ThrowIfFailed(kind_ == Kind::Files ? files.ListFiles(folder_, names)
                                       : files.ListDirectories(folder_, names),
                  folder_);
    for (const std::string& name : names) context.Work(256 + name.size());
    std::ranges::sort(names);
    return names;
  }

  const std::string folder_;
  const Kind kind_;
};

/// What GetFolder tells of a folder.
class FolderObject final : public Object {
 public:
  FolderObject(Heap& heap, std::string path) : path_(std::move(path)) {
    CountOn(heap, sizeof(FolderObject) + path_.size());
  }

  std::string_view TypeName() const override { return "Folder"; }
  int FindMember(std::string_view name) const override {
    static constexpr std::string_view members[] = {
        "path", "name", "files", "subfolders", "parentfolder", "datelastmodified"};
    return MemberNamed(members, name);
  }
  Value Invoke(Context& context, int member, std::span<const Value> arguments) override {
    const bool isList = member == kFiles || member == kSubFolders;
    ExpectArguments(arguments, 0, isList ? 1 : 0);
    if (!isList) return Property(context, member);
    const Value list = NewObject<EntriesObject>(
        context.heap, path_,
        member == kFiles ? EntriesObject::Kind::Files : EntriesObject::Kind::Folders);
    return arguments.empty() ? list : list.AsObject()->Invoke(context, 0, arguments);
  }

 private:
  static constexpr int kPath = 0, kName = 1, kFiles = 2, kSubFolders = 3, kParent = 4;

  Value Property(Context& context, int member) const {
    switch (member) {
      case kPath: return NewText(context, path_);
      case kName: return NewText(context, FileNameOf(path_));
      case kParent: return FolderOf(context, std::string(ParentFolderOf(path_)));
      default: return Value::OfDate(LocalDate(context.clock, StatusAt(context, path_).changed));
    }
  }

  const std::string path_;
};

/// Throws Path not found, and Permission denied outside of the directories that scripts may use.
Value FolderOf(Context& context, const std::string& given) {
  const std::string path = context.files->Allowed(given);
  if (!context.files->FolderExists(path)) throw RuntimeError(76, path);
  const bool isOpen = path.size() > 1 && (path.ends_with('/') || path.ends_with('\\'));
  return NewObject<FolderObject>(context.heap, path.substr(0, path.size() - (isOpen ? 1 : 0)));
}

std::string Path(Context& context, const Value& value) {
  return context.files->Allowed(ToText(value));
}

bool FlagOr(MemberArguments a, std::size_t index, bool otherwise) {
  return index < a.size() && !a[index].Is(Kind::Missing) ? ToBoolean(a[index]) : otherwise;
}

/// Where a copy goes: into the folder when `to` ends with a separator.
std::string TargetPath(Context& context, const std::string& from, const Value& to) {
  const std::string text = ToText(to);
  const bool isFolder = text.ends_with('/') || text.ends_with('\\');
  return context.files->Allowed(isFolder ? JoinedPath(text, FileNameOf(from)) : text);
}

Value BuildPath(Context& context, MemberArguments a) {
  return NewText(context, JoinedPath(ToText(a[0]), ToText(a[1])));
}

Value CopyFile(Context& context, MemberArguments a) {
  const std::string from = Path(context, a[0]), to = TargetPath(context, from, a[1]);
  ThrowIfFailed(context.files->AllFiles().CopyWhole(from, to, FlagOr(a, 2, true)),
                from + "' to '" + to);
  return {};
}

Value MoveFile(Context& context, MemberArguments a) {
  const std::string from = Path(context, a[0]), to = TargetPath(context, from, a[1]);
  ThrowIfFailed(context.files->AllFiles().Move(from, to, false), from + "' to '" + to);
  return {};
}

Value CreateFolder(Context& context, MemberArguments a) {
  const std::string path = Path(context, a[0]);
  if (context.files->FolderExists(path) || context.files->FileExists(path))
    throw RuntimeError(58, path);
  if (!context.files->FolderExists(std::string(ParentFolderOf(path)))) throw RuntimeError(76, path);
  ThrowIfFailed(context.files->AllFiles().MakeDirectory(path), path);
  return {};
}

Value DeleteFile(Context& context, MemberArguments a) {
  const std::string path = Path(context, a[0]);
  ThrowIfFailed(context.files->AllFiles().Remove(path), path);
  return {};
}

Value FileExists(Context& context, MemberArguments a) {
  return Value::OfBoolean(context.files->FileExists(Path(context, a[0])));
}

Value FolderExists(Context& context, MemberArguments a) {
  return Value::OfBoolean(context.files->FolderExists(Path(context, a[0])));
}

Value GetBaseName(Context& context, MemberArguments a) {
  const std::string path = ToText(a[0]);
  const std::string_view name = FileNameOf(path);
  return NewText(context, name.substr(0, name.rfind('.')));
}

Value GetExtensionName(Context& context, MemberArguments a) {
  const std::string path = ToText(a[0]);
  const std::string_view name = FileNameOf(path);
  const std::size_t point = name.rfind('.');
  return NewText(context, point == std::string_view::npos ? "" : name.substr(point + 1));
}

Value GetFileName(Context& context, MemberArguments a) {
  return NewText(context, FileNameOf(ToText(a[0])));
}

Value GetParentFolderName(Context& context, MemberArguments a) {
  return NewText(context, ParentFolderOf(ToText(a[0])));
}

Value GetFile(Context& context, MemberArguments a) {
  const std::string path = Path(context, a[0]);
  if (!context.files->FileExists(path)) throw RuntimeError(53, path);
  return NewObject<FileObject>(context.heap, path);
}

Value GetFolder(Context& context, MemberArguments a) {
  return FolderOf(context, ToText(a[0]));
}

/// CreateTextFile(path [, overwrite [, unicode]])
Value CreateTextFile(Context& context, MemberArguments a) {
  const std::string path = Path(context, a[0]);
  if (FlagOr(a, 2, false)) throw InvalidCall("CreateTextFile: a Unicode file");
  if (!FlagOr(a, 1, true) && context.files->FileExists(path)) throw RuntimeError(58, path);
  ThrowIfFailed(context.files->AllFiles().ReplaceText(path, ""), path);
  return TextStream::OpenToWrite(context, path);
}

/// OpenTextFile(path [, 1 read, 2 write, 8 append [, create [, format]]])
Value OpenTextFile(Context& context, MemberArguments a) {
  const std::string path = Path(context, a[0]);
  const std::int32_t mode = a.size() > 1 && !a[1].Is(Kind::Missing) ? ToLong(a[1]) : 1;
  if (mode != 1 && mode != 2 && mode != 8) throw InvalidCall("OpenTextFile");
  if (a.size() > 3 && !a[3].Is(Kind::Missing) && ToLong(a[3]) == -1)
    throw InvalidCall("OpenTextFile: a Unicode file");
  const bool exists = context.files->FileExists(path);
  if (!exists && !FlagOr(a, 2, false)) throw RuntimeError(53, path);
  if (!exists || mode == 2) ThrowIfFailed(context.files->AllFiles().ReplaceText(path, ""), path);
  return mode == 1 ? TextStream::OpenToRead(context, path) : TextStream::OpenToWrite(context, path);
}

constexpr struct {
  std::string_view name;
  std::size_t least, most;
  Value (*call)(Context&, MemberArguments);
} methods[] = {
    {"buildpath", 2, 2, BuildPath},
    {"copyfile", 2, 3, CopyFile},
    {"movefile", 2, 2, MoveFile},
    {"deletefile", 1, 2, DeleteFile},
    {"createfolder", 1, 1, CreateFolder},
    {"fileexists", 1, 1, FileExists},
    {"folderexists", 1, 1, FolderExists},
    {"getbasename", 1, 1, GetBaseName},
    {"getextensionname", 1, 1, GetExtensionName},
    {"getfilename", 1, 1, GetFileName},
    {"getparentfoldername", 1, 1, GetParentFolderName},
    {"getfile", 1, 1, GetFile},
    {"getfolder", 1, 1, GetFolder},
    {"createtextfile", 1, 3, CreateTextFile},
    {"opentextfile", 1, 4, OpenTextFile},
};

class FileSystem final : public Object {
 public:
  explicit FileSystem(Heap& heap) { CountOn(heap, sizeof(FileSystem)); }
  std::string_view TypeName() const override { return "FileSystemObject"; }
  int FindMember(std::string_view name) const override {
    for (std::size_t i = 0; i < std::size(methods); ++i) {
      if (name == methods[i].name) return static_cast<int>(i);
    }
    return NoMember;
  }
  Value Invoke(Context& context, int member, MemberArguments arguments) override {
    const auto& method = methods[static_cast<std::size_t>(member)];
    ExpectArguments(arguments, method.least, method.most);
    return method.call(context, arguments);
  }
};

}  // namespace

Value NewFileSystem(Heap& heap) {
  return NewObject<FileSystem>(heap);
}

}  // namespace torvik::script
