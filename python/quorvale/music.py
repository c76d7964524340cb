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

    Tempo and speed, jumps, breaks, loops and delays
    of patterns are followed, up to the first place that would be played twice.
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
        return round(self.rows[-1].start + self.rows[-1].length)

    def at(self, order: int, row: int = 0) -> int:
        """The tick at which a row of an order sounds first."""
        found = self._places.get((order, row))
        if found is None:
            raise ValueError(f"at(): order {order}, row {row} is never played")
        return round(found.start)

    def beat(self, number: int) -> int:
        """The tick of a beat, counted from 0; the end of the music counts as one."""
        place = number * self.rows_per_beat
        if place == len(self.rows):
            return self.end
        if not 0 <= place < len(self.rows):
            raise ValueError(f"beat(): the music has {len(self.rows) // self.rows_per_beat} beats, "
                             f"none of them is {number}")
        return round(self.rows[place].start)

    def beats(self, first: int, count: int, every: int = 1) -> list[int]:
        """Ticks of `count` beats from `first` on."""
        return [self.beat(first + k * every) for k in range(count)]

    def bar(self, number: int, beats: int = 4) -> int:
        """The tick of a bar of so many beats, counted from 0."""
        return self.beat(number * beats)


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
    """Where playing stands. A row takes `speed` steps, a step 2.5 / tempo seconds."""

    def __init__(self, speed: int, tempo: int, channels: int) -> None:
        self.speed = speed
        self.tempo = tempo
        self.loop_row = [0] * channels
        self.loop_count = [0] * channels

    def row(self, order: int, number: int, cells: list[Cell]) -> tuple[int, int | None, int | None]:
        """Lets a row's commands happen: its steps, and the order and row that it jumps to."""
        jump: int | None = None
        to_row: int | None = None
        delay = 0
        for channel, (_, _, _, effect, parameter) in enumerate(cells):
            high, low = parameter >> 4, parameter & 15
            if effect == 0xF and parameter != 0:
                if parameter < 0x20:
                    self.speed = parameter
                else:
                    self.tempo = parameter
            elif effect == 0xB:
                jump, to_row = parameter, 0
            elif effect == 0xD:
                jump, to_row = (order + 1 if jump is None else jump), high * 10 + low
            elif effect == 0xE and high == 0x6:
                if low == 0:
                    self.loop_row[channel] = number
                elif self.loop_count[channel] < low:
                    self.loop_count[channel] += 1
                    jump, to_row = order, self.loop_row[channel]
                else:
                    self.loop_count[channel] = 0
            elif effect == 0xE and high == 0xE:
                delay = low
        return self.speed * (1 + delay), jump, to_row


def _play(data: bytes, path: str) -> list[SoundingRow]:
    if not data.startswith(_HEADER) or len(data) < 80:
        raise ValueError(f'Music(): "{path}" is no Extended Module')
    size, length, _, channels, count, _, _, speed, tempo = struct.unpack_from("<IHHHHHHHH", data,
                                                                              60)
    orders = list(data[80:80 + length])
    patterns = _patterns(data, count, channels, 60 + size)
    player = _Player(speed, tempo, channels)

    rows: list[SoundingRow] = []
    played: set[tuple[int, int]] = set()
    order, number, time = 0, 0, 0.0
    while order < len(orders):
        cells = patterns[orders[order]] if orders[order] < len(patterns) else [[]] * 64
        if number >= len(cells):
            order, number = order + 1, 0
            continue
        looping = any(player.loop_count)
        if (order, number) in played and not looping:
            break
        played.add((order, number))
        steps, jump, to_row = player.row(order, number, cells[number])
        duration = steps * 250.0 / player.tempo
        rows.append(SoundingRow(order, number, time, duration))
        time += duration
        number += 1
        if jump is not None and to_row is not None:
            order, number = jump, to_row
    return rows
