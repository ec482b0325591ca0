// The tests of the windows, on a display of their own: Xvfb is started here and ended by its
// process id.

#include <fcntl.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <QApplication>
#include <QSettings>
#include <cstdio>
#include <cstdlib>
#include <string>

#include "fakes/TemporaryDirectory.h"

namespace {

/// An X server without a screen, on the first display that is free.
class VirtualDisplay {
 public:
  VirtualDisplay() {
    int ends[2];
    if (pipe(ends) != 0) return;
    process_ = fork();
    if (process_ == 0) {
      prctl(PR_SET_PDEATHSIG, SIGTERM);
      close(ends[0]);
      const int null = open("/dev/null", O_RDWR);
      dup2(null, STDERR_FILENO);
      const std::string descriptor = std::to_string(ends[1]);
      execlp("Xvfb", "Xvfb", "-displayfd", descriptor.c_str(), "-screen", "0", "1600x1200x24",
             "-nolisten", "tcp", nullptr);
      _exit(127);
    }
    close(ends[1]);
    for (char c; read(ends[0], &c, 1) == 1 && c != '\n';) number_ += c;
    close(ends[0]);
  }
  ~VirtualDisplay() {
    if (process_ <= 0) return;
    kill(process_, SIGTERM);
    waitpid(process_, nullptr, 0);
  }

  const std::string& Number() const { return number_; }

 private:
  pid_t process_ = -1;
  std::string number_;
};

}  // namespace

int main(int argc, char** argv) {
  testing::InitGoogleTest(&argc, argv);
  const VirtualDisplay display;
  if (display.Number().empty() && !GTEST_FLAG_GET(list_tests)) {
    std::fprintf(stderr, "Xvfb cannot be started; run scripts/install-packages tests\n");
    return 1;
  }
  if (GTEST_FLAG_GET(list_tests)) return RUN_ALL_TESTS();
  const torvik::TemporaryDirectory home;
  setenv("HOME", home.Path().c_str(), 1);
  setenv("XDG_RUNTIME_DIR", home.Path().c_str(), 1);
  setenv("DISPLAY", (":" + display.Number()).c_str(), 1);
  setenv("QT_QPA_PLATFORM", "xcb", 1);
  unsetenv("XDG_CONFIG_HOME");
  QApplication application(argc, argv);
  QApplication::setOrganizationName("TorvikTests");
  return RUN_ALL_TESTS();
}
