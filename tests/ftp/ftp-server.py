#!/usr/bin/env python3
"""An FTP server on a loopback port, which it writes to stdout.

usage: ftp-server.py DIRECTORY [no-mlsd] [tls]

The user "torvik" with the password "geheim" owns DIRECTORY, but for its "locked". Names are sent in
code page 1252. With "tls" the logon needs TLS; DIRECTORY.pem is the certificate.
"""
import logging
import sys

from OpenSSL import crypto
from pyftpdlib.authorizers import DummyAuthorizer
from pyftpdlib.filesystems import AbstractedFS
from pyftpdlib.handlers import FTPHandler, TLS_DTPHandler, TLS_FTPHandler
from pyftpdlib.servers import FTPServer

PAGE = "cp1252"


class Files(AbstractedFS):
    def format_list(self, *arguments, **options):
        for lines in super().format_list(*arguments, **options):
            yield lines.decode("utf-8").encode(PAGE)

    def format_mlsx(self, *arguments, **options):
        for lines in super().format_mlsx(*arguments, **options):
            yield lines.decode("utf-8").encode(PAGE)


class SecureData(TLS_DTPHandler):
    def readable(self):
        """A client may begin the handshake before it asks for a file: that is no hanging up."""
        return self._ssl_accepting or self._ssl_want_read or self.receive


def in_page(base):
    class Handler(base):
        abstracted_fs = Files
        auth_failed_timeout = 0

        def decode(self, data):
            return data.decode(PAGE)

        def push(self, text):
            super(FTPHandler, self).push(text.encode(PAGE))
    return Handler


def make_certificate(path):
    key = crypto.PKey()
    key.generate_key(crypto.TYPE_RSA, 2048)
    certificate = crypto.X509()
    certificate.set_version(2)
    certificate.get_subject().CN = "torvik test"
    certificate.set_issuer(certificate.get_subject())
    certificate.gmtime_adj_notBefore(0)
    certificate.gmtime_adj_notAfter(3600)
    certificate.set_pubkey(key)
    certificate.add_extensions([crypto.X509Extension(b"basicConstraints", True, b"CA:TRUE"),
                                crypto.X509Extension(b"subjectAltName", False, b"IP:127.0.0.1")])
    certificate.sign(key, "sha256")
    with open(path, "wb") as file:
        file.write(crypto.dump_certificate(crypto.FILETYPE_PEM, certificate))
        file.write(crypto.dump_privatekey(crypto.FILETYPE_PEM, key))


def main(directory, *options):
    logging.disable(logging.CRITICAL)
    handler = in_page(TLS_FTPHandler if "tls" in options else FTPHandler)
    if "tls" in options:
        make_certificate(directory + ".pem")
        handler.dtp_handler = SecureData
        handler.certfile = directory + ".pem"
        # Without a name of its own the server takes no session a second time, and data connections do.
        handler.get_ssl_context().set_session_id(b"torvik")
        handler.tls_control_required = handler.tls_data_required = True
    if "no-mlsd" in options:
        handler.proto_cmds = {name: command for name, command in handler.proto_cmds.items()
                              if not name.startswith("MLS")}
    handler.authorizer = DummyAuthorizer()
    handler.authorizer.add_user("torvik", "geheim", directory, perm="elradfmw")
    handler.authorizer.override_perm("torvik", directory + "/locked", "elr")
    server = FTPServer(("127.0.0.1", 0), handler)
    print(server.socket.getsockname()[1], flush=True)
    server.serve_forever()


main(*sys.argv[1:])
