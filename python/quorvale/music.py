# SPDX-License-Identifier: MIT
"""When a module's rows sound, in ticks of the timeline.

The piece's clock is its music: a picture that belongs to a beat is placed by the module's own rows.
"""

from __future__ import annotations

import os
import struct
from dataclasses import dataclass
from typing import Final

_HEADER: Final = b"Extended Module: "
_END: Final = 255  # an order after which nothing is played
_STEP_FRAMES: Final = 110250  # sample frames of a step, times the tempo
_TICK_FRAMES: Final = 441  # sample frames of a tick
_MOST_FRAMES: Final = 3600 * 44100  # music that never ends is cut after an hour


@dataclass(frozen=True)
class SoundingRow:
    """A row as it is played: its order, its number in the pattern, its start and its length in
    ticks of 10 ms, which need not be whole.

        first: SoundingRow = music.rows[0]
    """

    order: int
    row: int
    start: float
    length: float


class Music:
    """An Extended Module (XM) and its rows: `Music("tune.xm")`, at best beside `piece.py`.

    `music.at(2, 16)` is the tick of row 16 of the third pattern that is played; `music.beats(0, 8)`
    are the ticks of eight beats from the first on. A `Tune` that is written gives one as well:

        music = Music("tune.xm", rows_per_beat=4)
        start, end = music.bar(2), music.bar(4)

    Tempo and speed, jumps, breaks, loops and delays of patterns are followed as the player plays
    them: once, without the jumps back that would repeat the music for ever. A tick is the first
    that lies in its row, as `dpk rows` tells it.
    """

    def __init__(self, path: str, rows_per_beat: int = 4) -> None:
        if rows_per_beat < 1:
            raise ValueError(f"Music(): a beat has 1 row at least, not {rows_per_beat}")
        self.filename = os.path.basename(path)
        self.rows_per_beat = rows_per_beat
        try:
            with open(path, "rb") as stream:
                data = stream.read()
        except OSError as error:
            raise ValueError(f'Music(): "{path}" can\'t be read: {error.strerror}. Put the module '
                             f'beside piece.py, or make one: quorvale.tracker.Tune') from None
        self.rows = _play(data, path)
        self._places = {(row.order, row.row): row for row in reversed(self.rows)}

    @property
    def end(self) -> int:
        """The tick at which the last row ends."""
        return _first_tick(self.rows[-1].start + self.rows[-1].length)

    def at(self, order: int, row: int = 0) -> int:
        """The tick at which a row of an order sounds first."""
        found = self._places.get((order, row))
        if found is None:
            raise ValueError(f"at(): order {order}, row {row} is never played")
        return _first_tick(found.start)

    def beat(self, number: int) -> int:
        """The tick of a beat, counted from 0; the end of the music counts as one."""
        place = number * self.rows_per_beat
        if place == len(self.rows):
            return self.end
        if not 0 <= place < len(self.rows):
            raise ValueError(f"beat(): the music has {len(self.rows) // self.rows_per_beat} beats, "
                             f"none of them is {number}")
        return _first_tick(self.rows[place].start)

    def beats(self, first: int, count: int, every: int = 1) -> list[int]:
        """Ticks of `count` beats from `first` on."""
        return [self.beat(first + k * every) for k in range(count)]

    def bar(self, number: int, beats: int = 4) -> int:
        """The tick of a bar of so many beats, counted from 0."""
        return self.beat(number * beats)


