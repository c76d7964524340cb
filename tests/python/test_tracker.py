# SPDX-License-Identifier: MIT
"""Modules made by code."""

import math

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


WORDS = {
    "bits": ((8, 16), (12, 0), "a sample has 8 or 16 bits"),
    "peak": ((0, 1), (-0.1, 1.5), "the peak is 0 to 1"),
    "relative": ((-96, 95), (-97, 96), "the relative is -96 to 95"),
    "fine": ((-128, 127), (-129, 128), "the fine is -128 to 127"),
    "pan": ((0, 255), (-1, 256), "the pan is 0 to 255"),
    "fadeout": ((0, 65535), (-1, 65536), "the fadeout is 0 to 65535"),
    "envelope": (((), ((0, 0), (65535, 64)), tuple((k, 64) for k in range(12))),
                 (((0, 65),), ((0, -1),), ((-1, 5),), ((0, 5), (65536, 5)), ((5, 0), (5, 1)),
                  ((0.5, 1),), tuple((k, 64) for k in range(13))), "of the envelope|envelope has up"),
    "panning": (((), ((0, 0), (10, 64))), (((0, 65),), ((9, 0), (8, 1))), "of the panning"),
    "vibrato": (((3, 255, 15, 63), (0, 0, 0, 0)),
                ((4, 0, 0, 0), (0, 256, 0, 0), (0, 0, 16, 0), (0, 0, 0, 64), (-1, 0, 0, 0)),
                "of the vibrato is 0 to"),
    "wave": (([0.0], [1e30, -1e30]), ([0.0, math.nan], [math.inf]), "samples of a wave are finite"),
}


@pytest.mark.parametrize("word", WORDS)
def test_what_an_instrument_says_ends_where_a_module_does(word):
    def module_with(value):
        tune = Tune(rows=1, channels=1)
        tune.instrument(Instrument(**{"name": "a", "wave": [0.0, 1.0], word: value}))
        return tune.bytes()

    good, bad, text = WORDS[word]
    for value in good:
        assert module_with(value)
    for value in bad:
        with pytest.raises(ValueError, match=text):
            module_with(value)


def test_points_that_are_named_are_there():
    points = ((0, 64), (10, 0))
    for given in (dict(sustain=2, envelope=points), dict(sustain=0), dict(sustain=-1, envelope=points),
                  dict(panning_loop=(0, 2), panning=points), dict(panning_loop=(0, 0))):
        with pytest.raises(ValueError, match="points, and none of them is"):
            Instrument("a", [1.0], **given)
    assert Instrument("a", [1.0], envelope=points, panning=points, sustain=1, panning_loop=(0, 1))


def test_rows_that_are_not_there_take_nothing():
    tune = Tune(rows=4, channels=2)
    tune.instrument(Instrument("a", [1.0]))
    before = tune.bytes()
    for row in (-1, 4, 100):
        tune.play(0, row, "C-4", 1)
        tune.stop(0, row)
        tune.effect(0, row, 0xF, 140)
        tune.volume(0, row, 32)
        tune.volume_column(0, row, 0xC0)
    tune.clear((0, 1), -5, 50)
    tune.fade(0, 4, 8, 0, 64)
    assert tune.bytes() == before
    for change in (tune.play, tune.stop, tune.volume):
        with pytest.raises(ValueError, match="the channel is 0 to 1, as the tune has 2, not 2"):
            change(2, 0, *{tune.play: ("C-4", 1), tune.stop: (), tune.volume: (32,)}[change])


@pytest.mark.parametrize("change, text", [
    (lambda tune: tune.play(0, 0, 98, 1), "a note is 1 to 96"),
    (lambda tune: tune.play(0, 0, "B#7", 1), 'go from "C-0" to "B-7", and "B#7" is none'),
    (lambda tune: tune.play(0, 0, "Cb0", 1), '"Cb0" is none'),
    (lambda tune: tune.play(0, 0, "C-4", 129), "gave, or 0 for the one before, not 129"),
    (lambda tune: (tune.play(0, 3, "C-4", 2), tune.bytes()),
     "row 3 of channel 0 plays instrument 2, and the tune has 1"),
    (lambda tune: tune.effect(0, 0, 36, 0), "0 to 35 and its parameter 0 to 255, not 36 and 0"),
    (lambda tune: tune.effect(0, 0, 1, 256), "not 1 and 256"),
    (lambda tune: tune.volume(0, 0, 65), r"volume\(\): the volume is 0 to 64, not 65"),
    (lambda tune: tune.volume_column(0, 0, 256), "a byte is 0 to 255, not 256"),
    (lambda tune: tune.fade(0, 3, 3, 0, 64), "it ends at a later row than it begins, not at 3 from 3"),
    (lambda tune: [tune.instrument(Instrument("a", [1.0])) for _ in range(128)], "up to 128 instruments")])
def test_cells_hold_what_a_module_can_say(change, text):
    tune = Tune(rows=4, channels=1)
    tune.instrument(Instrument("a", [1.0]))
    with pytest.raises(ValueError, match=text):
        change(tune)


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
