# SPDX-License-Identifier: MIT
"""Sounds made of sines and noise, for the instruments of `quorvale.tracker`.

A wave is a list of numbers, of any size: an instrument scales it to its peak. `rate` is samples a
second. The same numbers come out on every machine.

    >>> loop = wave_of(1024, aligned(4, range(1, 9), lambda h: 1 / h))
    >>> len(attack_and_loop(512, loop))
    1536
"""

from __future__ import annotations

import functools
import math
from collections.abc import Callable, Iterable, Sequence
from typing import Final

from quorvale.exact import PI, Noise

Wave = list[float]
Partial = tuple[int, float, float]  # cycles in the whole wave, amplitude, where it begins in turns
Slope = Callable[[int], float]  # the strength of a harmonic, counted from 1

_STEPS: Final = 65536  # of the table of sines, and samples of the longest wave


@functools.cache
def _sines() -> Wave:
    """One turn of the sine, from its series over the first eighth of the turn and of the cosine."""
    eighth = _STEPS // 8
    sine = [0.0] * (eighth + 1)
    cosine = [0.0] * (eighth + 1)
    for k in range(eighth + 1):
        x = 2.0 * PI * k / _STEPS
        square = x * x
        s = 1.0
        c = 1.0
        for n in range(17, 0, -2):  # last term first
            s = 1.0 - square / ((n + 1) * (n + 2)) * s
            c = 1.0 - square / (n * (n + 1)) * c
        sine[k] = x * s
        cosine[k] = c
    quarter = sine + [cosine[eighth - k] for k in range(1, eighth + 1)]
    half = quarter + quarter[-2::-1]
    return half[:-1] + [-v for v in half[:-1]]


def sine(turns: float) -> float:
    """The sine of an angle of at least 0 in turns, to 1/65536 of a turn.

    >>> sine(0.25), sine(0.75)
    (1.0, -1.0)
    """
    return _sines()[int(turns * _STEPS) & (_STEPS - 1)]


def decay(time: float, rate: float) -> float:
    """The factor a sample for a fall to 1/e in `time` seconds.

    >>> decay(0.5, 1000)
    0.998
    """
    return 1.0 - 1.0 / (time * rate)


# ---------------------------------------------------------------------------------------------
# Tones


def aligned(base: int, numbers: Iterable[int], slope: Slope) -> list[Partial]:
    """Harmonics of a tone with `base` cycles a wave, which all begin at a zero: the sharpest edge.

    >>> aligned(4, (1, 3), lambda h: 1 / h)[0]
    (4, 1.0, 0.0)
    """
    return [(base * h, slope(h), 0.0) for h in numbers]


def harmonics(base: int, numbers: Iterable[int], slope: Slope, phases: Noise,
              detune: Sequence[int] = (0,)) -> list[Partial]:
    """Harmonics that begin anywhere, shared by voices out of tune by so many cycles a wave.

    >>> [cycles for cycles, _, _ in harmonics(64, (1, 2), lambda h: 1.0, Noise(1), (-1, 1))]
    [63, 65, 126, 130]
    """
    return [((base + cycles) * h, slope(h) / len(detune), phases.next())
            for h in numbers for cycles in detune]


def wide_harmonics(base: int, count: int, spread: float, slope: Slope, seed: int) -> list[Partial]:
    """Harmonics that are bands of partials, wider the higher they are, as many players make them.

    >>> len(wide_harmonics(256, 2, 1.7, lambda h: 1.0, 31))
    10
    """
    phases = Noise(seed)
    partials: list[Partial] = []
    for h in range(1, count + 1):
        reach = spread * h
        for offset in range(-int(reach), int(reach) + 1):
            x = offset / reach
            weight = (1.0 - x * x) * (1.0 - x * x)
            amplitude = slope(h) * weight / math.sqrt(reach)
            partials.append((base * h + offset, amplitude, phases.next()))
    return partials


