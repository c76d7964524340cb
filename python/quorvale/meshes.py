# SPDX-License-Identifier: MIT
"""Meshes made by code, written as OBJ files that `dpk build` turns into models.

    >>> mesh = box(Mesh(), (-1, -1, -1), (1, 1, 1))
    >>> len(mesh.faces)
    6

An image's first row lies at v = 0, so v runs downward. Faces wind counter-clockwise seen from where
their normals point to, though nothing counts on it. Functions that add a shape give the mesh back:
`torus(Mesh(), radius=2).write("ring.obj")`.
"""

from __future__ import annotations

import math
import os
from collections.abc import Callable, Sequence

from quorvale.exact import atan2_degrees, cos_degrees, cos_turns, sin_degrees, sin_turns
from quorvale.facts import told
from quorvale.files import write_file
from quorvale.items import Model

Point = tuple[float, float, float]
Corner = tuple[Point, tuple[float, float], Point]  # position, texture coordinates, normal


def add(a: Point, b: Point) -> Point:
    """The sum of two vectors."""
    return (a[0] + b[0], a[1] + b[1], a[2] + b[2])


def subtract(a: Point, b: Point) -> Point:
    """The vector from b to a.

    >>> subtract((3, 2, 1), (1, 1, 1))
    (2, 1, 0)
    """
    return (a[0] - b[0], a[1] - b[1], a[2] - b[2])


def scale(a: Point, k: float) -> Point:
    """A vector times a number."""
    return (a[0] * k, a[1] * k, a[2] * k)


def dot(a: Point, b: Point) -> float:
    """The scalar product.

    >>> dot((1, 2, 3), (2, 0, 1))
    5
    """
    return a[0] * b[0] + a[1] * b[1] + a[2] * b[2]


def cross(a: Point, b: Point) -> Point:
    """The vector product.

    >>> cross((1, 0, 0), (0, 1, 0))
    (0, 0, 1)
    """
    return (a[1] * b[2] - a[2] * b[1], a[2] * b[0] - a[0] * b[2], a[0] * b[1] - a[1] * b[0])


def unit(a: Point) -> Point:
    """A vector of length 1; no vector stays none.

    >>> unit((0, 3, 4))
    (0.0, 0.6000000000000001, 0.8)
    """
    length = math.sqrt(dot(a, a))
    return scale(a, 1.0 / length) if length > 0.0 else (0.0, 0.0, 0.0)


def _decimals(values: Sequence[float], places: int) -> str:
    texts = []
    for value in values:
        text = "%.*f" % (places, value)
        if "." in text:
            text = text.rstrip("0").rstrip(".")
        texts.append("0" if text == "-0" else text)
    return " ".join(texts)


def _check_corner(corner: object) -> None:
    parts = corner if isinstance(corner, (tuple, list)) else ()
    if [len(part) if isinstance(part, (tuple, list)) else 0 for part in parts] != [3, 2, 3]:
        raise ValueError(f"face(): a corner is (position, (u, v), normal), such as ((0, 1, 0), "
                         f"(0.5, 0.5), (0, 0, 1)), not {told(corner)}; flat() takes positions "
                         f"alone, smooth() points by their numbers")


