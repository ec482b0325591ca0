#include "platform/linux/shares/smb/SmbSession.h"

#include <libsmbclient.h>
#include <sys/mman.h>

#include <cctype>
#include <cerrno>
#include <cstdio>

#include "platform/PlatformError.h"
#include "platform/linux/system/Posix.h"

namespace torvik {
namespace {

/// Stands against whatever an smb.conf of the machine or the user says: texts are UTF-8, names are
/// looked up as the system does, without broadcasts, and no answer to a logon is a weak one.
constexpr std::string_view kConfiguration =
    "[global]\n"
    "unix charset = UTF-8\n"
    "name resolve order = host\n"
    "client min protocol = SMB2_02\n"
    "client max protocol = SMB3\n"
    "client NTLMv2 auth = yes\n"
    "client lanman auth = no\n"
    "client plaintext auth = no\n"
    "client use spnego = yes\n"
    "socket options = TCP_NODELAY SO_KEEPALIVE\n"
    "log level = 0\n";

/// Everything but letters and digits is escaped, so that nothing in a path means something else.
std::string Url(const std::string& server, const std::string& path) {
  constexpr const char* kHex = "0123456789ABCDEF";
  std::string url = "smb://";
  for (const char c : server + "/" + path) {
    const auto byte = static_cast<unsigned char>(c);
    if (byte < 0x80 && (std::isalnum(byte) || c == '/' || c == '.')) {
      url += c;
    } else {
      url += {'%', kHex[byte >> 4], kHex[byte & 15]};
    }
  }
  return url;
}

/// The library does not always say why.
std::error_code LastError() {
  return errno == 0 ? std::make_error_code(std::errc::io_error) : LastSystemError();
}

struct Releaser {
  void operator()(SMBCCTX* context) const { smbc_free_context(context, 1); }
};
using Context = std::unique_ptr<SMBCCTX, Releaser>;

void Ignore(void*, int, const char*) {}

[[noreturn]] void Refuse() {
  throw PlatformError(errno, "libsmbclient cannot be set up: " + LastError().message(), "SMB");
}

/// Settings hold for all contexts. The library takes them from files only; this one is in memory.
bool Configure(SMBCCTX* context) {
  smbc_setLogCallback(context, nullptr, &Ignore);
  smbc_setDebug(context, 0);
  const Descriptor file(memfd_create("smb.conf", MFD_CLOEXEC));
  const std::string path = "/proc/self/fd/" + std::to_string(file.Number());
  return file.IsOpen() && !WriteAll(file.Number(), kConfiguration) &&
         smbc_setConfiguration(context, path.c_str()) == 0 &&
         smbc_setOptionProtocols(context, "SMB2_02", "SMB3") != 0;
}

/// Null when the library cannot be set up.
SMBCCTX* NewLastingContext() {
  Context context(smbc_new_context());
  const bool isGood =
      context && smbc_init_context(context.get()) != nullptr && Configure(context.get());
  return isGood ? context.release() : nullptr;
}

/// With its last context the library forgets everything, and with the next one it reads its files
/// again and loses some memory: one context, which no session uses, stays to the end.
SMBCCTX* NewContext() {
  static SMBCCTX* const lasting = NewLastingContext();
  if (lasting == nullptr) Refuse();
  return smbc_new_context();
}

class LibraryFile final : public SmbFile {
 public:
  LibraryFile(SMBCCTX* context, SMBCFILE* file) : context_(context), file_(file) {}
  ~LibraryFile() override { Close(); }

  std::size_t Read(char* buffer, std::size_t capacity, std::error_code& error) override {
    errno = 0;
    const ssize_t got = smbc_getFunctionRead(context_)(context_, file_, buffer, capacity);
    if (got < 0) error = LastError();
    return got < 0 ? 0 : static_cast<std::size_t>(got);
  }

  std::uint64_t Size(std::error_code& error) override {
    struct stat status {};
    errno = 0;
    if (smbc_getFunctionFstat(context_)(context_, file_, &status) != 0) error = LastError();
    return static_cast<std::uint64_t>(status.st_size);
  }

  std::error_code Write(std::string_view bytes) override {
    while (!bytes.empty()) {
      errno = 0;
      const ssize_t written =
          smbc_getFunctionWrite(context_)(context_, file_, bytes.data(), bytes.size());
      if (written <= 0) return LastError();
      bytes.remove_prefix(static_cast<std::size_t>(written));
    }
    return {};
  }

  std::error_code Close() override {
    if (file_ == nullptr) return {};
    errno = 0;
    const int result = smbc_getFunctionClose(context_)(context_, file_);
    file_ = nullptr;
    return result == 0 ? std::error_code() : LastError();
  }

 private:
  SMBCCTX* context_;
  SMBCFILE* file_;
};

class LibrarySession final : public SmbSession {
 public:
  LibrarySession(const std::string& server, const SmbSettings& settings, const SmbLogon& logon)
      : context_(NewContext()), server_(server), logon_(logon), isByTicket_(settings.kerberos) {
    if (!context_) Refuse();
    SetOptions(settings);
    if (smbc_init_context(context_.get()) == nullptr) Refuse();
  }

