# SPDX-License-Identifier: MIT
"""A document back into the Python that makes it.

`python3 -m quorvale unbuild FOLDER` turns the documents of a folder into a `piece.py`: items with
their names, curves by the functions that make them. An item that the library's words do not say to
the last bit stands there as its element (`quorvale.verbatim`), so that every document whose
sections can be read comes out whole. The code is run and its document compared, item by item.
"""

from __future__ import annotations

import builtins
import io
import keyword
import math
import os
import re
import tokenize
import xml.etree.ElementTree as ElementTree
from collections.abc import Callable, Iterator, Sequence
from typing import Any, Final

import quorvale
from quorvale import curves
from quorvale.curves import Curve, number_text
from quorvale.document import Document, lies_unseen, unreached
from quorvale.exact import f32
from quorvale.facts import CATALOGUES, Row
from quorvale.verbatim import verbatim

Node = ElementTree.Element
Place = tuple[str, int, int]  # kind, id, part: what may have to stand as its element
_KINDS: Final = ("layer", "texture", "model", "curve", "light", "effect", "bitmap", "material",
                 "mesh", "scene", "row")
_CLASSES: Final = {"layer": "Layer", "texture": "Texture", "model": "Model", "curve": "Curve",
                   "light": "Light", "effect": "Effect", "bitmap": "Bitmap",
                   "material": "Material", "mesh": "GenMesh", "scene": "Scene"}
_PLACED: Final = ("x", "y", "z", "turn_x", "turn_y", "turn_z", "scale_x", "scale_y", "scale_z")
_AXES: Final = ("_x", "_y", "_z")
_NUMBER: Final = re.compile(r"[+-]?(\d+\.?\d*|\.\d+)([eE][+-]?\d+)?")
_WIDTH: Final = 96
_LONGEST_INSIDE: Final = 60  # of a curve's expression in another one


class Unsayable(Exception):
    """The library has no words for something."""


# ---------------------------------------------------------------------------------------------
# Numbers and elements


def _number(text: str | None) -> float:
    if text is None or not _NUMBER.fullmatch(text.strip()):
        raise Unsayable(f"{text!r} is no number")
    number = float(text)
    if not math.isfinite(f32(number)):
        raise Unsayable(f"{text} is too large")
    return number


def _literal(number: float) -> str:
    return str(int(number)) if abs(number) < 1e15 and number == int(number) else repr(number)


def _text(element: Node) -> str:
    return _literal(_number(element.text))


def _integer(element: Node, name: str) -> int:
    number = _number(element.get(name))
    if number != int(number):
        raise Unsayable(f"{name} is no whole number")
    return int(number)


def _row(catalogue: str, element: Node) -> Row:
    number = _integer(element, "type")
    for row in CATALOGUES[catalogue].rows:
        if row.number == number:
            return row
    raise Unsayable(f"there is no type {number}")


def _same_text(one: str | None, other: str | None) -> bool:
    one, other = (one or "").strip(), (other or "").strip()
    if _NUMBER.fullmatch(one) and _NUMBER.fullmatch(other):
        return f32(float(one)) == f32(float(other))
    return one == other


def _tag(element: Node, kind: str, depth: int) -> str:
    """What an element's name says, where anybody reads it."""
    if kind == "texture" and depth == 1:
        return "layer" if element.tag.startswith("layer") else ""
    if kind in ("effect", "mesh") and depth == 1:
        return "p" if element.tag == "p" else ""
    if kind == "material" and depth == 1:
        return "reference" if element.tag in ("light", "texture") else element.tag
    if kind == "scene" and depth == 3:
        return element.tag
    return ""


def _same(one: Node, other: Node, kind: str, depth: int = 0) -> bool:
    """Whether two elements of a kind say the same to the engine."""
    return (_tag(one, kind, depth) == _tag(other, kind, depth)
            and len(one.attrib) == len(other.attrib)
            and all(name in other.attrib and _same_text(text, other.get(name))
                    for name, text in one.items())
            and len(one) == len(other) and (len(one) > 0 or _same_text(one.text, other.text))
            and all(_same(a, b, kind, depth + 1) for a, b in zip(one, other)))


def _element_text(element: Node) -> str:
    """An element on one line, without the blanks between its tags."""
    return re.sub(r">\s+<", "><", ElementTree.tostring(element, encoding="unicode").strip())


def parse(text: str) -> list[Node]:
    """The eleven sections of a document and its music; ValueError where the library's reader and
    the engine's might not see the same."""
    head = re.match(r"\s*<\?xml[^>]*\?>", text)
    if head is None:
        raise ValueError("it does not begin with an XML declaration")
    if "<!" in text or re.search(r'="[^"]*[\n\t\r]', text):
        raise ValueError("it has comments or attributes of several lines")
    try:
        root = ElementTree.fromstring("<all>" + text[head.end():] + "</all>")
    except ElementTree.ParseError as error:
        raise ValueError(f"it does not parse: {error}") from None
    for element in root.iter():
        loose = [child.tail for child in element] + ([element.text] if len(element) else [])
        if any(text is not None and text.strip() for text in loose):
            raise ValueError("it has text between its elements")
    if len(root) != len(_KINDS) + 1:
        raise ValueError(f"it has {len(root)} nodes and not {len(_KINDS) + 1}")
    if len(root[10]) == 0:
        raise ValueError("it has no row")
    return list(root)


