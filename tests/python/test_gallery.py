# SPDX-License-Identifier: MIT
"""The gallery's pictures are still what the engine draws."""

import pathlib
import struct
import subprocess
import sys
import zlib

import pytest

from conftest import program

BOOK = pathlib.Path(__file__).resolve().parents[2] / "docs/handbook"


def predicted(kind, a, b, c):
    """What a PNG filter adds: a to the left, b above, c above to the left."""
    if kind == 4:
        p = a + b - c
        return min((a, b, c), key=lambda value: abs(p - value))
    return (0, a, b, (a + b) // 2)[kind]


def decode_png(data):
    """Width, height and the bytes of an 8-bit PNG of 3 or 4 channels."""
    at, body, width, height, channels = 8, b"", 0, 0, 0
    while at < len(data):
        size, kind = struct.unpack_from(">I4s", data, at)
        chunk = data[at + 8:at + 8 + size]
        if kind == b"IHDR":
            width, height, _, color = struct.unpack_from(">IIBB", chunk)
            channels = {2: 3, 6: 4}[color]
        elif kind == b"IDAT":
            body += chunk
        at += 12 + size
    raw = zlib.decompress(body)
    stride = width * channels
    above = bytearray(stride)
    pixels = bytearray()
    for y in range(height):
        kind = raw[y * (stride + 1)]
        row = bytearray(raw[y * (stride + 1) + 1:(y + 1) * (stride + 1)])
        if kind:
            for x in range(stride):
                left = row[x - channels] if x >= channels else 0
                corner = above[x - channels] if x >= channels else 0
                row[x] = (row[x] + predicted(kind, left, above[x], corner)) & 255
        pixels += row
        above = row
    return width, height, pixels


@pytest.fixture(scope="module")
def drawn(tmp_path_factory):
    folder = tmp_path_factory.mktemp("gallery")
    script = BOOK.parents[1] / "scripts/make-gallery"
    subprocess.run([sys.executable, "-B", script, program("DPK"), program("DRAW_PIECE"), folder],
                   check=True)
    return folder


def test_the_page_is_the_one_that_is_kept(drawn):
    assert (drawn / "gallery.md").read_text("utf-8") == (BOOK / "gallery.md").read_text("utf-8"), \
        "run scripts/make-gallery"


def test_pictures_are_what_the_engine_draws(drawn):
    kept = sorted(path.name for path in (BOOK / "gallery").iterdir())
    assert kept == sorted(path.name for path in (drawn / "gallery").iterdir())
    for name in kept:
        old = decode_png((BOOK / "gallery" / name).read_bytes())
        new = decode_png((drawn / "gallery" / name).read_bytes())
        assert old[:2] == new[:2], name
        # Drivers differ by a pixel of a line here and there.
        difference = sum(map(abs, map(int.__sub__, old[2], new[2]))) / len(old[2])
        assert difference < 3.0, f"{name}: {difference} on average; run scripts/make-gallery"


def test_everything_that_documents_can_say_is_shown():
    from quorvale.facts import CATALOGUES
    page = (BOOK / "gallery.md").read_text("utf-8")
    for catalogue in ("generators", "steps", "functions", "loops", "effects", "recipes", "genmeshes",
                      "manipulators", "passes", "projections", "fogs"):
        for row in CATALOGUES[catalogue].rows:
            assert f"### {row.word}\n" in page, f"{catalogue}: {row.word}"
