# SPDX-License-Identifier: MIT
"""Modules made by code: notes and sounds, written as an Extended Module (XM 1.04).

    >>> tune = Tune(rows=64, channels=2)
    >>> bass = tune.instrument(Instrument("bass", tone(64, (1.0, 0.5, 0.3)), loop=64))
    >>> tune.play(0, row=0, note="C-3", instrument=bass)
    >>> len(tune.bytes()) > 300
    True

The bytes are the same on every machine: all waves come of sums, products and `quorvale.exact`.
"""

from __future__ import annotations

import math
import struct
from collections.abc import Iterable, Iterator, Sequence
from dataclasses import dataclass
from typing import Final, Union

from quorvale.exact import Noise, exponential, sin_turns
from quorvale.facts import told
from quorvale.files import write_file
from quorvale.music import Music

NOTE_OFF: Final = 97
SET_VOLUME: Final = 0x10  # of the volume column
_PATTERN_ROWS: Final = 64
_SEMITONES: Final = {"C": 0, "D": 2, "E": 4, "F": 5, "G": 7, "A": 9, "B": 11}


def note_number(name: str) -> int:
    """The number of a note: C-0 is 1, and "C4" is "C-4"; "Bb3" and "C#5" as they say.

    >>> note_number("C-4"), note_number("Bb3")
    (49, 47)
    """
    if len(name) < 2 or name[0] not in _SEMITONES or name[-1] not in "01234567":
        raise ValueError(f'a note is named "C-4", "Bb3" or "C#5", not "{name}"')
    number = 12 * int(name[-1]) + _SEMITONES[name[0]] + 1
    if name[1] == "#":
        number += 1
    if name[1] == "b":
        number -= 1
    if not 1 <= number < NOTE_OFF:
        raise ValueError(f'notes go from "C-0" to "B-7", and "{name}" is none of them')
    return number


def notes(text: str) -> tuple[int, ...]:
    """Numbers of notes with spaces between them: a chord.

    >>> notes("C-4 E4 G4")
    (49, 53, 56)
    """
    return tuple(note_number(name) for name in text.split())


def melody(text: str) -> Iterator[tuple[int, int, int, bool]]:
    """A tune as words: notes, each with its rows; "-" rests, "~" glides into a note, "|" is for the
    eye. Gives (first row, rows, note or 0, glides) of each.

    >>> list(melody("C-4 4 - 2 | ~E4 2"))
    [(0, 4, 49, False), (4, 2, 0, False), (6, 2, 53, True)]
    """
    words = text.replace("|", " ").split()
    if len(words) % 2:
        raise ValueError(f'melody(): each note has its rows after it, and "{words[-1]}" has none')
    row = 0
    for name, rows in zip(words[0::2], words[1::2]):
        note = 0 if name == "-" else note_number(name.lstrip("~"))
        if not rows.isdecimal():
            raise ValueError(f'melody(): after "{name}" stands for how many rows it sounds, as in '
                             f'"{name} 4", not "{rows}"')
        yield row, int(rows), note, name.startswith("~")
        row += int(rows)


def strokes(pattern: str) -> list[tuple[int, int]]:
    """(row, volume) of a line of drums: "X" is an accent, "x" a stroke, "o" hardly one, "." none.

    >>> strokes("X..o")
    [(0, 64), (3, 22)]
    """
    volumes = {"X": 64, "x": 54, "o": 22}
    return [(row, volumes[c]) for row, c in enumerate(pattern) if c != "."]


