#include <gtest/gtest.h>

#include <string>

#include "fakes/FakeFiles.h"
#include "platform/linux/text/IconvCodePages.h"
#include "script/FileAccess.h"
#include "script/ScriptTools.h"

namespace torvik::script {
namespace {

class FileSystemObject : public testing::Test {
 protected:
  FileSystemObject() {
    files.Put("C:/data/in.txt", "one\r\ntwo\n\nlast");
    files.Put("C:/secret/key.txt", "no");
    files.Put("/srv/x/a.tar.gz", "12345");
    files.Put("/srv/x/b/1.txt", "");
    files.MakeDirectory("/srv/x/c");
  }

  std::string Run(const std::string& statements) {
    return Ran("Function Main()\nSet f = CreateObject(\"Scripting.FileSystemObject\")\n" +
                   statements + "\nMain = r\nEnd Function",
               {.clock = clock, .files = &access});
  }

  FakeClock clock;
  FakeFiles files;
  std::unique_ptr<CodePages> codePages = NewIconvCodePages("windows-1252");
  FileAccess access{files, codePages->Ansi(), {"C:\\data", "/srv/x/"}};
};

TEST_F(FileSystemObject, ReadsAndWrites) {
  const struct {
    const char* statements;
    const char* outcome;
  } cases[] = {
      {"Set t = f.OpenTextFile(\"C:\\data\\in.txt\")\nDo Until t.AtEndOfStream\n"
       "r = r & t.Line & t.ReadLine & \";\"\nLoop",
       "String 1one;2two;3;4last;"},
      {"Set t = f.OpenTextFile(\"C:\\data\\in.txt\") : r = t.Read(2) & \"|\" & t.ReadAll",
       "String on|e\r\ntwo\n\nlast"},
      {"Set t = f.OpenTextFile(\"C:\\data\\in.txt\") : t.ReadAll : r = t.ReadLine",
       "! 62 Input past end of file: 'C:\\data\\in.txt' in line 3"},
      {"Set t = f.OpenTextFile(\"C:\\data\\in.txt\") : t.Write \"x\"",
       "! 54 Bad file mode: 'C:\\data\\in.txt' in line 3"},
      {"f.OpenTextFile \"C:\\data\\none.txt\"",
       "! 53 File not found: 'C:\\data\\none.txt' in line 3"},
      {"r = f.FileExists(\"C:\\data\\in.txt\") & f.FileExists(\"C:\\data\\no\")",
       "String TrueFalse"},
      {"r = f.GetFile(\"/srv/x/a.tar.gz\").Size & f.GetFile(\"/srv/x/a.tar.gz\").Name",
       "String 5a.tar.gz"},
      {"Set d = f.GetFolder(\"C:\\data\\\") : r = d.Name & d.Files.Count\n"
       "For Each g In d.Files : r = r & g.Path : Next : r = r & d.Files(\"in.txt\").Name",
       "String data1C:\\data\\in.txtin.txt"},
      {"Set d = f.GetFolder(\"/srv/x\") : For Each s In d.SubFolders : r = r & s.Name & "
       "s.Files.Count : Next\n"
       "r = r & d.SubFolders.Count & d.SubFolders(\"b\").Files(\"1.txt\").ParentFolder.Path",
       "String b1c02/srv/x/b"},
      {"f.GetFolder(\"/srv/x/b\").SubFolders \"none\"",
       "! 76 Path not found: '/srv/x/b/none' in line 3"},
      {"r = f.GetFolder(\"/srv/x\").ParentFolder.Name",
       "! 70 Permission denied: '/srv' is not below a directory that scripts may use in line 3"},
      {"f.GetFolder \"C:\\data\\none\"", "! 76 Path not found: 'C:\\data\\none' in line 3"},
      {"f.CopyFile \"C:\\data\\in.txt\", \"C:\\data\\in.txt\", False",
       "! 58 File already exists: 'C:\\data\\in.txt' to 'C:\\data\\in.txt' (File exists) in line "
       "3"},
  };
  for (const auto& c : cases) EXPECT_EQ(c.outcome, Run(c.statements)) << c.statements;
}

TEST_F(FileSystemObject, ChangesFiles) {
  EXPECT_EQ("Empty", Run("Set t = f.CreateTextFile(\"C:\\data\\new.txt\")\n"
                         "t.Write \"a\" : t.WriteLine 5 : t.WriteBlankLines 1 : t.Close\n"
                         "Set t = f.OpenTextFile(\"C:\\data\\new.txt\", 8) : t.Write \"end\"\n"
                         "Set t = Nothing\nf.CopyFile \"C:\\data\\new.txt\", \"/srv/x/\"\n"
                         "f.MoveFile \"C:\\data\\in.txt\", \"/srv/x/moved\"\n"
                         "f.DeleteFile \"/srv/x/a.tar.gz\""));
  EXPECT_EQ("a5\r\n\r\nend", files.Text("C:/data/new.txt"));
  EXPECT_EQ("a5\r\n\r\nend", files.Text("/srv/x/new.txt"));
  EXPECT_EQ("one\r\ntwo\n\nlast", files.Text("/srv/x/moved"));
  EXPECT_FALSE(files.Exists("C:/data/in.txt"));
  EXPECT_FALSE(files.Exists("/srv/x/a.tar.gz"));
}

TEST_F(FileSystemObject, StaysInItsDirectories) {
  for (const char* const path :
       {"C:\\secret\\key.txt", "C:\\data\\..\\secret\\key.txt", "in.txt", "..\\in.txt",
        "C:/data/../../C:/secret/key.txt", "C:\\database\\x", "/srv/x/../y", "\\\\server\\share\\f",
        "/etc/passwd", "", "D:\\data\\in.txt"}) {
    EXPECT_EQ("! 70 Permission denied: '" + std::string(path) +
                  "' is not below a directory that scripts may use in line 3",
              Run("r = f.FileExists(\"" + std::string(path) + "\")"));
  }
  EXPECT_EQ("Boolean True", Run("r = f.FileExists(\"C:\\data\\sub\\..\\.\\in.txt\")"));
  EXPECT_EQ("! 429 ActiveX component can't create object: 'Scripting.FileSystemObject' in line 2",
            Ran("Function Main\nSet f = CreateObject(\"Scripting.FileSystemObject\")\n"
                "End Function"));
}

TEST_F(FileSystemObject, CutsPaths) {
  const struct {
    const char* expression;
    const char* outcome;
  } cases[] = {
      {"f.BuildPath(\"C:\\a\", \"b\")", "String C:\\a\\b"},
      {"f.BuildPath(\"/a/\", \"b\")", "String /a/b"},
      {"f.GetFileName(\"C:\\a\\b.txt\")", "String b.txt"},
      {"f.GetBaseName(\"/a/b.tar.gz\") & f.GetExtensionName(\"/a/b.tar.gz\")", "String b.targz"},
      {"f.GetExtensionName(\"x\")", "String "},
      {"f.GetParentFolderName(\"C:\\a\\b\\\")", "String C:\\a"},
      {"f.GetParentFolderName(\"C:\\a\") & f.GetParentFolderName(\"a\")", "String C:\\"},
  };
  for (const auto& c : cases)
    EXPECT_EQ(c.outcome, Run("r = " + std::string(c.expression))) << c.expression;
}

}  // namespace
}  // namespace torvik::script
