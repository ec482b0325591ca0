#include <algorithm>
#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "engine/model/EngineServices.h"
#include "engine/model/TaskReader.h"
#include "engine/model/TextTemplate.h"
#include "engine/model/Variables.h"
#include "engine/tasks/FileNames.h"
#include "engine/tasks/FileWait.h"
#include "engine/tasks/Tasks.h"
#include "platform/FetchProgress.h"
#include "platform/Files.h"
#include "platform/PlatformError.h"
#include "platform/Secrets.h"
#include "platform/WinInet.h"

namespace torvik::engine {
namespace {

PlatformError FetchFailure(const std::string& reason, long number = 0) {
  return PlatformError(number, reason, "package engine");
}

/// A directory's path with a separator behind it, unless it is empty.
std::string AsPrefix(const std::string& directory) {
  const bool isOpen = !directory.empty() && directory.back() != '/' && directory.back() != '\\';
  return isOpen ? directory + '/' : directory;
}

struct FtpPlace {
  std::string server;
  std::uint16_t port = wininet::kDefaultFtpPort;
  std::string user, password;
};

/// A connection to an FTP server whose calls a step's end interrupts.
class FtpFetch {
 public:
  FtpFetch(TaskContext& context, std::string server)
      : server_(std::move(server)),
        client_(context.Services().newFtpClient(
            [&cancelled = context.Cancelled()] {
              if (cancelled) throw FetchFailure("the step is to end before all files have come");
            },
            [&context](const FetchProgress& progress) {
              context.Fetched(progress.files, progress.bytes);
            })) {}
  ~FtpFetch() {
    if (internet_ != 0) client_->InternetCloseHandle(internet_);
  }
  FtpFetch(const FtpFetch&) = delete;
  FtpFetch& operator=(const FtpFetch&) = delete;

  void LogOn(const FtpPlace& place) {
    internet_ = client_->InternetOpenA("Torvik");
    if (internet_ != 0)
      connection_ = client_->InternetConnectA(internet_, place.server, place.port, place.user,
                                              place.password);
    if (connection_ == 0) Fail("it cannot be logged on to");
  }

  /// The files of a directory that are called like this, by name.
  std::vector<std::string> Find(const std::string& directory, const std::string& pattern) {
    if (!directory.empty() && !client_->FtpSetCurrentDirectoryA(connection_, directory))
      Fail("its directory " + directory + " cannot be opened");
    std::vector<std::string> names;
    wininet::FindData entry;
    const wininet::Handle listing = client_->FtpFindFirstFileA(connection_, entry);
    for (bool isThere = listing != 0; isThere;
         isThere = client_->InternetFindNextFileA(listing, entry)) {
      const bool isDirectory = (entry.attributes & wininet::kDirectoryAttribute) != 0;
      if (!isDirectory && Matches(pattern, entry.fileName)) names.push_back(entry.fileName);
    }
    if (client_->GetLastError() != wininet::NoMoreFiles)
      Fail("its directory " + directory + " cannot be listed");
    if (listing != 0) client_->InternetCloseHandle(listing);
    std::ranges::sort(names);
    return names;
  }

  void Get(const std::string& remote, const std::string& local) {
    if (!client_->FtpGetFileA(connection_, remote, local))
      Fail(remote + " cannot be fetched to " + local);
  }

 private:
  [[noreturn]] void Fail(const std::string& what) const {
    const std::uint32_t code = client_->GetLastError();
    std::string words;
    client_->InternetGetLastResponseInfoA(words);
    PlatformError error =
        FetchFailure("FTP server " + server_ + ": " + what + (words.empty() ? "" : ": " + words),
                     static_cast<long>(code));
    error.isTransient = code == wininet::Timeout || code == wininet::CannotConnect ||
                        code == wininet::ConnectionAborted || code == wininet::ConnectionReset;
    throw error;
  }

  const std::string server_;
  const std::shared_ptr<wininet::Client> client_;
  wininet::Handle internet_ = 0, connection_ = 0;
};

/// The files that have come, as the log and whoever looks on are told of them.
class ArrivedFiles {
 public:
  explicit ArrivedFiles(TaskContext& context) : context_(context) {}

  void Tell(const std::string& from, const std::string& to) {
    std::uint64_t bytes = 0;
    context_.Services().files.Size(to, bytes);
    context_.Output(from + " has come to " + to + ": " + std::to_string(bytes) + " bytes");
    bytes_ += static_cast<std::int64_t>(bytes);
    context_.Fetched(++files_, bytes_);
  }

 private:
  TaskContext& context_;
  std::int64_t files_ = 0, bytes_ = 0;
};

/// Brings files of an FTP server, or of a directory such as a share, into a directory of this
/// machine, byte by byte.
class FetchFilesTask final : public Task {
 public:
  explicit FetchFilesTask(TaskReader& reader)
      : server_(reader.Template("server").value_or(PlacedText{})),
        user_(reader.Template("user").value_or(PlacedText{})),
        password_(reader.Template("password").value_or(PlacedText{})),
        directory_(reader.Template("directory").value_or(PlacedText{})),
        files_(reader.Templates("files")),
        destination_(reader.RequiredTemplate("destination")),
        overwrites_(reader.Table().Boolean("overwrite", true)) {
    port_ = reader.Table().Integer("port", wininet::kDefaultFtpPort);
    if (port_ < 1 || port_ > 65535)
      reader.Problem(reader.Table().Find("port")->place, "\"port\" is a number from 1 to 65535");
    if (files_.empty())
      reader.Problem(reader.Table().Place(),
                     "\"files\" names no file; add one, such as files = [ \"*.csv\" ]");
    if (server_.text.empty() && directory_.text.empty())
      reader.Problem(reader.Table().Place(),
                     "give the \"server\" by FTP, or the \"directory\" that holds the files");
    CheckLogon(reader);
  }

