# SPDX-License-Identifier: MIT
"""Text as meshes."""

import string
import struct

import pytest

import quorvale.fonts
from quorvale.fonts import Font, _area, triangulate

LETTERS = string.ascii_letters + string.digits + "ßäéñ@&%#§?!ØЖДфΩ"


@pytest.fixture(scope="module")
def font():
    return Font.find("DejaVuSans-Bold")


@pytest.mark.parametrize("detail", [1, 3, 8])
def test_triangles_cover_the_outlines(font, detail):
    for letter in LETTERS:
        contours = [list(contour) for contour in font.glyph(letter, detail).contours]
        covered = sum(_area(triangle) for triangle in triangulate(contours)) / 2
        assert covered == pytest.approx(abs(sum(map(_area, contours))) / 2, rel=1e-6), letter


def test_text_is_as_wide_as_its_letters(font):
    mesh = font.mesh("Il", height=2, depth=0.5, spacing=0.25)
    xs, ys, zs = zip(*(map(float, text.split()) for text in mesh.lists[0]))
    width = (font.glyph("I").advance + font.glyph("l").advance) * 2 / font.units + 0.25
    assert -width / 2 < min(xs) < max(xs) < width / 2
    assert set(zs) == {0.25, -0.25} and max(ys) - min(ys) < 2


def test_flat_text_has_no_back(font):
    mesh = font.mesh("A")
    assert {text.split()[2] for text in mesh.lists[0]} == {"0"}


def test_what_a_font_lacks_is_named(font):
    with pytest.raises(ValueError, match="the font has no \"\U00013000\""):
        font.mesh("\U00013000")
    with pytest.raises(ValueError, match="no letters"):
        font.mesh("  ")


def test_a_missing_font_is_told_with_those_there_are(tmp_path, monkeypatch):
    with pytest.raises(ValueError, match='there is no "DejaVuSans-Bolt.ttf".*mean "DejaVuSans-Bold"') as raised:
        Font.find("DejaVuSans-Bolt")
    assert "apt install fonts-dejavu-core" in str(raised.value)
    assert 'put a .ttf file beside piece.py: Font("DejaVuSans-Bolt.ttf")' in str(raised.value)
    with pytest.raises(ValueError, match='none.ttf" can\'t be read.*beside piece.py.*Font.find'):
        Font(str(tmp_path / "none.ttf"))
    monkeypatch.setattr(quorvale.fonts, "_FOLDERS", (str(tmp_path),))
    with pytest.raises(ValueError, match="there are: none"):
        Font.find("Any")


def test_accents_are_parts_of_their_letter(font):
    assert len(font.glyph("é").contours) == len(font.glyph("e").contours) + 1


def test_a_mirrored_part_is_filled_as_it_was():
    font = Font.find("DejaVuSans-Bold")
    letter = font._characters[ord("p")]
    filled = sum(map(_area, font.glyph("p").contours))
    for across, up in ((1, 1), (-1, 1), (1, -1), (-1, -1)):
        at = len(font.data)
        font.data += struct.pack(">HHbbhh", 0x42, letter, 0, 0, 16384 * across, 16384 * up)
        contours = font._composite(at, 4)
        assert sum(map(_area, contours)) == pytest.approx(filled)
        assert {x < 0 for x, _ in contours[0]} == {across < 0}
