# SPDX-License-Identifier: MIT
"""A loading screen for those who want none of their own.

    >>> from quorvale import Color
    >>> screen = loading_bar(Color.hex("#ff9933"))
    >>> screen.text().count("<clip ")
    1
"""

from __future__ import annotations

from quorvale import recipes, waters
from quorvale.cameras import FLAT
from quorvale.curves import line
from quorvale.document import Document
from quorvale.music import Music
from quorvale.scenes import Scene
from quorvale.values import ColorLike


def loading_bar(color: ColorLike = (0.9, 0.6, 0.2), music: str | Music | None = None) -> Document:
    """A bar that grows from left to right while the piece is built: ticks 0 to 100 of progress."""
    scene = Scene(name="bar")
    # A grid of 29 by 29, seen from above, needs no file.
    scene.add(waters.centerwave_water(), recipes.color_on_top(color), position=(0.0, 0.48, 0.0),
              rotation=(-90.0, 0.0, 0.0), scale=(line(0.0, 1.0 / 29.0, 100), 0.01, 0.04 / 29.0))
    document = Document(music)
    document.row(0).show(scene, FLAT, 0, 101)
    return document
