#!/usr/bin/env python3
"""Writes the Stream fuzzer's seed corpus: hand-made programs and stream
bytes in the layout fuzz/stream_values_walk.h reads (flags, program length,
program, content).

    fuzz/stream_seeds.py fuzz/corpus/stream_values
"""
import os
import struct
import sys

# Opcodes.
READ, READ_STRING, READ_BYTES, SCALAR, SEEK, SIZE_AND_NAME, WRITE, REFUSED = range(8)
ON_COMPOUND_FILE = 0x01

CHARACTER_TYPES = [1200, 0, 1, 2, 42, 3]
CODE_PAGES = [1252, 437, 932, 936, 949, 950, 65001, 1200, 12345]
FRAMINGS = [0, 1, 2, 3, 7]
ORIGINS = [0, 1, 2, 3, -1]  # begin, current, end, and two that are none


def read_string(character_type, framing, count=0, code_page=1252):
    encoding = CHARACTER_TYPES.index(character_type) + 6 * CODE_PAGES.index(code_page)
    return bytes([READ_STRING, encoding, FRAMINGS.index(framing), count & 0xFF])


def seek(origin, position):
    return bytes([SEEK, ORIGINS.index(origin)]) + struct.pack("<i", position)


def read_bytes(count):
    return bytes([READ_BYTES]) + struct.pack("<h", count)


def record(tag, payload=b""):
    return struct.pack("<H", tag) + payload


def text_record(tag, text):
    body = text.encode("utf-16-le") + b"\0\0"
    return record(tag, struct.pack("<I", len(body)) + body)


def seed(program, content, flags=ON_COMPOUND_FILE):
    assert len(program) < 256
    return bytes([flags, len(program)]) + program + content


VT_I2, VT_I4, VT_R8, VT_DATE, VT_BSTR, VT_DISPATCH, VT_BOOL = 2, 3, 5, 7, 8, 9, 11
VT_UNKNOWN, VT_DECIMAL, VT_UI1, VT_NULL = 13, 14, 17, 1

SEEDS = {
    "long-record": seed(
        bytes([READ, READ, READ, READ]),
        record(VT_I4, struct.pack("<i", -123456)) + record(VT_BOOL, b"\xff\xff")
        + record(VT_NULL) + record(VT_UI1, b"\x7f")),
    "string-record": seed(
        bytes([READ, READ, READ]),
        text_record(VT_BSTR, "ABC") + text_record(VT_DECIMAL, "1.5") + text_record(VT_DATE, "2001-02-03")),
    "utf16-length-first": seed(
        read_string(1200, 0) + read_string(1200, 0),
        struct.pack("<I", 3) + "AB\u20ac".encode("utf-16-le") + struct.pack("<I", 0)),
    "shift-jis-zero-terminated": seed(
        read_string(3, 1, code_page=932) + read_string(3, 2, 3, code_page=932) + read_string(3, 1, code_page=932),
        b"\x93\xfa\x96\x7b\x41\x00" + b"\x82\xa0\x42\x00" + b"\x93"),
    "truncated-fixed-record": seed(bytes([READ, READ]), record(VT_I4, b"\x01\x02")),
    "truncated-string-record": seed(bytes([READ]), record(VT_BSTR, struct.pack("<I", 16) + b"A\0B\0")),
    "huge-string-count": seed(
        read_string(1200, 0) + seek(0, 0) + read_string(0, 0) + seek(0, 0) + read_string(3, 0, code_page=65001)
        + seek(0, 4) + bytes([READ]),
        struct.pack("<I", 0x7FFFFFFF) + record(VT_BSTR, struct.pack("<I", 0xFFFFFFFF)) + b"tail"),
    "negative-string-count": seed(
        read_string(1200, 0) + seek(0, 0) + read_string(0, 0),
        struct.pack("<i", -2) + b"ABCD"),
    "past-4g": seed(
        seek(1, -1) + read_bytes(16) + bytes([SCALAR, 3]) + read_string(1200, 0) + bytes([SIZE_AND_NAME])
        + seek(2, -4) + bytes([READ]) + seek(0, 0) + read_string(1200, 1) + bytes([SCALAR, 8]),
        record(VT_I4, b"\x01\x00\x00\x00") + "xy".encode("utf-16-le")),
    "writes-refused": seed(
        bytes([WRITE, 0, 1, 2, 3, 4, WRITE, 1, 10, WRITE, 2, 8, WRITE, 3, 0, 2, 0, WRITE, 3, 0, 2, 5,
               WRITE, 3, 5 + 6 * 2, 1, 0, WRITE, 4, 0, 0, 0, 0, WRITE, 5, WRITE, 6, WRITE, 7]),
        b"unchanged"),
    "scalars": seed(
        b"".join(bytes([SCALAR, i]) for i in range(9)), bytes(range(60))),
    "code-pages": seed(
        read_string(3, 1, code_page=65001) + read_string(3, 1, code_page=936) + read_string(3, 1, code_page=949)
        + read_string(3, 1, code_page=950) + read_string(1, 1) + read_string(2, 1) + read_string(42, 1)
        + read_string(3, 1, code_page=12345) + read_string(3, 1, code_page=1200) + read_string(1200, 3)
        + read_string(1200, 7),
        "\u00e9\u65e5".encode("utf-8") + b"\0" + b"\xc4\xe3\x41\0" + b"\xb0\xa1\0" + b"\xa4\x40\0"
        + b"\x82\x81\0" + b"\xa5\0" + b"ABCDEF\0"),
    "fixed-length-counts": seed(
        read_string(1200, 2, -1) + read_string(1200, 2, 127) + read_string(0, 2, -128) + seek(0, 0)
        + read_string(1200, 2, 3) + read_string(0, 2, 4) + read_string(3, 2, 2, code_page=932),
        "AB\0D".encode("utf-16-le") + b"xy\0z" + b"\x93\xfa\x96"),
    "object-records": seed(
        bytes([READ, READ, READ]),
        record(VT_UNKNOWN, bytes(16)) + record(VT_DISPATCH, bytes(range(16))) + record(VT_UNKNOWN, b"\x01\x02")),
    "read-bytes-counts": seed(
        read_bytes(0) + read_bytes(-1) + read_bytes(100) + read_bytes(4096) + read_bytes(32767) + bytes([REFUSED]),
        b"\x01\x02\x03\x04\x05", flags=0),
}


def main():
    out = sys.argv[1]
    os.makedirs(out, exist_ok=True)
    for name, data in SEEDS.items():
        with open(os.path.join(out, name + ".stream"), "wb") as f:
            f.write(data)
    print(len(SEEDS))


if __name__ == "__main__":
    main()
