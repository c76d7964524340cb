# SPDX-License-Identifier: MIT
"""Materials by the recipe's name.

    >>> lit = lit_color((1.0, 0.8, 0.5), light=Light(), alpha=0.9)

What lies behind shows through an `alpha` below 1. Recipes that are "added" make the
picture brighter by their own light, as flames and glass do, and black is not seen.

Six recipes do not say how their color and their texture come together, and do it as the
material that was drawn before them: nearly always by multiplying both. After a `cutout`
the alpha comes of the texture alone; a small object with `bitmap` between the two
puts that right.

Made by scripts/make-python-words out of the engine's vocabulary.
"""

from __future__ import annotations

from quorvale.curves import Value
from quorvale.items import (Bitmap, Effect, Layer, Light, Material, ScaledLayer, Texture,
                            make_material)
from quorvale.values import WHITE, ColorLike

TextureLike = Texture | Layer | ScaledLayer


def color(color: ColorLike = WHITE, *, alpha: Value = 1, name: str | None = None) -> Material:
    """Color: mixed with the picture by its alpha.

    - `color`: the color, 0 to 1
    - `alpha`: the alpha, 0 to 1
    """
    return make_material("color", name, {"color": color, "alpha": alpha})


def lit_color(color: ColorLike = WHITE, *, light: Light | None = None, alpha: Value = 1,
              name: str | None = None) -> Material:
    """Color + Light: lit by a light; mixed with the picture by its alpha.

    - `color`: the color
    - `light`: the light
    - `alpha`: the alpha, 0 to 1
    """
    return make_material("lit_color", name, {"color": color, "light": light, "alpha": alpha})


def texture(color: ColorLike = WHITE, *, texture: TextureLike | None = None, alpha: Value = 1,
            name: str | None = None) -> Material:
    """Procedural Texture: mixed with the picture by its alpha; textured by the mesh's own
    coordinates; color and texture come together as in the material drawn before.

    - `color`: the color, 0 to 1
    - `texture`: the texture
    - `alpha`: the alpha, 0 to 1
    """
    return make_material("texture", name, {"color": color, "texture": texture, "alpha": alpha})


def lit_texture(color: ColorLike = WHITE, *, light: Light | None = None,
                texture: TextureLike | None = None, alpha: Value = 1,
                name: str | None = None) -> Material:
    """Procedural Texture + Light: lit by a light; mixed with the picture by its alpha; textured by
    the mesh's own coordinates; color and texture come together as in the material drawn before.

    - `color`: the color
    - `light`: the light
    - `texture`: the texture
    - `alpha`: the alpha, 0 to 1
    """
    return make_material("lit_texture", name, {"color": color, "light": light, "texture": texture,
                                               "alpha": alpha})


def environment(color: ColorLike = WHITE, *, texture: TextureLike | None = None, alpha: Value = 1,
                name: str | None = None) -> Material:
    """Procedural Environment mapping: mixed with the picture by its alpha; textured as if it
    mirrored its surroundings; color and texture come together as in the material drawn before.

    - `color`: the color, 0 to 1
    - `texture`: the texture
    - `alpha`: the alpha, 0 to 1
    """
    return make_material("environment", name, {"color": color, "texture": texture, "alpha": alpha})


def lit_environment(color: ColorLike = WHITE, *, light: Light | None = None,
                    texture: TextureLike | None = None, alpha: Value = 1,
                    name: str | None = None) -> Material:
    """Procedural Environment mapping + light: lit by a light; mixed with the picture by its alpha;
    textured as if it mirrored its surroundings; color and texture come together as in the material
    drawn before.

    - `color`: the color
    - `light`: the light
    - `texture`: the texture
    - `alpha`: the alpha, 0 to 1
    """
    return make_material("lit_environment", name, {"color": color, "light": light,
                                                   "texture": texture, "alpha": alpha})


def effect(color: ColorLike = WHITE, *, effect: Effect | None = None, alpha: Value = 1,
           name: str | None = None) -> Material:
    """2D Effect Texture: mixed with the picture by its alpha; textured by the mesh's own
    coordinates.

    - `color`: the color, 0 to 1
    - `effect`: the 2D effect
    - `alpha`: the alpha, 0 to 1
    """
    return make_material("effect", name, {"color": color, "effect": effect, "alpha": alpha})


def bitmap(color: ColorLike = WHITE, *, bitmap: Bitmap | None = None, alpha: Value = 1,
           name: str | None = None) -> Material:
    """Bitmap texture: mixed with the picture by its alpha; textured by the mesh's own coordinates.

    - `color`: the color, 0 to 1
    - `bitmap`: the bitmap
    - `alpha`: the alpha, 0 to 1
    """
    return make_material("bitmap", name, {"color": color, "bitmap": bitmap, "alpha": alpha})


