# SPDX-License-Identifier: MIT
"""Curves: values that move in time.

A curve is up to 16 pieces one after the other, each a function of the ticks since it began; a tick
is 10 ms. Wherever a value may move, a number or a curve can stand.

    >>> fade = line(0, 1, 100).then(hold(1, 300)).then(line(1, 0, 100))
    >>> fade.length, fade.at(50), fade.at(250)
    (500, 0.5, 1.0)
    >>> pulse = ease_out(1, 0, 50).looped()
    >>> (pulse * 0.5 + 1).at(50)
    1.0
"""

from __future__ import annotations

import math
from collections.abc import Callable, Iterator, Sequence
from dataclasses import dataclass, field, replace
from typing import Final, NamedTuple, TypeVar, Union

from quorvale.exact import PI, f32, sin_turns, sine32
from quorvale.facts import LIMITS, TICKS_PER_SECOND, checked_number, row, told
from quorvale.origin import Origin, here

CONSTANT, LINEAR, QUADRATIC, SINUS, SPLINE, SINUS_X = (
    row("functions", word).number
    for word in ("constant", "linear", "quadratic", "sinus", "spline", "sinus_x"))
OFF, LOOP, PING_PONG = (row("loops", word).number for word in ("off", "loop", "ping_pong"))
SPLINE_POINTS: Final = 12

_COUNTS: Final = {CONSTANT: 1, LINEAR: 2, QUADRATIC: 3, SINUS: 4, SPLINE: 24, SINUS_X: 5}
_YS: Final = tuple(range(1, 24, 2))
# The parameters of a function that grow with its value, and those that rise with it.
_SCALED: Final = {CONSTANT: (0,), LINEAR: (0, 1), QUADRATIC: (0, 2), SINUS: (0, 3), SPLINE: _YS,
                  SINUS_X: (0, 3, 4)}
_LIFTED: Final = {CONSTANT: (0,), LINEAR: (1,), QUADRATIC: (2,), SINUS: (3,), SPLINE: _YS,
                  SINUS_X: (3,)}


def number_text(value: float, digits: int = 7) -> str:
    """A number as documents have it: seven digits, the same text on every machine, and no -0.

    >>> number_text(1 / 255), number_text(2.0), number_text(-0.0)
    ('0.003921569', '2', '0')
    """
    if isinstance(value, int):
        return str(value)
    return "%.*g" % (digits, value) if f32(value) != 0.0 else "0"


def written(value: float) -> float:
    """The 32-bit number that the engine reads for a written value.

    >>> written(0.1)
    0.10000000149011612
    """
    return f32(float(number_text(float(value))))


def seconds(count: float) -> int:
    """Seconds in ticks: `seconds(2.5)` is 250."""
    return round(count * TICKS_PER_SECOND)


class Piece(NamedTuple):
    """One function over a number of ticks."""

    function: int
    length: int
    params: tuple[float, ...]


def _ticks(maker: str, meaning: str, value: object, least: int = 0) -> int:
    number = checked_number(maker, meaning, value)
    if number != math.floor(number) or not least <= number < 2 ** 31:
        raise ValueError(f"{maker}(): the {meaning} is a whole number of ticks, "
                         f"at least {least}, not {value}")
    return int(number)


def _is_factor(done: str, value: object) -> bool:
    """Whether a value is a finite number. What can't know curves is refused; classes may."""
    if value is not None and not isinstance(value, (bool, int, float, str, tuple, list, dict)):
        return False
    if isinstance(value, bool) or not isinstance(value, (int, float)):
        cure = "; each of several has its own curve" if isinstance(value, (tuple, list)) else ""
        raise TypeError(f"a curve is {done} a number, not {told(value)}{cure}")
    if not math.isfinite(value):
        raise ValueError(f"a curve is {done} a finite number, not {value!r}")
    return True


Ticks = TypeVar("Ticks", int, float)


