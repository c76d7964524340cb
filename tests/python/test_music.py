# SPDX-License-Identifier: MIT
"""Rows of a module in ticks."""

import json
import struct
import subprocess

import pytest

from quorvale import Music


def module(patterns, orders, speed=6, tempo=125, channels=1):
    """An XM of patterns, which are lists of rows of (effect, parameter), or of lists of them."""
    header = struct.pack("<IHHHHHHHH", 20 + 256, len(orders), 0, channels, len(patterns), 1, 1, speed,
                         tempo) + bytes(orders).ljust(256, b"\0")
    data = b"Extended Module: " + b"test".ljust(20) + b"\x1a" + b"test".ljust(20) + b"\x04\x01" + header
    for rows in patterns:
        cells = [cell for row in rows
                 for cell in ((row if isinstance(row, list) else [row]) + [(0, 0)] * channels)[:channels]]
        body = b"".join(bytes([0x98, effect, parameter]) if effect or parameter else b"\x80"
                        for effect, parameter in cells)
        data += struct.pack("<IBHH", 9, 0, len(rows), len(body)) + body
    sample = struct.pack("<IIIBbBBbB22s", 64, 0, 0, 64, 0, 0, 128, 0, 0, b"") + bytes(64)
    return data + struct.pack("<I22sBHI", 263, b"tone", 0, 1, 40) + bytes(230) + sample


def load(tmp_path, *arguments, **options):
    path = tmp_path / "tune.xm"
    path.write_bytes(module(*arguments, **options))
    return Music(str(path))


def test_rows_last_speed_times_a_step(tmp_path):
    music = load(tmp_path, [[(0, 0)] * 8], [0])  # a step of 20 ms, a row of 120 ms
    assert [row.start for row in music.rows] == [12.0 * k for k in range(8)]
    assert music.end == 96 and music.beat(1) == 48 and music.beats(0, 2) == [0, 48]
    assert music.filename == "tune.xm"


def test_speed_and_tempo_change_with_their_rows(tmp_path):
    music = load(tmp_path, [[(0xF, 3), (0, 0), (0xF, 250), (0, 0)]], [0])
    assert [row.length for row in music.rows] == [6.0, 6.0, 3.0, 3.0]


def test_breaks_and_jumps_are_followed(tmp_path):
    music = load(tmp_path, [[(0, 0), (0xD, 0x02), (0, 0), (0, 0)], [(0, 0)] * 4], [0, 1])
    assert [(row.order, row.row) for row in music.rows] == [(0, 0), (0, 1), (1, 2), (1, 3)]
    music = load(tmp_path, [[(0, 0)] * 2, [(0, 0), (0xB, 0)]], [0, 1])
    assert [(row.order, row.row) for row in music.rows] == [(0, 0), (0, 1), (1, 0), (1, 1)]