def _first_tick(time: float) -> int:
    """The first whole tick from a time on; the time is one of a sample frame."""
    return -(-round(time * _TICK_FRAMES) // _TICK_FRAMES)


Cell = tuple[int, int, int, int, int]  # note, instrument, volume, effect, parameter


def _cells(data: bytes, count: int) -> list[Cell]:
    """Unpacks the cells of a pattern; missing ones are empty."""
    cells: list[Cell] = []
    at = 0
    while len(cells) < count:
        if at >= len(data):
            cells.append((0, 0, 0, 0, 0))
            continue
        mask = data[at]
        if mask & 0x80:
            at += 1
        else:
            mask = 0x1F
        values = []
        for bit in range(5):
            present = bool(mask & (1 << bit)) and at < len(data)
            values.append(data[at] if present else 0)
            at += 1 if present else 0
        cells.append((values[0], values[1], values[2], values[3], values[4]))
    return cells


def _patterns(data: bytes, count: int, channels: int, at: int) -> list[list[list[Cell]]]:
    patterns = []
    for _ in range(count):
        header, _, rows, packed = struct.unpack_from("<IBHH", data, at)
        body = data[at + header:at + header + packed]
        cells = _cells(body, rows * channels)
        patterns.append([cells[k * channels:(k + 1) * channels] for k in range(rows)])
        at += header + packed
    return patterns


class _Player:
    """Where playing stands, by the same measures as the sound library of the player.

    A row takes `speed` steps. A step is a whole number of sample frames, so most tempos are a
    little faster than their number says."""

    def __init__(self, patterns: list[list[list[Cell]]], orders: list[int], channels: int,
                 speed: int, tempo: int) -> None:
        self.patterns = patterns
        self.orders = orders
        self.speed = speed
        self.tempo = tempo
        self.loop_row = [0] * channels
        self.loop_count = [0] * channels
        self.first_row = 0  # of the pattern after this

    def pattern(self, order: int) -> list[list[Cell]]:
        """The pattern of an order; none where there is none or it has no rows."""
        if order >= len(self.orders) or self.orders[order] >= len(self.patterns):
            return []
        return self.patterns[self.orders[order]]

    def find(self, order: int) -> int | None:
        """The first order from one on that is played; None where the music ends."""
        while order < len(self.orders) and self.orders[order] != _END:
            if self.pattern(order):
                return order
            order += 1
        return None

    def loop(self, channel: int, count: int, row: int) -> int | None:
        """A command that begins a loop, or ends it: the row to go back to."""
        if count == 0:
            self.loop_row[channel] = row
            self.first_row = row
            return None
        if self.loop_count[channel] != 0:
            self.loop_count[channel] -= 1
            return self.loop_row[channel] if self.loop_count[channel] != 0 else None
        if any(self.loop_count):
            return None  # one of another channel is not done
        self.loop_count[channel] = count
        return self.loop_row[channel]

    def leads_on(self, order: int, row: int, to_order: int, to_row: int) -> bool:
        """Whether a jump back leads to an end: from where it goes the music leaves the pattern
        without coming by this row again."""
        if to_order != order or to_row >= len(self.pattern(order)):
            return to_order > order
        cells = self.pattern(order)
        seen = {row}
        while to_row not in seen:
            seen.add(to_row)
            jumps = [parameter for _, _, _, effect, parameter in cells[to_row] if effect == 0xB]
            breaks = [_break_row(parameter) for _, _, _, effect, parameter in cells[to_row]
                      if effect == 0xD]
            for jump in jumps:
                if jump != order:
                    return jump > order
            to_row += 1
            if breaks:
                if not jumps:
                    return True
                to_row = breaks[-1]
            if to_row >= len(cells):
                return True
        return False

    def play(self, order: int, row: int) -> tuple[int, int, int]:
        """Lets a row's commands happen: its sample frames, and the order and row after it."""
        cells = self.pattern(order)
        after = (order, row + 1)
        if row + 1 >= len(cells):
            after = (order + 1, self.first_row)
            self.first_row = 0
        jump: int | None = None
        to_row: int | None = None
        back: int | None = None
        delay = 0
        for channel, (_, _, _, effect, parameter) in enumerate(cells[row]):
            high, low = parameter >> 4, parameter & 15
            if effect == 0xF and parameter != 0:
                if parameter < 0x20:
                    self.speed = parameter
                else:
                    self.tempo = parameter
            elif effect == 0xB:
                jump = parameter
            elif effect == 0xD:
                to_row = _break_row(parameter)
            elif effect == 0xE and high == 0x6:
                found = self.loop(channel, low, row)
                back = back if found is None else found
            elif effect == 0xE and high == 0xE:
                delay = low
        if back is not None:
            after = (order, back + (1 if delay != 0 else 0))
        elif jump is not None or to_row is not None:
            goal = (order + 1 if jump is None else jump, 0 if to_row is None else to_row)
            if goal > (order, row) or self.leads_on(order, row, *goal):
                if goal[0] != order:
                    self.loop_count = [0] * len(self.loop_count)
                self.first_row = 0
                after = goal
        return self.speed * (1 + delay) * (_STEP_FRAMES // self.tempo), *after


def _break_row(parameter: int) -> int:
    return (parameter >> 4) * 10 + (parameter & 15)


def _play(data: bytes, path: str) -> list[SoundingRow]:
    if not data.startswith(_HEADER) or len(data) < 80:
        raise ValueError(f'Music(): "{path}" is no Extended Module')
    size, length, _, channels, count, _, _, speed, tempo = struct.unpack_from("<IHHHHHHHH", data,
                                                                              60)
    player = _Player(_patterns(data, count, channels, 60 + size), list(data[80:80 + length]),
                     channels, speed, tempo)
    rows: list[SoundingRow] = []
    frame = 0
    order, row = player.find(0), 0
    while order is not None and frame < _MOST_FRAMES:
        if row >= len(player.pattern(order)):
            row = 0
        frames, after, next_row = player.play(order, row)
        rows.append(SoundingRow(order, row, frame / _TICK_FRAMES, frames / _TICK_FRAMES))
        frame += frames
        order, row = player.find(after), next_row
    return rows