def two_bitmaps(color: ColorLike = WHITE, *, bitmap: Bitmap | None = None,
                bitmap2: Bitmap | None = None, alpha: Value = 1,
                name: str | None = None) -> Material:
    """Bitmap multitexture: mixed with the picture by its alpha; textured by the mesh's own
    coordinates; the second bitmap by its second ones.

    - `color`: the color, 0 to 1
    - `bitmap`: the first bitmap
    - `bitmap2`: the second bitmap
    - `alpha`: the alpha, 0 to 1
    """
    return make_material("two_bitmaps", name, {"color": color, "bitmap": bitmap, "bitmap2": bitmap2,
                                               "alpha": alpha})


def lit_bitmap(color: ColorLike = WHITE, *, light: Light | None = None,
               bitmap: Bitmap | None = None, alpha: Value = 1, name: str | None = None) -> Material:
    """Bitmap texture + light: lit by a light; mixed with the picture by its alpha; textured by the
    mesh's own coordinates.

    - `color`: the color
    - `light`: the light
    - `bitmap`: the bitmap
    - `alpha`: the alpha, 0 to 1
    """
    return make_material("lit_bitmap", name, {"color": color, "light": light, "bitmap": bitmap,
                                              "alpha": alpha})


def clamped_bitmap(color: ColorLike = WHITE, *, bitmap: Bitmap | None = None, alpha: Value = 1,
                   name: str | None = None) -> Material:
    """Clamped bitmap texture: mixed with the picture by its alpha; textured by the mesh's own
    coordinates; the texture ends at its edges.

    - `color`: the color, 0 to 1
    - `bitmap`: the bitmap
    - `alpha`: the alpha, 0 to 1
    """
    return make_material("clamped_bitmap", name, {"color": color, "bitmap": bitmap, "alpha": alpha})


def bitmap_environment(color: ColorLike = WHITE, *, bitmap: Bitmap | None = None, alpha: Value = 1,
                       turns: bool = False, name: str | None = None) -> Material:
    """Bitmap environment mapping: mixed with the picture by its alpha; textured as if it mirrored
    its surroundings; the reflection may turn with the camera.

    - `color`: the color, 0 to 1
    - `bitmap`: the bitmap
    - `alpha`: the alpha, 0 to 1
    - `turns`: the turn with the camera
    """
    return make_material("bitmap_environment", name, {"color": color, "bitmap": bitmap,
                                                      "alpha": alpha, "turns": turns})


def lit_bitmap_environment(color: ColorLike = WHITE, *, bitmap: Bitmap | None = None,
                           light: Light | None = None, alpha: Value = 1, turns: bool = False,
                           name: str | None = None) -> Material:
    """Bitmap environment mapping with light: lit by a light; mixed with the picture by its alpha;
    textured as if it mirrored its surroundings; the reflection may turn with the camera.

    - `color`: the color
    - `bitmap`: the bitmap
    - `light`: the light
    - `alpha`: the alpha, 0 to 1
    - `turns`: the turn with the camera
    """
    return make_material("lit_bitmap_environment", name, {"color": color, "bitmap": bitmap,
                                                          "light": light, "alpha": alpha,
                                                          "turns": turns})


def added_bitmap(color: ColorLike = WHITE, *, bitmap: Bitmap | None = None, alpha: Value = 1,
                 name: str | None = None) -> Material:
    """Additive clamped bitmap texture: added to the picture, so that alpha plays no part; textured
    by the mesh's own coordinates; the texture ends at its edges.

    - `color`: the color, 0 to 1
    - `bitmap`: the bitmap
    - `alpha`: the alpha, 0 to 1
    """
    return make_material("added_bitmap", name, {"color": color, "bitmap": bitmap, "alpha": alpha})


def added_bump(color: ColorLike = WHITE, *, light: Light | None = None,
               bitmap: Bitmap | None = None, bitmap2: Bitmap | None = None, alpha: Value = 1,
               name: str | None = None) -> Material:
    """Additive DOT3 bump mapping bitmap texture: lit by a light; added to the picture, so that
    alpha plays no part; the second bitmap by its second ones; textured as if it mirrored its
    surroundings; black where OpenGL lacks the combiner. The first bitmap is a mirroring ball with
    the directions of its light as colors, the second has the directions in which the surface faces.
    The light multiplies the first: where none falls nothing shines, but the direction of the shine
    is the painted one, wherever the light stands.

    - `color`: the color
    - `light`: the light
    - `bitmap`: the first bitmap
    - `bitmap2`: the second bitmap
    - `alpha`: the alpha, 0 to 1
    """
    return make_material("added_bump", name, {"color": color, "light": light, "bitmap": bitmap,
                                              "bitmap2": bitmap2, "alpha": alpha})