# ---------------------------------------------------------------------------------------------
# Curves


def _fitted(wanted: float, guess: float, made: Callable[[float], float], digits: int) -> str:
    """The shortest number near a guess from which the wanted parameter is made."""
    numbers = [round(guess, places) for places in range(7)]
    numbers += [float(f"{guess:.{length}g}") for length in range(1, 18)]
    for number in numbers:
        try:
            if f32(float(number_text(made(number), digits))) == f32(wanted):
                return _literal(number)
        except ZeroDivisionError:
            pass
    raise Unsayable("no number gives that parameter")


def _piece_words(piece: Node, digits: int) -> str:
    """The call that makes one piece, by the function that an author would take."""
    row = _row("functions", piece)
    length = _integer(piece, "length")
    p = [_number(param.text) for param in piece]
    n = [_literal(number) for number in p]
    plain = f'function("{row.word}", {", ".join([str(length), *n])})'
    try:
        if row.word == "constant" and len(p) == 1:
            return f"hold({n[0]}{'' if length == 100 else f', {length}'})"
        if row.word == "linear" and len(p) == 2 and length > 0:
            last = _fitted(p[0], p[1] + p[0] * length, lambda v: (v - p[1]) / length, digits)
            return f"line({n[1]}, {last}, {length})"
        if row.word == "quadratic" and len(p) == 3 and length > 0 and p[1] in (0, length):
            square = length * length
            other = _fitted(p[0], p[2] + p[0] * square, lambda v: (v - p[2]) / square, digits)
            return f"ease_in({n[2]}, {other}, {length})" if p[1] == 0 else \
                f"ease_out({other}, {n[2]}, {length})"
        turn = 2.0 * math.pi
        if row.word == "sinus" and len(p) == 4 and p[1] > 0:
            words = [n[3], n[0], _fitted(p[1], turn / p[1], lambda v: turn / v, digits)]
            turns = _fitted(p[2], -p[2] / turn, lambda v: -turn * v, digits)
            words += [f"turns={turns}"] if turns != "0" else []
            words += [f"length={length}"] if length != 10000 else []
            return f"wave({', '.join(words)})"
        if row.word == "sinus_x" and len(p) == 5 and p[1] > 0 and p[2] == 0 and length > 0:
            _fitted(p[0], p[4], lambda v: -v / length, digits)
            period = _fitted(p[1], turn / p[1], lambda v: turn / v, digits)
            return f"ring_down({n[3]}, {n[4]}, {period}, {length})"
        if row.word == "spline" and len(p) == 24:
            count = 1
            while count < 12 and p[2 * count] >= p[2 * count - 2] + 1:
                count += 1
            if count > 1 and p[0] == 0 and not any(p[2 * count:]):
                points = ", ".join(f"({n[2 * k]}, {n[2 * k + 1]})" for k in range(count))
                tail = "" if length == round(p[2 * count - 2]) else f", {length}"
                return f"spline([{points}]{tail})"
    except Unsayable:
        pass
    return plain


def _steps_words(pieces: Sequence[Node]) -> Iterator[str]:
    """Values without movement by `span` and `levels`, where all pieces are that."""
    if len(pieces) < 2 or any(piece.get("type") != "0" or len(piece) != 1 for piece in pieces):
        return
    points, tick = [], 0
    for piece in pieces:
        points.append((tick, _text(piece[0])))
        tick += _integer(piece, "length")
    values = [value for _, value in points]
    if values in (["0", "1", "0"], ["1", "0"]):
        yield f"span({points[-2][0]}, {points[-1][0]})"
    yield f"levels([{', '.join(f'({tick}, {value})' for tick, value in points)}])"


def _ease_words(first: Node, second: Node, digits: int) -> Iterator[str]:
    """Two pieces by `ease`."""
    one, two = _piece_words(first, digits), _piece_words(second, digits)
    if one.startswith("ease_in(") and two.startswith("ease_out("):
        begin, last = one[8:].split(", ")[0], two[9:].split(", ")[1]
        yield f"ease({begin}, {last}, {_integer(first, 'length') + _integer(second, 'length')})"


