#include "engine/model/LogFiles.h"

#include <algorithm>

#include "engine/model/Variables.h"

namespace torvik::engine {
namespace {

bool IsSeparator(char c) {
  return c == '/' || c == '\\';
}

}  // namespace

std::string InLogDirectory(const Variables& variables, std::string name) {
  std::string directory = variables.Text("ExceptionFilePath");
  if (directory.empty()) return {};
  if (!IsSeparator(directory.back())) directory += '/';
  std::replace_if(name.begin(), name.end(), IsSeparator, '_');
  return directory + name;
}

std::string LogTime(const std::tm& time) {
  char text[32];
  std::strftime(text, sizeof text, "%Y-%m-%d %H:%M:%S", &time);
  return text;
}

}  // namespace torvik::engine