class Mesh:
    """Polygons with normals and texture coordinates, each written once."""

    def __init__(self) -> None:
        self.lists: tuple[list[str], list[str], list[str]] = ([], [], [])
        self.places: tuple[dict[str, int], dict[str, int], dict[str, int]] = ({}, {}, {})
        self.faces: list[list[tuple[int, int, int]]] = []

    def _place(self, kind: int, text: str) -> int:
        found = self.places[kind].get(text)
        if found is None:
            self.lists[kind].append(text)
            found = len(self.lists[kind])
            self.places[kind][text] = found
        return found

    def face(self, corners: Sequence[Corner]) -> None:
        """A convex polygon of corners (position, (u, v), normal), turned to face its normals.

        >>> up = (0, 1, 0)
        >>> mesh = Mesh()
        >>> mesh.face([((0, 0, 0), (0, 0), up), ((1, 0, 0), (1, 0), up), ((0, 0, 1), (0, 1), up)])
        """
        for corner in corners:
            _check_corner(corner)
            position, coordinates, normal = corner
            if not all(map(math.isfinite, (*position, *coordinates, *normal))):
                raise ValueError(f"face(): a corner is made of finite numbers, not {position}, "
                                 f"{coordinates} and {normal}")
        area: Point = (0.0, 0.0, 0.0)
        for i in range(1, len(corners) - 1):
            area = add(area, cross(subtract(corners[i][0], corners[0][0]),
                                   subtract(corners[i + 1][0], corners[0][0])))
        if dot(area, corners[0][2]) < 0.0:
            corners = corners[::-1]
        face = []
        for position, coordinates, normal in corners:
            face.append((self._place(0, _decimals(position, 5)),
                         self._place(1, _decimals(coordinates, 4)),
                         self._place(2, _decimals(unit(normal), 4))))
        positions = [places[0] for places in face]
        kept = [places for i, places in enumerate(face) if positions[i] != positions[i - 1]]
        if len(kept) >= 3:
            self.faces.append(kept)

    def flat(self, positions: Sequence[Point],
             coordinates: Sequence[tuple[float, float]] | None = None) -> None:
        """A flat convex polygon of three positions or more. Seen from its front they turn to the
        left.

        >>> mesh = Mesh()
        >>> mesh.flat([(0, 0, 0), (1, 0, 0), (0, 1, 0)])
        """
        if len(positions) < 3:
            raise ValueError(f"flat(): a polygon has 3 corners at least, not {len(positions)}")
        normal: Point = (0.0, 0.0, 0.0)
        for i in range(1, len(positions) - 1):
            normal = add(normal, cross(subtract(positions[i], positions[0]),
                                       subtract(positions[i + 1], positions[0])))
        if coordinates is None:
            coordinates = [(0.0, 1.0), (1.0, 1.0), (1.0, 0.0), (0.0, 0.0)]
            if len(positions) != 4:
                coordinates = [(0.5 + 0.5 * cos_turns(k / len(positions)),
                                0.5 - 0.5 * sin_turns(k / len(positions)))
                               for k in range(len(positions))]
        self.face([(p, c, normal) for p, c in zip(positions, coordinates)])

    def surface(self, function: Callable[[float, float], Point], columns: int, rows: int,
                tiles: tuple[float, float] = (1.0, 1.0),
                normal_of: Callable[[float, float], Point] | None = None) -> None:
        """function(u, v) over the unit square, as a smooth grid."""
        if columns < 1 or rows < 1:
            raise ValueError(f"surface(): a grid has a column and a row at least, not {columns} by "
                             f"{rows}")
        step = 0.0005

        def numeric_normal(u: float, v: float) -> Point:
            along_u = subtract(function(u + step, v), function(u - step, v))
            along_v = subtract(function(u, v + step), function(u, v - step))
            return unit(cross(along_u, along_v))

        find = normal_of or numeric_normal
        corners = [[(function(i / columns, j / rows), (tiles[0] * i / columns, tiles[1] * j / rows),
                     find(i / columns, j / rows)) for i in range(columns + 1)]
                   for j in range(rows + 1)]
        for j in range(rows):
            for i in range(columns):
                self.face([corners[j][i], corners[j][i + 1], corners[j + 1][i + 1],
                           corners[j + 1][i]])

    def smooth(self, points: Sequence[Point], faces: Sequence[Sequence[int]],
               coordinates: Sequence[tuple[float, float]] | None = None) -> None:
        """Triangles between points, three numbers from 0 on each, with normals that run evenly from
        one to the next. Their corners are in the order that turns to the left, seen from outside.

        >>> mesh = Mesh()
        >>> mesh.smooth([(0, 0, 0), (1, 0, 0), (0, 1, 0), (0, 0, 1)],
        ...             [(0, 2, 1), (0, 1, 3), (0, 3, 2), (1, 2, 3)])
        """
        sums: list[Point] = [(0.0, 0.0, 0.0)] * len(points)
        for each in faces:
            if len(each) != 3:
                raise ValueError(f"smooth(): a face is a triangle, three numbers of points, not "
                                 f"{told(tuple(each))}")
            a, b, c = each
            if not 0 <= min(a, b, c) <= max(a, b, c) < len(points):
                raise ValueError(f"smooth(): a face names points by their numbers, 0 to "
                                 f"{len(points) - 1}, not as in {(a, b, c)}")
            normal = cross(subtract(points[b], points[a]), subtract(points[c], points[a]))
            for k in (a, b, c):
                sums[k] = add(sums[k], normal)
        for face in faces:
            self.face([(points[k], coordinates[k] if coordinates else (0.0, 0.0), sums[k])
                       for k in face])

    def write(self, path: str, comment: str = "made by a program") -> Model:
        """Writes an OBJ file and gives the model that it will be in the package."""
        lines = [f"# {os.path.basename(path)}: {comment}", "# v counts from the upper edge"]
        for prefix, texts in zip(("v ", "vt ", "vn "), self.lists):
            lines += [prefix + text for text in texts]
        for face in self.faces:
            lines.append("f " + " ".join("%d/%d/%d" % corner for corner in face))
        write_file("write", path, ("\n".join(lines) + "\n").encode("utf-8"))
        return Model(os.path.basename(path))


