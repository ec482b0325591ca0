#include "platform/linux/system/CopyFiles.h"

#include <algorithm>
#include <future>

#include "platform/linux/system/Arrivals.h"
#include "platform/linux/system/FetchCounter.h"

namespace torvik {
namespace {

constexpr mode_t kCopiedFileMode = 0666;
/// A read over the network is as many requests at once as go into one piece.
constexpr std::uint64_t kPieceSize = 4 * 1024 * 1024;

/// The name of a file of one directory, and no control characters that would garble a message.
bool IsSafeName(const std::string& name) {
  const bool isPlain = std::none_of(name.begin(), name.end(), [](char c) {
    return static_cast<unsigned char>(c) < 0x20 || c == 0x7F || c == '/' || c == '\\';
  });
  return isPlain && !name.empty() && name != "." && name != "..";
}

class Copy {
 public:
  Copy(SourceDirectory& from, const std::string& to, FetchCounter& counter)
      : from_(from),
        counter_(counter),
        to_(to.ends_with('/') ? to : to + "/"),
        piece_(std::make_unique_for_overwrite<char[]>(kPieceSize)),
        written_(std::make_unique_for_overwrite<char[]>(kPieceSize)) {}

  FileFailure Run() {
    FileFailure failure;
    counter_.BeginDirectory();
    for (const auto& entry : from_.List(failure)) {
      if (failure.error) break;
      counter_.BeginFile(entry.name);
      failure = CopyOne(entry);
      if (failure.error && from_.HasAnotherWay()) {
        counter_.BeginFileAgain();
        failure = CopyOne(entry);
      }
      if (!failure.error) counter_.EndFile();
    }
    const FileFailure late = OfArrival(arrivals_.Finish());
    counter_.EndDirectory();
    return failure.error ? failure : late;
  }

 private:
  FileFailure CopyOne(const SourceDirectory::Entry& entry) {
    if (!IsSafeName(entry.name))
      return {std::make_error_code(std::errc::invalid_argument),
              to_ +
                  ": a file was refused whose name is not one for this directory; rename it "
                  "where it comes from"};
    const std::string target = to_ + entry.name;
    std::error_code error;
    const auto file = from_.Open(entry.name, error);
    if (error) return {error, from_.Words(entry.name, error)};
    FileReplacement replacement;
    error = replacement.Open(target, kCopiedFileMode);
    if (error) return {error, target + ": " + error.message()};
    if (FileFailure failure = Fill(replacement, target, *file, entry); failure.error)
      return failure;
    return OfArrival(arrivals_.Take(std::move(replacement)));
  }

  static FileFailure OfArrival(const Arrivals::Failure& failure) {
    return failure ? FileFailure{failure.error, failure.path + ": " + failure.error.message()}
                   : FileFailure();
  }

  /// One byte more than expected is asked for, so that the last answer shows the file's end and no
  /// further question is needed. While a piece is written the next one is read.
  FileFailure Fill(FileReplacement& replacement, const std::string& target, SourceFile& file,
                   const SourceDirectory::Entry& entry) {
    std::uint64_t total = 0;
    std::future<std::error_code> writing;
    for (bool isEnd = false; !isEnd;) {
      const std::uint64_t asked =
          std::min(kPieceSize, total < entry.size ? entry.size - total + 1 : kPieceSize);
      std::error_code error;
      const std::uint64_t got = file.Read(piece_.get(), asked, error);
      if (error) return {error, from_.Words(entry.name, error)};
      if (writing.valid()) error = writing.get();
      total += got;
      counter_.Add(got);
      isEnd = got == 0 || (got < asked && total == entry.size);
      if (!error && isEnd) error = replacement.Write({piece_.get(), got});
      if (error) return {error, target + ": " + error.message()};
      piece_.swap(written_);
      if (!isEnd) writing = Write(replacement, got);
    }
    return total == entry.size ? FileFailure() : CheckSize(file, entry.name, total);
  }

  /// On a thread of its own, where one can be made; else when the answer is asked for.
  std::future<std::error_code> Write(FileReplacement& replacement, std::uint64_t bytes) {
    const auto write = [&replacement, this, bytes] {
      return replacement.Write({written_.get(), bytes});
    };
    try {
      return std::async(std::launch::async, write);
    } catch (const std::system_error&) {
      return std::async(std::launch::deferred, write);
    }
  }

  /// The file has changed since it was listed, or not all of it has come.
  FileFailure CheckSize(SourceFile& file, const std::string& name, std::uint64_t copied) {
    std::error_code error;
    const std::uint64_t size = file.Size(error);
    if (error) return {error, from_.Words(name, error)};
    if (size == copied) return {};
    return {std::make_error_code(std::errc::io_error),
            from_.PathOf(name) + ": " + std::to_string(copied) + " of " + std::to_string(size) +
                " bytes have come: copy it again when nobody writes it"};
  }

  SourceDirectory& from_;
  FetchCounter& counter_;
  Arrivals arrivals_;
  const std::string to_;
  std::unique_ptr<char[]> piece_, written_;
};

}  // namespace

FileFailure CopyFiles(SourceDirectory& from, const std::string& to, FetchCounter& counter) {
  return Copy(from, to, counter).Run();
}

}  // namespace torvik