@dataclass(frozen=True)
class Instrument:
    """A sound: one wave of numbers, scaled to `peak`, 0 to 1, of the largest.

    `bits` of a sample are 8 or 16. `loop` samples at its end repeat, none if it is 0. `relative`
    moves the pitch in semitones, -96 to 95: a wave of 64 samples a cycle sounds a C-4 at 0, one of
    32 at -12; `fine` in 128ths of one, -128 to 127. `pan` is 0 left to 255 right.

    `envelope`, of the volume, and `panning` are up to 12 points (step, 0 to 64), in the order of
    their steps; `sustain` is the number of the point, from 0, at which a held note stays, and
    `panning_loop` those of two points between which the panning repeats. A note that was let go of
    dies the sooner the higher `fadeout` is, 0 to 65535. `vibrato` is its shape, 0 to 3, its steps
    of growth, 0 to 255, its depth, 0 to 15, and its speed, 0 to 63. Of `name` the first 22 letters
    are kept.
    """

    name: str
    wave: Sequence[float]
    bits: int = 8
    peak: float = 0.9
    loop: int = 0
    relative: int = 0
    fine: int = 0
    pan: int = 128
    envelope: Sequence[tuple[int, int]] = ()
    sustain: int | None = None
    fadeout: int = 0
    panning: Sequence[tuple[int, int]] = ()
    panning_loop: tuple[int, int] | None = None
    vibrato: tuple[int, int, int, int] = (0, 0, 0, 0)

    def __post_init__(self) -> None:
        if self.bits not in (8, 16):
            raise ValueError(f"Instrument(): a sample has 8 or 16 bits, not {self.bits}")
        if not 0 <= self.loop <= len(self.wave):
            raise ValueError(f"Instrument(): the loop is 0 to {len(self.wave)} samples long, "
                             f"not {self.loop}")
        if not all(map(math.isfinite, self.wave)):
            raise ValueError("Instrument(): the samples of a wave are finite numbers")
        ranges = [("peak", self.peak, 0, 1), ("relative", self.relative, -96, 95),
                  ("fine", self.fine, -128, 127), ("pan", self.pan, 0, 255),
                  ("fadeout", self.fadeout, 0, 65535)]
        words = ("shape", "growth", "depth", "speed")
        ranges += [(f"{word} of the vibrato", value, 0, most)
                   for word, value, most in zip(words, self.vibrato, (3, 255, 15, 63))]
        for word, value, least, most in ranges:
            if not least <= value <= most:
                raise ValueError(f"Instrument(): the {word} is {least} to {most}, not {value}")
        _check_points("envelope", self.envelope, () if self.sustain is None else (self.sustain,))
        _check_points("panning", self.panning, self.panning_loop or ())


def _check_points(word: str, points: Sequence[tuple[int, int]], named: Sequence[int]) -> None:
    """Refuses points that no player follows, and numbers of points that are not there."""
    if len(points) > 12:
        raise ValueError(f"Instrument(): the {word} has up to 12 points, not {len(points)}")
    before = -1
    for step, value in points:
        if step != int(step) or not before < step <= 65535:
            raise ValueError(f"Instrument(): each point of the {word} has a later step than the "
                             f"one before it, up to 65535, and {step} stands after {before}"
                             if before >= 0 else
                             f"Instrument(): the first step of the {word} is 0 to 65535, "
                             f"not {step}")
        if value != int(value) or not 0 <= value <= 64:
            raise ValueError(f"Instrument(): a point of the {word} is (step, 0 to 64), not "
                             f"{told((step, value))}")
        before = step
    for number in named:
        if not 0 <= number < len(points):
            raise ValueError(f"Instrument(): the {word} has {len(points)} points, and none of them "
                             f"is {number}, counted from 0")