@dataclass(frozen=True)
class Curve:
    """A function of time, made by `hold`, `line`, `wave` and the others.

    Curves are values: no operation changes one, all give a new one. `curve * 2`, `curve + 1` and
    `1 - curve` do to every value what they say. Equal curves become one envelope.

    >>> fade: Curve = line(0, 1, 100)
    >>> (1 - fade).at(25), (fade * 2).delayed(50).at(100)
    (0.75, 1.0)
    """

    pieces: tuple[Piece, ...]
    loop: int = OFF
    begin: int = 0
    end: int = 0
    xml: str | None = field(default=None, kw_only=True, repr=False)  # of quorvale.verbatim
    origin: Origin = field(default_factory=here, init=False, compare=False, repr=False)

    def __post_init__(self) -> None:
        if not 1 <= len(self.pieces) <= LIMITS["pieces"]:
            raise ValueError(f"a curve has 1 to {LIMITS['pieces']} pieces, not {len(self.pieces)}")
        for piece in self.pieces:
            if len(piece.params) != _COUNTS[piece.function]:
                raise ValueError(f"function {piece.function} takes {_COUNTS[piece.function]} "
                                 f"numbers, not {len(piece.params)}")
            _ticks("Curve", "length of a piece", piece.length)
            for param in piece.params:
                checked_number("Curve", "number of a piece", param)
        if self.loop != OFF and not 0 <= self.begin < self.end:
            raise ValueError(f"a loop begins at 0 or later and ends later than it begins, "
                             f"not {self.begin} to {self.end}")

    # Values

    @property
    def length(self) -> int:
        """Ticks up to the end of the last piece.

        >>> line(0, 1, 100).then(1, 50).length
        150
        """
        return sum(piece.length for piece in self.pieces)

    def at(self, tick: int) -> float:
        """The value at a tick of 0 or more, to the last bit what the engine computes of a document
        with seven digits, as they are written if nothing is said.

        >>> line(0, 1, 100).at(25)
        0.25
        """
        self._refuse_verbatim()
        whole = int(tick)
        if whole != tick:
            raise TypeError(f"at(): the tick is a whole number, not {tick}")
        x = self._folded(whole & 0xFFFFFFFF)
        for piece in self.pieces[:-1]:
            if x <= piece.length:
                return _evaluate(piece, x)
            x -= piece.length
        return _evaluate(self.pieces[-1], min(x, self.pieces[-1].length))

    def _folded(self, tick: Ticks) -> Ticks:
        if self.loop == OFF or tick <= self.end:
            return tick
        length = self.end - self.begin
        if self.loop == LOOP:
            return (tick - self.begin) % length + self.begin
        folded = (tick - self.begin) % (2 * length)
        return 2 * length - folded if folded > length else folded

    def sample(self, tick: float) -> float:
        """The value at a tick of 0 or more in full precision, also between ticks.

        >>> line(0, 1, 100).sample(0.5), line(0, 1, 100).looped().sample(150)
        (0.005, 0.5)
        """
        self._refuse_verbatim()
        x = self._folded(tick)
        for piece in self.pieces[:-1]:
            if x <= piece.length:
                return _sample(piece, x)
            x -= piece.length
        return _sample(self.pieces[-1], min(x, self.pieces[-1].length))

    def extremes(self) -> tuple[tuple[float, int], tuple[float, int]]:
        """The lowest and the highest value while the curve is played, each with its tick.

        Waves and splines are looked at close enough to see a thousandth of their swing.

        >>> line(2, 4, 100).extremes()
        ((2.0, 0), (4.0, 100))
        """
        self._refuse_verbatim()
        end = self.length if self.loop == OFF else min(self.length, self.end)
        values: list[tuple[float, int]] = []
        start = 0
        for index, piece in enumerate(self.pieces):
            played = min(piece.length, end - start)
            if played < 0:
                break
            if played > 0 or start == end:
                # The tick at which a piece begins belongs to the one before it.
                first = min(played, index, 1)
                values += ((_sample(piece, t), start + t) for t in
                           (max(tick, first) for tick in _turning_ticks(piece, played)))
            start += piece.length
        return min(values), max(values, key=lambda value: (value[0], -value[1]))

    # Arithmetic

    def _changed(self, which: dict[int, tuple[int, ...]],
                 change: Callable[[float], float]) -> Curve:
        self._refuse_verbatim()
        pieces = tuple(
            Piece(piece.function, piece.length,
                  tuple(change(p) if k in which[piece.function] else p
                        for k, p in enumerate(piece.params)))
            for piece in self.pieces)
        return replace(self, pieces=pieces)

    def __mul__(self, factor: float) -> Curve:
        if _is_factor("multiplied by", factor):
            return self._changed(_SCALED, lambda p: p * factor)
        if isinstance(factor, Curve):
            raise TypeError("two curves can't be multiplied: no function of the engine is a "
                            "product. Multiply a curve by a number, or add two")
        return NotImplemented

    __rmul__ = __mul__

    def __truediv__(self, divisor: float) -> Curve:
        if not _is_factor("divided by", divisor):
            return NotImplemented
        if divisor == 0:
            raise ValueError("a curve is divided by a number that is not 0")
        return self * (1.0 / divisor)

    def __add__(self, summand: Value) -> Curve:
        """With a number, any curve. With a curve, where both are made of `hold`, `line`, `ease_in`
        and `ease_out` and neither loops; others can't be one curve, and `sampled` comes close."""
        if isinstance(summand, Curve):
            return _sum(self, summand)
        if _is_factor("added to", summand):
            number: float = summand
            return self._changed(_LIFTED, lambda p: p + number)
        return NotImplemented

    def __radd__(self, summand: float) -> Curve:
        return self + summand

    def __neg__(self) -> Curve:
        return self * -1.0

    def __sub__(self, subtrahend: Value) -> Curve:
        if not isinstance(subtrahend, Curve) and not _is_factor("less by", subtrahend):
            return NotImplemented
        return self + -1.0 * subtrahend

    def __rsub__(self, minuend: float) -> Curve:
        if not _is_factor("taken from", minuend):
            return NotImplemented
        return self * -1.0 + minuend

    # Time

    def _refuse_verbatim(self) -> None:
        if self.xml is not None:
            raise ValueError("a curve that is given as its element has values that only the engine "
                             "knows: it can't be changed, joined or asked")

    def then(self, following: Value, length: int = 100) -> Curve:
        """This curve, and where it ends another, or a number held for `length` ticks. Neither
        loops.

        >>> line(0, 1, 50).then(1, 100).then(line(1, 0, 50)).length
        200
        """
        self._refuse_verbatim()
        if not isinstance(following, Curve):
            following = hold(following, length)
        following._refuse_verbatim()
        if self.loop != OFF:
            raise ValueError("then(): a curve that loops has no end; take then() first, and loop "
                             "the whole")
        if following.loop != OFF:
            raise ValueError("then(): a curve that loops can't be a part of another; take then() "
                             "first, and loop the whole: one.then(two).looped(one.length)")
        return replace(self, pieces=self.pieces + following.pieces)

    def delayed(self, ticks: int) -> Curve:
        """The same, later: the first value is held for so many ticks. One that swings can't be.

        >>> line(0, 1, 100).delayed(50).at(100)
        0.5
        """
        ticks = _ticks("delayed", "delay", ticks)
        if ticks == 0:
            return self
        self._refuse_verbatim()
        if self.loop == PING_PONG:
            raise ValueError("delayed(): a curve that swings begins at tick 0 of its clip, so it "
                             "can't be later; write both ways instead, as in "
                             "line(0, 1, 100).then(line(1, 0, 100)).looped()")
        first = Piece(CONSTANT, ticks, (self.sample(0),))
        if self.loop == OFF:
            return Curve((first,) + self.pieces)
        return Curve((first,) + self.pieces, self.loop, self.begin + ticks, self.end + ticks)

    def looped(self, begin: int = 0, end: int | None = None) -> Curve:
        """Comes back to `begin` when it has passed `end`; the whole curve without them.

        >>> line(0, 1, 100).looped().at(125)
        0.25
        """
        self._refuse_verbatim()
        return replace(self, loop=LOOP, begin=begin, end=self.length if end is None else end)

    def swinging(self, begin: int = 0, end: int | None = None) -> Curve:
        """Runs to and fro. With a `begin` it swings over the first `end - begin` ticks of the
        curve after its first run: the engine folds from the curve's own start.

        >>> line(0, 1, 100).swinging().at(125)
        0.75
        """
        self._refuse_verbatim()
        return replace(self, loop=PING_PONG, begin=begin, end=self.length if end is None else end)

    def sampled(self, length: int, points: int = SPLINE_POINTS) -> Curve:
        """A spline through this curve at even distances, for sums that need one function.

        >>> wave(0, 1, 400).sampled(400, points=9).at(100)
        1.0
        """
        if not 2 <= points <= SPLINE_POINTS:
            raise ValueError(f"sampled(): there are 2 to {SPLINE_POINTS} points, not {points}")
        if length < 1:
            raise ValueError(f"sampled(): the length is 1 tick at least, not {length}")
        return spline([(tick, self.sample(tick)) for tick in even_ticks(length, points)])


