#!/usr/bin/env python3
"""Makes charset/StoredPages.cpp: the mapping of every code page, as text constants.

usage: make_charset_tables.py NLS_FOLDER DATA_FOLDER [OUTPUT]

charset-tables.md, beside this script, tells where the two folders come from and what the rules
below are for. Running the script again on the same sources gives the same bytes.
"""
import base64
import bz2
import pathlib
import struct
import sys

ROOT = pathlib.Path(__file__).resolve().parent.parent
MAGIC = 0xB394A7E1

ISO_PAGES = [28591, 28592, 28593, 28594, 28595, 28596, 28597, 28598, 28599, 28603, 28605]
# Pages of one byte from NLS files.
SINGLE_PAGES = ISO_PAGES + [
    1250, 1251, 1252, 1253, 1254, 1255, 1256, 1257, 1258,
    37, 437, 500, 708, 720, 737, 775, 850, 852, 855, 857, 860, 861, 862, 863, 864, 865, 866, 869,
    874, 875, 1026, 10000, 10004, 10005, 10006, 10007, 10010, 10017, 10021, 10029, 10079, 10081,
    10082, 20127, 20866, 21866]
DOUBLE_PAGES = {932: 932, 936: 936, 949: 949, 950: 950, 1361: 1361, 10001: 10001, 51949: 20949}
# Pages of one byte from the data files.
DATA_PAGES = [
    858, 870, 1047, 1140, 1141, 1142, 1143, 1144, 1145, 1146, 1147, 1148, 1149,
    20105, 20106, 20107, 20108, 20261, 20269, 20273, 20277, 20278, 20280, 20284, 20285, 20290,
    20297, 20420, 20423, 20424, 20838, 20871, 20880, 20905, 20924, 21025]
# Codes of data pages that are read but never written: their unit has a code that readers of the
# published charset know better, or one below 0x80.
ONE_WAY = {20261: {0x23, 0x24}, 20269: {0x24, 0xA6, 0xC1, 0xC3, 0xC4}, 20838: {0x51, 0xCA, 0xE1}}
# Codes of NLS pages that fill gaps with a unit of another code.
FILLED = {875: {0xDC, 0xE1, 0xEC, 0xED, 0xFC, 0xFD}, 20127: set(range(0x80, 0x100))}
# Private units that stand for a character and fill no gap: the apple of the Mac pages.
APPLE = 0xF8FF


class Page:
    """codes: code -> unit, one byte below 0x100; writes: unit -> the code that it is written as."""

    def __init__(self):
        self.codes = {}
        self.writes = {}


