"""Packs bytes as Windows packs the files of a system ("compact /exe"), with the compressors of libwim.

The form is that of the stream WofCompressedData ([MS-FSCC] names the reparse tag and its data): a table
with the place of each chunk but the first, counted from its end, and the chunks; one that would not
shrink is stored as it is.
"""
import ctypes
import struct

TAG = 0x80000017
STREAM = "WofCompressedData"
_XPRESS, _LZX = 1, 2

# Name of the form: its number on the disk, the compressor, bytes in a chunk.
FORMS = {
    "xpress4k": (0, _XPRESS, 4096),
    "lzx": (1, _LZX, 32768),
    "xpress8k": (2, _XPRESS, 8192),
    "xpress16k": (3, _XPRESS, 16384),
}


def library():
    """libwim, or None if it is not installed."""
    try:
        lib = ctypes.CDLL("libwim.so.15")
    except OSError:
        return None
    lib.wimlib_compress.restype = ctypes.c_size_t
    lib.wimlib_compress.argtypes = [ctypes.c_char_p, ctypes.c_size_t, ctypes.c_void_p,
                                    ctypes.c_size_t, ctypes.c_void_p]
    lib.wimlib_create_compressor.argtypes = [ctypes.c_int, ctypes.c_size_t, ctypes.c_uint,
                                             ctypes.c_void_p]
    lib.wimlib_free_compressor.argtypes = [ctypes.c_void_p]
    return lib


def _chunks(data, form):
    lib = library()
    _, kind, size = FORMS[form]
    compressor = ctypes.c_void_p()
    failed = lib.wimlib_create_compressor(kind, size, 0, ctypes.byref(compressor))
    if failed:
        raise RuntimeError("libwim has no compressor for %s: %d" % (form, failed))
    room = ctypes.create_string_buffer(size)
    for at in range(0, len(data), size):
        plain = data[at:at + size]
        packed = lib.wimlib_compress(plain, len(plain), room, len(plain) - 1, compressor)
        yield room.raw[:packed] if packed else plain
    lib.wimlib_free_compressor(compressor)


def pack(data, form):
    """The contents of the stream."""
    chunks = list(_chunks(data, form))
    ends, end = [], 0
    for chunk in chunks[:-1]:
        end += len(chunk)
        ends.append(struct.pack("<I", end))
    return b"".join(ends + chunks)


def chunk_places(data, form):
    """For each chunk where it lies in the stream: (from, to)."""
    chunks = list(_chunks(data, form))
    at, places = 4 * (len(chunks) - 1), []
    for chunk in chunks:
        places.append((at, at + len(chunk)))
        at += len(chunk)
    return places


def reparse_data(form):
    """The reparse point of a packed file, with its header."""
    body = struct.pack("<IIII", 1, 2, 1, FORMS[form][0])
    return struct.pack("<IHH", TAG, len(body), 0) + body
