#!/usr/bin/python3
"""Writes damaged variants of property-set streams for the property-set
fuzzer's seed corpus: each breaks one structure the way hostile or damaged
files do (truncation, impossible header values, sections and properties
past the end, huge counts and lengths in strings, vectors and the
dictionary, an unknown type, a wrong code page). Deterministic: the same
inputs give the same outputs.
Usage: corrupt_propset.py OUT_DIR FILE...
"""
import os
import random
import struct
import sys

VT_LPSTR, VT_LPWSTR, VT_BSTR, VT_VECTOR, VT_VARIANT = 30, 31, 8, 0x1000, 12


def put16(data, offset, value):
    if 0 <= offset and offset + 2 <= len(data):
        data[offset:offset + 2] = struct.pack("<H", value & 0xFFFF)


def put32(data, offset, value):
    if 0 <= offset and offset + 4 <= len(data):
        data[offset:offset + 4] = struct.pack("<I", value & 0xFFFFFFFF)


def get32(data, offset):
    return struct.unpack_from("<I", data, offset)[0] if 0 <= offset and offset + 4 <= len(data) else 0


def properties(raw, section):
    """(id, absolute offset) of each property of the section at section."""
    count = get32(raw, section + 4)
    out = []
    for i in range(min(count, 4096)):
        at = section + 8 + 8 * i
        if at + 8 > len(raw):
            break
        out.append((get32(raw, at), section + get32(raw, at + 4), at))
    return out


def variants(raw):
    out = {}
    section = get32(raw, 44)
    props = properties(raw, section)

    def v(name, change):
        data = bytearray(raw)
        change(data)
        out[name] = bytes(data)

    out["trunc-half"] = raw[: len(raw) // 2]
    out["trunc-header"] = raw[:28]
    out["trunc-section"] = raw[: section + 8]
    v("byte-order-bad", lambda d: put16(d, 0, 0xFFFE ^ 0x0101))
    v("version-high", lambda d: put16(d, 2, 7))
    v("section-count-huge", lambda d: put32(d, 24, 0xFFFFFFFF))
    v("section-offset-past-end", lambda d: put32(d, 44, 0x7FFFFFF0))
    v("section-offset-inside-header", lambda d: put32(d, 44, 4))
    v("section-size-huge", lambda d: put32(d, section, 0xFFFFFFF0))
    v("section-size-small", lambda d: put32(d, section, 8))
    v("property-count-huge", lambda d: put32(d, section + 4, 0x1FFFFFFF))
    if props:
        first_at = props[0][2]
        v("property-offset-past-end", lambda d: put32(d, first_at + 4, 0x7FFFFFF0))
        v("property-offset-zero", lambda d: put32(d, first_at + 4, 0))
        v("property-offset-unaligned", lambda d: put32(d, first_at + 4, get32(raw, first_at + 4) + 1))
        v("property-offsets-same", lambda d: [put32(d, at + 4, get32(raw, first_at + 4)) for _, _, at in props])
        v("property-ids-same", lambda d: [put32(d, at, props[-1][0]) for _, _, at in props])
        value_at = props[-1][1]
        v("type-unknown", lambda d: put32(d, value_at, 0x7777))
        v("type-vector-of-variant", lambda d: (put32(d, value_at, VT_VECTOR | VT_VARIANT),
                                               put32(d, value_at + 4, 0x7FFFFFFF)))
        v("type-nested-variants", lambda d: [put32(d, value_at + 8 * k, VT_VECTOR | VT_VARIANT) or
                                             put32(d, value_at + 8 * k + 4, 1) for k in range(8)])
    for pid, at, _ in props:
        vt = get32(raw, at) & 0xFFFF
        if pid == 0:
            v("dictionary-count-huge", lambda d, at=at: put32(d, at, 0x0FFFFFFF))
            v("dictionary-name-length-huge", lambda d, at=at: put32(d, at + 8, 0xFFFFFFF0))
            v("dictionary-name-length-zero", lambda d, at=at: put32(d, at + 8, 0))
        elif pid == 1:
            v("codepage-unknown", lambda d, at=at: put16(d, at + 4, 0x1234))
            v("codepage-swapped", lambda d, at=at: put16(d, at + 4, 1200 if get32(raw, at + 4) & 0xFFFF != 1200 else 1252))
            v("codepage-wrong-type", lambda d, at=at: put32(d, at, VT_LPSTR))
        elif vt in (VT_LPSTR, VT_LPWSTR, VT_BSTR) and "string-length-huge" not in out:
            v("string-length-huge", lambda d, at=at: put32(d, at + 4, 0xFFFFFFF0))
            v("string-length-odd", lambda d, at=at: put32(d, at + 4, get32(raw, at + 4) + 1))
        elif get32(raw, at) & VT_VECTOR and "vector-count-huge" not in out:
            v("vector-count-huge", lambda d, at=at: put32(d, at + 4, 0x3FFFFFFF))
    if get32(raw, 24) >= 2:
        v("sections-overlap", lambda d: put32(d, 64, section))
        v("second-section-past-end", lambda d: put32(d, 64, len(raw) + 64))
    rng = random.Random(len(raw))
    for n in range(4):
        def flip(d, n=n):
            for _ in range(4 + 6 * n):
                d[rng.randrange(len(d))] ^= 1 << rng.randrange(8)
        v("flips-%d" % n, flip)
    return out


def main():
    out_dir = sys.argv[1]
    for path in sys.argv[2:]:
        raw = open(path, "rb").read()
        if len(raw) < 48:
            continue
        base = os.path.splitext(os.path.basename(path))[0]
        for name, data in variants(raw).items():
            with open(os.path.join(out_dir, "%s.%s.propset" % (base, name)), "wb") as f:
                f.write(data)


if __name__ == "__main__":
    main()
