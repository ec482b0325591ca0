#!/usr/bin/env python3
"""Writes the workbooks of this folder. Needs openpyxl and LibreOffice Calc; README.md says what they are for.

  make-workbooks.py FOLDER
"""

import datetime
import pathlib
import struct
import subprocess
import sys
import tempfile
import zipfile

import openpyxl
from openpyxl.utils.datetime import CALENDAR_MAC_1904


def sheets(folder, name, from_1904):
    """One workbook in both formats, calculated by LibreOffice."""
    book = openpyxl.Workbook()
    if from_1904:
        book.epoch = CALENDAR_MAC_1904
    sales = book.active
    sales.title = "Sales"
    day, moment = datetime.date, datetime.datetime
    sales.append(["Region", "Amount", "When", "Seen at", "Paid", "Note"])
    sales.append(["Nord", 12.5, day(2024, 2, 29), moment(2024, 2, 29, 13, 45, 30), True, "Grüße 😀"])
    sales.append(["Süd", 7, day(1904, 1, 2) if from_1904 else day(1900, 1, 1),
                  moment(2023, 12, 31, 23, 59, 59), False, None])
    sales.append([])
    sales.append(["West", "=B2+B3", day(2024, 3, 1), "=1/0", "=1=1", '=A2&"!"'])
    for row in (6, 7):  # formatted, but empty
        sales.cell(row, 1).font = openpyxl.styles.Font(bold=True)
    regions = book.create_sheet("Regions x")
    for row in regions.iter_rows(min_row=2, max_row=4, min_col=2, max_col=5):
        for cell in row:
            cell.value = {"B2": "Region", "C2": "region", "E2": 2024, "B3": "Nord", "C3": 1,
                          "D3": "a", "E3": 0.1, "B4": "West", "C4": "two",
                          "E4": datetime.time(6, 30)}.get(cell.coordinate)
    book.create_sheet("Empty")
    with tempfile.TemporaryDirectory() as work:
        source = pathlib.Path(work, name + ".xlsx")
        book.save(source)
        for kind in ("xlsx", "xls:MS Excel 97"):
            subprocess.run(["soffice", "--headless", "--convert-to", kind, "--outdir", folder, source],
                           check=True, stdout=subprocess.DEVNULL)


def part(element, inside, relations=False):
    space = ("package/2006/relationships" if relations else "spreadsheetml/2006/main")
    return (f'<?xml version="1.0" encoding="UTF-8"?><{element} '
            f'xmlns="http://schemas.openxmlformats.org/{space}" '
            'xmlns:k="http://schemas.openxmlformats.org/officeDocument/2006/relationships">'
            f'{inside}</{element.split()[0]}>')


def relation(number, kind, target):
    return (f'<Relationship Id="r{number}" Target="{target}" Type="http://schemas.openxmlformats.org/'
            f'officeDocument/2006/relationships/{kind}"/>')


def other_writers(path):
    """What other programs write: no cell names, texts in cells, dates as texts, odd names of parts."""
    rows = ('<row><c t="inlineStr"><is><t>Name</t></is></c><c t="str"><v>Day</v></c>'
            '<c t="inlineStr"><is><t>Flag</t></is></c></row>'
            '<row r="3"><c t="inlineStr"><is><r><t xml:space="preserve">Ta </t></r><r><t>ro</t></r>'
            '<rPh sb="0" eb="1"><t>x</t></rPh></is></c><c t="d"><v>2024-02-29</v></c>'
            '<c t="b"><v>1</v></c></row>'
            '<row r="4"><c r="A4" t="s"><v>0</v></c><c r="B4" t="e"><v>#N/A</v></c>'
            '<c r="C4" t="b"><f>NOT(C3)</f><v>0</v></c></row>'
            '<row r="5"><c r="B5" t="d"><v>2024-03-01</v></c><c r="A5" t="str"><f>A3</f><v>late</v></c></row>')
    with zipfile.ZipFile(path, "w", zipfile.ZIP_DEFLATED) as out:
        out.writestr("_rels/.rels", part("Relationships",
                                         relation(1, "officeDocument", "/book/main.xml"), True))
        out.writestr("book/_rels/main.xml.rels", part(
            "Relationships", relation(1, "worksheet", "../sheets/one.xml") +
            relation(2, "sharedStrings", "Texts.xml") + relation(3, "chartsheet", "chart.xml"), True))
        out.writestr("book/main.xml", part("workbook", (
            '<sheets><sheet name="Chart" sheetId="1" k:id="r3"/>'
            '<sheet name="One" sheetId="2" k:id="r1"/></sheets>')))
        out.writestr("book/texts.xml", part("sst", "<si><t>a_x000D_b &amp; c</t></si>"))
        out.writestr("sheets/one.xml", part("worksheet", f"<sheetData>{rows}</sheetData>"))


