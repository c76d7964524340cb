# SPDX-License-Identifier: MIT
"""Images made by code: PNG files for bitmaps.

The same bytes on every machine with the same zlib.

    >>> clouds = Clouds(7)
    >>> def sky(x, y):
    ...     return mix((0.1, 0.2, 0.5), (1, 1, 1), smooth(clouds.at(x / 64, y / 64)))
    >>> len(sky(3, 5))
    3
"""

from __future__ import annotations

import math
import os
import struct
import zlib
from collections.abc import Callable, Iterable, Sequence

from quorvale.exact import Noise
from quorvale.facts import told
from quorvale.files import write_file
from quorvale.items import Bitmap

Rgb = tuple[float, ...]


def _chunk(kind: bytes, data: bytes) -> bytes:
    body = kind + data
    return struct.pack(">I", len(data)) + body + struct.pack(">I", zlib.crc32(body))


def write_png(path: str, width: int, height: int, channels: int,
              pixel: Callable[[int, int], Iterable[float]]) -> Bitmap:
    """Writes an image and gives its bitmap. `pixel(x, y)` gives 3 or 4 channels from 0 to 1.

    The sides of a bitmap should be powers of two. The first row lies at v = 0.

        sky = write_png("sky.png", 256, 128, 3, lambda x, y: (0.2, y / 127, 1.0))
    """
    if channels not in (3, 4):
        raise ValueError(f"write_png(): an image has 3 or 4 channels, not {channels}")
    if width < 1 or height < 1:
        raise ValueError(f"write_png(): an image has a pixel at least, not {width} by {height}")
    rows = bytearray()
    above = bytearray(width * channels)
    for y in range(height):
        row = bytearray()
        for x in range(width):
            values = pixel(x, y)
            numbers = tuple(values) if isinstance(values, Iterable) else ()
            if len(numbers) != channels:
                raise ValueError(f"write_png(): pixel({x}, {y}) gives {channels} numbers from 0 "
                                 f"to 1, not {told(values)}")
            for value in numbers:
                row.append(min(255, max(0, int(value * 255.0 + 0.5))))
        rows.append(2)  # each byte as its difference to the one above
        rows += bytes((a - b) & 255 for a, b in zip(row, above))
        above = row
    header = struct.pack(">IIBBBBB", width, height, 8, {3: 2, 4: 6}[channels], 0, 0, 0)
    write_file("write_png", path, b"\x89PNG\r\n\x1a\n" + _chunk(b"IHDR", header) +
               _chunk(b"IDAT", zlib.compress(bytes(rows), 9)) + _chunk(b"IEND", b""))
    return Bitmap(os.path.basename(path))


# ---------------------------------------------------------------------------------------------
# Colors and noise


def clamp(value: float) -> float:
    """The value, or the nearer of 0 and 1.

    >>> clamp(1.5), clamp(-2), clamp(0.25)
    (1.0, 0.0, 0.25)
    """
    return min(1.0, max(0.0, value))


def smooth(value: float) -> float:
    """0 up to 0, 1 from 1 on, and level at both.

    >>> smooth(0.25), smooth(2)
    (0.15625, 1.0)
    """
    value = clamp(value)
    return value * value * (3.0 - 2.0 * value)


def mix(a: Sequence[float], b: Sequence[float], k: float) -> Rgb:
    """Numbers on the way from `a`, where k is 0, to `b`, where it is 1.

    >>> mix((0, 1, 0), (1, 0, 0), 0.25)
    (0.25, 0.75, 0.0)
    """
    return tuple(p + (q - p) * k for p, q in zip(a, b))


def ramp(stops: Sequence[tuple[float, Sequence[float]]], t: float) -> Rgb:
    """A color between stops (place, color), which lie in the order of their places.

    >>> ramp(((0, (0, 0, 0)), (1, (1, 1, 1)), (3, (0, 0, 1))), 2)
    (0.5, 0.5, 1.0)
    """
    for (t0, c0), (t1, c1) in zip(stops, stops[1:]):
        if t <= t1:
            return mix(c0, c1, clamp((t - t0) / (t1 - t0)))
    return tuple(stops[-1][1])


class Clouds:
    """Noise that repeats after 1 in both directions, in octaves; the same for a seed everywhere."""

    def __init__(self, seed: int) -> None:
        noise = Noise(seed)
        self.knots = [[noise.next() for _ in range(64)] for _ in range(64)]

    def octave(self, x: float, y: float, cells: int) -> float:
        """One octave, from 0 to 1, of so many cells (up to 64) along each side.

        >>> 0 <= Clouds(7).octave(0.3, 0.6, 8) <= 1
        True
        """
        x = (x - math.floor(x)) * cells
        y = (y - math.floor(y)) * cells
        i = int(x)
        j = int(y)
        fx = smooth(x - i)
        fy = smooth(y - j)

        def knot(a: int, b: int) -> float:
            return self.knots[(b % cells + cells) & 63][(a % cells + cells) & 63]

        near = knot(i, j) + (knot(i + 1, j) - knot(i, j)) * fx
        far = knot(i, j + 1) + (knot(i + 1, j + 1) - knot(i, j + 1)) * fx
        return near + (far - near) * fy

    def at(self, x: float, y: float, first: int = 4, octaves: int = 4) -> float:
        """Octaves from `first` cells on, each half as strong as the one before: 0 to 1."""
        total = 0.0
        size = 0.5
        for k in range(octaves):
            total += size * self.octave(x, y, first << k)
            size *= 0.5
        return total
