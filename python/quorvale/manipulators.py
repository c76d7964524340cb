# SPDX-License-Identifier: MIT
"""Manipulators: one object many times, or bent.

    >>> columns = x_multiplier(12, step=(0, 0, -4))

Made by scripts/make-python-words out of the engine's vocabulary.
"""

from __future__ import annotations

from collections.abc import Sequence

from quorvale.curves import Value
from quorvale.scenes import Manipulator, Shape, make_manipulator
from quorvale.values import checked_triple


def xyz_multiplier(count: Sequence[Value], step: Sequence[Value] = (0, 0, 0),
                   turn: Sequence[Value] = (0, 0, 0),
                   scale: Sequence[Value] = (0, 0, 0)) -> Manipulator:
    """Copies in a grid; each axis has its own steps.

    - `count`: the number of copies, x, y and z, 0 to 1.04858e+06
    - `step`: the step of the position, x, y and z
    - `turn`: the step of the turn, in degrees, x, y and z
    - `scale`: the step of the scale, x, y and z
    """
    return make_manipulator("xyz_multiplier", (*checked_triple("xyz_multiplier", "count", count),
                                               *checked_triple("xyz_multiplier", "step", step),
                                               *checked_triple("xyz_multiplier", "turn", turn),
                                               *checked_triple("xyz_multiplier", "scale", scale)))


def x_multiplier(count: Value, step: Sequence[Value] = (0, 0, 0), turn: Sequence[Value] = (0, 0, 0),
                 scale: Sequence[Value] = (0, 0, 0)) -> Manipulator:
    """Copies in a row, each a whole step further.

    - `count`: the number of copies along x, 0 to 1.04858e+06
    - `step`: the step of the position, x, y and z
    - `turn`: the step of the turn, in degrees, x, y and z
    - `scale`: the step of the scale, x, y and z
    """
    return make_manipulator("x_multiplier", (count, *checked_triple("x_multiplier", "step", step),
                                             *checked_triple("x_multiplier", "turn", turn),
                                             *checked_triple("x_multiplier", "scale", scale)))


def rippler(time: Value = 0, amplitude: Value = 0.1, wavelength: Value = 1) -> Manipulator:
    """Bends the object by waves: each coordinate c becomes c + amplitude * cos(wavelength * c +
    time), in radians. So a wave is 6.28 / `wavelength` units long, and runs on while `time` grows.

    - `time`: the time
    - `amplitude`: the amplitude
    - `wavelength`: the number that is larger for shorter waves
    """
    return make_manipulator("rippler", (time, amplitude, wavelength))


def model_placer(mesh: Shape, position: Sequence[Value] = (0, 0, 0),
                 turn: Sequence[Value] = (0, 0, 0),
                 scale: Sequence[Value] = (1, 1, 1)) -> Manipulator:
    """A copy on every point of another mesh.

    - `mesh`: the model or generated mesh to place on
    - `position`: the position, x, y and z
    - `turn`: the turn, in degrees, x, y and z
    - `scale`: the scale, x, y and z
    """
    return make_manipulator("model_placer", (*checked_triple("model_placer", "position", position),
                                             *checked_triple("model_placer", "turn", turn),
                                             *checked_triple("model_placer", "scale", scale)), mesh)
