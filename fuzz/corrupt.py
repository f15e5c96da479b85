#!/usr/bin/python3
"""Writes corrupted variants of compound files for the fuzzer's seed corpus:
each variant breaks one structure the way hostile or damaged files do
(truncation, impossible header values, loops in sector chains and in the
directory tree, sizes past the end). Deterministic: the same inputs give
the same outputs.
Usage: corrupt.py OUT_DIR FILE...
"""
import os
import random
import struct
import sys


def put32(data, offset, value):
    if offset + 4 <= len(data):
        data[offset:offset + 4] = struct.pack("<I", value & 0xFFFFFFFF)


def get32(data, offset):
    return struct.unpack_from("<I", data, offset)[0] if offset + 4 <= len(data) else 0


def variants(raw):
    sector = 1 << raw[30] if len(raw) > 30 and 7 <= raw[30] <= 12 else 512
    fat0 = get32(raw, 76)            # first FAT sector (DIFAT[0])
    dir0 = get32(raw, 48)            # first directory sector
    dir_at = (dir0 + 1) * sector
    out = {}

    def v(name, change):
        data = bytearray(raw)
        change(data)
        out[name] = bytes(data)

    out["trunc-half"] = raw[: len(raw) // 2]
    out["trunc-header"] = raw[:512]
    v("shift-huge", lambda d: d.__setitem__(30, 0x1F))
    v("shift-v3-4096", lambda d: d.__setitem__(30, 12))
    v("fat-count-huge", lambda d: put32(d, 44, 0xFFFFFFFF))
    v("dir-start-past-end", lambda d: put32(d, 48, 0x7FFFFFF0))
    v("minifat-start-loop", lambda d: put32(d, 60, dir0))
    v("difat-loop", lambda d: (put32(d, 68, fat0), put32(d, 72, 3)))
    # The directory's own FAT entry points back at itself: a loop in a chain.
    v("dir-chain-self-loop", lambda d: put32(d, (fat0 + 1) * sector + 4 * dir0, dir0))
    # The root's child points at the root: a loop in the tree.
    v("tree-child-loop", lambda d: put32(d, dir_at + 0x4C, 0))
    v("tree-sibling-loop", lambda d: (put32(d, dir_at + 128 + 0x44, 1), put32(d, dir_at + 128 + 0x48, 1)))
    v("entry-size-huge", lambda d: put32(d, dir_at + 128 + 0x78, 0xFFFFFFF0))
    v("entry-start-past-end", lambda d: put32(d, dir_at + 128 + 0x74, 0x00FFFFF0))
    v("entry-name-length-odd", lambda d: d.__setitem__(slice(dir_at + 128 + 0x40, dir_at + 128 + 0x42), b"\x41\x00"))
    v("entry-type-bad", lambda d: d.__setitem__(dir_at + 128 + 0x42, 9))
    v("root-type-stream", lambda d: d.__setitem__(dir_at + 0x42, 2))
    rng = random.Random(len(raw))
    for n in range(4):
        def flip(d, n=n):
            for _ in range(8 + 8 * n):
                d[rng.randrange(len(d))] ^= 1 << rng.randrange(8)
        v("flips-%d" % n, flip)
    return out


def main():
    out_dir = sys.argv[1]
    for path in sys.argv[2:]:
        raw = open(path, "rb").read()
        base = os.path.splitext(os.path.basename(path))[0]
        for name, data in variants(raw).items():
            with open(os.path.join(out_dir, "%s.%s.cfb" % (base, name)), "wb") as f:
                f.write(data)


if __name__ == "__main__":
    main()
