# SPDX-License-Identifier: MIT
"""Cameras: where a clip is seen from.

    >>> camera = look((0, 2, 8), (0, 0, 0), fov=50)
    >>> camera.fov
    50
"""

from __future__ import annotations

import math
from collections.abc import Sequence
from dataclasses import dataclass
from typing import Final

from quorvale.curves import (SPLINE, SPLINE_POINTS, Curve, Piece, Value, even_ticks, line, spline,
                             spline_value, wave)
from quorvale.exact import atan2_degrees, cos_degrees, cos_turns, sin_degrees, sin_turns
from quorvale.facts import LIMITS, checked_number, told
from quorvale.values import Vector, checked_triple, checked_value

Point = tuple[float, float, float]


@dataclass(frozen=True)
class Camera:
    """What a clip's scene is moved and turned by, and its field of view in degrees.

    `look`, `path` and `orbit` make one from points of the scene; `FLAT` sees the unit square, x
    from 0 at the left to 1 at the right, y from 0 at the top to 1 at the bottom, and has no `fov`.
    By hand, three units before the origin and a little tilted:

    >>> Camera(position=(0, 0, -3), rotation=(10, 0, 0), fov=60).turning_only().position
    (0.0, 0.0, 0.0)
    """

    position: Vector
    rotation: Vector
    fov: Value | None

    def __post_init__(self) -> None:
        checked_triple("Camera", "position", self.position)
        checked_triple("Camera", "rotation", self.rotation)
        if self.fov is not None:
            checked_value("Camera", "field of view", self.fov)
            if isinstance(self.fov, Curve) and self.fov.xml is not None:
                return
            extremes = (self.fov.extremes() if isinstance(self.fov, Curve) else
                        ((self.fov, 0), (self.fov, 0)))
            for extreme, tick in extremes:
                if not 0.0 < extreme < 180.0:
                    moving = f" at tick {tick}" if isinstance(self.fov, Curve) else ""
                    raise ValueError(f"Camera(): the field of view is above 0 and below 180 "
                                     f"degrees, not {extreme:.7g}{moving}")

    def later(self, ticks: int) -> Camera:
        """The same view from tick `ticks` on, for a clip that begins inside its scene: with this
        offset the scene's curves are ahead, and the camera's begin where the clip does.

        >>> from quorvale.curves import line
        >>> look((0, 0, 5), (0, 0, 0), fov=line(60, 40, 100)).later(200).fov.at(300)
        40.0
        """

        def shifted(value: Value) -> Value:
            return value.delayed(ticks) if isinstance(value, Curve) else value

        x, y, z = (shifted(value) for value in self.position)
        rx, ry, rz = (shifted(value) for value in self.rotation)
        return Camera((x, y, z), (rx, ry, rz), None if self.fov is None else shifted(self.fov))

    def turning_only(self) -> Camera:
        """The same directions from the middle of the scene: for skies."""
        return Camera((0.0, 0.0, 0.0), self.rotation, self.fov)

    def facing(self, length: int) -> Vector:
        """Rotations of an object that shows its z side to this camera for `length` ticks.

        >>> look((5, 0, 0), (0, 0, 0)).facing(100)
        (0.0, 90.0, 0.0)
        """
        if length < 1:
            raise ValueError(f"facing(): the length is 1 tick at least, not {length}")
        knots: tuple[list[tuple[int, float]], ...] = ([], [], [])
        for t in _turned_knots(self.rotation, length):
            pitch, yaw, roll = (_sampled(value, t) for value in self.rotation)
            # The inverse of the camera's Rz Rx Ry, as the object's Rx Ry Rz.
            sx, cx = sin_degrees(-pitch), cos_degrees(-pitch)
            sy, cy = sin_degrees(-yaw), cos_degrees(-yaw)
            sz, cz = sin_degrees(-roll), cos_degrees(-roll)
            m00 = cy * cz + sy * sx * sz
            m01 = -cy * sz + sy * sx * cz
            m02 = sy * cx
            m12 = -sx
            m22 = cy * cx
            angles = (atan2_degrees(-m12, m22),
                      atan2_degrees(m02, math.sqrt(m12 * m12 + m22 * m22)),
                      atan2_degrees(-m01, m00))
            # The same turn in other angles, which may be nearer to where the last ones were.
            others = (angles[0] + 180.0, 180.0 - angles[1], angles[2] + 180.0)
            near, far = ([_nearest_turn(angle, points) for points, angle in zip(knots, triple)]
                         for triple in (angles, others))
            if _distance(far, knots) < _distance(near, knots):
                near = far
            for points, angle in zip(knots, near):
                points.append((t, angle))
        x, y, z = (_curve(points) for points in knots)
        return x, y, z


