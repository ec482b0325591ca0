#!/usr/bin/env python3
"""Writes the Access files of this folder. Needs nothing but Python; README.md says what they are for.

  make-access-file.py FOLDER
"""

import datetime
import pathlib
import struct
import sys
import uuid

BOOL, BYTE, INT, LONG, MONEY, SINGLE, DOUBLE, DATE = range(1, 9)
BINARY, TEXT, OLE, MEMO, GUID, NUMERIC, BIGINT = 9, 10, 11, 12, 15, 16, 19
FIXED_SIZE = {BOOL: 0, BYTE: 1, INT: 2, LONG: 4, MONEY: 8, SINGLE: 4, DOUBLE: 8, DATE: 8, GUID: 16,
              NUMERIC: 17, BIGINT: 8}
SYSTEM = 0x80000000
DAY_ZERO = datetime.datetime(1899, 12, 30)


def rc4(key, data):
    state, j, out = list(range(256)), 0, bytearray()
    for i in range(256):
        j = (j + state[i] + key[i % len(key)]) % 256
        state[i], state[j] = state[j], state[i]
    i = j = 0
    for byte in data:
        i = (i + 1) % 256
        j = (j + state[i]) % 256
        state[i], state[j] = state[j], state[i]
        out.append(byte ^ state[(state[i] + state[j]) % 256])
    return bytes(out)


class Format:
    """What differs between the engine's versions."""

    def __init__(self, version, name):
        self.version, self.name = version, name
        self.jet3 = version == 0
        self.page_size = 2048 if self.jet3 else 4096
        self.row_count_at = 8 if self.jet3 else 12

    def text(self, value):
        if self.jet3:
            return value.encode("cp1252")
        wide = value.encode("utf-16-le")
        narrow = all(0 < ord(c) < 256 for c in value)
        return b"\xff\xfe" + value.encode("latin-1") if narrow and len(value) > 2 else wide

    def name_text(self, value):
        data = value.encode("cp1252" if self.jet3 else "utf-16-le")
        return struct.pack("<B" if self.jet3 else "<H", len(data)) + data


class Column:
    def __init__(self, name, kind, size=0, precision=0, scale=0):
        self.name, self.kind, self.precision, self.scale = name, kind, precision, scale
        self.fixed = kind in FIXED_SIZE
        self.size = FIXED_SIZE.get(kind, size)


