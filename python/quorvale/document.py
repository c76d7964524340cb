# SPDX-License-Identifier: MIT
"""Documents: rows of clips, and the text that the engine reads.

    >>> from quorvale import FLAT, Document, Model, Scene, recipes
    >>> scene = Scene()
    >>> scene.add(Model("square.obj"), recipes.color((1, 0.5, 0)), position=(0.5, 0.5, 0))
    >>> demo = Document()
    >>> clip = demo.row(0).show(scene, FLAT, 0, 200)
    >>> demo.text().startswith('<?xml version="1.0"')
    True
"""

from __future__ import annotations

import os
import zlib
from collections.abc import Callable, Iterable, Iterator, Sequence
from dataclasses import dataclass, field
from typing import Any, Literal, Union

from quorvale.cameras import Camera
from quorvale.curves import Curve, Value, number_text
from quorvale.facts import (CATALOGUES, LIMITS, TICKS_PER_SECOND, checked_number, nearest, row,
                            told)
from quorvale.files import note_document, write_file
from quorvale.items import (Bitmap, Effect, GenMesh, Item, Layer, Light, Material, Model, Texture,
                            Verbatim)
from quorvale.music import Music
from quorvale.origin import Origin, OriginError, here
from quorvale.scenes import Manipulator, Placed, Scene
from quorvale.values import checked_value

Pass = Literal["simple", "texture", "link", "clear_depth", "texture_wide", "texture_quarter"]


@dataclass(frozen=True)
class Fog:
    """Fog from distance `start`, where it begins, to `end`, where it hides all.

    Its color is that of a material of the recipe "color"; without one it is white.
    """

    start: Value
    end: Value
    material: Material | None = None

    def __post_init__(self) -> None:
        checked_value("Fog", "start", self.start)
        checked_value("Fog", "end", self.end)
        if self.material is not None and not isinstance(self.material, Material):
            raise TypeError(f"Fog(): its color is that of a material, recipes.color(...), not "
                            f"{told(self.material)}")
        if self.material is not None and self.material.row.word != "color":
            raise ValueError(f'Fog(): the material is of the recipe "color", not '
                             f'"{self.material.row.word}": any other makes the fog white')


@dataclass(frozen=True)
class Clip:
    """A scene on screen from tick `start` up to tick `end`.

    >>> from quorvale.cameras import FLAT
    >>> clip: Clip = Document().row(0).show(None, FLAT, 100, 300)
    >>> clip.end - clip.start
    200
    """

    start: int
    end: int
    scene: Scene | None
    camera: Camera
    how: Pass
    offset: int
    fog: Fog | None
    target: Bitmap | None
    origin: Origin


