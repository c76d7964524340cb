# SPDX-License-Identifier: MIT
"""Text in a TrueType font, as meshes.

    words = Font.find("DejaVuSans-Bold").mesh("Straße", height=1, depth=0.2)
    title = words.write("title.obj")

Only the font's outlines are read. What is written is a mesh: viewers need no font.
"""

from __future__ import annotations

import pathlib
import struct
from collections.abc import Sequence
from dataclasses import dataclass
from typing import Final

from quorvale.facts import nearest
from quorvale.meshes import Mesh, Point

Flat = tuple[float, float]
Contour = list[Flat]
_FOLDERS: Final = ("/usr/share/fonts", "/usr/local/share/fonts")
_SHOWN_FONTS: Final = 12
_CURE: Final = 'Font.find("DejaVuSans-Bold") (Debian: apt install fonts-dejavu-core)'


@dataclass(frozen=True)
class Glyph:
    """Closed outlines in units of the font, and the way to the next glyph."""

    contours: tuple[tuple[Flat, ...], ...]
    advance: float


class Font:
    """A TrueType font of a file: `Font("DejaVuSans.ttf")` lies beside piece.py."""

    def __init__(self, path: str) -> None:
        try:
            self.data = pathlib.Path(path).read_bytes()
        except OSError as error:
            raise ValueError(f'Font(): "{path}" can\'t be read: {error.strerror}. Put the file '
                             f'beside piece.py, or take a font of the machine: {_CURE}') from None
        if self.data[:4] not in (b"\0\1\0\0", b"true"):
            raise ValueError(f'Font(): "{path}" holds no TrueType outlines')
        self.tables: dict[bytes, int] = {}
        for k in range(self._u16(4)):
            tag, _, offset, _ = struct.unpack_from(">4sIII", self.data, 12 + 16 * k)
            self.tables[tag] = offset
        self.units = self._u16(self.tables[b"head"] + 18)
        self._long_places = self._u16(self.tables[b"head"] + 50) == 1
        self._advances = self._u16(self.tables[b"hhea"] + 34)
        self._characters = self._read_characters()

    @staticmethod
    def find(name: str) -> Font:
        """A font of the machine by its file's name, such as "DejaVuSans-Bold"."""
        found: dict[str, pathlib.Path] = {}
        for folder in _FOLDERS:
            for path in sorted(pathlib.Path(folder).rglob("*.ttf")):
                found.setdefault(path.stem, path)
        if name in found:
            return Font(str(found[name]))
        there = ", ".join(sorted(found)[:_SHOWN_FONTS])
        more = ", ..." if len(found) > _SHOWN_FONTS else ""
        raise ValueError(f'Font.find(): there is no "{name}.ttf" below {" or ".join(_FOLDERS)}'
                         f'{nearest(name, found)}\n'
                         f"  there are: {there or 'none'}{more}\n"
                         f"  install it (Debian: apt install fonts-dejavu-core brings DejaVuSans-"
                         f'Bold), or put a .ttf file beside piece.py: Font("{name}.ttf")')

    def _u16(self, at: int) -> int:
        return int.from_bytes(self.data[at:at + 2], "big")

    def _i16(self, at: int) -> int:
        return int.from_bytes(self.data[at:at + 2], "big", signed=True)

    def _u32(self, at: int) -> int:
        return int.from_bytes(self.data[at:at + 4], "big")

    def _read_characters(self) -> dict[int, int]:
        """Glyph numbers by character, of the table's format 4 or 12."""
        table = self.tables[b"cmap"]
        found: dict[int, int] = {}
        for k in range(self._u16(table + 2)):
            at = table + self._u32(table + 4 + 8 * k + 4)
            if self._u16(at) == 12:
                for group in range(self._u32(at + 12)):
                    first, last, glyph = struct.unpack_from(">III", self.data, at + 16 + 12 * group)
                    found.update((c, glyph + c - first) for c in range(first, last + 1))
            elif self._u16(at) == 4:
                found.update(self._read_segments(at))
        return found

    def _read_segments(self, at: int) -> dict[int, int]:
        found: dict[int, int] = {}
        size = self._u16(at + 6)
        ends, starts, deltas, ranges = (at + 14, at + 16 + size, at + 16 + 2 * size,
                                        at + 16 + 3 * size)
        for k in range(0, size, 2):
            start, delta, place = (self._u16(starts + k), self._u16(deltas + k),
                                   self._u16(ranges + k))
            for character in range(start, self._u16(ends + k) + 1):
                glyph = character
                if place != 0:
                    glyph = self._u16(ranges + k + place + 2 * (character - start))
                if glyph != 0:
                    found.setdefault(character, (glyph + delta) & 0xFFFF)
        return found

    def glyph(self, character: str, detail: int = 4) -> Glyph:
        """A character's outlines, each curve as `detail` lines.

        >>> font = Font.find("DejaVuSans-Bold")
        >>> font.glyph("m").advance > font.glyph("i").advance
        True
        """
        number = self._characters.get(ord(character))
        if number is None:
            raise ValueError(f'mesh(): the font has no "{character}"')
        advance = self._u16(self.tables[b"hmtx"] + 4 * min(number, self._advances - 1))
        contours = self._outlines(number, detail)
        return Glyph(tuple(tuple(contour) for contour in contours), float(advance))

    def _place(self, number: int) -> tuple[int, int]:
        table = self.tables[b"loca"]
        if self._long_places:
            return self._u32(table + 4 * number), self._u32(table + 4 * number + 4)
        return 2 * self._u16(table + 2 * number), 2 * self._u16(table + 2 * number + 2)

    def _outlines(self, number: int, detail: int) -> list[Contour]:
        start, end = self._place(number)
        if start == end:
            return []
        at = self.tables[b"glyf"] + start
        count = self._i16(at)
        return self._simple(at, count, detail) if count >= 0 else self._composite(at + 10, detail)

    def _composite(self, at: int, detail: int) -> list[Contour]:
        contours: list[Contour] = []
        while True:
            flags, number = self._u16(at), self._u16(at + 2)
            at += 4
            if flags & 1:
                dx, dy = self._i16(at), self._i16(at + 2)
                at += 4
            else:
                dx, dy = struct.unpack_from(">bb", self.data, at)
                at += 2
            a, b, c, d = 1.0, 0.0, 0.0, 1.0
            if flags & 8:
                a = d = self._i16(at) / 16384.0
                at += 2
            elif flags & 0x40:
                a, d = self._i16(at) / 16384.0, self._i16(at + 2) / 16384.0
                at += 4
            elif flags & 0x80:
                a, b, c, d = (self._i16(at + 2 * k) / 16384.0 for k in range(4))
                at += 8
            # A part that is mirrored runs the other way round; what is filled stays so.
            turn = 1 if a * d >= b * c else -1
            contours += [[(a * x + c * y + dx, b * x + d * y + dy) for x, y in contour[::turn]]
                         for contour in self._outlines(number, detail)]
            if not flags & 0x20:
                return contours

    def _simple(self, at: int, count: int, detail: int) -> list[Contour]:
        ends = [self._u16(at + 10 + 2 * k) for k in range(count)]
        points = ends[-1] + 1 if ends else 0
        at += 10 + 2 * count
        at += 2 + self._u16(at)
        flags: list[int] = []
        while len(flags) < points:
            flag = self.data[at]
            at += 1
            repeats = 1
            if flag & 8:
                repeats += self.data[at]
                at += 1
            flags += [flag] * repeats
        xs, at = self._coordinates(flags, at, 2, 16)
        ys, at = self._coordinates(flags, at, 4, 32)
        contours = []
        first = 0
        for end in ends:
            outline = [(float(xs[k]), float(ys[k]), bool(flags[k] & 1))
                       for k in range(first, end + 1)]
            contours.append(_flatten(outline, detail))
            first = end + 1
        return [contour for contour in contours if len(contour) >= 3]

    def _coordinates(self, flags: Sequence[int], at: int, short: int,
                     same: int) -> tuple[list[int], int]:
        values = []
        value = 0
        for flag in flags:
            if flag & short:
                value += self.data[at] if flag & same else -self.data[at]
                at += 1
            elif not flag & same:
                value += self._i16(at)
                at += 2
            values.append(value)
        return values, at

    def mesh(self, text: str, height: float = 1.0, depth: float = 0.0, spacing: float = 0.0,
             detail: int = 4) -> Mesh:
        """A line of text about the origin, facing z; `height` is the font's size in units of the
        scene, `depth` makes it solid, `spacing` is added between letters.

        Texture coordinates run over the whole line, so that one image covers it.
        """
        if not text.strip():
            raise ValueError("mesh(): the text has no letters")
        scale = height / self.units
        glyphs = [self.glyph(character, detail) for character in text]
        width = sum(glyph.advance * scale for glyph in glyphs) + spacing * (len(text) - 1)
        middle = 0.36 * height  # of most capitals
        mesh = Mesh()
        x = -width / 2.0
        for glyph in glyphs:
            contours = [[(x + px * scale, py * scale - middle) for px, py in contour]
                        for contour in glyph.contours]
            _add_outline(mesh, contours, depth, width, height)
            x += glyph.advance * scale + spacing
        return mesh


