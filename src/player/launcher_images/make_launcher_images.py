#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""Draws the five images of the launcher window and writes them as BMP files.

    make_launcher_images.py [folder]      the folder defaults to that of this script

The images are committed beside it; the build takes them as they are, and a test compares them with
what this script writes. Every file comes out with the same bytes on every machine: there are only
whole numbers here.

Positions are pixels of the window and stand again in the launcher's sources: where the mouse hits
something in launcher_state.cpp, where an image goes in launcher.cpp.
"""

import os
import struct
import sys

# The greens of the window, from black to full. An image of less depth takes some of them.
GREENS = (0, 20, 44, 76, 116, 164, 212, 255)
BLACK, NIGHT, GLOW, DIM, LINE, SOFT, BRIGHT, FULL = range(8)

# ---------------------------------------------------------------------------------------------
# The font. Capitals and digits are 10 pixels high, small letters 7, upright strokes 2 wide. The
# tenth row stands on the base line; what follows hangs below it.

GLYPHS = {
    "0": """
        .#####.
        ##...##
        ##...##
        ##...##
        ##...##
        ##...##
        ##...##
        ##...##
        ##...##
        .#####.""",
    "1": """
        ..##..
        .###..
        ####..
        ..##..
        ..##..
        ..##..
        ..##..
        ..##..
        ..##..
        ######""",
    "2": """
        .#####.
        ##...##
        .....##
        .....##
        ....##.
        ...##..
        ..##...
        .##....
        ##.....
        #######""",
    "3": """
        .#####.
        ##...##
        .....##
        .....##
        ..####.
        .....##
        .....##
        .....##
        ##...##
        .#####.""",
    "4": """
        ....##.
        ...###.
        ..####.
        .##.##.
        ##..##.
        #######
        ....##.
        ....##.
        ....##.
        ....##.""",
    "5": """
        #######
        ##.....
        ##.....
        ##.....
        ######.
        .....##
        .....##
        .....##
        ##...##
        .#####.""",
    "6": """
        ..####.
        .##....
        ##.....
        ##.....
        ######.
        ##...##
        ##...##
        ##...##
        ##...##
        .#####.""",
    "7": """
        #######
        .....##
        .....##
        ....##.
        ....##.
        ...##..
        ...##..
        ..##...
        ..##...
        ..##...""",
    "8": """
        .#####.
        ##...##
        ##...##
        ##...##
        .#####.
        ##...##
        ##...##
        ##...##
        ##...##
        .#####.""",
    "9": """
        .#####.
        ##...##
        ##...##
        ##...##
        ##...##
        .######
        .....##
        .....##
        ....##.
        .####..""",
    "x": """
        .....
        .....
        .....
        #...#
        .#.#.
        ..#..
        .#.#.
        #...#
        .....
        .....""",
    ":": """
        ..
        ..
        ##
        ##
        ..
        ..
        ##
        ##
        ..
        ..""",
    "A": """
        ...##...
        ...##...
        ..####..
        ..#..#..
        .##..##.
        .##..##.
        .######.
        ##....##
        ##....##
        ##....##""",
    "B": """
        ######.
        ##...##
        ##...##
        ##...##
        ######.
        ##...##
        ##...##
        ##...##
        ##...##
        ######.""",
    "F": """
        #######
        ##.....
        ##.....
        ##.....
        ######.
        ##.....
        ##.....
        ##.....
        ##.....
        ##.....""",
    "M": """
        ##.....##
        ###...###
        ####.####
        ##.###.##
        ##..#..##
        ##.....##
        ##.....##
        ##.....##
        ##.....##
        ##.....##""",
    "O": """
        .######.
        ##....##
        ##....##
        ##....##
        ##....##
        ##....##
        ##....##
        ##....##
        ##....##
        .######.""",
    "S": """
        .#####.
        ##...##
        ##.....
        ##.....
        .#####.
        .....##
        .....##
        .....##
        ##...##
        .#####.""",
    "V": """
        ##....##
        ##....##
        ##....##
        .##..##.
        .##..##.
        .##..##.
        ..#..#..
        ..####..
        ...##...
        ...##...""",
    "a": """
        .......
        .......
        .......
        .#####.
        .....##
        .....##
        .######
        ##...##
        ##...##
        .######""",
    "c": """
        .......
        .......
        .......
        .#####.
        ##...##
        ##.....
        ##.....
        ##.....
        ##...##
        .#####.""",
    "d": """
        .....##
        .....##
        .....##
        .######
        ##...##
        ##...##
        ##...##
        ##...##
        ##...##
        .######""",
    "e": """
        .......
        .......
        .......
        .#####.
        ##...##
        ##...##
        #######
        ##.....
        ##...##
        .#####.""",
    "g": """
        .......
        .......
        .......
        .######
        ##...##
        ##...##
        ##...##
        ##...##
        ##...##
        .######
        .....##
        .....##
        .#####.""",
    "i": """
        ##
        ##
        ..
        ##
        ##
        ##
        ##
        ##
        ##
        ##""",
    "l": """
        ##
        ##
        ##
        ##
        ##
        ##
        ##
        ##
        ##
        ##""",
    "m": """
        ..........
        ..........
        ..........
        #########.
        ##..##..##
        ##..##..##
        ##..##..##
        ##..##..##
        ##..##..##
        ##..##..##""",
    "n": """
        .......
        .......
        .......
        ######.
        ##...##
        ##...##
        ##...##
        ##...##
        ##...##
        ##...##""",
    "o": """
        .......
        .......
        .......
        .#####.
        ##...##
        ##...##
        ##...##
        ##...##
        ##...##
        .#####.""",
    "p": """
        .......
        .......
        .......
        ######.
        ##...##
        ##...##
        ##...##
        ##...##
        ##...##
        ######.
        ##.....
        ##.....
        ##.....""",
    "r": """
        .....
        .....
        .....
        ##.##
        ####.
        ##...
        ##...
        ##...
        ##...
        ##...""",
    "s": """
        ......
        ......
        ......
        .####.
        ##..##
        ##....
        .####.
        ....##
        ##..##
        .####.""",
    "t": """
        .....
        .##..
        .##..
        #####
        .##..
        .##..
        .##..
        .##..
        .##..
        ..###""",
    "u": """
        .......
        .......
        .......
        ##...##
        ##...##
        ##...##
        ##...##
        ##...##
        ##...##
        .######""",
}
GLYPHS = {letter: art.split() for letter, art in GLYPHS.items()}