def curve_words(envelope: Node, digits: int) -> str:
    """The expression that makes an envelope. Unsayable if none does to the last bit."""

    def fits(words: str, pieces: Sequence[Node]) -> bool:
        try:
            made = eval(words, dict(vars(curves)))
        except (ValueError, TypeError, ZeroDivisionError, OverflowError):
            return False
        return len(made.pieces) == len(pieces) and all(
            _same_text(str(a.function), b.get("type")) and _same_text(str(a.length),
                                                                      b.get("length"))
            and len(a.params) == len(b) and all(
                _same_text(number_text(float(number), digits), param.text)
                for number, param in zip(a.params, b))
            for a, b in zip(made.pieces, pieces))

    pieces = list(envelope)
    parts: list[str] = []
    whole = [words for words in _steps_words(pieces) if fits(words, pieces)]
    at = len(pieces) if whole else 0
    parts += whole[:1]
    while at < len(pieces):
        eases = _ease_words(pieces[at], pieces[at + 1], digits) if at + 1 < len(pieces) else ()
        pair = [words for words in eases if fits(words, pieces[at:at + 2])]
        words = pair[0] if pair else _piece_words(pieces[at], digits)
        if not fits(words, pieces[at:at + 1 + len(pair)]):
            raise Unsayable("no function makes this piece")
        parts.append(words)
        at += 1 + len(pair)
    if not parts:
        raise Unsayable("a curve has a piece")
    made = parts[0] + "".join(f".then({words})" for words in parts[1:])
    begin, end = _integer(envelope, "loop_begin"), _integer(envelope, "loop_end")
    loop = _row("loops", envelope_loop(envelope)).word
    if loop != "off":
        length = sum(_integer(piece, "length") for piece in pieces)
        made += ".looped(" if loop == "loop" else ".swinging("
        made += ("" if end == length else f"end={end}") if begin == 0 else f"{begin}, {end}"
        made += ")"
    elif (begin, end) != (0, 0):
        made = f"Curve({made}.pieces, begin={begin}, end={end})"
    return made


def envelope_loop(envelope: Node) -> Node:
    """An element whose type is an envelope's loop."""
    return ElementTree.Element("loop", {"type": envelope.get("loop_type", "")})


# ---------------------------------------------------------------------------------------------
# Code


def _tokens(code: str) -> list[tokenize.TokenInfo]:
    return list(tokenize.generate_tokens(io.StringIO(code).readline))


def _breaks(code: str) -> list[tuple[int, int]]:
    """The places inside brackets where a statement can be broken, each with its depth."""
    places: list[tuple[int, int]] = []
    depth = 0
    last: tokenize.TokenInfo | None = None
    for token in _tokens(code):
        if last is not None and last.type == token.type == tokenize.STRING:
            places.append((last.end[1], depth))
        if token.type == tokenize.OP and token.string in "([":
            depth += 1
        elif token.type == tokenize.OP and token.string in ")]":
            depth -= 1
        elif token.type == tokenize.OP and token.string in ",+|" and depth > 0:
            places.append((token.end[1], depth))
        last = token
    return places


def wrapped(code: str, indent: str) -> list[str]:
    """One statement on lines of up to 96 columns, broken inside its brackets, where it can be at
    an outer one."""
    places = _breaks(code)
    if len(indent) + len(code) > _WIDTH and not places and " = " in code:
        name, _, value = code.partition(" = ")
        code = f"{name} = ({value})"
        places = _breaks(code)
    lines = []
    begin, margin = 0, indent
    while len(margin) + len(code) - begin > _WIDTH:
        end = begin + _WIDTH - len(margin)
        left = [(depth, -at) for at, depth in places if begin < at]
        fitting = [place for place in left if -place[1] <= end]
        wide = [place for place in fitting if -place[1] > begin + 40]
        if not left:
            break
        at = -min(wide or fitting or [max(left, key=lambda place: place[1])])[1]
        lines.append(margin + code[begin:at])
        begin = at + len(code[at:]) - len(code[at:].lstrip())
        margin = indent + "    "
    return [*lines, margin + code[begin:]]


def _quote(text: str) -> str:
    """A string literal, in double quotes where that needs no more escapes."""
    literal = repr(text)
    plain = literal[0] == "'" and '"' not in literal and "\\" not in literal
    return f'"{literal[1:-1]}"' if plain else literal


def _quoted(xml: str) -> str:
    """An element as string literals of lines' length."""
    chunks, line = [], ""
    for part in re.findall(r"<[^>]*>[^<]*|[^<]+", xml):
        if line and len(line) + len(part) > _WIDTH - 20:
            chunks.append(line)
            line = ""
        line += part
    return " ".join(repr(chunk) for chunk in [*chunks, line])


def _identifier(text: str) -> str:
    word = re.sub(r"[^0-9a-zA-Z]+", "_", text).strip("_").lower()[:40]
    return f"_{word}" if word[:1].isdigit() else word


_LIBRARY: Final = {name: getattr(quorvale, name) for name in quorvale.__all__} | {
    "function": curves.function, "verbatim": verbatim, "manipulators": quorvale.manipulators}