Value = Union[float, Curve]


def even_ticks(length: int, points: int = SPLINE_POINTS) -> list[int]:
    """Ticks from 0 to `length` at even distances; fewer than `points` where there are not so many.

    >>> even_ticks(100, 5), even_ticks(2, 5)
    ([0, 25, 50, 75, 100], [0, 1, 2])
    """
    steps = max(1, min(points - 1, length))
    return [round(length * k / steps) for k in range(steps + 1)]


def _evaluate(piece: Piece, tick: int) -> float:
    """A piece in 32-bit numbers, in the engine's order of operations."""
    s = f32(float(tick))
    p = [written(param) for param in piece.params]
    if piece.function == CONSTANT:
        return p[0]
    if piece.function == LINEAR:
        return f32(f32(s * p[0]) + p[1])
    if piece.function == QUADRATIC:
        d = f32(s - p[1])
        return f32(f32(f32(p[0] * d) * d) + p[2])
    if piece.function == SINUS:
        return f32(f32(sine32(f32(f32(s * p[1]) - p[2])) * p[0]) + p[3])
    if piece.function == SINUS_X:
        factor = f32(f32(s * p[0]) + p[4])
        return f32(f32(factor * sine32(f32(f32(p[1] * s) - p[2]))) + p[3])
    return _evaluate_spline(p, s)


