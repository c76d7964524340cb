# SPDX-License-Identifier: MIT
"""Curves: their arithmetic, and their values held against the engine's to the last bit."""

import ctypes
import math
import struct

import pytest
from hypothesis import given, settings
from hypothesis import strategies as st

from quorvale import (FLAT, Curve, Document, Model, Scene, ease, ease_in, ease_out, hold, levels, line,
                      recipes, ring_down, seconds, span, spline, wave)
from quorvale.curves import number_text, written
from quorvale.exact import f32, sine32

numbers = st.floats(-1e4, 1e4).map(lambda value: float("%.7g" % value))
lengths = st.integers(1, 3000)


def pieces_of(maker, *arguments):
    return st.builds(maker, *arguments)


spline_points = st.lists(st.tuples(st.integers(1, 400), numbers), min_size=1, max_size=11).map(
    lambda steps: [(0, 1.0)] + [(sum(d for d, _ in steps[:k + 1]), y)
                                for k, (_, y) in enumerate(steps)])
single = st.one_of(
    st.builds(hold, numbers, lengths), st.builds(line, numbers, numbers, lengths),
    st.builds(ease_in, numbers, numbers, lengths), st.builds(ease_out, numbers, numbers, lengths),
    st.builds(wave, numbers, numbers, st.floats(1.0, 4000.0), st.floats(-2.0, 2.0), lengths),
    st.builds(ring_down, numbers, numbers, st.floats(1.0, 4000.0), lengths),
    st.builds(spline, spline_points))


def chained(parts):
    curve = parts[0]
    for part in parts[1:]:
        curve = curve.then(part)
    return curve


chains = st.lists(single, min_size=1, max_size=5).map(chained)
curves = st.one_of(chains, chains.map(Curve.looped), chains.map(Curve.swinging),
                   st.builds(lambda c, n: c.swinging(n % c.length, c.length) if c.length > 1 else c,
                             chains, st.integers(0, 500)))


def document_of(curves_):
    """A document whose envelopes are these curves, each once, in this order."""
    scene = Scene()
    model = Model("m.obj")
    material = recipes.color()
    for curve in curves_:
        scene.add(model, material, scale=(curve, 1.0, 1.0))
    document = Document()
    document.row(0).show(scene, FLAT, 0, 100)
    return document


def bits(value):
    return struct.pack(">f", value).hex()


@given(st.lists(curves, min_size=1, max_size=20, unique=True),
       st.lists(st.integers(0, 20000), min_size=1, max_size=10))
def test_values_are_the_engines_to_the_last_bit(engine_values, tmp_path_factory, given_curves, ticks):
    path = tmp_path_factory.mktemp("curves") / "demo.xml"
    document = document_of(given_curves)
    document.write(str(path))
    # Two curves may be the same text, and then they share an envelope.
    from quorvale.document import _Writer
    writer = _Writer(document)
    writer.text()
    asked = [(writer.known_curves[curve], curve, tick) for curve in given_curves for tick in ticks]
    got = engine_values(path, "values", lines="".join(f"{i} {t}\n" for i, _, t in asked))
    for (_, curve, tick), value in zip(asked, got, strict=True):
        assert bits(curve.at(tick)) == value, (curve, tick)


@settings(max_examples=300)
@given(st.floats(width=32, allow_nan=False, allow_infinity=False))
def test_the_sine_is_the_librarys_to_the_last_bit(angle):
    library = ctypes.CDLL("libm.so.6")
    library.sinf.restype = ctypes.c_float
    library.sinf.argtypes = [ctypes.c_float]
    assert bits(sine32(angle)) == bits(library.sinf(angle))


@given(single, st.integers(0, 3000))
def test_samples_are_near_the_engines_values(curve, tick):
    if tick <= curve.length:
        size = max(1.0, max(abs(p) for p in curve.pieces[0].params) * max(1, tick) ** 2)
        assert abs(curve.sample(tick) - curve.at(tick)) <= 1e-4 * size


@given(chains, numbers, numbers, st.integers(0, 5000))
def test_scaling_and_lifting_do_so_to_every_value(curve, factor, summand, tick):
    changed = curve * factor + summand
    x = min(tick, curve.length)
    if x == tick:
        expected = curve.sample(x) * factor + summand
        assert math.isclose(changed.sample(x), expected, rel_tol=1e-6, abs_tol=1e-3 + abs(
            expected) * 1e-6 + abs(factor) * 1e3)


