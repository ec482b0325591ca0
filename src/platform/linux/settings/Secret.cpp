#include "platform/linux/settings/Secret.h"

#include <algorithm>
#include <cstdlib>

#include "platform/Secrets.h"
#include "platform/linux/settings/SecretFile.h"
#include "platform/linux/system/PathMap.h"

namespace torvik {
namespace {

constexpr const char* kCredentials = "CREDENTIALS_DIRECTORY";

std::string ReadFirstLine(const Descriptor& file, const std::string& path, std::string& line) {
  std::string text;
  if (const auto error = ReadAll(file.Number(), text))
    return path + ": the password cannot be read: " + error.message();
  text.resize(std::min(text.find_first_of("\r\n"), text.size()));
  if (text.empty()) return path + ": the first line holds no password";
  line = std::move(text);
  return {};
}

std::string ReadSecretFile(const std::string& path, std::string& secret) {
  const Descriptor file = OpenFile(path, O_RDONLY);
  if (!file.IsOpen()) return path + ": the password cannot be read: " + LastSystemError().message();
  if (std::string problem = CheckSecretFile(file, path); !problem.empty()) return problem;
  return ReadFirstLine(file, path, secret);
}

std::string ReadCredential(const std::string& name, std::string& secret) {
  const char* const directory = std::getenv(kCredentials);
  if (directory == nullptr || *directory == '\0')
    return "the credential " + name +
           " is there for a service of systemd alone ($CREDENTIALS_DIRECTORY is not set); start "
           "the job by its unit, or name a file by password_file";
  const std::string path = std::string(directory) + "/" + name;
  const Descriptor file = OpenFile(path, O_RDONLY);
  if (!file.IsOpen())
    return "the credential " + name + " cannot be read (" + LastSystemError().message() +
           "); the unit hands it on by LoadCredential=" + name + ":PATH";
  return ReadFirstLine(file, path, secret);
}

std::string UnlessCredentialName(const std::string& name) {
  const bool isName = !name.empty() && name.find('/') == name.npos && name != "." && name != "..";
  return isName ? "" : "a credential is given by its name, as LoadCredential= of the unit has it";
}

class SecretsByReference final : public Secrets {
 public:
  explicit SecretsByReference(const PathMap& paths) : paths_(paths) {}

  std::string Read(std::string_view reference, std::string& secret) override {
    constexpr std::string_view kFile = "file:", kCredential = "credential:";
    if (reference.starts_with(kFile)) return ReadMapped(reference.substr(kFile.size()), secret);
    if (!reference.starts_with(kCredential))
      return "a password is referred to by file:PATH or credential:NAME";
    const std::string name(reference.substr(kCredential.size()));
    const std::string problem = UnlessCredentialName(name);
    return problem.empty() ? ReadCredential(name, secret) : problem;
  }

 private:
  std::string ReadMapped(std::string_view path, std::string& secret) const {
    std::error_code error;
    const std::string linuxPath = paths_.ToLinux(std::string(path), error);
    return error ? std::string(path) + ": " + error.message() : ReadSecretFile(linuxPath, secret);
  }

  const PathMap paths_;
};

}  // namespace

bool TakeSecretKey(std::string_view stem, const std::string& key, const std::string& value,
                   SecretReference& reference, std::string& problem) {
  const bool isFile = key == std::string(stem) + "_file";
  if (!isFile && key != std::string(stem) + "_credential") return false;
  (isFile ? reference.file : reference.credential) = value;
  problem = !isFile                  ? UnlessCredentialName(value)
            : value.starts_with('/') ? ""
                                     : "a file is given by its full path, from / on";
  if (!reference.file.empty() && !reference.credential.empty())
    problem = std::string(stem) + "_file and " + std::string(stem) +
              "_credential exclude each other; leave one of them out";
  return true;
}

std::string ReadSecret(const SecretReference& reference, std::string& secret) {
  return reference.credential.empty() ? ReadSecretFile(reference.file, secret)
                                      : ReadCredential(reference.credential, secret);
}

std::unique_ptr<Secrets> NewSecrets(const PathMap& paths) {
  return std::make_unique<SecretsByReference>(paths);
}

}  // namespace torvik
