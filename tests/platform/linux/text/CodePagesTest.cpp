#include <gtest/gtest.h>

#include "platform/PlatformError.h"
#include "platform/linux/text/IconvCodePages.h"

namespace torvik {
namespace {

TEST(CodePages, ConvertBothWays) {
  const std::tuple<const char*, const char*, const char*> cases[] = {
      {"windows-1252", "", ""},
      {"Windows-1252", "0123456\u00e9 \u20ac \u2014 abcdefgh", "0123456\xE9 \x80 \x97 abcdefgh"},
      {"windows-1252", "\u0081\u00a0", "\x81\xA0"},  // nothing there, and so the control character
      {"windows-1250", "\u0159\u017e", "\xF8\x9E"},
      {"iso-8859-15", "\u20ac", "\xA4"},
      {"UTF-8", "\u00e9\u20ac\U0001F600", "\xC3\xA9\xE2\x82\xAC\xF0\x9F\x98\x80"}};
  for (const auto& [encoding, text, bytes] : cases) {
    const auto codePages = NewIconvCodePages(encoding);
    EXPECT_EQ(codePages->Ansi().Encode(text), bytes) << encoding << ": " << text;
    EXPECT_EQ(codePages->Ansi().Decode(bytes), text) << encoding << ": " << text;
  }
}

TEST(CodePages, TakeAQuestionMarkForWhatTheyLack) {
  const auto codePages = NewIconvCodePages("windows-1252");
  const std::pair<const char*, const char*> cases[] = {
      {"\u6f22z", "?z"}, {"\u0080", "?"}, {"a\xFF\xE9z", "a??z"}, {"\xE2\x82", "??"}};
  for (const auto& [text, bytes] : cases) EXPECT_EQ(codePages->Ansi().Encode(text), bytes) << text;
}

TEST(CodePages, StrictlyTellTheFirstBadByte) {
  const std::tuple<const char*, std::string, std::size_t, const char*> cases[] = {
      {"utf-8", "plain ascii text", CodePage::kAllValid, "plain ascii text"},
      {"utf-8", "1234567\x80z", 7, "1234567\uFFFDz"},
      {"utf-8", "12345678\xC0\xAF", 8, "12345678\uFFFD\uFFFD"},              // overlong
      {"utf-8", "\xE0\x9F\xBF", 0, "\uFFFD\uFFFD\uFFFD"},                    // overlong
      {"utf-8", "\xED\x9F\xBF\xED\xA0\x80", 3, "\uD7FF\uFFFD\uFFFD\uFFFD"},  // surrogate
      {"utf-8", "\xF4\x8F\xBF\xBF\xF4\x90\x80\x80", 4,
       "\U0010FFFF\uFFFD\uFFFD\uFFFD\uFFFD"},  // too high
      {"utf-8", "\u00e9\u00e9\u00e9\u00e9\xE2\x82", 8, "\u00e9\u00e9\u00e9\u00e9\uFFFD\uFFFD"},
      {"windows-1252", "12345678\xE9z\x8D", 10, "12345678\u00e9z\u008d"},
      {"windows-1252", "\x80\xFF", CodePage::kAllValid, "\u20ac\u00ff"},
      {"windows-1253", "\xAA", 0, "\uFFFD"}};
  const auto codePages = NewIconvCodePages("utf-8");
  for (const auto& [encoding, bytes, bad, lenient] : cases) {
    const auto codePage = codePages->Open(encoding);
    std::string text = "before ";
    EXPECT_EQ(codePage->DecodeStrict(bytes, text), bad) << bytes;
    EXPECT_EQ(text, "before " + codePage->Decode(bytes.substr(0, bad))) << bytes;
    EXPECT_EQ(codePage->Decode(bytes), lenient) << bytes;
  }
}

TEST(CodePages, KnowWhatTheyCannotDo) {
  const auto codePages = NewIconvCodePages("windows-1252");
  for (const char* name : {"", "utf-99", "utf-16", "utf-16le", "utf-7", "shift_jis", "IBM037",
                           "iso-2022-jp", "windows-1252//ignore"}) {
    EXPECT_EQ(codePages->Open(name), nullptr) << name;
    EXPECT_THROW(NewIconvCodePages(name), PlatformError) << name;
  }
}

/// Decodes in pieces of `step` bytes, with room for `room` bytes of text at once.
std::string Decoded(TextDecoder& decoder, std::string_view bytes, std::size_t step,
                    std::size_t room) {
  std::string text, buffer(room, '\0');
  for (std::size_t given = std::min(step, bytes.size()); !bytes.empty();) {
    std::string_view in = bytes.substr(0, given);
    std::span<char> out(buffer);
    decoder.Decode(in, out, given == bytes.size());
    text.append(buffer, 0, buffer.size() - out.size());
    bytes.remove_prefix(given - in.size());
    given = std::min(in.size() + step, bytes.size());
  }
  return text;
}

TEST(CodePages, DecodeAndEncodeAnyEncodingPieceByPiece) {
  const auto codePages = NewIconvCodePages("windows-1252");
  const std::string text = "a\u00e9\u3042\u6f22 b\r\n\u3042";
  for (const char* name : {"utf-8", "UTF-16LE", "utf-16be", "utf-32le", "shift_jisx0213", "gb18030",
                           "iso-2022-jp-2", "utf-7"}) {
    std::string bytes = "kept";
    ASSERT_TRUE(codePages->OpenEncoder(name)->Encode(text, bytes)) << name;
    for (const std::size_t step : {1, 3, 100})
      for (const std::size_t room : {4, 7, 100})
        EXPECT_EQ(Decoded(*codePages->OpenDecoder(name), bytes.substr(4), step, room), text)
            << name << " " << step << " " << room;
  }
  const auto decoder = codePages->OpenDecoder("utf-16le");
  EXPECT_EQ(Decoded(*decoder,
                    std::string_view("a\0\0\xDC"
                                     "b\0c",
                                     7),
                    1, 9),
            "a\xFF"
            "b\xFF");
  std::string bytes = "kept";
  for (const char* lacking : {"a\u3042", "a\xFF", "a\xE3\x81"})
    EXPECT_FALSE(codePages->OpenEncoder("windows-1252")->Encode(lacking, bytes)) << lacking;
  EXPECT_EQ(bytes, "kept");
  for (const char* name : {"", "utf-99", "utf-8//translit"}) {
    EXPECT_EQ(codePages->OpenDecoder(name), nullptr) << name;
    EXPECT_EQ(codePages->OpenEncoder(name), nullptr) << name;
  }
}

}  // namespace
}  // namespace torvik
