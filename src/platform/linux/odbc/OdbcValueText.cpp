#include "platform/linux/odbc/OdbcValueText.h"

#include <cstdio>

namespace torvik {

std::string DateText(const SQL_DATE_STRUCT& date) {
  char text[40];
  std::snprintf(text, sizeof text, "%04d-%02d-%02d", date.year, date.month, date.day);
  return text;
}

std::string MomentText(const SQL_TIMESTAMP_STRUCT& moment) {
  char text[64];
  std::snprintf(text, sizeof text, "%04d-%02d-%02d %02d:%02d:%02d.%09u", moment.year, moment.month,
                moment.day, moment.hour, moment.minute, moment.second,
                static_cast<unsigned>(moment.fraction));
  std::string result = text;
  result.erase(result.find_last_not_of('0') + 1);
  if (result.back() == '.') result.pop_back();
  return result;
}

}  // namespace torvik
