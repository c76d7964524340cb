# SPDX-License-Identifier: MIT
"""Items as their elements, for what the library's own words do not say.

The format allows more than the library does: numbers out of range, unknown types, materials without
the textures that they ask for. `dpk unbuild --python` writes such an item as its element:

    >>> from quorvale import Light
    >>> lamp = verbatim(Light, '<light><ambient/></light>')

References inside an element are ids, numbers that count items in the order in which they are made:
they stay right only in a document with `shared=False`, and while no item is put before others.
`Scene.verbatim` and `Row.verbatim` take the elements of objects and rows.
"""

from __future__ import annotations

from collections.abc import Callable
from dataclasses import replace
from typing import Any, TypeVar

from quorvale.curves import Curve, hold
from quorvale.facts import row
from quorvale.items import (Bitmap, Effect, GenMesh, Layer, Light, Material, Model, Texture)
from quorvale.scenes import Scene

_T = TypeVar("_T", Curve, Layer, Texture, Model, Light, Effect, Bitmap, Material, GenMesh, Scene)

_MAKERS: dict[type, Callable[..., Any]] = {
    Layer: lambda xml: Layer(row("generators", "color"), (), xml=xml),
    Texture: lambda xml: Texture(xml=xml),
    Model: lambda xml: Model("-", xml=xml),
    Light: lambda xml: Light(xml=xml),
    Effect: lambda xml: Effect(row("effects", "test"), (), xml=xml),
    Bitmap: lambda xml: Bitmap("-", xml=xml),
    Material: lambda xml: Material(row("recipes", "color"), (1.0, 1.0, 1.0), 1.0, None, (),
                                   xml=xml),
    GenMesh: lambda xml: GenMesh(row("genmeshes", "lake_water"), None, xml=xml),
    Scene: lambda xml: Scene(xml=xml),
    Curve: lambda xml: replace(hold(0), xml=xml),
}


def verbatim(kind: type[_T], xml: str) -> _T:
    """An item of a class of the library, written as the given element."""
    made: _T = _MAKERS[kind](xml)
    return made
