#include <gmock/gmock.h>

#include "fakes/LoadRow.h"
#include "fakes/TemporaryDirectory.h"
#include "platform/linux/sqlite/EmbeddedFixture.h"
#include "platform/linux/tables/AdoTableFile.h"

namespace torvik {
namespace {

using testing::HasSubstr;

struct Column {
  std::string name;
  char type;
  int size, decimals = 0;
};

std::string Bytes(std::uint64_t number, int size) {
  std::string bytes;
  for (int i = 0; i < size; ++i) bytes += static_cast<char>(number >> 8 * i);
  return bytes;
}

std::string Padded(std::string text, std::size_t size) {
  text.resize(size, ' ');
  return text;
}

/// A dBase file by its published description; each record begins with its mark of deletion.
std::string Table(const std::vector<Column>& columns, const std::vector<std::string>& records,
                  char language = 0) {
  int size = 1;
  std::string fields;
  for (const Column& column : columns) {
    std::string name = column.name;
    name.resize(11, '\0');
    fields += name + column.type + std::string(4, '\0') + static_cast<char>(column.size) +
              static_cast<char>(column.decimals) + std::string(14, '\0');
    size += column.size;
  }
  std::string text = std::string("\x03\x7C\x01\x01", 4) + Bytes(records.size(), 4) +
                     Bytes(33 + fields.size(), 2) + Bytes(static_cast<std::uint64_t>(size), 2) +
                     std::string(17, '\0') + language + std::string(2, '\0') + fields + "\r";
  for (const std::string& record : records) text += record;
  return text + "\x1A";
}

class Dbase : public testing::Test {
 protected:
  std::string Rows(const std::string& sql) {
    return RowsOf(*OpenTableFile(disk_.Path(), "dBase 5.0"), sql);
  }
  std::string Error(const std::string& sql) {
    try {
      return Rows(sql);
    } catch (const PlatformError& error) {
      return error.Description();
    }
  }

  TemporaryDirectory disk_;
};

TEST_F(Dbase, ValuesOfEveryTypeAreRead) {
  const std::vector<Column> columns = {
      {"NAME", 'C', 6}, {"COUNT", 'N', 5},   {"PRICE", 'N', 8, 2},  {"DAY", 'D', 8},
      {"PAID", 'L', 1}, {"RATE", 'F', 8, 3}, {"I", 'I', 4},         {"Y", 'Y', 8},
      {"T", 'T', 8},    {"B", 'B', 8},       {"_NullFlags", '0', 1}};
  const std::string half = Bytes(0x3FE0000000000000, 8);
  disk_.Write("SALES.DBF",
              Table(columns, {" J\x94rg     42  -12.5020240229T    0.25" + Bytes(0xFFFFFFFF, 4) +
                                  Bytes(static_cast<std::uint64_t>(-12345), 8) + Bytes(2460370, 4) +
                                  Bytes(48'600'000, 4) + half + "\x01",
                              Padded("*gone", 66),
                              " ***********" + std::string(16, ' ') + "?" + std::string(8, ' ') +
                                  std::string(28, '\0') + " "}));
  EXPECT_EQ(
      "J\u00f6rg|42|-12.50|2024-02-29|1|0.250000|-1|-1.2345|2024-02-29 13:30:00|0.500000\n"
      "******|-|-|-|-|-|0|0.0000|-|0.000000",
      Rows("SELECT * FROM sales"));
  EXPECT_EQ("2", Rows("SELECT COUNT(*) FROM [SALES#DBF]"));
  EXPECT_EQ("42",
            Rows("SELECT a.COUNT FROM sales a JOIN [sales.dbf] b ON a.I = b.I WHERE b.I < 0"));
}

TEST_F(Dbase, LongTextsLieBesideTheTable) {
  const std::vector<Column> columns = {{"TEXT", 'M', 10}};
  for (const char* name : {"three", "four", "fox", "lost"})
    disk_.Write(std::string(name) + ".dbf", Table(columns, {"          1", "           "}, '\xC8'));
  disk_.Write("three.dbt", std::string(512, '\0') + "l\xF3ng\r\ntext\x1A\x1A more");
  disk_.Write("four.dbt", std::string(20, '\0') + Bytes(1024, 2) + std::string(1002, '\0') +
                              "\xFF\xFF\x08" + std::string(1, '\0') + Bytes(8 + 4, 4) + "l\xF3ngX");
  disk_.Write("fox.fpt", std::string("\0\0\0\x08\0\0\0\x40", 8) + std::string(56, '\0') +
                             std::string("\0\0\0\x01\0\0\0\x04", 8) + "l\xF3ngX");
  EXPECT_EQ("l\u00f3ng\r\ntext\n-", Rows("SELECT * FROM three"));
  EXPECT_EQ("l\u00f3ng\n-", Rows("SELECT * FROM four"));
  EXPECT_EQ("l\u00f3ng\n-", Rows("SELECT * FROM fox"));
  EXPECT_THAT(Error("SELECT * FROM lost"), HasSubstr("its memo file (.dbt or .fpt) is not beside"));
  disk_.Write("lost.fpt", std::string("\0\0\0\x08\0\0\0\x40", 8) + std::string(56, '\0') +
                              std::string("\0\0\0\x01\x7F\0\0\x04", 8));
  EXPECT_THAT(Error("SELECT * FROM lost"), HasSubstr("a text ends behind the file"));
}

TEST_F(Dbase, WhatIsDamagedOrMissingIsNamed) {
  disk_.Write("short.dbf", "\x03");
  disk_.Write("wide.dbf", Table({{"A", 'C', 100}}, {}).replace(10, 2, Bytes(50, 2)));
  disk_.Write("twice.dbf", Table({{"A", 'C', 1}, {"a", 'C', 1}}, {}));
  disk_.Write("bad.dbf", Table({{"N", 'N', 3}}, {"  1x"}));
  disk_.Write("cut.dbf", Table({{"N", 'N', 3}}, {"   1"}).replace(4, 4, Bytes(1000, 4)));
  disk_.Write("good.dbf", Table({{"N", 'N', 3}}, {"   1"}));
  EXPECT_THAT(Error("SELECT * FROM short"), HasSubstr("short.dbf is damaged"));
  EXPECT_THAT(Error("SELECT * FROM wide"), HasSubstr("columns are longer than its records"));
  EXPECT_THAT(Error("SELECT * FROM twice"), HasSubstr("names cannot be read"));
  EXPECT_THAT(Error("SELECT * FROM bad"), HasSubstr("record 1, column N: it is no value"));
  EXPECT_EQ("1", Rows("SELECT * FROM cut")) << "a header may count too many";
  EXPECT_EQ("1", Rows("SELECT * FROM good")) << "damaged neighbours do not matter";
  EXPECT_THAT(Error("SELECT * FROM nothing"), HasSubstr("nothing"));
  EXPECT_THAT(Error("DELETE FROM good"), testing::Not(testing::IsEmpty()));
}

}  // namespace
}  // namespace torvik