CAPITAL_HEIGHT = 10
GAP = 2  # pixels between letters
WORD_GAP = 7
# Pairs whose sides slant or stand open would seem further apart than the rest.
KERNING = {"An": -1, "Fu": -1, "VB": -1, "rt": -1, "re": -1, "ti": -1}


def place_letters(text):
    """The letters of a text, each with its distance from the text's left end."""
    x = 0
    placed = []
    for i, letter in enumerate(text):
        if letter == " ":
            x += WORD_GAP - GAP
            continue
        placed.append((letter, x))
        x += len(GLYPHS[letter][0]) + GAP + KERNING.get(text[i : i + 2], 0)
    return placed


def text_width(text):
    letter, x = place_letters(text)[-1]
    return x + len(GLYPHS[letter][0])


# ---------------------------------------------------------------------------------------------
# Pictures


class Picture:
    """Palette numbers, rows from the top. The edges that are given belong to an area."""

    def __init__(self, width, height):
        self.width, self.height = width, height
        self.rows = [[BLACK] * width for _ in range(height)]

    def fill(self, left, top, right, bottom, colour):
        for row in self.rows[top : bottom + 1]:
            row[left : right + 1] = [colour] * (right + 1 - left)

    def frame(self, left, top, right, bottom, colour):
        self.fill(left, top, right, top, colour)
        self.fill(left, bottom, right, bottom, colour)
        self.fill(left, top, left, bottom, colour)
        self.fill(right, top, right, bottom, colour)

    def round_frame(self, left, top, right, bottom, colour):
        """A frame whose corners are cut."""
        self.fill(left + 2, top, right - 2, top, colour)
        self.fill(left + 2, bottom, right - 2, bottom, colour)
        self.fill(left, top + 2, left, bottom - 2, colour)
        self.fill(right, top + 2, right, bottom - 2, colour)
        for x in (left + 1, right - 1):
            for y in (top + 1, bottom - 1):
                self.rows[y][x] = colour

    def write(self, text, left, top, colour):
        for letter, x in place_letters(text):
            for row, line in enumerate(GLYPHS[letter]):
                for column, mark in enumerate(line):
                    if mark == "#":
                        self.rows[top + row][left + x + column] = colour

    def write_glowing(self, text, left, top, colour, glow):
        self.write(text, left, top, colour)
        rows = max(len(GLYPHS[letter]) for letter, _ in place_letters(text))
        self.glow(left - 1, top - 1, left + text_width(text), top + rows, colour, glow)

    def glow(self, left, top, right, bottom, colour, glow):
        """Lights what is darker than `glow` beside the pixels of `colour`."""
        for y in range(top, bottom + 1):
            for x in range(left, right + 1):
                beside = (self.rows[y - 1][x], self.rows[y + 1][x],
                          self.rows[y][x - 1], self.rows[y][x + 1])  # fmt: skip
                if colour in beside and self.rows[y][x] < glow:
                    self.rows[y][x] = glow


