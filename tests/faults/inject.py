"""One run of a program in which one system call fails, or in which it is killed at one.

strace counts calls by thread, so a failure is named by a gate, where the program is stopped and the tracer attached
(gate.cpp), and by the number of the call in the thread that goes on there:

    gate 0      the main thread, from main on
    gate N      the N-th further thread that is made, from its start
    loader      before main, while shared libraries are loaded: the program cannot help it
"""

import os
import re
import signal
import subprocess
import time
from collections import Counter
from typing import NamedTuple

# What each call may answer; KILL is a kill of the process when it makes the call. With "+" every further call of the
# thread answers so: a disk stays full.
ERRORS = {
    "openat": "EACCES EIO EMFILE EMFILE+ ENOMEM ENOSPC KILL",
    "read": "EINTR EIO KILL",
    "pread64": "EIO KILL",
    "write": "EINTR EIO ENOSPC EPIPE KILL",
    "writev": "ECONNRESET ENOSPC KILL",
    "pwrite64": "EIO ENOSPC ENOSPC+ KILL",
    "fsync": "EIO EIO+ ENOSPC KILL",
    "fdatasync": "EIO EIO+ ENOSPC KILL",
    "ftruncate": "EIO ENOSPC KILL",
    "rename": "EACCES EACCES+ EIO ENOSPC KILL",
    "unlink": "EACCES EIO KILL",
    "mkdir": "EACCES ENOSPC KILL",
    "newfstatat": "EACCES EIO ENOMEM KILL",
    "getdents64": "EIO ENOMEM KILL",
    "fcntl": "EAGAIN EIO ENOLCK KILL",
    "flock": "EINTR ENOLCK KILL",
    "close": "EINTR EIO KILL",
    "mmap": "EAGAIN ENOMEM ENOMEM+ KILL",
    "clone3": "EAGAIN EAGAIN+ ENOMEM KILL",
    "socket": "EACCES EMFILE ENOMEM KILL",
    "connect": "ECONNREFUSED ECONNREFUSED+ EINTR ETIMEDOUT KILL",
    "sendto": "ECONNRESET EINTR ENOMEM EPIPE KILL",
    "recvfrom": "ECONNRESET EINTR ENOMEM KILL",
    "poll": "EINTR ENOMEM KILL",
    "ppoll": "EINTR ENOMEM KILL",
}
ERRORS = {call: errors.split() for call, errors in ERRORS.items()}
LOADER = "loader"
TIME_LIMIT = 30  # seconds


class Fault(NamedTuple):
    scene: str
    gate: str
    call: str
    error: str
    when: int

    def __str__(self):
        return " ".join(map(str, self))

    def option(self):
        action = "signal=KILL" if self.error == "KILL" else "error=" + self.error.rstrip("+")
        return f"inject={self.call}:{action}:when={self.when}" + "+" * self.error.endswith("+")


class Ended(NamedTuple):
    code: int  # the negative number of a signal that ended it
    out: str
    err: str
    seconds: float
    hung: bool
    trace: str  # what the tracer has written


class Runner:
    """Runs one command, its outputs in files of a directory that is not the command's own."""

    def __init__(self, command, directory, environment, gate_library, scratch):
        self.command, self.directory, self.environment = command, directory, environment
        self.gate_library, self.scratch = gate_library, scratch

    def plain(self):
        return self._run([], None)

    def with_fault(self, fault):
        return self._run(["-e", f"trace={fault.call}", "-e", fault.option()], fault.gate)

    def calls(self, gate):
        """How often each call is made in the thread that a gate lets go; None when nothing stops there."""
        trace = self._run(["-e", "trace=" + ",".join(ERRORS)], gate, counting=True).trace
        if not trace:
            return None
        lines = trace.splitlines()
        thread = lines[0].split()[0]
        if gate not in (LOADER, "0"):
            made = re.search(r"clone3.* = (\d+)$", trace, re.MULTILINE)
            thread = made.group(1) if made else ""
        calls = (re.match(r"(\d+) +(\w+)\(", line) for line in lines)
        return Counter(call.group(2) for call in calls if call and call.group(1) == thread)

    def _run(self, options, gate, counting=False):
        paths = [os.path.join(self.scratch, name) for name in ("out", "err", "trace")]
        for path in paths:
            open(path, "w").close()
        strace = ["strace", "-f", "-o", paths[2], "-e", "signal=none", *options]
        command, environment = self.command, dict(self.environment)
        if gate == LOADER:
            command = [*strace, "-E", f"LD_PRELOAD={self.gate_library}",
                       "-E", "FAULT_GATE=" + ("end" if counting else "none"), *command]
        elif gate is not None:
            environment |= {"FAULT_GATE": gate, "LD_PRELOAD": self.gate_library}
        begin = time.monotonic()
        with open(paths[0], "w") as out, open(paths[1], "w") as err:
            program = subprocess.Popen(command, cwd=self.directory, env=environment, stdin=subprocess.DEVNULL,
                                       stdout=out, stderr=err, start_new_session=True)
        tracer, hung = None, False
        try:
            if gate not in (None, LOADER):
                tracer = self._attach(program, strace)
            program.wait(TIME_LIMIT)
        except subprocess.TimeoutExpired:
            hung = True
        finally:
            if program.poll() is None:
                os.killpg(program.pid, signal.SIGKILL)
            code = program.wait()
        if tracer:
            tracer.stderr.close()
            tracer.wait()
        texts = [open(path, errors="replace").read() for path in paths]
        return Ended(code, texts[0], texts[1], time.monotonic() - begin, hung, texts[2])

    @staticmethod
    def _attach(program, strace):
        """The tracer of a program that has stopped itself; None when it has ended instead."""
        stopped = os.waitid(os.P_PID, program.pid, os.WSTOPPED | os.WEXITED | os.WNOWAIT)
        if stopped.si_code != os.CLD_STOPPED:
            return None
        tracer = subprocess.Popen([*strace, "-p", str(program.pid)], stderr=subprocess.PIPE, text=True)
        for line in tracer.stderr:
            if "attached" in line:
                break
        os.kill(program.pid, signal.SIGCONT)
        return tracer
