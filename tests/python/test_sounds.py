# SPDX-License-Identifier: MIT
"""Waves: their lengths, seams and pitch, and what they refuse."""

import math

import pytest

from quorvale.exact import Noise, sin_turns
from quorvale.images import Clouds
from quorvale.sounds import (aligned, attack_and_loop, fade_ends, harmonics, high_pass, hiss, low_pass,
                             metal, sine, wave_of, wide_harmonics)


def test_a_wave_is_the_sum_of_its_partials():
    partials = [(3, 0.5, 0.25), (10, 1.0, 0.0), (64, 0.25, 0.7)]
    wave = wave_of(256, partials)
    for k, value in enumerate(wave):
        expected = sum(a * sin_turns(c * k / 256 + turns) for c, a, turns in partials)
        assert abs(value - expected) < 1e-3


def test_the_sine_is_near_the_exact_one():
    for k in range(1000):
        assert abs(sine(k / 997) - sin_turns(k / 997)) < 1e-4


def test_an_attack_leads_into_its_loop_without_a_seam():
    loop = wave_of(512, aligned(4, range(1, 9), lambda h: 1 / h))
    bright = wave_of(512, aligned(4, range(9, 20), lambda h: 1 / h))
    wave = attack_and_loop(300, loop, ((bright, 2),), 20)
    assert len(wave) == 812 and wave[300:] == loop and wave[0] == 0.0
    steps = [abs(b - a) for a, b in zip(wave, wave[1:] + wave[300:301])]
    assert max(steps[280:330]) <= max(steps)
    assert abs(wave[299] - loop[-1]) < 1e-3


def test_sounds_are_the_same_for_a_seed():
    assert hiss(50, Noise(3)) == hiss(50, Noise(3)) != hiss(50, Noise(4))
    assert metal(8000, 0.1, 0.02, 0.5, 9) == metal(8000, 0.1, 0.02, 0.5, 9)
    assert harmonics(8, (1, 2), lambda h: 1.0, Noise(5)) == harmonics(8, (1, 2), lambda h: 1.0, Noise(5))
    assert all(-1.0 <= value < 1.0 for value in hiss(1000, Noise(1)))


def test_filters_share_a_wave_between_them():
    wave = wave_of(128, wide_harmonics(16, 3, 1.5, lambda h: 1 / h, 7))
    low, high = low_pass(wave, 0.3), high_pass(wave, 0.3)
    assert all(math.isclose(a + b, c, abs_tol=1e-12) for a, b, c in zip(low, high, wave))
    faded = fade_ends([1.0] * 10, 2, 2)
    assert faded == [0.0, 0.5] + [1.0] * 6 + [0.5, 0.0]


def test_waves_that_have_no_loop_are_refused():
    with pytest.raises(ValueError, match="a power of two from 2 to 65536, not 1000"):
        wave_of(1000, [])
    with pytest.raises(ValueError, match="0 to 255 cycles, not 256"):
        wave_of(256, [(256, 1.0, 0.0)])


def test_clouds_repeat_and_stay_inside():
    clouds = Clouds(3)
    for k in range(200):
        x, y = k * 0.037, k * 0.011
        assert 0.0 <= clouds.at(x, y) <= 1.0
        assert math.isclose(clouds.at(x, y), clouds.at(x + 1.0, y - 2.0), abs_tol=1e-9)