def box(mesh: Mesh, low: Point, high: Point) -> Mesh:
    """A box along the axes between two corners."""
    x0, y0, z0 = low
    x1, y1, z1 = high
    mesh.flat([(x0, y0, z1), (x1, y0, z1), (x1, y1, z1), (x0, y1, z1)])
    mesh.flat([(x1, y0, z0), (x0, y0, z0), (x0, y1, z0), (x1, y1, z0)])
    mesh.flat([(x1, y0, z1), (x1, y0, z0), (x1, y1, z0), (x1, y1, z1)])
    mesh.flat([(x0, y0, z0), (x0, y0, z1), (x0, y1, z1), (x0, y1, z0)])
    mesh.flat([(x0, y1, z1), (x1, y1, z1), (x1, y1, z0), (x0, y1, z0)])
    mesh.flat([(x0, y0, z0), (x1, y0, z0), (x1, y0, z1), (x0, y0, z1)])
    return mesh


def square(mesh: Mesh, side: float = 1.0) -> Mesh:
    """A square about the origin that faces z: for overlays in `FLAT` clips and for lights."""
    h = side / 2.0
    mesh.flat([(-h, -h, 0.0), (h, -h, 0.0), (h, h, 0.0), (-h, h, 0.0)])
    return mesh


def torus(mesh: Mesh, radius: float = 1.0, tube: float = 0.35, columns: int = 48,
          rows: int = 24) -> Mesh:
    """A ring about the y axis.

    >>> len(torus(Mesh(), columns=8, rows=6).faces)
    48
    """

    def point(u: float, v: float) -> Point:
        out = radius + tube * cos_turns(v)
        return (out * cos_turns(u), tube * sin_turns(v), -out * sin_turns(u))

    mesh.surface(point, columns, rows, (4.0, 1.0))
    return mesh


def sphere(mesh: Mesh, radius: float = 1.0, columns: int = 48, rows: int = 24) -> Mesh:
    """A ball about the origin.

    >>> len(sphere(Mesh(), columns=8, rows=6).faces)
    48
    """

    def point(u: float, v: float) -> Point:
        latitude = (v - 0.5) * 0.4999
        flat = radius * cos_turns(latitude)
        return (flat * cos_turns(u), radius * sin_turns(latitude), -flat * sin_turns(u))

    mesh.surface(point, columns, rows)
    return mesh