def _divide32(a: float, b: float) -> float:
    if b == 0.0:
        return math.nan if a == 0.0 or a != a else math.copysign(math.inf, a) * math.copysign(1, b)
    return f32(a / b)


def _knots(points: Sequence[tuple[float, float]], exact: bool) -> tuple[list[float], list[float]]:
    """The points as the engine repairs them, with what stands before and after them."""
    narrow: Callable[[float], float] = (lambda value: value) if exact else f32
    x = [-999999.0, narrow(points[0][0] - 1.0)]
    y = [points[0][1], points[0][1]]
    for px, py in points:
        x.append(float(px))
        y.append(py)
    for k in range(2, len(x)):
        if narrow(x[k - 1] + 1.0) > x[k]:
            x[k] = narrow(x[k - 1] + 1.0)
            y[k] = y[k - 1]
    x += [narrow(x[-1] + 999999.0), 9999999.0]
    y += [y[-1], y[-1]]
    return x, y


def _evaluate_spline(p: Sequence[float], s: float) -> float:
    x, y = _knots(list(zip(p[0::2], p[1::2])), exact=False)
    if s <= x[1]:
        return y[1]
    j = 2
    while j < 15 and s > x[j]:
        j += 1
    if j > 14:
        return y[14]
    dx = f32(x[j] - x[j - 1])
    p1, p2 = y[j - 1], y[j]
    slope = _divide32(f32(y[j - 1] - y[j - 2]), f32(x[j - 2] - x[j - 1]))
    p0 = f32(f32(slope * dx) + p1)
    slope = _divide32(f32(y[j + 1] - y[j]), f32(x[j + 1] - x[j]))
    p3 = f32(f32(slope * dx) + p2)
    linear = f32(p2 - p0)
    square = f32(f32(f32(f32(2.0 * p0) - f32(5.0 * p1)) + f32(4.0 * p2)) - p3)
    cube = f32(f32(f32(f32(3.0 * p1) - p0) - f32(3.0 * p2)) + p3)
    u = _divide32(f32(s - x[j - 1]), dx)
    low = f32(f32(2.0 * p1) + f32(linear * u))
    middle = f32(low + f32(f32(square * u) * u))
    return f32(0.5 * f32(middle + f32(f32(cube * f32(u * u)) * u)))


