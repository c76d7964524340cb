#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""Composes the music of the piece and writes it as an Extended Module (XM 1.04).

    make_music.py [file]        the file defaults to music/quorvale.xm beside this script

Time. The tempo is 250, so a tick of the module is 10 ms, the same as a tick of the timeline. Rows
last 13 and 12 ticks by turns (the speed is set on every row, on the kick's channel):

    2 rows     25 ticks     250 ms     an eighth
    4 rows     50 ticks     500 ms     a beat, 120 a minute
    16 rows   200 ticks    2000 ms     a bar
    64 rows   800 ticks    8000 ms     a pattern, 4 bars
    960 rows 12000 ticks 120000 ms     the whole: 60 bars, 15 patterns, each played once

Even rows lie on multiples of 125 ms, odd rows 5 ms behind.

Form, in D minor with an ending in D major. Bars are counted as they are written; ORDER has the
patterns in the order in which they are played:

    start s   bars    section; each pattern is one
    0         48-51   opening: all drums and the theme at once, two strokes of the crash
    8         0-3     intro: choir and pad out of silence, the bell gives out the motif
    16        4-7     intro: plucked eighths, low drone; reversed cymbal at its end
    24        8-11    build: kick on each beat, bass between, plucked sixteenths
    32        12-15   build: claps, hats; wind rises from 36, snare roll from 38
    40        16-19   main theme, first half: all drums, lead; a snare fill
    48        20-23   main theme, second half, choir under the lead; a tom fill
    56        24-27   bridge: half-time drums, falling sequence; the drums stop early
    64        52-55   shoal: half-time, plucked high and wide, the bell's second melody
    72        28-31   break: the kick's heartbeat and a slow bell melody; riser from 76, roll from 78
    80        32-35   theme varied over a rising bass, second voice
    88        36-39   theme varied, high point of the melody, chord sparkles
    96        56-59   crossing: the theme's high notes over a bass that climbs
    104       40-43   theme in two voices, all instruments; long tom fill at 110.5
    112       44-47   ending: last stroke of the drums, D major from 116 with the bell's motif; silent
                      by 119.5

The bytes written never change from machine to machine. Nothing of the machine's mathematical
library is used but the square root: sums, products, quotients and square roots are the same
everywhere, sines and powers are not, nor are sum() over floats and products of complex numbers.
"""

import os
import sys

sys.path.insert(0, os.path.join(os.path.dirname(os.path.abspath(__file__)), "../python"))

from quorvale.exact import Noise
from quorvale.sounds import (aligned, attack_and_loop, decay, drive, fade_ends, harmonics, high_pass,
                             hiss, low_pass, metal, sine, wave_of, wide_harmonics)
from quorvale.tracker import (Instrument, Tune, melody, note_number, notes, strokes)

# ---------------------------------------------------------------------------------------------
# Sound


def make_kick():
    rate = 22326.0
    noise = Noise(11)
    out = []
    phase = 0.0
    sweep = 1.0
    click = 1.0
    level = 1.0
    for i in range(int(rate * 0.34)):
        phase += (47.0 + 60.0 * sweep + 190.0 * sweep * sweep * sweep) / rate
        sweep *= decay(0.045, rate)
        click *= decay(0.0016, rate)
        if i > rate * 0.05:
            level *= decay(0.085, rate)
        out.append(level * drive(sine(phase), 0.9) + 0.3 * click * noise.between(-1.0, 1.0))
    return fade_ends(out, 4, 1500)


def make_tom():
    rate = 22326.0
    noise = Noise(12)
    out = []
    phase = 0.0
    sweep = 1.0
    skin = 1.0
    level = 1.0
    for _ in range(int(rate * 0.36)):
        phase += (98.0 + 75.0 * sweep) / rate
        sweep *= decay(0.06, rate)
        skin *= decay(0.012, rate)
        level *= decay(0.13, rate)
        out.append(level * drive(sine(phase), 0.5) + 0.35 * skin * noise.between(-1.0, 1.0))
    return fade_ends(low_pass(out, 0.6), 4, 2000)


def make_snare():
    rate = 33452.0
    noise = Noise(13)
    rattle = high_pass(hiss(int(rate * 0.24), noise), 0.25)
    out = []
    low = 0.0
    high = 0.0
    body = 1.0
    tail = 1.0
    crack = 1.0
    bend = 1.0
    for x in rattle:
        low += (178.0 + 90.0 * bend) / rate
        high += (331.0 + 130.0 * bend) / rate
        bend *= decay(0.012, rate)
        body *= decay(0.05, rate)
        tail *= decay(0.075, rate)
        crack *= decay(0.008, rate)
        out.append(body * (0.75 * sine(low) + 0.35 * sine(high)) + (0.5 * tail + 0.6 * crack) * x)
    return fade_ends(out, 3, 1500)


def make_clap():
    rate = 33452.0
    noise = Noise(14)
    band = high_pass(low_pass(hiss(int(rate * 0.22), noise), 0.35), 0.12)
    starts = [0, int(rate * 0.010), int(rate * 0.019), int(rate * 0.030)]
    out = []
    level = 0.0
    for i, x in enumerate(band):
        if i in starts:
            level = 1.0
        level *= decay(0.006 if i < starts[3] else 0.055, rate)
        out.append(level * x)
    return fade_ends(out, 8, 1500)


def make_hat():
    return fade_ends(metal(44652.0, 0.07, 0.016, 0.55, 15), 3, 600)


def make_open_hat():
    return fade_ends(metal(44652.0, 0.30, 0.10, 0.5, 16), 3, 4000)


def make_crash():
    return fade_ends(metal(33452.0, 1.25, 0.38, 0.75, 17), 3, 14000)


def make_reverse():
    wave = low_pass(metal(22326.0, 1.0, 0.28, 0.85, 18), 0.7)
    return fade_ends(wave[::-1], 4000, 200)


# A tone is in tune where a period of 32 samples has relative note 0, and 12 more for each doubling.

BASS_LOOP = 1024  # 4 periods of 256


def make_bass():
    loop = wave_of(BASS_LOOP, aligned(
        4, range(1, 9), lambda h: 1.0 / (h + 0.12 * h * h)))
    middle = wave_of(BASS_LOOP, aligned(4, range(5, 16), lambda h: 0.75 / h))
    bright = wave_of(BASS_LOOP, aligned(4, range(16, 56), lambda h: 0.6 / h))
    return attack_and_loop(11264, loop, ((middle, 3), (bright, 9)), 24)


LEAD_LOOP = 8192  # 128 periods of 64


def make_lead():
    loop = wave_of(LEAD_LOOP, harmonics(
        128, range(1, 25), lambda h: (1.0 if h & 1 else 0.7) / (h * (1.0 + 0.004 * h * h)),
        Noise(21), (-1, 0, 1)))
    bright = wave_of(LEAD_LOOP, harmonics(
        128, range(3, 24), lambda h: 0.8 / h, Noise(22), (-1, 1)))
    return attack_and_loop(3072, loop, ((bright, 3),), 90)


PAD_LOOP = 32768  # 256 periods of 128


def make_pad():
    loop = wave_of(PAD_LOOP, wide_harmonics(
        256, 40, 1.7, lambda h: 1.0 / (h * (1.0 + 0.003 * h * h)), 31))
    return attack_and_loop(512, loop, (), 400)


CHOIR_LOOP = 16384  # 128 periods of 128


def vowel(h):
    """Strength of harmonic h of a voice that sings an open vowel around middle C."""
    frequency = 262.0 * h
    level = 0.0
    for centre, width, height in ((700.0, 160.0, 1.0), (1150.0, 190.0, 0.55), (2700.0, 350.0, 0.22),
                                  (3400.0, 400.0, 0.10)):
        x = (frequency - centre) / width
        level += height / (1.0 + x * x)
    return level + 0.5 / (h * h)


def make_choir():
    loop = wave_of(CHOIR_LOOP, wide_harmonics(128, 18, 1.3, vowel, 32))
    return attack_and_loop(512, loop, (), 400)


PLUCK_LOOP = 2048  # 32 periods of 64


def make_pluck():
    loop = wave_of(PLUCK_LOOP, aligned(32, range(1, 4), lambda h: 1.0 / (h * h * h)))
    middle = wave_of(PLUCK_LOOP, aligned(32, range(2, 12), lambda h: 0.9 / h))
    bright = wave_of(PLUCK_LOOP, aligned(32, range(7, 30), lambda h: 1.6 / h))
    return attack_and_loop(8192, loop, ((middle, 4), (bright, 13)), 16)


BELL_LOOP = 8192  # 128 periods of 64


def make_bell():
    # The ratios of a tubular bell, rounded to whole cycles a loop; what stays is nearly a sine.
    loop = wave_of(BELL_LOOP, ((128, 0.7, 0), (129, 0.25, 0.13733), (256, 0.12, 0.04578)))
    slow = wave_of(BELL_LOOP, ((256, 0.25, 0.00763), (353, 0.30, 0), (384, 0.12, 0.00153)))
    quick = wave_of(BELL_LOOP, ((691, 0.30, 0), (512, 0.12, 0.06104), (1143, 0.16, 0)))
    strike = wave_of(BELL_LOOP, ((1707, 0.18, 0), (2384, 0.08, 0)))
    return attack_and_loop(14336, loop, ((slow, 2), (quick, 6), (strike, 16)), 20)


WIND_LOOP = 16384


def make_wind():
    phases = Noise(41)
    partials = []
    for cycles in range(180, 3000):
        x = (cycles - 900.0) / 420.0
        partials.append((cycles, 1.0 / (1.0 + x * x), phases.next()))
    loop = wave_of(WIND_LOOP, partials)
    return attack_and_loop(512, loop, (), 400)


# ---------------------------------------------------------------------------------------------
# Instruments

KICK, SNARE, CLAP, HAT, OPEN_HAT, CRASH, TOM, REVERSE = 1, 2, 3, 4, 5, 6, 7, 8
BASS, PAD, CHOIR, LEAD, PLUCK, BELL, WIND = 9, 10, 11, 12, 13, 14, 15

LEFT, CENTRE, RIGHT = 0, 128, 255

# Envelopes: points (tick, 0 to 64). A tick is 10 ms.
INSTRUMENTS = {
    KICK: dict(name="kick", make=make_kick, bits=16, peak=0.60, rel=17,
               envelope=((0, 64), (24, 64), (36, 0))),
    SNARE: dict(name="snare", make=make_snare, bits=16, peak=0.74, rel=24, pan=120,
                envelope=((0, 64), (12, 56), (26, 0))),
    CLAP: dict(name="clap", make=make_clap, bits=8, peak=0.64, rel=24, pan=200,
               envelope=((0, 64), (14, 48), (24, 0))),
    HAT: dict(name="closed hat", make=make_hat, bits=8, peak=0.95, rel=29, pan=224,
              envelope=((0, 64), (4, 40), (8, 0))),
    OPEN_HAT: dict(name="open hat", make=make_open_hat, bits=8, peak=0.95, rel=29, pan=32,
                   envelope=((0, 64), (12, 44), (32, 0))),
    CRASH: dict(name="crash", make=make_crash, bits=8, peak=0.80, rel=24, pan=64,
                envelope=((0, 64), (60, 40), (160, 0))),
    TOM: dict(name="tom", make=make_tom, bits=16, peak=0.52, rel=17),
    REVERSE: dict(name="reversed cymbal", make=make_reverse, bits=8, peak=0.60, rel=17, pan=208),
    BASS: dict(name="bass", make=make_bass, bits=16, peak=0.42, loop=BASS_LOOP, rel=36,
               envelope=((0, 64), (10, 54), (30, 44), (90, 38), (97, 0)), sustain=3, fadeout=6000),
    PAD: dict(name="warm pad", make=make_pad, bits=16, peak=0.50, loop=PAD_LOOP, rel=24,
              envelope=((0, 8), (16, 44), (60, 64), (150, 56), (200, 0)), sustain=3, fadeout=500),
    CHOIR: dict(name="choir", make=make_choir, bits=16, peak=0.35, loop=CHOIR_LOOP, rel=24,
                envelope=((0, 4), (30, 48), (70, 64), (110, 0)), sustain=2, fadeout=500,
                panning=((0, 32), (90, 60), (240, 4), (320, 32)), panning_loop=(0, 3),
                vibrato=(0, 60, 6, 14)),
    LEAD: dict(name="lead", make=make_lead, bits=16, peak=0.54, loop=LEAD_LOOP, rel=12,
               envelope=((0, 50), (3, 64), (40, 54), (120, 50), (134, 0)), sustain=3, fadeout=2600),
    PLUCK: dict(name="pluck", make=make_pluck, bits=16, peak=0.52, loop=PLUCK_LOOP, rel=12,
                envelope=((0, 64), (8, 40), (20, 22), (45, 9), (80, 0))),
    BELL: dict(name="bell", make=make_bell, bits=16, peak=0.66, loop=BELL_LOOP, rel=12,
               envelope=((0, 64), (30, 44), (90, 22), (180, 8), (300, 0))),
    WIND: dict(name="wind", make=make_wind, bits=8, peak=0.40, loop=WIND_LOOP, rel=12,
               envelope=((0, 0), (60, 64), (160, 64), (200, 0)), sustain=2, fadeout=800,
               panning=((0, 32), (70, 54), (210, 10), (280, 32)), panning_loop=(0, 3)),
}

# ---------------------------------------------------------------------------------------------
# Song: cells of (note, instrument, volume column, effect, parameter), one a row and channel

ROWS_PER_BAR = 16
BARS = 60
ORDER = (12, 0, 1, 2, 3, 4, 5, 6, 13, 7, 8, 9, 14, 10, 11)
ROWS = ROWS_PER_BAR * BARS
CHANNELS = 16
TEMPO = 250
SPEEDS = (13, 12)  # even rows, odd rows

(CH_KICK, CH_SNARE, CH_HAT, CH_CYMBAL, CH_BASS, CH_PAD, CH_PAD2, CH_PAD3, CH_PLUCK, CH_PLUCK_ECHO,
 CH_LEAD, CH_LEAD_ECHO, CH_VOICE, CH_BELL, CH_BELL_ECHO, CH_EFFECT) = range(CHANNELS)

DRUM_NOTE = 49  # C-4, at which a drum sounds as it was made

# Effects
ARPEGGIO, SLIDE_UP, SLIDE_DOWN, GLIDE, VIBRATO, PANNING, EXTENDED, SPEED = 0, 1, 2, 3, 4, 8, 14, 15
RETRIGGER = 0x90

# Volume column
SLIDE_VOLUME_UP = 0x70


# Root in the bass; three notes for the pad, led so that voices move little; five to pluck.
CHORDS = {
    "Dm9": ("D2", "F3 A3 E4", "D4 F4 A4 D5 E5"),
    "Dm": ("D2", "F3 A3 D4", "D4 F4 A4 D5 F5"),
    "Bbmaj7": ("Bb1", "F3 A3 D4", "D4 F4 A4 Bb4 D5"),
    "Bb": ("Bb1", "F3 Bb3 D4", "D4 F4 Bb4 D5 F5"),
    "F": ("F2", "F3 A3 C4", "C4 F4 A4 C5 F5"),
    "Fmaj7": ("F2", "E3 A3 C4", "C4 E4 A4 C5 E5"),
    "F/A": ("A1", "F3 A3 C4", "C4 F4 A4 C5 F5"),
    "C": ("C2", "E3 G3 C4", "C4 E4 G4 C5 E5"),
    "Cadd9": ("C2", "G3 C4 E4", "D4 E4 G4 C5 E5"),
    "C/E": ("E2", "G3 C4 E4", "C4 E4 G4 C5 E5"),
    "Gm": ("G1", "G3 Bb3 D4", "D4 G4 Bb4 D5 G5"),
    "Gm7": ("G1", "F3 Bb3 D4", "D4 F4 Bb4 D5 F5"),
    "A": ("A1", "E3 A3 C#4", "C#4 E4 A4 C#5 E5"),
    "A7": ("A1", "E3 G3 C#4", "C#4 E4 G4 C#5 E5"),
    "Asus4": ("A1", "E3 A3 D4", "D4 E4 A4 D5 E5"),
    "D": ("D2", "F#3 A3 D4", "D4 F#4 A4 D5 F#5"),
    "Dadd9": ("D2", "F#3 A3 E4", "D4 F#4 A4 E5 F#5"),
}

# A chord a bar, or two that share the bar.
PROGRESSION = (
    "Dm9 Bbmaj7 Gm7 Asus4|A "  # 0 intro
    "Dm9 Bbmaj7 F C "  # 4
    "Dm Bb F C "  # 8 build
    "Dm Bb Gm7 Asus4|A "  # 12
    "Dm Bb F C "  # 16 main theme
    "Dm Bb Gm7 A "  # 20
    "Gm7 C Fmaj7 A7 "  # 24 bridge
    "Bbmaj7 Cadd9 Dm9 Asus4|A "  # 28 break
    "Dm C/E F Gm "  # 32 theme, varied
    "Bb F/A Gm7 A "  # 36
    "Dm Bb Gm7 A "  # 40 theme, in two voices
    "Bbmaj7 Gm7|Asus4 Dadd9 D "  # 44 ending
    "Dm Bb Gm7 A "  # 48 opening
    "Dm9 F/A Gm7 Asus4|A "  # 52 shoal
    "Bb F/A C A"  # 56 crossing
).split()
assert len(PROGRESSION) == BARS

# Melodies: a note and its rows; "-" is a rest, "~" glides into the note.
BELL_MELODY = {
    0: "- 8 A4 4 D5 4 | F5 8 E5 4 D5 4 | - 4 G4 4 Bb4 4 D5 4 | E5 8 C#5 8",
    4: "F5 8 E5 4 A4 4 | D5 8 C5 4 D5 4 | A4 8 C5 4 F5 4 | G5 8 E5 8",
    12: "A5 16 | F5 16 | D5 8 G5 8 | A5 8 E5 8",
    28: "A5 8 D5 4 F5 4 | G5 8 E5 4 C5 4 | A5 6 G5 2 F5 4 E5 4 | D5 8 C#5 8",
    44: "A5 4 F5 4 D5 8 | Bb4 4 D5 4 E5 4 D5 4 | A4 4 D5 4 F#5 8 | E5 4 A5 12",
    52: "D5 4 A5 4 F5 8 | C5 4 A5 4 F5 8 | D5 4 Bb5 4 G5 4 D5 4 | E5 8 C#5 4 - 4",
}

LEAD_MELODY = {
    14: "- 8 A4 4 Bb4 4 | D5 6 ~E5 10",
    16: "A4 2 D5 2 F5 6 E5 2 D5 4 | F5 6 D5 6 C5 4 | A4 2 C5 2 F5 6 G5 2 ~A5 4 |"
        "G5 10 E5 2 F5 2 E5 2",
    20: "A4 2 D5 2 F5 6 E5 2 D5 4 | Bb5 6 ~A5 6 F5 4 | G5 4 A5 2 Bb5 4 A5 2 G5 2 F5 2 |"
        "E5 8 C#5 4 E5 2 ~A5 2",
    24: "Bb5 6 A5 2 G5 4 D5 4 | G5 6 F5 2 E5 4 C5 4 | A5 6 G5 2 F5 4 C5 4 |"
        "E5 4 F5 2 E5 2 ~C#5 4 A4 4",
    32: "A4 2 D5 2 F5 4 E5 1 F5 1 E5 2 D5 4 | G5 6 E5 6 C5 2 D5 2 |"
        "A4 2 C5 2 F5 4 G5 2 ~A5 2 C6 4 | Bb5 6 A5 2 G5 4 A5 2 Bb5 2",
    36: "D6 6 C6 2 Bb5 4 F5 4 | C6 6 Bb5 2 A5 4 F5 4 | Bb5 4 A5 2 G5 4 A5 2 Bb5 2 C6 2 |"
        "~C#6 8 A5 2 G5 2 E5 2 C#5 2",
    40: "A4 2 D5 2 F5 6 E5 2 D5 4 | F5 6 ~Bb5 6 A5 4 | G5 4 A5 2 Bb5 4 A5 2 G5 2 F5 2 |"
        "E5 8 ~C#5 4 A4 4",
    48: "A4 2 D5 2 F5 6 E5 2 D5 4 | Bb5 6 ~A5 6 F5 4 | G5 2 A5 2 Bb5 4 A5 2 G5 2 F5 2 D5 2 |"
        "E5 8 ~C#6 4 - 4",
    56: "D6 6 C6 2 Bb5 4 F5 4 | A5 6 G5 2 F5 4 C5 4 | G5 4 E5 2 G5 2 C6 6 ~D6 2 | ~C#6 8 A5 4 - 4",
}

VOICE_MELODY = {
    20: "F4 8 A4 8 | F4 8 D4 8 | D4 8 Bb4 8 | A4 8 E4 8",
    24: "D4 16 | E4 16 | E4 16 | G4 8 E4 8",
    28: "D4 16 | E4 16 | F4 16 | D4 8 C#4 8",
    32: "F4 8 A4 8 | G4 8 E4 8 | F4 8 A4 8 | Bb4 8 G4 8",
    36: "F4 8 D5 8 | C5 8 A4 8 | Bb4 8 D5 8 | E5 8 C#5 8",
    40: "F4 2 A4 2 D5 6 C5 2 A4 4 | D5 6 F5 6 F5 4 | D5 4 F5 2 G5 4 F5 2 Bb4 2 D5 2 |"
        "C#5 8 A4 4 E4 4",
    52: "F4 16 | A4 16 | G4 16 | A4 8 E4 4 - 4",
    56: "F4 8 D5 8 | C5 8 A4 8 | E5 8 C5 8 | E5 8 C#5 4 - 4",
}


def chords_of_bar(bar):
    """(first row, rows, root, pad notes, plucked notes) of each chord of the bar."""
    names = PROGRESSION[bar].split("|")
    rows = ROWS_PER_BAR // len(names)
    for i, name in enumerate(names):
        root, pad, plucked = CHORDS[name]
        yield bar * ROWS_PER_BAR + i * rows, rows, note_number(root), notes(pad), notes(plucked)


def chord_at(bar, step):
    for row, rows, root, pad, plucked in chords_of_bar(bar):
        if step < row - bar * ROWS_PER_BAR + rows:
            return root, pad, plucked
    raise ValueError(step)


# --- Drums


def write_drums(song):
    kick = {
        "floor": "X...X...X...X...",
        "floor2": "X...X...X...X.o.",
        "floor3": "X...X..oX...X.o.",
        "half": "X.........x.....",
        "half2": "X.....o...x..o..",
    }
    snare = {
        "back": "....X.......X...",
        "ghost": "....X..o.o..X...",
        "ghost2": "....X..o.o..X..o",
        "half": "........X.......",
        "half2": "........X.....o.",
    }
    plan = {}  # bar: (kick, snare, clap level, hats)
    for bar in range(8, 12):
        plan[bar] = ("floor", None, 0, "off")
    for bar in range(12, 15):
        plan[bar] = ("floor", None, 50, "eighths")
    for bar in range(16, 24):
        odd = bar & 1
        plan[bar] = ("floor2" if odd else "floor", "ghost" if odd else "back", 56, "sixteenths")
    for bar in (*range(24, 28), *range(52, 56)):
        odd = bar & 1
        plan[bar] = ("half2" if odd else "half", "half2" if odd else "half", 60, "ride")
    for bar in (*range(32, 44), *range(48, 52), *range(56, 60)):
        odd = bar & 1
        plan[bar] = ("floor3" if odd else "floor2", "ghost2" if odd else "ghost", 60, "sixteenths")

    for bar, (kick_line, snare_line, clap, hats) in plan.items():
        first = bar * ROWS_PER_BAR
        for step, level in strokes(kick[kick_line]):
            song.play(CH_KICK, first + step, DRUM_NOTE, KICK, level)
        if snare_line:
            for step, level in strokes(snare[snare_line]):
                song.play(CH_SNARE, first + step, DRUM_NOTE, SNARE, level)
        if clap:
            for step in (8,) if snare_line and snare_line.startswith("half") else (4, 12):
                # The build has no snare, and its last bars need the other channel for the wind.
                channel = CH_EFFECT if snare_line else CH_SNARE
                song.play(channel, first + step, DRUM_NOTE, CLAP, clap)
        write_hats(song, first, hats)

    # Cymbals at the head of sections
    for bar, level in ((8, 34), (16, 64), (20, 40), (24, 56), (28, 30), (32, 64), (36, 48),
                       (40, 64), (42, 40), (44, 60), (48, 64), (50, 64), (52, 40), (56, 64), (58, 44)):
        song.play(CH_CYMBAL, bar * ROWS_PER_BAR, DRUM_NOTE, CRASH, level)
    song.play(CH_KICK, 44 * ROWS_PER_BAR, DRUM_NOTE, KICK, 64)
    song.play(CH_EFFECT, 44 * ROWS_PER_BAR, DRUM_NOTE - 7, TOM, 50)

    # The intro's hats come out of nothing, so does the break's heartbeat.
    for i in range(16):
        song.play(CH_HAT, 6 * ROWS_PER_BAR + 2 * i + 1, DRUM_NOTE, HAT, 16 + 2 * i)
    for bar in (28, 29, 30):
        song.play(CH_KICK, bar * ROWS_PER_BAR, DRUM_NOTE - 3, KICK, 40)
        song.play(CH_KICK, bar * ROWS_PER_BAR + 3, DRUM_NOTE - 3, KICK, 26)


def write_hats(song, first, style):
    if style == "off":
        for step in (2, 6, 10, 14):
            song.play(CH_HAT, first + step, DRUM_NOTE, HAT, 60)
    if style == "eighths":
        for step in range(0, 16, 2):
            song.play(CH_HAT, first + step, DRUM_NOTE, HAT, 64 if step & 2 else 46)
    if style == "sixteenths":
        levels = (60, 34, 0, 42)
        for step in range(16):
            if step & 3 == 2:
                song.play(CH_HAT, first + step, DRUM_NOTE, OPEN_HAT, 62)
            else:
                song.play(CH_HAT, first + step, DRUM_NOTE, HAT, levels[step & 3])
    if style == "ride":
        for step in range(0, 16, 4):
            song.play(CH_HAT, first + step, DRUM_NOTE + 3, OPEN_HAT, 48)
            song.play(CH_HAT, first + step + 2, DRUM_NOTE, HAT, 52)


def snare_roll(song, first, loudest):
    """A bar: quarters of the first half in eighths, then sixteenths, then thirty-seconds."""
    for step in (0, 2, 4, 6, 8, 9, 10, 11, 12, 13, 14, 15):
        song.play(CH_SNARE, first + step, DRUM_NOTE, SNARE, 14 + (loudest - 14) * step // 15)
        if step >= 12:
            song.effect(CH_SNARE, first + step, EXTENDED, RETRIGGER + 6)


def tom_fill(song, first, strokes):
    """strokes: (step, semitones from the drum's own pitch, level); from left to right."""
    for i, (step, pitch, level) in enumerate(strokes):
        song.play(CH_EFFECT, first + step, DRUM_NOTE + pitch, TOM, level)
        song.effect(CH_EFFECT, first + step, PANNING, 0x30 + 0xA0 * i // (len(strokes) - 1))


def write_fills(song):
    bar = ROWS_PER_BAR
    tom_fill(song, 11 * bar, ((12, 5, 40), (13, 5, 30), (14, 0, 50), (15, -4, 54)))

    # Into the theme: the kick leaves, the roll rises.
    song.play(CH_KICK, 15 * bar, DRUM_NOTE, KICK, 64)
    song.play(CH_KICK, 15 * bar + 4, DRUM_NOTE, KICK, 64)
    snare_roll(song, 15 * bar, 58)

    song.clear((CH_SNARE,), 19 * bar + 12, 20 * bar)
    for step, level in ((12, 60), (13, 40), (14, 52), (15, 60)):
        song.play(CH_SNARE, 19 * bar + step, DRUM_NOTE, SNARE, level)

    song.clear((CH_SNARE, CH_EFFECT), 23 * bar + 8, 24 * bar)
    song.play(CH_SNARE, 23 * bar + 8, DRUM_NOTE, SNARE, 50)
    tom_fill(song, 23 * bar, ((8, 7, 60), (10, 7, 48), (11, 4, 52), (12, 4, 60), (13, 0, 50),
                              (14, -3, 60), (15, -5, 60)))

    # The bridge's drums stop half a beat early.
    song.clear((CH_KICK, CH_SNARE, CH_HAT, CH_EFFECT), 27 * bar + 12, 28 * bar)
    song.play(CH_SNARE, 27 * bar + 10, DRUM_NOTE, SNARE, 44)
    song.play(CH_SNARE, 27 * bar + 11, DRUM_NOTE, SNARE, 60)

    snare_roll(song, 31 * bar, 60)

    song.clear((CH_SNARE,), 35 * bar + 12, 36 * bar)
    for step, level in ((12, 60), (13, 36), (14, 60), (15, 60)):
        song.play(CH_SNARE, 35 * bar + step, DRUM_NOTE, SNARE, level)
    song.effect(CH_SNARE, 35 * bar + 15, EXTENDED, RETRIGGER + 4)

    song.clear((CH_SNARE, CH_EFFECT), 39 * bar + 8, 40 * bar)
    song.play(CH_SNARE, 39 * bar + 8, DRUM_NOTE, SNARE, 56)
    tom_fill(song, 39 * bar, ((8, 9, 60), (9, 9, 44), (10, 5, 60), (12, 5, 60), (13, 2, 48),
                              (14, -2, 60), (15, -5, 60)))

    song.clear((CH_SNARE, CH_EFFECT), 43 * bar + 4, 44 * bar)
    song.play(CH_SNARE, 43 * bar + 4, DRUM_NOTE, SNARE, 60)
    tom_fill(song, 43 * bar, ((4, 9, 56), (6, 9, 48), (7, 7, 52), (8, 7, 60), (9, 5, 50),
                              (10, 5, 56), (11, 2, 52), (12, 2, 60), (13, 0, 54), (14, -3, 60),
                              (15, -5, 64)))
    for step in (12, 13, 14, 15):
        song.play(CH_SNARE, 43 * bar + step, DRUM_NOTE, SNARE, 30 + 10 * (step - 12))


# --- Bass


def write_bass(song):
    # (step, semitones above the root, rows, level)
    styles = {
        "off": [(s, 0, 1, 50) for s in (2, 6, 10, 14)],
        "gallop": [(s, 12 if s in (7, 15) else 0, 1, 46 + 6 * (s & 1))
                   for s in (2, 3, 6, 7, 10, 11, 14, 15)],
        "groove": ((0, 0, 3, 60), (3, 0, 1, 50), (4, 12, 1, 48), (6, 0, 2, 58), (8, 0, 2, 60),
                   (10, 12, 1, 48), (11, 0, 2, 56), (14, 7, 2, 52)),
        "groove2": ((0, 0, 2, 60), (2, 0, 1, 50), (3, 12, 1, 48), (6, 0, 1, 58), (7, 12, 1, 46),
                    (8, 0, 2, 60), (10, 0, 1, 54), (11, 0, 1, 50), (12, 12, 1, 50), (14, 0, 1, 56),
                    (15, 12, 1, 48)),
        "long": ((0, 0, 9, 56), (10, 0, 2, 54), (12, 7, 2, 50), (14, 12, 2, 50)),
    }
    plan = {}
    for bar in range(8, 12):
        plan[bar] = "off"
    for bar in range(12, 16):
        plan[bar] = "gallop"
    for bar in range(16, 24):
        plan[bar] = "groove2" if bar & 1 else "groove"
    for bar in (*range(24, 28), *range(52, 56)):
        plan[bar] = "long"
    for bar in (*range(32, 44), *range(48, 52), *range(56, 60)):
        plan[bar] = "groove" if bar & 3 == 0 else "groove2"

    for bar, style in plan.items():
        for step, interval, rows, level in styles[style]:
            root = chord_at(bar, step)[0]
            row = bar * ROWS_PER_BAR + step
            song.play(CH_BASS, row, root + interval, BASS, level)
            song.stop(CH_BASS, row + rows)

    # The octave at the end of a bridge bar is reached by gliding.
    for bar in range(24, 28):
        song.cells[bar * ROWS_PER_BAR + 14][CH_BASS][1] = 0
        song.effect(CH_BASS, bar * ROWS_PER_BAR + 14, GLIDE, 0x0C)
        song.effect(CH_BASS, bar * ROWS_PER_BAR + 15, GLIDE, 0)

    # Drones of the intro, the break and the ending
    for bar, level in ((4, 22), (5, 28), (6, 34), (7, 40), (28, 34), (29, 34), (30, 36)):
        song.play(CH_BASS, bar * ROWS_PER_BAR, chord_at(bar, 0)[0], BASS, level)
        song.stop(CH_BASS, bar * ROWS_PER_BAR + 14)
    for row, rows, root, _, _ in chords_of_bar(44):
        song.play(CH_BASS, row, root, BASS, 56)
        song.stop(CH_BASS, row + rows - 1)
    for row, rows, root, _, _ in chords_of_bar(45):
        song.play(CH_BASS, row, root, BASS, 42)
        song.stop(CH_BASS, row + rows - 1)
    song.play(CH_BASS, 46 * ROWS_PER_BAR, note_number("D2"), BASS, 44)
    song.fade(CH_BASS, 46 * ROWS_PER_BAR + 4, 46 * ROWS_PER_BAR + 24, 44, 0)
    song.stop(CH_BASS, 46 * ROWS_PER_BAR + 25)


# --- Chords


def write_pad(song):
    channels = (CH_PAD, CH_PAD2, CH_PAD3)
    pans = (LEFT, RIGHT, CENTRE)

    def strike(row, chord, level, instrument=PAD):
        for channel, note, pan in zip(channels, chord, pans):
            song.play(channel, row, note, instrument, level)
            song.effect(channel, row, PANNING, pan)

    def lead_on(row, chord, level):
        """The sounding notes move to the next chord without a new stroke."""
        for channel, note in zip(channels, chord):
            song.play(channel, row, note, 0, level)
            song.effect(channel, row, GLIDE, 0x30)
            song.effect(channel, row + 1, GLIDE, 0)

    # The intro rises from nothing, the choir first.
    for bar in range(0, 8):
        for row, _, _, chord, _ in chords_of_bar(bar):
            level = 46
            if row == 0:
                strike(row, chord, 6, CHOIR)
            elif bar < 2:
                lead_on(row, chord, level)
            elif row in (2 * ROWS_PER_BAR, 4 * ROWS_PER_BAR):
                strike(row, chord, level)
            else:
                lead_on(row, chord, level)
    for channel in channels:
        song.fade(channel, 0, 28, 6, 32)
        for i in range(4):  # a swell across the drone bars
            first = (4 + i) * ROWS_PER_BAR + 8
            song.fade(channel, first, first + 7, 46, 40)

    def pump(first, last, low, slide):
        """Each beat's stroke of the kick pushes the chord down; it comes back within the beat."""
        for row in range(first, last):
            for channel in channels:
                if row & 3 == 0:
                    song.volume(channel, row, low)
                else:
                    song.volume_column(channel, row, SLIDE_VOLUME_UP + slide)

    for bar in (*range(8, 28), *range(32, 44), *range(48, 60)):
        for row, _, _, chord, _ in chords_of_bar(bar):
            if bar & 3 == 0:
                strike(row, chord, 30)
            else:
                lead_on(row, chord, 30)
    pump(8 * ROWS_PER_BAR, 24 * ROWS_PER_BAR, 12, 1)
    pump(32 * ROWS_PER_BAR, 44 * ROWS_PER_BAR, 12, 1)
    pump(48 * ROWS_PER_BAR, 52 * ROWS_PER_BAR, 12, 1)
    pump(56 * ROWS_PER_BAR, 60 * ROWS_PER_BAR, 12, 1)
    for bar in (*range(24, 28), *range(52, 56)):
        for channel in channels:
            song.fade(channel, bar * ROWS_PER_BAR, bar * ROWS_PER_BAR + 6, 24, 44)

    for bar in range(28, 32):
        for row, _, _, chord, _ in chords_of_bar(bar):
            if bar == 28:
                strike(row, chord, 44)
            else:
                lead_on(row, chord, 44)
    for channel in channels:
        song.fade(channel, 31 * ROWS_PER_BAR + 10, 31 * ROWS_PER_BAR + 15, 44, 26)

    for bar in range(44, 48):
        for row, _, _, chord, _ in chords_of_bar(bar):
            if bar == 44:
                strike(row, chord, 46)
            elif bar == 46:
                strike(row, chord, 44, CHOIR)
            else:
                lead_on(row, chord, 44)
    for channel in channels:
        song.fade(channel, 46 * ROWS_PER_BAR + 8, 47 * ROWS_PER_BAR + 9, 44, 0)
        song.stop(channel, 47 * ROWS_PER_BAR + 10)


# --- Plucked figures


def write_pluck(song):
    figure = (0, 2, 1, 3, 2, 4, 3, 2, 0, 2, 1, 3, 4, 3, 2, 1)
    busy = (0, 3, 2, 4, 1, 3, 2, 4, 0, 3, 2, 4, 3, 1, 4, 2)

    def figure_bar(bar, indices, every, level, transpose=0):
        for step in range(0, ROWS_PER_BAR, every):
            plucked = chord_at(bar, step)[2]
            note = plucked[indices[step]] + transpose
            accent = 8 if step & 3 == 0 or step & 7 == 3 else 0
            row = bar * ROWS_PER_BAR + step
            pan = 0x18 if step // every & 1 else 0xE8
            song.play(CH_PLUCK, row, note, PLUCK, min(64, level + accent))
            song.effect(CH_PLUCK, row, PANNING, pan)
            if not 46 <= (row + 3) // ROWS_PER_BAR < 48:
                song.play(CH_PLUCK_ECHO, row + 3, note, PLUCK, (level + accent) * 2 // 5)
                song.effect(CH_PLUCK_ECHO, row + 3, PANNING, 0x100 - pan)

    for bar in range(4, 8):
        figure_bar(bar, figure, 2, 14 + 6 * (bar - 4))
    for bar in range(8, 16):
        figure_bar(bar, figure, 1, 34 + 2 * (bar - 8))
    for bar in range(16, 24):
        figure_bar(bar, figure, 1, 28)
    for bar in range(24, 28):
        figure_bar(bar, figure, 2, 34)
    for bar in range(28, 32):
        figure_bar(bar, busy, 2 if bar < 30 else 1, 20 + 3 * (bar - 28), 12 if bar < 30 else 0)
    for bar in range(32, 44):
        figure_bar(bar, busy, 1, 28, 12 if bar & 3 == 3 or bar >= 40 else 0)
    for bar in (*range(48, 52), *range(56, 60)):
        figure_bar(bar, busy, 1, 30, 12 if bar & 1 else 0)
    for bar in range(52, 56):
        figure_bar(bar, busy, 1, 24 + 4 * (bar & 1), 12)
    figure_bar(44, figure, 2, 30)
    figure_bar(45, figure, 2, 20)


# --- Melodies


def write_lead(song):
    for bar, text in LEAD_MELODY.items():
        level = 36 if bar < 16 else 50
        for step, rows, note, glide in melody(text):
            row = bar * ROWS_PER_BAR + step
            if note == 0:
                continue
            accent = 4 if step & 7 == 0 else 0
            song.play(CH_LEAD, row, note, 0 if glide else LEAD, level + accent)
            song.play(CH_LEAD_ECHO, row + 3, note, 0 if glide else LEAD, (level + accent) // 2)
            song.effect(CH_LEAD_ECHO, row + 3, PANNING, 0x08 if step // 16 & 1 else 0xF8)
            song.stop(CH_LEAD, row + rows)
            song.stop(CH_LEAD_ECHO, row + rows + 3)
            if glide:
                for i in range(2):
                    song.effect(CH_LEAD, row + i, GLIDE, 0x10)
                    song.effect(CH_LEAD_ECHO, row + 3 + i, GLIDE, 0x10)
            for i in range(3, rows):  # long notes begin to sway
                song.effect(CH_LEAD, row + i, VIBRATO, 0x42 if i < 6 else 0x43)

    # The last note before the break and the one before the ending fall away.
    for bar in (27, 43):
        for step in (13, 14, 15):
            song.effect(CH_LEAD, bar * ROWS_PER_BAR + step, SLIDE_DOWN, 0x02)


def write_voice(song):
    for bar, text in VOICE_MELODY.items():
        duet = bar == 40
        previous_end = -1
        for step, rows, note, _ in melody(text):
            row = bar * ROWS_PER_BAR + step
            song.play(CH_VOICE, row, note, LEAD if duet else CHOIR, 30 if duet else 46)
            song.effect(CH_VOICE, row, PANNING, 0x58)
            song.stop(CH_VOICE, row + rows)
            if not duet and step == previous_end:  # sung without a new breath
                song.cells[row][CH_VOICE][1] = 0
                song.effect(CH_VOICE, row, GLIDE, 0x20)
                song.effect(CH_VOICE, row + 1, GLIDE, 0)
            previous_end = step + rows


def write_bell(song):
    for bar, text in BELL_MELODY.items():
        level = {0: 40, 4: 34, 12: 22, 28: 48, 44: 42, 52: 44}[bar]
        for step, rows, note, _ in melody(text):
            if note == 0:
                continue
            row = bar * ROWS_PER_BAR + step
            song.play(CH_BELL, row, note, BELL, level)
            song.effect(CH_BELL, row, PANNING, 0x30)
            if bar != 44 or row + 6 < 47 * ROWS_PER_BAR:
                song.play(CH_BELL_ECHO, row + 6, note, BELL, level * 3 // 8)
                song.effect(CH_BELL_ECHO, row + 6, PANNING, 0xE0)
    # The last strokes fade with the chord.
    for channel, level in ((CH_BELL, 34), (CH_BELL_ECHO, 14)):
        song.fade(channel, 47 * ROWS_PER_BAR, 47 * ROWS_PER_BAR + 11, level, 0)
        song.stop(channel, 47 * ROWS_PER_BAR + 12)

    # Sparkles: a whole chord in one channel, a note of it each tick.
    for bar, root, third_and_fifth in ((36, "Bb4", 0x47), (37, "F4", 0x47), (38, "G4", 0x37),
                                       (39, "A4", 0x47)):
        for step, level in ((0, 22), (3, 16), (6, 20)):
            row = bar * ROWS_PER_BAR + step
            song.play(CH_BELL, row, note_number(root), PLUCK, level)
            for i in range(3):
                song.effect(CH_BELL, row + i, ARPEGGIO, third_and_fifth)


# --- Wind, risers


def write_effects(song):
    bar = ROWS_PER_BAR
    # A breath in the intro; risers into both themes, slid up by pitch and volume.
    song.play(CH_EFFECT, 2 * bar, note_number("C3"), WIND, 10)
    song.fade(CH_EFFECT, 2 * bar, 3 * bar + 4, 4, 16)
    song.fade(CH_EFFECT, 3 * bar + 5, 4 * bar - 2, 16, 0)
    song.stop(CH_EFFECT, 4 * bar - 1)
    song.play(CH_EFFECT, 7 * bar + 8, DRUM_NOTE, REVERSE, 50)  # it lasts 8 rows
    for start in (14 * bar, 30 * bar):
        song.clear((CH_EFFECT,), start, start + 32)
        song.play(CH_EFFECT, start, note_number("F2"), WIND, 4)
        song.fade(CH_EFFECT, start, start + 31, 4, 44)
        for row in range(start + 1, start + 31):
            song.effect(CH_EFFECT, row, SLIDE_UP, 0x01)
        song.stop(CH_EFFECT, start + 31)
    for start in (15 * bar + 8, 31 * bar + 8):
        song.play(CH_CYMBAL, start, DRUM_NOTE, REVERSE, 54)
    song.play(CH_EFFECT, 28 * bar, note_number("G3"), WIND, 18)
    song.fade(CH_EFFECT, 28 * bar + 8, 29 * bar + 8, 18, 0)
    song.stop(CH_EFFECT, 29 * bar + 9)


def compose():
    song = Tune(ROWS, CHANNELS, TEMPO, SPEEDS[0], "Quorvale", "make_music.py")
    write_drums(song)
    write_fills(song)
    write_bass(song)
    write_pad(song)
    write_pluck(song)
    write_lead(song)
    write_voice(song)
    write_bell(song)
    write_effects(song)
    # Nothing rings on into a pattern that was not written after the one it is played after.
    for bar in (0, 28, 40, 52, 56):
        for channel in (CH_BASS, CH_PLUCK_ECHO, CH_LEAD, CH_LEAD_ECHO, CH_VOICE, CH_EFFECT):
            song.stop(channel, bar * ROWS_PER_BAR)
    song.order = ORDER
    for row in range(ROWS):  # last, since a fill may clear the kick's channel
        song.effect(CH_KICK, row, SPEED, SPEEDS[row & 1])
    return song


# ---------------------------------------------------------------------------------------------
# The file


def make_instrument(row):
    """The sound of a row of INSTRUMENTS. 32 samples at the 8363 Hz of C-4 are 2 cents flat."""
    options = {word: value for word, value in row.items() if word not in ("make", "rel")}
    return Instrument(wave=row["make"](), relative=row["rel"], fine=2 if "loop" in row else 0,
                      **options)


def main():
    here = os.path.dirname(os.path.abspath(__file__))
    path = sys.argv[1] if len(sys.argv) > 1 else os.path.join(here, "music", "quorvale.xm")
    song = compose()
    for number in range(1, len(INSTRUMENTS) + 1):
        song.instrument(make_instrument(INSTRUMENTS[number]))
    song.write(path)


if __name__ == "__main__":
    main()
