"""The smallest valid compound file, written from the format's description
(MS-CFB: a version 3 header, one FAT sector, one directory sector holding
only the root entry), so the test does not rely on the writer it checks."""
import struct

SECTOR = 512
FREESECT, ENDOFCHAIN, FATSECT = 0xFFFFFFFF, 0xFFFFFFFE, 0xFFFFFFFD
NOSTREAM = 0xFFFFFFFF


def write_compound_file(path):
    header = bytearray(SECTOR)
    header[0:8] = bytes.fromhex("D0CF11E0A1B11AE1")
    struct.pack_into("<HHHHH", header, 24, 0x3E, 3, 0xFFFE, 9, 6)
    struct.pack_into("<I", header, 44, 1)            # FAT sectors
    struct.pack_into("<I", header, 48, 1)            # first directory sector
    struct.pack_into("<I", header, 56, 4096)         # mini stream cutoff
    struct.pack_into("<IIII", header, 60, ENDOFCHAIN, 0, ENDOFCHAIN, 0)
    struct.pack_into("<I", header, 76, 0)            # DIFAT[0]: the FAT is sector 0
    for i in range(1, 109):
        struct.pack_into("<I", header, 76 + 4 * i, FREESECT)
    fat = bytearray(struct.pack("<128I", *([FATSECT, ENDOFCHAIN] + [FREESECT] * 126)))
    directory = bytearray(SECTOR)
    name = "Root Entry".encode("utf-16-le") + b"\0\0"
    directory[0:len(name)] = name
    struct.pack_into("<HBB", directory, 64, len(name), 5, 1)   # root storage, black
    struct.pack_into("<III", directory, 68, NOSTREAM, NOSTREAM, NOSTREAM)
    struct.pack_into("<I", directory, 116, ENDOFCHAIN)
    for entry in range(1, 4):
        struct.pack_into("<III", directory, entry * 128 + 68, NOSTREAM, NOSTREAM, NOSTREAM)
    path.write_bytes(bytes(header + fat + directory))
    return path
