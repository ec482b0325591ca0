#pragma once

#include <functional>
#include <memory>

namespace torvik {

namespace wininet {
class Client;
}
class AnimateForm;
class Files;
class Messages;
class Shell;

/// What the transfer of remote data uses outside the process.
struct TransferServices {
  wininet::Client& internet;
  Shell& shell;
  Files& files;
  Messages& messages;
  /// Makes the form of a progress dialog.
  std::function<std::unique_ptr<AnimateForm>()> newAnimateForm;
  /// Called now and then while a provider is waited for; may be empty.
  std::function<void()> onWait = {};
  /// Asked before each file whether no more are to be fetched; may be empty.
  std::function<bool()> isStopped = {};
};

}  // namespace torvik
