#!/usr/bin/env python3
"""Speaks as much of SQL Server's protocol (TDS 7.4) as a driver needs, and answers by a script.

usage: tds-peer.py SCRIPT LOG [CERTIFICATE]

With a certificate, whose file holds the key too, all is encrypted.
Writes its loopback port to stdout, then to LOG one line for all that a client sends: "logon ...",
"batch TEXT", "rpc NAME PARAMETER | ...", "bulk VALUE | VALUE; ..." or "attention". The first block of SCRIPT whose "when" text
is part of the line answers it; where there is none, a success without rows does.

  when TEXT
  columns NAME TYPE, #IDENTITY TYPE      row VALUE | VALUE     NULL is NULL, \\u1F600; a character
  error NUMBER SEVERITY TEXT        info NUMBER SEVERITY TEXT
  done COUNT: one of several statements ends      count COUNT: the last one's
  close: hangs up      wait: until the next request      deaf: for ever, no cancel is answered
"""
import datetime
import decimal
import re
import socketserver
import ssl
import struct
import sys
import uuid

COLLATION = bytes([0x09, 0x04, 0xD0, 0x00, 0x34])  # Latin, code page 1252
PROCEDURES = {11: "sp_prepare", 12: "sp_execute", 13: "sp_prepexec", 15: "sp_unprepare"}
ANSWER, BATCH, CALL, ATTENTION, BULK, LOGON, PRELOGIN = 4, 1, 3, 6, 7, 16, 18
DONE, DONE_CALL, DONE_IN_CALL = 0xFD, 0xFE, 0xFF
MORE, ERROR, COUNTED, CANCELLED = 1, 2, 0x10, 0x20
NEXT_CALL = 0xFF