_JOINED_STEPS: Final = SPLINE_POINTS - 3  # between the points that a joined spline runs through
_MOST_STEPS: Final = LIMITS["pieces"] * _JOINED_STEPS

FLAT = Camera((0.0, 0.0, 0.0), (0.0, 0.0, 0.0), None)


def _nearest_turn(angle: float, points: Sequence[tuple[int, float]]) -> float:
    """An angle moved by whole turns, so that it lies within half a turn of the last point."""
    if points:
        while angle - points[-1][1] > 180.0:
            angle -= 360.0
        while angle - points[-1][1] < -180.0:
            angle += 360.0
    return angle


def _distance(angles: Sequence[float], knots: Sequence[Sequence[tuple[int, float]]]) -> float:
    """How far three angles are from the last knots; 0 from none."""
    return sum(abs(angle - points[-1][1]) for angle, points in zip(angles, knots) if points)


def _curve(points: Sequence[tuple[int, float]]) -> Value:
    if all(y == points[0][1] for _, y in points):
        return points[0][1]
    if len(points) <= SPLINE_POINTS:
        return spline(points)
    # Several splines, each with the points before and after it, so that they join smoothly.
    pieces = []
    for first in range(0, len(points) - 1, _JOINED_STEPS):
        start = points[first][0]
        end = points[min(first + _JOINED_STEPS, len(points) - 1)][0]
        near = [(t - start, y) for t, y in points[max(0, first - 1):first + _JOINED_STEPS + 2]]
        near += [(0, 0.0)] * (SPLINE_POINTS - len(near))
        pieces.append(Piece(SPLINE, end - start, tuple(n for point in near for n in point)))
    return Curve(tuple(pieces))


def _turned_knots(rotation: Vector, length: int) -> list[int]:
    """Ticks so near to each other that a camera turns by an eighth at most between two. It may jump
    now and then, as where a curve loops."""
    steps = SPLINE_POINTS - 1
    while True:
        ticks = even_ticks(length, steps + 1)
        turns = [max(abs(_sampled(value, b) - _sampled(value, a)) for value in rotation)
                 for a, b in zip(ticks, ticks[1:])]
        far = sum(turn > 45.0 for turn in turns)
        if far == 0 or steps >= min(length, _MOST_STEPS):
            if far > steps // 8 and steps < length:
                raise ValueError(f"facing(): the camera turns too fast for one curve, by "
                                 f"{sum(turns):.0f} degrees in {length} ticks: ask for fewer")
            return ticks
        steps = min(_MOST_STEPS, length, 2 * steps)


def _sampled(value: Value, t: int) -> float:
    return value.sample(t) if isinstance(value, Curve) else value


def heading(eye: Sequence[float], target: Sequence[float]) -> tuple[float, float]:
    """Rotations about x and y, in degrees, of a camera that looks from one point to another.

    >>> heading((0, 5, 5), (0, 0, 0))
    (45.0, 0.0)
    """
    dx, dy, dz = (b - a for a, b in zip(eye, target))
    flat = math.sqrt(dx * dx + dz * dz)
    return -atan2_degrees(dy, flat), atan2_degrees(dx, -dz)


def _point(maker: str, meaning: str, point: Sequence[float]) -> Point:
    if not isinstance(point, (tuple, list)) or len(point) != 3:
        raise ValueError(f"{maker}(): the {meaning} is a point of three numbers, such as "
                         f"(0, 1, 5), not {told(point)}")
    x, y, z = (checked_number(maker, meaning, value) for value in point)
    return x, y, z


def _is_tick(value: object) -> bool:
    return isinstance(value, int) or isinstance(value, float) and value.is_integer()