def icosphere(levels: int) -> tuple[list[Point], list[tuple[int, int, int]]]:
    """Points and triangles of a ball of radius 1 that is as fine everywhere: 20 triangles at level
    0, four times as many at each further one. For `Mesh.smooth`, moved or as they are.

    >>> points, faces = icosphere(2)
    >>> len(points), len(faces)
    (162, 320)
    """
    g = (1.0 + math.sqrt(5.0)) / 2.0
    points = [unit(p) for p in ((-1.0, g, 0.0), (1.0, g, 0.0), (-1.0, -g, 0.0), (1.0, -g, 0.0),
                                (0.0, -1.0, g), (0.0, 1.0, g), (0.0, -1.0, -g), (0.0, 1.0, -g),
                                (g, 0.0, -1.0), (g, 0.0, 1.0), (-g, 0.0, -1.0), (-g, 0.0, 1.0))]
    faces = [(0, 11, 5), (0, 5, 1), (0, 1, 7), (0, 7, 10), (0, 10, 11), (1, 5, 9), (5, 11, 4),
             (11, 10, 2), (10, 7, 6), (7, 1, 8), (3, 9, 4), (3, 4, 2), (3, 2, 6), (3, 6, 8),
             (3, 8, 9), (4, 9, 5), (2, 4, 11), (6, 2, 10), (8, 6, 7), (9, 8, 1)]
    for _ in range(levels):
        middles: dict[tuple[int, int], int] = {}

        def middle(a: int, b: int) -> int:
            key = (min(a, b), max(a, b))
            if key not in middles:
                points.append(unit(add(points[a], points[b])))
                middles[key] = len(points) - 1
            return middles[key]

        finer: list[tuple[int, int, int]] = []
        for a, b, c in faces:
            ab, bc, ca = middle(a, b), middle(b, c), middle(c, a)
            finer += [(a, ab, ca), (b, bc, ab), (c, ca, bc), (ab, bc, ca)]
        faces = finer
    return points, faces


def lathe(mesh: Mesh, profile: Sequence[tuple[float, float]], segments: int, flutes: int = 0,
          flute_depth: float = 0.0, center: Point = (0.0, 0.0, 0.0)) -> Mesh:
    """A profile of (radius, y) points, bottom first, turned about the y axis; corners stay sharp.
    Parts higher than 1 may have so many flutes, as columns have, of a depth from 0 to 1.

    >>> len(lathe(Mesh(), [(1, 0), (0.5, 2)], 12).faces)
    12
    """
    for (r0, y0), (r1, y1) in zip(profile, profile[1:]):
        slope = unit((y1 - y0, r0 - r1, 0.0))
        fluted = flutes if r0 > 0.0 and y1 - y0 > 1.0 else 0

        def corner(r: float, y: float, k: int, height: float) -> Corner:
            turn = k / segments
            hollow = 1.0 - flute_depth * abs(sin_turns(turn * fluted / 2.0)) if fluted else 1.0
            position = add(center, (r * hollow * cos_turns(turn), y, -r * hollow * sin_turns(turn)))
            normal = (slope[0] * cos_turns(turn), slope[1], -slope[0] * sin_turns(turn))
            return (position, (4.0 * turn, height), normal)

        for k in range(segments):
            mesh.face([corner(r0, y0, k, 1.0), corner(r0, y0, k + 1, 1.0),
                       corner(r1, y1, k + 1, 0.0), corner(r1, y1, k, 0.0)])
    return mesh