def _flatten(outline: Sequence[tuple[float, float, bool]], detail: int) -> Contour:
    """Lines for an outline of points on the curve and controls off it."""
    full: list[tuple[float, float, bool]] = []
    for k, (x, y, on) in enumerate(outline):
        px, py, before = outline[k - 1]
        if not on and not before:
            full.append(((x + px) / 2.0, (y + py) / 2.0, True))
        full.append((x, y, on))
    start = next((k for k, point in enumerate(full) if point[2]), 0)
    full = full[start:] + full[:start + 1]
    contour: Contour = []
    for k, (x, y, on) in enumerate(full[:-1]):
        if on:
            contour.append((x, y))
            continue
        (ax, ay, _), (bx, by, _) = full[k - 1], full[k + 1]
        for step in range(1, detail):
            t = step / detail
            u = 1.0 - t
            contour.append((u * u * ax + 2.0 * u * t * x + t * t * bx,
                            u * u * ay + 2.0 * u * t * y + t * t * by))
    return [point for k, point in enumerate(contour) if point != contour[k - 1]]


# ---------------------------------------------------------------------------------------------
# Outlines into triangles


def _area(contour: Sequence[Flat]) -> float:
    """Twice the area, above 0 for counter-clockwise."""
    return sum(a[0] * b[1] - b[0] * a[1] for a, b in zip(contour, [*contour[1:], contour[0]]))