class Tune:
    """Notes on channels and rows. `tempo` and `speed` are the module's: a row lasts `speed` steps
    of 2.5 / `tempo` seconds, so 125 and 6 make eight rows a second and a bit.

    Every 64 rows are a pattern. They are played one after the other; `order`, numbers of patterns
    from 0 on, up to 256, plays them in another order, or one of them again:

    >>> tune = Tune(rows=128, channels=2)
    >>> tune.order = (0, 1, 0)
    """

    def __init__(self, rows: int, channels: int, tempo: int = 125, speed: int = 6,
                 name: str = "", maker: str = "quorvale") -> None:
        if not 1 <= rows <= 256 * _PATTERN_ROWS:
            raise ValueError(f"Tune(): a module has 1 to {256 * _PATTERN_ROWS} rows, not {rows}")
        if not 1 <= channels <= 32:
            raise ValueError(f"Tune(): a module has 1 to 32 channels, not {channels}")
        if not 32 <= tempo <= 255 or not 1 <= speed <= 31:
            raise ValueError(f"Tune(): the tempo is 32 to 255 and the speed 1 to 31, "
                             f"not {tempo} and {speed}")
        self.channels = channels
        self.tempo = tempo
        self.speed = speed
        self.name = name
        self.maker = maker
        self.instruments: list[Instrument] = []
        self.order: Sequence[int] | None = None
        self.cells = [[[0, 0, 0, 0, 0] for _ in range(channels)] for _ in range(rows)]

    def instrument(self, instrument: Instrument) -> int:
        """Adds a sound and gives its number, from 1 on; a module has up to 128."""
        if len(self.instruments) == 128:
            raise ValueError("instrument(): a module has up to 128 instruments")
        self.instruments.append(instrument)
        return len(self.instruments)

    def play(self, channel: int, row: int, note: Union[int, str], instrument: int,
             volume: int = 64) -> None:
        """A note at a row; past the last row none. `channel` counts from 0, `instrument` is the
        number that `instrument()` gave, 0 for the one before; `volume` is 0 to 64.
        """
        number = note_number(note) if isinstance(note, str) else note
        if not 0 <= number <= NOTE_OFF:
            raise ValueError(f"play(): a note is 1 to 96, 0 for none or {NOTE_OFF} for its end, "
                             f"not {number}")
        cell = self._cell("play", channel, row)
        if not isinstance(instrument, int) or not 0 <= instrument <= 128:
            raise ValueError(f"play(): the instrument is the number that tune.instrument(...) "
                             f"gave, or 0 for the one before, not {told(instrument)}")
        if not 0 <= volume <= 64:
            raise ValueError(f"play(): the volume is 0 to 64, not {volume}")
        cell[:3] = [number, instrument, SET_VOLUME + volume]

    def _cell(self, maker: str, channel: int, row: int) -> list[int]:
        """The cell of a channel and row; outside the rows one that nobody plays."""
        if not 0 <= channel < self.channels:
            raise ValueError(f"{maker}(): the channel is 0 to {self.channels - 1}, as the tune has "
                             f"{self.channels}, not {channel}")
        return self.cells[row][channel] if 0 <= row < len(self.cells) else [0, 0, 0, 0, 0]

    def stop(self, channel: int, row: int) -> None:
        """Lets go of a channel's note, unless a new one begins there."""
        cell = self._cell("stop", channel, row)
        if cell[0] == 0:
            cell[0] = NOTE_OFF

    def clear(self, channels: Iterable[int], first: int, last: int) -> None:
        """Empties channels from row `first` up to `last`.

        >>> tune = Tune(rows=64, channels=4)
        >>> tune.clear((1, 2), 16, 32)
        """
        for row in range(first, last):
            for channel in channels:
                self._cell("clear", channel, row)[:] = [0, 0, 0, 0, 0]

    def effect(self, channel: int, row: int, number: int, parameter: int) -> None:
        """A command of the effect column, 0 to 35, and its parameter, 0 to 255.

        >>> tune = Tune(rows=64, channels=4)
        >>> tune.effect(0, 16, 0xF, 140)  # from row 16 on the tempo is 140
        """
        if not 0 <= number <= 35 or not 0 <= parameter <= 255:
            raise ValueError(f"effect(): a command is 0 to 35 and its parameter 0 to 255, not "
                             f"{number} and {parameter}")
        self._cell("effect", channel, row)[3:] = [number, parameter]

    def volume(self, channel: int, row: int, value: int) -> None:
        """The volume of a channel from a row on, 0 to 64.

        >>> tune = Tune(rows=64, channels=4)
        >>> tune.volume(0, 16, 48)
        """
        if not 0 <= value <= 64:
            raise ValueError(f"volume(): the volume is 0 to 64, not {value}")
        self.volume_column(channel, row, SET_VOLUME + value)

    def volume_column(self, channel: int, row: int, value: int) -> None:
        """A byte of the volume column, as the format has it.

        >>> tune = Tune(rows=64, channels=4)
        >>> tune.volume_column(0, 16, 0xC0)  # to the left
        """
        if not 0 <= value <= 255:
            raise ValueError(f"volume_column(): a byte is 0 to 255, not {value}")
        self._cell("volume_column", channel, row)[2] = value

    def fade(self, channel: int, first: int, last: int, start: int, end: int) -> None:
        """Sets the volume on every row from `first` to `last` along a line.

        >>> tune = Tune(rows=64, channels=4)
        >>> tune.fade(0, first=48, last=63, start=64, end=0)
        """
        if last <= first:
            raise ValueError(f"fade(): it ends at a later row than it begins, not at {last} from "
                             f"{first}")
        for row in range(first, last + 1):
            value = start * (last - row) + end * (row - first)
            self.volume(channel, row, value // (last - first))

    def bytes(self) -> bytes:
        """The module's file. ValueError without an instrument: nothing plays such a module."""
        if not self.instruments:
            raise ValueError("Tune(): a module has an instrument at least, even a silent one: "
                             'tune.instrument(Instrument("none", tone(64, (1,))))')
        rows = self.cells
        for number, row in enumerate(rows):
            for channel, cell in enumerate(row):
                if cell[1] > len(self.instruments):
                    raise ValueError(f"Tune(): row {number} of channel {channel} plays instrument "
                                     f"{cell[1]}, and the tune has {len(self.instruments)}")
        patterns = [_pattern(rows[first:first + _PATTERN_ROWS])
                    for first in range(0, len(rows), _PATTERN_ROWS)]
        numbers = tuple(range(len(patterns)) if self.order is None else map(int, self.order))
        if not 1 <= len(numbers) <= 256 or not 0 <= min(numbers) <= max(numbers) < len(patterns):
            raise ValueError(f"Tune(): the order is 1 to 256 numbers of patterns, 0 to "
                             f"{len(patterns) - 1}, not {numbers}")
        order = bytes(numbers)
        out = b"Extended Module: " + _text(self.name, 20) + b"\x1a" + _text(self.maker, 20)
        out += struct.pack("<HI8H", 0x0104, 276, len(order), 0, self.channels, len(patterns),
                           len(self.instruments), 1, self.speed, self.tempo)  # 1: linear slides
        out += order.ljust(256, b"\0") + b"".join(patterns)
        return out + b"".join(map(_instrument, self.instruments))

    def write(self, path: str, rows_per_beat: int = 4) -> Music:
        """Writes the module and gives its rows in ticks."""
        write_file("write", path, self.bytes())
        return Music(path, rows_per_beat)


def _cell(cell: Sequence[int]) -> bytes:
    if all(cell):
        return bytes(cell)
    mask = 0x80
    data = b""
    for i, value in enumerate(cell):
        if value:
            mask |= 1 << i
            data += bytes((value,))
    return bytes((mask,)) + data


def _pattern(rows: Sequence[Sequence[Sequence[int]]]) -> bytes:
    data = b"".join(_cell(cell) for row in rows for cell in row)
    return struct.pack("<IBHH", 9, 0, len(rows), len(data)) + data


def _samples(wave: Sequence[float], bits: int, peak: float) -> bytes:
    """The wave scaled to its peak, as differences from sample to sample."""
    largest = max((abs(x) for x in wave), default=0.0)
    scale = peak * ((1 << (bits - 1)) - 1) / largest if largest > 0.0 else 0.0
    mask = (1 << bits) - 1
    out = []
    before = 0
    for x in wave:
        value = round(x * scale)
        out.append((value - before) & mask)
        before = value
    return struct.pack("<%d%s" % (len(out), "H" if bits == 16 else "B"), *out)


def _envelope(points: Sequence[tuple[int, int]]) -> bytes:
    flat = [n for point in points for n in point] + [0] * (24 - 2 * len(points))
    return struct.pack("<24H", *flat)


def _text(text: str, size: int) -> bytes:
    return text.encode("ascii", "replace")[:size].ljust(size, b"\0")


def _instrument(instrument: Instrument) -> bytes:
    data = _samples(instrument.wave, instrument.bits, instrument.peak)
    flags = (1 if instrument.envelope else 0) | (0 if instrument.sustain is None else 2)
    panning_flags = (1 if instrument.panning else 0) | (4 if instrument.panning_loop else 0)
    panning_loop = instrument.panning_loop or (0, 0)
    header = struct.pack("<I", 263) + _text(instrument.name, 22) + struct.pack("<BH", 0, 1)
    header += struct.pack("<I", 40) + bytes(96)  # all notes play sample 0
    header += _envelope(instrument.envelope) + _envelope(instrument.panning)
    header += struct.pack("<14B", len(instrument.envelope), len(instrument.panning),
                          instrument.sustain or 0, 0, 0, 0, *panning_loop, flags, panning_flags,
                          *instrument.vibrato)
    header += struct.pack("<H", instrument.fadeout) + bytes(22)

    width = instrument.bits // 8
    loop = instrument.loop * width
    kind = (1 if loop else 0) | (16 if width == 2 else 0)
    header += struct.pack("<IIIBbBBbB", len(data), len(data) - loop if loop else 0, loop, 64,
                          instrument.fine, kind, instrument.pan, instrument.relative, 0)
    return header + _text(instrument.name, 22) + data


# ---------------------------------------------------------------------------------------------
# Plain sounds


def tone(length: int, partials: Sequence[float]) -> list[float]:
    """One cycle: a sine of the first amplitude, one of twice its pitch of the second, and so on."""
    wave = [0.0] * length
    for number, amplitude in enumerate(partials, 1):
        for k in range(length):
            wave[k] += amplitude * sin_turns(number * k / length)
    return wave


def drum(length: int, start: float, end: float, noise: float = 0.0, seed: int = 1) -> list[float]:
    """A stroke that dies away: a sine that falls from `start` to `end` cycles a 1000 samples, and
    noise of so much beside it.

    >>> len(drum(400, start=12, end=4, noise=0.2))
    400
    """
    source = Noise(seed)
    wave = []
    turns = 0.0
    for k in range(length):
        fall = exponential(-5.0 * k / length)
        turns += (end + (start - end) * fall) / 1000.0
        hiss = noise * source.between(-1.0, 1.0)
        wave.append(fall * ((1.0 - noise) * sin_turns(turns) + hiss))
    return wave
