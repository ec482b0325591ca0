// Preloaded into a program under test: stops it, once, where failures are to begin, so that a
// tracer can attach and count from there. FAULT_GATE=0 is before main, when shared libraries have
// been loaded; FAULT_GATE=N is before the N-th thread is made. FAULT_GATE=end ends the program
// where main would begin.

#include <dlfcn.h>
#include <pthread.h>
#include <signal.h>
#include <sys/prctl.h>
#include <unistd.h>

#include <atomic>
#include <cctype>
#include <cstdlib>
#include <cstring>

namespace {

long gate = -1;
std::atomic<long> threads = 0;

void StopAt(long place) {
  if (place == gate) raise(SIGSTOP);
}

template <class Function>
Function* Next(const char* name) {
  return reinterpret_cast<Function*>(dlsym(RTLD_NEXT, name));
}

using Main = int(int, char**, char**);
using Start = int(Main*, int, char**, void (*)(), void (*)(), void (*)(), void*);

}  // namespace

extern "C" {

int __libc_start_main(Main* main, int argc, char** argv, void (*init)(), void (*fini)(),
                      void (*loaderFini)(), void* stackEnd) {
  const char* const text = std::getenv("FAULT_GATE");
  if (text != nullptr && std::strcmp(text, "end") == 0) _exit(0);
  if (text != nullptr && std::isdigit(*text)) gate = std::atol(text);
  unsetenv("FAULT_GATE");  // programs that this one starts are not stopped
  unsetenv("LD_PRELOAD");
  prctl(PR_SET_PTRACER, PR_SET_PTRACER_ANY);  // where only parents may trace
  StopAt(0);
  return Next<Start>("__libc_start_main")(main, argc, argv, init, fini, loaderFini, stackEnd);
}

int pthread_create(pthread_t* thread, const pthread_attr_t* attributes, void* (*run)(void*),
                   void* argument) {
  StopAt(++threads);
  return Next<decltype(pthread_create)>("pthread_create")(thread, attributes, run, argument);
}

}  // extern "C"