def wave_of(length: int, partials: Iterable[Partial]) -> Wave:
    """A wave of `length` samples, a power of two up to 65536, that repeats without a seam.

    Computed by the inverse of a Fourier transform, since wide sounds have hundreds of partials.
    """
    if length & (length - 1) or not 2 <= length <= _STEPS:
        raise ValueError(f"wave_of(): the length is a power of two from 2 to {_STEPS}, "
                         f"not {length}")
    table = _sines()
    re = [0.0] * length
    im = [0.0] * length
    for cycles, amplitude, turns in partials:
        if not 0 <= cycles < length:
            raise ValueError(f"wave_of(): a partial has 0 to {length - 1} cycles, not {cycles}")
        phase = int(turns * _STEPS)
        re[cycles] += amplitude * table[phase & (_STEPS - 1)]
        im[cycles] -= amplitude * table[(phase + _STEPS // 4) & (_STEPS - 1)]

    reverse = 0
    for k in range(1, length):
        bit = length >> 1
        while reverse & bit:
            reverse ^= bit
            bit >>= 1
        reverse |= bit
        if k < reverse:
            re[k], re[reverse] = re[reverse], re[k]
            im[k], im[reverse] = im[reverse], im[k]

    half = 1
    while half < length:
        stride = _STEPS // (2 * half)
        for j in range(half):
            c = table[(j * stride + _STEPS // 4) & (_STEPS - 1)]
            s = table[j * stride]
            for a in range(j, length, 2 * half):
                b = a + half
                x = re[b] * c - im[b] * s
                y = re[b] * s + im[b] * c
                re[b] = re[a] - x
                im[b] = im[a] - y
                re[a] += x
                im[a] += y
        half *= 2
    return re


def attack_and_loop(attack: int, loop: Wave, layers: Sequence[tuple[Wave, int]] = (),
                    fade_in: int = 1) -> Wave:
    """`attack` samples that lead without a seam into one pass of `loop`.

    Each layer is a wave as long as the loop and a whole exponent of at least 1: it is added to the
    attack with the strength (1 - t) to that exponent, so it is gone when the loop begins.
    """
    length = len(loop)
    out = []
    for i in range(attack):
        value = loop[(i - attack) % length]
        left = 1.0 - i / attack
        for wave, exponent in layers:
            strength = left
            for _ in range(exponent - 1):
                strength *= left
            value += wave[(i - attack) % length] * strength
        if i < fade_in:
            value *= i / fade_in
        out.append(value)
    return out + loop


# ---------------------------------------------------------------------------------------------
# Noise and filters


def hiss(count: int, noise: Noise) -> Wave:
    """So many samples of white noise, from -1 to 1.

    >>> len(hiss(100, Noise(1))), max(hiss(100, Noise(1))) <= 1
    (100, True)
    """
    return [noise.between(-1.0, 1.0) for _ in range(count)]


def metal(rate: float, seconds: float, fall: float, noise_share: float, seed: int) -> Wave:
    """Hats and cymbals: square waves that have no common root, and noise, all without bass. They
    fall to 1/e in `fall` seconds.

    >>> len(metal(1000, 0.5, 0.1, 0.5, 15))
    500
    """
    noise = Noise(seed)
    roots = (205.3, 304.4, 369.6, 522.7, 540.1, 800.9)
    raw = []
    for i in range(int(rate * seconds)):
        x = 0.0
        for root in roots:
            x += 1.0 if int(i * root * 4.0 / rate) & 1 else -1.0
        raw.append(x / 6.0 * (1.0 - noise_share) + noise.between(-1.0, 1.0) * noise_share)
    out = []
    level = 1.0
    for x in high_pass(high_pass(raw, 0.55), 0.55):
        out.append(level * x)
        level *= decay(fall, rate)
    return out


def low_pass(wave: Iterable[float], strength: float) -> Wave:
    """A duller wave: each sample goes `strength` of the way, 0 to 1, to the next value.

    >>> low_pass([1.0, 1.0], 0.5)
    [0.5, 0.75]
    """
    out = []
    y = 0.0
    for x in wave:
        y += strength * (x - y)
        out.append(y)
    return out


def high_pass(wave: Sequence[float], strength: float) -> Wave:
    """What `low_pass` takes away.

    >>> [round(x, 2) for x in high_pass([1.0, 1.0, 1.0], 0.5)]
    [0.5, 0.25, 0.12]
    """
    return [x - y for x, y in zip(wave, low_pass(wave, strength))]


def fade_ends(wave: Sequence[float], fade_in: int, fade_out: int) -> Wave:
    """The wave, rising from silence in `fade_in` samples and falling to it in `fade_out`.

    >>> fade_ends([1.0] * 4, 2, 2)
    [0.0, 0.5, 0.5, 0.0]
    """
    out = list(wave)
    for i in range(fade_in):
        out[i] *= i / fade_in
    for i in range(fade_out):
        out[-1 - i] *= i / fade_out
    return out


def drive(x: float, amount: float) -> float:
    """A sample pressed toward 1 and -1, as an amplifier does; `amount` is 0 for not at all.

    >>> drive(0.5, 1.0), drive(1.0, 1.0)
    (0.6666666666666666, 1.0)
    """
    return x * (1.0 + amount) / (1.0 + amount * abs(x))
