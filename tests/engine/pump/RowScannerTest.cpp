#include "engine/pump/RowScanner.h"

#include <gtest/gtest.h>

#include "PumpTools.h"

namespace torvik::engine {
namespace {

/// Whatever the scanner decides before it has seen everything, it would decide in the end.
TEST(RowScanner, DecidesNothingThatMoreBytesWouldChange) {
  const RowScanner scanners[] = {
      {",", {"\n", "\r\n"}, "\""}, {"<>", {"<\r\n"}, "'"}, {"|", {"|\n"}, ""}};
  const char* const texts[] = {"a,b\r\nc",   "a\r,\r\r\nb\r", "\"a\"\"b\"\r\nc", "\"a\",\"\"\n",
                               "\"a\r\n\"x", "\"open,\n",     "'a''<>'<><<>\r",  "<<><'<\r\n",
                               "'<>'<\r\nx", "'a'<x",         "a|b|\nc|",        "|||\n",
                               "\u00e9,\"\n"};
  for (RowScanner scanner : scanners)
    for (const std::string text : texts) EXPECT_EQ("", PrefixContradiction(scanner, text)) << text;
}

}  // namespace
}  // namespace torvik::engine
