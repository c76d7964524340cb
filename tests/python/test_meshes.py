# SPDX-License-Identifier: MIT
"""Meshes that code makes: which way their faces look, and what they refuse."""

import pytest

from quorvale.exact import cos_turns, sin_turns
from quorvale.fonts import Font
from quorvale.meshes import (Mesh, box, cross, dot, icosphere, knot, lathe, sphere, square, subtract,
                             torus, tube)


def numbers(line):
    return tuple(map(float, line.split()))


def faces(mesh):
    """Positions and normals of all corners of each face."""
    positions, _, normals = ([numbers(text) for text in texts] for texts in mesh.lists)
    return [([positions[v - 1] for v, _, _ in face], [normals[n - 1] for _, _, n in face])
            for face in mesh.faces]


def wheel(mesh):
    tube(mesh, lambda u: (3 * cos_turns(u), 3 * sin_turns(u), 0.0), lambda u: 0.2)


def ball(mesh):
    mesh.smooth(*icosphere(2))


@pytest.mark.parametrize("make", (square, sphere, torus, knot, wheel, ball,
                                  lambda mesh: lathe(mesh, [(0, 0), (1, 0), (0.5, 2)], 12),
                                  lambda mesh: box(mesh, (-1, -2, -3), (1, 2, 3))))
def test_faces_turn_to_where_their_normals_point(make):
    mesh = Mesh()
    make(mesh)
    made = faces(mesh)
    assert made
    for corners, normals in made:
        turned = cross(subtract(corners[1], corners[0]), subtract(corners[2], corners[0]))
        for normal in normals:
            assert abs(dot(normal, normal) - 1.0) < 2e-4  # four digits are written
            assert dot(turned, normal) > 0.0


@pytest.mark.parametrize("make", (sphere, ball, lambda mesh: box(mesh, (-1, -1, -1), (1, 1, 1))))
def test_normals_point_outward(make):
    mesh = Mesh()
    make(mesh)
    for corners, normals in faces(mesh):
        assert all(dot(corner, normal) > 0.0 for corner, normal in zip(corners, normals))


def test_the_normals_of_a_ring_point_out_of_its_tube():
    for make, middle in ((wheel, 3.0), (torus, 1.0)):
        mesh = Mesh()
        make(mesh)
        for corners, normals in faces(mesh):
            for (x, y, z), normal in zip(corners, normals):
                flat = (x, y, 0.0) if make is wheel else (x, 0.0, z)
                length = dot(flat, flat) ** 0.5
                center = tuple(middle * c / length for c in flat)
                assert dot(subtract((x, y, z), center), normal) > 0.0


def test_letters_face_the_reader():
    mesh = Font.find("DejaVuSans").mesh("Qo", height=1)
    assert all(normal == (0.0, 0.0, 1.0) for _, normals in faces(mesh) for normal in normals)


def test_a_knot_is_one_line():
    with pytest.raises(ValueError, match="no common divisor, not 2 and 4"):
        knot(Mesh(), turns=2, loops=4)


def test_tubes_lead_anywhere():
    for center in (lambda u: (0.0, 0.0, -9.0 * u), lambda u: (0.0, 5.0 * u, 0.0),
                   lambda u: (u, u * u, 1.0 - u)):
        for (corners, normals) in faces(tube(Mesh(), center, lambda u: 0.1 + 0.2 * u, 20, 8)):
            turned = cross(subtract(corners[1], corners[0]), subtract(corners[2], corners[0]))
            assert all(dot(turned, normal) > 0.0 for normal in normals)
    with pytest.raises(ValueError, match=r"tube\(\): the line stands still at 0 of 120"):
        tube(Mesh(), lambda u: (1.0, 2.0, 3.0), lambda u: 1.0)


def test_a_closed_tube_has_no_seam():
    mesh = knot(Mesh(), columns=50, rows=6)
    assert len(mesh.lists[0]) == 50 * 6


def test_corners_that_are_no_polygon_are_refused():
    with pytest.raises(ValueError, match="3 corners at least, not 2"):
        Mesh().flat([(0, 0, 0), (1, 0, 0)])
    with pytest.raises(ValueError, match=r"points by their numbers, 0 to 2, not as in \(0, 1, 3\)"):
        Mesh().smooth([(0, 0, 0), (1, 0, 0), (0, 1, 0)], [(0, 1, 3)])
    with pytest.raises(TypeError, match=r'"positions" is .* not .*\(0, nan, 0\)'):
        Mesh().flat([(0, 0, 0), (1, 0, 0), (0, float("nan"), 0)])