# ---------------------------------------------------------------------------------------------
# The window

WINDOW_SIZE = (313, 384)
LIST_PANEL = (6, 6, 134, 377)
ASPECT_PANEL = (142, 6, 306, 87)
START_PANEL = (142, 95, 306, 274)
SWITCH_PANEL = (142, 282, 306, 377)

RESOLUTIONS = (
    ("320", "240"), ("400", "300"), ("512", "384"), ("640", "480"), ("800", "600"),
    ("1024", "768"), ("1280", "720"), ("1280", "800"), ("1280", "960"), ("1280", "1024"),
    ("1366", "768"), ("1400", "1050"), ("1440", "900"), ("1600", "1200"), ("1680", "1050"),
    ("1920", "1080"),
)  # fmt: skip
RESOLUTION_TOPS = (17, 40, 62, 85, 107, 129, 152, 174, 197, 219, 242, 264, 287, 309, 331, 354)
RESOLUTION_LEFT, RESOLUTION_SIZE = 21, (99, 20)

ASPECTS = ("4:3", "16:9", "16:10")
ASPECT_TOPS = (17, 39, 62)
ASPECT_LEFT, ASPECT_SIZE = 194, (61, 22)

START_LEFT, START_TOP, START_SIZE = 188, 163, (77, 46)
START_WORDS = (("Start", 8), ("demo", 24))  # and their distance from the face's top
START_DEPTH = 4  # how far the key stands out, right and down; pressed, it is one pixel

SWITCHES = ("Fullscreen", "Antialiasing", "Music", "VBO support")
SWITCH_TOPS = (293, 315, 337, 360)
SWITCH_LEFT, BOX_SIDE, SWITCH_TEXT_LEFT = 157, 13, 179

# The pixels of a mark. A mark is the upper left part of its box, with the lines of that part.
CHECK_MARK = """
    ###########
    #..........
    #.........#
    #........##
    #.......##.
    #.#....##..
    #.##..##...
    #..####....
    #...##.....
    #..........
    #..........
    #..........""".split()

# Thresholds 0 to 15 for a shade between two greens.
DITHER = ((0, 8, 2, 10), (12, 4, 14, 6), (3, 11, 1, 9), (15, 7, 13, 5))


def sine(degrees, size):
    """The sine times size, near enough for a drawing, as a ratio of whole numbers."""
    half = degrees % 180
    arc = half * (180 - half)
    value = 4 * arc * size // (40500 - arc)
    return value if degrees % 360 < 180 else -value


def draw_panel(picture, left, top, right, bottom):
    """A round frame around a screen: every second row is lit, more so in the middle."""
    middle, centre = (left + right) // 2, (top + bottom) // 2
    for y in range(top + 1, bottom):
        for x in range(left + 1, right):
            off_centre = (
                abs(x - middle) * 64 // (right - left) + abs(y - centre) * 64 // (bottom - top)
            )
            lit = (64 - off_centre) // 3 > DITHER[y // 2 % 4][x % 4]
            if y % 2 == 0:
                picture.rows[y][x] = GLOW if lit else NIGHT
    picture.round_frame(left, top, right, bottom, LINE)
    picture.fill(left + 3, top + 2, right - 3, top + 2, DIM)
    picture.fill(left + 3, top + 4, right - 3, top + 4, DIM)