def _frames(centers: Sequence[Point], alongs: Sequence[Point]) -> list[tuple[Point, Point]]:
    """Two directions across a line at each of its points, turned as little as can be from one to
    the next, and all the way round by whole turns where the line comes back."""
    thin = min((0, 1, 2), key=lambda axis: abs(alongs[0][axis]))
    axis: Point = (float(thin == 0), float(thin == 1), float(thin == 2))
    outs = [unit(cross(alongs[0], axis))]
    for along in alongs[1:]:
        outs.append(unit(subtract(outs[-1], scale(along, dot(outs[-1], along)))))
    gap = 0.0
    back = subtract(centers[-1], centers[0])
    if dot(back, back) < 1e-9:
        gap = atan2_degrees(dot(cross(outs[-1], outs[0]), alongs[0]), dot(outs[-1], outs[0]))
    frames = []
    for i, (out, along) in enumerate(zip(outs, alongs)):
        turn = gap * i / (len(outs) - 1)
        side = cross(along, out)
        frames.append((add(scale(out, cos_degrees(turn)), scale(side, sin_degrees(turn))),
                       subtract(scale(out, sin_degrees(turn)), scale(side, cos_degrees(turn)))))
    return frames


def tube(mesh: Mesh, center: Callable[[float], Point], radius: Callable[[float], float],
         columns: int = 120, rows: int = 12, tiles: tuple[float, float] = (1.0, 1.0)) -> Mesh:
    """A tube around the line center(u), `radius(u)` thick, for u from 0 to 1, in `columns` rings of
    `rows` corners. A line that comes back to where it began has no seam.

    >>> from quorvale.exact import cos_turns, sin_turns
    >>> wheel = tube(Mesh(), lambda u: (cos_turns(u), sin_turns(u), 0), lambda u: 0.1)
    """
    if columns < 1 or rows < 3:
        raise ValueError(f"tube(): a tube has a ring at least and 3 corners around it, "
                         f"not {columns} and {rows}")
    step = 0.0005
    ends = [(subtract(center(i / columns + step), center(i / columns - step)),
             radius(i / columns + step) - radius(i / columns - step)) for i in range(columns + 1)]
    centers = [center(i / columns) for i in range(columns + 1)]
    alongs = [unit(end) for end, _ in ends]
    if (0.0, 0.0, 0.0) in alongs:
        raise ValueError(f"tube(): the line stands still at {alongs.index((0.0, 0.0, 0.0))} "
                         f"of {columns}")
    rings: list[list[Corner]] = []
    for i, (out, side) in enumerate(_frames(centers, alongs)):
        slope = ends[i][1] / math.sqrt(dot(ends[i][0], ends[i][0]))
        ring: list[Corner] = []
        for j in range(rows + 1):
            way = add(scale(out, cos_turns(j / rows)), scale(side, sin_turns(j / rows)))
            ring.append((add(centers[i], scale(way, radius(i / columns))),
                         (tiles[0] * i / columns, tiles[1] * j / rows),
                         unit(subtract(way, scale(alongs[i], slope)))))
        rings.append(ring)
    for i in range(columns):
        for j in range(rows):
            mesh.face([rings[i][j], rings[i + 1][j], rings[i + 1][j + 1], rings[i][j + 1]])
    return mesh


def knot(mesh: Mesh, radius: float = 1.0, thickness: float = 0.2, turns: int = 2, loops: int = 3,
         columns: int = 160, rows: int = 12) -> Mesh:
    """A knot about the z axis: it goes around `turns` times and through the middle `loops` times;
    the two have no common divisor."""
    if turns < 1 or loops < 1 or math.gcd(turns, loops) != 1:
        raise ValueError(f"knot(): turns and loops are 1 or more and have no common divisor, not "
                         f"{turns} and {loops}")

    def center(u: float) -> Point:
        out = radius * (1.0 + 0.42 * cos_turns(loops * u))
        return (out * cos_turns(turns * u), out * sin_turns(turns * u),
                0.55 * radius * sin_turns(loops * u))

    return tube(mesh, center, lambda u: thickness, columns, rows, (12.0 * turns, 2.0))
