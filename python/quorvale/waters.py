# SPDX-License-Identifier: MIT
"""Generated meshes: water.

    >>> from quorvale import line
    >>> lake = lake_water(line(0, 80, 800))

Made by scripts/make-python-words out of the engine's vocabulary.
"""

from __future__ import annotations

from quorvale.curves import Value
from quorvale.items import GenMesh, make_genmesh


def lake_water(time: Value | None = None, *, name: str | None = None) -> GenMesh:
    """A lake with drops: a step for each whole number that `time` passes."""
    return make_genmesh("lake_water", name, time)


def centerwave_water(time: Value | None = None, *, name: str | None = None) -> GenMesh:
    """Rings from the middle; `time` is their phase in radians."""
    return make_genmesh("centerwave_water", name, time)