N = (0, 0)
LOOP = (0xE, 0x60)
TRICKS = {
    "a jump back at the end": ([[N] * 2, [N, (0xB, 0)]], [0, 1]),
    "a jump back amid": ([[N] * 2, [N, (0xB, 0), N, N], [N] * 2], [0, 1, 2]),
    "a jump to its own order": ([[N, (0xB, 0), N], [N] * 2], [0, 1]),
    "a jump on": ([[N, (0xB, 2), N], [N] * 2, [N] * 2], [0, 1, 2]),
    "a jump past the end": ([[N, (0xB, 9), N], [N] * 2], [0, 1]),
    "a break past the end of a pattern": ([[N, (0xD, 0x99)], [N] * 4], [0, 1]),
    "a break to row 40 of 36": ([[N, (0xD, 0x40)], [N] * 36], [0, 1]),
    "a break in the last order": ([[N] * 2, [N, (0xD, 1), N]], [0, 1]),
    "a break before a jump": ([[N, [(0xD, 3), (0xB, 2)]], [N] * 8, [N] * 8], [0, 1, 2]),
    "a break after a jump": ([[N, [(0xB, 2), (0xD, 3)]], [N] * 8, [N] * 8], [0, 1, 2]),
    "a break with a jump back": ([[N, N], [N, [(0xB, 0), (0xD, 1)], N], [N] * 2], [0, 1, 2]),
    "loops of two channels": ([[[LOOP, N], [N, LOOP], [(0xE, 0x61), N], [N, (0xE, 0x62)], N]], [0]),
    "two loops in one row": ([[[LOOP, LOOP], N, [(0xE, 0x61), (0xE, 0x62)], N]], [0]),
    "a loop and a break": ([[LOOP, N, [(0xE, 0x61), (0xD, 2)], N], [N] * 4], [0, 1]),
    "a loop without a beginning": ([[N, N, (0xE, 0x62), N], [N] * 2], [0, 1]),
    "a loop from a pattern to the next": ([[N, LOOP, N], [N, N, (0xE, 0x61), N]], [0, 1]),
    "a loop that is left": ([[N, LOOP, (0xD, 0), N], [N] * 3, [N] * 3], [0, 1, 2]),
    "two delays in one row": ([[N, [(0xE, 0xE1), (0xE, 0xE3)], N]], [0]),
    "orders that are marks": ([[N] * 2, [N] * 2], [0, 254, 1, 255, 0]),
    "a pattern that is missing": ([[N] * 2], [0, 7, 0]),
    "changes of tempo and speed": ([[N, (0xF, 137), N, (0xF, 3), (0xF, 33), N, (0xF, 255), N] * 8], [0, 0]),
}


def assert_like_the_player(dpk, path):
    told = json.loads(subprocess.run([dpk, "rows", "--json", str(path)], check=True,
                                     capture_output=True, text=True).stdout)
    music = Music(str(path))
    *rows, end = [(row["order"], row["row"], row["tick"]) for row in told]
    # Each place is asked for where it is played first.
    ticks = [-(-round(row.start * 441) // 441) for row in music.rows]
    assert [(row.order, row.row, tick) for row, tick in zip(music.rows, ticks)] == rows
    assert music.end == end[2]
    first = {(order, row): tick for order, row, tick in reversed(rows)}
    assert all(music.at(*place) == tick for place, tick in first.items())


@pytest.mark.parametrize("name", TRICKS)
def test_rows_come_as_the_player_plays_them(dpk, tmp_path, name):
    path = tmp_path / "tune.xm"
    path.write_bytes(module(*TRICKS[name], channels=2))
    assert_like_the_player(dpk, path)


@pytest.mark.parametrize("tempo, speed", [(32, 6), (60, 31), (119, 1), (120, 6), (137, 5), (255, 3)])
def test_long_music_stays_with_its_sound(dpk, tmp_path, tempo, speed):
    path = tmp_path / "tune.xm"
    path.write_bytes(module([[N] * 64], [0] * 16, speed=speed, tempo=tempo))
    assert_like_the_player(dpk, path)


def test_patterns_loop_and_wait(tmp_path):
    music = load(tmp_path, [[(0xE, 0x60), (0, 0), (0xE, 0x62), (0, 0)]], [0])
    assert [row.row for row in music.rows] == [0, 1, 2, 0, 1, 2, 0, 1, 2, 3]
    music = load(tmp_path, [[(0xE, 0xE2), (0, 0)]], [0])
    assert [row.length for row in music.rows] == [36.0, 12.0]


def test_what_is_never_played_is_refused(tmp_path):
    music = load(tmp_path, [[(0, 0)] * 8], [0])
    with pytest.raises(ValueError, match="order 1, row 0 is never played"):
        music.at(1)
    with pytest.raises(ValueError, match="has 2 beats, none of them is 3"):
        music.beat(3)
    (tmp_path / "no.xm").write_bytes(b"RIFF")
    with pytest.raises(ValueError, match="is no Extended Module"):
        Music(str(tmp_path / "no.xm"))


def test_the_sample_pieces_module_keeps_its_form(root):
    music = Music(str(root / "piece/music/quorvale.xm"), rows_per_beat=4)
    assert music.end == 12000 and len(music.rows) == 960
    assert [music.beat(k) for k in range(0, 241, 16)] == [800 * k for k in range(16)]
    assert music.bar(8) == 1600 and music.at(4) == 3200 and music.at(4, 2) == 3225
