"""Mathematics that comes out the same on every machine.

What the generators of this folder write is compared byte for byte. Sums, products, quotients and
square roots are the same everywhere; sines and powers of the machine's library are not. So these
here are made of the former. They are good to 14 digits or so.
"""

import math

PI = 3.141592653589793


def sin_turns(turns):
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


def cos_turns(turns):
    return sin_turns(turns + 0.25)


def _sin_series(x):
    square = x * x
    s = 1.0
    for n in range(17, 0, -2):  # last term first
        s = 1.0 - square / ((n + 1) * (n + 2)) * s
    return x * s


def _cos_series(x):
    square = x * x
    c = 1.0
    for n in range(17, 0, -2):
        c = 1.0 - square / (n * (n + 1)) * c
    return c


def sin_degrees(degrees):
    return sin_turns(degrees / 360.0)


def cos_degrees(degrees):
    return sin_turns(degrees / 360.0 + 0.25)


def _atan(x):
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


def atan2_degrees(y, x):
    """The angle of the direction (x, y), from -180 to 180."""
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


def exponential(x):
    k = math.floor(x * 1.4426950408889634 + 0.5)
    r = x - k * 0.6931471805599453
    s = 1.0
    for n in range(18, 0, -1):
        s = 1.0 + r / n * s
    return math.ldexp(s, int(k))


def logarithm(x):
    m, e = math.frexp(x)
    y = (m - 1.0) / (m + 1.0)
    square = y * y
    s = 0.0
    for n in range(41, 0, -2):
        s = 1.0 / n + square * s
    return 2.0 * y * s + e * 0.6931471805599453


def power(base, exponent):
    """A base of at least 0 to any exponent."""
    if base <= 0.0:
        return 0.0
    return exponential(exponent * logarithm(base))


class Noise:
    """Pseudo-random numbers from 0 to 1."""

    def __init__(self, seed):
        self.state = seed

    def next(self):
        self.state = (self.state * 1664525 + 1013904223) & 0xFFFFFFFF
        return self.state / 4294967296.0

    def between(self, low, high):
        return low + (high - low) * self.next()