@dataclass(eq=False)
class Row:
    """Clips of which one at a time is drawn, over the rows below it.

    >>> words: Row = Document().row(4)
    >>> words.number
    4
    """

    number: int
    clips: list[Clip] = field(default_factory=list)
    xml: str | None = None

    def verbatim(self, xml: str) -> None:
        """Makes the row what its element says, which is written as it stands; see
        `quorvale.verbatim`.

        >>> demo = Document()
        >>> demo.row(3).verbatim("<row/>")
        """
        if self.clips:
            raise ValueError(f"verbatim(): row {self.number} has clips already, the first made at "
                             f"{self.clips[0].origin}")
        self.xml = xml

    def show(self, scene: Scene | None, camera: Camera, start: int, end: int, *,
             how: Pass = "simple", offset: int = 0, fog: Fog | None = None,
             target: Bitmap | None = None) -> Clip:
        """Shows a scene from tick `start` up to tick `end`; None draws nothing but the pass.

        `how` is "simple" (the window), "clear_depth" (the window, over the rows before), "link"
        (wherever the clip before was drawn), or "texture", "texture_wide" and "texture_quarter",
        which draw into the bitmap `target`. All that moves counts from the clip's start, plus
        `offset` ticks.
        """
        for meaning, thing, kind in (("scene", scene, Scene), ("fog", fog, Fog),
                                     ("target", target, Bitmap)):
            if thing is not None and not isinstance(thing, kind):
                raise TypeError(f"show(): the {meaning} is a {kind.__name__} or None, "
                                f"not {told(thing)}")
        if not isinstance(camera, Camera):
            raise TypeError(f"show(): the camera is a Camera, made by look(), orbit() or path(), "
                            f"or FLAT, not {told(camera)}")
        words = [found.word for found in CATALOGUES["passes"].rows]
        if how not in words:
            raise ValueError(f'show(): there is no pass "{how}"' + nearest(how, words))
        if ("target" in row("passes", how).traits) != (target is not None):
            raise ValueError(f'show(): "{how}" needs a target' if target is None else
                             f'show(): "{how}" draws into the window and takes no target')
        for meaning, tick in (("start", start), ("end", end), ("offset", offset)):
            if checked_number("show", meaning, tick) != int(tick) or tick < 0:
                raise ValueError(f"show(): the {meaning} is a whole tick of 0 or more, not {tick}")
        if end <= start:
            raise ValueError(f"show(): a clip ends later than it starts, not from {start} to {end}")
        if end > LIMITS["seconds"] * TICKS_PER_SECOND:
            raise ValueError(f"show(): the timeline has {LIMITS['seconds']} seconds, "
                             f"{LIMITS['seconds'] * TICKS_PER_SECOND} ticks, and the clip ends at "
                             f"{end}")
        if self.xml is not None:
            raise ValueError(f"show(): row {self.number} is given as its element and takes no "
                             f"clips")
        for other in self.clips:
            if start < other.end and other.start < end:
                raise ValueError(f"show(): row {self.number} shows another scene from "
                                 f"{other.start} to {other.end}, made at {other.origin}")
        if len(self.clips) == LIMITS["clips"]:
            raise ValueError(f"show(): a row has up to {LIMITS['clips']} clips")
        clip = Clip(start, end, scene, camera, how, offset, fog, target, here())
        self.clips.append(clip)
        return clip

    def after(self, scene: Scene | None, camera: Camera, length: int, **options: Any) -> Clip:
        """Shows a scene for `length` ticks where the row's last clip ends.

        >>> from quorvale.cameras import FLAT
        >>> row = Document().row(0)
        >>> [row.after(None, FLAT, 50).start for _ in range(3)]
        [0, 50, 100]
        """
        start = max((clip.end for clip in self.clips), default=0)
        return self.show(scene, camera, start, start + length, **options)

    def cut(self, scene: Scene | None, views: Sequence[tuple[int, Camera]], end: int, *,
            offset: int = 0, **options: Any) -> list[Clip]:
        """Shows one scene up to tick `end`, which goes on while its cameras change: (tick, camera)
        pairs in the order of their ticks. What a camera does itself begins at its cut.

        >>> from quorvale.cameras import look
        >>> near, far = look((0, 0, 2), (0, 0, 0)), look((0, 0, 9), (0, 0, 0))
        >>> [clip.offset for clip in Document().row(0).cut(None, [(100, near), (300, far)], 500)]
        [0, 200]
        """
        if not views:
            raise ValueError("cut(): there is one camera at least")
        ends = [tick for tick, _ in views[1:]] + [end]
        clips = []
        for (start, camera), following in zip(views, ends):
            ahead = offset + start - views[0][0]
            clips.append(self.show(scene, camera.later(ahead), start, following, offset=ahead,
                                   **options))
        return clips


Attributes = Sequence[tuple[str, Union[str, int]]]


@dataclass
class _Element:
    tag: str
    attributes: Attributes = ()
    children: Sequence[_Element] = ()
    text: str | None = None
    xml: str | None = None  # stands for all of it

    def lines(self, indent: int) -> Iterator[str]:
        if self.xml is not None:
            yield "  " * indent + self.xml
            return
        words = "".join(f' {key}="{_escaped(str(value))}"' for key, value in self.attributes)
        head = f"{'  ' * indent}<{self.tag}{words}"
        if self.text is not None:
            yield f"{head}>{self.text}</{self.tag}>"
        elif not self.children:
            yield head + "/>"
        else:
            yield head + ">"
            for child in self.children:
                yield from child.lines(indent + 1)
            yield f"{'  ' * indent}</{self.tag}>"


def _escaped(text: str) -> str:
    return text.replace("&", "&amp;").replace("<", "&lt;").replace('"', "&quot;")


