# SPDX-License-Identifier: MIT
"""What documents are made of: layers, textures, models, lights, effects, bitmaps, materials.

Items hold each other as objects; `Document.write` finds all that its clips need and numbers them in
the order in which they were made.
"""

from __future__ import annotations

from collections.abc import Sequence
from dataclasses import dataclass, field
from typing import Literal, Union

from quorvale.curves import Curve, Value, hold
from quorvale.facts import CATALOGUES, LIMITS, Row, check, checked_number, nearest, row, told
from quorvale.origin import Origin, here
from quorvale.values import BLACK, WHITE, ColorLike, Vector, checked_param, checked_triple

EffectSize = Literal[64, 128, 256, 512]


@dataclass(eq=False)
class Item:
    """Anything that becomes an item of a section. `name` is for people who read the document.

    `xml` is the item's element where `quorvale.verbatim` made it; it is written as it stands.
    """

    name: str | None = field(default=None, kw_only=True)
    xml: str | None = field(default=None, kw_only=True, repr=False)
    origin: Origin = field(default_factory=here, init=False, repr=False)


@dataclass(frozen=True)
class Verbatim:
    """A part of an item as its element, which is written as it stands."""

    xml: str
    origin: Origin = field(default_factory=here, init=False, compare=False, repr=False)


@dataclass(eq=False)
class Layer(Item):
    """A generated image of 256 by 256 pixels, raw material of textures; see `quorvale.layers`.

    `layer * 0.5` is the same, darker, in a sum or product; `layer + other` and `layer * other` are
    textures.

    >>> from quorvale.layers import maze, noise
    >>> isinstance(noise(), Layer), isinstance(noise() * 0.5 + maze(), Texture)
    (True, True)
    """

    row: Row
    numbers: tuple[float, ...]

    def __mul__(self, other: Union[float, LayerLike, Texture]) -> Union[ScaledLayer, Texture]:
        if isinstance(other, (int, float)):
            return ScaledLayer(self, other)
        return Texture.of(self) * other

    __rmul__ = __mul__

    def __add__(self, other: Union[LayerLike, Texture]) -> Texture:
        return Texture.of(self) + other

    def __or__(self, step: Step) -> Texture:
        return Texture.of(self) | step


@dataclass(frozen=True)
class ScaledLayer:
    """A layer times a number.

    >>> from quorvale.layers import noise
    >>> isinstance(noise() * 0.5, ScaledLayer)
    True
    """

    layer: Layer
    scale: float

    def __mul__(self, other: Union[float, LayerLike, Texture]) -> Union[ScaledLayer, Texture]:
        if isinstance(other, (int, float)):
            return ScaledLayer(self.layer, self.scale * other)
        return Texture.of(self) * other

    __rmul__ = __mul__

    def __add__(self, other: Union[LayerLike, Texture]) -> Texture:
        return Texture.of(self) + other

    def __or__(self, step: Step) -> Texture:
        return Texture.of(self) | step


LayerLike = Union[Layer, ScaledLayer]


@dataclass(frozen=True)
class Step:
    """One step of a texture; a combiner has a layer. See `quorvale.steps`.

    >>> from quorvale.steps import blur
    >>> isinstance(blur(), Step)
    True
    """

    row: Row
    numbers: tuple[float, ...]
    layer: Layer | None = None
    origin: Origin = field(default_factory=here, init=False, compare=False, repr=False)


def _scaled(other: object, sign: str) -> ScaledLayer:
    if isinstance(other, ScaledLayer):
        return other
    if isinstance(other, Layer):
        return ScaledLayer(other, 1.0)
    if isinstance(other, Texture):
        other._refuse_verbatim()
        first = other.steps[0] if len(other.steps) == 1 and other.pending == 1.0 else None
        if first is not None and first.layer is not None and first.row.word == "add":
            return ScaledLayer(first.layer, first.numbers[1])
        raise ValueError(f"on the right of {sign} stands a layer, not a texture of "
                         f"{len(other.steps)} steps: there is one image to work on. Begin with "
                         f"the texture and add the layers to it")
    cure = ""
    if sign == "+" and isinstance(other, (int, float)):
        cure = f"; a gray one is layers.color(({other:g}, {other:g}, {other:g}))"
    elif isinstance(other, Curve):
        cure = "; textures do not move, the color and alpha of a material may"
    raise TypeError(f"on the right of {sign} stands a layer, not {told(other)}{cure}")


