#!/usr/bin/env python3
"""Generate platform/mEucKrTables.cpp, the EUC-KR (KS X 1001) code tables.

The mapping is taken from the C library's iconv (glibc, "EUC-KR" to "UTF-16LE", called through
ctypes), one two-byte position at a time, for the rows the converter accepts: symbols 0x21-0x2C
(up to k = 1114), Hangul 0x30-0x48 and Hanja 0x4A-0x7D, columns 0x21-0x7E. Python's own codecs
are not used, so the tables follow the platform's iconv exactly.

Regenerate from the repository root with:

    python3 scripts/gen_euckr_tables.py

which rewrites platform/mEucKrTables.cpp (an output path may be given as the only argument).
"""

import ctypes
import ctypes.util
import os
import sys

UNASSIGNED = 0xFFFD

# (name, first k, number of positions); k = (row - 0x21) * 94 + (column - 0x21).
DECODE_BLOCKS = [
    ("g_eucKrSymbols", 0, 1115),
    ("g_eucKrHangul", 1410, 2350),
    ("g_eucKrHanja", 3854, 4888),
]

# Code point ranges the encoder covers, first and last inclusive, each a whole number of
# 16-code-point records.
ENCODE_RANGES = [
    (0x0080, 0x045F),
    (0x2000, 0x266F),
    (0x3000, 0x33DF),
    (0x4E00, 0x9F9F),
    (0xAC00, 0xD79F),
    (0xF900, 0xFA0F),
    (0xFF00, 0xFFEF),
]


class Iconv:
    """One glibc iconv descriptor from EUC-KR to UTF-16LE."""

    def __init__(self):
        libc = ctypes.CDLL(ctypes.util.find_library("c"), use_errno=True)
        libc.iconv_open.restype = ctypes.c_void_p
        libc.iconv_open.argtypes = [ctypes.c_char_p, ctypes.c_char_p]
        libc.iconv.restype = ctypes.c_size_t
        libc.iconv.argtypes = [ctypes.c_void_p,
                               ctypes.POINTER(ctypes.c_void_p), ctypes.POINTER(ctypes.c_size_t),
                               ctypes.POINTER(ctypes.c_void_p), ctypes.POINTER(ctypes.c_size_t)]
        self.libc = libc
        self.cd = libc.iconv_open(b"UTF-16LE", b"EUC-KR")
        if self.cd in (None, ctypes.c_void_p(-1).value):
            sys.exit("iconv_open(UTF-16LE, EUC-KR) failed: glibc's EUC-KR module is missing")

    def decode(self, data):
        """UTF-16 units of data, or None when iconv rejects it."""
        inbuf = ctypes.create_string_buffer(data, len(data))
        outbuf = ctypes.create_string_buffer(16)
        inptr = ctypes.c_void_p(ctypes.addressof(inbuf))
        outptr = ctypes.c_void_p(ctypes.addressof(outbuf))
        inleft = ctypes.c_size_t(len(data))
        outleft = ctypes.c_size_t(len(outbuf))
        self.libc.iconv(self.cd, None, None, None, None)
        r = self.libc.iconv(self.cd, ctypes.byref(inptr), ctypes.byref(inleft),
                            ctypes.byref(outptr), ctypes.byref(outleft))
        if r == ctypes.c_size_t(-1).value or inleft.value != 0:
            return None
        out = outbuf.raw[:len(outbuf) - outleft.value]
        return [int.from_bytes(out[i:i + 2], "little") for i in range(0, len(out), 2)]


def position_bytes(k):
    return bytes([0x80 | (0x21 + k // 94), 0x80 | (0x21 + k % 94)])


def build(conv):
    decode = {}
    inverse = {}
    for name, first, count in DECODE_BLOCKS:
        units = []
        for k in range(first, first + count):
            code = position_bytes(k)
            got = conv.decode(code)
            if got is None:
                units.append(UNASSIGNED)
                continue
            assert len(got) == 1 and got[0] != UNASSIGNED, (code.hex(), got)
            unit = got[0]
            assert unit >= 0x80 and unit not in inverse, (code.hex(), hex(unit))
            assert any(lo <= unit <= hi for lo, hi in ENCODE_RANGES), (code.hex(), hex(unit))
            inverse[unit] = int.from_bytes(code, "big")
            units.append(unit)
        decode[name] = units

    records = []
    range_rows = []
    codes = []
    for lo, hi in ENCODE_RANGES:
        assert lo % 16 == 0 and (hi + 1) % 16 == 0
        range_rows.append((lo, hi, len(records)))
        for block in range(lo, hi + 1, 16):
            mask = 0
            base = len(codes)
            for bit in range(16):
                if block + bit in inverse:
                    mask |= 1 << bit
                    codes.append(inverse[block + bit])
            records.append((base, mask))
    assert len(codes) == len(inverse) and len(codes) < 0x10000
    return decode, range_rows, records, codes


def hex_lines(values, per_line, fmt):
    items = [fmt(v) for v in values]
    return ["    " + ",".join(items[i:i + per_line]) + "," for i in range(0, len(items), per_line)]


def render(decode, range_rows, records, codes):
    libc_version = os.confstr("CS_GNU_LIBC_VERSION")
    out = [
        "// KS X 1001 code tables for the EUC-KR converter.",
        f"// Generated from {libc_version} iconv (EUC-KR) by scripts/gen_euckr_tables.py; do not edit.",
        "// Regenerate from the repository root with: python3 scripts/gen_euckr_tables.py",
        '#include "platform/mEucKrTables.h"',
        "",
    ]
    word = "0x{:04X}".format
    for name, first, count in DECODE_BLOCKS:
        out.append(f"// k = {first} to {first + count - 1}; 0xFFFD marks an unassigned position.")
        out.append(f"const uint16_t {name}[{count}] = {{")
        out += hex_lines(decode[name], 12, word)
        out += ["};", ""]
    out.append(f"const mEucKrEncodeRange g_eucKrEncodeRanges[{len(range_rows)}] = {{")
    out += [f"    {{{word(lo)}, {word(hi)}, {rec}}}," for lo, hi, rec in range_rows]
    out += ["};", ""]
    out.append("// {index of the first code in g_eucKrCodes, presence bit per code point}")
    out.append(f"const mEucKrEncodeRecord g_eucKrEncodeRecords[{len(records)}] = {{")
    out += hex_lines(records, 6, lambda r: "{%s,%s}" % (word(r[0]), word(r[1])))
    out += ["};", ""]
    out.append("// EUC-KR codes (lead byte high) in code point order.")
    out.append(f"const uint16_t g_eucKrCodes[{len(codes)}] = {{")
    out += hex_lines(codes, 12, word)
    out.append("};")
    return "\n".join(out) + "\n"


def main():
    root = os.path.dirname(os.path.dirname(os.path.abspath(__file__)))
    path = sys.argv[1] if len(sys.argv) > 1 else os.path.join(root, "platform", "mEucKrTables.cpp")
    text = render(*build(Iconv()))
    with open(path, "w", encoding="ascii") as f:
        f.write(text)


if __name__ == "__main__":
    main()