  bool CanJoin() const override { return false; }

  std::string Describe() const override {
    std::string text = server_.text.empty() ? "" : "ftp://" + server_.text + "/";
    text += directory_.text + " to " + destination_.text + ":";
    for (const PlacedText& file : files_) text += " " + file.text;
    return text;
  }

  TaskResult Run(TaskContext& context) const override {
    if (server_.text.empty())
      CopyAll(context);
    else
      FetchAll(context);
    return std::nullopt;
  }

 private:
  /// Its path where it is, and here.
  using Way = std::pair<std::string, std::string>;

  void CheckLogon(TaskReader& reader) const {
    for (const PlacedText* text : {&server_, &user_, &directory_, &destination_})
      reader.RefusePassword(*text, "messages");
    const bool isSecret =
        std::ranges::all_of(SplitTemplate(password_.text), [](const TemplatePiece& piece) {
          return piece.kind == TemplatePiece::Kind::Variable && IsPasswordName(piece.text);
        });
    if (!isSecret)
      reader.Problem(password_.place,
                     "\"password\" would stand here for all to read; write \"${NAMEPassword}\", "
                     "a variable that the job or a SetVariables step sets, or leave user and "
                     "password out and write them into [ftp HOST] of torvik.conf");
    if (user_.text.empty() && !password_.text.empty())
      reader.Problem(password_.place, "\"password\" belongs to \"user\"; add that");
    if (server_.text.empty() && !user_.text.empty())
      reader.Problem(user_.place, "\"user\" belongs to \"server\"; add that, or remove it");
  }

  void FetchAll(TaskContext& context) const {
    const Variables& variables = context.GlobalVariables();
    const auto value = [&](const PlacedText& text) { return variables.Substitute(text.text); };
    const FtpPlace place{value(server_), static_cast<std::uint16_t>(port_), value(user_),
                         value(password_)};
    const std::vector<Way> ways = Ways(context, [&](const std::string& path) {
      const auto [directory, name] = Split(path);
      // A logon of its own: afterwards it stands in another directory.
      FtpFetch lister(context, place.server);
      lister.LogOn(place);
      std::vector<std::string> found = lister.Find(directory, name);
      for (std::string& one : found) one.insert(0, directory);
      return found;
    });
    FtpFetch ftp(context, place.server);
    ftp.LogOn(place);
    ArrivedFiles arrivals(context);
    for (const auto& [from, to] : ways) {
      ftp.Get(from, to);
      arrivals.Tell(from, to);
    }
  }

  void CopyAll(TaskContext& context) const {
    Files& files = context.Services().files;
    const std::vector<Way> ways =
        Ways(context, [&](const std::string& path) { return FindFiles(files, path); });
    ArrivedFiles arrivals(context);
    for (const auto& [from, to] : ways) {
      if (context.Cancelled()) throw FetchFailure("the step is to end before all files have come");
      if (const auto error = files.CopyWhole(from, to, overwrites_))
        throw FetchFailure(from + ": it cannot be copied to " + to + ": " + error.message(),
                           error.value());
      arrivals.Tell(from, to);
    }
  }

  /// All files and where they go; nothing has been fetched when one is missing or in the way.
  template <typename Find>
  std::vector<Way> Ways(TaskContext& context, const Find& find) const {
    const Variables& variables = context.GlobalVariables();
    const std::string directory = AsPrefix(variables.Substitute(directory_.text));
    const std::string destination = AsPrefix(variables.Substitute(destination_.text));
    std::vector<Way> ways;
    for (const PlacedText& file : files_) {
      const std::string path = directory + variables.Substitute(file.text);
      if (Split(path).name.empty())
        throw FetchFailure(path + ": this names no file; a variable in \"files\" is empty");
      const auto found = IsPattern(Split(path).name) ? find(path) : std::vector{path};
      if (found.empty())
        throw FetchFailure(path +
                           ": no file is called like this; the provider has not delivered "
                           "it, or \"files\" is wrong");
      for (const std::string& one : found) ways.emplace_back(one, destination + Split(one).name);
    }
    std::map<std::string, std::string> comeFrom;
    for (const auto& [from, to] : ways) {
      if (const auto [other, isNew] = comeFrom.emplace(to, from); !isNew)
        throw FetchFailure(other->second + " and " + from + " would both come to " + to +
                           "; fetch them by two steps, to two directories");
      if (FileStatus status; !overwrites_ && !context.Services().files.Status(to, status))
        throw FetchFailure(to + ": it is there already, and overwrite = false; remove it first");
    }
    return ways;
  }

  PlacedText server_, user_, password_, directory_;
  std::vector<PlacedText> files_;
  PlacedText destination_;
  bool overwrites_;
  std::int64_t port_ = 0;
};

}  // namespace

std::unique_ptr<Task> ReadFetchFilesTask(TaskReader& reader) {
  return std::make_unique<FetchFilesTask>(reader);
}

}  // namespace torvik::engine