  std::error_code Stat(const std::string& path, bool& isDirectory) override {
    struct stat status {};
    errno = 0;
    if (smbc_getFunctionStat(context_.get())(context_.get(), Url(server_, path).c_str(), &status) !=
        0)
      return LastError();
    isDirectory = S_ISDIR(status.st_mode);
    return {};
  }

  std::error_code List(const std::string& path,
                       std::vector<SourceDirectory::Entry>& files) override {
    return EachEntry(path, [&](const libsmb_file_info& entry) {
      const bool isPlain = (entry.attrs & (SMBC_DOS_MODE_DIRECTORY | SMBC_DOS_MODE_VOLUME_ID)) == 0;
      if (isPlain) files.push_back({entry.name, entry.size});
    });
  }

  std::error_code ListFolders(const std::string& path, std::vector<std::string>& names) override {
    return EachEntry(path, [&](const libsmb_file_info& entry) {
      const std::string name = entry.name;
      const bool isHidden = (entry.attrs & SMBC_DOS_MODE_HIDDEN) != 0 || name.starts_with('.');
      if ((entry.attrs & SMBC_DOS_MODE_DIRECTORY) != 0 && !isHidden) names.push_back(name);
    });
  }

  std::unique_ptr<SmbFile> OpenToRead(const std::string& path, std::error_code& error) override {
    return Open(path, O_RDONLY, error);
  }

  std::unique_ptr<SmbFile> OpenToReplace(const std::string& path, std::error_code& error) override {
    return Open(path, O_WRONLY | O_CREAT | O_TRUNC, error);
  }

 private:
  template <typename Take>
  std::error_code EachEntry(const std::string& path, const Take& take) {
    errno = 0;
    SMBCFILE* directory =
        smbc_getFunctionOpendir(context_.get())(context_.get(), Url(server_, path).c_str());
    if (directory == nullptr) return LastError();
    const auto next = smbc_getFunctionReaddirPlus(context_.get());
    const auto entryOrEnd = [&] {
      errno = 0;  // tells the end from an error
      return next(context_.get(), directory);
    };
    while (const libsmb_file_info* entry = entryOrEnd()) take(*entry);
    const std::error_code error = errno == 0 ? std::error_code() : LastError();
    smbc_getFunctionClosedir(context_.get())(context_.get(), directory);
    return error;
  }

  void SetOptions(const SmbSettings& settings) {
    smbc_setOptionUserData(context_.get(), this);
    smbc_setFunctionAuthDataWithContext(context_.get(), &LibrarySession::GiveLogon);
    smbc_setPort(context_.get(), static_cast<std::uint16_t>(settings.port));
    smbc_setTimeout(context_.get(), settings.timeoutSeconds * 1000);
    smbc_setOptionUseKerberos(context_.get(), settings.kerberos);
    smbc_setOptionUseCCache(context_.get(), 0);
    smbc_setOptionFallbackAfterKerberos(context_.get(), 0);
    // A refused user must not end up as a guest.
    smbc_setOptionNoAutoAnonymousLogin(context_.get(), settings.kerberos || !logon_.user.empty());
  }

  std::unique_ptr<SmbFile> Open(const std::string& path, int flags, std::error_code& error) {
    errno = 0;
    const auto open = smbc_getFunctionOpen(context_.get());
    SMBCFILE* file = open(context_.get(), Url(server_, path).c_str(), flags, 0666);
    if (file == nullptr) error = LastError();
    return file == nullptr ? nullptr : std::make_unique<LibraryFile>(context_.get(), file);
  }

  static void GiveLogon(SMBCCTX* context, const char*, const char*, char* domain, int domainSize,
                        char* user, int userSize, char* password, int passwordSize) {
    const auto give = [](const std::string& text, char* buffer, int size) {
      std::snprintf(buffer, static_cast<std::size_t>(size), "%s", text.c_str());
    };
    const auto& self = *static_cast<LibrarySession*>(smbc_getOptionUserData(context));
    if (!self.logon_.domain.empty()) give(self.logon_.domain, domain, domainSize);
    // Without a name it would be a guest's logon; the user that the library has put there is as
    // good as any, since the name of the ticket counts.
    if (!self.isByTicket_ || !self.logon_.user.empty()) give(self.logon_.user, user, userSize);
    give(self.logon_.password, password, passwordSize);
  }

  const Context context_;
  const std::string server_;
  const SmbLogon logon_;
  const bool isByTicket_;
};

}  // namespace

std::unique_ptr<SmbSession> NewSmbSession(const std::string& server, const SmbSettings& settings,
                                          const SmbLogon& logon) {
  return std::make_unique<LibrarySession>(server, settings, logon);
}

}  // namespace torvik
