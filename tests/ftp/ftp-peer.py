#!/usr/bin/env python3
"""An FTP server that misbehaves by a script; writes its loopback port to stdout.

usage: ftp-peer.py SCRIPT LOG

Writes every command that it is sent to LOG. The first block of SCRIPT whose "when" text the command
begins with answers it, once when there is another behind it; "when connect" stands for the
greeting. Where there is none, a well-behaved server of an empty directory does. Active mode only.

  when TEXT
  reply TEXT        a line of a reply; \\r, \\n, \\x41 are characters
  data TEXT         over a data connection, likewise
  names COUNT       lines of LIST
  end | cut         ends the data connection, properly or not
  close | reset     ends the control connection likewise
  hang              says nothing any more
"""
import socket
import struct
import sys
import threading
import time

DEFAULTS = {"connect": "220 ready", "USER": "331 password", "PASS": "230 in", "PWD": '257 "/"',
            "FEAT": "500 what?", "SIZE": "550 not in ASCII mode", "QUIT": "221 bye"}


def read_script(path):
    blocks = []
    with open(path, encoding="utf-8") as file:
        for line in file:
            action, _, text = line.rstrip("\n").partition(" ")
            if action == "when":
                blocks.append((text, []))
            else:
                blocks[-1][1].append((action, text))
    return blocks


def unescaped(text):
    return text.encode("latin-1").decode("unicode_escape").encode("latin-1")


def cut(connection):
    connection.setsockopt(socket.SOL_SOCKET, socket.SO_LINGER, struct.pack("ii", 1, 0))
    connection.close()


class Session:
    def __init__(self, control, script, log):
        self.control, self.script, self.log = control, script, log
        self.target = self.data = None

    def run(self):
        lines = self.control.makefile("rb")
        self.answer("connect")
        for line in lines:
            command = line.decode("latin-1").rstrip("\r\n")
            self.log.write(command + "\n")
            self.log.flush()
            if command.startswith("EPRT"):
                _, _, host, port, _ = command.split("|")
                self.target = (host, int(port))
            if command.startswith("PORT"):
                numbers = command[5:].split(",")
                self.target = (".".join(numbers[:4]), int(numbers[4]) * 256 + int(numbers[5]))
            if not self.answer(command):
                break

    def answer(self, command):
        blocks = [block for block in self.script if command.startswith(block[0])]
        if len(blocks) > 1:
            self.script.remove(blocks[0])
        if blocks:
            return all(self.act(*action) for action in blocks[0][1])
        word = command.split(" ")[0]
        if word in ("LIST", "RETR", "STOR"):
            return all(self.act(*action) for action in
                       [("reply", "150 here it is"), ("data", ""), ("end", ""), ("reply", "226 sent")])
        return self.act("reply", DEFAULTS.get(word, "200 done"))

    def send(self, data):
        if self.data is None:
            self.data = socket.create_connection(self.target)
        self.data.sendall(data)

    def act(self, action, text):
        if action == "reply":
            self.control.sendall(unescaped(text) + b"\r\n")
        elif action == "data":
            self.send(unescaped(text))
        elif action == "names":
            for number in range(int(text)):
                self.send(b"-rw-r--r-- 1 o g 5 Jan  8 10:20 file %d\r\n" % number)
        elif action in ("end", "cut"):
            self.data.close() if action == "end" else cut(self.data)
            self.data = None
        elif action == "close":
            self.control.shutdown(socket.SHUT_RDWR)
            return False
        elif action == "reset":
            cut(self.control)
            return False
        elif action == "hang":
            time.sleep(3600)
        return True


def serve(session):
    try:
        session.run()
    except OSError:
        pass  # the client went away


def main():
    script, log = read_script(sys.argv[1]), open(sys.argv[2], "a", encoding="utf-8")
    server = socket.create_server(("127.0.0.1", 0))
    print(server.getsockname()[1], flush=True)
    while True:
        session = Session(server.accept()[0], script, log)
        threading.Thread(target=serve, args=(session,), daemon=True).start()


main()
