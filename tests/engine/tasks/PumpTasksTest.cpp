#include <gmock/gmock.h>

#include <filesystem>

#include "engine/EngineFixture.h"

namespace torvik::engine {
namespace {

using testing::AllOf;
using testing::HasSubstr;
using testing::MatchesRegex;

/// Pumps of a text file into table t (id INTEGER PRIMARY KEY, name VARCHAR(5) NOT NULL, day DATE).
class PumpTasksTest : public EngineTest {
 protected:
  PumpTasksTest() {
    warehouse_->Execute(
        "CREATE TABLE t (id INTEGER PRIMARY KEY, name VARCHAR(5) NOT NULL, day DATE);"
        "CREATE TABLE code (short TEXT, long TEXT); INSERT INTO code VALUES ('a', 'alpha')");
  }

  RunResult Pump(const std::string& text, const std::string& keys) {
    disk_.Write("in.csv", text);
    Put("P", Head("P") + "[[connections]]\nname = \"file\"\nprovider = \"DTSFlatFile\"\n" +
                 "properties = { \"Data Source\" = \"" + disk_.PathOf("in.csv") +
                 "\", \"First Row Column Name\" = " + (hasHeader_ ? "true" : "false") + " }\n" +
                 Step("s", "DataPump",
                      "source = \"file\"\ndestination = \"dw\"\ntable = \"t\"\n" + keys));
    return EngineTest::Run(*Load("P"));
  }

  bool hasHeader_ = true;

