#include "import/PackageImport.h"

#include <algorithm>

#include "import/Code.h"
#include "import/DynamicProperties.h"
#include "import/Entry.h"
#include "import/Loader.h"
#include "import/PackageContainer.h"
#include "import/SourceLines.h"
#include "platform/PlatformError.h"
#include "platform/Text.h"

namespace torvik::importing {
namespace {

PlatformError Refused(const std::string& file, const std::string& reason) {
  return PlatformError(0, file + ": " + reason, "package import");
}

bool HasProcedure(const Code& code, const std::string& name) {
  return std::ranges::any_of(code.procedures, [&](const Procedure& procedure) {
    return EqualsIgnoringCase(procedure.name, name);
  });
}

bool HasSteps(const Object& package) {
  const Object* const steps = package.Child("steps");
  return steps != nullptr && !steps->items.empty();
}

constexpr const char* kSaveAs =
    "; open the package in its designer and save it as a Visual Basic file (Package, Save As)";

/// What the package does is encrypted; what it is called and has is not.
PlatformError Binary(const std::string& file, std::string_view bytes) {
  return Refused(file, "this is a structured storage file (.dts), whose packages are encrypted" +
                           std::string(kSaveAs) + ". It holds:\n" +
                           WordsOf(ReadPackageContainer(file, bytes)));
}

constexpr std::size_t kLargest = std::size_t{64} << 20;

Code CodeIn(const std::string& file, std::string_view bytes) {
  using namespace std::string_view_literals;
  if (IsPackageContainer(bytes)) throw Binary(file, bytes);
  if (bytes.size() > kLargest) throw Refused(file, "the file is larger than 64 MiB");
  const bool isWide = bytes.starts_with("\xFF\xFE"sv) || bytes.starts_with("\xFE\xFF"sv);
  if (!isWide && bytes.find('\0') != bytes.npos)
    throw Refused(file, std::string("this is no text") + kSaveAs);
  return ReadCode(DecodedSource(bytes));
}

}  // namespace

std::vector<std::string> PackageProcedures(const std::string& file, std::string_view bytes) {
  return BuildersOf(CodeIn(file, bytes));
}

Translation ImportPackage(const std::string& file, std::string_view bytes, const KnownValues& known,
                          const ImportWishes& wishes) {
  const Code code = CodeIn(file, bytes);
  if (!wishes.procedure.empty() && !HasProcedure(code, wishes.procedure))
    throw Refused(file, "there is no procedure \"" + wishes.procedure + "\" in this text");
  Recording recording = Evaluate(code, known, wishes.procedure);
  if (recording.loaded && recording.loaded->package == recording.package)
    throw Refused(file, LoaderRefusal(recording));
  if (const int line = LoadLine(code);
      line > 0 && (!recording.package || !HasSteps(*recording.package)))
    throw Refused(file, "this text builds no package: it takes one that is stored (line " +
                            std::to_string(line) + ")" + kSaveAs);
  const bool isEmpty = !recording.package || (recording.package->children.empty() &&
                                              recording.package->properties.empty());
  if (isEmpty) throw Refused(file, std::string("no package is built in this text") + kSaveAs);
  BindDynamicProperties(recording);
  return Translate(recording, known, wishes.name);
}

}  // namespace torvik::importing