def _side(a: Flat, b: Flat, c: Flat) -> float:
    return (b[0] - a[0]) * (c[1] - a[1]) - (b[1] - a[1]) * (c[0] - a[0])


def _inside(point: Flat, contour: Sequence[Flat]) -> bool:
    x, y = point
    inside = False
    for a, b in zip(contour, [*contour[1:], contour[0]]):
        if (a[1] > y) != (b[1] > y) and x < (b[0] - a[0]) * (y - a[1]) / (b[1] - a[1]) + a[0]:
            inside = not inside
    return inside


def _bridge(outer: Contour, hole: Contour) -> Contour:
    """One outline of both, joined where they see each other."""
    k = max(range(len(hole)), key=lambda i: hole[i])
    x, y = hole[k]
    best: tuple[float, int] | None = None
    for i, a in enumerate(outer):
        b = outer[(i + 1) % len(outer)]
        if a[1] <= y <= b[1] and a[1] != b[1]:
            cut = a[0] + (b[0] - a[0]) * (y - a[1]) / (b[1] - a[1])
            if cut >= x and (best is None or cut < best[0]):
                best = (cut, i if a[0] > b[0] else (i + 1) % len(outer))
    if best is None:
        return outer  # the hole lies outside: no font has that
    j = best[1]
    meeting, corner = (best[0], y), outer[j]
    if meeting != corner:
        # Points in the triangle of the ray and the corner hide it: the flattest of them is seen.
        triangle = [(x, y), meeting, corner]
        if _side(*triangle) < 0:
            triangle.reverse()
        seen = [i for i, point in enumerate(outer)
                if point != corner and point[0] >= x and _in_triangle(point, triangle)]
        if seen:
            j = min(seen, key=lambda i: (abs(outer[i][1] - y) / max(outer[i][0] - x, 1e-12), i))
    return outer[:j + 1] + hole[k:] + hole[:k + 1] + outer[j:]


