#pragma once

#include <unistd.h>

#include <string>

#include "servers/Certificate.h"
#include "servers/PrivateServer.h"

namespace torvik {

/// What a server allows and tells.
struct FtpServerOptions {
  bool isActive = true, isPassive = true;  ///< Who may open data connections.
  bool tellsMlsd = true;                   ///< Otherwise clients are left to LIST.
  bool needsTls = false;
};

/// A proftpd with the user "torvik", who may not write into "/locked". Names are sent in code page
/// 1252; on the disk they are UTF-8.
class FtpServer {
 public:
  explicit FtpServer(const FtpServerOptions& options = {})
      : server_("private-ftp", Configuration(options)) {}

  const PrivateServer& Files() const { return server_; }
  std::uint16_t Port() const { return server_.Port(); }
  std::string Password() const { return server_.Password(); }

  /// What a session calls the file `path`: only root can move sessions to another root directory.
  std::string PathOf(const std::string& path) const {
    return geteuid() == 0 ? path : server_.PathOf(path.substr(1));
  }

  /// The file of the certificate that vouches for a server with TLS.
  std::string Certificate() const { return own_.PathOf("certificate.pem"); }

 private:
  std::string Configuration(const FtpServerOptions& options) const {
    std::string text = "UseEncoding UTF-8 windows-1252\n<Directory %DIR%/locked>\n" +
                       Denied("WRITE") + "</Directory>\n";
    if (!options.tellsMlsd) text += "FactsAdvertise off\n";
    if (!options.isActive) text += Denied("PORT EPRT");
    if (!options.isPassive) text += Denied("PASV EPSV");
    if (options.needsTls) text += Tls();
    return text;
  }

  static std::string Denied(const std::string& commands) {
    return "<Limit " + commands + ">\nDenyAll\n</Limit>\n";
  }

  std::string Tls() const {
    const std::string certificate = NewCertificate(own_);
    return "LoadModule mod_tls.c\nTLSEngine on\nTLSRequired on\nTLSECCertificateFile " +
           certificate + "\nTLSECCertificateKeyFile " + certificate + "\n";
  }

  const TemporaryDirectory own_;
  const PrivateServer server_;
};

}  // namespace torvik
