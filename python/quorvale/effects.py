# SPDX-License-Identifier: MIT
"""2D effects: textures that are computed anew in each picture.

    >>> from quorvale import line
    >>> sky = plasma(line(0, 40, 800), size=256)

Made by scripts/make-python-words out of the engine's vocabulary.
"""

from __future__ import annotations

from quorvale.curves import Value
from quorvale.items import Effect, EffectSize, make_effect


def test(first: Value | None = None, second: Value | None = None, *, size: EffectSize = 128,
         gray: bool = False, name: str | None = None) -> Effect:
    """A gradient, for finding faults.

    - `first`: the first value, a curve or a number
    - `second`: the second value, a curve or a number
    - `size`: the side in pixels
    - `gray`: one byte a pixel, not three
    """
    return make_effect("test", name, size, gray, (first, second))


def plasma(step: Value | None = None, *, size: EffectSize = 128, gray: bool = False,
           name: str | None = None) -> Effect:
    """A warped plasma.

    - `step`: the phase, a curve or a number
    - `size`: the side in pixels
    - `gray`: one byte a pixel, not three
    """
    return make_effect("plasma", name, size, gray, (step,))


def amoba(update: Value | None = None, *, size: EffectSize = 128, gray: bool = False,
          name: str | None = None) -> Effect:
    """Growing cells: a step for each whole number that `update` passes.

    - `update`: the number of steps, a curve or a number
    - `size`: the side in pixels
    - `gray`: one byte a pixel, not three
    """
    return make_effect("amoba", name, size, gray, (update,))


def rotate(step: Value | None = None, *, size: EffectSize = 128, gray: bool = False,
           name: str | None = None) -> Effect:
    """A turning plasma.

    - `step`: the phase, a curve or a number
    - `size`: the side in pixels
    - `gray`: one byte a pixel, not three
    """
    return make_effect("rotate", name, size, gray, (step,))