Resolve = Callable[[int, str], str]  # a curve's expression, from its id and the use of it


class _Coder:
    """One document on its way to code. `statements` are the lines of its function."""

    def __init__(self, sections: Sequence[Node], verbatims: set[Place]) -> None:
        self.items = {kind: list(section) for kind, section in zip(_KINDS, sections)}
        self.music = sections[-1].get("file")
        self.verbatims = verbatims
        texts = [text for section in sections for element in section.iter()
                 for text in (element.text, *element.attrib.values())
                 if text is not None and _NUMBER.fullmatch(text.strip())]
        self.digits = 7 if all(f32(float(number_text(float(text)))) == f32(float(text))
                               for text in texts) else 9
        self.space: dict[str, Any] = dict(_LIBRARY)
        self.statements: list[str] = []
        self.done = {kind: 0 for kind in _KINDS}
        self.counting = False  # nothing is written yet, only looked at
        self.again = False  # something that was written before can't be said
        self.taken = {*self.space, *keyword.kwlist, *dir(builtins), "document", "row", "demo",
                      "loading"}
        self.names = {kind: [self._name(kind, k, item) for k, item in enumerate(items, 1)]
                      for kind, items in self.items.items() if kind not in ("curve", "row")}
        self.words = [self._curve_words(item) for item in self.items["curve"]]
        self.uses: list[list[tuple[str, str]]] = [[] for _ in self.words]
        self.curve_names: dict[int, str] = {}
        self.cameras: dict[str, str] = {}

    # Names

    def _unique(self, *words: str) -> str:
        """The first of some names that nothing has yet, else the first with a number."""
        number = 2
        free = [word for word in words if word not in self.taken]
        while not free:
            free = [name for name in (f"{words[0]}_{number}",) if name not in self.taken]
            number += 1
        self.taken.add(free[0])
        return free[0]

    def _name(self, kind: str, number: int, item: Node) -> str:
        word = _identifier(item.get("name") or os.path.splitext(item.get("filename") or "")[0])
        if not word:
            catalogue = {"layer": "generators", "material": "recipes", "mesh": "genmeshes"}
            try:
                word = _row(catalogue[kind], item).word if kind in catalogue else kind
            except Unsayable:
                word = kind
            word = f"{word}_{number}"
        return self._unique(word, f"{word}_{kind}", f"{word}_{kind}_{number}")

    def _curve_words(self, envelope: Node) -> str | None:
        try:
            return curve_words(envelope, self.digits)
        except Unsayable:
            return None

    def _curve_name(self, number: int) -> str:
        uses = self.uses[number - 1]
        owners = {owner for owner, _ in uses}
        if not uses:
            return self._unique(f"unused_curve_{number}")
        if len(owners) == 1:
            return self._unique(_identifier(f"{uses[0][0]}_{uses[0][1]}"))
        return self._unique(f"shared_{uses[0][1]}_{number}")

    def name(self, kind: str, number: int) -> str:
        """The name of an item, which is written first if it is not there yet. None for id 0."""
        if number == 0 or self.counting:
            return "None"
        if not 1 <= number <= len(self.items[kind]):
            raise Unsayable(f"there is no {kind} {number}")
        self.ensure(kind, number)
        return self.names[kind][number - 1]

    # Statements

    def run(self, code: str) -> None:
        exec(compile(code, "<unbuilt>", "exec"), self.space)
        self.statements.append(code)

    def hoist(self, last: int) -> None:
        """Writes the curves up to an id as statements of their own."""
        while self.done["curve"] < last:
            self.done["curve"] += 1
            number = self.done["curve"]
            name = self.curve_names[number] = self._curve_name(number)
            words = self.words[number - 1]
            if words is None or ("curve", number, 0) in self.verbatims:
                element = _element_text(self.items["curve"][number - 1])
                words = f"verbatim(Curve, {_quoted(element)})"
            self.run(f"{name} = {words}")

    def _plan(self, order: list[int]) -> None:
        """Writes the curves that can't be made where they are used. Ids count curves in the order
        in which they are made, so only the last ones may be left, in that order."""
        order = [number for number in order if number > self.done["curve"]]
        if not order:
            return
        first = max(order) + 1
        while order and order[-1] == first - 1 and self._fits_inside(first - 1):
            order.pop()
            first -= 1
        self.hoist(first - 1)

    def _fits_inside(self, number: int) -> bool:
        """Whether a curve is used once, by an expression that is short enough to stand there."""
        words = self.words[number - 1]
        return len(self.uses[number - 1]) == 1 and words is not None \
            and len(words) <= _LONGEST_INSIDE and ("curve", number, 0) not in self.verbatims

    def write(self, place: Place, build: Callable[[Resolve], str], otherwise: str | None,
              ) -> None:
        """Writes a statement, or another that gives an element, where the first does not do."""
        order: list[int] = []

        def dry(number: int, use: str) -> str:
            if not 1 <= number <= len(self.words):
                raise Unsayable(f"there is no curve {number}")
            order.append(number)
            return "None"

        def resolve(number: int, use: str) -> str:
            if number in self.curve_names:
                return self.curve_names[number]
            self.done["curve"] += 1
            words = self.words[number - 1]
            assert words is not None and self.done["curve"] == number
            return words

        if place not in self.verbatims:
            made = -1
            try:
                build(dry)
                self._plan(order)
                made = self.done["curve"]
                self.run(build(resolve))
                return
            except (Unsayable, ValueError, TypeError, KeyError, IndexError, ZeroDivisionError,
                    OverflowError, AttributeError):
                self.done["curve"] = made if made >= 0 else self.done["curve"]
                self.verbatims.add(place)
        if otherwise is None:
            self.again = True
        else:
            self.run(otherwise)

    # Items

    def ensure(self, kind: str, last: int) -> None:
        """Writes the items of a kind up to an id."""
        while self.done[kind] < last:
            number = self.done[kind] + 1
            item = self.items[kind][number - 1]
            name = self.names[kind][number - 1]
            words = getattr(self, kind)
            element = f"{name} = verbatim({_CLASSES[kind]}, {_quoted(_element_text(item))})"
            if kind != "scene":
                self.write((kind, number, 0),
                           lambda resolve: f"{name} = {words(item, resolve, name)}", element)
            elif (kind, number, 0) in self.verbatims:
                self.run(element)
            else:
                self.scene(item, number, name)
            self.done[kind] = number

    def value(self, element: Node, resolve: Resolve, use: str) -> str:
        if element.get("type") == "dynamic":
            return resolve(_integer(element, "value"), use)
        if element.get("type") != "static":
            raise Unsayable("neither static nor dynamic")
        return _literal(_number(element.get("value")))

    def values(self, elements: Sequence[Node], resolve: Resolve, uses: Sequence[str]) -> str:
        words = [self.value(element, resolve, use) for element, use in zip(elements, uses)]
        return f"({', '.join(words)})"

    def curve_or_none(self, number: int, resolve: Resolve, use: str) -> str:
        return "None" if number == 0 else resolve(number, use)

    @staticmethod
    def call(function: str, words: Sequence[str], item: Node | None = None) -> str:
        name = None if item is None else item.get("name")
        return f"{function}({', '.join([*words, *([f'name={_quote(name)}'] if name else [])])})"

    def layer(self, item: Node, resolve: Resolve, name: str) -> str:
        row = _row("generators", item)
        words: list[str] = []
        at = 0
        for param in row.params:
            if param.kind == "color":
                color = f"({', '.join(_text(p) for p in item[at:at + 3])})"
                if at > 0:
                    words.append(f"{param.word}={color}")
                elif color != "(1, 1, 1)":
                    words.append(color)
                at += 3
            else:
                number = _text(item[at])
                words += [f"{param.word}={number}"] if float(number) != param.usual else []
                at += 1
        return self.call(f"layers.{row.word}", words, item)

    def texture(self, item: Node, resolve: Resolve, name: str) -> str:
        made, rank, single = "Texture()", 3, False  # rank: 0 by |, 1 by +, 2 by *, 3 anything

        def inside(least: int) -> str:
            whole = f"Texture.of({made})" if single else made
            return whole if single or rank >= least else f"({made})"

        for k, step in enumerate(item):
            row = _row("steps", step)
            n = [_text(p) for p in step]
            layer = ""
            if step.tag.startswith("layer"):
                layer = self.name("layer", _integer(step, "id") + 1)
            if (layer == "") == (row.word in ("add", "multiply", "maximum", "minimum")):
                raise Unsayable("a combiner has a layer, and nothing else has")
            if row.word in ("add", "maximum", "minimum"):
                scaled = layer if n[1] == "1" else f"{layer} * {n[1]}"
                if row.word == "add" and k == 0 and n[0] == "1":
                    made, rank, single = scaled, 3 if n[1] == "1" else 2, True
                    continue
                before = made if n[0] == "1" else f"{inside(2)} * {n[0]}"
                if row.word == "add":
                    before = f"({made})" if n[0] == "1" and rank < 1 else before
                    made, rank = f"{before} + {scaled}", 1
                else:
                    before = inside(3) if n[0] == "1" else f"({before})"
                    made, rank = f"{before}.{row.word}({scaled})", 3
            elif row.word == "multiply":
                scale = _fitted(float(n[0]), float(n[0]) * 255.0, lambda v: v * (1.0 / 255.0),
                                self.digits)
                scaled = layer if scale == "1" else f"({layer} * {scale})"
                made, rank = f"{made if rank >= 2 else f'({made})'} * {scaled}", 2
            else:
                made, rank = f"{made} | steps.{row.word}({', '.join(n)})", 0
            single = False
        if single:
            made, rank = f"Texture.of({made})", 3
        if item.get("name"):
            made = f"{made if rank == 3 else f'({made})'}.named({_quote(item.attrib['name'])})"
        return made

    def model(self, item: Node, resolve: Resolve, name: str) -> str:
        return f"Model({_quote(item.attrib['filename'])})"

    def bitmap(self, item: Node, resolve: Resolve, name: str) -> str:
        return f"Bitmap({_quote(item.attrib['filename'])})"

    def light(self, item: Node, resolve: Resolve, name: str) -> str:
        words = []
        for word, group, usual in zip(("ambient", "diffuse", "position"), item,
                                      ("(0, 0, 0)", "(1, 1, 1)", "(0, 0, 0)")):
            axes = "xyz" if word == "position" else ("red", "green", "blue")
            values = self.values(list(group), resolve, [f"{word}_{axis}" for axis in axes])
            words += [f"{word}={values}"] if values != usual else []
        return self.call("Light", words, item)

    def effect(self, item: Node, resolve: Resolve, name: str) -> str:
        row = _row("effects", item)
        words = [self.curve_or_none(int(_number(p.text)), resolve, "value") for p in item]
        size = item.get("resolution", "").split("x")[0]
        words += [f"size={size}"] if size != "128" else []
        words += ["gray=True"] if item.get("bpp") == "8" else []
        return self.call(f"effects.{row.word}", words, item)

    def mesh(self, item: Node, resolve: Resolve, name: str) -> str:
        row = _row("genmeshes", item)
        number = int(_number(item[0].text))
        words = [] if number == 0 else [resolve(number, "time")]
        return self.call(f"waters.{row.word}", words, item)

    def material(self, item: Node, resolve: Resolve, name: str) -> str:
        row = _row("recipes", item)
        values = [child for child in item if child.tag == "p"]
        references = [child for child in item if child.tag != "p"]
        words = []
        color = self.values(values[:3], resolve, ("red", "green", "blue"))
        words += [color] if color != "(1, 1, 1)" else []
        params = {param.word: param for param in row.params}
        kinds = {"light": "light", "texture": "texture", "effect": "effect", "bitmap": "bitmap"}
        if "alpha" in params:
            alpha = self.value(values[3], resolve, "alpha")
            words += [f"alpha={alpha}"] if alpha != "1" else []
        for param in row.params:
            if param.kind not in kinds and param.kind != "color" and param.word != "alpha":
                extra = self.value(values[4], resolve, param.word)
                extra = str(extra == "1") if param.kind == "flag" else extra
                usual = "False" if param.kind == "flag" else _literal(param.usual)
                words += [f"{param.word}={extra}"] if extra != usual else []
        named = sorted((param for param in row.params if param.kind in kinds),
                       key=lambda param: param.kind != "light")
        for param, reference in zip(named, references):
            found = self.name(kinds[param.kind], _integer(reference, "value"))
            words += [f"{param.word}={found}"] if found != "None" else []
        return self.call(f"recipes.{row.word}", words, item)

    # Scenes

    def scene(self, item: Node, number: int, name: str) -> None:
        self.statements.append("")
        for placed in item:  # first what the objects need, so that the scene stands in one place
            try:
                self.object(name, placed, lambda number, use: "None")
            except (Unsayable, KeyError, IndexError):
                pass
        self.run(f"{name} = {self.call('Scene', [], item)}")
        for part, placed in enumerate(item, 1):
            self.write(("scene", number, part),
                       lambda resolve: self.object(name, placed, resolve),
                       f"{name}.verbatim({_quoted(_element_text(placed))})")

    def object(self, scene: str, item: Node, resolve: Resolve) -> str:
        kind = _row("object_kinds", item).word
        words = [self.name("mesh" if kind == "genmesh" else "model", _integer(item, "object")),
                 self.name("material", _integer(item, "material"))]
        manipulators = ", ".join(self.manipulator(each, resolve) for each in item[11:])
        words += [f"manipulators=[{manipulators}]"] if manipulators else []
        for word, at, usual in (("position", 0, "0"), ("rotation", 3, "0"), ("scale", 6, "1")):
            uniform = word == "scale" and all(item[6].attrib == item[k].attrib for k in (7, 8))
            values = self.value(item[6], resolve, "scale") if uniform else \
                self.values(item[at:at + 3], resolve, _PLACED[at:at + 3])
            words += [f"{word}={values}"] if values not in (usual, "(0, 0, 0)") else []
        visible = _integer(item[9], "value")
        words += [f"visible={resolve(visible, 'visible')}"] if visible != 0 else []
        shift = _literal(_number(item[10].get("value")))
        words += [f"shift={shift}"] if shift != "0" else []
        return self.call(f"{scene}.add", words)

    def manipulator(self, item: Node, resolve: Resolve) -> str:
        row = _row("manipulators", item)
        children = list(item)
        words = []
        if children[0].tag == "manipulator":
            kind = "mesh" if children[0].get("type") == "1" else "model"
            words.append(self.name(kind, _integer(children.pop(0), "model")))
        at = 0
        for param in row.params:
            word = f"position_{param.word}" if param.word in ("x", "y", "z") else param.word
            stem = word[:-2] if word[-2:] in _AXES else word
            if word[-2:] in ("_y", "_z") or at >= len(children):
                continue
            if word[-2:] == "_x":
                value = self.values(children[at:at + 3], resolve, [stem + a for a in _AXES])
                usual = f"({', '.join([_literal(param.usual)] * 3)})"
                at += 3
            else:
                value = self.value(children[at], resolve, stem)
                usual = _literal(param.usual)
                at += 1
            if stem == "count":
                words.append(value)
            elif value != usual:
                words.append(f"{stem}={value}")
        return self.call(f"manipulators.{row.word}", words)

    # The timeline

    def camera(self, clip: Node, resolve: Resolve) -> str:
        places = self.values(clip[0:3], resolve, [f"camera_{axis}" for axis in "xyz"])
        turns = self.values(clip[3:6], resolve, [f"camera_turn_{axis}" for axis in "xyz"])
        fov = "None" if clip[6].get("type") == "ortographic" else \
            self.value(clip[6], resolve, "fov")
        if (places, turns, fov) == ("(0, 0, 0)", "(0, 0, 0)", "None"):
            return "FLAT"
        return f"Camera({places}, {turns}, {fov})"

    def _camera_key(self, clip: Node) -> str:
        return self.camera(clip, lambda number, use: f"<{number}>")

    def clip(self, item: Node, start: int, end: int, resolve: Resolve) -> str:
        key = self._camera_key(item)
        words = [self.name("scene", _integer(item, "id")),
                 self.cameras[key] if key in self.cameras else self.camera(item, resolve),
                 str(start), str(end)]
        how = _row("passes", item).word
        words += [f'how="{how}"'] if how != "simple" else []
        if item.get("rtex") is not None:
            words.append(f"target={self.name('bitmap', _integer(item, 'rtex'))}")
        words += [f"offset={_integer(item, 'offset')}"] if item.get("offset") != "0" else []
        fog = item[7]
        if fog.get("type") != "0":
            ends = [self.value(fog[k], resolve, word)
                    for k, word in ((1, "fog_start"), (2, "fog_end"))]
            material = self.name("material", _integer(fog[3], "value"))
            words.append(f"fog={self.call('Fog', [*ends, *([material] * (material != 'None'))])}")
        return self.call("row.show", words)

    def row(self, item: Node, number: int) -> None:
        place = ("row", number, 0)
        self.statements += ["", f"# Row {number}"]
        if place in self.verbatims:
            self.run(f"document.row({number}).verbatim({_quoted(_element_text(item))})")
            return
        self.run(f"row = document.row({number})")
        running = 0
        for k, clip in enumerate(item):
            try:
                start = running + _integer(clip, "space_before")
                before, running = running, start + _integer(clip, "length")
                if lies_unseen(before, running):
                    raise Unsayable("the library refuses such a clip")
                following = k + 1 < len(item) and _integer(item[k + 1], "space_before") == 0
                key = self._camera_key(clip)
                clips = self.camera_clips.get(key, [])
                if len(clips) > 1 and key not in self.cameras and key != "FLAT":
                    shown = {_integer(each, "id") for each in clips} - {0}
                    name = self._unique(f"{self.name('scene', shown.pop())}_camera"
                                        if len(shown) == 1 else f"camera_{len(self.cameras) + 1}")
                    self.write(place, lambda resolve: f"{name} = {self.camera(clip, resolve)}",
                               None)
                    self.cameras[key] = name
            except (Unsayable, IndexError):
                self.verbatims.add(place)
                self.again = True
                return
            end = running if following else running + 1
            self.write(place, lambda resolve: self.clip(clip, start, end, resolve), None)

    # The whole

    def _count_uses(self) -> None:
        """Notes where each curve is used, and which clips share a camera."""

        def counter(owner: str) -> Resolve:
            def count(number: int, use: str) -> str:
                if 1 <= number <= len(self.uses):
                    self.uses[number - 1].append((owner, use))
                return "None"
            return count

        self.camera_clips: dict[str, list[Node]] = {}
        self.counting = True
        for kind in ("light", "effect", "material", "mesh", "scene", "row"):
            for k, item in enumerate(self.items[kind]):
                for part in list(item) if kind in ("scene", "row") else [item]:
                    try:
                        if kind == "row":
                            key = self._camera_key(part)
                            clips = self.camera_clips.setdefault(key, [])
                            clips.append(part)
                            if len(clips) > 1:
                                self.cameras[key] = ""
                            self.clip(part, 0, 1, counter(f"row_{k}"))
                        elif kind == "scene":
                            self.object("", part, counter(self.names[kind][k]))
                        else:
                            getattr(self, kind)(part, counter(self.names[kind][k]), "")
                    except (Unsayable, KeyError, IndexError):
                        pass
        self.cameras.clear()
        self.counting = False

    def code(self) -> Document:
        """Writes all statements, and returns the document that they make."""
        self._count_uses()
        options = ([] if self.music is None else [_quote(self.music)]) + ["shared=False"]
        options += [f"digits={self.digits}"] if self.digits != 7 else []
        self.run(self.call("document = Document", options))
        for kind, title in (("layer", "Layers"), ("texture", "Textures"), ("model", "Models"),
                            ("bitmap", "Bitmaps")):
            self.statements += ["", f"# {title}"] if self.items[kind] else []
            self.ensure(kind, len(self.items[kind]))
        self.statements += ["", "# Scenes, each after the lights and materials that it needs first"]
        for kind in ("scene", "light", "effect", "mesh", "material"):
            self.ensure(kind, len(self.items[kind]))
        for number, item in enumerate(self.items["row"]):
            self.row(item, number)
        self.hoist(len(self.words))
        document: Document = self.space["document"]
        left = unreached(document, [thing for name, thing in self.space.items()
                                    if name not in _LIBRARY])
        names = {id(thing): name for name, thing in self.space.items()}
        if left:
            self.statements += ["", "# No clip shows these"]
            self.run(f"document.keep({', '.join(names[id(thing)] for thing in left)})")
        return document


