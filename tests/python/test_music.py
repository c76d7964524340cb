# SPDX-License-Identifier: MIT
"""Rows of a module in ticks."""

import struct

import pytest

from quorvale import Music


def module(patterns, orders, speed=6, tempo=125, channels=1):
    """An XM of patterns, which are lists of rows of (effect, parameter)."""
    header = struct.pack("<IHHHHHHHH", 20 + 256, len(orders), 0, channels, len(patterns), 0, 1, speed,
                         tempo) + bytes(orders).ljust(256, b"\0")
    data = b"Extended Module: " + b"test".ljust(20) + b"\x1a" + b"test".ljust(20) + b"\x04\x01" + header
    for rows in patterns:
        body = b"".join(bytes([0x98, effect, parameter]) if effect or parameter else b"\x80"
                        for effect, parameter in rows)
        data += struct.pack("<IBHH", 9, 0, len(rows), len(body)) + body
    return data


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
