# SPDX-License-Identifier: MIT
"""Layers: generated images, the raw material of textures.

    >>> maze(size=3) * 0.5 + noise(seed=7)  # doctest: +ELLIPSIS
    Texture(...)

Made by scripts/make-python-words out of the engine's vocabulary.
"""

from __future__ import annotations

from quorvale.items import Layer, make_layer
from quorvale.values import BLACK, WHITE, ColorLike


def color(color: ColorLike = WHITE, *, name: str | None = None) -> Layer:
    """One color everywhere.

    - `color`: the color, 0 to 1
    """
    return make_layer("color", name, (color,))


def plasma(color: ColorLike = WHITE, *, repeat_x: float = 1, repeat_y: float = 1,
           name: str | None = None) -> Layer:
    """Waves across and down, added.

    - `color`: the color, 0 to 1
    - `repeat_x`: the number of waves across
    - `repeat_y`: the number of waves down
    """
    return make_layer("plasma", name, (color, repeat_x, repeat_y))


def radial(center: ColorLike = WHITE, *, margin: ColorLike = BLACK, inverse_radius: float = 1,
           offset: int = 0, name: str | None = None) -> Layer:
    """One color in the middle, another at the margin.

    - `center`: the color of the center, 0 to 1
    - `margin`: the color of the margin, 0 to 1
    - `inverse_radius`: the number of radii in half the image's side
    - `offset`: the radius of the plain center, at an inverse radius of 1, 0 to 127
    """
    return make_layer("radial", name, (center, margin, inverse_radius, offset))


def maze(color: ColorLike = WHITE, *, size: int = 4, field: int = 1, fullness: float = 0.5,
         name: str | None = None) -> Layer:
    """Soft blobs that tile, the same for the same field.

    - `color`: the color, 0 to 1
    - `size`: the size of the cells, 1 to 7
    - `field`: the number of the field
    - `fullness`: the fullness, 0 to 1
    """
    return make_layer("maze", name, (color, size, field, fullness))


def bricks(color: ColorLike = WHITE, *, wall: ColorLike = BLACK, courses: int = 8, bricks: int = 4,
           course_margin: int = 2, brick_margin: int = 2, shift: int = 32,
           name: str | None = None) -> Layer:
    """A wall of bricks.

    - `color`: the color of the bricks, 0 to 1
    - `wall`: the color of the wall, 0 to 1
    - `courses`: the number of courses, at least 1
    - `bricks`: the number of bricks in a course, at least 1
    - `course_margin`: the wall between courses, in pixels, at least 0
    - `brick_margin`: the wall between bricks, in pixels, at least 0
    - `shift`: the offset of every second course, in pixels, 0 to 255
    """
    return make_layer("bricks", name, (color, wall, courses, bricks, course_margin, brick_margin,
                                       shift))


def noise(color: ColorLike = WHITE, *, seed: int = 1, name: str | None = None) -> Layer:
    """A random gray for each pixel, the same for the same seed.

    - `color`: the color, 0 to 1
    - `seed`: the number of the noise
    """
    return make_layer("noise", name, (color, seed))
