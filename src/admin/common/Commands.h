#pragma once

#include <CLI/CLI.hpp>
#include <memory>

#include "admin/common/Admin.h"

namespace torvik::admin {

/// The subcommands of one group, which share the options that they were given.
template <class Options>
class CommandGroup {
 public:
  using Command = int (*)(LinuxPlatform&, const Invocation&, const Options&);

  CommandGroup(CLI::App& app, Invocation& invocation, const char* name, const char* help)
      : group_(*app.add_subcommand(name, help)), invocation_(invocation) {
    group_.require_subcommand(1);
  }

  Options& Given() { return *options_; }

  /// Adds a subcommand, with --json.
  CLI::App* Add(const char* name, const char* help, Command command) {
    CLI::App* sub = group_.add_subcommand(name, help);
    AddJsonOption(*sub, invocation_);
    sub->callback([&invocation = invocation_, options = options_, command] {
      invocation.command = [&invocation, options, command](LinuxPlatform& platform) {
        return command(platform, invocation, *options);
      };
    });
    return sub;
  }

 private:
  CLI::App& group_;
  Invocation& invocation_;
  std::shared_ptr<Options> options_ = std::make_shared<Options>();  // outlives the group
};

}  // namespace torvik::admin