def draw_oscilloscope(picture, left, top, right, bottom):
    """A dotted grid, and a beam that swells towards the middle."""
    middle, centre = (left + right) // 2, START_TOP + START_SIZE[1] // 2
    for y in range(top + 8, bottom - 1):
        for x in range(left + 2, right - 1):
            across, down = abs(x - middle), abs(y - centre)
            if (across % 20 == 0 and down % 4 == 0) or (down % 20 == 0 and across % 4 == 0):
                picture.rows[y][x] = DIM

    last = centre
    for x in range(left + 1, right):
        swell = max(0, 92 - abs(x - middle)) ** 2 // 112
        y = centre + sine((x - middle) * 9, swell)
        # Upright from behind the last point to this one, so that the beam has no holes.
        picture.fill(x, min(y, last + 1), x, max(y, last - 1), SOFT)
        last = y
    picture.glow(left + 2, top + 8, right - 2, bottom - 2, SOFT, DIM)


def draw_key(picture, left, top):
    """The start button as it stands out."""
    width, height = START_SIZE
    right, bottom = left + width - 1 - START_DEPTH, top + height - 1 - START_DEPTH
    picture.fill(left, top, left + width - 1, top + height - 1, NIGHT)
    for step in range(1, START_DEPTH + 1):
        picture.fill(left + step, top + step, right + step, bottom + step, DIM)

    # The face: lighter above than below, with a seam between the words.
    seam = top + 20
    picture.fill(left, top, right, seam - 1, BRIGHT)
    picture.fill(left, seam, right, bottom, SOFT)
    for y in (seam, seam + 1):
        for x in range(left + y % 2, right + 1, 2):
            picture.rows[y][x] = BRIGHT
    picture.frame(left, top, right, bottom, FULL)
    picture.fill(left + 1, bottom, right, bottom, LINE)
    picture.fill(right, top + 1, right, bottom, LINE)
    write_start(picture, left, top, BLACK)


def draw_pressed_key(picture, left, top):
    """The start button as it is down: a dark face, the letters lit."""
    width, height = START_SIZE
    right, bottom = left + width - 2, top + height - 2
    picture.fill(left, top, left + width - 1, top + height - 1, NIGHT)
    left, top = left + START_DEPTH - 1, top + START_DEPTH - 1
    picture.fill(left + 1, top + 1, right + 1, bottom + 1, DIM)
    picture.fill(left + 3, top + 3, right, bottom, DIM)
    picture.frame(left, top, right, bottom, LINE)
    picture.fill(left + 1, top + 1, right - 1, top + 2, NIGHT)
    picture.fill(left + 1, top + 1, left + 2, bottom - 1, NIGHT)
    write_start(picture, left, top, FULL)


def write_start(picture, left, top, colour):
    for word, below in START_WORDS:
        inset = (START_SIZE[0] - START_DEPTH - text_width(word)) // 2
        picture.write(word, left + inset, top + below, colour)


def write_resolutions(picture):
    """The crosses stand in one column, in the middle of the selector."""
    cross = RESOLUTION_LEFT + (RESOLUTION_SIZE[0] - text_width("x")) // 2
    for (width, height), row_top in zip(RESOLUTIONS, RESOLUTION_TOPS):
        top = row_top + (RESOLUTION_SIZE[1] - CAPITAL_HEIGHT) // 2
        picture.write_glowing(width, cross - 4 - text_width(width), top, FULL, GLOW)
        picture.write_glowing("x", cross, top, SOFT, DIM)
        picture.write_glowing(height, cross + text_width("x") + 4, top, FULL, GLOW)


