#include "platform/linux/tables/excel/ContainerFile.h"

#include <gsf/gsf-infile-msole.h>
#include <gsf/gsf-infile-zip.h>
#include <gsf/gsf-input-stdio.h>
#include <gsf/gsf-utils.h>

#include <algorithm>
#include <utility>

#include "platform/Text.h"
#include "platform/linux/tables/common/TableFile.h"

namespace torvik {
namespace {

constexpr gsf_off_t kChunkBytes = 65536;

struct Unref {
  void operator()(void* object) const { g_object_unref(object); }
};
using Input = std::unique_ptr<GsfInput, Unref>;
using Folder = std::unique_ptr<GsfInfile, Unref>;

PlatformError Damaged(const std::string& path, const std::string& reason) {
  return TableFileError(path, "is damaged: " + reason +
                                  "; get the file once more, or open it in "
                                  "the program that wrote it and save it anew");
}

/// The reason that the library gave, which is freed.
std::string TakeMessage(GError* error) {
  const std::string message = error ? error->message : "no reason given";
  g_clear_error(&error);
  return message;
}

/// The library would print what it finds wrong; what matters comes as an error.
void StartLibrary() {
  static const bool started = [] {
    gsf_init();
    const auto ignore = [](const char*, GLogLevelFlags, const char*, void*) {};
    for (const char* domain : {static_cast<const char*>(nullptr), "libgsf:msole", "libgsf:zip"})
      g_log_set_handler(domain, static_cast<GLogLevelFlags>(G_LOG_LEVEL_MASK), ignore, nullptr);
    return true;
  }();
  (void)started;
}

class GsfFile final : public ContainedFile {
 public:
  GsfFile(std::string place, Input input) : place_(std::move(place)), input_(std::move(input)) {}

  std::string_view Next() override {
    const gsf_off_t size = std::min(gsf_input_remaining(input_.get()), kChunkBytes);
    if (size <= 0) return {};
    const guint8* bytes = gsf_input_read(input_.get(), static_cast<std::size_t>(size), nullptr);
    if (bytes == nullptr)
      throw Damaged(place_, "its content ends too early or is not compressed as it says");
    return {reinterpret_cast<const char*>(bytes), static_cast<std::size_t>(size)};
  }

 private:
  const std::string place_;
  const Input input_;
};

class GsfContainer final : public ContainerFile {
 public:
  GsfContainer(std::string path, Folder root) : path_(std::move(path)), root_(std::move(root)) {}

  std::unique_ptr<ContainedFile> Open(std::string_view path) override {
    Input found;
    GsfInfile* folder = root_.get();
    for (std::string_view rest = path; folder != nullptr;) {
      const std::size_t slash = std::min(rest.find('/'), rest.size());
      Input child(Child(folder, rest.substr(0, slash)));
      if (!child) return nullptr;
      found = std::move(child);
      if (slash == rest.size())
        return std::make_unique<GsfFile>(path_ + ", inside it " + std::string(path),
                                         std::move(found));
      rest.remove_prefix(slash + 1);
      folder = GSF_IS_INFILE(found.get()) ? GSF_INFILE(found.get()) : nullptr;
    }
    return nullptr;
  }

 private:
  static GsfInput* Child(GsfInfile* folder, std::string_view name) {
    for (int i = 0; i < gsf_infile_num_children(folder); ++i) {
      const char* other = gsf_infile_name_by_index(folder, i);
      if (other && EqualsIgnoringCase(other, name)) return gsf_infile_child_by_index(folder, i);
    }
    return nullptr;
  }

  const std::string path_;
  const Folder root_;
};

std::unique_ptr<ContainerFile> OpenWith(const std::string& path,
                                        GsfInfile* (*open)(GsfInput*, GError**)) {
  StartLibrary();
  GError* error = nullptr;
  const Input file(gsf_input_stdio_new(path.c_str(), &error));
  if (!file) throw TableFileError(path, "cannot be opened: " + TakeMessage(error));
  Folder root(open(file.get(), &error));
  if (!root) throw Damaged(path, TakeMessage(error));
  return std::make_unique<GsfContainer>(path, std::move(root));
}

}  // namespace

std::unique_ptr<ContainerFile> OpenZipFile(const std::string& path) {
  return OpenWith(path, gsf_infile_zip_new);
}

std::unique_ptr<ContainerFile> OpenCompoundFile(const std::string& path) {
  return OpenWith(path, gsf_infile_msole_new);
}

std::string ReadContained(ContainedFile& file) {
  std::string bytes;
  for (std::string_view chunk = file.Next(); !chunk.empty(); chunk = file.Next()) bytes += chunk;
  return bytes;
}

}  // namespace torvik