def read_nls(path):
    """The single units, {lead: units}, and the from-Unicode list of an NLS file."""
    data = path.read_bytes()
    words = struct.unpack(f"<{len(data) // 2}H", data[: len(data) // 2 * 2])
    default, from_at = words[4], 13 + words[13] + 1
    singles = words[14:270]
    at = 270 + (256 if words[270] else 0) + 1
    leads = {}
    if words[at]:
        base = at + 1
        leads = {b: words[base + words[base + b]:][:256] for b in range(256) if words[base + b]}
    raw = data[2 * from_at:]
    back = raw[:65536] if words[2] == 1 else struct.unpack("<65536H", raw[:131072])
    return default, singles, leads, back


def is_fill(code, unit, page):
    """Whether a one-byte mapping only fills a gap of the page."""
    if unit == 0 or code in FILLED.get(page, ()):
        return True
    if 0xE000 <= unit <= 0xF8FF and unit != APPLE:
        return True
    # A control in a place of its own number: part of the ISO pages, filling elsewhere.
    return code == unit and 0x80 <= code <= 0x9F and page not in ISO_PAGES


def nls_page(folder, number, file_number):
    default, singles, leads, back = read_nls(folder / f"c_{file_number:03d}.nls")
    page = Page()
    for code in range(1, 256):
        unit = singles[code]
        if code not in leads and not is_fill(code, unit, number):
            page.codes[code] = unit
    for lead, units in leads.items():
        for trail, unit in enumerate(units):
            code = 256 * lead + trail
            if unit != 0 and (unit != default or back[unit] == code):
                page.codes[code] = unit
    for code, unit in list(page.codes.items()):
        if page.codes.get(back[unit]) == unit:
            page.writes[unit] = back[unit]
        else:
            sys.exit(f"{number}: {code:04X} is read as {unit:04X}, which comes back as no code of it")
    return page


def data_page(folder, number):
    page = Page()
    for line in (folder / f"cp{number:05d}.txt").read_text(encoding="ascii").splitlines():
        if line.startswith("#"):
            continue
        code, unit = (int(word, 16) for word in line.split())
        if 0 < code < 0x100:  # 20261 also has pairs of an accent and a letter: left out
            page.codes[code] = unit
    for code, unit in sorted(page.codes.items()):
        if code in ONE_WAY.get(number, ()):
            continue
        if unit in page.writes:
            sys.exit(f"{number}: unit {unit:04X} has two codes and no rule")
        page.writes[unit] = code
    return page


def shift_jis_of(high, low):
    """The Shift_JIS pair of a JIS pair, both bytes 0x21 to 0x7E."""
    lead = (high + 1) // 2 + (0x70 if high < 0x5F else 0xB0)
    trail = (low + (0x20 if low > 0x5F else 0x1F)) if high % 2 else low + 0x7E
    return 256 * lead + trail


def euc_jp_page(shift_jis):
    """51932: the characters of 932 that Shift_JIS arithmetic reaches, and its half-width kana."""
    page = Page()
    for code in range(1, 0x80):
        page.codes[code] = shift_jis.codes[code]
    for kana in range(0xA1, 0xE0):
        page.codes[0x8E00 + kana] = shift_jis.codes[kana]
    for high in range(0xA1, 0xFF):
        for low in range(0xA1, 0xFF):
            unit = shift_jis.codes.get(shift_jis_of(high - 0x80, low - 0x80))
            # The rows behind the 94 of the standard are user-defined in Shift_JIS alone.
            if unit is not None:
                page.codes[256 * high + low] = unit
    for code, unit in sorted(page.codes.items()):
        page.writes.setdefault(unit, code)  # A2xx before ADxx and FCxx
    return page


def stored(body):
    """The stored form of a table: base64 behind a letter, bzip2 inside where that is shorter."""
    level = min(9, len(body) // 100000 + 1)  # the unpacking takes memory by the level
    packed = struct.pack("<II", MAGIC, len(body)) + bz2.compress(body, level)
    if len(packed) < len(body):
        return "c" + base64.b64encode(packed).decode("ascii")
    return "x" + base64.b64encode(body).decode("ascii")


def is_ascii(page):
    return all(page.codes.get(b) == b for b in range(1, 0x80))


def table_text(page):
    """The page as steps: one-byte mappings, then pairs, each a step of the code and of the unit."""
    body = b"a-" if is_ascii(page) else b"--"
    # What is written comes first: a reader that keeps the first of two takes the right one.
    entries = sorted(page.codes.items(), key=lambda e: (page.writes[e[1]] != e[0], e[0]))
    if is_ascii(page):
        entries = [e for e in entries if e[0] >= 0x80]
    code, unit = 0, 0
    for c, u in entries:
        if c < 0x100:
            body += struct.pack("<BH", (c - code) & 0xFF, (u - unit) & 0xFFFF)
            code, unit = c, u
    body += b"\0"
    code, unit = 0, 0
    for c, u in entries:
        if c > 0xFF:
            body += struct.pack("<HH", (c - code) & 0xFFFF, (u - unit) & 0xFFFF)
            code, unit = c, u
    return stored(body + b"\0\0")


def edit_text(page):
    """The edit for writing: units that are read from one byte (which comes first) and written as
    two. Empty where there are none."""
    units = sorted(u for c, u in page.codes.items() if c < 0x100 < page.writes[u])
    if not units:
        return ""
    body = b"ad" if is_ascii(page) else b"-d"
    body += b"".join(struct.pack("<H", u) for u in units) + b"\0\0"
    body += b"\0"
    body += b"".join(struct.pack("<HH", page.writes[u], u) for u in units) + b"\0\0"
    return stored(body)


def literal(text):
    """The text as lines of string literals; compilers need not take one of over 65536 bytes."""
    pieces = [text[i:i + 60000] for i in range(0, len(text), 60000)]
    out = []
    for piece in pieces:
        lines = [piece[i:i + 94] for i in range(0, len(piece), 94)]
        out.append("\n".join(f'    "{line}"' for line in lines))
    return ",\n".join(out)


def write(pages, path):
    out = ["// The code pages as stored tables. Made by scripts/make_charset_tables.py; do not edit.",
           "",
           '#include "charset/StoredPages.h"', "",
           "namespace mail {", "namespace {", "", "// clang-format off"]
    rows = []
    for number in sorted(pages):
        out.append(f"constexpr std::string_view kPage{number}[] = {{")
        out.append(literal(table_text(pages[number])) + "};")
        edit = edit_text(pages[number])
        if edit:
            out += [f"constexpr std::string_view kEdit{number} =", literal(edit) + ";"]
        rows.append(f"    {{{number}, kPage{number}, " + (f"kEdit{number}}}," if edit else "{}},"))
    out += ["", "constexpr StoredPage kPages[] = {"] + rows
    out += ["};", "// clang-format on", "", "}  // namespace", "",
            "std::span<const StoredPage> storedPages() { return kPages; }", "",
            "}  // namespace mail", ""]
    path.write_text("\n".join(out), encoding="ascii")


def main():
    if len(sys.argv) not in (3, 4):
        sys.exit(__doc__)
    nls, data = pathlib.Path(sys.argv[1]), pathlib.Path(sys.argv[2])
    output = pathlib.Path(sys.argv[3]) if len(sys.argv) == 4 else ROOT / "charset/StoredPages.cpp"
    pages = {number: nls_page(nls, number, number) for number in SINGLE_PAGES}
    for number, file_number in DOUBLE_PAGES.items():
        pages[number] = nls_page(nls, number, file_number)
    for number in DATA_PAGES:
        pages[number] = data_page(data, number)
    pages[51932] = euc_jp_page(pages[932])
    # The folding of Mac Arabic turns the right-to-left no-break space (81) into A0, which the file
    # fills with a private unit: the character would be lost.
    pages[10004].codes[0xA0] = 0x00A0
    write(pages, output)


main()
