"""Helpers of the Stream tests: result codes and messages, the bytes of a
stream, of a date and of a string record, and documents written through
the library."""
import datetime
import decimal
import struct

import quillbox
from tree_helpers import closed

M = quillbox.DISPATCH_METHOD
DISP_E_OVERFLOW = 0x8002000A
STG_E_INVALIDFUNCTION = 0x80030001
STG_E_ACCESSDENIED = 0x80030005
STG_E_INSUFFICIENTMEMORY = 0x80030008
STG_E_INVALIDPARAMETER = 0x80030057
ERROR_NO_UNICODE_TRANSLATION = 0x80070459

INVALID_PARAMETER = "Invalid parameter."
READ_ERROR = "Error while reading the Stream."
READ_ONLY_OBJECT = "Impossible action with a read only object."
NOT_A_BYTE_ARRAY = "The first argument must be a one dimensional bytes array."
TRANSLATION_FAILED = "A failed attempt was made to translate a Unicode string to or from ANSI. \n"
EMBEDDED_ZERO_CODE_PAGE = "Cannot change CodePage for a string that contain embedded null characters."
EMBEDDED_ZERO_TERMINATED = "Can't use null terminated storage for a string that contain embedded null characters."
UNKNOWN_CODE_PAGE = "Code page not found or not supported."

EPOCH = datetime.datetime(1899, 12, 30)


def contents(stream):
    """Every byte of the stream (the position moves to the end)."""
    size = stream.Size
    if size == 0:
        return b""
    stream.Seek(0)
    data, count = stream.ReadBytes(size)
    assert count == size
    return data


def date_bytes(moment):
    """An automation date: binary64 days since 30 December 1899."""
    return struct.pack("<d", (moment - EPOCH).total_seconds() / 86400.0)


def text_record(tag, text):
    """A string record: tag, byte count (text and terminator), UTF-16 text, terminator."""
    body = text.encode("utf-16-le") + b"\0\0"
    return struct.pack("<HI", tag, len(body)) + body


def write_document(storage, path, streams):
    """A document whose streams (slash-separated paths) hold the given
    bytes, written through the library and closed again."""
    root = storage.CreateDocument(str(path)).RootStorage
    for name, data in streams.items():
        at = root
        *folders, leaf = name.split("/")
        for folder in folders:
            at = at.Storages.Item(folder) if folder in [s.Name for s in at.Storages] else at.Storages.Add(folder)
        if data:
            assert at.Streams.Add(leaf).WriteBytes(data) == len(data)
        else:
            at.Streams.Add(leaf)
    del root, at
    assert closed(storage, path)