def wide(text): return text.encode("utf-16-le")
def narrow(text): return text.encode("cp1252")
def short(data): return bytes([len(data)]) + data
def long(data): return struct.pack("<H", len(data)) + data
def chunk(data): return struct.pack("<I", len(data)) + data
def chunked(data): return struct.pack("<Q", len(data)) + chunk(data) * bool(data) + chunk(b"")
def pointed(data): return short(b"p" * 16) + b"t" * 8 + chunk(data)
def counted(text, size="<B"): return struct.pack(size, len(wide(text)) // 2) + wide(text)
def token(kind, body): return bytes([kind]) + long(body)


def moment(text):
    since = datetime.datetime.fromisoformat(text) - datetime.datetime(1900, 1, 1)
    return struct.pack("<iI", since.days, round((since.seconds + since.microseconds / 1e6) * 300))


def day(text):
    return (datetime.date.fromisoformat(text) - datetime.date(1, 1, 1)).days.to_bytes(3, "little")


def clock(text):
    hours, minutes, seconds = text.split(":")
    ticks = (int(hours) * 60 + int(minutes)) * 60 * 10**7 + round(float(seconds) * 10**7)
    return ticks.to_bytes(5, "little")


def money(text):
    units = int(decimal.Decimal(text) * 10000)
    return struct.pack("<iI", units >> 32, units & 0xFFFFFFFF)


def exact(text):
    return bytes([text[0] != "-"]) + int(re.sub("[-.]", "", text)).to_bytes(16, "little")


def packed(code): return lambda text: short(struct.pack(code, float(text) if code in ("<d", "<f") else int(text)))


TABLE = b"\x01" + counted("t", "<H")
NO_BYTE, NO_SHORT, NO_CHUNKS = b"\0", b"\xff\xff", b"\xff" * 8
# By name: how the type is described, how a value is written, what NULL is.
TYPES = {
    "smallint": (b"\x26\x02", packed("<h"), NO_BYTE),
    "int": (b"\x26\x04", packed("<i"), NO_BYTE),
    "bigint": (b"\x26\x08", packed("<q"), NO_BYTE),
    "tinyint": (b"\x26\x01", packed("<B"), NO_BYTE),
    "bit": (b"\x68\x01", packed("<B"), NO_BYTE),
    "real": (b"\x6d\x04", packed("<f"), NO_BYTE),
    "float": (b"\x6d\x08", packed("<d"), NO_BYTE),
    "money": (b"\x6e\x08", lambda v: short(money(v)), NO_BYTE),
    "decimal": (b"\x6a\x11\x26\x02", lambda v: short(exact(v)), NO_BYTE),
    "datetime": (b"\x6f\x08", lambda v: short(moment(v)), NO_BYTE),
    "date": (b"\x28", lambda v: short(day(v)), NO_BYTE),
    "datetime2": (b"\x2a\x07", lambda v: short(clock(v[11:]) + day(v[:10])), NO_BYTE),
    "uniqueidentifier": (b"\x24\x10", lambda v: short(uuid.UUID(v).bytes_le), NO_BYTE),
    "nvarchar": (b"\xe7\x40\x1f" + COLLATION, lambda v: long(wide(v)), NO_SHORT),
    "varchar": (b"\xa7\x40\x1f" + COLLATION, lambda v: long(narrow(v)), NO_SHORT),
    "nvarchar(max)": (b"\xe7\xff\xff" + COLLATION, lambda v: chunked(wide(v)), NO_CHUNKS),
    "varchar(max)": (b"\xa7\xff\xff" + COLLATION, lambda v: chunked(narrow(v)), NO_CHUNKS),
    "varbinary(max)": (b"\xa5\xff\xff", lambda v: chunked(bytes.fromhex(v)), NO_CHUNKS),
    "xml": (b"\xf1\0", lambda v: chunked(wide(v)), NO_CHUNKS),
    "ntext": (b"\x63\xff\xff\xff\x7f" + COLLATION + TABLE, lambda v: pointed(wide(v)), NO_BYTE),
    "image": (b"\x22\xff\xff\xff\x7f" + TABLE, lambda v: pointed(bytes.fromhex(v)), NO_BYTE),
}


def done(status=0, rows=None, kind=DONE):
    return struct.pack("<BHHQ", kind, status | COUNTED * (rows is not None), 0xC1, rows or 0)


def message(kind, number, severity, text):
    body = struct.pack("<iBB", int(number), 1, int(severity)) + counted(text, "<H")
    return token(kind, body + counted("PEER") + counted("") + struct.pack("<I", 1))


def environment(kind, new):
    return token(0xE3, bytes([kind]) + counted(new) + counted(""))


def columns(text):
    """The description of a result's columns, and their types."""
    names = [part.strip().rsplit(" ", 1) for part in text.split(",")]
    body = b"".join(struct.pack("<IH", 0, 0x19 if name[0] == "#" else 9) + TYPES[kind][0]
                    + counted(name.lstrip("#")) for name, kind in names)
    return struct.pack("<BH", 0x81, len(names)) + body, [kind for _, kind in names]


def row(text, kinds):
    def written(value, kind):
        value = re.sub(r"\\u(\w+);", lambda found: chr(int(found[1], 16)), value)
        return TYPES[kind][2] if value == "NULL" else TYPES[kind][1](value)
    return b"\xd1" + b"".join(map(written, text.split(" | "), kinds))


class Call:
    """Reads the request to run a procedure."""

    def __init__(self, data):
        self.data, self.at = data, 0

    def take(self, count):
        self.at += count
        return self.data[self.at - count:self.at]

    def number(self, size):
        return int.from_bytes(self.take(size), "little")

    def name(self):
        length = self.number(2)
        name = PROCEDURES[self.number(2)] if length == 0xFFFF else self.take(2 * length).decode("utf-16-le")
        self.number(2)
        return name

    def bytes(self, size):
        length = self.number(size)
        return None if length == 256**size - 1 else self.take(length)

    def chunks(self):
        data = b""
        if self.take(8) == NO_CHUNKS:
            return None
        while length := self.number(4):
            data += self.take(length)
        return data

    def parameters(self):
        while self.at < len(self.data) and self.data[self.at] != NEXT_CALL:
            name, _, kind = self.take(2 * self.number(1)).decode("utf-16-le"), self.number(1), self.number(1)
            yield name + "=" * bool(name) + self.value(kind)

    def value(self, kind):
        if kind in (0x26, 0x6D):
            self.number(1)
            data = self.take(self.number(1))
            value = struct.unpack("<d", data)[0] if kind == 0x6D and data else int.from_bytes(data, "little")
            return ("float " if kind == 0x6D else "int ") + (str(value) if data else "NULL")
        word, code = {0xE7: ("nvarchar", "utf-16-le"), 0xA7: ("varchar", "cp1252"), 0xA5: ("varbinary", ""),
                      0x63: ("ntext", "utf-16-le")}[kind]
        size = 4 if kind == 0x63 else 2
        is_large = self.number(size) == 0xFFFF
        self.take(5 if code else 0)
        data = self.chunks() if is_large else self.bytes(size)
        text = "NULL" if data is None else "'" + data.decode(code) + "'" if code else "0x" + data.hex()
        return word + ("(max) " if is_large else " ") + text


class Rows(Call):
    """Reads the rows of a bulk load."""

    def __init__(self, data):
        super().__init__(data)
        self.number(1)
        self.kinds = [self.described() for _ in range(self.number(2))]

    def described(self):
        """A column's type, and the scale of its values."""
        self.number(6)
        kind = self.number(1)
        sizes = {0x28: 0, 0x6A: 3, 0x6C: 3, 0xE7: 7, 0xA7: 7}.get(kind, 1)
        described = self.take(sizes)
        self.take(2 * self.number(1))
        return kind, described[-1] if described else 0

    def __iter__(self):
        while self.number(1) == 0xD1:
            yield " | ".join(self.read(*kind) for kind in self.kinds)

    def read(self, kind, scale):
        is_text = kind in (0xE7, 0xA7)
        data = self.bytes(2) if is_text else self.take(self.number(1))
        if data is None or not data and not is_text:
            return "NULL"
        if is_text:
            return "'" + data.decode("utf-16-le" if kind == 0xE7 else "cp1252") + "'"
        if kind == 0x6D:
            return str(struct.unpack("<d", data)[0])
        if kind == 0x6E:
            high, low = struct.unpack("<iI", data)
            return str(decimal.Decimal((high << 32) + low) / 10000)
        if kind in (0x6A, 0x6C):
            return str(decimal.Decimal(int.from_bytes(data[1:], "little") * (1 if data[0] else -1)).scaleb(-scale))
        if kind == 0x6F:
            days, ticks = struct.unpack("<iI", data)
            return str(datetime.datetime(1900, 1, 1) + datetime.timedelta(days, ticks / 300))
        if kind in (0x28, 0x2A):
            date = datetime.date.fromordinal(1 + int.from_bytes(data[-3:], "little"))
            return str(date) + (f"+{int.from_bytes(data[:-3], 'little')}" if kind == 0x2A else "")
        return str(int.from_bytes(data, "little", signed=len(data) > 1))


class Encrypted:
    """A socket's bytes within TLS, once the handshake is done."""

    def __init__(self, request, tls, arrived, leaving):
        self.request, self.tls, self.arrived, self.leaving = request, tls, arrived, leaving

    def recv(self, count):
        while True:
            try:
                return self.tls.read(count)
            except ssl.SSLWantReadError:
                data = self.request.recv(16384)
                self.arrived.write(data)
                if not data:
                    return b""

    def sendall(self, data):
        self.tls.write(data)
        self.request.sendall(self.leaving.read())


class Client(socketserver.BaseRequestHandler):
    transaction = 0
    deaf = False

    def take(self, count):
        data = b""
        while len(data) < count:
            part = self.request.recv(count - len(data))
            if not part:
                raise ConnectionError
            data += part
        return data

    def receive(self):
        data, is_last = b"", False
        while not is_last:
            head = self.take(8)
            kind, is_last = head[0], head[1] & 1
            data += self.take(struct.unpack(">H", head[2:4])[0] - 8)
        return kind, data

    def send(self, data, is_whole=True, kind=ANSWER):
        for at in range(0, len(data), 4000):
            part = data[at:at + 4000]
            is_last = is_whole and at + 4000 >= len(data)
            self.request.sendall(struct.pack(">BBHHBB", kind, is_last, len(part) + 8, 0, 1, 0) + part)

    def log(self, line):
        with open(sys.argv[2], "a", encoding="utf-8") as log:
            log.write(line + "\n")

    def answer(self, line, out=b"", call_end=b"", rows=None, is_whole=True):
        self.log(line)
        kinds, failed = [], 0
        for step in next((steps for text, steps in SCRIPT if text in line), []):
            word, _, rest = step.partition(" ")
            if word == "columns":
                (described, kinds), rows = columns(rest), 0
                out += described
            elif word == "row":
                out, rows = out + row(rest, kinds), rows + 1
            elif word in ("error", "info"):
                out += message(0xAA if word == "error" else 0xAB, *rest.split(" ", 2))
                failed |= ERROR * (word == "error")
            elif word == "done":
                out += done(MORE | failed, int(rest) if rest else rows)
                rows, failed = None, 0
            elif word == "count":
                rows = int(rest)
            else:  # "wait", "close", "deaf"
                self.deaf = word == "deaf"
                self.send(out, False)
                if word == "close":
                    raise ConnectionError
                return
        if call_end:
            out += done(MORE | failed, rows, DONE_IN_CALL) + call_end
            return self.send(out + done(failed | MORE * (not is_whole), None, DONE_CALL), is_whole)
        self.send(out + done(failed, rows))

    def prelogin(self):
        values = [bytes([15, 0, 7, 208, 0, 0]), b"\x01" if CERTIFICATE else b"\x02"]  # version; encryption
        start, options = 5 * len(values) + 1, b""
        for kind, value in enumerate(values):
            options += struct.pack(">BHH", kind, start + len(b"".join(values[:kind])), len(value))
        self.send(options + b"\xff" + b"".join(values))
        if CERTIFICATE:
            self.encrypt()

    def encrypt(self):
        """The handshake goes in packets of the protocol, and all that follows within the encryption."""
        context = ssl.SSLContext(ssl.PROTOCOL_TLS_SERVER)
        context.load_cert_chain(CERTIFICATE)
        context.maximum_version = ssl.TLSVersion.TLSv1_2  # TDS 7.4 has no later one
        arrived, leaving = ssl.MemoryBIO(), ssl.MemoryBIO()
        tls, is_done = context.wrap_bio(arrived, leaving, server_side=True), False
        while not is_done:
            arrived.write(self.receive()[1])
            try:
                tls.do_handshake()
                is_done = True
            except ssl.SSLWantReadError:
                pass
            if leaving.pending:
                self.send(leaving.read(), kind=PRELOGIN)
        self.request = Encrypted(self.request, tls, arrived, leaving)
        self.log("encrypted")

    def logon(self, data):
        def field(position):
            at, length = struct.unpack_from("<HH", data, 36 + 4 * position)
            return data[at:at + 2 * length]
        user, application, server, database = (field(i).decode("utf-16-le") for i in (1, 3, 4, 8))
        bits = bytes(((b ^ 0xA5) << 4 | (b ^ 0xA5) >> 4) & 0xFF for b in field(2))
        is_plain = bits != b"" and (bits in data or bits[::2] in data)
        line = f"logon user={user} password={bits.decode('utf-16-le')} database={database} app={application} " \
               f"server={server} version={data[7]:x}.{data[4]:x} password{' ' if is_plain else ' not '}readable"
        if any(step.startswith("error") for text, steps in SCRIPT if text in line for step in steps):
            self.answer(line)
            raise ConnectionError
        acknowledged = b"\x01\x74\0\0\x04" + counted("Microsoft SQL Server\0\0") + bytes([15, 0, 7, 208])
        self.answer(line, environment(1, database or "master") + token(0xE3, b"\x07" + short(COLLATION) + b"\0")
                    + message(0xAB, 5701, 0, "Changed database context.") + token(0xAD, acknowledged))

    def batch(self, text):
        """The client must carry the number of the transaction that it is told here."""
        before = struct.pack("<Q", self.transaction)
        begins = text == "BEGIN TRANSACTION"
        ends = text.startswith(("COMMIT TRANSACTION", "IF @@TRANCOUNT > 0 ROLLBACK TRANSACTION")) and self.transaction
        if begins or ends:
            self.transaction = 77 if begins else 0
        change = b"\x08" + short(struct.pack("<Q", 77)) + b"\0" if begins else b"\x09\0" + short(before)
        self.answer("batch " + text, token(0xE3, change) if begins or ends else b"")

    def call(self, call):
        name = call.name()
        end = b"\x79" + struct.pack("<i", 0)
        if name in ("sp_prepare", "sp_prepexec"):  # the first parameter answers a handle
            end += struct.pack("<BHBBIH", 0xAC, 0, 0, 1, 0, 0) + b"\x26\x04" + packed("<i")(7)
        line = "rpc " + name + " " + " | ".join(call.parameters())
        is_last = call.at == len(call.data)
        call.number(not is_last)
        self.answer(line, b"", end, is_whole=is_last)
        return is_last

    def respond(self, kind, data):
        if kind == PRELOGIN:
            return self.prelogin()
        if kind == LOGON:
            return self.logon(data)
        if kind == ATTENTION:
            self.log("attention")
            return None if self.deaf else self.send(done(CANCELLED))
        if kind == BULK:
            rows = list(Rows(data))
            return self.answer("bulk " + "; ".join(rows), rows=len(rows))
        headers, carried = struct.unpack_from("<I", data)[0], struct.unpack_from("<Q", data, 10)[0]
        if carried != self.transaction:
            self.log(f"transaction {carried} in place of {self.transaction}")
        if kind == BATCH:
            return self.batch(data[headers:].decode("utf-16-le"))
        if kind == CALL:
            call = Call(data[headers:])
            while not self.call(call):
                pass
            return None
        raise ConnectionError

    def handle(self):
        try:
            while True:
                self.respond(*self.receive())
        except OSError:  # ssl.SSLError is one
            pass


def load(path):
    script = []
    for line in open(path, encoding="utf-8").read().splitlines():
        if line.startswith("when "):
            script.append((line[5:], []))
        elif line:
            script[-1][1].append(line)
    return script


if __name__ == "__main__":
    SCRIPT = load(sys.argv[1])
    CERTIFICATE = next(iter(sys.argv[3:]), None)
    with socketserver.ThreadingTCPServer(("127.0.0.1", 0), Client) as server:
        server.daemon_threads = True
        print(server.server_address[1], flush=True)
        server.serve_forever()