def cutout(color: ColorLike = WHITE, *, bitmap: Bitmap | None = None,
           name: str | None = None) -> Material:
    """Clamped bitmap texture with alpha: cut out by the bitmap's own alpha; textured by the mesh's
    own coordinates; the texture ends at its edges.

    - `color`: the color, 0 to 1
    - `bitmap`: the bitmap
    """
    return make_material("cutout", name, {"color": color, "bitmap": bitmap})


def added_bitmap_environment(color: ColorLike = WHITE, *, bitmap: Bitmap | None = None,
                             alpha: Value = 1, turns: bool = False,
                             name: str | None = None) -> Material:
    """Additive bitmap environment mapping: added to the picture, so that alpha plays no part;
    textured as if it mirrored its surroundings; the reflection may turn with the camera; color and
    texture come together as in the material drawn before.

    - `color`: the color, 0 to 1
    - `bitmap`: the bitmap
    - `alpha`: the alpha, 0 to 1
    - `turns`: the turn with the camera
    """
    return make_material("added_bitmap_environment", name, {"color": color, "bitmap": bitmap,
                                                            "alpha": alpha, "turns": turns})


def cutout_on_top(color: ColorLike = WHITE, *, bitmap: Bitmap | None = None,
                  name: str | None = None) -> Material:
    """Clamped bitmap texture with alpha, no depth test: cut out by the bitmap's own alpha; drawn
    without a depth test; textured by the mesh's own coordinates; the texture ends at its edges.

    - `color`: the color, 0 to 1
    - `bitmap`: the bitmap
    """
    return make_material("cutout_on_top", name, {"color": color, "bitmap": bitmap})


def added_texture_on_top(color: ColorLike = WHITE, *, texture: TextureLike | None = None,
                         alpha: Value = 1, name: str | None = None) -> Material:
    """Additive clamped procedural texture, no depth test: added to the picture, so that alpha plays
    no part; drawn without a depth test; textured by the mesh's own coordinates; the texture ends at
    its edges.

    - `color`: the color, 0 to 1
    - `texture`: the texture
    - `alpha`: the alpha, 0 to 1
    """
    return make_material("added_texture_on_top", name, {"color": color, "texture": texture,
                                                        "alpha": alpha})


def color_on_top(color: ColorLike = WHITE, *, alpha: Value = 1,
                 name: str | None = None) -> Material:
    """Color, no depth test: mixed with the picture by its alpha; drawn without a depth test.

    - `color`: the color, 0 to 1
    - `alpha`: the alpha, 0 to 1
    """
    return make_material("color_on_top", name, {"color": color, "alpha": alpha})


def added_environment(color: ColorLike = WHITE, *, texture: TextureLike | None = None,
                      alpha: Value = 1, name: str | None = None) -> Material:
    """Additive Procedural Environment mapping: added to the picture, so that alpha plays no part;
    textured as if it mirrored its surroundings; color and texture come together as in the material
    drawn before.

    - `color`: the color, 0 to 1
    - `texture`: the texture
    - `alpha`: the alpha, 0 to 1
    """
    return make_material("added_environment", name, {"color": color, "texture": texture,
                                                     "alpha": alpha})


def added_color_on_top(color: ColorLike = WHITE, *, name: str | None = None) -> Material:
    """Additive color, no depth test: added to the picture, so that alpha plays no part; drawn
    without a depth test.

    - `color`: the color, 0 to 1
    """
    return make_material("added_color_on_top", name, {"color": color})


def faded_bitmaps(color: ColorLike = WHITE, *, bitmap: Bitmap | None = None,
                  bitmap2: Bitmap | None = None, alpha: Value = 1,
                  name: str | None = None) -> Material:
    """Bitmap multitexture add: added to the picture, so that alpha plays no part; textured by the
    mesh's own coordinates; the second bitmap by its second ones.

    - `color`: the color, 0 to 1
    - `bitmap`: the first bitmap
    - `bitmap2`: the second bitmap
    - `alpha`: the alpha, 0 to 1
    """
    return make_material("faded_bitmaps", name, {"color": color, "bitmap": bitmap,
                                                 "bitmap2": bitmap2, "alpha": alpha})


def wireframe(color: ColorLike = WHITE, *, alpha: Value = 1, width: Value = 1,
              name: str | None = None) -> Material:
    """Wireframe: mixed with the picture by its alpha; drawn as lines.

    - `color`: the color, 0 to 1
    - `alpha`: the alpha, 0 to 1
    - `width`: the width of the lines, in pixels, at least 0.125
    """
    return make_material("wireframe", name, {"color": color, "alpha": alpha, "width": width})
