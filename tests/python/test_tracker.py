# SPDX-License-Identifier: MIT
"""Modules made by code."""

import pytest

from quorvale import Music
from quorvale.tracker import Instrument, Tune, drum, note_number, tone


def test_a_tune_reads_back_as_its_rows(tmp_path):
    tune = Tune(rows=100, channels=3, tempo=150, speed=5)
    bass = tune.instrument(Instrument("bass", tone(64, (1, 0.5)), loop=64))
    tune.play(0, 0, "C-4", bass)
    tune.effect(2, 50, 0xF, 10)
    music = tune.write(str(tmp_path / "tune.xm"))
    assert isinstance(music, Music) and music.filename == "tune.xm"
    # The last pattern has the rows that are left.
    assert len(music.rows) == 100 and music.rows[64].order == 1
    assert music.rows[0].length == 5 * 735 / 441 and music.rows[50].length == 10 * 735 / 441


def test_patterns_are_played_in_their_order(tmp_path):
    tune = Tune(rows=128, channels=1, tempo=250, speed=2)
    tune.instrument(Instrument("bass", tone(64, (1,))))
    tune.order = [1, 0, 1]
    music = tune.write(str(tmp_path / "tune.xm"))
    assert len(music.rows) == 192 and music.end == 2 * 192
    tune.order = [0, 2]
    with pytest.raises(ValueError, match=r"numbers of patterns, 0 to 1, not \(0, 2\)"):
        tune.bytes()
    for order in ((), (-1,), (0,) * 257):
        tune.order = order
        with pytest.raises(ValueError, match="the order is 1 to 256 numbers"):
            tune.bytes()


def test_the_same_tune_has_the_same_bytes():
    def make():
        tune = Tune(rows=8, channels=1, name="näme", maker="me")
        tune.play(0, 0, 49, tune.instrument(Instrument("drum", drum(500, 12, 4, 0.3), bits=16)))
        return tune.bytes()

    assert make() == make()
    assert make()[60:64] == (276).to_bytes(4, "little")


def test_instruments_follow_the_patterns():
    tune = Tune(rows=1, channels=1)
    tune.instrument(Instrument("four", [0.0, 1.0, -1.0, 0.5], peak=1.0))
    data = tune.bytes()
    assert data[-4:] == bytes([0, 127, 2, 191])  # differences of 0, 127, -127, 64 (63.5 is even 64)
    at = 336 + 9 + 1  # one row of one empty cell
    assert data[at:at + 4] == (263).to_bytes(4, "little")


def test_what_a_module_can_not_hold_is_refused():
    with pytest.raises(ValueError, match="1 to 32 channels, not 33"):
        Tune(rows=1, channels=33)
    with pytest.raises(ValueError, match="tempo is 32 to 255"):
        Tune(rows=1, channels=1, tempo=300)
    with pytest.raises(ValueError, match='not "H-4"'):
        note_number("H-4")
    with pytest.raises(ValueError, match="the loop is 0 to 4 samples long, not 5"):
        Instrument("a", [0.0] * 4, loop=5)
    with pytest.raises(ValueError, match="1 to 16384 rows, not 0"):
        Tune(rows=0, channels=1)


def test_a_tune_without_instruments_is_refused(tmp_path):
    with pytest.raises(ValueError, match=r"an instrument at least.*tune.instrument\(Instrument"):
        Tune(rows=64, channels=1).write(str(tmp_path / "tune.xm"))
    assert not (tmp_path / "tune.xm").exists()


def test_notes_name_what_the_tune_has():
    tune = Tune(rows=4, channels=2)
    bass = Instrument("bass", tone(64, (1,)))
    number = tune.instrument(bass)
    for arguments, text in (((2, 0, "C-4", number), "play.*the channel is 0 to 1, as the tune has 2, not 2"),
                            ((0, 0, "C-4", -1), "gave, or 0 for the one before, not -1"),
                            ((0, 0, "C-4", bass), "or 0 for the one before, not an Instrument"),
                            ((0, 0, "C-4", number, 65), "the volume is 0 to 64, not 65")):
        with pytest.raises(ValueError, match=text):
            tune.play(*arguments)
    with pytest.raises(ValueError, match="stop.*the channel is 0 to 1"):
        tune.stop(2, 0)


def test_silence_is_no_division_by_nothing():
    tune = Tune(rows=1, channels=1)
    tune.instrument(Instrument("nothing", [0.0, 0.0]))
    assert tune.bytes().endswith(b"\0\0")
