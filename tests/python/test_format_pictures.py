# SPDX-License-Identifier: MIT
"""The pictures of the format's description are still what the engine draws."""

import re
import subprocess
import sys

from conftest import program
from test_gallery import decode_png


def test_pictures_are_what_the_engine_draws(root, tmp_path):
    kept = root / "docs/pictures/format"
    drawn = tmp_path / "drawn"
    subprocess.run([sys.executable, "-B", root / "scripts/make-format-pictures", program("DPK"),
                    program("DRAW_PIECE"), drawn], check=True)
    names = sorted(path.name for path in kept.iterdir())
    assert names == sorted(path.name for path in drawn.iterdir())
    for name in names:
        old = decode_png((kept / name).read_bytes())
        new = decode_png((drawn / name).read_bytes())
        assert old[:2] == new[:2], name
        # Drivers differ by a pixel of a line here and there.
        difference = sum(map(abs, map(int.__sub__, old[2], new[2]))) / len(old[2])
        assert difference < 1.0, f"{name}: {difference} on average; run scripts/make-format-pictures"


def test_the_description_shows_each_picture(root):
    text = (root / "docs/format.md").read_text("utf-8")
    shown = re.findall(r"\(pictures/format/([a-z0-9-]+\.png)\)", text)
    assert sorted(shown) == sorted(path.name for path in (root / "docs/pictures/format").iterdir())