def spline_value(points: Sequence[tuple[float, float]], t: float) -> float:
    """The value of a spline through (tick, value) points at any time, in full precision.

    >>> spline_value([(0, 1), (100, 3)], 50)
    2.0
    """
    padded = list(points)
    while len(padded) < SPLINE_POINTS:
        padded.append((padded[-1][0] + 1.0, padded[-1][1]))
    x, y = _knots(padded, exact=True)
    j = 2
    while t > x[j]:
        j += 1
    dx = x[j] - x[j - 1]
    p1, p2 = y[j - 1], y[j]
    p0 = (y[j - 1] - y[j - 2]) / (x[j - 2] - x[j - 1]) * dx + p1
    p3 = (y[j + 1] - y[j]) / (x[j + 1] - x[j]) * dx + p2
    u = (t - x[j - 1]) / dx
    return 0.5 * ((2 * p1 + (p2 - p0) * u) + (2 * p0 - 5 * p1 + 4 * p2 - p3) * u * u +
                  (3 * p1 - p0 - 3 * p2 + p3) * (u * u) * u)


def _sample(piece: Piece, t: float) -> float:
    p = piece.params
    if piece.function == CONSTANT:
        return p[0]
    if piece.function == LINEAR:
        return p[0] * t + p[1]
    if piece.function == QUADRATIC:
        return p[0] * (t - p[1]) * (t - p[1]) + p[2]
    if piece.function == SINUS:
        return p[0] * sin_turns((t * p[1] - p[2]) / (2.0 * PI)) + p[3]
    if piece.function == SINUS_X:
        return (p[0] * t + p[4]) * sin_turns((t * p[1] - p[2]) / (2.0 * PI)) + p[3]
    points = list(zip(p[0::2], p[1::2]))
    kept = [points[0]] + [b for a, b in zip(points, points[1:]) if b[0] > a[0]]
    return spline_value(kept, t)


def _turning_ticks(piece: Piece, length: int) -> Iterator[int]:
    """Ticks from 0 to `length` among which a piece has its lowest and highest value."""
    p = piece.params
    yield 0
    yield length
    if piece.function == QUADRATIC and 0.0 < p[1] < length:
        yield round(p[1])
    elif piece.function in (SINUS, SINUS_X) and p[1] != 0.0:
        # Where the sine turns, the first and last 100 times; a swing that changes turns near there.
        half = abs(math.pi / p[1])
        first = (p[2] / p[1] + half / 2.0) % half
        turns = range(max(0, math.floor((length - first) / half) + 1))
        for k in sorted({*turns[:100], *turns[-100:]}):
            for shift in (-half / 8.0, 0.0, half / 8.0):
                yield min(max(round(first + k * half + shift), 0), length)
    elif piece.function == SPLINE:
        for x, following in zip(p[0:-2:2], p[2::2]):
            for k in range(16):
                tick = round(x + (following - x) * k / 16.0)
                if 0 < tick < length:
                    yield tick


# ---------------------------------------------------------------------------------------------
# Sums of curves