def _in_triangle(point: Flat, triangle: Sequence[Flat]) -> bool:
    a, b, c = triangle
    return _side(a, b, point) >= 0 and _side(b, c, point) >= 0 and _side(c, a, point) >= 0


def _is_ear(polygon: Contour, k: int) -> bool:
    a, b, c = polygon[k - 1], polygon[k], polygon[(k + 1) % len(polygon)]
    if _side(a, b, c) <= 0:
        return False
    return not any(_in_triangle(p, (a, b, c)) for p in polygon if p not in (a, b, c))


def triangulate(contours: Sequence[Contour]) -> list[tuple[Flat, Flat, Flat]]:
    """Triangles of an area with holes. Outlines wind one way, holes the other.

    >>> square = [(0.0, 0.0), (3.0, 0.0), (3.0, 3.0), (0.0, 3.0)]
    >>> hole = [(1.0, 1.0), (1.0, 2.0), (2.0, 2.0), (2.0, 1.0)]
    >>> sum(_area(t) / 2 for t in triangulate([square, hole]))
    8.0
    """
    if not contours:
        return []
    largest = max(contours, key=lambda contour: abs(_area(contour)))
    sign = 1.0 if _area(largest) > 0 else -1.0
    turned = [list(contour) if sign > 0 else list(contour)[::-1] for contour in contours]
    outers = [contour for contour in turned if _area(contour) > 0]
    holes = sorted((contour for contour in turned if _area(contour) < 0),
                   key=lambda contour: -max(contour)[0])
    triangles = []
    for outer in outers:
        polygon = outer
        for hole in holes:
            owner = [o for o in outers if _inside(hole[0], o)]
            if owner and min(owner, key=_area) is outer:
                polygon = _bridge(polygon, hole)
        triangles += _clip_ears(polygon)
    return triangles


def _clip_ears(polygon: Contour) -> list[tuple[Flat, Flat, Flat]]:
    polygon = list(polygon)
    triangles = []
    while len(polygon) > 3:
        ear = next((k for k in range(len(polygon)) if _is_ear(polygon, k)), None)
        if ear is None:  # only corners without an area are left
            ear = min(range(len(polygon)), key=lambda k: abs(_side(
                polygon[k - 1], polygon[k], polygon[(k + 1) % len(polygon)])))
        triangle = (polygon[ear - 1], polygon[ear], polygon[(ear + 1) % len(polygon)])
        if _side(*triangle) > 0:
            triangles.append(triangle)
        del polygon[ear]
    triangles.append((polygon[0], polygon[1], polygon[2]))
    return triangles


def _add_outline(mesh: Mesh, contours: Sequence[Contour], depth: float, width: float,
                 height: float) -> None:
    def at(point: Flat, z: float) -> Point:
        return (point[0], point[1], z)

    def image(point: Flat) -> Flat:
        return (0.5 + point[0] / width, 0.5 - point[1] / height)

    front = depth / 2.0
    for triangle in triangulate(contours):
        coordinates = [image(point) for point in triangle]
        mesh.flat([at(point, front) for point in triangle], coordinates)
        if depth > 0.0:
            mesh.flat([at(point, -front) for point in triangle[::-1]], coordinates[::-1])
    if depth <= 0.0:
        return
    for contour in contours:
        for a, b in zip(contour, [*contour[1:], contour[0]]):
            ia, ib = image(a), image(b)
            mesh.flat([at(a, front), at(a, -front), at(b, -front), at(b, front)], [ia, ia, ib, ib])
