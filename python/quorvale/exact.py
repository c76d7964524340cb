# SPDX-License-Identifier: MIT
"""Mathematics that comes out the same on every machine.

What this library writes is compared byte for byte. Sums, products, quotients and square roots are
the same everywhere; sines and powers of the machine's library are not. So these here are made of
the former. They are good to 14 digits or so.

    >>> cos_turns(0.0), sin_degrees(90.0)
    (1.0, 1.0)
"""

from __future__ import annotations

import math
from ctypes import c_float
from typing import Final

PI: Final = 3.141592653589793


def sin_turns(turns: float) -> float:
    """The sine of an angle in turns."""
    x = turns - math.floor(turns)
    sign = 1.0
    if x >= 0.5:
        x -= 0.5
        sign = -1.0
    if x > 0.25:
        x = 0.5 - x
    if x > 0.125:
        return sign * _cos_series(2.0 * PI * (0.25 - x))
    return sign * _sin_series(2.0 * PI * x)


def cos_turns(turns: float) -> float:
    """The cosine of an angle in turns."""
    return sin_turns(turns + 0.25)


def _sin_series(x: float) -> float:
    square = x * x
    s = 1.0
    for n in range(17, 0, -2):  # last term first
        s = 1.0 - square / ((n + 1) * (n + 2)) * s
    return x * s


def _cos_series(x: float) -> float:
    square = x * x
    c = 1.0
    for n in range(17, 0, -2):
        c = 1.0 - square / (n * (n + 1)) * c
    return c


def sin_degrees(degrees: float) -> float:
    """The sine of an angle in degrees."""
    return sin_turns(degrees / 360.0)


def cos_degrees(degrees: float) -> float:
    """The cosine of an angle in degrees.

    >>> cos_degrees(180)
    -1.0
    """
    return sin_turns(degrees / 360.0 + 0.25)


def _atan(x: float) -> float:
    if x < 0.0:
        return -_atan(-x)
    if x > 1.0:
        return PI / 2.0 - _atan(1.0 / x)
    factor = 1.0
    while x > 0.1:  # atan x = 2 atan (x / (1 + sqrt(1 + x x)))
        x = x / (1.0 + math.sqrt(1.0 + x * x))
        factor *= 2.0
    square = x * x
    s = 0.0
    for n in range(21, 0, -2):
        s = 1.0 / n - square * s
    return factor * x * s


def atan2_degrees(y: float, x: float) -> float:
    """The angle of the direction (x, y), from -180 to 180 degrees; 0 for no direction.

    >>> atan2_degrees(1, 0)
    90.0
    """
    if x == 0.0 and y == 0.0:
        return 0.0
    if abs(x) >= abs(y):
        angle = _atan(y / x)
        if x < 0.0:
            angle += PI if y >= 0.0 else -PI
    else:
        angle = PI / 2.0 - _atan(x / y)
        if y < 0.0:
            angle -= PI
    return angle * 180.0 / PI


def exponential(x: float) -> float:
    """e to the power of x.

    >>> exponential(0), round(exponential(1), 6)
    (1.0, 2.718282)
    """
    k = math.floor(x * 1.4426950408889634 + 0.5)
    r = x - k * 0.6931471805599453
    s = 1.0
    for n in range(18, 0, -1):
        s = 1.0 + r / n * s
    return math.ldexp(s, int(k))


def logarithm(x: float) -> float:
    """The natural logarithm of a number above 0.

    >>> round(logarithm(10), 6)
    2.302585
    """
    m, e = math.frexp(x)
    y = (m - 1.0) / (m + 1.0)
    square = y * y
    s = 0.0
    for n in range(41, 0, -2):
        s = 1.0 / n + square * s
    return 2.0 * y * s + e * 0.6931471805599453


def power(base: float, exponent: float) -> float:
    """A base of at least 0 to any exponent; 0 for a base of 0.

    >>> round(power(2, 0.5), 6), power(0, 3)
    (1.414214, 0.0)
    """
    if base <= 0.0:
        return 0.0
    return exponential(exponent * logarithm(base))