@dataclass(eq=False)
class Texture(Item):
    """A stack of up to 32 steps over an image that is black first.

    Made by expressions: `noise(seed=3) * 0.5 + maze()` adds layers, `*` multiplies by one, `|`
    applies a step of `quorvale.steps`: `texture | blur() | emboss(2)`. `texture * 0.8` scales the
    image, in one step with the sum that follows. Give it a name with `named`.
    """

    steps: tuple[Step, ...] = ()
    pending: float = 1.0  # a factor that the next step takes along

    def __post_init__(self) -> None:
        count = len(self.steps) + (self.pending != 1.0)  # the factor is a step where none follows
        if count > LIMITS["steps"]:
            raise ValueError(f"a texture has up to {LIMITS['steps']} steps, not {count}")

    @staticmethod
    def of(layer: LayerLike) -> Texture:
        """A texture that shows one layer.

        >>> from quorvale.layers import noise
        >>> len(Texture.of(noise()).steps)
        1
        """
        return Texture()._combined("add", _scaled(layer, "+"))

    def named(self, name: str) -> Texture:
        """The same with a name.

        >>> from quorvale.layers import maze, noise
        >>> (noise() * maze()).named("stone").name
        'stone'
        """
        self._refuse_verbatim()
        return Texture(self.steps, self.pending, name=name)

    def finished(self) -> tuple[Step, ...]:
        """All steps, with one of its own for a factor that no step took.

        >>> from quorvale.layers import noise
        >>> len((Texture.of(noise()) * 0.5).finished())
        2
        """
        if self.pending == 1.0:
            return self.steps
        return self.steps + (Step(row("steps", "scale"), (self.pending,)),)

    def _refuse_verbatim(self) -> None:
        if self.xml is not None:
            raise ValueError("a texture that is given as its element has steps that only the "
                             "engine knows: it can't be changed")

    def _combined(self, word: str, layer: ScaledLayer) -> Texture:
        self._refuse_verbatim()
        step = Step(row("steps", word), (self.pending, layer.scale), layer.layer)
        return Texture(self.steps + (step,))

    def __add__(self, other: Union[LayerLike, Texture]) -> Texture:
        return self._combined("add", _scaled(other, "+"))

    def __mul__(self, other: Union[float, LayerLike, Texture]) -> Texture:
        self._refuse_verbatim()
        if isinstance(other, (int, float)):
            return Texture(self.steps, self.pending * other)
        layer = _scaled(other, "*")
        # Bytes count from 0 to 255 and images from 0 to 1: hence the divisor.
        scale = self.pending * layer.scale * (1.0 / 255.0)
        return Texture(self.steps + (Step(row("steps", "multiply"), (scale,), layer.layer),))

    def __rmul__(self, factor: float) -> Texture:
        return self * factor

    def maximum(self, other: LayerLike) -> Texture:
        """The brighter of both at each pixel and channel.

        >>> from quorvale.layers import maze, noise
        >>> stone = Texture.of(noise()).maximum(maze() * 0.5)
        """
        return self._combined("maximum", _scaled(other, "maximum"))

    def minimum(self, other: LayerLike) -> Texture:
        """The darker of both at each pixel and channel.

        >>> from quorvale.layers import maze, noise
        >>> stone = Texture.of(noise()).minimum(maze() * 0.5)
        """
        return self._combined("minimum", _scaled(other, "minimum"))

    def __or__(self, step: Step) -> Texture:
        if not isinstance(step, Step):
            raise TypeError(f"on the right of | stands a step, such as steps.blur(), "
                            f"not {told(step)}")
        self._refuse_verbatim()
        return Texture(self.finished() + (step,))


