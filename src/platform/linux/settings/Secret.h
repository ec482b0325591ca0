#pragma once

#include <memory>
#include <string>
#include <string_view>

namespace torvik {

class PathMap;
class Secrets;

/// Where a secret stands that neither settings nor jobs hold: in a file, or in a credential that
/// systemd hands to a service (systemd.exec(5), LoadCredential=).
struct SecretReference {
  std::string file;        ///< Its full path; the first line is the secret.
  std::string credential;  ///< The name of a file in $CREDENTIALS_DIRECTORY.

  bool IsEmpty() const { return file.empty() && credential.empty(); }
};

/// A logon that the settings give. It goes before what a job or a package says.
struct LogonSettings {
  std::string user;  ///< Empty: there is none.
  SecretReference password;
};

/// Takes the keys STEM_file and STEM_credential of a settings section over. False when `key` is
/// neither; `problem` then is as it was, else empty or what is wrong with the value.
bool TakeSecretKey(std::string_view stem, const std::string& key, const std::string& value,
                   SecretReference& reference, std::string& problem);

/// Reads the secret. Answers the empty text, or what is wrong and what to do: the file cannot be
/// read, others may read it, its first line is empty, there is no such credential. A file must
/// belong to root or to the user of this process, with no rights for others; systemd guards the
/// credentials itself.
std::string ReadSecret(const SecretReference& reference, std::string& secret);

/// References in the texts of jobs and packages; a path in either spelling.
std::unique_ptr<Secrets> NewSecrets(const PathMap& paths);

}  // namespace torvik