class Noise:
    """Pseudo-random numbers, the same for a seed on every run and every machine.

    >>> noise = Noise(7)
    >>> 0.0 <= noise.next() < 1.0
    True
    """

    def __init__(self, seed: int) -> None:
        self.state = seed

    def next(self) -> float:
        """The next number, from 0 up to 1."""
        self.state = (self.state * 1664525 + 1013904223) & 0xFFFFFFFF
        return self.state / 4294967296.0

    def between(self, low: float, high: float) -> float:
        """The next number, from `low` up to `high`.

        >>> -1 <= Noise(3).between(-1, 1) < 1
        True
        """
        return low + (high - low) * self.next()


# ---------------------------------------------------------------------------------------------
# 32-bit numbers, as the engine computes with them


def f32(value: float) -> float:
    """The nearest 32-bit number; infinite past the largest."""
    return float(c_float(value).value)


_HEX: Final = float.fromhex
_HALF_PI_INVERSE: Final = _HEX("0x1.45F306DC9C883p+23")  # 2 / pi, times 2^24
_HALF_PI: Final = _HEX("0x1.921FB54442D18p0")
_PI_63: Final = _HEX("0x1.921FB54442D18p-62")
_COS: Final = tuple(map(_HEX, ("0x1p0", "-0x1.ffffffd0c621cp-2", "0x1.55553e1068f19p-5",
                               "-0x1.6c087e89a359dp-10", "0x1.99343027bf8c3p-16")))
_SIN: Final = tuple(map(_HEX, ("-0x1.555545995a603p-3", "0x1.1107605230bc4p-7",
                               "-0x1.994eb3774cf24p-13")))
_TWO_OVER_PI: Final = bytes.fromhex("000000A2F9836E4E441529FC2757D1F534DDC0DB6295993C439041FE5163")


def _sine_or_cosine(x: float, square: float, cosine: bool, negative: bool) -> float:
    """The polynomial of a 32-bit sine or cosine, about 0."""
    if not cosine:
        cube = x * square
        tail = _SIN[1] + square * _SIN[2]
        return x + cube * _SIN[0] + cube * square * tail
    c = tuple(-v for v in _COS) if negative else _COS
    fourth = square * square
    return c[0] + square * c[1] + fourth * c[2] + fourth * square * (c[3] + square * c[4])


def _reduce_large(x: float) -> tuple[float, int]:
    """A large angle as its rest and its count of quarter turns."""
    bits = int.from_bytes(bytes(c_float(abs(x)))[::-1], "big")
    first = (bits >> 26) & 15
    words = [int.from_bytes(_TWO_OVER_PI[first + k:first + k + 4], "big") for k in (0, 4, 8)]
    mantissa = ((bits & 0x7FFFFF) | 0x800000) << ((bits >> 23) & 7)
    total = (((mantissa * words[0]) & 0xFFFFFFFF) << 32) | ((mantissa * words[2]) >> 32)
    total = (total + mantissa * words[1]) & 0xFFFFFFFFFFFFFFFF
    quarters = ((total + (1 << 61)) & 0xFFFFFFFFFFFFFFFF) >> 62
    rest = (total - (quarters << 62)) & 0xFFFFFFFFFFFFFFFF
    if rest >= 1 << 63:
        rest -= 1 << 64
    return float(rest) * _PI_63, quarters


def sine32(angle: float) -> float:
    """The sine of a 32-bit angle in radians, to the last bit what the engine computes.

    >>> sine32(0.0), sine32(f32(1000.5))
    (0.0, 0.9952739477157593)
    """
    if not math.isfinite(angle):
        return math.nan
    if abs(angle) < 2.0 ** -12:
        return angle
    if abs(angle) < _HEX("0x1.921FB6p-1"):
        return f32(_sine_or_cosine(angle, angle * angle, False, False))
    if abs(angle) < 120.0:
        quarters = (int(angle * _HALF_PI_INVERSE) + 0x800000) >> 24
        rest = angle - quarters * _HALF_PI
        turned = quarters
    else:
        rest, quarters = _reduce_large(angle)
        turned = quarters + (2 if angle < 0.0 else 0)
    sign = (1.0, -1.0, -1.0, 1.0)[turned & 3]
    return f32(_sine_or_cosine(rest * sign, rest * rest, bool(quarters & 1), bool(turned & 2)))
