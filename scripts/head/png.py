"""Writes small RGB pictures as PNG. The pixels are stored rather than compressed: what a compressor makes of
them differs between its versions, and the head's file must not."""

import struct
import zlib

STORED_BLOCK = 65535
# Slightly below one half: a colour such as 0.3 lies between two values, and its last bit must not decide.
ROUNDING = 0.501


def stored_zlib(data):
    """A zlib stream of stored blocks."""
    stream = bytearray(b"\x78\x01")
    starts = range(0, len(data), STORED_BLOCK)
    for start in starts:
        block = data[start : start + STORED_BLOCK]
        last = start == starts[-1]
        stream += struct.pack("<BHH", last, len(block), len(block) ^ 0xFFFF) + block
    return bytes(stream + struct.pack(">I", zlib.adler32(data)))


def chunk(kind, data):
    return struct.pack(">I", len(data)) + kind + data + struct.pack(">I", zlib.crc32(kind + data))


def paint(width, height, colour_at):
    """A PNG whose pixels have the sRGB colour (0..1) that colour_at(u, v) gives for their centres; u runs
    from 0 to 1 to the right, and v downwards."""
    data = bytearray()
    for y in range(height):
        data.append(0)
        for x in range(width):
            colour = colour_at((x + 0.5) / width, (y + 0.5) / height)
            data += bytes(min(255, max(0, int(c * 255.0 + ROUNDING))) for c in colour)
    header = struct.pack(">IIBBBBB", width, height, 8, 2, 0, 0, 0)
    chunks = [(b"IHDR", header), (b"IDAT", stored_zlib(bytes(data))), (b"IEND", b"")]
    return b"\x89PNG\r\n\x1a\n" + b"".join(chunk(kind, content) for kind, content in chunks)
