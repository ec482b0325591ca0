#include "platform/linux/sqlite/SqliteFunctions.h"

#include <sqlite3.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <ctime>
#include <string_view>

#include "platform/linux/sqlite/EmbeddedDirectory.h"

namespace torvik {
namespace {

void AnswerText(sqlite3_context* context, const std::string& text) {
  sqlite3_result_text64(context, text.data(), text.size(), SQLITE_TRANSIENT, SQLITE_UTF8);
}

/// The local time as "YYYY-MM-DD HH:MM:SS.mmm".
void GetDate(sqlite3_context* context, int, sqlite3_value**) {
  using namespace std::chrono;
  const auto now = floor<milliseconds>(system_clock::now());
  const std::time_t seconds = system_clock::to_time_t(floor<std::chrono::seconds>(now));
  std::tm local{};
  localtime_r(&seconds, &local);
  char day[32], milliseconds[8];
  std::strftime(day, sizeof day, "%F %T", &local);
  std::snprintf(milliseconds, sizeof milliseconds, ".%03d",
                static_cast<int>(now.time_since_epoch().count() % 1000));
  AnswerText(context, std::string(day) + milliseconds);
}

/// The number of characters without the blanks at the end.
void Len(sqlite3_context* context, int, sqlite3_value** arguments) {
  const auto* data = reinterpret_cast<const char*>(sqlite3_value_text(arguments[0]));
  if (data == nullptr) return;
  std::string_view text(data, static_cast<std::size_t>(sqlite3_value_bytes(arguments[0])));
  text = text.substr(0, text.find_last_not_of(' ') + 1);
  const auto isFirstByte = [](char c) { return (c & 0xC0) != 0x80; };
  sqlite3_result_int64(context, std::ranges::count_if(text, isFirstByte));
}

/// The databases as a JSON list, which SQLite can turn into rows.
void DatabaseList(sqlite3_context* context, int, sqlite3_value**) {
  const auto* directory = static_cast<const std::string*>(sqlite3_user_data(context));
  std::string list;
  for (const EmbeddedDatabase& database : EmbeddedDatabases(*directory))
    list += (list.empty() ? "\"" : ",\"") + database.name + "\"";
  AnswerText(context, "[" + list + "]");
}

}  // namespace

void AddServerFunctions(sqlite3* handle, const std::string& directory) {
  using Function = void (*)(sqlite3_context*, int, sqlite3_value**);
  const auto add = [&](const char* name, int arguments, int flags, Function function) {
    sqlite3_create_function_v2(handle, name, arguments, SQLITE_UTF8 | flags,
                               const_cast<std::string*>(&directory), function, nullptr, nullptr,
                               nullptr);
  };
  add("GETDATE", 0, SQLITE_INNOCUOUS, GetDate);
  add("LEN", 1, SQLITE_INNOCUOUS | SQLITE_DETERMINISTIC, Len);
  add("torvik_databases", 0, 0, DatabaseList);
}

}  // namespace torvik
