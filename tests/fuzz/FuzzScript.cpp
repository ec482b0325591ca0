#include <cstdint>
#include <string_view>
#include <vector>

#include "fakes/FakeClock.h"
#include "fakes/FakeFiles.h"
#include "platform/CodePage.h"
#include "script/FileAccess.h"
#include "script/Script.h"

using namespace torvik;
using namespace torvik::script;

namespace {

struct Utf8 final : CodePage {
  std::string Encode(std::string_view utf8) const override { return std::string(utf8); }
  std::string Decode(std::string_view bytes) const override { return std::string(bytes); }
  std::size_t DecodeStrict(std::string_view bytes, std::string& utf8) const override {
    utf8 += bytes;
    return kAllValid;
  }
};

}  // namespace

/// Any text is compiled or refused, and what it compiles to runs within its limits.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  FakeClock clock;
  FakeFiles files;
  files.Put("/a/b.txt", "one\r\ntwo");
  const Utf8 codePage;
  FileAccess access(files, codePage, {"/a"});
  const Limits limits{.steps = 20'000, .memoryBytes = 1 << 20, .callDepth = 30};
  try {
    Script script({reinterpret_cast<const char*>(data), size}, {.clock = clock, .files = &access},
                  limits);
    for (const char* const name : {"", "main", "f"}) {
      const int procedure = *name == '\0' ? 0 : script.FindProcedure(name);
      for (std::size_t count = 0; procedure >= 0 && count < 3; ++count) {
        try {
          script.Call(procedure, std::vector<Value>(count, Value::OfText("a1", &script.Memory())));
        } catch (const ScriptError&) {
        }
      }
    }
  } catch (const ScriptError&) {
  }
  return 0;
}