def _named(item: Item) -> Attributes:
    return () if item.name is None else (("name", item.name),)


def _verbatim(xml: str) -> _Element:
    return _Element("", xml=xml)


def lies_unseen(ended: int, last: int) -> bool:
    """Whether the index by second loses a clip: one that lies inside a second, with the end of the
    clip before it."""
    return ended % TICKS_PER_SECOND != 0 and last - ended // TICKS_PER_SECOND * 100 <= 99


@dataclass
class _Section:
    """The items of a section; where they are shared, each with all objects that are equal to it."""

    tag: str
    shared: bool
    items: list[Item] = field(default_factory=list)
    ids: dict[int, int] = field(default_factory=dict)  # id(object) to id in the document

    def fill(self, items: Iterable[Item]) -> None:
        known: dict[object, int] = {}
        for item in sorted(items, key=lambda item: item.origin.order):
            key = _identity(item) if self.shared else id(item)
            if key not in known:
                self.items.append(item)
                known[key] = len(self.items)
            self.ids[id(item)] = known[key]
        if len(self.items) > LIMITS["items"]:
            raise OriginError(self.items[LIMITS["items"]].origin,
                              f"the {self.tag} are more than {LIMITS['items']}")

    def id(self, item: Item | None) -> int:
        return 0 if item is None else self.ids[id(item)]


def _identity(item: Item) -> object:
    """What makes two items one: equal layers, files and nameless textures are shared."""
    if item.xml is not None:
        return id(item)
    if isinstance(item, Layer):
        return (item.name, item.row.number, item.numbers)
    if isinstance(item, (Model, Bitmap)):
        return item.filename
    if isinstance(item, Texture):
        return (item.name, tuple(
            (step.row.number, step.numbers, step.layer and _identity(step.layer))
            for step in item.finished()))
    return id(item)


_MUSIC = 11  # the place of the music node among the sections
_SECTIONS = {Layer: "layers", Texture: "textures", Model: "models", Light: "lights",
             Effect: "effects", Bitmap: "bitmaps", Material: "materials", GenMesh: "meshes",
             Scene: "scenes"}


def _parts(item: Item) -> Iterator[Item]:
    """The items that an item needs."""
    if isinstance(item, Texture):
        for step in item.finished():
            if step.layer is not None:
                yield step.layer
    elif isinstance(item, Material):
        for reference in item.references:
            if isinstance(reference, Item):
                yield reference
    elif isinstance(item, Scene):
        for placed in item.objects:
            if isinstance(placed, Verbatim):
                continue
            yield placed.shape
            yield placed.material
            for manipulator in placed.manipulators:
                if manipulator.placement is not None:
                    yield manipulator.placement


class Document:
    """One document of a piece: the demo or its loading screen.

    `music` is the module's file name, or a `Music`. Rows are numbered from 0; what a higher row
    draws lies over the lower ones.

    Things that are equal become one item of the document. With `shared=False` each object is an
    item of its own, curves too, in the order in which they were made. Numbers are written with
    seven digits; 9 `digits` say every 32-bit number, as other programs write them.
    """

    def __init__(self, music: Union[str, Music, None] = None, *, shared: bool = True,
                 digits: Literal[7, 8, 9] = 7) -> None:
        if music is not None and not isinstance(music, (str, Music)):
            raise TypeError(f"Document(): the music is a Music or the name of a module's file, not "
                            f"{told(music)}")
        if digits not in (7, 8, 9):
            raise ValueError(f"Document(): the digits are 7, 8 or 9, not {told(digits)}")
        self.music = music.filename if isinstance(music, Music) else music
        self.origin = here()
        note_document(self.origin, has_text=False)
        self.shared = shared
        self.digits = digits
        self.kept: list[Item | Curve] = []
        self._rows: dict[int, Row] = {}

    def row(self, number: int) -> Row:
        """The row of a number from 0 to 31."""
        if not 0 <= number < LIMITS["rows"]:
            raise ValueError(f"row(): a row is 0 to {LIMITS['rows'] - 1}, not {number}")
        return self._rows.setdefault(number, Row(number))

    def rows(self, count: int) -> list[Row]:
        """The first rows, lowest first.

        >>> sky, stage, words = Document().rows(3)
        >>> words.number
        2
        """
        return [self.row(number) for number in range(count)]

    def keep(self, *items: Item | Curve) -> None:
        """Writes items and curves that no clip shows: for textures that `dpk textures` is to show.

        >>> from quorvale import layers
        >>> demo = Document()
        >>> demo.keep(layers.noise(seed=3) * layers.maze())
        """
        for item in items:
            if not isinstance(item, (Item, Curve)):
                raise TypeError(f"keep(): what is kept is an item or a curve, not {told(item)}")
        self.kept += items

    @property
    def end(self) -> int:
        """The tick at which the last clip ends."""
        return max((clip.end for row in self._rows.values() for clip in row.clips), default=0)

    # Writing

    def text(self) -> str:
        """The document's text, the same on every machine and every run."""
        text = _Writer(self).text()
        note_document(self.origin, has_text=True)
        return text

    def write(self, path: str) -> None:
        """Writes the text, and beside it a table of where the author made each item: a hidden
        file, `.demo.origins` beside `demo.xml`."""
        writer = _Writer(self)
        text = writer.text()
        note_document(self.origin, has_text=True)
        write_file("write", path, text.encode("utf-8"))
        folder, name = os.path.split(os.path.abspath(path))
        origins = os.path.join(folder, f".{os.path.splitext(name)[0]}.origins")
        write_file("write", origins, writer.origins_text(folder, text).encode("utf-8"))