def _polynomial(piece: Piece) -> tuple[float, float, float]:
    """A piece as a x x + b x + c."""
    p = piece.params
    if piece.function == CONSTANT:
        return 0.0, 0.0, p[0]
    if piece.function == LINEAR:
        return 0.0, p[0], p[1]
    if piece.function == QUADRATIC:
        return p[0], -2.0 * p[0] * p[1], p[0] * p[1] * p[1] + p[2]
    raise ValueError("waves and splines can't be added to a curve, only numbers to them: "
                     "use sampled() on both")


def _from_polynomial(a: float, b: float, c: float, length: int) -> Piece:
    """a x x + b x + c as one function, a bend that no one sees left out."""
    size = abs(b) * length + abs(c) + abs(a) * length * length
    if abs(a) * length * length > 1e-6 * size:
        middle = -b / (2.0 * a)
        if abs(a) * middle * middle > 1e3 * size:
            raise ValueError("the sum is almost a line, and seven digits would lose its bend: "
                             "use sampled()")
        return Piece(QUADRATIC, length, (a, middle, c - a * middle * middle))
    if b != 0.0:
        return Piece(LINEAR, length, (b, c))
    return Piece(CONSTANT, length, (c,))


def _stretches(curve: Curve, ends: Sequence[int]) -> Iterator[tuple[float, float, float]]:
    """The polynomials of a curve between the given ends, each from its stretch's own start."""
    start = 0
    for end in ends:
        begun = 0
        for piece in curve.pieces[:-1]:
            if end <= begun + piece.length:
                break
            begun += piece.length
        else:
            piece = curve.pieces[-1]
        if start >= curve.length:
            yield 0.0, 0.0, _sample(curve.pieces[-1], curve.pieces[-1].length)
        else:
            a, b, c = _polynomial(piece)
            shift = start - begun
            yield a, b + 2.0 * a * shift, a * shift * shift + b * shift + c
        start = end


def _sum(one: Curve, other: Curve) -> Curve:
    one._refuse_verbatim()
    other._refuse_verbatim()
    if one.loop != OFF or other.loop != OFF:
        raise ValueError("curves that loop can't be added: add first, loop the sum")
    for curve in (one, other):  # refuse what is no polynomial, wherever it stands
        for piece in curve.pieces:
            _polynomial(piece)
    ends = set()
    for curve in (one, other):
        total = 0
        for piece in curve.pieces:
            total += piece.length
            ends.add(total)
    ordered = sorted(ends - {0}) or [0]
    pieces = []
    start = 0
    for end, p, q in zip(ordered, _stretches(one, ordered), _stretches(other, ordered)):
        pieces.append(_from_polynomial(p[0] + q[0], p[1] + q[1], p[2] + q[2], end - start))
        start = end
    return Curve(tuple(pieces))


# ---------------------------------------------------------------------------------------------
# Makers


def _number(maker: str, meaning: str, value: float) -> float:
    checked_number(maker, meaning, value)
    return value


def function(word: str, length: int, *numbers: float) -> Curve:
    """One function by its word and with its own numbers, as documents have them: "constant",
    "linear", "quadratic", "sinus", "spline" or "sinus_x".

    >>> function("linear", 100, 0.5, 1).at(10)
    6.0
    """
    return Curve((Piece(row("functions", word).number, _ticks("function", "length", length),
                        tuple(_number("function", "number", number) for number in numbers)),))


def hold(value: float, length: int = 100) -> Curve:
    """One value for `length` ticks, and after the last piece for good."""
    return Curve((Piece(CONSTANT, _ticks("hold", "length", length),
                        (_number("hold", "value", value),)),))


def line(first: float, last: float, length: int) -> Curve:
    """Even movement from one value to another in `length` ticks.

    >>> line(2, 4, 100).at(50)
    3.0
    """
    ticks = _ticks("line", "length", length, 1)
    return Curve((Piece(LINEAR, ticks, ((last - first) / length, first)),))


