# SPDX-License-Identifier: MIT
"""Scenes: objects with places, materials and manipulators."""

from __future__ import annotations

from collections.abc import Sequence
from dataclasses import dataclass, field
from typing import Union

from quorvale.curves import Curve, Value
from quorvale.facts import LIMITS, Row, checked_number, row, told
from quorvale.items import GenMesh, Item, Material, Model, Verbatim
from quorvale.origin import Origin, here
from quorvale.values import Vector, checked_param, checked_triple

Shape = Union[Model, GenMesh]


@dataclass(eq=False)
class Manipulator:
    """What makes one object many, or bends it; see `quorvale.manipulators`.

    >>> from quorvale.manipulators import x_multiplier
    >>> isinstance(x_multiplier(12, step=(0, 0, -4)), Manipulator)
    True
    """

    row: Row
    values: tuple[Value, ...]
    placement: Shape | None
    origin: Origin = field(default_factory=here, init=False, repr=False)


def make_manipulator(word: str, values: Sequence[Value], placement: Shape | None = None,
                     ) -> Manipulator:
    """A manipulator; values stand in the order of its row."""
    manipulator = row("manipulators", word)
    checked = tuple(checked_param(word, param, value)
                    for param, value in zip(manipulator.params, values))
    return Manipulator(manipulator, checked, placement)


@dataclass(frozen=True)
class Placed:
    """One object of a scene."""

    shape: Shape
    material: Material
    position: Vector
    rotation: Vector
    scale: Vector
    visible: Curve | None
    shift: float
    manipulators: tuple[Manipulator, ...]
    origin: Origin


@dataclass(eq=False)
class Scene(Item):
    """Up to 512 objects, drawn in the order in which they were added.

    >>> from quorvale import recipes
    >>> scene = Scene(name="stage")
    >>> scene.add(Model("ship.obj"), recipes.color((1, 0, 0)), position=(0, 1, 0), scale=2)
    """

    objects: list[Placed | Verbatim] = field(default_factory=list, init=False)

    def add(self, shape: Shape, material: Material, *,
            position: Sequence[Value] = (0.0, 0.0, 0.0),
            rotation: Sequence[Value] = (0.0, 0.0, 0.0),
            scale: Union[Value, Sequence[Value]] = 1.0, visible: Curve | None = None,
            shift: float = 0, manipulators: Sequence[Manipulator] = ()) -> None:
        """Places a model or a generated mesh.

        `rotation` is degrees about x, y and z; `scale` one value or three. `visible` hides the
        object while it is below 1. `shift` is ticks that are added to the object's time.
        """
        self._refuse_verbatim()
        if not isinstance(shape, (Model, GenMesh)):
            cure = f'; a file is Model("{shape}")' if isinstance(shape, str) else \
                '; mesh.write("name.obj") gives its model' if hasattr(shape, "faces") else ""
            raise TypeError(f"add(): an object is a Model or a generated mesh, not {told(shape)}"
                            f"{cure}")
        if not isinstance(material, Material):
            raise TypeError(f"add(): the material is a Material, made by quorvale.recipes, not "
                            f"{told(material)}")
        if len(self.objects) == LIMITS["objects"]:
            raise ValueError(f"add(): a scene has up to {LIMITS['objects']} objects")
        if len(manipulators) > LIMITS["manipulators"]:
            raise ValueError(f"add(): an object has up to {LIMITS['manipulators']} manipulators, "
                             f"not {len(manipulators)}")
        for manipulator in manipulators:
            if not isinstance(manipulator, Manipulator):
                raise TypeError(f"add(): a manipulator is made by quorvale.manipulators, not "
                                f"{told(manipulator)}")
        _check_copies(manipulators)
        if visible is not None and not isinstance(visible, Curve):
            raise TypeError(f"add(): visible is a curve, such as span(0, 200), not {told(visible)}")
        if isinstance(scale, (int, float, Curve)):
            scale = (scale, scale, scale)
        self.objects.append(Placed(
            shape, material, checked_triple("add", "position", position),
            checked_triple("add", "rotation", rotation), checked_triple("add", "scale", scale),
            visible, _shift(shift), tuple(manipulators), here()))

    def _refuse_verbatim(self) -> None:
        if self.xml is not None:
            raise ValueError("add(): a scene that is given as its element takes no more objects")

    def verbatim(self, xml: str) -> None:
        """Adds an object as its element, written as it stands; see `quorvale.verbatim`.

        >>> scene = Scene()
        >>> scene.verbatim('<object type="0" object="1" material="1"/>')
        """
        self._refuse_verbatim()
        self.objects.append(Verbatim(xml))


def _shift(shift: float) -> float:
    checked_number("add", "shift", shift)
    return shift


def _check_copies(manipulators: Sequence[Manipulator]) -> None:
    """Refuses more copies than one picture draws of an object."""
    copies = 1.0
    for manipulator in manipulators:
        for param, value in zip(manipulator.row.params, manipulator.values):
            if param.kind == "count":
                if not isinstance(value, Curve):
                    copies *= max(1.0, value)
                elif value.xml is None:
                    copies *= max(1.0, value.extremes()[1][0])
    if copies > LIMITS["instances"]:
        raise ValueError(f"add(): an object has up to {LIMITS['instances']} copies, "
                         f"not {copies:.0f}")
