#include "platform/linux/regex/PcreExpressions.h"

#define PCRE2_CODE_UNIT_WIDTH 8
#include <pcre2.h>

#include <cstdint>
#include <string>

#include "platform/PlatformError.h"

namespace torvik {
namespace {

constexpr const char* kSource = "regular expression";

/// How often a search may try (pcre2api(3)): about a second of work.
constexpr std::uint32_t kMostTries = 5'000'000;
constexpr std::uint32_t kMostKilobytes = 64 * 1024;

template <auto Free>
struct PcreFree {
  template <typename T>
  void operator()(T* object) const {
    Free(object);
  }
};
using CodePointer = std::unique_ptr<pcre2_code, PcreFree<pcre2_code_free>>;
using MatchPointer = std::unique_ptr<pcre2_match_data, PcreFree<pcre2_match_data_free>>;
using MatchContextPointer =
    std::unique_ptr<pcre2_match_context, PcreFree<pcre2_match_context_free>>;
using CompileContextPointer =
    std::unique_ptr<pcre2_compile_context, PcreFree<pcre2_compile_context_free>>;

std::string PcreMessage(int error) {
  PCRE2_UCHAR text[256];
  const int length = pcre2_get_error_message(error, text, sizeof text);
  return length > 0 ? reinterpret_cast<const char*>(text) : "error " + std::to_string(error);
}

PCRE2_SPTR Units(std::string_view text) {
  return reinterpret_cast<PCRE2_SPTR>(text.data() == nullptr ? "" : text.data());
}

class PcreExpression final : public RegularExpression {
 public:
  explicit PcreExpression(CodePointer code)
      : code_(std::move(code)),
        found_(pcre2_match_data_create_from_pattern(code_.get(), nullptr)),
        limits_(pcre2_match_context_create(nullptr)) {
    pcre2_set_match_limit(limits_.get(), kMostTries);
    pcre2_set_heap_limit(limits_.get(), kMostKilobytes);
  }

  Match Find(std::string_view text, std::size_t from) override {
    int groups = Search(text, from, 0);
    // What was made for the processor has a small stack.
    if (groups == PCRE2_ERROR_JIT_STACKLIMIT) groups = Search(text, from, PCRE2_NO_JIT);
    if (groups == PCRE2_ERROR_NOMATCH) return {};
    if (groups < 0)
      throw PlatformError(5016,
                          "the search takes too much (" + PcreMessage(groups) +
                              "); write the pattern with fewer ways to match the same text",
                          kSource);
    return Taken();
  }

 private:
  int Search(std::string_view text, std::size_t from, std::uint32_t options) {
    return pcre2_match(code_.get(), Units(text), text.size(), from, options, found_.get(),
                       limits_.get());
  }

  Match Taken() const {
    const PCRE2_SIZE* const ends = pcre2_get_ovector_pointer(found_.get());
    Match match(pcre2_get_ovector_count(found_.get()));
    for (std::size_t i = 0; i < match.size(); ++i)
      if (ends[2 * i] != PCRE2_UNSET) match[i] = Range{ends[2 * i], ends[2 * i + 1]};
    return match;
  }

  const CodePointer code_;
  const MatchPointer found_;
  const MatchContextPointer limits_;
};

class PcreExpressions final : public RegularExpressions {
 public:
  std::unique_ptr<RegularExpression> Compile(std::string_view pattern,
                                             const ExpressionOptions& options) override {
    const CompileContextPointer context(pcre2_compile_context_create(nullptr));
    pcre2_set_newline(context.get(), PCRE2_NEWLINE_LF);
    int error = 0;
    PCRE2_SIZE place = 0;
    CodePointer code(pcre2_compile(Units(pattern), pattern.size(), Switches(options), &error,
                                   &place, context.get()));
    if (!code)
      throw PlatformError(5017,
                          "Syntax error in regular expression at byte " + std::to_string(place) +
                              " of its pattern: " + PcreMessage(error),
                          kSource);
    pcre2_jit_compile(code.get(), PCRE2_JIT_COMPLETE);  // without it searches are slower
    return std::make_unique<PcreExpression>(std::move(code));
  }

 private:
  /// What makes patterns mean what ECMAScript says: \u and \x, classes [] and [^], references to
  /// groups that took no part, $ at the very end.
  static std::uint32_t Switches(const ExpressionOptions& options) {
    std::uint32_t switches = PCRE2_UTF | PCRE2_MATCH_INVALID_UTF | PCRE2_ALT_BSUX |
                             PCRE2_ALLOW_EMPTY_CLASS | PCRE2_MATCH_UNSET_BACKREF |
                             PCRE2_DOLLAR_ENDONLY | PCRE2_NEVER_BACKSLASH_C;
    if (options.ignoresCase) switches |= PCRE2_CASELESS;
    if (options.isMultiLine) switches |= PCRE2_MULTILINE;
    return switches;
  }
};

}  // namespace

std::unique_ptr<RegularExpressions> NewPcreExpressions() {
  return std::make_unique<PcreExpressions>();
}

}  // namespace torvik
