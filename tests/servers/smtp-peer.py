#!/usr/bin/env python3
"""A mail server for tests, on a loopback port, that behaves as it is told.

  smtp-peer.py start DIR CONF   starts it and prints its port; DIR/files takes what has come
  smtp-peer.py stop DIR         stops it

Lines of CONF: "offer STARTTLS", "offer AUTH", "login USER PASSWORD" (the only one that is let in), "need-login",
"smtps", "certificate FILE" (with its key), "answer COMMAND TEXT" (to commands that begin so; TEXT "drop" ends the
connection, "hang" says nothing any more). DIR/files holds what the email package reads out of the mail, the breaches
of the rules for lines (faults) and what the client said (commands).
"""

import base64
import email
import email.policy
import os
import signal
import socket
import ssl
import sys


class Peer:
    def __init__(self, directory, lines):
        self.files = os.path.join(directory, "files")
        self.rules = [line.split(" ", 2) for line in lines if line]

    def values(self, word):
        return [rule[1:] for rule in self.rules if rule[0] == word]

    def write(self, name, text, mode="w"):
        data = text if isinstance(text, bytes) else text.encode()
        with open(os.path.join(self.files, name), mode + "b") as file:
            file.write(data)

    def secure(self):
        context = ssl.SSLContext(ssl.PROTOCOL_TLS_SERVER)
        context.load_cert_chain(self.values("certificate")[0][0])
        self.connection = context.wrap_socket(self.connection, server_side=True)
        self.stream = self.connection.makefile("rb")

    def say(self, text):
        self.connection.sendall(text.encode() + b"\r\n")

    def serve(self, connection):
        self.connection, self.stream = connection, connection.makefile("rb")
        self.is_in, self.is_secure = False, False
        if self.values("smtps"):
            self.secure()
        command = "CONNECT"
        while self.answer(command):
            command = self.stream.readline().decode().rstrip("\r\n")
            if not command:
                return
            self.write("commands", command + "\n", "a")

    def answer(self, command):
        """False at the end of the connection."""
        word = command.split(" ")[0].upper()
        for start, text in self.values("answer"):
            if command.startswith(start):
                if text == "hang":
                    self.stream.read()
                if text not in ("drop", "hang"):
                    self.say(text)
                return text not in ("drop", "hang")
        if word == "EHLO":
            for (offer,) in self.values("offer"):
                if not (self.is_secure and offer == "STARTTLS"):
                    self.say("250-" + {"AUTH": "AUTH PLAIN"}.get(offer, offer))
            self.say("250 peer")
        elif word == "STARTTLS":
            self.say("220 go on")
            self.secure()
            self.is_secure = True
        elif word == "AUTH":
            self.log_in(command)
        elif word == "MAIL" and self.values("need-login") and not self.is_in:
            self.say("530 5.7.0 log on first")
        elif word == "DATA":
            self.say("354 go on")
            self.take()
        else:
            self.say({"CONNECT": "220 peer", "QUIT": "221 bye"}.get(word, "250 fine"))
        return word != "QUIT"

    def log_in(self, command):
        if command == "AUTH PLAIN":
            self.say("334 ")
            command = self.stream.readline().decode()
        given = base64.b64decode(command.split(" ")[-1]).decode().split("\0")[1:]
        self.is_in = given in self.values("login")
        self.say("235 in" if self.is_in else "535 5.7.8 wrong user or password")

    def take(self):
        lines = []
        while (line := self.stream.readline()) not in (b".\r\n", b""):
            lines.append(line[1:] if line.startswith(b".") else line)
        faults = [line for line in lines if len(line) > 1000 or not line.endswith(b"\r\n") or max(line) > 126
                  or b"\r" in line[:-2]]
        mail = email.message_from_bytes(b"".join(lines), policy=email.policy.default)
        for name in ("from", "to", "cc", "bcc", "subject"):
            self.write(name, str(mail[name]))
        faults += [name for name in ("Date", "Message-ID", "MIME-Version") if len(mail.get_all(name, [])) != 1]
        self.write("faults", repr(faults[:3]) if faults or not mail["date"].datetime.tzinfo else "")
        body = mail.get_body()
        self.write("text", body.get_content())
        self.write("text-type", body.get_content_type())
        for part in mail.iter_attachments():
            self.write("attachment", part.get_payload(decode=True))
            self.write("attachment-name", part.get_filename())
        self.say("250 2.0.0 queued as 4711")


def start(directory, configuration):
    os.makedirs(os.path.join(directory, "files"), exist_ok=True)
    with open(configuration, encoding="utf-8") as file:
        peer = Peer(directory, file.read().splitlines())
    server = socket.create_server(("127.0.0.1", 0))
    port = server.getsockname()[1]
    child = os.fork()
    if child:
        with open(os.path.join(directory, "pid"), "w", encoding="utf-8") as file:
            file.write(str(child))
        print(port)
        return
    # The caller reads its standard output to the end.
    for number in (0, 1, 2):
        os.dup2(os.open(os.path.join(directory, "log"), os.O_RDWR | os.O_CREAT), number)
    while True:
        connection, _ = server.accept()
        with connection:
            try:
                peer.serve(connection)
                peer.connection.shutdown(socket.SHUT_RDWR)
            except OSError as error:
                print(error, flush=True)
            peer.connection.close()
            peer.stream.close()


def stop(directory):
    with open(os.path.join(directory, "pid"), encoding="utf-8") as file:
        os.kill(int(file.read()), signal.SIGKILL)


if __name__ == "__main__":
    {"start": start, "stop": stop}[sys.argv[1]](*sys.argv[2:])