def _differing(sections: Sequence[Node], made: Sequence[Node]) -> set[Place]:
    """The places at which two documents do not say the same."""
    places: set[Place] = set()
    for kind, one, other in zip(_KINDS, sections, made):
        for number, (a, b) in enumerate(zip(one, other), 0 if kind == "row" else 1):
            if kind == "scene":
                places |= {(kind, number, part) for part, (x, y) in enumerate(zip(a, b), 1)
                           if not _same(x, y, kind, 1)}
                if a.attrib != b.attrib:
                    places.add((kind, number, 0))
            elif not _same(a, b, kind):
                places.add((kind, number, 0))
    return places


def unbuild_document(text: str) -> tuple[list[str], int]:
    """The statements that make a document, and how many places stand as their elements.
    ValueError if the document can't be said."""
    sections = parse(text)
    verbatims: set[Place] = set()
    while True:
        coder = _Coder(sections, verbatims)
        document = coder.code()
        if coder.again:
            continue
        made = parse(document.text())
        differing = _differing(sections, made) - verbatims
        if not differing:
            break
        verbatims |= differing
    if [len(section) for section in sections] != [len(section) for section in made] \
            or sections[-1].attrib != made[-1].attrib or _differing(sections, made):
        raise ValueError("it has what Python can't say")
    return coder.statements, len(verbatims)


