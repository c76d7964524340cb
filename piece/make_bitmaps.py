#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""Paints the bitmaps of the piece: PNG files.

    make_bitmaps.py [folder]      the folder defaults to that of this script

The same bytes on every machine with zlib; see quorvale.exact. Sides are powers of two, for the
chains of smaller pictures. On models a picture's first row lies at v = 0. Bitmaps that mirror
surroundings are spheres seen from far off, upside down: what is above lies in the last rows.
"""

import math
import os
import sys

sys.path.insert(0, os.path.join(os.path.dirname(os.path.abspath(__file__)), "../python"))

from quorvale.exact import exponential, power, sin_turns
from quorvale.images import Clouds, clamp, mix, ramp, smooth, write_png

# ---------------------------------------------------------------------------------------------
# Bitmaps: each gives (width, height, channels, pixel)


def flare():
    """A star of light with streaks. The alpha is squared where it is used."""

    def pixel(x, y):
        dx = (x - 63.5) / 64.0
        dy = (y - 63.5) / 64.0
        r = math.sqrt(dx * dx + dy * dy)
        light = 0.8 * exponential(-r * r * 110.0) + 0.34 * exponential(-r * 8.0)
        light += 0.40 * exponential(-abs(dy) * 60.0) * exponential(-abs(dx) * 3.2)
        light += 0.16 * exponential(-abs(dx) * 70.0) * exponential(-abs(dy) * 6.0)
        ring = (r - 0.62) * 16.0
        light += 0.05 * exponential(-ring * ring)
        light *= smooth((1.0 - r) * 3.0)
        return (1.0, 0.80 + 0.2 * light, 0.52 + 0.48 * light, math.sqrt(clamp(light)))

    return 128, 128, 4, pixel


def cloud():
    """A puff of smoke."""
    clouds = Clouds(31)

    def pixel(x, y):
        dx = (x - 63.5) / 64.0
        dy = (y - 63.5) / 64.0
        r = math.sqrt(dx * dx + dy * dy)
        body = clouds.at(x / 128.0, y / 128.0, 3, 5)
        density = smooth((1.0 - r) * 1.4) * smooth((body - 0.30) * 2.6)
        shade = 0.62 + 0.38 * smooth(body * 1.6 - 0.25 - 0.3 * dy)
        return (shade, shade, shade, math.sqrt(clamp(density * 0.6)))

    return 128, 128, 4, pixel


def glow():
    def pixel(x, y):
        dx = (x - 31.5) / 32.0
        dy = (y - 31.5) / 32.0
        r = math.sqrt(dx * dx + dy * dy)
        light = (0.75 * exponential(-r * r * 40.0) + 0.40 * exponential(-r * 4.5)) * \
            smooth((1.0 - r) * 3.0)
        return (clamp(light), clamp(light), clamp(light))

    return 64, 64, 3, pixel


def vectors():
    """On a mirroring ball, the direction to a light before and above it, as a colour."""

    def pixel(x, y):
        nx = (x - 63.5) / 62.0
        ny = (y - 63.5) / 62.0
        square = nx * nx + ny * ny
        nz = math.sqrt(1.0 - square) if square < 1.0 else 0.0
        lit = power(clamp(0.30 * nx + 0.45 * ny + 0.84 * nz), 2.0)
        return (0.5 + 0.5 * nx * lit, 0.5 + 0.5 * ny * lit, 0.5 + 0.5 * nz * lit)

    return 128, 128, 3, pixel


def bumps():
    """Normals of a hammered plate with rivets."""
    clouds = Clouds(57)

    def height(x, y):
        x /= 128.0
        y /= 128.0
        h = 0.5 * clouds.at(x, y, 8, 3)
        u = (x * 4.0) % 1.0 - 0.5
        v = (y * 4.0) % 1.0 - 0.5
        edge = max(abs(u), abs(v))
        h -= 0.5 * smooth((edge - 0.44) * 20.0)
        ru = abs(u) - 0.36
        rv = abs(v) - 0.36
        h += 0.55 * smooth((0.055 - math.sqrt(ru * ru + rv * rv)) * 30.0)
        return h

    def pixel(x, y):
        nx = (height(x - 1, y) - height(x + 1, y)) * 2.2
        ny = (height(x, y - 1) - height(x, y + 1)) * 2.2
        length = math.sqrt(nx * nx + ny * ny + 1.0)
        return (0.5 + 0.5 * nx / length, 0.5 + 0.5 * ny / length, 0.5 + 0.5 / length)

    return 128, 128, 3, pixel


def marble():
    clouds = Clouds(83)

    def pixel(x, y):
        u = x / 256.0
        v = y / 256.0
        n = clouds.at(u, v, 4, 5)
        vein = 1.0 - abs(sin_turns(u + v + 1.2 * n))
        fine = 1.0 - abs(sin_turns(2.0 * u - v + 1.7 * n + 0.3))
        dark = 0.75 * power(vein, 6.0) + 0.35 * power(fine, 10.0)
        base = mix((0.93, 0.89, 0.82), (0.74, 0.70, 0.66), smooth(n * 1.5 - 0.2))
        return mix(base, (0.36, 0.22, 0.13), clamp(dark) * 0.8)

    return 256, 256, 3, pixel


def moonlight():
    """How a ball is lit from the upper left, for a second layer over its colours."""

    def pixel(x, y):
        nx = (x - 63.5) / 64.0
        ny = (y - 63.5) / 64.0
        square = nx * nx + ny * ny
        nz = math.sqrt(1.0 - square) if square < 1.0 else 0.0
        lit = clamp(-0.62 * nx - 0.42 * ny + 0.55 * nz)
        light = 0.03 + 0.97 * power(lit, 0.8)
        return (light * 0.96, light * 0.97, light)

    return 128, 128, 3, pixel


def sky(stops, seed, bands):
    """A quarter of a panorama, joining to itself sideways; the horizon is half way down."""
    clouds = Clouds(seed)

    def pixel(x, y):
        colour = ramp(stops, y / 255.0)
        veil = clouds.at(x / 128.0, y / 32.0, 4, 4)
        height = clamp(1.0 - abs(y - 103.0) / 22.0)
        return mix(colour, bands, 0.9 * height * smooth(veil * 3.2 - 1.3))

    return 128, 256, 3, pixel


def dusk():
    return sky([(0.0, (0.04, 0.03, 0.16)), (0.26, (0.20, 0.06, 0.34)), (0.40, (0.56, 0.10, 0.42)),
                (0.47, (0.96, 0.22, 0.44)), (0.497, (1.0, 0.50, 0.40)), (0.51, (0.30, 0.08, 0.20)),
                (1.0, (0.05, 0.01, 0.06))], 5, (0.30, 0.05, 0.34))


def dawn():
    return sky([(0.0, (0.08, 0.11, 0.26)), (0.30, (0.20, 0.20, 0.38)), (0.39, (0.46, 0.30, 0.40)),
                (0.445, (0.86, 0.46, 0.32)), (0.485, (1.0, 0.68, 0.36)), (0.498, (1.0, 0.80, 0.48)),
                (0.51, (0.45, 0.27, 0.20)), (1.0, (0.10, 0.06, 0.06))], 5, (0.52, 0.26, 0.28))


def room():
    """Surroundings for metal: a warm horizon, windows of light above, darkness below."""

    def pixel(x, y):
        nx = (x - 63.5) / 64.0
        ny = (y - 63.5) / 64.0
        square = nx * nx + ny * ny
        nz = math.sqrt(1.0 - square) if square < 1.0 else 0.0
        # Up and side of the mirrored world, each from -1 (below, left) to 1.
        up = 2.0 * ny * nz
        side = 2.0 * nx * nz
        back = 2.0 * nz * nz - 1.0
        colour = ramp([(-1.0, (0.02, 0.02, 0.03)), (-0.12, (0.10, 0.06, 0.045)),
                       (-0.01, (0.30, 0.15, 0.08)), (0.03, (1.0, 0.66, 0.34)),
                       (0.16, (0.50, 0.32, 0.26)), (0.5, (0.13, 0.15, 0.24)),
                       (1.0, (0.05, 0.07, 0.14))], up)
        window = smooth((0.30 - abs(side - 0.45)) * 9.0) * smooth((0.20 - abs(up - 0.62)) * 12.0)
        strip = smooth((0.10 - abs(side + 0.62)) * 20.0) * smooth((0.42 - abs(up - 0.40)) * 9.0)
        light = clamp(window + 0.8 * strip) * smooth(back + 1.0)
        return mix(colour, (1.0, 0.96, 0.86), light)

    return 128, 128, 3, pixel


def blank(width, height):
    return width, height, 3, lambda x, y: (0.0, 0.0, 0.0)


BITMAPS = {
    "flare": flare,
    "cloud": cloud,
    "glow": glow,
    "vectors": vectors,
    "bumps": bumps,
    "marble": marble,
    "moonlight": moonlight,
    "dusk": dusk,
    "dawn": dawn,
    "room": room,
    # Bitmaps that the piece draws into. Their sizes fit into the smallest window.
    "feedback": lambda: blank(256, 128),
    "portal": lambda: blank(256, 128),
    "bloom": lambda: blank(64, 64),
}


def main():
    folder = sys.argv[1] if len(sys.argv) > 1 else os.path.dirname(os.path.abspath(__file__))
    for name, paint in BITMAPS.items():
        write_png(os.path.join(folder, name + ".png"), *paint())


if __name__ == "__main__":
    main()