def ease_out(first: float, last: float, length: int) -> Curve:
    """Fast at first, at rest at the end."""
    ticks = _ticks("ease_out", "length", length, 1)
    return Curve((Piece(QUADRATIC, ticks, ((first - last) / (length * length), length, last)),))


def ease_in(first: float, last: float, length: int) -> Curve:
    """At rest at first, fast at the end."""
    ticks = _ticks("ease_in", "length", length, 1)
    return Curve((Piece(QUADRATIC, ticks, ((last - first) / (length * length), 0, first)),))


def ease(first: float, last: float, length: int) -> Curve:
    """At rest at both ends: half `ease_in`, half `ease_out`.

    >>> ease(0, 4, 100).at(50), ease(0, 4, 100).at(25)
    (2.0, 0.5)
    """
    half = _ticks("ease", "length", length, 2) // 2
    middle = first + (last - first) * 0.5
    return ease_in(first, middle, half).then(ease_out(middle, last, length - half))


def wave(middle: float, swing: float, period: float, turns: float = 0.0,
         length: int = 10000) -> Curve:
    """A sine about `middle`, `swing` to both sides, in `period` ticks, from `turns` of a period on.

    It stands still after `length` ticks, 100 seconds if nothing is said.

    >>> wave(1, 0.5, 200).at(50)
    1.5
    """
    if checked_number("wave", "period", period) <= 0:
        raise ValueError(f"wave(): the period is above 0 ticks, not {period}")
    return Curve((Piece(SINUS, _ticks("wave", "length", length),
                        (swing, 2.0 * math.pi / period, -2.0 * math.pi * turns, middle)),))


def ring_down(rest: float, swing: float, period: float, length: int) -> Curve:
    """Swings about `rest` less and less, and is there after `length` ticks."""
    ticks = _ticks("ring_down", "length", length, 1)
    return Curve((Piece(SINUS_X, ticks,
                        (-swing / length, 2.0 * math.pi / period, 0.0, rest, swing)),))


def spline(points: Sequence[tuple[float, float]], length: int | None = None) -> Curve:
    """A smooth curve through 2 to 12 (tick, value) points, the first at tick 0.

    >>> spline([(0, 0), (100, 1), (200, 0)]).at(100)
    1.0
    """
    if not 2 <= len(points) <= SPLINE_POINTS:
        raise ValueError(f"spline(): there are 2 to {SPLINE_POINTS} points, not {len(points)}")
    if points[0][0] != 0:
        raise ValueError(f"spline(): the first point lies at tick 0, not {points[0][0]}")
    params: list[float] = []
    for (x, y), following in zip(points, [p[0] for p in points[1:]] + [math.inf]):
        if following - x < 1:
            raise ValueError(f"spline(): points lie a tick apart at least, "
                             f"not at {x} and {following}")
        params += [x, y]
    params += [0.0] * (2 * (SPLINE_POINTS - len(points)))
    return Curve((Piece(SPLINE, round(points[-1][0]) if length is None else length,
                        tuple(params)),))


def levels(points: Sequence[tuple[int, float]]) -> Curve:
    """Values without movement: (tick, value) points, the first at tick 0; the last stays.

    >>> levels([(0, 1), (50, 3)]).at(20), levels([(0, 1), (50, 3)]).at(60)
    (1.0, 3.0)
    """
    if not points or points[0][0] != 0:
        raise ValueError("levels(): the first point lies at tick 0")
    pieces = []
    for (x, y), following in zip(points, [p[0] for p in points[1:]] + [points[-1][0] + 100]):
        pieces.append(Piece(CONSTANT, _ticks("levels", "distance of two points", following - x, 1),
                            (y,)))
    return Curve(tuple(pieces))


def span(first: int, last: int) -> Curve:
    """1 from tick `first` to `last`, 0 before and after: for what is visible for a while."""
    points = [(0, 0.0)] if first > 0 else []
    return levels(points + [(first, 1.0), (last, 0.0)])