eighths = st.integers(-72, 72).map(lambda n: n / 8)
polynomials = st.lists(st.one_of(
    st.builds(hold, eighths, st.integers(1, 300)),
    st.builds(line, eighths, eighths, st.integers(1, 300)),
    st.builds(ease_in, eighths, eighths, st.integers(10, 300))),
    min_size=1, max_size=4).map(chained)


@given(polynomials, polynomials, st.integers(0, 1500))
def test_a_sum_is_the_sum_of_both_values(one, other, tick):
    try:
        total = one + other
    except ValueError as error:
        assert "almost a line" in str(error)
        return
    assert abs(total.at(tick) - one.at(tick) - other.at(tick)) < 1e-2


def test_what_no_function_can_be_is_refused():
    with pytest.raises(ValueError, match="waves and splines can't be added"):
        wave(0, 1, 100) + line(0, 1, 100)
    with pytest.raises(ValueError, match="curves that loop can't be added"):
        line(0, 1, 100).looped() + line(0, 1, 100)
    with pytest.raises(ValueError, match="1 to 16 pieces, not 17"):
        chained([hold(1)] * 17)
    with pytest.raises(ValueError, match="2 to 12 points, not 13"):
        spline([(k, 0) for k in range(13)])
    with pytest.raises(ValueError, match="a tick apart at least, not at 5 and 5"):
        spline([(0, 0), (5, 1), (5, 2)])
    with pytest.raises(ValueError, match="finite"):
        hold(math.nan)
    with pytest.raises(ValueError, match="length is a whole number of ticks, at least 1, not 0"):
        line(0, 1, 0)


def test_curves_go_where_they_say():
    assert line(2, 4, 100).at(100) == 4.0
    assert ease(0, 1, 100).at(50) == 0.5
    assert ease_out(1, 0, 50).looped().at(75) == f32(0.25)
    assert line(0, 100, 100).swinging().at(130) == 70.0
    assert span(100, 200).at(100) == 0.0 and span(100, 200).at(101) == 1.0
    assert levels([(0, 5), (50, 7)]).at(500) == 7.0
    assert line(0, 1, 100).delayed(50).at(50) == 0.0
    assert line(0, 1, 100).delayed(50).at(100) == 0.5
    assert (1 - line(0, 1, 100)).at(25) == 0.75
    assert seconds(2.5) == 250


def test_samples_stay_at_the_end_and_follow_loops():
    assert line(0, 1, 100).sample(250) == 1.0
    assert line(0, 1, 100).swinging().sample(130.5) == pytest.approx(0.695)
    assert line(0, 1, 100).sampled(200, points=3).at(200) == 1.0
    assert ease_out(1, 0, 50).looped().sampled(400, points=5).at(300) == 1.0
    assert line(0, 1, 3).sampled(3).at(2) == pytest.approx(2 / 3)
    for arguments, text in (((100, 1), "2 to 12 points, not 1"), ((100, 13), "not 13"),
                            ((0,), "the length is 1 tick at least, not 0")):
        with pytest.raises(ValueError, match=r"^sampled\(\): .*" + text):
            line(0, 1, 100).sampled(*arguments)


def test_what_loops_is_not_joined_nor_swings_later():
    with pytest.raises(ValueError, match="a curve that loops has no end"):
        line(0, 1, 50).looped().then(5, 100)
    with pytest.raises(ValueError, match="can't be a part of another"):
        hold(0, 100).then(line(1, 0, 50).looped())
    with pytest.raises(ValueError, match="begins at tick 0 of its clip"):
        line(0, 1, 100).swinging().delayed(50)
    assert line(0, 1, 100).swinging().delayed(0).at(110) == pytest.approx(0.9)


def test_a_loop_ends_later_than_it_begins():
    with pytest.raises(ValueError, match="not 100 to 100"):
        hold(1, 100).looped(100, 100)


@given(st.floats(allow_nan=False, allow_infinity=False, width=32))
def test_numbers_have_seven_digits_and_no_negative_zero(value):
    text = number_text(value)
    assert len(text.lstrip("-").replace(".", "").split("e")[0].lstrip("0")) <= 7
    assert text != "-0"
    assert math.isclose(written(value), value, rel_tol=1e-6, abs_tol=1e-44)


@pytest.mark.parametrize("number", [1e39, -1e39, 10 ** 400])
def test_numbers_that_no_document_holds_are_refused(number):
    with pytest.raises(ValueError, match=r"hold\(\): .*value.* is too large: numbers go to 3.4e38"):
        hold(number)
    assert hold(3.4e38).at(0) == pytest.approx(3.4e38)