class _Writer:
    """One document on its way to text: who has which number."""

    def __init__(self, document: Document) -> None:
        self.document = document
        self.clips = [clip for row in document._rows.values() for clip in row.clips]
        self.sections = {tag: _Section(tag, document.shared) for tag in _SECTIONS.values()}
        found = self._reachable()
        for kind, tag in _SECTIONS.items():
            self.sections[tag].fill(item for item in found if isinstance(item, kind))
        self.envelopes: list[_Element] = []
        self.envelope_origins: list[Origin] = []
        self.known_curves: dict[Curve, int] = {}
        self.known_texts: dict[str, int] = {}
        self.own_curves: dict[int, Curve] = {}  # by id(curve), where equal ones are not shared
        self.own_ids: dict[int, int] = {}
        self.elements: dict[int, _Element] = {}

    def _reachable(self) -> list[Item]:
        waiting: list[Item] = [item for item in self.document.kept if isinstance(item, Item)]
        for clip in self.clips:
            shown: tuple[Item | None, ...] = (clip.scene, clip.target,
                                              clip.fog.material if clip.fog else None)
            waiting += [item for item in shown if item is not None]
        seen: dict[int, Item] = {}
        while waiting:
            item = waiting.pop()
            if id(item) not in seen:
                seen[id(item)] = item
                waiting.extend(_parts(item))
        return list(seen.values())

    def id(self, item: Item | None) -> int:
        return 0 if item is None else self.sections[_SECTIONS[type(item)]].id(item)

    # Values

    def number(self, value: float) -> _Element:
        return _Element("p", text=number_text(float(value), self.document.digits))

    def setting(self, value: float) -> _Element:
        """A number of a layer or step, where whole numbers keep all their digits."""
        return _Element("p", text=str(value)) if isinstance(value, int) else self.number(value)

    def envelope(self, curve: Curve) -> int:
        """The id of a curve's envelope. Equal curves share one, unless the document shares
        nothing: then ids are known when all curves are, and 0 stands for them."""
        if not self.document.shared:
            self.own_curves[id(curve)] = curve
            return self.own_ids.get(id(curve), 0)
        known = self.known_curves.get(curve)
        if known is not None:
            return known
        element = self.curve(curve)
        # Curves that differ past the seventh digit are one envelope as well.
        text = "\n".join(element.lines(0))
        if text in self.known_texts:
            self.known_curves[curve] = self.known_texts[text]
            return self.known_texts[text]
        self.known_curves[curve] = self.known_texts[text] = self.add_envelope(curve, element)
        return len(self.envelopes)

    def curve(self, curve: Curve) -> _Element:
        if curve.xml is not None:
            return _verbatim(curve.xml)
        pieces = [_Element("piece", (("type", piece.function), ("length", int(piece.length))),
                           [self.number(param) for param in piece.params])
                  for piece in curve.pieces]
        return _Element("envelope", (("type", 0), ("loop_type", curve.loop),
                                     ("loop_begin", curve.begin), ("loop_end", curve.end)), pieces)

    def add_envelope(self, curve: Curve, element: _Element) -> int:
        if len(self.envelopes) == LIMITS["items"]:
            raise OriginError(curve.origin,
                              f"there are more than {LIMITS['items']} different curves")
        self.envelopes.append(element)
        self.envelope_origins.append(curve.origin)
        return len(self.envelopes)

    def value(self, tag: str, value: Value) -> _Element:
        if isinstance(value, Curve):
            return _Element(tag, (("type", "dynamic"), ("value", self.envelope(value))))
        return _Element(tag, (("type", "static"),
                              ("value", number_text(float(value), self.document.digits))))

    def values(self, tags: Sequence[str], values: Iterable[Value]) -> list[_Element]:
        return [self.value(tag, value) for tag, value in zip(tags, values)]

    # Items

    def layer(self, layer: Layer) -> _Element:
        return _Element("layer", (("type", layer.row.number), *_named(layer)),
                        [self.setting(number) for number in layer.numbers])

    def texture(self, texture: Texture) -> _Element:
        steps = []
        for step in texture.finished():
            attributes: list[tuple[str, Union[str, int]]] = [("type", step.row.number)]
            if step.layer is not None:
                attributes.append(("id", self.id(step.layer) - 1))
            steps.append(_Element("filter" if step.layer is None else "layer", attributes,
                                  [self.setting(number) for number in step.numbers]))
        return _Element("texture", _named(texture), steps)

    def model(self, model: Model) -> _Element:
        return _Element("model", (("filename", model.filename),))

    def bitmap(self, bitmap: Bitmap) -> _Element:
        return _Element("bitmap", (("filename", bitmap.filename),))

    def light(self, light: Light) -> _Element:
        groups = (("ambient", light.ambient), ("diffuse", light.diffuse),
                  ("position", light.position))
        return _Element("light", _named(light),
                        [_Element(tag, (), self.values("vvv", triple))
                         for tag, triple in groups])

    def effect(self, effect: Effect) -> _Element:
        name = effect.name or f"{effect.row.word} {self.id(effect)}"
        ids = [0 if curve is None else self.envelope(curve)
               for curve in effect.curves]
        return _Element("effect", (("name", name), ("type", effect.row.number),
                                   ("resolution", f"{effect.size}x{effect.size}"),
                                   ("bpp", 8 if effect.gray else 24)),
                        [_Element("p", text=str(number)) for number in ids])

    def genmesh(self, mesh: GenMesh) -> _Element:
        envelope = 0 if mesh.time is None else self.envelope(mesh.time)
        return _Element("mesh", (("type", mesh.row.number), *_named(mesh)),
                        [_Element("p", text=str(envelope))])

    def material(self, material: Material) -> _Element:
        values = [*material.color, material.alpha]
        if material.extra is not None:
            values.append(material.extra)
        children = [self.value("p", value) for value in values]
        kinds = [param.kind for param in material.row.params
                 if param.kind in ("light", "texture", "effect", "bitmap")]
        kinds.sort(key=lambda kind: kind != "light")
        for kind, reference in zip(kinds, material.references):
            tag = {"light": "light", "effect": "effect2d"}.get(kind, "texture")
            assert reference is None or isinstance(reference, Item)
            children.append(_Element(tag, (("value", self.id(reference)),)))
        return _Element("material", (("type", material.row.number), *_named(material)), children)

    def manipulator(self, manipulator: Manipulator) -> _Element:
        children = []
        if manipulator.placement is not None:
            kind = 1 if isinstance(manipulator.placement, GenMesh) else 0
            children.append(_Element("manipulator", (("type", kind),
                                                     ("model", self.id(manipulator.placement)))))
        children += [self.value("p", value) for value in manipulator.values]
        return _Element("modifier", (("type", manipulator.row.number),), children)

    def placed(self, placed: Placed) -> _Element:
        children = self.values(("x", "y", "z", "rx", "ry", "rz", "sx", "sy", "sz"),
                               (*placed.position, *placed.rotation, *placed.scale))
        visible = 0 if placed.visible is None else self.envelope(placed.visible)
        children.append(_Element("visible", (("value", visible),)))
        children.append(_Element("shift", (("value", number_text(placed.shift)),)))
        children += [self.elements[id(manipulator)] for manipulator in placed.manipulators]
        return _Element("object", (("type", 1 if isinstance(placed.shape, GenMesh) else 0),
                                   ("object", self.id(placed.shape)),
                                   ("material", self.id(placed.material))), children)

    def scene(self, scene: Scene) -> _Element:
        return _Element("scene", _named(scene),
                        [self.elements[id(placed)] for placed in scene.objects])

    # The timeline

    def clip(self, clip: Clip, running: int, last: int) -> _Element:
        attributes: list[tuple[str, Union[str, int]]] = [
            ("id", self.id(clip.scene)), ("space_before", clip.start - running),
            ("length", last - clip.start), ("offset", clip.offset),
            ("type", row("passes", clip.how).number)]
        if clip.target is not None:
            attributes.append(("rtex", self.id(clip.target)))
        children = self.values(("x", "y", "z", "rx", "ry", "rz"),
                               (*clip.camera.position, *clip.camera.rotation))
        if clip.camera.fov is None:
            children.append(_Element("fov", (("type", "ortographic"),)))
        else:
            children.append(self.value("fov", clip.camera.fov))
        if clip.fog is None:
            children.append(_Element("fog", (("type", 0),)))
        else:
            color = _Element("colour", (("value", self.id(clip.fog.material)),))
            children.append(_Element("fog", (("type", 1),), [
                *self.values(("density", "start", "end"), (1.0, clip.fog.start, clip.fog.end)),
                color]))
        return _Element("clip", attributes, children)

    def row(self, clips: Iterable[Clip]) -> _Element:
        elements = []
        running = 0
        ended = 0  # the author's own tick, which may be one later
        ordered = sorted(clips, key=lambda clip: clip.start)
        starts = {clip.start for clip in ordered}
        for clip in ordered:
            # The engine gives a clip's last tick to it still, unless the next one begins there.
            last = clip.end if clip.end in starts else clip.end - 1
            if lies_unseen(running, last):
                raise OriginError(clip.origin,
                                  f"the clip from {clip.start} to {clip.end} lies inside one "
                                  f"second, and the row's clip before it ends at {ended}: the "
                                  f"engine would not find it")
            elements.append(self.clip(clip, running, last))
            running, ended = last, clip.end
        return _Element("row", (), elements)

    # The whole

    def _records(self) -> None:
        """Makes the elements of all that has curves, in the order in which it was made: that is
        the order of the envelopes."""
        makers: list[tuple[int, int, Any, Any]] = []
        moving: dict[str, Callable[[Any], _Element]] = {
            "effects": self.effect, "meshes": self.genmesh, "lights": self.light,
            "materials": self.material}
        for tag, make in moving.items():
            makers += [(item.origin.order, id(item), make, item)
                       for item in self.sections[tag].items]
        for scene in self.sections["scenes"].items:
            assert isinstance(scene, Scene)
            for placed in scene.objects:
                if isinstance(placed, Verbatim):
                    self.elements[id(placed)] = _verbatim(placed.xml)
                    continue
                makers.append((placed.origin.order, id(placed), self.placed, placed))
                makers += [(each.origin.order, id(each), self.manipulator, each)
                           for each in placed.manipulators]
        for _, key, make, item in sorted(makers, key=lambda entry: entry[0]):
            if key not in self.elements:
                self.elements[key] = self.made(make, item)

    @staticmethod
    def made(make: Callable[[Any], _Element], item: Any) -> _Element:
        """The element of an item, or the one that it was given."""
        xml = item.xml if isinstance(item, Item) else None
        return make(item) if xml is None else _verbatim(xml)

    def _timeline(self) -> list[_Element]:
        elements = []
        for number in range(max(self.document._rows) + 1):
            row = self.document._rows.get(number, Row(number))
            elements.append(self.row(row.clips) if row.xml is None else _verbatim(row.xml))
        return elements

    def _number_curves(self) -> None:
        """Numbers curves that are not shared in the order in which they were made."""
        self._records()
        self._timeline()
        self.elements.clear()
        curves = {id(curve): curve for curve in self.document.kept if isinstance(curve, Curve)}
        curves.update(self.own_curves)
        for curve in sorted(curves.values(), key=lambda curve: curve.origin.order):
            self.own_ids[id(curve)] = self.add_envelope(curve, self.curve(curve))

    def text(self) -> str:
        if not self.document._rows:
            raise ValueError("a document shows nothing without a row of clips")
        if self.document.shared:
            for curve in self.document.kept:
                if isinstance(curve, Curve):
                    self.envelope(curve)
        else:
            self._number_curves()
        self._records()
        made: dict[str, list[_Element]] = {
            tag: [self.elements[id(item)] for item in self.sections[tag].items]
            for tag in ("effects", "meshes", "lights", "materials")}
        plain: dict[str, Callable[[Any], _Element]] = {
            "layers": self.layer, "textures": self.texture, "models": self.model,
            "bitmaps": self.bitmap}
        for tag, make in plain.items():
            made[tag] = [self.made(make, item) for item in self.sections[tag].items]
        if len(made["layers"]) > LIMITS["layers"]:
            raise OriginError(self.sections["layers"].items[LIMITS["layers"]].origin,
                              f"a document has up to {LIMITS['layers']} different layers")
        made["scenes"] = []
        for scene in self.sections["scenes"].items:
            assert isinstance(scene, Scene)
            made["scenes"].append(self.made(self.scene, scene))
        made["timeline"] = self._timeline()
        made["envelopes"] = self.envelopes
        lines = ['<?xml version="1.0" encoding="UTF-8"?>']
        for tag in ("layers", "textures", "models", "envelopes", "lights", "effects", "bitmaps",
                    "materials", "meshes", "scenes", "timeline"):
            lines += _Element(tag, (), made[tag]).lines(0)
        music = () if self.document.music is None else (("file", self.document.music),)
        lines += _Element("music", music).lines(0)
        return "\n".join(lines) + "\n"

    def origins_text(self, folder: str, text: str) -> str:
        """The table of origins of what `text` returned: its size and sum, then a line for each item
        and part, with section, item and part as numbers and the author's lines, innermost first,
        all with tabs between them. Paths are relative to the document's folder."""
        written = text.encode("utf-8")
        lines = [f"text\t{len(written)}\t{zlib.crc32(written)}"]

        def add(section: int, item: int, part: int, origin: Origin) -> None:
            words = [f"{section}\t{item}\t{part}"]
            for file, line in ((origin.file, origin.line), *origin.callers):
                path = os.path.relpath(file, folder)
                words.append(f"{path}:{line}".replace("\t", "?").replace("\n", "?"))
            lines.append("\t".join(words))

        tags = ("layers", "textures", "models", "", "lights", "effects", "bitmaps", "materials",
                "meshes", "scenes")
        for section, tag in enumerate(tags):
            items = self.sections[tag].items if tag else []
            for number, item in enumerate(items, 1):
                add(section, number, 0, item.origin)
                if isinstance(item, Scene):
                    for part, placed in enumerate(item.objects, 1):
                        add(section, number, part, placed.origin)
                elif isinstance(item, Texture):
                    for part, step in enumerate(item.steps, 1):
                        add(section, number, part, step.origin)
            if not tag:
                for number, origin in enumerate(self.envelope_origins, 1):
                    add(section, number, 0, origin)
        for number, row in sorted(self.document._rows.items()):
            for part, clip in enumerate(sorted(row.clips, key=lambda clip: clip.start), 1):
                add(10, number + 1, part, clip.origin)
        add(_MUSIC, 0, 0, self.document.origin)
        return "".join(line + "\n" for line in lines)


def unreached(document: Document, things: Iterable[object]) -> list[Item | Curve]:
    """Those items and curves among some things that a document would not write."""
    writer = _Writer(document)
    writer.text()
    reached = {id(item) for section in writer.sections.values() for item in section.items}
    reached |= set(writer.own_curves) | {id(thing) for thing in document.kept}
    return [thing for thing in things
            if isinstance(thing, (Item, Curve)) and id(thing) not in reached]
