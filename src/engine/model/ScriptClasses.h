#pragma once

#include <atomic>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "script/Value.h"

namespace torvik::engine {

struct EngineServices;
class PackageControl;
class ScriptDatabases;
class Variables;

/// What the objects of one script work with; the package outlives them.
struct ScriptHost {
  Variables& variables;
  const EngineServices& services;
  PackageControl& package;
  std::string step;  ///< For the package's log.
  std::shared_ptr<ScriptDatabases> databases;
  std::atomic<bool> cancelled = false;  ///< What the script waits for is to end.

  /// Throws when the text holds a password of the package's variables: `where` it would show.
  void RefusePasswords(const std::string& text, const std::string& where) const;
};

/// Whether scripts of packages make objects of this class, beyond those of the language; letter
/// case does not matter.
bool HasScriptClass(std::string_view className);

/// A new object of such a class; nothing for another one.
std::optional<script::Value> NewScriptObject(std::string_view className,
                                             const std::shared_ptr<ScriptHost>& host);

/// WScript.Shell: starts programs where the settings allow it.
script::Value NewShell(const std::shared_ptr<ScriptHost>& host);

/// CDO.Message, CDO.Configuration and CDONTS.NewMail: mail by the server of the settings.
script::Value NewMailMessage(const std::shared_ptr<ScriptHost>& host);
script::Value NewMailConfiguration(const std::shared_ptr<ScriptHost>& host);
script::Value NewShortMail(const std::shared_ptr<ScriptHost>& host);

}  // namespace torvik::engine
