#!/usr/bin/env python3
"""A web server for tests, on a loopback port, that behaves as it is told.

  http-peer.py start DIR CONF   starts it and prints its port; DIR/files/calls takes what has come
  http-peer.py stop DIR         stops it

Lines of CONF: "answer STATUS [TIMES]" (else 200, and 200 after TIMES calls), "hang" (says nothing), "drop" (ends
the connection). A line of calls is "METHOD PATH BODY", written before the answer.
"""

import http.server
import os
import signal
import sys
import time


def new_handler(directory, rules):
    left = {"calls": int(rules[0][2]) if rules and len(rules[0]) > 2 else 1 << 30}

    class Handler(http.server.BaseHTTPRequestHandler):
        def answer(self):
            body = self.rfile.read(int(self.headers.get("Content-Length", 0))).decode()
            with open(os.path.join(directory, "files", "calls"), "a", encoding="utf-8") as file:
                file.write(f"{self.command} {self.path} {body}".rstrip() + "\n")
            rule = rules[0] if rules and left["calls"] > 0 else ["answer", "200"]
            left["calls"] -= 1
            if rule[0] == "hang":
                time.sleep(3600)
            if rule[0] == "answer":
                self.send_response(int(rule[1]))
                self.send_header("Content-Length", "2")
                self.end_headers()
                self.wfile.write(b"OK")
            self.close_connection = True

        do_GET = do_POST = answer

        def log_message(self, *_):
            pass

    return Handler


def start(directory, configuration):
    os.makedirs(os.path.join(directory, "files"), exist_ok=True)
    with open(configuration, encoding="utf-8") as file:
        rules = [line.split() for line in file if line.strip()]
    server = http.server.ThreadingHTTPServer(("127.0.0.1", 0), new_handler(directory, rules))
    child = os.fork()
    if child:
        with open(os.path.join(directory, "pid"), "w", encoding="utf-8") as file:
            file.write(str(child))
        print(server.server_port)
        return
    # The caller reads its standard output to the end.
    for number in (0, 1, 2):
        os.dup2(os.open(os.path.join(directory, "log"), os.O_RDWR | os.O_CREAT), number)
    server.serve_forever()


def stop(directory):
    with open(os.path.join(directory, "pid"), encoding="utf-8") as file:
        os.kill(int(file.read()), signal.SIGKILL)


if __name__ == "__main__":
    {"start": start, "stop": stop}[sys.argv[1]](*sys.argv[2:])
