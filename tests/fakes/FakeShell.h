#pragma once

#include <functional>
#include <map>
#include <set>
#include <string>
#include <vector>

#include "platform/Shell.h"

namespace torvik {

/// Files of shares in memory, by path as it is given.
struct FakeShell final : Shell {
  std::map<std::string, std::string> texts;
  std::set<std::string> directories;           ///< As they are asked for.
  std::vector<std::string> calls;              ///< "Copy \\\\s\\in\\*.* to C:/in, flags 1172".
  std::map<std::string, ShareResult> failing;  ///< By path.
  int copyResult = 0;
  std::string copyFailure;
  std::function<void()> onCopy;

  bool Exists(const std::string& path) override { return directories.contains(path); }
  ShareResult ReadFirstLine(const std::string& path, std::size_t limit,
                            std::string& line) override {
    calls.push_back("Read " + path);
    if (const auto failure = failing.find(path); failure != failing.end()) return failure->second;
    const auto found = texts.find(path);
    if (found == texts.end()) return {ShareError::FileNotFound, "File not found"};
    line = found->second.substr(0, std::min(limit, found->second.find_first_of("\r\n")));
    return {};
  }
  ShareResult ReplaceText(const std::string& path, std::string_view text) override {
    calls.push_back("Write " + path);
    texts[path] = text;
    return {};
  }
  int SHFileOperationA(const FileOperation& operation) override {
    calls.push_back("Copy " + operation.from + " to " + operation.to + ", flags " +
                    std::to_string(operation.flags));
    if (onCopy) onCopy();
    return copyResult;
  }
  std::string CopyFailure() const override { return copyFailure; }
};

}  // namespace torvik
