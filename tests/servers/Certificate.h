#pragma once

#include <string>

#include "servers/PrivateServer.h"

namespace torvik {

/// Makes a certificate for 127.0.0.1 that vouches for itself, in one file with its key; answers the
/// file's path.
inline std::string NewCertificate(const TemporaryDirectory& disk) {
  const std::string file = disk.PathOf("certificate.pem");
  OutputOf(
      "umask 077; openssl req -x509 -days 1 -nodes -newkey ec -pkeyopt "
      "ec_paramgen_curve:prime256v1 -subj '/CN=torvik test' -addext "
      "subjectAltName=IP:127.0.0.1 -keyout " +
      file + ".key -out " + file + " 2>" + file + ".output && cat " + file + ".key >>" + file);
  return file;
}

}  // namespace torvik