def look(eye: Sequence[float], target: Sequence[float], fov: Value = 60.0,
         roll: Value = 0.0) -> Camera:
    """A camera at one point that looks at another. `fov` and `roll` are degrees and may move."""
    eye = _point("look", "eye", eye)
    pitch, yaw = heading(eye, _point("look", "target", target))
    x, y, z = (0.0 - c for c in eye)
    return Camera((x, y, z), (pitch, yaw, roll), fov)


def path(keys: Sequence[tuple[int, Sequence[float], Sequence[float]]], fov: Value = 60.0,
         roll: Value = 0.0) -> Camera:
    """A camera on a curve through 2 to 12 keys (tick, eye, target), the first at tick 0.

    It passes its eyes at the keys, slower at the first and the last, and stays at the last. Its
    directions are taken at twelve even distances, so it looks close to its targets, not at each
    of them; after a fast turn by a key, `cut` to a second path instead.

    >>> camera = path([(0, (0, 0, 5), (0, 0, 0)), (100, (0, 0, 9), (0, 0, 0))])
    >>> camera.position[2].at(100)
    -9.0
    """
    if not 2 <= len(keys) <= SPLINE_POINTS:
        raise ValueError(f"path(): there are 2 to {SPLINE_POINTS} keys, not {len(keys)}")
    for key in keys:
        if not isinstance(key, (tuple, list)) or len(key) != 3 or not _is_tick(key[0]):
            raise ValueError(f"path(): a key is (tick, eye, target), such as (200, (0, 1, 5), "
                             f"(0, 0, 0)), not {told(key)}")
        _point("path", "eye", key[1])
        _point("path", "target", key[2])
    if keys[0][0] != 0:
        raise ValueError(f"path(): the first key lies at tick 0, not {keys[0][0]}")
    for (before, _, _), (tick, _, _) in zip(keys, keys[1:]):
        if tick <= before:
            raise ValueError(f"path(): each key has a later tick than the one before it, and "
                             f"{tick} stands after {before}")
    eyes = [[(int(t), eye[k]) for t, eye, _ in keys] for k in range(3)]
    targets = [[(int(t), target[k]) for t, _, target in keys] for k in range(3)]
    pitches: list[tuple[int, float]] = []
    yaws: list[tuple[int, float]] = []
    for t in even_ticks(int(keys[-1][0])):
        pitch, yaw = heading([spline_value(points, t) for points in eyes],
                             [spline_value(points, t) for points in targets])
        pitches.append((t, pitch))
        yaws.append((t, _nearest_turn(yaw, yaws)))
    x, y, z = (_curve([(t, 0.0 - value) for t, value in points]) for points in eyes)
    return Camera((x, y, z), (_curve(pitches), _curve(yaws), roll), fov)


def orbit(center: Sequence[float], radius: float, height: float, length: int, turns: float = 1.0,
          start: float = 0.0, fov: Value = 60.0) -> Camera:
    """A camera that circles a point in `length` ticks, `height` above it, and looks at it.

    `turns` may be below 0, below 1 and as many as one likes; `start` is where it begins, in turns,
    0 in front (towards larger z). It is as fast at its ends as between, so that one goes on where
    another ends.

    >>> camera = orbit((0, 0, 0), radius=5, height=0, length=800, turns=8)
    >>> camera.rotation[1].at(400)
    -1440.0
    """
    center = _point("orbit", "center", center)
    if checked_number("orbit", "length", length) != int(length) or length < 1:
        raise ValueError(f"orbit(): the length is a whole number of ticks, at least 1, "
                         f"not {length}")
    eye = (center[0] + radius * sin_turns(start), center[1] + height,
           center[2] + radius * cos_turns(start))
    still = look(eye, center, fov)
    if turns == 0.0 or radius == 0.0:
        return still
    # Forwards through the sines, so that none of their numbers is below 0 where turns are not.
    period = length / abs(turns)
    backwards = 1.0 if turns > 0.0 else -1.0
    x = wave(0.0 - center[0], -radius * backwards, period, start * backwards, length)
    z = wave(0.0 - center[2], -radius, period, start * backwards + 0.25, length)
    pitch, yaw, roll = still.rotation
    assert not isinstance(yaw, Curve)
    return Camera((x, still.position[1], z),
                  (pitch, line(yaw, yaw - 360.0 * turns, length), roll), fov)
