#include "platform/linux/system/ProcessSetup.h"

#include <fcntl.h>
#include <signal.h>
#include <sys/prctl.h>
#include <unistd.h>

#include <initializer_list>

namespace torvik {

void GuardStandardStreams() {
  signal(SIGPIPE, SIG_IGN);
  // The lowest free number is taken, so that each closed stream in turn is.
  for (int stream = STDIN_FILENO; stream <= STDERR_FILENO; ++stream)
    if (fcntl(stream, F_GETFD) < 0) open("/dev/null", O_RDWR);
}

void KeepMemoryPrivate() {
  prctl(PR_SET_DUMPABLE, 0);
}

void HandleCloseSignals(void (*handler)(int)) {
  struct sigaction action {};
  action.sa_handler = handler;
  action.sa_flags = SA_RESTART;
  for (const int number : {SIGINT, SIGTERM, SIGHUP}) {
    struct sigaction before {};
    sigaction(number, nullptr, &before);
    // nohup has a hangup ignored, and means it.
    if (number != SIGHUP || before.sa_handler != SIG_IGN) sigaction(number, &action, nullptr);
  }
}

}  // namespace torvik
