#include "transfer/StatusWord.h"

namespace torvik {

RemoteStatus ParseStatusWord(std::string_view text) {
  using enum RemoteStatus;
  constexpr struct {
    std::string_view word;
    RemoteStatus status;
  } kWords[] = {{"ready", Ready},      {"running", KeepPolling}, {"exchange_ready", KeepPolling},
                {"idle", KeepPolling}, {"error", GiveUp},        {"stop", GiveUp}};
  for (const auto& [word, status] : kWords)
    if (text.starts_with(word)) return status;
  return KeepPolling;
}

}  // namespace torvik
