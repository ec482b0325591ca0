#include "platform/linux/text/FileProblem.h"

#include <string>

namespace torvik {
namespace {

class FileProblems final : public std::error_category {
 public:
  const char* name() const noexcept override { return "file"; }

  std::string message(int problem) const override {
    switch (static_cast<FileProblem>(problem)) {
      case FileProblem::Shrank: return "the file was truncated while it was read";
      case FileProblem::NotGzip: return "the file is not compressed with gzip";
      case FileProblem::GzipCutOff:
        return "the gzip data ends too early; the file may not have been copied to its end";
      case FileProblem::GzipDamaged: return "the gzip data is damaged";
      case FileProblem::NoGzip:
        return "this build was made without zlib; run scripts/install-packages build and build it "
               "anew";
    }
    return "unknown problem";
  }
};

}  // namespace

std::error_code make_error_code(FileProblem problem) {
  static const FileProblems category;
  return {static_cast<int>(problem), category};
}

}  // namespace torvik