def write_aspects(picture):
    for label, row_top in zip(ASPECTS, ASPECT_TOPS):
        left = ASPECT_LEFT + (ASPECT_SIZE[0] - text_width(label)) // 2
        top = row_top + (ASPECT_SIZE[1] - CAPITAL_HEIGHT) // 2
        picture.write_glowing(label, left, top, FULL, GLOW)


def draw_switches(picture):
    for label, top in zip(SWITCHES, SWITCH_TOPS):
        right, bottom = SWITCH_LEFT + BOX_SIDE - 1, top + BOX_SIDE - 1
        picture.fill(SWITCH_LEFT, top, right, bottom, NIGHT)
        picture.frame(SWITCH_LEFT, top, right, bottom, BRIGHT)
        picture.write_glowing(label, SWITCH_TEXT_LEFT, top + 1, FULL, GLOW)


def make_background():
    picture = Picture(*WINDOW_SIZE)
    picture.frame(0, 0, picture.width - 1, picture.height - 1, LINE)
    for panel in (LIST_PANEL, ASPECT_PANEL, START_PANEL, SWITCH_PANEL):
        draw_panel(picture, *panel)
    draw_oscilloscope(picture, *START_PANEL)
    draw_key(picture, START_LEFT, START_TOP)
    write_resolutions(picture)
    write_aspects(picture)
    draw_switches(picture)
    return picture


def make_selector(width, height):
    """A round frame with an arrow head on either side, in palette number 1."""
    picture = Picture(width, height)
    picture.round_frame(0, 0, width - 1, height - 1, 1)
    for step in range(3):
        top, bottom = height // 2 - 3 + step, height // 2 + 2 - step
        picture.fill(2 + step, top, 2 + step, bottom, 1)
        picture.fill(width - 3 - step, top, width - 3 - step, bottom, 1)
    return picture


def make_check_mark():
    picture = Picture(len(CHECK_MARK[0]), len(CHECK_MARK))
    picture.rows = [[int(mark == "#") for mark in line] for line in CHECK_MARK]
    return picture


def make_start_pressed(colours):
    """In a palette of these colours alone."""
    picture = Picture(*START_SIZE)
    draw_pressed_key(picture, 0, 0)
    picture.rows = [[colours.index(colour) for colour in row] for row in picture.rows]
    return picture


# ---------------------------------------------------------------------------------------------
# Files


def bmp_bytes(picture, bits, greens):
    """A Windows BMP file without compression: rows from the bottom, filled up to whole words."""
    used = picture.width * bits
    padded = (used + 31) // 32 * 32
    rows = b""
    for row in reversed(picture.rows):
        number = 0
        for colour in row:
            number = number << bits | colour
        rows += (number << (padded - used)).to_bytes(padded // 8, "big")

    # The number of colours stands in the header: a reader may expect 256 otherwise.
    palette = b"".join(bytes((0, green, 0, 0)) for green in greens)  # blue, green, red, unused
    start = 14 + 40 + len(palette)
    file_header = struct.pack("<2sIHHI", b"BM", start + len(rows), 0, 0, start)
    pixels_per_metre = 2835
    image_header = struct.pack(
        "<IiiHHIIiiII", 40, picture.width, picture.height, 1, bits, 0, len(rows),
        pixels_per_metre, pixels_per_metre, len(greens), 0)  # fmt: skip
    return file_header + image_header + palette + rows


def main():
    folder = sys.argv[1] if len(sys.argv) > 1 else os.path.dirname(os.path.abspath(__file__))
    pressed = (NIGHT, DIM, LINE, FULL)
    images = (
        ("launcher_background", make_background(), 4, range(8)),
        ("resolution_selector", make_selector(*RESOLUTION_SIZE), 1, (BLACK, FULL)),
        ("aspect_selector", make_selector(*ASPECT_SIZE), 1, (BLACK, FULL)),
        ("check_mark", make_check_mark(), 1, (NIGHT, BRIGHT)),
        ("start_pressed", make_start_pressed(pressed), 4, pressed),
    )
    for name, picture, bits, colours in images:
        with open(os.path.join(folder, name + ".bmp"), "wb") as file:
            file.write(bmp_bytes(picture, bits, [GREENS[colour] for colour in colours]))


if __name__ == "__main__":
    main()