def compound(path, name, stream):
    """A compound file with one stream."""
    stream = stream.ljust(4096, b"\0")
    sectors = len(stream) // 512
    entry = lambda text, kind, start, size, child: struct.pack(
        "<64sHBBIII36xIQ", text.encode("utf-16-le"), 2 * len(text) + 2, kind, 1, 2**32 - 1, 2**32 - 1,
        child, start, size)
    directory = (entry("Root Entry", 5, 2**32 - 2, 0, 1) +
                 entry(name, 2, 2, len(stream), 2**32 - 1)).ljust(512, b"\0")
    chain = [2**32 - 3, 2**32 - 2] + list(range(3, sectors + 2)) + [2**32 - 2]
    fat = struct.pack("<128I", *chain, *[2**32 - 1] * (128 - len(chain)))
    head = struct.pack("<8s16xHHHHH6xIIIIIIIII109I", b"\xD0\xCF\x11\xE0\xA1\xB1\x1A\xE1", 0x3E, 3,
                       0xFFFE, 9, 6, 0, 1, 1, 0, 4096, 2**32 - 2, 0, 2**32 - 2, 0, 0,
                       *[2**32 - 1] * 108)
    path.write_bytes(head + fat + directory + stream)


def record(kind, *content):
    content = b"".join(content)
    return struct.pack("<HH", kind, len(content)) + content


def excel_95(path):
    """Texts in a code page, a packed number, a formula with a text, an error."""
    cell = lambda row, column, form=0: struct.pack("<HHH", row, column, form)
    text = lambda value: struct.pack("<H", len(value)) + value
    begin = lambda kind: record(0x0809, struct.pack("<HHHH", 0x0500, kind, 0, 0))
    end = record(0x000A)
    front = (begin(5) + record(0x0042, struct.pack("<H", 1251)) +
             record(0x041E, struct.pack("<HB", 164, 8), b"dd.mm.yy") +
             record(0x00E0, struct.pack("<HH12x", 0, 0)) + record(0x00E0, struct.pack("<HH12x", 0, 164)))
    sheet = (begin(0x10) + begin(0x20) + record(0x0203, cell(9, 9), bytes(8)) + end +
             record(0x0204, cell(0, 0), text("Имя".encode("cp1251"))) +
             record(0x0204, cell(0, 1), text(b"Rate")) + record(0x0204, cell(0, 2), text(b"Day")) +
             record(0x0006, cell(1, 0), b"\0\0\0\0\0\0\xff\xff", bytes(8)) +
             record(0x0207, text("Да".encode("cp1251"))) +
             record(0x00BD, struct.pack("<HH", 1, 1), struct.pack("<HI", 0, 1250 << 2 | 3),
                    struct.pack("<HI", 1, 45351 << 2 | 2), struct.pack("<H", 2)) +
             record(0x0205, cell(2, 1), b"\x07\x01") + record(0x00D6, cell(2, 0), text(b"x"), b"\0") + end)
    name = "Лист".encode("cp1251")
    bound = struct.pack("<IBBB", 0, 0, 0, len(name)) + name
    at = len(front) + len(record(0x0085, bound)) + len(end)
    bound = struct.pack("<I", at) + bound[4:]
    compound(path, "Book", front + record(0x0085, bound) + end + sheet)


def main():
    folder = pathlib.Path(sys.argv[1])
    sheets(folder, "workbook", False)
    sheets(folder, "workbook1904", True)
    other_writers(folder / "other-writers.xlsx")
    excel_95(folder / "excel95.xls")
    begin = record(0x0809, struct.pack("<HHHH8x", 0x0600, 5, 0, 0))
    compound(folder / "password.xls", "Workbook", begin + record(0x002F, bytes(6)))
    compound(folder / "password.xlsx", "EncryptedPackage", b"")


if __name__ == "__main__":
    main()