def piece_text(functions: dict[str, list[str]]) -> str:
    """A whole `piece.py`: one function for each document."""
    body: list[str] = []
    for name, statements in functions.items():
        body += ["", "", f"def {name}() -> Document:"]
        for statement in statements:
            body += wrapped(statement, "    ") if statement else [""]
        body.append("    return document")
    body += ["", ""] + [f'{name}().write("{name}.xml")' for name in functions]
    words = {token.string for token in _tokens("\n".join(body) + "\n")
             if token.type == tokenize.NAME}
    names = sorted((word for word in words if word in quorvale.__all__),
                   key=lambda word: (not word.isupper(), word))
    imports = wrapped(f"from quorvale import ({', '.join(names)})", "")
    imports += ["from quorvale.curves import function"] if "function" in words else []
    imports += ["from quorvale.verbatim import verbatim"] \
        if any("verbatim(" in line and ".verbatim(" not in line for line in body) else []
    title = '"""Made by dpk unbuild --python. Times are ticks of 10 ms."""'
    return "\n".join([title, "", *imports, *body]) + "\n"


def unbuild(folder: str) -> int:
    """Turns the documents of a folder into a `piece.py`. 1 if there is none that it can say."""
    functions: dict[str, list[str]] = {}
    for name in ("loading", "demo"):
        path = os.path.join(folder, name + ".xml")
        try:
            with open(path, encoding="utf-8", newline="") as stream:
                functions[name], count = unbuild_document(stream.read())
        except FileNotFoundError:
            continue
        except (ValueError, RecursionError) as error:
            print(f"{name}.xml stays as it is: {error}")
            continue
        if count > 0:
            print(f"{name}.xml: {count} {'place' if count == 1 else 'places'} as elements, since "
                  "the library has no words for them")
        os.remove(path)
    if functions:
        with open(os.path.join(folder, "piece.py"), "x", encoding="utf-8",
                  newline="\n") as stream:
            stream.write(piece_text(functions))
    return 0
