# SPDX-License-Identifier: MIT
"""Steps that textures go through, after `|`.

    >>> from quorvale import layers
    >>> layers.noise() | blur() | emboss(2)  # doctest: +ELLIPSIS
    Texture(...)

Layers are combined by `+`, `*`, `maximum` and `minimum` of a texture.

Made by scripts/make-python-words out of the engine's vocabulary.
"""

from __future__ import annotations

from quorvale.items import Step, make_step


def invert() -> Step:
    """255 less each byte."""
    return make_step("invert", ())


def scale(scale: float = 1) -> Step:
    """Every byte times a number, at most 255.

    - `scale`: the scale
    """
    return make_step("scale", (scale,))


def offset(rows: int = 0, columns: int = 0) -> Step:
    """Moves the image round its edges.

    - `rows`: the move in rows, -255 to 255
    - `columns`: the move in columns, -255 to 255
    """
    return make_step("offset", (rows, columns))


def ripple(amplitude_x: float = 0.05, amplitude_y: float = 0.05, waves_x: int = 2,
           waves_y: int = 2) -> Step:
    """Displaces the image by waves.

    - `amplitude_x`: the amplitude across, in image widths
    - `amplitude_y`: the amplitude down, in image widths
    - `waves_x`: the number of waves across
    - `waves_y`: the number of waves down
    """
    return make_step("ripple", (amplitude_x, amplitude_y, waves_x, waves_y))


def blur() -> Step:
    """The mean of 3 by 3 pixels; darkens by one."""
    return make_step("blur", ())


def emboss(direction: int = 1) -> Step:
    """Relief, lit from one of four corners.

    - `direction`: the direction, 1 to 4
    """
    return make_step("emboss", (direction,))


def convolution(m11: float = 0, m12: float = 0, m13: float = 0, m21: float = 0, m22: float = 1,
                m23: float = 0, m31: float = 0, m32: float = 0, m33: float = 0) -> Step:
    """The weighted sum of 3 by 3 pixels, from 0 to 255.

    - `m11`: the weight in row 1, column 1
    - `m12`: the weight in row 1, column 2
    - `m13`: the weight in row 1, column 3
    - `m21`: the weight in row 2, column 1
    - `m22`: the weight in row 2, column 2
    - `m23`: the weight in row 2, column 3
    - `m31`: the weight in row 3, column 1
    - `m32`: the weight in row 3, column 2
    - `m33`: the weight in row 3, column 3
    """
    return make_step("convolution", (m11, m12, m13, m21, m22, m23, m31, m32, m33))