@dataclass(eq=False)
class Model(Item):
    """A model of the package: `Model("ship.obj")` for a mesh that `dpk build` converts, or
    `Model("ship.model")`."""

    filename: str

    def __post_init__(self) -> None:
        self.filename = entry_name(self.filename)


_MESH_ENDINGS = (".obj", ".ply", ".3ds", ".gltf", ".glb", ".stl", ".dae")


def entry_name(path: str) -> str:
    """The package's name for a file of the folder: meshes become `.model`."""
    name = path.replace("\\", "/").rsplit("/", 1)[-1]
    stem, dot, ending = name.rpartition(".")
    if dot and "." + ending.lower() in _MESH_ENDINGS:
        name = stem + ".model"
    if not 1 <= len(name.encode("utf-8")) <= 32:
        raise ValueError(f'a file of a package has a name of 1 to 32 bytes, not "{name}"')
    return name


@dataclass(eq=False)
class Bitmap(Item):
    """An image of the package, PNG, JPEG, TGA or BMP; also what passes draw into.

    Its sides should be powers of two.
    """

    filename: str

    def __post_init__(self) -> None:
        self.filename = entry_name(self.filename)


@dataclass(eq=False)
class Light(Item):
    """A point that shines on lit materials. Colors above 1 are brighter lights.

    >>> lamp = Light((1.0, 0.8, 0.6), position=(0, 5, 2))
    """

    diffuse: ColorLike = WHITE
    position: Sequence[Value] = (0.0, 0.0, 0.0)
    ambient: ColorLike = BLACK

    def __post_init__(self) -> None:
        self.diffuse = checked_triple("Light", "diffuse color", self.diffuse)
        self.position = checked_triple("Light", "position", self.position)
        self.ambient = checked_triple("Light", "ambient color", self.ambient)


@dataclass(eq=False)
class Effect(Item):
    """A texture that is computed anew in each picture; see `quorvale.effects`.

    >>> from quorvale import effects, line
    >>> isinstance(effects.plasma(line(0, 40, 800), size=64), Effect)
    True
    """

    row: Row
    curves: tuple[Curve | None, ...]
    size: EffectSize = 128
    gray: bool = False

    def __post_init__(self) -> None:
        if self.size not in (64, 128, 256, 512):
            raise ValueError(f"{self.row.word}(): the size is 64, 128, 256 or 512, not {self.size}")
        if self.name is not None and len(self.name.encode("utf-8")) > LIMITS["effect_name"]:
            raise ValueError(f"{self.row.word}(): the name has up to {LIMITS['effect_name']} "
                             f'bytes, not as many as "{self.name}"')


@dataclass(eq=False)
class GenMesh(Item):
    """A grid of 30 by 30 points in the plane y = 0, from (0, 0, 0) to (29, 0, 29), that moves; see
    `quorvale.waters`.

    >>> from quorvale import line, waters
    >>> isinstance(waters.lake_water(line(0, 80, 800)), GenMesh)
    True
    """

    row: Row
    time: Curve | None


Reference = Union[Light, Texture, Layer, ScaledLayer, Effect, Bitmap]
_KINDS: dict[str, tuple[type, ...]] = {
    "light": (Light,), "texture": (Texture,), "effect": (Effect,), "bitmap": (Bitmap,)}


@dataclass(eq=False)
class Material(Item):
    """One of 24 recipes with its colors and textures; see `quorvale.recipes`.

    >>> from quorvale import recipes
    >>> isinstance(recipes.color((1, 0, 0)), Material)
    True
    """

    row: Row
    color: Vector
    alpha: Value
    extra: Value | None
    references: tuple[Reference | None, ...]  # the light first


