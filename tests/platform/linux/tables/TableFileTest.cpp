#include <gmock/gmock.h>

#include <functional>
#include <stdexcept>
#include <utility>

#include "fakes/LoadRow.h"
#include "platform/linux/database/SqlNames.h"
#include "platform/linux/sqlite/EmbeddedFixture.h"
#include "platform/linux/tables/AdoTableFile.h"
#include "platform/linux/tables/common/DecimalText.h"
#include "platform/linux/tables/common/SerialDate.h"
#include "platform/linux/tables/excel/XlsxSheet.h"

namespace torvik {
namespace {

using testing::AllOf;
using testing::HasSubstr;

std::string Data(const std::string& name) {
  return std::string(TORVIK_TEST_DATA) + "/" + name;
}

std::unique_ptr<AdoDatabase> Open(const std::string& name, const std::string& properties = "") {
  return OpenTableFile(Data(name), properties);
}

/// "name type" of each column.
std::string ColumnsOf(AdoDatabase& database, const std::string& table) {
  std::string text;
  for (const ado::Column& column : database.TableColumns(table))
    text += (text.empty() ? "" : ", ") + column.name + " " + column.declaredType;
  return text;
}

/// The tables that a list of tables shows.
std::string TablesOf(AdoDatabase& database) {
  std::string text, last;
  const auto columns = database.OpenSchema(ado::SchemaQuery::Columns, {});
  for (; !columns->Eof(); columns->MoveNext()) {
    const auto table = std::get<std::string>(columns->Field("TABLE_NAME"));
    if (table != last) text += (last.empty() ? "" : ", ") + table;
    last = table;
  }
  return text;
}

TEST(Workbook, AllFormatsReadAlike) {
  const std::pair<const char*, const char*> files[] = {{"workbook.xlsx", "1900-01-01"},
                                                       {"workbook.xls", "1900-01-01"},
                                                       {"workbook1904.xlsx", "1904-01-02"},
                                                       {"workbook1904.xls", "1904-01-02"}};
  for (const auto& [file, firstDay] : files) {
    SCOPED_TRACE(file);
    const auto workbook = Open(file);
    EXPECT_EQ("Empty$, Regions x$, Sales$", TablesOf(*workbook));
    EXPECT_EQ("Region TEXT, Amount FLOAT, When DATE, Seen at DATETIME, Paid BIT, Note TEXT",
              ColumnsOf(*workbook, "[Sales$]"));
    EXPECT_EQ(
        "Nord|12.500000|2024-02-29|2024-02-29 13:45:30|1|Grüße 😀\n"
        "Süd|7|" +
            std::string(firstDay) +
            "|2023-12-31 23:59:59|0|-\n"
            "-|-|-|-|-|-\n"
            "West|19.500000|2024-03-01|-|1|Nord!",
        RowsOf(*workbook, "SELECT * FROM [Sales$]"));
  }
}

TEST(Workbook, WhatOtherProgramsWriteIsRead) {
  EXPECT_EQ("-|-|-\nTa ro|2024-02-29|1\na\rb & c|-|0\nlate|2024-03-01|-",
            RowsOf(*Open("other-writers.xlsx"), "SELECT * FROM [One$]"));
  EXPECT_EQ("Да|12.500000|2024-02-29\nx|-|-",
            RowsOf(*Open("excel95.xls"), "SELECT Имя, Rate, Day FROM [Лист$]"));
}

TEST(Workbook, TablesAreSheetsAndPartsOfThemWithOrWithoutAHeader) {
  const struct {
    const char *properties, *table, *columns, *rows;
  } cases[] = {
      {"", "Regions x$", "Region TEXT, F2 TEXT, F3 TEXT, 2024 TEXT",
       "Nord|1|a|0.100000\nWest|two|-|1899-12-30 06:30:00"},
      {"", "regions X", "Region TEXT, F2 TEXT, F3 TEXT, 2024 TEXT",
       "Nord|1|a|0.100000\nWest|two|-|1899-12-30 06:30:00"},
      {"\"Excel 8.0; hdr=no;IMEX=1\"", "'Regions x$'", "F1 TEXT, F2 TEXT, F3 TEXT, F4 TEXT",
       "Region|region|-|2024\nNord|1|a|0.1\nWest|two|-|1899-12-30 06:30:00"},
      {"HDR=NO", "Sales$b2:$C$3", "F1 FLOAT, F2 DATE", "12.500000|2024-02-29\n7|1900-01-01"},
      {"HDR=YES", "Sales$A1:B2", "Region TEXT, Amount FLOAT", "Nord|12.500000"},
      {"", "Sales$E:F", "Paid BIT, Note TEXT", "1|Grüße 😀\n0|-\n-|-\n1|Nord!"},
      {"HDR=NO", "Sales$F3:H9", "F1 TEXT, F2 TEXT, F3 TEXT", "Nord!|-|-"},
      {"", "Empty", "F1 TEXT", ""},
      {"", "Sales$A1", "Region TEXT", ""}};
  for (const auto& c : cases) {
    SCOPED_TRACE(std::string(c.properties) + " " + c.table);
    const auto workbook = Open("workbook.xls", c.properties);
    EXPECT_EQ(c.columns, ColumnsOf(*workbook, "[" + std::string(c.table) + "]"));
    EXPECT_EQ(c.rows, RowsOf(*workbook, "SELECT * FROM [" + std::string(c.table) + "]"));
  }
  const auto workbook = Open("workbook.xls");
  for (const char* table : {"Sales$A", "Sales$A0:B1", "Sales$A1:", "Sales$A1:B", "Sale$A1:B2"})
    EXPECT_THAT(ErrorOf([&] { RowsOf(*workbook, "SELECT * FROM [" + std::string(table) + "]"); }),
                HasSubstr("no such table"))
        << table;
  EXPECT_THAT(ErrorOf([] { Open("workbook.xls", "HDR=MAYBE"); }),
              AllOf(HasSubstr("HDR=MAYBE"), HasSubstr("YES or NO")));
}

TEST(TableFile, RowsAreJoinedByEqualValuesWhateverTheirTypes) {
  const auto workbook = Open("workbook.xlsx");
  const auto orders = Open("access2000.mdb");
  const struct {
    AdoDatabase& database;
    const char *query, *rows;
  } cases[] = {
      {*workbook,
       "SELECT s.Region, r.F2 FROM Sales s LEFT JOIN [Regions x$] r ON r.Region = s.Region"
       " WHERE s.Region IS NOT NULL ORDER BY s.Region",
       "Nord|1\nSüd|-\nWest|two"},
      {*workbook,
       "WITH v(x) AS (VALUES ('two'), (1), ('TWO'), (NULL), (' 1')) SELECT v.x, r.Region FROM v"
       " CROSS JOIN [Regions x] r ON r.F2 = v.x COLLATE NOCASE",
       "two|West\n1|Nord\nTWO|West"},
      {*orders,
       "WITH v(x) AS (VALUES ('12.50'), (12.5), ('150'), ('0')) SELECT count(*), max(o.Id)"
       " FROM v CROSS JOIN Orders o ON o.Amount = v.x",
       "1|120"},
      {*orders,
       "SELECT count(*), sum(a.Id = b.Id) FROM Orders a JOIN Orders b ON a.Id = b.Id AND"
       " a.Customer = upper(b.Customer) COLLATE NOCASE",
       "149|149"}};
  for (const auto& c : cases) EXPECT_EQ(c.rows, RowsOf(c.database, c.query)) << c.query;
}

TEST(AccessFile, EveryTypeIsReadInEveryVersion) {
  const std::pair<const char*, std::vector<std::string>> files[] = {
      {"access97.mdb", {"Grüße", "", "a-b"}},
      {"access2000.mdb", {"Grüße 😀", "", "Ωmega"}},
      {"access2010.accdb", {"Grüße 😀", "", "Ωmega"}}};
  const std::string guid = "|3F2504E0-4F89-41D3-9A0C-0305E82C3301|";
  for (const auto& [file, names] : files) {
    SCOPED_TRACE(file);
    const auto access = Open(file);
    EXPECT_EQ("Every Type, Nothing, Orders", TablesOf(*access));
    EXPECT_THAT(ColumnsOf(*access, "\"Every Type\""),
                HasSubstr("Id INT, Yes BIT, Small TINYINT, Short SMALLINT, Price MONEY, One REAL, "
                          "Two FLOAT, At DATETIME, Raw VARBINARY(40), Name NVARCHAR(20), Picture "
                          "IMAGE, Note NTEXT, Key UNIQUEIDENTIFIER, Exact DECIMAL(18, 3)"));
    EXPECT_EQ("1|1|200|-5|12.3456|0.100000|2024-02-29 13:45:30|<" + std::string("\0\xFF", 2) +
                  ">|" + names[0] + "|<tiny>|short" + guid +
                  "1234567890123.456\n"
                  "2|0|0|32767|-922337203685477.5808|-1.500000|1899-12-29 06:00:00|<>|" +
                  names[1] + "|<" + std::string(700, '\1') + ">|" + std::string(700, 'm') + guid +
                  "-0.001",
              RowsOf(*access,
                     "SELECT Id, Yes, Small, Short, Price, One, At, Raw, Name, Picture,"
                     " Note, \"Key\", Exact FROM [Every Type] WHERE Id IN (1, 2)"));
    EXPECT_EQ("-2147483648|" + names[2] + "|2560|3000|Straße 1234 |1899-12-30 00:00:00|0.000",
              RowsOf(*access,
                     "SELECT Id, Name, length(Picture), length(Note), substr(Note, -12),"
                     " At, Exact FROM [Every Type] WHERE Id < 0"));
    EXPECT_EQ("4|0|-|-|-|-|-|-|-|-|-|-|-|-",
              RowsOf(*access,
                     "SELECT Id, Yes, Small, Short, Price, One, Two, At, Raw, Name,"
                     " Picture, Note, \"Key\", Exact FROM [Every Type] WHERE Id = 4"));
  }
  EXPECT_EQ("4611686018427387904\n-1\n0\n-",
            RowsOf(*Open("access2010.accdb"), "SELECT Huge FROM [Every Type]"));
}

TEST(AccessFile, RowsThatMovedAreFoundAndDeletedOnesAreNot) {
  for (const char* file : {"access97.mdb", "access2000.mdb"}) {
    SCOPED_TRACE(file);
    const auto access = Open(file);
    EXPECT_EQ("149|11315|9|moved",
              RowsOf(*access,
                     "SELECT count(*), sum(Id), (SELECT max(Id) FROM Orders WHERE Id < 11),"
                     " (SELECT Customer FROM Orders WHERE Id = 11) FROM Orders"));
    EXPECT_EQ("187.5000\n100.0000\n98.7500\n1.2500",
              RowsOf(*access,
                     "SELECT Amount FROM Orders WHERE Id IN (1, 79, 80, 150)"
                     " ORDER BY Amount DESC"));
    EXPECT_EQ("", RowsOf(*access, "SELECT * FROM \"Nothing\""));
  }
}

TEST(TableFile, NothingIsChanged) {
  for (const std::string file : {"workbook.xls", "access2000.mdb"}) {
    SCOPED_TRACE(file);
    const auto database = Open(file);
    const std::string table = file == "workbook.xls" ? "[Sales$]" : "[Every Type]";
    const std::string column = file == "workbook.xls" ? "Region" : "Name";
    const auto isRefused = AllOf(HasSubstr(Data(file)), HasSubstr("can only be read"));
    for (const std::string& sql :
         {"DELETE FROM " + table, "UPDATE " + table + " SET " + column + " = 'x'",
          "INSERT INTO " + table + " (" + column + ") VALUES ('x')", "DROP TABLE " + table,
          std::string("CREATE TABLE t (a)"), "CREATE TEMP TABLE t AS SELECT * FROM " + table,
          std::string("ATTACH ':memory:' AS m"), std::string("PRAGMA writable_schema = 1")})
      EXPECT_THAT(ErrorOf([&] { database->Execute(sql); }), isRefused) << sql;
    EXPECT_THAT(ErrorOf([&] {
                  const auto rows = database->OpenRecordset("SELECT * FROM " + table, kLocked);
                  rows->SetField(column, "new");
                  rows->Update();
                }),
                isRefused);
    const std::string columns[] = {column};
    const ado::LoadValue row[] = {"x"};
    EXPECT_THAT(ErrorOf([&] { LoadRow(*database->OpenBulkLoad(table, columns), row); }), isRefused);
    const ado::Column made[] = {{.name = "a"}};
    const std::function<void()> changes[] = {
        [&] { database->CreateTable("t", made); }, [&] { database->EmptyTable(table); },
        [&] { database->CreateStagingTable(table); }, [&] { database->ReplaceRows(table, table); }};
    for (const auto& change : changes) EXPECT_THAT(ErrorOf(change), isRefused);
    const std::string query = "SELECT " + column + " FROM " + table + " LIMIT 1";
    const auto read = database->OpenBulkRead(query, true);
    ado::LoadValue first[1];
    EXPECT_TRUE(read->Next(first));
    EXPECT_EQ(RowsOf(*database, query), first[0].Text());
    EXPECT_THAT(ErrorOf([&] { database->Execute("SELECT * FROM msdb.dbo.t"); }),
                AllOf(HasSubstr("msdb"), HasSubstr(Data(file))));
  }
}

TEST(TableFile, AFileThatCannotBeReadIsNamedWithTheReason) {
  TemporaryDirectory disk;
  disk.Write("page.xls", "<HTML><table><tr><td>1</td></tr></table>");
  disk.Write("text.xls", "a;b\n1;2\n");
  disk.Write("empty.mdb", "");
  disk.Write("noise.mdb", std::string("\1\2\0\3", 4));
  const std::pair<std::string, const char*> cases[] = {
      {disk.PathOf("absent.xls"), "No such file"},
      {disk.Path(), "Is a directory"},
      {disk.PathOf("page.xls"), "is a web page"},
      {disk.PathOf("text.xls"), "is a text file"},
      {disk.PathOf("empty.mdb"), "is empty"},
      {disk.PathOf("noise.mdb"), "neither a workbook nor an Access file"},
      {Data("password.xls"), "protected by a password"},
      {Data("password.xlsx"), "encrypted with a password"},
      {Data("password97.mdb"), "database password"},
      {Data("password2000.mdb"), "database password"},
      {Data("encrypted.accdb"), "encrypted with a password"}};
  for (const auto& [path, reason] : cases)
    EXPECT_THAT(ErrorOf([&, file = path] { OpenTableFile(file, ""); }),
                AllOf(HasSubstr(path), HasSubstr(reason)));
}

/// Reads all that a file holds; answers the first error.
std::string ReadAllOf(const std::string& path) {
  return ErrorOf([&] {
    const auto database = OpenTableFile(path, "");
    for (const char* table : {"Every Type", "Orders", "Sales$", "Regions x$"})
      if (!database->TableColumns(QuotedName(table)).empty())
        RowsOf(*database, "SELECT * FROM " + QuotedName(table));
  });
}

TEST(TableFile, ADamagedFileIsAnErrorThatNamesIt) {
  TemporaryDirectory disk;
  for (const std::string file :
       {"workbook.xls", "workbook.xlsx", "access97.mdb", "access2000.mdb"}) {
    std::ifstream stream(Data(file), std::ios::binary);
    const std::string whole{std::istreambuf_iterator<char>(stream), {}};
    ASSERT_EQ("", ReadAllOf(Data(file)));
    for (std::size_t part = 1; part < 8; ++part) {
      disk.Write(file, whole.substr(0, whole.size() / 10 * part));
      EXPECT_THAT(ReadAllOf(disk.PathOf(file)), HasSubstr(disk.PathOf(file))) << part << " tenths";
    }
    for (std::size_t at = 0; at < whole.size(); at += 811) {
      std::string damaged = whole;
      for (std::size_t i = at; i < whole.size(); i += 1009) damaged[i] = static_cast<char>(i);
      disk.Write(file, damaged);
      const std::string error = ReadAllOf(disk.PathOf(file));
      EXPECT_THAT(error, testing::AnyOf("", HasSubstr(disk.PathOf(file)))) << at;
    }
  }
}

TEST(SerialDate, NumberFormatsTellDatesFromNumbers) {
  using enum NumberKind;
  const std::pair<const char*, NumberKind> cases[] = {{"General", Number},
                                                      {"0.00", Number},
                                                      {"#,##0 \"days\"", Number},
                                                      {"0.00E+00", Number},
                                                      {"[Red]0;[Blue]-0", Number},
                                                      {"\"yyyy\"", Number},
                                                      {"0 \\d", Number},
                                                      {"yyyy\\-mm\\-dd", Date},
                                                      {"[$-409]d mmm yy;@", Date},
                                                      {"mmm", Date},
                                                      {"dd/mm/yy hh:mm", DateTime},
                                                      {"[h]:mm:ss", DateTime},
                                                      {"mm:ss.00", DateTime},
                                                      {"h AM/PM", DateTime},
                                                      {"", Number}};
  for (const auto& [code, kind] : cases) EXPECT_EQ(kind, NumberKindOf(code)) << code;
}

TEST(SerialDate, DatesAreThoseThatTheFileShows) {
  const struct {
    double serial;
    bool from1904, withTime;
    const char* text;
  } cases[] = {{1, false, false, "1900-01-01"},
               {59, false, false, "1900-02-28"},
               {61, false, false, "1900-03-01"},
               {0, true, false, "1904-01-01"},
               {45351.999999, false, true, "2024-03-01 00:00:00"},
               {45351.5, false, false, "2024-02-29 12:00:00"},
               {2958465, false, true, "9999-12-31 00:00:00"}};
  for (const auto& c : cases)
    EXPECT_EQ(c.text, SheetDateText(c.serial, c.from1904, c.withTime)) << c.serial;
  for (const double serial : {-1.0, 2958466.0, 1e300})
    EXPECT_EQ(std::nullopt, SheetDateText(serial, false, false)) << serial;
  EXPECT_EQ("1899-12-29 06:00:00", OleDateText(-1.25));
}

TEST(DecimalText, StandsInTheOrderOfItsNumber) {
  const char* sorted[] = {"-10.00",
                          "-9.5",
                          "-0.001",
                          "0.000",
                          "0.01",
                          "0.1",
                          "9",
                          "9.5",
                          "10.00",
                          "100000000000000000000.1",
                          "100000000000000000000.11",
                          "",
                          "abc"};
  for (std::size_t i = 0; i < std::size(sorted); ++i)
    for (std::size_t j = 0; j < std::size(sorted); ++j)
      EXPECT_EQ(i < j, CompareDecimalTexts(sorted[i], sorted[j]) < 0)
          << sorted[i] << " " << sorted[j];
  EXPECT_EQ(0, CompareDecimalTexts("-0.0", "0"));
  EXPECT_EQ(0, CompareDecimalTexts("007.50", "7.5"));
}

/// The words of the error that reading a document ends with. `repeated` goes on for ever.
std::string ErrorOfEndless(const std::string& begin, const std::string& repeated) {
  Workbook workbook;
  CellGrid cells;
  XlsxSheetHandler handler(workbook, cells, {}, 0);
  std::string more;
  while (more.size() < 65536) more += repeated;
  std::string_view next = begin;
  try {
    return ReadXml([&] { return std::exchange(next, more); }, handler);
  } catch (const std::runtime_error& error) {
    return error.what();
  }
}

/// A compressed file of a few megabytes can hold these.
TEST(XlsxSheet, WhatHasNoEndIsGivenUp) {
  const std::string cell = "<worksheet><sheetData><row r='7'><c r='B7' t='inlineStr'>";
  const std::string tooLong = "row 7, column 2: its text is longer than 1 MiB";
  EXPECT_EQ(ErrorOfEndless(cell + "<is><t>", "text "), tooLong);
  EXPECT_EQ(ErrorOfEndless(cell + "<is>", "<r><t>run</t></r>"), tooLong);
  EXPECT_EQ(ErrorOfEndless(cell + "<v>", "1"), tooLong);
  EXPECT_THAT(ErrorOfEndless(cell + "<is a='", "text "),
              testing::HasSubstr("a tag or name is longer than 16 MiB"));
}

}  // namespace
}  // namespace torvik
