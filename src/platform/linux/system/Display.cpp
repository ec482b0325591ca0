#include "platform/linux/system/Display.h"

#include <dlfcn.h>

#include <cstdlib>

namespace torvik {
namespace {

bool IsSet(const char* variable) {
  const char* const value = std::getenv(variable);
  return value != nullptr && *value != '\0';
}

/// Asks by the display's own library, which a machine without windows may lack.
template <typename Connection, typename Connect, typename Ask>
bool Answers(const char* library, const char* connect, const char* disconnect, const Ask& ask) {
  void* const handle = dlopen(library, RTLD_NOW | RTLD_LOCAL);
  if (handle == nullptr) return false;
  const auto open = reinterpret_cast<Connect>(dlsym(handle, connect));
  const auto close = reinterpret_cast<void (*)(Connection)>(dlsym(handle, disconnect));
  bool answers = false;
  if (open != nullptr && close != nullptr) answers = ask(handle, open, close);
  dlclose(handle);
  return answers;
}

bool HasXServer() {
  using Connect = void* (*)(const char* display, int* screen);
  return IsSet("DISPLAY") &&
         Answers<void*, Connect>("libxcb.so.1", "xcb_connect", "xcb_disconnect",
                                 [](void* library, Connect open, void (*close)(void*)) {
                                   const auto failed = reinterpret_cast<int (*)(void*)>(
                                       dlsym(library, "xcb_connection_has_error"));
                                   void* const connection = open(nullptr, nullptr);
                                   const bool isGood = failed != nullptr && connection != nullptr &&
                                                       failed(connection) == 0;
                                   close(connection);
                                   return isGood;
                                 });
}

bool HasCompositor() {
  using Connect = void* (*)(const char* name);
  return IsSet("WAYLAND_DISPLAY") &&
         Answers<void*, Connect>("libwayland-client.so.0", "wl_display_connect",
                                 "wl_display_disconnect",
                                 [](void*, Connect open, void (*close)(void*)) {
                                   void* const connection = open(nullptr);
                                   if (connection != nullptr) close(connection);
                                   return connection != nullptr;
                                 });
}

}  // namespace

bool HasDisplay() {
  if (IsSet("QT_QPA_PLATFORM")) return true;
  // Of the two the X server is the one that every installation of the toolkit can use.
  if (HasXServer()) return setenv("QT_QPA_PLATFORM", "xcb", 0) == 0;
  return HasCompositor();
}

}  // namespace torvik
