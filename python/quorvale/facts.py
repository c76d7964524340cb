# SPDX-License-Identifier: MIT
"""The engine's vocabulary: names, numbers, parameters, ranges and limits.

`vocabulary.json` is what `dpk vocabulary --json` prints; a test compares the two.

    >>> row("generators", "maze").number
    3
    >>> LIMITS["pieces"]
    16
"""

from __future__ import annotations

import difflib
import json
import math
import pathlib
from collections.abc import Iterable
from dataclasses import dataclass
from typing import Any, Final

from quorvale.exact import f32


@dataclass(frozen=True)
class Param:
    """One parameter of a row. `least` and `most` are infinite where there is no end."""

    name: str
    word: str
    meaning: str
    kind: str
    least: float
    most: float
    usual: float
    past: str


@dataclass(frozen=True)
class Row:
    """One thing that documents name by number."""

    number: int
    name: str
    word: str
    traits: frozenset[str]
    formula: str | None
    params: tuple[Param, ...]


@dataclass(frozen=True)
class Catalogue:
    """Rows of one kind. `animated` says whether their numbers may be curves."""

    word: str
    animated: bool
    rows: tuple[Row, ...]


def _end(value: float | None, otherwise: float) -> float:
    return otherwise if value is None else float(value)


def _read_param(data: dict[str, Any]) -> Param:
    return Param(data["name"], data["word"], data["meaning"], data["kind"],
                 _end(data["least"], -math.inf), _end(data["most"], math.inf),
                 float(data["usual"]), data["past"])


def _read_row(data: dict[str, Any]) -> Row:
    return Row(data["number"], data["name"], data["word"], frozenset(data["traits"]),
               data["formula"], tuple(map(_read_param, data["params"])))


def _read() -> dict[str, Any]:
    path = pathlib.Path(__file__).with_name("vocabulary.json")
    loaded: dict[str, Any] = json.loads(path.read_text(encoding="utf-8"))
    return loaded


_DATA: Final = _read()
CATALOGUES: Final = {
    word: Catalogue(word, data["animated"], tuple(map(_read_row, data["rows"])))
    for word, data in _DATA["catalogues"].items()}
LIMITS: Final[dict[str, int]] = {limit["word"]: limit["most"] for limit in _DATA["limits"]}
TICKS_PER_SECOND: Final[int] = _DATA["ticks_per_second"]


def nearest(word: str, words: Iterable[str]) -> str:
    """A question about the nearest of some words, to end a message with; nothing if none is near.

    >>> nearest("bricsk", ["maze", "bricks"])
    '; did you mean "bricks"?'
    """
    near = difflib.get_close_matches(str(word), list(words), 1)
    return f'; did you mean "{near[0]}"?' if near else ""


def told(value: object) -> str:
    """A value in a message: short, whatever it holds.

    >>> told(0.5), told("a.png"), told((1, 2)), told(told), told(Param)
    ('0.5', "'a.png'", '(1, 2)', 'the function told: call it, told(...)', 'the class Param')
    """
    if isinstance(value, type):
        return f"the class {value.__name__}"
    if value is None or isinstance(value, (int, float, str)):
        return repr(value)
    if isinstance(value, (tuple, list)):
        return f"({', '.join(map(told, value))})" if len(value) <= 4 else f"{len(value)} values"
    if callable(value):
        name = getattr(value, "__name__", "?")
        return f"the function {name}: call it, {name}(...)"
    name = type(value).__name__
    return f"{'an' if name[0] in 'AEIOU' else 'a'} {name}"


def row(catalogue: str, word: str) -> Row:
    """The row with this word; ValueError, with the nearest word, if there is none."""
    rows = CATALOGUES[catalogue].rows
    for candidate in rows:
        if candidate.word == word:
            return candidate
    raise ValueError(f'there is no "{word}" among the {catalogue}'
                     + nearest(word, (candidate.word for candidate in rows)))


_LARGEST = 3.4028234663852886e38  # of the numbers that documents hold


def checked_number(maker: str, meaning: str, value: object) -> float:
    """A finite number, or an error that names its maker: 'maze(): the fullness is ...'."""
    if hasattr(value, "pieces"):
        raise TypeError(f"{maker}(): the {meaning} does not move: it is a number, not a curve")
    if isinstance(value, bool) or not isinstance(value, (int, float)):
        raise TypeError(f"{maker}(): the {meaning} is a number, not {told(value)}")
    if isinstance(value, float) and not math.isfinite(value):
        raise ValueError(f"{maker}(): the {meaning} is a finite number, not {value!r}")
    if abs(value) > _LARGEST:
        raise ValueError(f"{maker}(): the {meaning} is too large: numbers go to 3.4e38")
    return float(value)


def range_text(param: Param) -> str:
    """The range in words: '1 to 7', 'at least 0', or nothing."""
    low = f"{param.least:g}"
    if math.isfinite(param.least) and math.isfinite(param.most):
        return f"{low} to {param.most:g}"
    return f"at least {low}" if math.isfinite(param.least) else ""


def passes(param: Param, value: float) -> bool:
    """Whether a curve may come to a value. Where the picture holds the ends of a range, strokes may
    pass them by as much as the range is wide: 1.3 is a color that glows, 255 is a mistake."""
    slack = 1e-6 * max(1.0, abs(value))
    if param.past == "holds" and math.isfinite(param.most - param.least):
        slack += param.most - param.least
    return param.least - slack <= value <= param.most + slack


def check(maker: str, param: Param, value: object) -> float:
    """One number of a parameter, inside its range; whole ones are ints, which keep all digits.

    >>> check("maze", row("generators", "maze").params[1], 12)
    Traceback (most recent call last):
    ValueError: maze(): the size of the cells is 1 to 7, not 12
    """
    if param.kind == "flag":
        return 1.0 if value else 0.0
    number = checked_number(maker, param.meaning, value)
    if param.kind in ("integer", "count") and number != math.floor(number):
        raise ValueError(f"{maker}(): the {param.meaning} is a whole number, not {value}")
    if not param.least <= number <= param.most:
        raise ValueError(f"{maker}(): the {param.meaning} is {range_text(param)}, not {value}")
    if param.kind != "integer":
        return number
    if f32(number) != number:
        raise ValueError(f"{maker}(): the {param.meaning} is a whole number that documents hold, "
                         f"not {value}; the nearest is {f32(number):.0f}")
    return int(number)
