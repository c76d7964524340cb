# SPDX-License-Identifier: MIT
"""Pieces for quorvale, written in Python.

What moves are `Curve`s, made by `hold`, `line`, `ease_in`, `wave`, `spline` and others. Textures
are expressions of `layers` and `steps`; materials are functions of `recipes`. A `Scene` holds
objects, a `Document` shows scenes on rows of clips through `Camera`s and writes the text that
`dpk build` packs.

    from quorvale import Document, FLAT, Model, Scene, line, recipes

    scene = Scene()
    scene.add(Model("square.obj"), recipes.color((1, 0.5, 0)), position=(line(0, 1, 200), 0.5, 0))
    demo = Document(music="tune.xm")
    demo.row(0).show(scene, FLAT, 0, 200)
    demo.write("demo.xml")

All times are ticks of 10 ms. Anything out of range is a ValueError where it is made.
"""

import sys as _sys

from quorvale import (arguments as _arguments, cameras as _cameras, curves as _curves,
                      document as _document, effects, exact as _exact, fonts as _fonts,
                      images as _images, items as _items, layers, loading as _loading,
                      manipulators, meshes as _meshes, music as _music, recipes,
                      scenes as _scenes, sounds as _sounds, steps, tracker as _tracker,
                      values as _values, waters)
from quorvale.cameras import FLAT, Camera, look, orbit, path
from quorvale.curves import (Curve, Value, ease, ease_in, ease_out, hold, levels, line, ring_down,
                             seconds, span, spline, wave)
from quorvale.document import Clip, Document, Fog, Row
from quorvale.items import (Bitmap, Effect, GenMesh, Layer, Light, Material, Model, Texture,
                            material)
from quorvale.music import Music
from quorvale.scenes import Manipulator, Scene
from quorvale.values import BLACK, WHITE, Color, ColorLike, Vector

__all__ = [
    "BLACK", "Bitmap", "Camera", "Clip", "Color", "ColorLike", "Curve", "Document", "Effect",
    "FLAT", "Fog", "GenMesh", "Layer", "Light", "Manipulator", "Material", "Model", "Music", "Row",
    "Scene", "Texture", "Value", "Vector", "WHITE", "ease", "ease_in", "ease_out", "effects",
    "hold", "layers", "levels", "line", "look", "manipulators", "material", "orbit", "path",
    "recipes",
    "ring_down", "seconds", "span", "spline", "steps", "waters", "wave",
]

_arguments.check_arguments(
    (_cameras, _curves, _document, effects, _exact, _fonts, _images, _items, layers, _loading,
     manipulators, _meshes, _music, recipes, _scenes, _sounds, steps, _tracker, _values, waters),
    _sys.modules[__name__])
