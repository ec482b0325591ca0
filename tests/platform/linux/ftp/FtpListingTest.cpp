#include "platform/linux/ftp/FtpListing.h"

#include <gmock/gmock.h>

namespace torvik {
namespace {

using testing::HasSubstr;
using Kind = FtpListing::Kind;

/// Names, directories with a '/' behind; or the problem. Given in two pieces.
std::string Read(Kind kind, std::string_view text, std::size_t cut) {
  FtpListing listing(kind);
  if (!listing.Add(text.substr(0, cut)) || !listing.Add(text.substr(cut)) || !listing.Finish())
    return listing.Problem();
  std::string names;
  for (const auto& entry : listing.Entries())
    names += entry.fileName + (entry.attributes == wininet::kDirectoryAttribute ? "/|" : "|");
  return names;
}

TEST(FtpListing, ReadsEveryManner) {
  const struct {
    Kind kind;
    std::string text, names;
  } cases[] = {
      {Kind::List,
       "total 12\r\n"
       "drwxr-xr-x   2 ftp      ftp          4096 Jan 08  2001 old\r\n"
       "-rw-r--r--   1 ftp ftp 12 Jan 12 10:20 a b  c\r\n"
       "-rw-r--r--   1 1000 1000 12 Feb 29 2004  leading\r\n",
       "old/|a b  c| leading|"},
      {Kind::List, "insgesamt 0\ndrwx 2 o g 1 Jan 8 10:20 .\ndrwx 2 o g 1 Jan 8 10:20 ..\n", ""},
      {Kind::List, "drwx 2 ftp 0 4096 Jan 8 10:20 old\n-rw- 1 ftp 5 2000 Jan 8 2001 b", "old/|b|"},
      {Kind::List, "lrwxrwxrwx 1 o g 7 Jan 8 10:20 now -> old -> er", "now|"},
      {Kind::List, "-rw-r--r-- 1 Domain Users g 5 8 Jan 2001 Jan 9 10:20 y", "Jan 9 10:20 y|"},
      {Kind::List, "-rw-r--r-- 1 o 5 m\xe4r 8 10:20 no group", "no group|"},
      {Kind::List, "-rw-r--r-- 1 o g 5 2001-01-08 10:20 iso\n\n", "iso|"},
      {Kind::List, "d [RWCEAFMS] owner 512 Jan 08 10:20 net\n- [RWCE] owner 5 Jan 8 2001 n",
       "net/|n|"},
      {Kind::List, "br--r--r-- 1 o g 8, 0 Jan 8 10:20 disk", "disk|"},
      {Kind::List,
       "01-08-01  10:20AM       <DIR>          My Data\r\n"
       "01-08-01  10:20PM                 1234 a b\r\n"
       "01-08-2001  10:20                    0  leading\r\n"
       "01-08-01  10:20AM            1.234.567 big\r\n"
       "01-08-01  10:20AM       <JUNCTION>     there\r\n",
       "My Data/|a b| leading|big|there|"},
      {Kind::Mlsd,
       "type=cdir;unix.mode=0755; .\r\ntype=pdir; ..\r\nType=file;Size=5;modify=20010108; a; "
       "b=c\r\n"
       "size=4096;type=dir; d\r\ntype=OS.unix=slink:/x; l\r\ntype=file;  leading\r\n other\r\n",
       "a; b=c|d/|l| leading|other|"},
      {Kind::Mlsd, "", ""}};
  for (const auto& c : cases)
    for (std::size_t cut = 0; cut <= c.text.size(); ++cut)
      ASSERT_EQ(c.names, Read(c.kind, c.text, cut)) << c.text << " cut at " << cut;
}

TEST(FtpListing, RefusesNamesThatLeadElsewhereAndLinesThatItDoesNotKnow) {
  const std::string unix = "-rw-r--r-- 1 o g 5 Jan 8 10:20 ";
  const struct {
    Kind kind;
    std::string text, problem;
  } cases[] = {
      {Kind::List, unix + "../../etc/passwd", "\"../../etc/passwd\": this cannot be the name"},
      {Kind::List, unix + "..\\x\n", "\"..\\x\": this cannot"},
      {Kind::List, unix + "..\n", "\"..\": this cannot"},
      {Kind::List, unix + std::string("a\0b\n", 4), "\"a?b\": this cannot"},
      {Kind::List, unix + "a\rb\r\n", "\"a?b\": this cannot"},
      {Kind::List, unix + "\n", "is not understood"},
      {Kind::List, "lrwx 1 o g 5 Jan 8 10:20  -> x\n", "\"\": this cannot"},
      {Kind::List, "01-08-01  10:20AM   <DIR>          a\\b\n", "\"a\\b\": this cannot"},
      {Kind::List, unix + "a\ntotal 5\n", "\"total 5\": the line is not understood"},
      {Kind::List, "file.txt\n", "\"file.txt\": the line is not understood"},
      {Kind::List, "drwxr-xr-x 2 o g 5 Jan 8\n", "is not understood"},
      {Kind::List, std::string(70000, 'x'), "the line is too long"},
      {Kind::Mlsd, "type=file; /etc/passwd\n", "\"/etc/passwd\": this cannot"},
      {Kind::Mlsd, "type=dir; a\\b\n", "\"a\\b\": this cannot"},
      {Kind::Mlsd, "type=file; ..\n", "\"..\": this cannot"},
      {Kind::Mlsd, "nothing\n", "is not understood"},
      {Kind::Mlsd, unix + "a\n", "is not understood"}};
  for (const auto& c : cases)
    EXPECT_THAT(Read(c.kind, c.text, c.text.size()), HasSubstr(c.problem)) << c.text.substr(0, 80);
}

}  // namespace
}  // namespace torvik