class File:
    def __init__(self, fmt, password="", key=0):
        self.fmt = fmt
        self.pages = [self.first_page(password, key), bytes(fmt.page_size), None, None]
        self.catalogue = []
        self.maps = []  # Rows of page 3: which pages each table owns.

    def first_page(self, password, key):
        page = bytearray(self.fmt.page_size)
        page[0:4] = b"\0\1\0\0"
        page[4:20] = self.fmt.name.encode() + b"\0"
        page[0x14] = self.fmt.version
        struct.pack_into("<H", page, 0x3C, 1252)
        struct.pack_into("<I", page, 0x3E, key)
        created = 45000.25
        struct.pack_into("<d", page, 0x72, created)
        mask = struct.pack("<i", int(created))
        field = (password.encode("cp1252").ljust(20, b"\0") if self.fmt.jet3 else
                 bytes(b ^ mask[i % 4] for i, b in
                       enumerate(password.encode("utf-16-le").ljust(40, b"\0"))))
        page[0x42:0x42 + len(field)] = field
        end = 0x18 + (126 if self.fmt.jet3 else 128)
        page[0x18:end] = rc4(b"\xC7\xDA\x39\x6B", bytes(page[0x18:end]))
        return bytes(page)

    def add_page(self, content):
        self.pages.append(bytes(content).ljust(self.fmt.page_size, b"\0"))
        return len(self.pages) - 1

    def data_pages(self, owner, rows):
        """Puts rows, or (row, flags), on as many pages as they need; answers the pages' numbers."""
        numbers, waiting = [], list(rows)
        while waiting:
            page, at = bytearray(self.fmt.page_size), self.fmt.page_size
            offsets = []
            while waiting:
                row, flags = waiting[0] if isinstance(waiting[0], tuple) else (waiting[0], 0)
                if at - len(row) < self.fmt.row_count_at + 4 + 2 * len(offsets):
                    break
                at -= len(row)
                page[at:at + len(row)] = row
                offsets.append(at | flags)
                waiting.pop(0)
            page[0:2] = b"\1\1"
            struct.pack_into("<H", page, 2, at - self.fmt.row_count_at - 2 - 2 * len(offsets))
            page[4:8] = owner
            struct.pack_into(f"<H{len(offsets)}H", page, self.fmt.row_count_at, len(offsets), *offsets)
            numbers.append(self.add_page(page))
        return numbers

    def usage_map(self, pages, by_pages):
        if by_pages:
            bits = bytearray(self.fmt.page_size - 4)
            for page in pages:
                bits[page // 8] |= 1 << page % 8
            return b"\1" + struct.pack("<17I", self.add_page(b"\5\1\0\0" + bits), *[0] * 16)
        bits = bytearray(64)
        for page in pages:
            bits[page // 8] |= 1 << page % 8
        return b"\0" + struct.pack("<I", 0) + bits

    def long_value(self, data):
        """In the row when it is short, on one page when that holds it, else on a chain of them."""
        if len(data) <= 64:
            return struct.pack("<III", len(data) | 0x80000000, 0, 0) + data
        if len(data) <= 1000:
            page = self.data_pages(b"LVAL", [data])[0]
            return struct.pack("<III", len(data) | 0x40000000, page << 8, 0)
        step, link = self.fmt.page_size // 2, 0
        for begin in reversed(range(0, len(data), step)):
            part = struct.pack("<I", link) + data[begin:begin + step]
            link = self.data_pages(b"LVAL", [part])[0] << 8
        return struct.pack("<III", len(data), link, 0)

    def value(self, column, value):
        kind = column.kind
        if kind in (TEXT, MEMO):
            data = self.fmt.text(value)
            return self.long_value(data) if kind == MEMO else data
        if kind == OLE:
            return self.long_value(value)
        if kind == BINARY:
            return value
        if kind == GUID:
            return uuid.UUID(value).bytes_le
        if kind == NUMERIC:
            words = struct.unpack("<4I", abs(value).to_bytes(16, "little"))
            return bytes([0x80 if value < 0 else 0]) + struct.pack("<4I", *reversed(words))
        if kind == DATE:
            days = (value - DAY_ZERO) / datetime.timedelta(days=1)
            if days < 0:  # the time counts forward from a day that counts backward
                whole = -(-days // 1) if days == days // 1 else days // 1
                days = whole - (days - whole)
            return struct.pack("<d", days)
        return struct.pack({BYTE: "<B", INT: "<h", LONG: "<i", MONEY: "<q", SINGLE: "<f",
                            DOUBLE: "<d", BIGINT: "<q"}[kind], value)

    def row(self, columns, values):
        size = "<B" if self.fmt.jet3 else "<H"
        out = bytearray(struct.pack(size, len(columns)))
        mask = bytearray((len(columns) + 7) // 8)
        for i, (column, value) in enumerate(zip(columns, values)):
            if value if column.kind == BOOL else value is not None:
                mask[i // 8] |= 1 << i % 8
            if column.fixed and column.kind != BOOL:
                out += bytes(column.size) if value is None else self.value(column, value)
        offsets = []
        for column, value in zip(columns, values):
            if not column.fixed:
                offsets.append(len(out))
                out += b"" if value is None else self.value(column, value)
        if offsets:
            end = len(out)
            for offset in [end] + offsets[::-1]:
                out += struct.pack(size, offset % 256 if self.fmt.jet3 else offset)
            if self.fmt.jet3 and end > 255:
                raise ValueError("rows of the old version are kept short")
            out += struct.pack(size, len(offsets))
        return bytes(out + mask)

    def definition(self, columns, rows, system):
        fixed_at, variable = 0, 0
        body = bytearray()
        for number, column in enumerate(columns):
            flags = 2 | (1 if column.fixed else 0)
            misc = bytes([column.precision, column.scale])
            if self.fmt.jet3:
                body += struct.pack("<BHHHH2sHBHH", column.kind, number, variable, number, 0x409, misc,
                                    0, flags, fixed_at, column.size)
            else:
                body += struct.pack("<BIHHH2sHBBIHH", column.kind, 0x659, number, variable, number,
                                    misc, 0, flags, 0, 0, fixed_at, column.size)
            fixed_at += column.size if column.fixed else 0
            variable += 0 if column.fixed else 1
        body += b"".join(self.fmt.name_text(column.name) for column in columns) + b"\xff\xff"
        kind = 0x53 if system else 0x4E
        maps = 3 << 8 | len(self.maps)
        counts = (kind, len(columns), variable, len(columns), 0, 0, maps, maps + 1)
        if self.fmt.jet3:
            head = struct.pack("<III", 0, rows, 0) + struct.pack("<BHHHIIII", *counts)
        else:
            head = struct.pack("<IIII16x", 0, 0x659, rows, 0) + struct.pack("<BHHHIIII", *counts)
        page = bytearray(b"\2\1\0\0" + bytes(4) + head + body)
        struct.pack_into("<I", page, 8, len(page) - 8)
        assert len(page) <= self.fmt.page_size
        return page.ljust(self.fmt.page_size, b"\0")

    def add_table(self, name, columns, rows, flags=0, map_by_pages=False, page=None):
        """Rows are lists of values, or (list, flags of its place)."""
        if page is None:
            page = self.add_page(b"")
        packed = [(self.row(columns, r[0]), r[1]) if isinstance(r, tuple) else self.row(columns, r)
                  for r in rows]
        pages = self.data_pages(struct.pack("<I", page), packed)
        self.pages[page] = bytes(self.definition(columns, len(rows), flags & SYSTEM))
        self.maps += [self.usage_map(pages, map_by_pages), self.usage_map([], False)]
        self.catalogue.append([page, 0, name, 1, None, flags if flags < 2**31 else flags - 2**32, None])

    def save(self, path):
        columns = [Column("Id", LONG), Column("ParentId", LONG), Column("Name", TEXT, 128),
                   Column("Type", INT), Column("DateCreate", DATE), Column("Flags", LONG),
                   Column("LvProp", OLE)]
        self.catalogue.append([2, 0, "MSysObjects", 1, None, SYSTEM - 2**32, None])
        self.catalogue.append([7, 0, "All orders", 5, None, 0, None])  # a stored query
        self.add_table("", columns, self.catalogue, SYSTEM, page=2)
        self.data_pages(b"\0" * 4, self.maps)
        self.pages[3] = self.pages.pop()
        path.write_bytes(b"".join(self.pages))


GONE, MOVED_HERE, MOVED_AWAY = 0xC000, 0x8000, 0x4000
LONG_TEXT = "Straße 1234 " * 250


def types_table(fmt):
    columns = [Column("Id", LONG), Column("Yes", BOOL), Column("Small", BYTE), Column("Short", INT),
               Column("Price", MONEY), Column("One", SINGLE), Column("Two", DOUBLE),
               Column("At", DATE), Column("Raw", BINARY, 40),
               Column("Name", TEXT, 20 if fmt.jet3 else 40), Column("Picture", OLE),
               Column("Note", MEMO), Column("Key", GUID), Column("Exact", NUMERIC, 0, 18, 3)]
    key = "3f2504e0-4f89-41d3-9a0c-0305e82c3301"
    at = datetime.datetime
    rows = [
        [1, True, 200, -5, 123456, 0.1, 0.1, at(2024, 2, 29, 13, 45, 30), b"\0\xff", "Grüße",
         b"tiny", "short", key, 1234567890123456],
        [2, False, 0, 32767, -2**63, -1.5, 1e300, at(1899, 12, 29, 6, 0), b"", "", b"\1" * 700,
         "m" * 700, key, -1],
        [-2147483648, True, 255, -32768, 5, 0, -0.0, at(1899, 12, 30), b"x", "a-b",
         bytes(range(256)) * 10, LONG_TEXT, key, 0],
        [4] + [None] * 13]
    if not fmt.jet3:
        for row, name in zip(rows, ["Grüße \U0001F600", "", "Ωmega"]):
            row[9] = name
    if fmt.version > 1:
        columns.append(Column("Huge", BIGINT))
        for row, value in zip(rows, [2**62, -1, 0, None]):
            row.append(value)
    return columns, rows


def write(path, fmt):
    file = File(fmt)
    file.add_table("MSysSecrets", [Column("a", LONG)], [[1]], SYSTEM)
    file.add_table("Every Type", *types_table(fmt))
    orders = [[number, "customer %d" % (number % 7), number * 12500] for number in range(1, 151)]
    orders[9] = (orders[9], GONE)
    orders[10] = ([0, "", 0], MOVED_AWAY)
    orders.append(([11, "moved", 137500], MOVED_HERE))
    file.add_table("Orders", [Column("Id", LONG), Column("Customer", TEXT, 60),
                              Column("Amount", MONEY)], orders, map_by_pages=True)
    file.add_table("Nothing", [Column("Only", TEXT, 20)], [])
    file.save(path)


def main():
    folder = pathlib.Path(sys.argv[1])
    jet3, jet4 = Format(0, "Standard Jet DB"), Format(1, "Standard Jet DB")
    ace = Format(3, "Standard ACE DB")
    write(folder / "access97.mdb", jet3)
    write(folder / "access2000.mdb", jet4)
    write(folder / "access2010.accdb", ace)
    for name, file in {"password97.mdb": File(jet3, password="sesame"),
                       "password2000.mdb": File(jet4, password="sesame"),
                       "encrypted.accdb": File(ace, key=0x12345678)}.items():
        (folder / name).write_bytes(file.pages[0])


if __name__ == "__main__":
    main()
