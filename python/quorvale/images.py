"""Images made by code: PNG files for bitmaps.

The same bytes on every machine with the same zlib.
"""

from __future__ import annotations

import os
import struct
import zlib
from collections.abc import Callable, Iterable

from quorvale.items import Bitmap


def _chunk(kind: bytes, data: bytes) -> bytes:
    body = kind + data
    return struct.pack(">I", len(data)) + body + struct.pack(">I", zlib.crc32(body))


def write_png(path: str, width: int, height: int, channels: int,
              pixel: Callable[[int, int], Iterable[float]]) -> Bitmap:
    """Writes an image and gives its bitmap. `pixel(x, y)` gives 3 or 4 channels from 0 to 1.

    The sides of a bitmap should be powers of two. The first row lies at v = 0.
    """
    if channels not in (3, 4):
        raise ValueError(f"write_png(): an image has 3 or 4 channels, not {channels}")
    rows = bytearray()
    above = bytearray(width * channels)
    for y in range(height):
        row = bytearray()
        for x in range(width):
            for value in pixel(x, y):
                row.append(min(255, max(0, int(value * 255.0 + 0.5))))
        rows.append(2)  # each byte as its difference to the one above
        rows += bytes((a - b) & 255 for a, b in zip(row, above))
        above = row
    header = struct.pack(">IIBBBBB", width, height, 8, {3: 2, 4: 6}[channels], 0, 0, 0)
    with open(path, "wb") as stream:
        stream.write(b"\x89PNG\r\n\x1a\n" + _chunk(b"IHDR", header) +
                     _chunk(b"IDAT", zlib.compress(bytes(rows), 9)) + _chunk(b"IEND", b""))
    return Bitmap(os.path.basename(path))