  std::string Rows() {
    return Query("SELECT id || ':' || name || coalesce('@' || day, '') FROM t ORDER BY id");
  }
};

TEST_F(PumpTasksTest, TransformationsMakeTheValuesOfColumns) {
  disk_.Write("note.txt", "f\xC3\xBCnf");
  const std::string directory = "directory = \"" + disk_.PathOf("") + "\"\n";
  const struct {
    std::string value;  ///< Of the file's column "raw".
    std::string keys;   ///< Of the transformations into "name".
    std::string name;   ///< What it becomes, or a part of the error.
  } cases[] = {
      {" ab ", "type = 'trim'", "ab"},
      {" ab ", "type = 'trim'\nside = 'right'", " ab"},
      {"\u00e4b", "type = 'upper'", "\u00c4B"},
      {"\u00c4\u03a9", "type = 'lower'", "\u00e4\u03c9"},
      {"\u00e4bcdef", "type = 'substring'\nstart = 2\nlength = 3", "bcd"},
      {"abc", "type = 'substring'\nstart = 9", ""},
      {"07.03.24", "type = 'date_time'\nfrom = 'dd.MM.yy'\nto = 'MM/dd'", "03/07"},
      {"07-03-24", "type = 'date_time'\nfrom = 'dd.MM.yy'",
       "column 2 (raw): \"07-03-24\" is not a date of the form dd.MM.yy"},
      {"x", "type = 'constant'\nvalue = '${Text}!'", "text!"},
      {"a",
       "type = 'lookup'\nconnection = 'dw again'\nsql = 'SELECT long FROM code WHERE short = ?'",
       "alpha"},
      {"b",
       "type = 'lookup'\nconnection = 'dw'\nmust_exist = true\nkeys = ['id', 'raw']\n"
       "sql = 'SELECT long FROM code WHERE ? > 0 AND short = ?'",
       "\"1, b\" is not found by the lookup"},
      {"note.txt", "type = 'read_file'\n" + directory, "f\u00fcnf"},
      {"../note.txt", "type = 'read_file'\n" + directory, "may not lead out of the directory"},
      {"gone", "type = 'read_file'\n" + directory, "cannot be read"},
      {"n/a", "type = 'null_if'\nvalues = ['-', 'n/a']\nallow = ['null_change']", ""},
      {"n/a", "type = 'null_if'\nvalues = ['-', 'n/a']", "the value is missing"},
      {"longer", "type = 'copy'", "has 6 characters, 5 fit"},
      {"longer", "type = 'copy'\nallow = ['string_truncation']", "longe"},
      {" B ", "type = 'trim'\n[[steps.transformations]]\ndestination = 'name'\ntype = 'lower'",
       "b"},
  };
  for (const auto& c : cases) {
    warehouse_->Execute("DELETE FROM t");
    const RunResult result =
        Pump("id,raw\n1," + c.value + "\n",
             "[[steps.transformations]]\nsource = 'raw'\ndestination = 'name'\n" + c.keys);
    if (result.ends == "S")
      EXPECT_EQ("1:" + c.name, Rows()) << c.keys;
    else
      EXPECT_THAT(result.events.errors, HasSubstr(c.name)) << c.keys;
  }
  warehouse_->Execute("DELETE FROM t");
  EXPECT_EQ("S", Pump("id,raw\n1,f\u00fcr\n",
                      "[[steps.transformations]]\ntype = 'write_file'\nsource = 'raw'\n"
                      "destination = 'name'\nname_column = 'id'\n" +
                          directory +
                          "[[steps.transformations]]\ntype = 'copy'\nsource = 'id'\n"
                          "destination = 'id'")
                     .ends);
  EXPECT_EQ("1:1", Rows());
  EXPECT_EQ("f\u00fcr", disk_.Read("1"));
  // For its effect alone: no column is filled, and no row is loaded.
  const RunResult alone = Pump("id,raw\n7,seven\n8,\n",
                               "columns = {}\n[[steps.transformations]]\ntype = 'write_file'\n"
                               "source = 'raw'\nname_column = 'id'\n" +
                                   directory);
  EXPECT_EQ("S", alone.ends) << alone.events.errors;
  EXPECT_EQ("1:1", Rows());
  EXPECT_EQ("seven", disk_.Read("7"));
  EXPECT_FALSE(std::filesystem::exists(disk_.PathOf("8")));
  EXPECT_THAT(Pump("id,raw\n../x,a\n",
                   "columns = {}\n[[steps.transformations]]\n"
                   "type = 'write_file'\nsource = 'raw'\n"
                   "name_column = 'id'\n" +
                       directory)
                  .events.errors,
              HasSubstr("may not lead out of the directory"));
}

TEST_F(PumpTasksTest, FilesOfRowsAreReplacedAddedToOrRefused) {
  const auto wide = [](const std::string& text) {
    std::string bytes;
    for (const char c : text) bytes += {c, '\0'};
    return bytes;
  };
  const struct {
    const char* keys;
    const char* rows;
    std::string before, after;  ///< Of the file "a"; "-": there is none.
    const char* ends;
    const char* error;
  } cases[] = {
      {"", "a,one\na,two\n", "old", "onetwo", "S", ""},
      {"mode = 'replace'", "a,\n", "old", "-", "S", ""},
      {"mode = 'replace'", "a,one\na,\n", "old", "one", "S", ""},
      {"mode = 'append'", "a,one\na,\na,two\n", "old", "oldonetwo", "S", ""},
      {"mode = 'append'", "a,one\n", "-", "one", "S", ""},
      {"mode = 'error'", "a,one\n", "-", "one", "S", ""},
      {"mode = 'error'", "a,one\n", "old", "old", "F", "cannot be written to"},
      {"mode = 'error'", "a,\n", "old", "old", "F", "File exists"},
      {"mode = 'error'", "a,one\na,two\n", "-", "one", "F", "\"two\" cannot be written to"},
      {"encoding = 'utf-16'", "a,x\na,y\n", "old", "\xFF\xFE" + wide("xy"), "S", ""},
      {"encoding = 'utf-16'\nmode = 'append'", "a,y\n", "\xFF\xFE" + wide("x"),
       "\xFF\xFE" + wide("xy"), "S", ""},
      {"encoding = 'cp437'", "a,\u20ac\n", "old", "old", "F", "a character that cp437 lacks"},
      {"encoding = 'klingon'", "a,x\n", "old", "old", "F", "klingon"},
  };
  for (const auto& c : cases) {
    std::filesystem::remove(disk_.PathOf("a"));
    if (c.before != "-") disk_.Write("a", c.before);
    const RunResult result = Pump("file,text\n" + std::string(c.rows),
                                  "columns = {}\n[[steps.transformations]]\ntype = 'write_file'\n"
                                  "source = 'text'\nname_column = 'file'\ndirectory = \"" +
                                      disk_.PathOf("") + "\"\n" + c.keys);
    EXPECT_EQ(c.ends, result.ends) << c.keys << result.events.errors;
    EXPECT_THAT(result.events.errors, HasSubstr(c.error)) << c.keys;
    const bool isThere = std::filesystem::exists(disk_.PathOf("a"));
    EXPECT_EQ(c.after, isThere ? disk_.Read("a") : "-") << c.keys << c.rows;
  }
  // What was written is read again.
  disk_.Write("wide", "\xFF\xFE" + wide("ok"));
  const std::string read =
      "[[steps.transformations]]\ntype = 'read_file'\nsource = 'raw'\n"
      "destination = 'name'\nencoding = 'utf-16'\ndirectory = \"" +
      disk_.PathOf("") + "\"\n";
  EXPECT_EQ("S", Pump("id,raw\n1,wide\n", read).ends);
  EXPECT_EQ("1:ok", Rows());
  disk_.Write("wide", "\xFF\xFE" + std::string("odd"));
  EXPECT_THAT(Pump("id,raw\n2,wide\n", read).events.errors, HasSubstr("not in the given encoding"));
}

TEST_F(PumpTasksTest, RejectedRowsAreKeptAsTheyStood) {
  const std::string text = "id,name,day\n1,one,\nx,two,\n3,three,2024-02-30\n1,twice,\n5,five,\n";
  const RunResult result = Pump(text, "maximum_error_count = 3");
  EXPECT_EQ("S", result.ends) << result.events.errors;
  EXPECT_EQ("1:one 5:five", Rows());
  EXPECT_EQ("id,name,day\nx,two,\n3,three,2024-02-30\n1,twice,\n",
            disk_.Read("s.exceptions.Source"));
  EXPECT_EQ("id,name,day\r\n1,twice,\r\n", disk_.Read("s.exceptions.Dest"));
  const std::string errors = disk_.Read("s.exceptions");
  EXPECT_THAT(
      errors,
      AllOf(HasSubstr("Package \"P\", step \"s\", started "),
            HasSubstr("in.csv, line 3, column 1 (id), bytes 19 to 25: \"x\" is not a whole"),
            HasSubstr("in.csv, line 4, column 3 (day), bytes 26 to 44: "),
            HasSubstr("in.csv, line 5, bytes 45 to 53: table t: UNIQUE constraint"),
            HasSubstr(": 5 rows read, 3 rejected, 2 loaded\r\n")));
  EXPECT_THAT(disk_.Read("P.log"), HasSubstr("2 rows"));

  warehouse_->Execute("DELETE FROM t");
  const RunResult failed = Pump(text, "maximum_error_count = 2\nexception_file_overwrite = true");
  EXPECT_EQ("F", failed.ends);
  EXPECT_EQ("", Rows());
  EXPECT_THAT(failed.events.errors,
              HasSubstr("UNIQUE constraint failed: t.id; 3 rows are rejected, and "
                        "maximum_error_count allows 2"));
  EXPECT_THAT(disk_.Read("s.exceptions"), HasSubstr("5 rows read, 3 rejected; the pump failed"));

  // What could not be kept ends the pump.
  const RunResult lost = Pump(text, "maximum_error_count = 9\nexception_file = '/no/such/file'");
  EXPECT_THAT(lost.events.errors, HasSubstr("/no/such/file.Source: rejected rows cannot be"));
  EXPECT_EQ("", Rows());
}

TEST_F(PumpTasksTest, RangesCommitSizesAndLoadModes) {
  const std::string text = "id,name\n1,a\n2,b\n3,c\n4,d\n5,e\n";
  const struct {
    const char* text;
    const char* keys;
    const char* ends;
    const char* rows;
  } cases[] = {
      {text.c_str(), "first_row = 2\nlast_row = 4", "S", "2:b 3:c 4:d 9:old"},
      {text.c_str(), "first_row = 5", "S", "5:e 9:old"},
      {text.c_str(), "last_row = 1", "S", "1:a 9:old"},
      {"id,name\n1,a\n2,b\n3,c\n4,d\n4,e\n", "insert_commit_size = 2", "F",
       "1:a 2:b 3:c 4:d 9:old"},
      {text.c_str(), "insert_commit_size = 5", "S", "1:a 2:b 3:c 4:d 5:e 9:old"},
      {text.c_str(), "load = 'truncate'", "S", "1:a 2:b 3:c 4:d 5:e"},
      {"id,name\n1,a\n1,b\n", "load = 'truncate'", "F", "9:old"},
      {text.c_str(), "load = 'replace'", "S", "1:a 2:b 3:c 4:d 5:e"},
      {text.c_str(), "load = 'replace'\ninsert_commit_size = 2", "S", "1:a 2:b 3:c 4:d 5:e"},
      {"id,name\n1,a\n1,b\n", "load = 'replace'\ninsert_commit_size = 1", "F", "9:old"},
      {"id,name\n1,a\nx,b\n", "load = 'replace'\njoin_transaction = true", "F", "9:old"},
  };
  for (const auto& c : cases) {
    warehouse_->Execute("DELETE FROM t; INSERT INTO t VALUES (9, 'old', NULL)");
    const RunResult result = Pump(c.text, c.keys);
    EXPECT_EQ(c.ends, result.ends) << c.keys << result.events.errors;
    EXPECT_EQ(c.rows, Rows()) << c.keys;
  }
}

TEST_F(PumpTasksTest, AFileWithoutALineIsAnEmptyLoad) {
  const std::pair<const char*, const char*> cases[] = {
      {"load = 'append'", "9:old"},
      {"load = 'truncate'", ""},
      {"load = 'replace'", ""},
      {"load = 'merge'\nkeys = ['id']", "9:old"},
      {"load = 'merge'\nkeys = ['id']\ndelete_missing = true", ""},
  };
  hasHeader_ = false;
  for (const auto& [keys, rows] : cases) {
    warehouse_->Execute("DELETE FROM t; INSERT INTO t VALUES (9, 'old', NULL)");
    const RunResult result = Pump("", keys);
    EXPECT_EQ("S", result.ends) << keys << result.events.errors;
    EXPECT_EQ(rows, Rows()) << keys;
    EXPECT_EQ("0", Query("SELECT count(*) FROM sqlite_master WHERE name LIKE 't\\_%' ESCAPE '\\'"))
        << keys;
  }
}

TEST_F(PumpTasksTest, AMergeChangesRowsByTheirKeysOrNothing) {
  const struct {
    const char* text;
    const char* keys;  ///< Beside load = 'merge'.
    const char* rows;
    const char* told;  ///< In the package's log.
  } cases[] = {
      {"id,name\n1,new\n8,same\n9,young\n", "keys = ['id']", "1:new 7:gone 8:same 9:young",
       "succeeded: 3 rows, 1 inserted, 1 updated, 0 deleted, "},
      {"id,name\n8,same\n9,old\n", "keys = ['ID']\ndelete_missing = true", "8:same 9:old",
       "succeeded: 2 rows, 0 inserted, 0 updated, 1 deleted, "},
      {"id,name\n1,new\nx,y\n9,young\n", "keys = ['id']\nmaximum_error_count = 1",
       "1:new 7:gone 8:same 9:young", "1 inserted, 1 updated, 0 deleted, 1 rejected, "},
      {"id,name\n9,young\nx,y\n", "keys = ['id']\ndelete_missing = true", "7:gone 8:same 9:old",
       "line 3"},
      {"id,name\n1,same\n2,same\n", "keys = ['name']\ndelete_missing = true", "7:gone 8:same 9:old",
       "several rows have the key (\"name\") = (same)"},
      {"id,name\n1,a\n", "keys = ['day']", "7:gone 8:same 9:old",
       "the key column day of table t gets no values"},
      {"id,name\n9,young\n", "keys = ['id']\njoin_transaction = true", "7:gone 8:same 9:young",
       "0 inserted, 1 updated"},
  };
  for (const auto& c : cases) {
    warehouse_->Execute(
        "DELETE FROM t; INSERT INTO t VALUES (7, 'gone', NULL), (8, 'same', NULL), (9, 'old', "
        "NULL)");
    disk_.Write("P.log", "");
    Pump(c.text, std::string("load = 'merge'\n") + c.keys);
    EXPECT_EQ(c.rows, Rows()) << c.keys;
    EXPECT_THAT(disk_.Read("P.log"), HasSubstr(c.told)) << c.keys;
  }
}

TEST_F(PumpTasksTest, KeysBelongToAMerge) {
  const std::pair<const char*, const char*> cases[] = {
      {"load = 'merge'", "a merge needs \"keys\""},
      {"load = 'replace'\nkeys = ['id']", "\"keys\" is for load = \"merge\" alone"},
      {"delete_missing = true", "\"delete_missing\" is for load = \"merge\" alone"},
      {"load = 'upsert'", "\"merge\""}};
  for (const auto& [keys, problem] : cases)
    EXPECT_THAT(ErrorOf([&] { Pump("id\n1\n", keys); }), HasSubstr(problem)) << keys;
}

TEST_F(PumpTasksTest, AWatermarkBelongsToRowsThatAreAdded) {
  const std::string watermark = "watermark = { column = 'id', variable = 'Text' }\n";
  const std::pair<std::string, const char*> cases[] = {
      {watermark + "load = 'replace'", "which removes what earlier loads have brought"},
      {watermark + "load = 'truncate'", "which removes what earlier loads have brought"},
      {watermark + "load = 'merge'\nkeys = ['id']\ndelete_missing = true", "delete_missing"},
      {watermark + "insert_commit_size = 5", "insert_commit_size"},
      {watermark + "last_row = 5", "rows behind it would never be loaded"},
      {watermark + Step("again", "DataPump",
                        "source = \"file\"\ndestination = \"dw\"\ntable = \"t\"\n" + watermark),
       "is that of the step \"s\" already"},
      {"watermark = { column = 'id', variable = 'Txt' }", "no global variable \"Txt\""},
      {"watermark = { column = 'id' }", "the key \"variable\" is missing"}};
  for (const auto& [keys, problem] : cases)
    EXPECT_THAT(ErrorOf([&] { Pump("id,name\n1,a\n", keys); }), HasSubstr(problem)) << keys;
  Pump("id,name\n1,a\n", "watermark = { column = 'name', variable = 'Text' }");
  EXPECT_THAT(disk_.Read("P.log"), HasSubstr("holds neither whole or decimal numbers nor dates"));
  Pump("id,name\n1,a\n", watermark);
  Pump("id,name\n2,a\n", "watermark = { column = 'day', variable = 'Text' }");
  EXPECT_THAT(disk_.Read("P.log"), HasSubstr("is one of table t, column id, and the step goes by"));
  EXPECT_EQ(Rows(), "1:a");
}

TEST_F(PumpTasksTest, SeveralConnectionsAreRefusedWhereRowsMustGoInOrder) {
  const std::string four = "load_connections = 4\n";
  const std::pair<std::string, const char*> cases[] = {
      {"load_connections = 33", "\"load_connections\" is 33; write a whole number from 1 to 32"},
      {four + "join_transaction = true", "which cannot join a transaction; remove one of"},
      {four + "watermark = { column = 'id', variable = 'Text' }",
       "highest value of one connection"},
      {four + "insert_commit_size = 5",
       "and not by insert_commit_size; remove \"load_connections\""},
      {four + "last_row = 5", "first_row and last_row count the rows one after the other"},
      {four + "[[steps.lookups]]\nname = 'l'\nconnection = 'dw'\nsql = 'SELECT 1'",
       "scripts see the rows one after the other"},
      {four + "[[steps.transformations]]\ntype = 'lookup'\nsource = 'id'\ndestination = 'id'\n"
              "connection = 'dw'\nsql = 'SELECT ?'",
       "\"lookup\" takes the rows one after the other; remove \"load_connections\""},
      {four, "only PostgreSQL is, by its own library; remove load_connections"},
  };
  for (const auto& [keys, problem] : cases) {
    std::string said;
    const std::string refused = ErrorOf([&] { said = Pump("id\n1\n", keys).events.errors; });
    EXPECT_THAT(refused + said, HasSubstr(problem)) << keys;
    EXPECT_EQ("", Rows());
  }
  const std::pair<const char*, const char*> ends[] = {
      {"source = 'dw'\nsource_table = 't'\ndestination = 'dw again'\ntable = 't'",
       "the source \"dw\" is a database, and only a text file is read in parts"},
      {"source = 'file'\ndestination = 'file'", "the destination \"file\" is a text file"}};
  for (const auto& [keys, problem] : ends)
    EXPECT_THAT(ErrorOf([&] {
                  Run("P", Head("P") +
                               "[[connections]]\nname = 'file'\nprovider = 'DTSFlatFile'\n"
                               "properties = { 'Data Source' = 'in.csv' }\n" +
                               Step("s", "DataPump", four + keys));
                }),
                HasSubstr(problem));
}

TEST_F(PumpTasksTest, AMissingValueBecomesTheDefaultUnlessNullsAreKept) {
  const std::pair<const char*, const char*> cases[] = {
      {"", "1:none@2001-01-08 2:b@2002-02-03"},
      {"load = 'replace'", "1:none@2001-01-08 2:b@2002-02-03"},
      {"keep_nulls = true\nmaximum_error_count = 1", "2:b@2002-02-03"},
      {"keep_nulls = true\nallow = ['null_change']", "1: 2:b@2002-02-03"}};
  for (const auto& [keys, rows] : cases) {
    warehouse_->Execute(
        "DROP TABLE t; CREATE TABLE t (id INTEGER PRIMARY KEY, name VARCHAR(5) "
        "DEFAULT 'none' NOT NULL, day DATE DEFAULT '2001-01-08')");
    EXPECT_EQ("S", Pump("id,name,day\n1,,\n2,b,2002-02-03\n", keys).ends) << keys;
    EXPECT_EQ(rows, Rows()) << keys;
  }
}

TEST_F(PumpTasksTest, AnIdentityTakesTheSourcesNumbersWhenItIsToldTo) {
  const std::string mapped = "columns = { name = 'name' }";
  const struct {
    std::string keys;
    const char* rows;
    const char* error;
  } cases[] = {{"load = 'truncate'", "5:old", "write identity_insert = true"},
               {"load = 'truncate'\n" + mapped, "5:a 6:b", ""},
               {"load = 'replace'\n" + mapped, "5:a 6:b", ""},
               {mapped, "5:old 6:a 7:b", ""},
               {"identity_insert = true", "5:old 8:a 9:b", ""},
               {"load = 'replace'\nidentity_insert = true", "8:a 9:b", ""},
               {"load = 'merge'\nkeys = ['name']\n" + mapped, "5:old 6:a 7:b", ""},
               {"load = 'merge'\nkeys = ['id']", "5:old", "write identity_insert = true"},
               {"load = 'merge'\nkeys = ['name']\nidentity_insert = true", "5:old 8:a 9:b", ""}};
  for (const auto& c : cases) {
    warehouse_->Execute(
        "DROP TABLE t; CREATE TABLE t (id INT IDENTITY(5, 1), name VARCHAR(5), day DATE);"
        "INSERT INTO t (name) VALUES ('old')");
    EXPECT_THAT(Pump("id,name\n8,a\n9,b\n", c.keys).events.errors, HasSubstr(c.error));
    EXPECT_EQ(c.rows, Rows()) << c.keys;
  }
}

TEST_F(PumpTasksTest, RowsThatDoNotTakeTheirPlaceAreNotToldAsLoaded) {
  warehouse_->Execute(
      "INSERT INTO t VALUES (9, 'old', NULL); CREATE TRIGGER no BEFORE INSERT ON t WHEN NEW.name "
      "= 'b' BEGIN SELECT RAISE(ABORT, 'no b here'); END");
  const RunResult result =
      Pump("id,name\n1,a\nx,y\n2,b\n", "load = 'replace'\nmaximum_error_count = 3");
  EXPECT_THAT(result.events.errors, HasSubstr("no b here"));
  EXPECT_EQ("9:old", Rows());
  EXPECT_THAT(disk_.Read("s.exceptions"),
              testing::AllOf(HasSubstr("3 rows read, 1 rejected; the pump failed: "),
                             HasSubstr("no b here"), testing::Not(HasSubstr("loaded"))));
}

TEST_F(PumpTasksTest, ATextFileTakesTheRowsOfAQueryOrStaysAsItWas) {
  const auto file = [&](const std::string& properties) {
    return "[[connections]]\nname = 'out'\nprovider = 'DTSFlatFile'\nproperties = { 'Data Source' "
           "= '" +
           disk_.PathOf("out.txt") + "', " + properties + " }\n" +
           Step("s", "DataPump",
                "source = 'dw'\nsource_sql = 'SELECT * FROM t ORDER BY id'\ndestination = 'out'\n");
  };
  const std::string fixed =
      "'File Format' = 'Fixed', 'Column Lengths' = '3,4,10', 'Row Delimiter' = \"\\n\"";
  warehouse_->Execute("INSERT INTO t VALUES (1, 'a,b', NULL), (2, '', '2024-01-02')");
  Put("P", Head("P") + file("'First Row Column Name' = true"));
  EXPECT_EQ("", Run(*Load("P")).events.errors);
  EXPECT_EQ("id,name,day\r\n1,\"a,b\",\r\n2,\"\",2024-01-02\r\n", disk_.Read("out.txt"));
  Put("P", Head("P") + file(fixed));
  EXPECT_EQ("", Run(*Load("P")).events.errors);
  EXPECT_EQ("1  a,b           \n2      2024-01-02\n", disk_.Read("out.txt"));
  warehouse_->Execute("INSERT INTO t VALUES (3, 'wider', NULL)");
  EXPECT_THAT(Run(*Load("P")).events.errors, HasSubstr("row 3 of the query"));
  EXPECT_EQ("1  a,b           \n2      2024-01-02\n", disk_.Read("out.txt"));
  EXPECT_EQ("id,name,day\r\n3,wider,\r\n", disk_.Read("s.exceptions.Dest"));
}

TEST_F(PumpTasksTest, BulkInsertAndTransferOfTables) {
  disk_.Write("bulk.txt", "7\tsix\t2024-01-02\n8\t\"q\"\t\n");
  const std::string insert =
      Step("s", "BulkInsert",
           "connection = 'dw'\ntable = 't'\nfile = '" + disk_.PathOf("bulk.txt") + "'\n");
  Put("P", Head("P") + insert);
  EXPECT_EQ("", Run(*Load("P")).events.errors);
  EXPECT_EQ("7:six@2024-01-02 8:\"q\"", Rows());
  Put("P", Head("P") + insert + "columns = ['id']");
  EXPECT_THAT(Run(*Load("P")).events.errors, HasSubstr("the file has 3 columns"));

  CreateWarehouse(server_.Directory(), "mart");
  Put("P", Head("P") +
               "[[connections]]\nname = 'mart'\nprovider = 'SQLOLEDB'\nproperties = { 'Data "
               "Source' = '(local)', 'Initial Catalog' = 'mart' }\n" +
               Step("s", "TransferTables",
                    "source = 'dw'\ndestination = 'mart'\ntables = ['t', 'code']\n"
                    "load = 'replace'"));
  for (int run = 0; run < 2; ++run) {
    EXPECT_EQ("", Run(*Load("P")).events.errors);
    const auto mart = server_.Open("mart");
    EXPECT_EQ("7|six|2024-01-02\n8|\"q\"|-", RowsOf(*mart, "SELECT * FROM t ORDER BY id"));
    EXPECT_EQ("a|alpha", RowsOf(*mart, "SELECT * FROM code"));
    EXPECT_EQ(1, mart->TableColumns("t").at(0).keyPosition);
  }
  warehouse_->Execute(
      "DROP TABLE t; CREATE TABLE t (id INT IDENTITY(5, 1), s TEXT DEFAULT 'x' NOT NULL, n INT "
      "DEFAULT 7, twice INT AS (n * 2)); INSERT INTO t (n) VALUES (1), (NULL)");
  server_.Open("mart")->Execute("DROP TABLE t");
  for (int run = 0; run < 2; ++run) {
    EXPECT_EQ("", Run(*Load("P")).events.errors);
    const auto mart = server_.Open("mart");
    EXPECT_EQ("5|x|1|2\n6|x|-|-", RowsOf(*mart, "SELECT * FROM t ORDER BY id"));
    EXPECT_EQ("7|x|7", (mart->Execute("INSERT INTO t (twice) VALUES (14)"),
                        RowsOf(*mart, "SELECT id, s, n FROM t WHERE twice = 14")));
  }
  EXPECT_THAT(disk_.Read("P.log"), HasSubstr("table t is made; column twice: its values are "
                                             "computed there and stored here\r\n"));
}

TEST_F(PumpTasksTest, RowsOfADataDrivenQueryChooseTheirQuery) {
  const std::string choose = R"toml(
[[steps.transformations]]
type = "script"
destinations = ["id", "name"]
script = '''
Function Main()
  DTSDestination("id") = DTSSource("id")
  DTSDestination("name") = DTSSource("name")
  Select Case DTSSource("op")
    Case "I" : Main = DTSTransformStat_InsertQuery
    Case "U" : Main = DTSTransformStat_UpdateQuery
    Case "D" : Main = DTSTransformStat_DeleteQuery
    Case "X" : Main = DTSTransformStat_UserQuery
    Case "2" : Main = DTSTransformStat_InsertQuery + DTSTransformStat_UpdateQuery
    Case "S" : Main = DTSTransformStat_SkipRow
    Case Else : Main = DTSTransformStat_OK
  End Select
End Function
'''
)toml";
  const std::string queries = R"toml(
[[steps.queries]]
on = "insert"
sql = "INSERT INTO t (id, name, day) VALUES (?, ?, '${Day}')"
parameters = ["id", "name"]
[[steps.queries]]
on = "update"
sql = "UPDATE t SET name = ? WHERE id = ?"
parameters = ["NAME", "id"]
[[steps.queries]]
on = "delete"
sql = "DELETE FROM t WHERE id = ?"
parameters = ["id"]
)toml";
  const struct {
    const char* changes;  ///< Rows id, name, op.
    std::string keys;
    const char* ends;
    const char* rows;   ///< Of t, which held 1:one and 2:two, afterwards.
    const char* words;  ///< Of the errors, or of the package's log.
  } cases[] = {
      {"(3,'new','I'),(1,'uno','U'),(2,NULL,'D'),(9,NULL,'S'),(4,'ok',''),(8,'none','U')", "", "S",
       "1:uno 3:new@2024-01-02 4:ok@2024-01-02", "update: 2 rows, 1 changed"},
      {"(3,'new','I'),(1,'twice','I')", "", "F", "1:one 2:two", "UNIQUE constraint failed: t.id"},
      {"(3,'new','I'),(1,'twice','I'),(4,NULL,'I'),(5,'late','I')", "maximum_error_count = 2", "S",
       "1:one 2:two 3:new@2024-01-02 5:late@2024-01-02", "insert: 2 rows, 2 changed"},
      {"(3,'longer','I')", "", "F", "1:one 2:two", "has 6 characters, 5 fit"},
      {"(3,'user','X')", "", "F", "1:one 2:two", "the row wants the query user, and there is none"},
      {"(3,'both','2')", "", "F", "1:one 2:two", "the scripts choose several queries for one row"},
      {"(3,'new','I')", "join_transaction = true", "S", "1:one 2:two 3:new@2024-01-02", ""},
      // The source is read on the connection that the queries change.
      {"(3,'a','I'),(4,'b','I'),(3,'c','U')", "source_table = 'changes'", "S",
       "1:one 2:two 3:c@2024-01-02 4:b@2024-01-02", "update: 1 row, 1 changed"},
  };
  for (const auto& c : cases) {
    warehouse_->Execute(
        "DELETE FROM t; INSERT INTO t VALUES (1, 'one', NULL), (2, 'two', NULL);"
        "DROP TABLE IF EXISTS changes; CREATE TABLE changes (id INT, name TEXT, op TEXT);"
        "INSERT INTO changes VALUES " +
        std::string(c.changes));
    disk_.Write("P.log", "");
    const bool isOne = c.keys.find("source_table") != c.keys.npos;
    std::string text =
        Head("P") + Step("s", "DataDrivenQuery",
                         "destination = 'dw'\ntable = 't'\nsource = '" +
                             std::string(isOne ? "dw" : "dw again") + "'\n" +
                             (isOne ? "" : "source_sql = 'SELECT * FROM changes'\n") + c.keys +
                             queries + choose);
    text.insert(text.find("[global_variables]\n") + 19, "Day = '2024-01-02'\n");
    Put("P", text);
    const RunResult result = Run(*Load("P"));
    EXPECT_EQ(c.ends, result.ends) << c.changes << result.events.errors;
    EXPECT_EQ(c.rows, Rows()) << c.changes;
    EXPECT_THAT(result.events.errors + disk_.Read("P.log"), HasSubstr(c.words)) << c.changes;
  }
}

}  // namespace
}  // namespace torvik::engine