def make_layer(word: str, name: str | None, values: Sequence[object]) -> Layer:
    """A layer of a generator; values stand in the order of its row."""
    generator = row("generators", word)
    numbers: list[float] = []
    for param, value in zip(generator.params, values):
        channels: Sequence[object] = (value,)
        if param.kind == "color":
            channels = checked_triple(word, param.meaning, value)
        numbers += [check(word, param, channel) for channel in channels]
    return Layer(generator, tuple(numbers), name=name)


def make_step(word: str, values: Sequence[float]) -> Step:
    """A filter."""
    step = row("steps", word)
    return Step(step, tuple(check(word, param, value) for param, value in zip(step.params, values)))


def make_curve(word: str, meaning: str, value: Value | None) -> Curve | None:
    """A curve where an envelope has to stand; a number is held."""
    if value is None or isinstance(value, Curve):
        return value
    return hold(checked_number(word, meaning, value))


def make_effect(word: str, name: str | None, size: EffectSize, gray: bool,
                values: Sequence[Value | None]) -> Effect:
    """A 2D effect and what drives it."""
    effect = row("effects", word)
    curves = tuple(make_curve(word, param.meaning, value)
                   for param, value in zip(effect.params, values))
    return Effect(effect, curves, size, gray, name=name)


def make_genmesh(word: str, name: str | None, time: Value | None) -> GenMesh:
    """A generated mesh."""
    mesh = row("genmeshes", word)
    return GenMesh(mesh, make_curve(word, mesh.params[0].meaning, time), name=name)


def _checked_reference(word: str, meaning: str, kind: str, value: object) -> Reference | None:
    if value is None:
        return None
    if kind == "texture" and isinstance(value, (Layer, ScaledLayer)):
        return Texture.of(value)
    if not isinstance(value, _KINDS[kind]):
        wanted = _KINDS[kind][0].__name__
        is_file = kind == "bitmap" and isinstance(value, str)
        cure = f'; a file is Bitmap("{value}")' if is_file else ""
        raise TypeError(f"{word}(): the {meaning} is {'an' if wanted[0] in 'AEIOU' else 'a'} "
                        f"{wanted}, not {told(value)}{cure}")
    assert isinstance(value, (Light, Texture, Effect, Bitmap))
    return value


def make_material(word: str, name: str | None, values: dict[str, object]) -> Material:
    """A material of a recipe; values by the words of its parameters."""
    recipe = row("recipes", word)
    color: Vector = (1.0, 1.0, 1.0)
    alpha: Value = 1.0
    extra: Value | None = None
    lights: list[Reference | None] = []
    others: list[Reference | None] = []
    for param in recipe.params:
        value = values[param.word]
        if param.kind == "color":
            r, g, b = (checked_param(word, param, channel)
                       for channel in checked_triple(word, param.meaning, value))
            color = (r, g, b)
        elif param.word == "alpha":
            alpha = checked_param(word, param, value)
        elif param.kind in _KINDS:
            reference = _checked_reference(word, param.meaning, param.kind, value)
            (lights if param.kind == "light" else others).append(reference)
        else:
            extra = checked_param(word, param, value)
    return Material(recipe, color, alpha, extra, tuple(lights + others), name=name)


def material(recipe: str, *, name: str | None = None, **values: object) -> Material:
    """A material by the word of its recipe: `material("lit_color", light=lamp)`.

    The functions of `quorvale.recipes` do the same and tell editors their parameters.

    >>> material("color", color=(1, 0, 0), name="red").name
    'red'
    """
    found = row("recipes", recipe)
    words = [param.word for param in found.params]
    for word in values:
        if word not in words:
            raise TypeError(f'{recipe}() has no parameter "{word}"' + nearest(word, words))
    full: dict[str, object] = {
        param.word: WHITE if param.kind == "color" else
        None if param.kind in _KINDS else param.usual for param in found.params}
    full.update(values)
    return make_material(recipe, name, full)


RECIPES: tuple[str, ...] = tuple(found.word for found in CATALOGUES["recipes"].rows)
