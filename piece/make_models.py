#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""Makes the models of the piece: OBJ files, for dpk to import.

    make_models.py [folder]      the folder defaults to that of this script

Every file comes out with the same bytes on every machine; see quorvale.exact.

A bitmap's first row lies at v = 0, so v runs downward here. Faces wind counter-clockwise seen from
where their normals point to, though nothing counts on it.
"""

import math
import os
import sys

sys.path.insert(0, os.path.join(os.path.dirname(os.path.abspath(__file__)), "../python"))

from quorvale.exact import Noise, cos_degrees, cos_turns, power, sin_degrees, sin_turns
from quorvale.fonts import Font
from quorvale.images import mix
from quorvale.meshes import (Mesh, add, box, cross, dot, icosphere, lathe, scale, square, subtract,
                             unit)

MADE = "made by make_models.py"


def beam(mesh, a, b, width):
    """A bar of three sides from a to b, open at its ends."""
    along = unit(subtract(b, a))
    side = unit(cross(along, (0.31, 0.89, 0.33)))
    up = cross(side, along)
    corners = [add(scale(side, width * s), scale(up, width * u))
               for s, u in ((-1.2, -0.7), (1.2, -0.7), (0.0, 1.4))]
    for k in range(3):
        c0 = corners[k]
        c1 = corners[(k + 1) % 3]
        mesh.flat([add(a, c0), add(b, c0), add(b, c1), add(a, c1)])


# ---------------------------------------------------------------------------------------------
# Models


def make_knot():
    """A torus knot, its tube swelling six times."""
    mesh = Mesh()

    def centre(t):
        r = 1.0 + 0.42 * cos_turns(3.0 * t)
        return (r * cos_turns(2.0 * t), r * sin_turns(2.0 * t), 0.55 * sin_turns(3.0 * t))

    def tube(u, v):
        along = unit(subtract(centre(u + 0.001), centre(u - 0.001)))
        out = unit(cross(along, cross(centre(u), along)))
        side = cross(along, out)
        radius = 0.17 + 0.05 * cos_turns(12.0 * u)
        return add(centre(u), add(scale(out, radius * cos_turns(v)),
                                  scale(side, radius * sin_turns(v))))

    mesh.surface(tube, 200, 12, tiles=(24.0, 2.0))
    return mesh


def make_crystal():
    """A bevelled star of seven points, drawn out to both sides and twisted."""
    mesh = Mesh()
    levels = [(-1.0, 0.0), (-0.86, 0.34)]
    levels += [(-0.86 + 1.72 * k / 10, 0.34 + 0.16 * sin_turns(k / 20)) for k in range(1, 10)]
    levels += [(0.86, 0.34), (1.0, 0.0)]

    def ring(level):
        y, radius = level
        points = []
        for k in range(14):
            turn = k / 14 + 0.22 * y
            r = radius * (1.0 if k % 2 == 0 else 0.62)
            points.append((r * cos_turns(turn), y, r * sin_turns(turn)))
        return points

    rings = [ring(level) for level in levels]
    for j in range(len(rings) - 1):
        for k in range(14):
            n = (k + 1) % 14
            quad = [rings[j][n], rings[j][k], rings[j + 1][k], rings[j + 1][n]]
            across = (k / 2.0, (k + 1) / 2.0)
            down = (1.0 - j / 12.0, 1.0 - (j + 1) / 12.0)
            mesh.flat(quad, [(across[1], down[0]), (across[0], down[0]), (across[0], down[1]),
                             (across[1], down[1])])
    return mesh


def make_shard():
    """A plain crystal of six sides, for where there are many."""
    mesh = Mesh()

    def corner(k, y):
        return (0.5 * cos_turns(k / 6), y, 0.5 * sin_turns(k / 6))

    for k in range(6):
        mesh.flat([corner(k + 1, -0.7), corner(k, -0.7), corner(k, 0.6), corner(k + 1, 0.6)])
        mesh.flat([corner(k + 1, 0.6), corner(k, 0.6), (0.0, 1.0, 0.0)])
        mesh.flat([corner(k, -0.7), corner(k + 1, -0.7), (0.0, -1.0, 0.0)])
    return mesh


def superformula(turn, m, n1, n2, n3):
    a = power(abs(cos_turns(m * turn / 4.0)), n2)
    b = power(abs(sin_turns(m * turn / 4.0)), n3)
    return power(a + b, -1.0 / n1)


def make_blossom():
    """Two superformulas multiplied: a body with six soft ribs."""
    mesh = Mesh()

    def point(u, v):
        latitude = (v - 0.5) * 0.4999
        r1 = superformula(u, 6.0, 1.6, 1.1, 1.3)
        r2 = superformula(latitude, 4.0, 2.4, 1.5, 1.5)
        flat = r1 * cos_turns(latitude) * r2
        return (flat * cos_turns(u), r2 * sin_turns(latitude), -flat * sin_turns(u))

    mesh.surface(point, 78, 30, tiles=(6.0, 3.0))
    return mesh


def make_gear():
    """A wheel of 24 teeth in the plane z = 0, with six spokes and a hub."""
    mesh = Mesh()
    teeth = 24
    outline = []
    for k in range(teeth):
        for part, radius in ((0.30, 0.86), (0.40, 1.0), (0.74, 1.0), (0.84, 0.86)):
            outline.append((radius, (k + part) / teeth))

    def at(radius, turn, z):
        return (radius * cos_turns(turn), radius * sin_turns(turn), z)

    def rim(outer, inner, half, bevel):
        """A ring between two outlines of (radius, turn)."""
        count = len(outer)
        for k in range(count):
            (r0, t0), (r1, t1) = outer[k], outer[(k + 1) % count]
            (s0, q0), (s1, q1) = inner[k], inner[(k + 1) % count]
            t1 += 1.0 if t1 < t0 else 0.0
            q1 += 1.0 if q1 < q0 else 0.0
            for z in (half, -half):
                edge = half - bevel if z > 0.0 else bevel - half
                mesh.flat([at(s0, q0, z), at(r0 - bevel, t0, z), at(r1 - bevel, t1, z),
                           at(s1, q1, z)][:: 1 if z > 0.0 else -1])
                mesh.flat([at(r0 - bevel, t0, z), at(r0, t0, edge), at(r1, t1, edge),
                           at(r1 - bevel, t1, z)][:: 1 if z > 0.0 else -1])
            mesh.flat([at(r0, t0, half - bevel), at(r0, t0, bevel - half),
                       at(r1, t1, bevel - half), at(r1, t1, half - bevel)])
            mesh.flat([at(s1, q1, half), at(s1, q1, -half), at(s0, q0, -half), at(s0, q0, half)])

    rim(outline, [(0.68, turn) for _, turn in outline], 0.12, 0.025)
    rim([(0.26, k / 24) for k in range(24)], [(0.11, k / 24) for k in range(24)], 0.17, 0.03)
    for k in range(6):
        turn = k / 6
        along = (cos_turns(turn), sin_turns(turn), 0.0)
        side = (-along[1], along[0], 0.0)

        def spoke(r, w, z):
            return add(add(scale(along, r), scale(side, w)), (0.0, 0.0, z))

        for z in (0.08, -0.08):
            mesh.flat([spoke(0.24, -0.09, z), spoke(0.70, -0.055, z), spoke(0.70, 0.055, z),
                       spoke(0.24, 0.09, z)][:: 1 if z > 0.0 else -1])
        mesh.flat([spoke(0.24, 0.09, 0.08), spoke(0.70, 0.055, 0.08), spoke(0.70, 0.055, -0.08),
                   spoke(0.24, 0.09, -0.08)])
        mesh.flat([spoke(0.24, -0.09, -0.08), spoke(0.70, -0.055, -0.08), spoke(0.70, -0.055, 0.08),
                   spoke(0.24, -0.09, 0.08)])
    return mesh


def make_arcade():
    """One bay of an arcade: two fluted columns 6 apart and the round arch on them, 4 deep."""
    mesh = Mesh()
    column = [(0.62, 0.0), (0.62, 0.22), (0.54, 0.30), (0.46, 0.42), (0.40, 4.0), (0.46, 4.06),
              (0.46, 4.14), (0.60, 4.42)]
    for x in (-3.0, 3.0):
        lathe(mesh, column, 16, flutes=8, flute_depth=0.14, center=(x, 0.0, 0.0))
        box(mesh, (x - 0.66, 4.42, -0.66), (x + 0.66, 4.72, 0.66))
        box(mesh, (x - 0.72, -0.25, -0.72), (x + 0.72, 0.0, 0.72))

    def at(radius, k, z):
        return (radius * cos_turns(k / 32.0), 4.72 + radius * sin_turns(k / 32.0), z)

    for k in range(16):
        for r, z in ((2.5, 0.5), (2.62, 0.58)):
            top = 2.62 if r == 2.5 else 3.5
            mesh.flat([at(r, k, z), at(top, k, z), at(top, k + 1, z), at(r, k + 1, z)])
            mesh.flat([at(r, k + 1, -z), at(top, k + 1, -z), at(top, k, -z), at(r, k, -z)])
        mesh.flat([at(2.5, k, -0.5), at(2.5, k, 0.5), at(2.5, k + 1, 0.5), at(2.5, k + 1, -0.5)])
        mesh.flat([at(2.62, k, 0.5), at(2.62, k, 0.58), at(2.62, k + 1, 0.58),
                   at(2.62, k + 1, 0.5)])
        mesh.flat([at(3.5, k, 0.58), at(3.5, k, -0.58), at(3.5, k + 1, -0.58),
                   at(3.5, k + 1, 0.58)])
    box(mesh, (-0.3, 7.2, 0.58), (0.3, 8.3, 0.74))
    box(mesh, (-0.3, 7.2, -0.74), (0.3, 8.3, -0.58))
    for x in (-3.0, 3.0):
        box(mesh, (x - 0.3, 4.72, -2.0), (x + 0.3, 5.05, 2.0))
    return mesh


def make_tower():
    """A lattice mast, 8 high and 2 wide at its foot, on four legs."""
    mesh = Mesh()
    levels = 5

    def half(level):
        return 1.0 - 0.74 * power(level / levels, 0.8)

    def node(level, k):
        x, z = ((-1.0, -1.0), (1.0, -1.0), (1.0, 1.0), (-1.0, 1.0))[k % 4]
        return (x * half(level), 6.88 * level / levels, z * half(level))

    for level in range(levels):
        width = 0.056 - 0.005 * level
        for k in range(4):
            beam(mesh, node(level, k), node(level + 1, k), width)
            beam(mesh, node(level + 1, k), node(level + 1, k + 1), 0.6 * width)
            beam(mesh, node(level, k), node(level + 1, k + 1), 0.45 * width)
            beam(mesh, node(level, k + 1), node(level + 1, k), 0.45 * width)
    for k in range(4):
        beam(mesh, node(levels, k), (0.0, 8.4, 0.0), 0.02)
    beam(mesh, (0.0, 6.88, 0.0), (0.0, 9.4, 0.0), 0.025)
    box(mesh, (-0.34, 6.82, -0.34), (0.34, 6.9, 0.34))
    return mesh


def make_terrain():
    """A valley 64 wide, hills on both sides; its length of 32 joins to itself."""
    mesh = Mesh()
    noise = Noise(20011)
    period = 32
    lattice = [[noise.next() for _ in range(period)] for _ in range(2 * period)]

    def smooth(t):
        return t * t * (3.0 - 2.0 * t)

    def value(x, z, cells):
        """Value noise that repeats after `cells` along z."""
        i = math.floor(x)
        j = math.floor(z)
        fx = smooth(x - i)
        fz = smooth(z - j)

        def knot(a, b):
            return lattice[(a + 512) % (2 * period)][b % cells]

        near = knot(i, j) + (knot(i + 1, j) - knot(i, j)) * fx
        far = knot(i, j + 1) + (knot(i + 1, j + 1) - knot(i, j + 1)) * fx
        return near + (far - near) * fz

    def height(x, z):
        ridge = 0.0
        size = 1.0
        for cells in (4, 8, 16, 32):
            k = cells / 32.0
            ridge += size * (1.0 - abs(2.0 * value(x * k + cells, z * k, cells) - 1.0))
            size *= 0.5
        side = min(abs(x) / 32.0, 1.0)
        rise = smooth(min(max((side - 0.10) / 0.55, 0.0), 1.0))
        return rise * (3.2 * ridge - 1.6) + 0.22 * ridge * (1.0 - rise) - 0.4

    def point(u, v):
        bent = 2.0 * u - 1.0
        x = 32.0 * bent * (0.45 + 0.55 * abs(bent))
        return (x, height(x, 32.0 * v), 32.0 * v - 32.0)

    def normal(u, v):
        x = point(u, v)[0]
        z = 32.0 * v
        d = 0.25
        return (height(x - d, z) - height(x + d, z), 2.0 * d, height(x, z - d) - height(x, z + d))

    mesh.surface(point, 44, 26, tiles=(16.0, 8.0), normal_of=normal)
    return mesh


def sphere_coordinates(p):
    """Texture coordinates without a seam: those of a picture seen from above and from below."""
    return (0.5 + 0.5 * p[0], 0.5 - 0.5 * p[1])


def make_ember(fineness=3):
    """A sphere with slight hollows, smooth."""
    mesh = Mesh()
    points, faces = icosphere(fineness)

    def radius(p):
        return 1.0 + 0.035 * sin_turns(1.9 * p[0] + 0.7 * p[1]) * sin_turns(1.7 * p[1] + p[2])

    mesh.smooth([scale(p, radius(p)) for p in points], faces,
                [sphere_coordinates(p) for p in points])
    return mesh


def make_shell():
    """A ball of 42 cells, pentagons and hexagons, each a thick frame about a hole."""
    mesh = Mesh()
    points, faces = icosphere(1)
    centres = [unit(add(add(points[a], points[b]), points[c])) for a, b, c in faces]
    around = [[] for _ in points]
    for number, face in enumerate(faces):
        for corner in range(3):
            around[face[corner]].append((number, face[(corner + 1) % 3], face[(corner + 2) % 3]))

    noise = Noise(7)
    for cell, point in enumerate(points):
        chain = [around[cell][0]]
        while len(chain) < len(around[cell]):
            chain.append(next(f for f in around[cell] if f[1] == chain[-1][2]))
        outline = [centres[f[0]] for f in chain]
        hole = 0.58 + 0.22 * noise.next()
        high = 1.03 + 0.05 * noise.next()
        count = len(outline)
        for k in range(count):
            a, b = outline[k], outline[(k + 1) % count]
            gap_a, gap_b = mix(point, a, 0.95), mix(point, b, 0.95)
            ridge_a, ridge_b = mix(point, a, 0.86), mix(point, b, 0.86)
            hole_a, hole_b = mix(point, a, hole), mix(point, b, hole)
            rows = [(scale(gap_a, 0.97), scale(gap_b, 0.97)),
                    (scale(ridge_a, high), scale(ridge_b, high)),
                    (scale(hole_a, high), scale(hole_b, high)),
                    (scale(hole_a, 0.94), scale(hole_b, 0.94)),
                    (scale(gap_a, 0.94), scale(gap_b, 0.94))]
            for (p, q), (r, s) in zip(rows, rows[1:]):
                quad = [p, q, s, r]
                mesh.flat(quad, [sphere_coordinates(unit(corner)) for corner in quad])
    return mesh


def make_stars():
    """Squares strewn over a ball of radius 1 that face its middle; most are small."""
    mesh = Mesh()
    noise = Noise(4711)
    while len(mesh.faces) < 200:
        p = (noise.between(-1.0, 1.0), noise.between(-1.0, 1.0), noise.between(-1.0, 1.0))
        if not 0.05 < dot(p, p) < 1.0:
            continue
        p = unit(p)
        size = 0.007 + 0.022 * power(noise.next(), 4.0)
        across = scale(unit(cross(p, (0.3, 0.9, 0.2))), size)
        up = scale(unit(cross(across, p)), size)
        mesh.flat([add(p, add(scale(across, a), scale(up, b)))
                   for a, b in ((-1.0, -1.0), (1.0, -1.0), (1.0, 1.0), (-1.0, 1.0))],
                  [(0.0, 0.0), (1.0, 0.0), (1.0, 1.0), (0.0, 1.0)])
    return mesh


def make_tread():
    """A step of a winding stair about the y axis: from 0.5 to 2.4 along x, thinner outside."""
    mesh = Mesh()

    def section(x, half_width, thick):
        return [(x, -thick, -half_width), (x, -thick, half_width), (x, 0.0, half_width + 0.03),
                (x, 0.06, half_width), (x, 0.06, -half_width), (x, 0.0, -half_width - 0.03)]

    sections = [section(0.5, 0.10, 0.10), section(0.6, 0.13, 0.12), section(2.3, 0.34, 0.05),
                section(2.4, 0.31, 0.03)]
    for a, b in zip(sections, sections[1:]):
        for k in range(6):
            mesh.flat([a[k], b[k], b[(k + 1) % 6], a[(k + 1) % 6]])
    mesh.flat(sections[0])
    mesh.flat(sections[-1][::-1])
    return mesh


def make_ring():
    """A flat hoop of radius 1 in the plane y = 0, its edge notched 32 times."""
    mesh = Mesh()
    for k in range(64):
        notched = k % 2
        inner, half = (0.955, 0.012) if notched else (0.94, 0.022)

        def at(r, y, turn):
            return (r * cos_turns(turn / 64), y, -r * sin_turns(turn / 64))

        section = [(inner, -half), (1.0, -half), (1.0, half), (inner, half)]
        for j in range(4):
            (r0, y0), (r1, y1) = section[j], section[(j + 1) % 4]
            mesh.flat([at(r0, y0, k + 1), at(r1, y1, k + 1), at(r1, y1, k), at(r0, y0, k)])
        if not notched:  # whose own ends are hidden
            mesh.flat([at(r, y, k) for r, y in section[::-1]])
            mesh.flat([at(r, y, k + 1) for r, y in section])
    return mesh


def make_dome():
    """A sphere seen from inside."""
    mesh = Mesh()

    def point(u, v):
        latitude = 0.25 - 0.5 * v
        return (cos_turns(latitude) * cos_turns(u), sin_turns(latitude),
                cos_turns(latitude) * sin_turns(u))

    mesh.surface(point, 32, 16, tiles=(4.0, 1.0), normal_of=lambda u, v: scale(point(u, v), -1.0))
    return mesh


def make_floor():
    """The square from -1 to 1 in the plane y = 0, fine enough to be lit."""
    mesh = Mesh()
    mesh.surface(lambda u, v: (2.0 * u - 1.0, 0.0, 2.0 * v - 1.0), 24, 24, tiles=(8.0, 8.0),
                 normal_of=lambda u, v: (0.0, 1.0, 0.0))
    return mesh


def make_wedge():
    """A mark at the top of a dial of radius 1; five degrees, with a gap beside the next one."""
    mesh = Mesh()
    corners = [(0.86, 1.7), (0.86, -1.7), (1.0, -1.7), (1.0, 1.7)]
    mesh.flat([(r * sin_degrees(a), r * cos_degrees(a), 0.0) for r, a in corners])
    return mesh


# ---------------------------------------------------------------------------------------------
# Letters: strokes about a middle line, 1 high

WEIGHT = 0.068  # half a stroke's width


def arc(cx, cy, rx, ry, start, end, steps):
    return [(cx + rx * cos_degrees(start + (end - start) * k / steps),
             cy + ry * sin_degrees(start + (end - start) * k / steps)) for k in range(steps + 1)]


LOW = WEIGHT
HIGH = 1.0 - WEIGHT
BOWL = arc(0.45, 0.70, 0.33, 0.232, 90.0, -90.0, 12)
OVAL = arc(0.50, 0.50, 0.43, HIGH - 0.5, 90.0, 450.0, 40)[:-1]

# letter: (width, [(closed, points), ...])
LETTERS = {
    "A": (0.96, [(False, [(0.02, 0.0), (0.48, 0.86), (0.94, 0.0)]),
                 (False, [(0.20, 0.27), (0.76, 0.27)])]),
    "E": (0.78, [(False, [(0.76, HIGH), (0.10, HIGH), (0.10, LOW), (0.76, LOW)]),
                 (False, [(0.12, 0.51), (0.66, 0.51)])]),
    "L": (0.74, [(False, [(0.10, 1.0), (0.10, LOW), (0.72, LOW)])]),
    "O": (1.00, [(True, OVAL)]),
    "Q": (1.00, [(True, OVAL), (False, [(0.56, 0.30), (0.96, -0.07)])]),
    "R": (0.86, [(False, [(0.10, 0.0), (0.10, HIGH), (0.45, HIGH)] + BOWL[1:] + [(0.12, 0.468)]),
                 (False, [(0.44, 0.46), (0.80, 0.0)])]),
    "U": (0.92, [(False, [(0.10, 1.0), (0.10, 0.43)] +
                  arc(0.46, 0.43, 0.36, 0.362, 180.0, 360.0, 20) + [(0.82, 1.0)])]),
    "V": (0.96, [(False, [(0.02, 1.0), (0.48, 0.14), (0.94, 1.0)])]),
}
SPACING = 0.26


def stroke_sides(points, closed, width):
    """The two edges of a stroke, mitred."""

    def normal(i, j):
        dx = points[j][0] - points[i][0]
        dy = points[j][1] - points[i][1]
        length = math.sqrt(dx * dx + dy * dy)
        return (-dy / length, dx / length)

    points = [p for i, p in enumerate(points)
              if i == 0 or abs(p[0] - points[i - 1][0]) + abs(p[1] - points[i - 1][1]) > 1e-6]
    count = len(points)
    left, right = [], []
    for i in range(count):
        before = normal(i - 1, i) if closed or i > 0 else normal(i, i + 1)
        after = normal(i, (i + 1) % count) if closed or i < count - 1 else before
        k = width / (1.0 + before[0] * after[0] + before[1] * after[1])
        offset = ((before[0] + after[0]) * k, (before[1] + after[1]) * k)
        left.append((points[i][0] + offset[0], points[i][1] + offset[1]))
        right.append((points[i][0] - offset[0], points[i][1] - offset[1]))
    return left, right


def solid_stroke(mesh, points, closed, origin, depth):
    bevel = 0.028
    left, right = stroke_sides(points, closed, WEIGHT)
    left_in, right_in = stroke_sides(points, closed, WEIGHT - bevel)
    count = len(left)
    front = depth / 2.0
    edge = front - bevel

    def at(p, z):
        return (p[0] - origin, p[1] - 0.5, z)

    def section(i):
        return [at(right_in[i], front), at(right[i], edge), at(right[i], -edge),
                at(right_in[i], -front), at(left_in[i], -front), at(left[i], -edge),
                at(left[i], edge), at(left_in[i], front)]

    def coordinates(p):
        return (p[0] + 0.5 + 0.3 * p[2], 0.5 - p[1] + 0.3 * p[2])

    sections = [section(i) for i in range(count)]
    for i in range(count if closed else count - 1):
        a = sections[i]
        b = sections[(i + 1) % count]
        for k in range(8):
            quad = [a[k], a[(k + 1) % 8], b[(k + 1) % 8], b[k]]
            mesh.flat(quad, [coordinates(p) for p in quad])
    if not closed:
        for end in (sections[0][::-1], sections[-1]):
            mesh.flat(end, [coordinates(p) for p in end])


def make_letter(letter):
    """A solid letter 1 high, its middle in the origin, facing z."""
    mesh = Mesh()
    width, strokes = LETTERS[letter]
    for closed, points in strokes:
        solid_stroke(mesh, points, closed, width / 2.0, 0.26)
    return mesh


TITLE = "QUORVALE"
LINES = {
    "words_real_time": "A PIECE IN REAL TIME",
    "words_no_shaders": "NO SHADERS",
    "words_only_light": "ONLY LIGHT",
}

MODELS = {
    "knot": make_knot,
    "crystal": make_crystal,
    "shard": make_shard,
    "blossom": make_blossom,
    "gear": make_gear,
    "arcade": make_arcade,
    "tower": make_tower,
    "terrain": make_terrain,
    "ember": make_ember,
    "heart": lambda: make_ember(4),
    "shell": make_shell,
    "stars": make_stars,
    "tread": make_tread,
    "ring": make_ring,
    "dome": make_dome,
    "floor": make_floor,
    "square": lambda: square(Mesh()),
    "wedge": make_wedge,
}


def main():
    folder = sys.argv[1] if len(sys.argv) > 1 else os.path.dirname(os.path.abspath(__file__))
    for name, make in MODELS.items():
        make().write(os.path.join(folder, name + ".obj"), MADE)
    for letter in TITLE:
        make_letter(letter).write(
            os.path.join(folder, "letter_" + letter.lower() + ".obj"), MADE)
    font = Font.find("DejaVuSans-Bold")
    for name, text in LINES.items():
        font.mesh(text).write(os.path.join(folder, name + ".obj"), MADE)


if __name__ == "__main__":
    main()
