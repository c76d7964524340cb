# SPDX-License-Identifier: MIT
"""Colors and vectors whose numbers may move."""

from __future__ import annotations

from collections.abc import Iterator, Sequence
from dataclasses import dataclass
from typing import Union

from quorvale.curves import Curve, Value
from quorvale.facts import Param, check, checked_number, passes, range_text, told

Vector = tuple[Value, Value, Value]


@dataclass(frozen=True)
class Color:
    """Red, green and blue from 0 to 1; each may be a curve.

    >>> Color(1.0, 0.5, 0.25) * 0.5
    Color(r=0.5, g=0.25, b=0.125)
    >>> Color.hex("#ff0080").r
    1.0
    """

    r: Value
    g: Value
    b: Value

    @staticmethod
    def hex(text: str) -> Color:
        """A color as web pages write it: "#ff8800"."""
        digits = text.removeprefix("#")
        if len(digits) != 6 or set(digits.lower()) - set("0123456789abcdef"):
            raise ValueError(f'Color.hex(): a color has six digits of 0 to 9 and a to f, as '
                             f'"#ff8800", not "{text}"')
        return Color(*(int(digits[k:k + 2], 16) / 255.0 for k in (0, 2, 4)))

    def __iter__(self) -> Iterator[Value]:
        return iter((self.r, self.g, self.b))

    def __mul__(self, factor: Value) -> Color:
        return Color(*(_product(channel, factor) for channel in self))

    __rmul__ = __mul__

    def mixed(self, other: ColorLike, amount: Value) -> Color:
        """This color where `amount` is 0, the other where it is 1; curves may lead over.

        >>> WHITE.mixed((0, 0.5, 1), 0.5)
        Color(r=0.5, g=0.75, b=1.0)
        """
        return Color(*(_product(_fixed(b) - _fixed(a), amount) + _fixed(a)
                       for a, b in zip(self, other)))


ColorLike = Union[Color, Sequence[Value]]

WHITE = Color(1.0, 1.0, 1.0)
BLACK = Color(0.0, 0.0, 0.0)


def _product(a: Value, b: Value) -> Value:
    if not isinstance(b, Curve):
        return a * b
    if not isinstance(a, Curve):
        return b * a
    raise ValueError("two curves can't be multiplied: no function of an envelope is a product")


def _fixed(value: Value) -> float:
    if isinstance(value, Curve):
        raise ValueError("mixed(): the two colors do not move, only the amount does")
    return value


def checked_value(maker: str, meaning: str, value: object) -> Value:
    """A finite number or a curve."""
    if isinstance(value, Curve):
        return value
    return checked_number(maker, meaning, value)


def checked_param(maker: str, param: Param, value: object) -> Value:
    """A number inside a parameter's range, or a curve that stays there while it is played.

    >>> from quorvale.curves import line
    >>> from quorvale.facts import row
    >>> checked_param("color", row("recipes", "color").params[1], line(0, 100, 50))
    Traceback (most recent call last):
    ValueError: color(): the alpha is 0 to 1, and the curve is 100 at tick 50
    """
    if not isinstance(value, Curve):
        return check(maker, param, value)
    if value.xml is not None:
        return value
    for extreme, tick in value.extremes():
        if not passes(param, extreme):
            raise ValueError(f"{maker}(): the {param.meaning} is {range_text(param)}, "
                             f"and the curve is {extreme:.4g} at tick {tick}")
    return value


def checked_triple(maker: str, meaning: str, values: object) -> Vector:
    """Three values, of a tuple, a list or a Color."""
    if isinstance(values, (Color, tuple, list)):
        triple = tuple(values)
        if len(triple) == 3:
            a, b, c = (checked_value(maker, meaning, value) for value in triple)
            return a, b, c
    cure = ""
    if isinstance(values, str):
        cure = f'; a color of six digits is Color.hex("{values}")'
    elif isinstance(values, (int, float, Curve)):
        cure = "; with one that moves they are (0, curve, 0)" if isinstance(values, Curve) else \
            f"; with this one they are ({values:g}, {values:g}, {values:g})"
    raise ValueError(f"{maker}(): the {meaning} is three numbers or curves, not {told(values)}"
                     f"{cure}")
