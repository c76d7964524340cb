#!/usr/bin/env python3
"""Writes the documents of the piece: loading.xml, and demo.xml, which plays for 96 seconds.

    make_documents.py [folder]      the folder defaults to that of this script

A beat of the music lasts 50 ticks, a bar 200. Cuts lie on bars, and on beats where the music rolls.
"""

import os
import sys

from document import (FLAT, Camera, Curve, Document, ease_in, ease_out, facing, hold, line, path,
                      ring_down, span, spline, steps, still, tinted, wave)
from make_bitmaps import BITMAPS
from make_models import LETTERS, LINES, MODELS, SPACING, TITLE

BEAT = 50
BAR = 200
END = 9600

SIMPLE, TEXTURE, LINK, CLEAR_DEPTH, TEXTURE_WIDE, TEXTURE_QUARTER = range(6)

# Recipes, as far as they are used by name here
COLOUR = 0
COLOUR_LIGHT = 1
TEXTURED = 2
TEXTURED_LIGHT = 3
MIRROR = 4
MIRROR_LIGHT = 5
EFFECT = 6
BITMAP = 7
BITMAP_PAIR = 8
BITMAP_LIGHT = 9
BITMAP_CLAMPED = 10
BITMAP_MIRROR = 11
BITMAP_MIRROR_LIGHT = 12
ADD_BITMAP = 13
ADD_BUMPS = 14
ALPHA_BITMAP = 15
ADD_BITMAP_MIRROR = 16
ALPHA_BITMAP_ON_TOP = 17
ADD_TEXTURE_ON_TOP = 18
COLOUR_ON_TOP = 19
ADD_MIRROR = 20
ADD_ON_TOP = 21
FADE_PAIR = 22
WIREFRAME = 23

# Rows: what is drawn later lies on top. The first two draw into bitmaps.
TARGET, TARGET_FRONT, SKY, STAGE, FRONT, GLOW, BLOOM, TEXT, LENS, FLASH, BARS, FADE = range(12)

NIGHT = (0.010, 0.016, 0.034)
STEEL = (0.30, 0.36, 0.46)
STONE = (0.52, 0.51, 0.53)
BONE = (0.86, 0.82, 0.74)
WHITE = (1.0, 1.0, 1.0)
BLUE = (0.16, 0.34, 0.74)
EMBER = (1.0, 0.42, 0.10)
GOLD = (1.0, 0.72, 0.30)
CREAM = (1.0, 0.90, 0.72)
GILT = (1.0, 0.67, 0.35)

FAR = -0.9995  # in the unit square's depth: behind all that lies within 200


def times(colour, factor):
    return tuple(channel * factor for channel in colour)


def turning(knots, first, last):
    """A colour on its way: all of `first` where a knot is 0, of `last` where it is 1."""
    return tuple(spline([(t, a + (b - a) * k) for t, k in knots]) for a, b in zip(first, last))


# A stroke on each beat, falling off until the next.
BEAT_PULSE = ease_out(1.0, 0.0, BEAT).looped()
HALF_PULSE = ease_out(1.0, 0.0, BEAT // 2).looped()
BAR_PULSE = ease_out(1.0, 0.0, BAR).looped()
HEART = (ease_out(1.0, 0.25, 14).then(ease_out(0.8, 0.0, 50)).then(hold(0.0, 36))).looped()


def make_loading():
    """A dial of 72 marks, lit one by one, about the ember; ticks 0 to 100."""
    document = Document("quorvale.xm")
    document.layer("spot", RADIAL, [1.0, 1.0, 1.0, 0.0, 0.0, 0.0, 1.0, 0.0])
    document.texture("halo", HALO_STEPS)
    for name in ("square", "wedge", "ember"):
        document.model(name)
    for letter in TITLE:
        document.model("letter_" + letter.lower())

    document.light("inside", EMBER, (0.6, 0.9, 1.6), ambient=times(EMBER, 0.3))
    document.light("title", GOLD, (0.0, -2.0, 6.0))
    document.material("unlit", COLOUR_ON_TOP, times(BLUE, 0.35))
    document.material("lit", COLOUR_ON_TOP, GOLD)
    document.material("line", COLOUR_ON_TOP, EMBER)
    document.material("glow", ADD_TEXTURE_ON_TOP, tinted(line(0.15, 0.6, 100), EMBER),
                      refs=[("textures", "halo")])
    document.material("core", COLOUR_LIGHT, tinted(line(0.5, 1.0, 100), EMBER),
                      refs=[("lights", "inside")])
    document.material("letter", COLOUR_LIGHT, times(CREAM, 0.8), refs=[("lights", "title")])

    dial = document.scene("dial")
    side = line(2.6, 4.6, 100)
    dial.add("square", "glow", scale=(side, side, 1.0))
    row = [0.0, 0.0, 0.0, 0.0, 0.0, -5.0, 0.0, 0.0, 0.0]
    dial.add("wedge", "unlit", manipulators=[document.manipulator(1, [72.0] + row)])
    dial.add("wedge", "lit", manipulators=[document.manipulator(1, [line(0.0, 72.0, 100)] + row)])
    size = line(0.16, 0.3, 100)
    dial.add("ember", "core", rotation=(10.0, line(0.0, 90.0, 100), 0.0), scale=(size, size, size))

    title = document.scene("title")
    for letter, x in title_places():
        title.add("letter_" + letter.lower(), "letter", position=(x, 0.0, 0.0))

    bar = document.scene("bar")
    bar.add("square", "line", position=(line(0.3, 0.5, 100), 0.93, 0.0),
            scale=(line(0.0, 0.4, 100), 0.003, 1.0))

    # The last tick is seen as well.
    document.clip(0, 0, 101, "dial", still((0.0, -0.35, 4.2), (0.0, -0.35, 0.0), 45.0), CLEAR_DEPTH)
    document.clip(1, 0, 101, "title", still((0.0, 9.0, 30.0), (0.0, 9.0, 0.0), 45.0), CLEAR_DEPTH)
    document.clip(2, 0, 101, "bar", FLAT, CLEAR_DEPTH)
    return document


def title_places():
    """The letters of the title and where their middles lie along x."""
    whole = SPACING * (len(TITLE) - 1)
    for letter in TITLE:
        whole += LETTERS[letter][0]
    x = -whole / 2.0
    places = []
    for letter in TITLE:
        width = LETTERS[letter][0]
        places.append((letter, x + width / 2.0))
        x += width + SPACING
    return places


# ---------------------------------------------------------------------------------------------
# Textures: layers, and stacks of steps over them

PLAIN, PLASMA, RADIAL, MAZE, BRICKS, NOISE = range(6)
ADD, MULTIPLY, MAXIMUM, MINIMUM = range(101, 105)
INVERT, SCALE, OFFSET, RIPPLE, BLUR, EMBOSS, CONVOLVE = range(201, 208)
UNIT = 1.0 / 255.0  # the scale of MULTIPLY that takes bytes for 0 to 1

# A soft point of light: a cone, to the third power.
HALO_STEPS = [(ADD, "spot", [1.0, 1.0]), (MULTIPLY, "spot", [UNIT]), (MULTIPLY, "spot", [UNIT])]


def add_textures(document):
    """The piece's surfaces and reflections."""
    layer = document.layer
    layer("white", PLAIN, [1.0, 1.0, 1.0])
    layer("sand", PLAIN, [0.98, 0.86, 0.70])
    layer("slate", PLAIN, [0.62, 0.70, 0.86])
    layer("lava", PLAIN, [1.0, 0.50, 0.14])
    layer("dusk", PLAIN, [0.035, 0.045, 0.095])
    layer("mid", PLAIN, [0.5, 0.5, 0.5])
    layer("low", PLAIN, [0.78, 0.78, 0.78])
    layer("spot", RADIAL, [1.0, 1.0, 1.0, 0.0, 0.0, 0.0, 1.0, 0.0])
    layer("bowl", RADIAL, [0.42, 0.38, 0.36, 1.0, 0.94, 0.82, 1.0, 20.0])
    layer("shore", RADIAL, [0.05, 0.05, 0.08, 0.92, 0.60, 0.36, 1.0, 64.0])
    layer("belt", PLASMA, [1.0, 1.0, 1.0, 0.0, 1.0])
    layer("bands", PLASMA, [1.0, 0.82, 0.56, 0.0, 3.0])
    layer("large", MAZE, [1.0, 1.0, 1.0, 6.0, 12.0, 0.5])
    layer("middle", MAZE, [1.0, 1.0, 1.0, 5.0, 77.0, 0.5])
    layer("small", MAZE, [1.0, 1.0, 1.0, 4.0, 5.0, 0.5])
    layer("tiny", MAZE, [1.0, 1.0, 1.0, 3.0, 41.0, 0.5])
    layer("lamps", MAZE, [1.0, 0.94, 0.80, 5.0, 19.0, 0.37])
    layer("courses", BRICKS, [0.82, 0.82, 0.82, 0.30, 0.30, 0.30, 8.0, 4.0, 4.0, 4.0, 32.0])
    layer("panels", BRICKS, [0.60, 0.60, 0.60, 0.20, 0.20, 0.20, 4.0, 4.0, 5.0, 5.0, 0.0])
    layer("grain", NOISE, [1.0, 1.0, 1.0, 3.0])
    layer("grit", NOISE, [1.0, 1.0, 1.0, 900.0])

    texture = document.texture
    texture("halo", HALO_STEPS)
    texture("stone", [(ADD, "grain", [1.0, 0.55]), (BLUR, []), (BLUR, []),
                      (ADD, "middle", [1.0, 0.22]), (ADD, "small", [1.0, 0.14]),
                      (ADD, "low", [1.0, 0.35]), (EMBOSS, [1.0]), (BLUR, []),
                      (MULTIPLY, "sand", [UNIT])])
    texture("bricks", [(ADD, "courses", [1.0, 1.0]), (BLUR, []), (ADD, "grit", [1.0, -0.20]),
                       (BLUR, []), (EMBOSS, [2.0]), (MINIMUM, "white", [1.0, 0.95]),
                       (MULTIPLY, "sand", [UNIT])])
    texture("panels", [(ADD, "panels", [1.0, 1.0]), (BLUR, []), (EMBOSS, [1.0]),
                       (ADD, "grain", [1.0, 0.10]), (BLUR, []), (MAXIMUM, "mid", [1.0, 0.4]),
                       (MULTIPLY, "slate", [UNIT * 1.3])])
    streak = [0.0, 0.0, 0.0, 0.34, 0.34, 0.34, 0.0, 0.0, 0.0]
    texture("brushed", [(ADD, "grain", [1.0, 1.0])] + [(CONVOLVE, streak)] * 6 +
            [(ADD, "white", [0.75, 0.42])])
    texture("lava", [(ADD, "middle", [1.0, 0.62]), (ADD, "small", [1.0, 0.38]),
                     (RIPPLE, [0.03, 0.02, 3.0, 2.0]), (BLUR, []), (INVERT, []),
                     (MULTIPLY, "lava", [UNIT * 1.1]), (SCALE, [1.3])])
    texture("ground", [(ADD, "large", [1.0, 0.30]), (ADD, "small", [1.0, 0.25]),
                       (ADD, "tiny", [1.0, 0.20]), (ADD, "grain", [1.0, 0.20]), (BLUR, []),
                       (EMBOSS, [4.0]), (BLUR, []), (ADD, "white", [0.8, 0.25]),
                       (MULTIPLY, "sand", [UNIT])])
    # Goes once from pole to pole, where it is dark.
    texture("nebula", [(ADD, "large", [1.0, 0.45]), (ADD, "middle", [1.0, 0.30]),
                       (ADD, "small", [1.0, 0.18]), (RIPPLE, [0.04, 0.05, 2.0, 1.0]), (BLUR, []),
                       (MULTIPLY, "belt", [UNIT * 1.4]), (MULTIPLY, "belt", [UNIT * 1.4]),
                       (MULTIPLY, "slate", [UNIT * 0.62]), (OFFSET, [-64.0, 90.0])])
    # Mirrored surroundings: lamps behind a ripple, brighter towards the rim.
    texture("gilt", [(ADD, "bands", [1.0, 0.8]), (MULTIPLY, "bands", [UNIT * 1.5]),
                     (RIPPLE, [0.03, 0.06, 2.0, 2.0]), (ADD, "lamps", [1.0, 0.7]), (BLUR, []),
                     (MULTIPLY, "bowl", [UNIT * 1.5]), (ADD, "dusk", [1.0, 1.0])])
    # Still water: dark towards the viewer, bright where it is seen flat.
    texture("water", [(ADD, "shore", [1.0, 1.0]), (RIPPLE, [0.01, 0.02, 2.0, 3.0]), (BLUR, [])])
    texture("sheen", [(ADD, "lamps", [1.0, 0.8]), (RIPPLE, [0.02, 0.02, 2.0, 1.0]), (BLUR, []),
                      (MULTIPLY, "bowl", [UNIT])])


# ---------------------------------------------------------------------------------------------
# The demo


class Piece:
    """The demo's document, and what its scenes share."""

    def __init__(self):
        self.document = Document("quorvale.xm")
        add_textures(self.document)
        for name in MODELS:
            self.document.model(name)
        for letter in TITLE:
            self.document.model("letter_" + letter.lower())
        for name in LINES:
            self.document.model(name)
        for name in BITMAPS:
            self.document.bitmap(name)
        self.wear("night", COLOUR, NIGHT)
        self.wear("darkness", COLOUR, (0.0, 0.0, 0.0))
        self.wear("black", COLOUR_ON_TOP, (0.0, 0.0, 0.0))
        self.wear("dust", COLOUR, (0.62, 0.70, 0.88))
        self.nebula_sky()

    def light(self, *arguments, **options):
        return self.document.light(*arguments, **options)

    def wear(self, name, recipe, colour, *refs, alpha=1.0, extra=None):
        return self.document.material(name, recipe, colour, alpha, extra, refs)

    def lit(self, name, colour, light, rim=None, rim_colour=None, alpha=1.0, recipe=COLOUR_LIGHT,
            surface=(), bumps=False, extra=None):
        """A lit material, and with `rim` one for a second light that is added on the same object,
        over the bumps of a hammered plate if `bumps` is set."""
        light_ref = ("lights", light)
        refs = [light_ref] + list(surface)
        self.wear(name, recipe, colour, *refs, alpha=alpha, extra=extra)
        if rim is not None:
            pair = ["vectors", "bumps"] if bumps else [None, None]
            self.wear(name + " rim", ADD_BUMPS, rim_colour or times(colour, 0.8), ("lights", rim),
                      *[("bitmaps", bitmap) for bitmap in pair])

    def put(self, scene, model, material, **placement):
        """An object, drawn a second time for its other light if its material has one."""
        scene.add(model, material, **placement)
        if material + " rim" in self.document.ids["materials"]:
            scene.add(model, material + " rim", **placement)

    def row_of(self, count, position=(0.0, 0.0, 0.0), rotation=(0.0, 0.0, 0.0),
               scale=(0.0, 0.0, 0.0)):
        return self.document.manipulator(1, [count] + list(position) + list(rotation) + list(scale))

    def grid_of(self, counts, position, rotation=(0.0, 0.0, 0.0), scale=(0.0, 0.0, 0.0)):
        return self.document.manipulator(
            0, list(counts) + list(position) + list(rotation) + list(scale))

    def rippled(self, time, amplitude, waves):
        return self.document.manipulator(2, [time, amplitude, waves])

    def placed_on(self, kind, name, position, rotation=(0.0, 0.0, 0.0), scale=(1.0, 1.0, 1.0)):
        """A copy on each vertex of a model (kind 0) or a generated mesh (kind 1)."""
        return self.document.manipulator(3, list(position) + list(rotation) + list(scale),
                                         (kind, name))

    def nebula_sky(self):
        self.wear("nebula", TEXTURED, (0.70, 0.82, 1.0), ("textures", "nebula"))
        scene = self.document.scene("nebula")
        scene.add("dome", "nebula", rotation=(10.0, line(0.0, 12.0, 800), 16.0), scale=40.0)
        scene.add("dust", "dust", scale=30.0, rotation=(30.0, line(0.0, 8.0, 800), 0.0))

    def backdrop(self, start, end, scene, camera, offset=0, row=SKY, kind=SIMPLE):
        """A scene about the camera, which only turns in it."""
        held = Camera((0.0, 0.0, 0.0), camera.rotation, camera.fov)
        self.document.clip(row, start, end, scene, held, kind, offset)

    def glow(self, name, camera, length, material, side, position=(0.0, 0.0, 0.0)):
        """A scene of one light that faces a camera."""
        scene = self.document.scene(name)
        scene.add("square", material, position=position, rotation=facing(camera, length),
                  scale=(side, side, 1.0))
        return name

    def bloom(self, start, end, scene, camera, offset=0, fog=None):
        """The scene once more in a bitmap of half the window's sides, for its light to run over."""
        self.document.clip(TARGET, start, end, scene, camera, TEXTURE_QUARTER, offset, fog, "bloom")
        self.document.clip(BLOOM, start, end, "bloom", FLAT, LINK)


def add_void(piece):
    """0 to 8 s: an ember in its shell, far off in the dark."""
    document = piece.document
    breath = ease_in(0.35, 1.0, BAR).swinging()
    piece.light("void inside", tinted(breath, times(EMBER, 1.7)), (0.0, 0.0, 0.0))
    piece.light("void moon", (0.85, 0.92, 1.0), (-6.0, 7.0, 9.0))
    piece.lit("void shell", times(STEEL, 0.9), "void inside", "void moon", bumps=True,
              rim_colour=(0.46, 0.54, 0.70))
    piece.wear("void ember", TEXTURED, tinted(breath, (1.0, 0.86, 0.70)), ("textures", "lava"))
    piece.wear("void glow", ADD_TEXTURE_ON_TOP, tinted(breath, times(EMBER, 0.75)),
               ("textures", "halo"))

    camera = path([(0, (5.0, 3.0, 15.0), (0.0, 0.4, 0.0)), (260, (3.6, 1.8, 10.6), (0.0, 0.2, 0.0)),
                   (560, (0.6, 0.5, 6.4), (0.0, 0.0, 0.0)), (800, (-2.2, -0.3, 4.3), (0.0, 0.0, 0.0))],
                  48.0)
    scene = document.scene("void")
    turn = (line(0.0, 26.0, 800), line(0.0, 120.0, 800), 0.0)
    piece.put(scene, "shell", "void shell", rotation=turn, scale=1.6)
    scene.add("ember", "void ember", scale=0.52, rotation=turn)
    glow = document.scene("void glow")
    side = wave(9.0, 0.6, BAR, 0.75)
    glow.add("square", "void glow", rotation=facing(camera, 800), scale=(side, side, 1.0))

    piece.backdrop(0, 800, "nebula", camera)
    document.clip(STAGE, 0, 800, "void", camera, CLEAR_DEPTH, fog=(14.0, 60.0, "night"))
    document.clip(GLOW, 0, 800, "void glow", camera, LINK)


def add_thread(piece):
    """8 to 12 s: along the knot, lit by what passes; a line of text."""
    document = piece.document
    run = wave(0.0, 2.4, 200)
    piece.light("thread warm", tinted(HALF_PULSE * 0.8 + 1.1, (1.0, 0.74, 0.46)),
                (run, wave(0.0, 2.4, 200, 0.25), 1.4))
    piece.light("thread cold", times(BLUE, 1.0), (-3.0, -4.0, -5.0))
    piece.lit("thread", WHITE, "thread warm", "thread cold", recipe=MIRROR_LIGHT,
              surface=[("textures", "gilt")], rim_colour=times(BONE, 0.3))
    piece.wear("thread wire", WIREFRAME, GOLD, alpha=HALF_PULSE * 0.35, extra=1.0)
    scene = document.scene("thread")
    turn = (line(-20.0, 10.0, 400), line(0.0, 50.0, 400), 0.0)
    piece.put(scene, "knot", "thread", rotation=turn)
    scene.add("knot", "thread wire", rotation=turn, scale=1.012)
    first = path([(0, (1.9, -1.0, 1.1), (0.5, 0.2, 0.0)), (200, (0.9, -1.5, 1.3), (0.0, 0.4, 0.0))],
                 52.0)
    second = path([(0, (-0.6, 0.5, 3.6), (0.0, 0.0, 0.0)), (200, (0.2, 0.1, 4.6), (0.0, 0.0, 0.0))],
                  46.0)
    for start, camera, offset, fog in ((800, first, 0, (1.2, 7.0, "night")),
                                       (1000, second, 200, (3.0, 12.0, "night"))):
        piece.backdrop(start, start + 200, "nebula", camera, offset)
        shifted = camera if offset == 0 else camera.later(offset)
        document.clip(STAGE, start, start + 200, "thread", shifted, CLEAR_DEPTH, offset, fog)

    gleam = document.effect("gleam", 0, 64, 8, [line(0.0, 510.0, 400), hold(0.0)])
    piece.wear("gleam line", EFFECT, CREAM, ("effects", gleam),
               alpha=line(0.0, 1.0, 40).then(hold(1.0, 220)).then(line(1.0, 0.0, 60)).then(hold(0.0)))
    document.scene("words_real_time").add("words_real_time", "gleam line",
                                          position=(0.0, -5.1, 0.0),
                                          scale=(line(0.62, 0.68, 340), 0.62, 1.0))
    document.clip(TEXT, 840, 1180, "words_real_time",
                  still((0.0, 0.0, 18.0), (0.0, 0.0, 0.0), 45.0), CLEAR_DEPTH)


def add_title(piece):
    """12 to 16 s: the title, a letter on each beat."""
    document = piece.document
    piece.light("title warm", times(GOLD, 1.3), (line(-3.0, 9.0, 400), 1.5, 6.0))
    piece.light("title cold", times(BLUE, 1.2), (2.0, -6.0, -3.0))
    piece.lit("title", CREAM, "title warm", "title cold", recipe=BITMAP_MIRROR_LIGHT,
              surface=[("bitmaps", "room")], extra=0.0, rim_colour=times(CREAM, 0.6))
    piece.wear("title face", ADD_MIRROR, tinted(BEAT_PULSE * 0.5 + 0.35, times(GOLD, 0.8)),
               ("textures", "sheen"))
    scene = document.scene("title")
    # Each letter does the same a beat after the one before. Ahead of its beat its time lies before
    # 0, which counts as the far end of time: there the letter is hidden.
    swing = ring_down(0.0, 75.0, 55.0, 190).then(hold(0.0))
    depth = ease_out(-2.5, 0.0, 40).then(hold(0.0))
    for k, (letter, x) in enumerate(title_places()):
        placement = {"position": (x, 0.0, depth), "rotation": (0.0, swing, 0.0),
                     "visible": steps([(0, 1.0), (500, 0.0)]), "shift": -1.0 * k * BEAT}
        piece.put(scene, "letter_" + letter.lower(), "title", **placement)
        scene.add("letter_" + letter.lower(), "title face", **placement)
    camera = path([(0, (-2.2, -0.9, 8.0), (-0.5, 0.0, 0.0)), (400, (0.6, 0.4, 9.4), (0.0, 0.0, 0.0))],
                  spline([(0, 50.0), (240, 49.0), (340, 48.0), (400, 40.0)]))
    piece.bloom(1200, 1600, "title", camera)
    piece.backdrop(1200, 1600, "nebula", camera, 400)
    document.clip(STAGE, 1200, 1600, "title", camera, CLEAR_DEPTH)


def add_arcade(piece):
    """16 to 24 s: down an arcade, a light running ahead on each kick, towards a gate."""
    document = piece.document
    ahead = line(-2.0, -26.0, BAR).looped()
    piece.light("arcade warm", tinted(BEAT_PULSE * 1.2 + 0.5, EMBER), (0.0, 2.2, ahead))
    piece.light("arcade cold", times(BLUE, 0.9), (-8.0, 14.0, -12.0))
    piece.lit("arcade stone", (0.95, 0.92, 0.90), "arcade warm", "arcade cold",
              recipe=TEXTURED_LIGHT, surface=[("textures", "stone")], rim_colour=times(STONE, 0.6))
    piece.lit("arcade floor", times(WHITE, 0.9), "arcade warm", recipe=TEXTURED_LIGHT,
              surface=[("textures", "bricks")])
    piece.wear("arcade wire", WIREFRAME, GOLD, alpha=BEAT_PULSE * 0.5, extra=1.5)
    piece.wear("gate", BITMAP, tinted(BEAT_PULSE * 0.2 + 0.8, WHITE), ("bitmaps", "portal"))
    scene = document.scene("arcade")
    bays = piece.row_of(12.0, (0.0, 0.0, -4.0))
    piece.put(scene, "arcade", "arcade stone", manipulators=[bays])
    scene.add("floor", "arcade floor", position=(0.0, -0.25, -22.0), scale=(10.0, 1.0, 26.0))
    scene.add("arcade", "arcade wire", position=(0.0, 0.0, -8.0),
              manipulators=[piece.row_of(4.0, (0.0, 0.0, -12.0))])
    gate = document.scene("gate")
    gate.add("square", "gate", position=(0.0, 2.75, -48.0), scale=(9.6, -6.0, 1.0))
    fog = (6.0, 40.0, "night")
    document.clip(SKY, 1600, 2000, "arcade", path(
        [(0, (0.0, 1.2, 4.0), (0.0, 3.0, -10.0)), (200, (0.5, 1.6, -4.5), (0.0, 3.2, -18.0)),
         (400, (-0.4, 2.4, -13.0), (0.0, 4.0, -28.0))], 62.0), fog=fog)
    document.clip(SKY, 2000, 2200, "arcade", path(
        [(0, (8.5, 1.0, 0.0), (0.0, 4.0, -9.0)), (200, (7.6, 1.8, -4.0), (0.0, 4.0, -13.0))],
        55.0).later(400), offset=400, fog=fog)
    last = path([(0, (0.0, 1.3, -17.0), (0.0, 3.4, -48.0)), (120, (0.0, 1.9, -31.0), (0.0, 2.9, -48.0)),
                 (200, (0.0, 2.6, -44.6), (0.0, 2.75, -48.0))],
                spline([(0, 58.0), (120, 62.0), (200, 72.0)]))
    document.clip(SKY, 2200, 2400, "arcade", last.later(600), offset=600, fog=fog)
    document.clip(STAGE, 2200, 2400, "gate", last, LINK, fog=(14.0, 60.0, "night"))
    document.clip(TARGET, 2200, 2400, "machine",
                  still((-2.6, -1.0, 3.4), (0.6, 0.4, 0.0), 56.0), TEXTURE_WIDE,
                  fog=(4.0, 13.0, "night"), target="portal")


GEARS = [  # radius, x, y, direction and start in degrees
    (2.0, 0.0, 0.0, 1.0, 0.0), (1.0, 2.86, 0.30, -2.0, 7.0), (1.4, -3.0, 1.1, -1.43, 3.0),
    (1.0, 1.2, 2.65, -2.0, 2.0), (1.4, 4.6, -1.35, 1.43, 11.0), (1.0, -1.1, -2.68, -2.0, 5.0),
]


def add_machine(piece):
    """24 to 30 s: wheels, one stroke on each beat."""
    document = piece.document
    turns = ease_in(0.0, 15.0, 12)
    for k in range(1, 8):
        turns = turns.then(hold(15.0 * k, 38)).then(ease_in(0.0, 15.0, 12) + 15.0 * k)
    turns = turns.then(hold(120.0, 38)).looped()
    piece.light("machine warm", tinted(BEAT_PULSE * 0.7 + 0.8, (1.0, 0.62, 0.32)), (3.0, 3.5, 3.0))
    piece.light("machine cold", times(BLUE, 1.0), (-6.0, -3.0, -2.0))
    piece.lit("brass", WHITE, "machine warm", "machine cold", recipe=BITMAP_MIRROR_LIGHT,
              surface=[("bitmaps", "room")], extra=1.0, rim_colour=times(STEEL, 0.6))
    piece.lit("iron", times(STEEL, 1.7), "machine warm", "machine cold", recipe=TEXTURED_LIGHT,
              surface=[("textures", "brushed")], rim_colour=times(STEEL, 0.8))
    piece.wear("machine wire", WIREFRAME, GOLD, alpha=BEAT_PULSE * 0.5, extra=1.2)
    piece.wear("machine wall", TEXTURED, (0.26, 0.22, 0.22), ("textures", "panels"))
    scene = document.scene("machine")
    scene.add("floor", "machine wall", position=(0.0, 0.0, -8.0), rotation=(90.0, 0.0, 0.0),
              scale=(14.0, 1.0, 14.0))
    layers = [piece.row_of(2.0, (0.9, -0.6, -2.6), (0.0, 0.0, 9.0))]
    for k, (radius, x, y, ratio, start) in enumerate(GEARS):
        metal = "brass" if k % 2 == 0 else "iron"
        placement = {"position": (x, y, 0.0), "rotation": (0.0, 0.0, turns * ratio + start),
                     "scale": (radius, radius, 1.6)}
        scene.add("gear", metal, manipulators=layers, **placement)
        scene.add("gear", metal + " rim", **placement)
    scene.add("gear", "machine wire", rotation=(0.0, 0.0, turns), scale=(2.02, 2.02, 1.75))
    fog = (4.0, 17.0, "night")
    document.clip(SKY, 2400, 2600, "machine", path(
        [(0, (-2.6, -1.0, 3.4), (0.6, 0.4, 0.0)), (200, (-1.2, -0.2, 3.8), (0.8, 0.3, 0.0))], 56.0),
        fog=fog)
    document.clip(SKY, 2600, 2800, "machine", path(
        [(0, (5.2, 2.6, 3.2), (1.4, 0.2, -1.0)), (200, (4.2, 3.2, 4.2), (1.0, 0.2, -1.0))],
        50.0).later(200), offset=200, fog=fog)
    document.clip(SKY, 2800, 3000, "machine", path(
        [(0, (0.2, 0.1, 2.2), (0.0, 0.0, 0.0)), (200, (0.4, 0.5, 8.4), (0.4, 0.2, 0.0))], 60.0,
        roll=spline([(0, 0.0), (100, 12.0), (200, 40.0)])).later(400), offset=400, fog=fog)


def add_roll(piece):
    """30 to 32 s: one picture a beat, closing in."""
    document = piece.document
    shots = [("machine", still((0.9, 1.2, 1.7), (0.2, 0.2, 0.0), line(60.0, 44.0, BEAT)), 600),
             ("thread", still((0.5, -1.3, 1.3), (0.0, 0.3, 0.0), line(60.0, 44.0, BEAT)), 100),
             ("arcade", still((0.0, 0.4, -2.0), (0.0, 5.4, -9.0), line(74.0, 50.0, BEAT)), 500),
             ("void", still((0.0, 0.0, 2.6), (0.0, 0.0, 0.0), line(60.0, 22.0, BEAT)), 740)]
    for k, (scene, camera, offset) in enumerate(shots):
        document.clip(SKY, 3000 + k * BEAT, 3050 + k * BEAT, scene, camera.later(offset),
                      offset=offset, fog=(3.0, 22.0, "night"))


def add_hero(piece):
    """32 to 40 s: the blossom within its hoops."""
    document = piece.document
    piece.light("hero warm", tinted(BEAT_PULSE * 0.5 + 0.9, (1.0, 0.58, 0.26)),
                (wave(0.0, 5.0, 400), 2.5, wave(0.0, 5.0, 400, 0.25)))
    piece.light("hero cold", times(BLUE, 1.2), (-6.0, -4.0, -5.0))
    piece.wear("blossom", MIRROR, (0.85, 0.58, 0.42), ("textures", "gilt"))
    piece.wear("blossom coat", ADD_BITMAP_MIRROR, tinted(BEAT_PULSE * 0.5 + 0.3, (1.0, 0.72, 0.46)),
               ("bitmaps", "room"), extra=1.0)
    piece.lit("hoop", WHITE, "hero warm", "hero cold", recipe=MIRROR_LIGHT,
              surface=[("textures", "gilt")], rim_colour=times(BONE, 0.5))
    piece.lit("shard", (0.44, 0.42, 0.48), "hero warm")
    piece.wear("hero glow", ADD_TEXTURE_ON_TOP, tinted(BEAT_PULSE * 0.4 + 0.5, times(EMBER, 0.8)),
               ("textures", "halo"))
    plasma = document.effect("plasma", 1, 128, 24, [line(20.0, 60.0, 800)])
    piece.wear("hero air", EFFECT, (0.24, 0.12, 0.10), ("effects", plasma))
    document.scene("hero air").add("square", "hero air", position=(0.5, 0.5, FAR))

    scene = document.scene("hero")
    turn = (line(0.0, 40.0, 800), line(0.0, 200.0, 800), 0.0)
    size = BEAT_PULSE * 0.10 + 1.15
    bend = [piece.rippled(line(0.0, 25.0, 800), BEAT_PULSE * 0.05 + 0.03, 7.0)]
    for material in ("blossom", "blossom coat"):
        scene.add("blossom", material, rotation=turn, scale=(size, size, size), manipulators=bend)
    piece.put(scene, "ring", "hoop", rotation=(line(0.0, 360.0, 800), 20.0, line(0.0, 90.0, 800)),
              scale=2.05, manipulators=[piece.row_of(5.0, rotation=(36.0, 0.0, 24.0),
                                                     scale=(0.12, 0.12, 0.12))])
    for y, tilt in ((6.5, 1.0), (-8.5, -1.0)):
        shards = piece.grid_of((9.0, 2.0, 9.0), (3.4, 2.6 * tilt, 3.4), (50.0, 40.0, 70.0))
        scene.add("shard", "shard", position=(-13.6, y, -13.6),
                  rotation=(20.0, line(0.0, 90.0 * tilt, 800), 0.0), scale=(0.7, 1.5, 0.7),
                  manipulators=[shards])
    shots = [
        (0, 200, path([(0, (0.0, 0.4, 3.4), (0.0, 0.0, 0.0)), (200, (2.4, 1.4, 6.6), (0.0, 0.0, 0.0))],
                      52.0)),
        (200, 400, path([(0, (-4.4, 3.4, 3.4), (0.0, 0.0, 0.0)),
                         (200, (-5.4, 1.0, 1.4), (0.0, 0.0, 0.0))], 50.0)),
        (400, 800, path([(0, (6.0, -1.6, 4.8), (0.0, 0.2, 0.0)), (140, (4.0, -1.0, 6.4), (0.0, 0.2, 0.0)),
                         (400, (-2.4, 1.8, 8.2), (0.0, 0.0, 0.0))],
                        spline([(0, 46.0), (300, 50.0), (400, 58.0)]))),
    ]
    for k, (start, end, camera) in enumerate(shots):
        glow = piece.glow("hero glow %d" % (k + 1), camera, end - start, "hero glow", 10.0)
        document.clip(SKY, 3200 + start, 3200 + end, "hero air", FLAT, offset=start)
        document.clip(STAGE, 3200 + start, 3200 + end, glow, camera, LINK)
        document.clip(FRONT, 3200 + start, 3200 + end, "hero", camera.later(start), CLEAR_DEPTH,
                      start, (7.0, 34.0, "night"))


def add_city(piece):
    """40 to 48 s: over the masts at night, the ground overgrown with lights."""
    document = piece.document
    sweep = wave(0.0, 22.0, 400)
    piece.light("city warm", tinted(BEAT_PULSE * 0.5 + 0.9, EMBER),
                (sweep, 1.2, wave(-18.0, 12.0, 400, 0.25)))
    piece.light("city cold", times(BLUE, 2.2), (-30.0, 26.0, -40.0), ambient=(0.02, 0.04, 0.10))
    piece.lit("mast", times(STEEL, 1.3), "city warm", "city cold")
    lights = document.effect("lights", 2, 128, 8, [line(0.0, 80.0, 800)])
    piece.wear("ground", EFFECT, tinted(BEAT_PULSE * 0.3 + 0.5, (0.9, 0.38, 0.10)),
               ("effects", lights))
    piece.wear("beacon", ADD_BITMAP, tinted(BEAT_PULSE * 0.7 + 0.3, EMBER), ("bitmaps", "glow"))
    piece.wear("city sky", BITMAP, WHITE, ("bitmaps", "night"))
    piece.wear("moon", BITMAP_PAIR, (1.0, 0.96, 0.90), ("bitmaps", "marble"),
               ("bitmaps", "moonlight"))
    piece.wear("dusk haze", COLOUR, (0.050, 0.056, 0.105))
    sky = document.scene("city sky")
    sky.add("dome", "city sky", rotation=(0.0, 40.0, 0.0), scale=40.0)
    sky.add("dust", "dust", scale=6.0, rotation=(0.0, 0.0, 70.0))
    sky.add("ember", "moon", position=(0.30, 0.36, -0.80), scale=0.11,
            rotation=(0.0, -20.0, 0.0))
    scene = document.scene("city")
    scene.add("floor", "ground", position=(0.0, 0.0, -20.0), scale=(44.0, 1.0, 44.0))
    masts = piece.grid_of((7.0, 1.0, 6.0), (6.0, 0.0, -8.0))
    piece.put(scene, "tower", "mast", position=(-18.0, 0.0, 4.0), rotation=(0.0, 24.0, 0.0),
              scale=(1.1, 1.0, 1.1), manipulators=[masts])
    shots = [(4000, 4400, path(
        [(0, (-14.0, 12.0, 22.0), (-2.0, 4.5, -10.0)), (220, (-4.0, 9.0, 9.0), (2.0, 5.0, -20.0)),
         (400, (4.0, 5.0, -2.0), (4.0, 6.0, -30.0))], 54.0,
        roll=spline([(0, -6.0), (200, 0.0), (400, 7.0)])), 0),
             (4400, 4600, path([(0, (3.0, 0.8, 2.0), (0.6, 9.0, -8.0)),
                                (200, (2.6, 1.0, -2.0), (0.0, 8.0, -14.0))], 66.0), 400),
             (4600, 4800, path([(0, (11.0, 13.0, -44.0), (0.0, 5.0, -18.0)),
                                (200, (-9.0, 15.0, -46.0), (0.0, 5.0, -18.0))],
                               spline([(0, 60.0), (150, 54.0), (200, 40.0)])), 600)]
    for k, (start, end, camera, offset) in enumerate(shots):
        glow = document.scene("beacons %d" % (k + 1))
        glow.add("square", "beacon", position=(-18.0, 9.4, 4.0), scale=(1.7, 1.7, 1.0),
                 rotation=facing(camera, end - start), manipulators=[masts])
        piece.backdrop(start, end, "city sky", camera)
        document.clip(STAGE, start, end, "city", camera.later(offset), CLEAR_DEPTH, offset,
                      (8.0, 66.0, "dusk haze"))
        document.clip(GLOW, start, end, "beacons %d" % (k + 1), camera, LINK)


def add_stair(piece):
    """48 to 56 s: up a winding stair, slowly; two lines of text."""
    document = piece.document
    climb = line(2.0, 12.0, 800)
    piece.light("stair warm", tinted(BAR_PULSE * 0.5 + 0.85, EMBER), (0.0, climb, 0.0))
    piece.light("stair cold", times(BLUE, 1.2), (-9.0, 16.0, 9.0))
    piece.lit("tread", WHITE, "stair warm", "stair cold", recipe=BITMAP_LIGHT,
              surface=[("bitmaps", "marble")], rim_colour=times(BONE, 0.7))
    piece.wear("stair wire", WIREFRAME, GOLD, alpha=BAR_PULSE * 0.4 + 0.15, extra=1.0)
    piece.wear("stair core", TEXTURED, (1.0, 0.86, 0.70), ("textures", "lava"))
    piece.wear("stair glow", ADD_TEXTURE_ON_TOP, tinted(BAR_PULSE * 0.3 + 0.5, EMBER),
               ("textures", "halo"))
    piece.wear("line", COLOUR_ON_TOP, CREAM,
               alpha=line(0.0, 0.9, 40).then(hold(0.9, 260)).then(line(0.9, 0.0, 60)).then(hold(0.0)))
    scene = document.scene("stair")
    steps_up = piece.row_of(84.0, (0.0, 0.2, 0.0), (0.0, 15.0, 0.0))
    piece.put(scene, "tread", "tread", rotation=(0.0, line(0.0, -60.0, 800), 0.0),
              manipulators=[steps_up])
    scene.add("tread", "stair wire", rotation=(0.0, line(180.0, 240.0, 800), 0.0),
              scale=(1.7, 1.0, 1.7), manipulators=[steps_up])
    scene.add("ember", "stair core", position=(0.0, climb, 0.0), scale=0.22)
    fog = (5.0, 17.0, "night")
    first = path([(0, (6.4, 1.0, 4.2), (0.0, 3.4, 0.0)), (150, (2.6, 2.9, 7.0), (0.0, 4.0, 0.0)),
                  (400, (-5.8, 5.6, 5.2), (0.0, 6.2, 0.0))], 52.0)
    second = path([(0, (1.5, 17.6, 1.3), (0.0, 7.0, 0.0)), (400, (-1.8, 19.6, 1.1), (0.0, 8.0, 0.0))],
                  spline([(0, 66.0), (200, 60.0), (400, 52.0)]), roll=line(0.0, 23.0, 400))
    for k, (start, camera, offset) in enumerate(((4800, first, 0), (5200, second, 400))):
        glow = document.scene("stair glow %d" % (k + 1))
        glow.add("square", "stair glow", position=(0.0, line(2.0 + 5.0 * k, 7.0 + 5.0 * k, 400), 0.0),
                 rotation=facing(camera, 400), scale=4.4)
        piece.backdrop(start, start + 400, "nebula", camera, offset)
        document.clip(STAGE, start, start + 400, "stair", camera.later(offset), CLEAR_DEPTH, offset,
                      fog)
        document.clip(GLOW, start, start + 400, "stair glow %d" % (k + 1), camera, LINK)
    for start, words in ((4840, "words_no_shaders"), (5240, "words_only_light")):
        text = document.scene(words)
        text.add(words, "line", position=(0.0, -5.1, 0.0),
                 scale=(line(0.66, 0.72, 360), 0.7, 1.0))
        document.clip(TEXT, start, start + 360, words, still((0.0, 0.0, 18.0), (0.0, 0.0, 0.0), 45.0),
                      CLEAR_DEPTH)


def add_heart(piece):
    """56 to 64 s: within the shell; its heart beats, and races."""
    document = piece.document
    beat = HEART * 0.9 + 0.35
    racing = BEAT_PULSE * 0.8 + 0.5
    piece.light("heart inside", tinted(beat, times(EMBER, 1.5)), (0.0, 0.0, 0.0))
    piece.light("heart racing", tinted(racing, times(EMBER, 1.9)), (0.0, 0.0, 0.0))
    piece.light("heart moon", (0.85, 0.92, 1.0), (-6.0, 6.0, 7.0))
    piece.lit("heart shell", times(STEEL, 0.9), "heart inside", "heart moon",
              rim_colour=times(STEEL, 0.3))
    piece.lit("racing shell", times(STEEL, 1.0), "heart racing", "heart moon", bumps=True,
              rim_colour=(0.46, 0.54, 0.70))
    churn = document.effect("churn", 3, 64, 8, [line(90.0, 98.0, 400)])
    piece.wear("heart ember", EFFECT, tinted(beat * 0.9 + 0.25, (1.0, 0.52, 0.20)),
               ("effects", churn))
    piece.wear("racing ember", TEXTURED, tinted(racing * 0.6 + 0.4, (1.0, 0.86, 0.70)),
               ("textures", "lava"))
    piece.wear("heart glow", ADD_TEXTURE_ON_TOP, tinted(beat, times(EMBER, 0.8)),
               ("textures", "halo"))
    piece.wear("racing glow", ADD_TEXTURE_ON_TOP, tinted(racing, times(EMBER, 0.9)),
               ("textures", "halo"))
    piece.wear("racing flare", ALPHA_BITMAP_ON_TOP, WHITE, ("bitmaps", "flare"))
    piece.wear("smoke", ALPHA_BITMAP, tinted(beat, (0.34, 0.17, 0.10)), ("bitmaps", "cloud"))
    calm = (line(0.0, 18.0, 400), line(0.0, 40.0, 400), 0.0)
    wild = (ease_in(18.0, 120.0, 400), ease_in(40.0, 560.0, 400), 0.0)
    size = HEART * 0.05 + 0.46
    for name, turn in (("heart", calm), ("racing", wild)):
        scene = document.scene(name)
        piece.put(scene, "shell", name + " shell", rotation=turn, scale=1.6)
        scene.add("ember", name + " ember", rotation=turn, scale=(size, size, size))
    inner = path([(0, (0.5, 0.1, 1.12), (-0.5, 0.0, -1.0)), (400, (0.95, 0.25, 0.75), (-0.7, 0.1, -1.0))],
                 72.0)
    glow = document.scene("heart glow")
    side = HEART * 0.6 + 3.4
    glow.add("square", "heart glow", rotation=facing(inner, 400), scale=(side, side, 1.0))
    smoke = document.scene("smoke")
    facing_inner = facing(inner, 400)
    for k, (x, y, z, drift, side) in enumerate(((-0.9, -0.5, -0.9, 0.5, 1.3), (0.1, 0.6, -1.1, -0.4, 1.5),
                                                (-0.7, 0.3, 0.2, 0.3, 0.9))):
        smoke.add("square", "smoke", position=(line(x, x + drift, 400), y, z),
                  rotation=facing_inner[:2] + (40.0 * k,), scale=side)
    piece.backdrop(5600, 6000, "nebula", inner)
    document.clip(STAGE, 5600, 6000, "heart", inner, CLEAR_DEPTH, fog=(4.0, 34.0, "night"))
    document.clip(FRONT, 5600, 6000, "smoke", inner, LINK)
    document.clip(GLOW, 5600, 6000, "heart glow", inner, LINK)
    outer = path([(0, (0.0, 0.4, 2.6), (0.0, 0.0, 0.0)), (200, (2.4, 1.2, 4.2), (0.0, 0.0, 0.0)),
                  (330, (1.6, 2.0, 9.0), (0.0, 0.0, 0.0)), (400, (-0.6, 0.6, 17.0), (0.0, 0.0, 0.0))],
                 spline([(0, 60.0), (200, 54.0), (340, 60.0), (400, 100.0)]))
    glow = document.scene("racing glow")
    side = ease_in(5.0, 15.0, 400)
    glow.add("square", "racing glow", rotation=facing(outer, 400), scale=(side, side, 1.0))
    side = ease_in(0.8, 9.0, 400)
    glow.add("square", "racing flare", rotation=facing(outer, 400), scale=(side, side, 1.0),
             visible=span(200, 9999))
    piece.backdrop(6000, 6400, "nebula", outer)
    document.clip(STAGE, 6000, 6400, "racing", outer, CLEAR_DEPTH, fog=(9.0, 44.0, "night"))
    document.clip(GLOW, 6000, 6400, "racing glow", outer, LINK)


def add_valley(piece):
    """64 to 72 s: down a valley towards the first light."""
    document = piece.document
    piece.light("dawn", (1.0, 0.46, 0.16), (0.0, -0.10, -0.72), ambient=(0.02, 0.04, 0.12))
    piece.light("valley sun", tinted(BEAT_PULSE * 0.3 + 1.1, EMBER), (0.0, 14.0, -170.0))
    piece.light("valley sky", times(BLUE, 1.1), (-20.0, 60.0, 30.0))
    piece.lit("dawn sky", times(STEEL, 0.8), "dawn")
    piece.lit("valley ground", (0.62, 0.55, 0.56), "valley sun", "valley sky",
              recipe=TEXTURED_LIGHT, surface=[("textures", "ground")],
              rim_colour=(0.20, 0.19, 0.22))
    piece.lit("valley stone", (0.80, 0.78, 0.86), "valley sun", "valley sky",
              recipe=BITMAP_MIRROR_LIGHT, surface=[("bitmaps", "room")], extra=1.0,
              rim_colour=(0.2, 0.2, 0.24))
    piece.wear("valley wire", WIREFRAME, EMBER, alpha=BEAT_PULSE * 0.22, extra=1.0)
    piece.wear("sun", ADD_TEXTURE_ON_TOP, tinted(BEAT_PULSE * 0.2 + 0.85, (1.0, 0.56, 0.24)),
               ("textures", "halo"))
    piece.wear("sun flare", ALPHA_BITMAP_ON_TOP, (1.0, 0.9, 0.8), ("bitmaps", "flare"))
    piece.wear("high cloud", ALPHA_BITMAP, (0.42, 0.20, 0.15), ("bitmaps", "cloud"))
    piece.wear("haze", COLOUR, (0.15, 0.075, 0.055))

    sky = document.scene("valley sky")
    sky.add("dome", "dawn sky")
    side = BEAT_PULSE * 0.06 + 1.5
    sky.add("square", "sun", position=(0.0, 0.05, -0.9), scale=(side, side, 1.0))
    for x, y, width, drift in ((-0.30, 0.13, 0.62, 0.04), (0.25, 0.17, 0.70, 0.03),
                               (0.03, 0.24, 0.80, 0.05), (-0.16, 0.085, 0.46, 0.02)):
        sky.add("square", "high cloud", position=(line(x, x + drift, 800), y, -0.45),
                scale=(width, 0.075, 1.0))
    flare = document.scene("sun flare")
    flare.add("square", "sun flare", position=(0.0, 0.05, -0.9), scale=(0.9, 0.9, 1.0))
    scene = document.scene("valley")
    strips = piece.row_of(5.0, (0.0, 0.0, -32.0))
    piece.put(scene, "terrain", "valley ground", position=(0.0, 0.0, 32.0), scale=(1.0, 1.6, 1.0),
              manipulators=[strips])
    scene.add("terrain", "valley wire", position=(0.0, 0.03, 32.0), scale=(1.0, 1.6, 1.0),
              manipulators=[piece.row_of(3.0, (0.0, 0.0, -32.0))])
    for x, lean in ((-4.2, 8.0), (4.2, -8.0)):
        piece.put(scene, "crystal", "valley stone", position=(x, 1.6, 12.0),
                  rotation=(0.0, line(0.0, 120.0, 800), lean), scale=(0.8, 2.6, 0.8),
                  manipulators=[piece.row_of(11.0, (0.0, 0.0, -13.0), (0.0, 33.0, 0.0))])
    shots = [(6400, 6800, path([(0, (0.0, 1.6, 24.0), (0.0, 2.4, -20.0)),
                                (200, (1.6, 2.6, 4.0), (0.0, 3.0, -40.0)),
                                (400, (-1.4, 2.0, -18.0), (0.0, 3.4, -80.0))], 58.0,
                               roll=spline([(0, 0.0), (110, -5.0), (260, 6.0), (400, 0.0)])), 0),
             (6800, 7200, path([(0, (-14.0, 9.0, -8.0), (0.0, 3.0, -40.0)),
                                (250, (-4.0, 5.0, -28.0), (0.0, 4.0, -70.0)),
                                (400, (0.0, 3.2, -46.0), (0.0, 6.0, -110.0))],
                               spline([(0, 52.0), (250, 58.0), (400, 74.0)])), 400)]
    for start, end, camera, offset in shots:
        piece.backdrop(start, end, "valley sky", camera, offset)
        document.clip(FRONT, start, end, "valley", camera.later(offset), CLEAR_DEPTH, offset,
                      (18.0, 130.0, "haze"))
    piece.backdrop(6800, 7200, "sun flare", shots[1][2], row=GLOW, kind=LINK)


def add_summit(piece):
    """72 to 80 s: at the height of the melody, the knot: among its own trails, above a swell."""
    document = piece.document
    piece.light("summit warm", tinted(BEAT_PULSE * 0.6 + 1.0, GOLD),
                (wave(0.0, 7.0, 400), wave(3.0, 3.0, 267), wave(3.0, 7.0, 400, 0.25)),
                ambient=(0.10, 0.08, 0.06))
    piece.light("summit cold", times(BLUE, 1.3), (5.0, -7.0, -6.0))
    piece.lit("summit knot", WHITE, "summit warm", "summit cold", recipe=MIRROR_LIGHT,
              surface=[("textures", "gilt")], rim_colour=(0.22, 0.2, 0.18))
    piece.lit("summit hoop", WHITE, "summit warm", "summit cold", recipe=BITMAP_MIRROR_LIGHT,
              surface=[("bitmaps", "room")], extra=1.0, rim_colour=times(BONE, 0.5))
    piece.wear("summit shard", BITMAP_MIRROR, tinted(BEAT_PULSE * 0.5 + 0.75, (1.0, 0.86, 0.70)),
               ("bitmaps", "room"), extra=1.0)
    piece.wear("trail", COLOUR_ON_TOP, tinted(BEAT_PULSE * 0.95 + 0.08, (1.0, 0.46, 0.14)))
    piece.wear("trail before", BITMAP_CLAMPED, tinted(line(0.0, 0.94, 30).then(hold(0.94)),
                                                      (1.0, 0.97, 0.95)), ("bitmaps", "feedback"))
    piece.wear("trails", BITMAP_CLAMPED, (0.9, 0.9, 0.9), ("bitmaps", "feedback"))
    piece.wear("summit glow", ADD_TEXTURE_ON_TOP, tinted(BEAT_PULSE * 0.4 + 0.5, times(GOLD, 0.7)),
               ("textures", "halo"))

    # What was drawn before, a little larger, and on it where the hoops are now.
    before = document.scene("trail before")
    before.add("square", "trail before", position=(0.5, 0.5, FAR), scale=(1.05, 1.05, 1.0))
    trail = document.scene("trail")
    rings = piece.row_of(4.0, rotation=(45.0, 0.0, 30.0), scale=(0.18,) * 3)
    spin = (line(0.0, -300.0, 800), 0.0, 40.0)
    trail.add("ring", "trail", rotation=spin, scale=3.2, manipulators=[rings])
    trails = document.scene("trails")
    trails.add("square", "trails", position=(0.5, 0.5, FAR))

    scene = document.scene("summit")
    turn = (line(0.0, 90.0, 800), line(0.0, 360.0, 800), line(0.0, 50.0, 800))
    piece.put(scene, "knot", "summit knot", rotation=turn, scale=1.5)
    piece.put(scene, "ring", "summit hoop", rotation=spin, scale=3.2, manipulators=[rings])
    shots = [(0, 200, path([(0, (0.4, 0.0, 4.4), (0.0, 0.0, 0.0)), (200, (3.4, 2.6, 7.0), (0.0, 0.0, 0.0))],
                           56.0)),
             (200, 400, path([(0, (-9.8, 1.0, 6.0), (0.0, 0.0, 0.0)), (200, (-8.0, 3.0, 2.0), (0.0, 0.0, 0.0))],
                             48.0))]
    for k, (start, end, camera) in enumerate(shots):
        glow = piece.glow("summit glow %d" % (k + 1), camera, end - start, "summit glow", 13.0)
        document.clip(TARGET, 7200 + start, 7200 + end, "trail before", FLAT, TEXTURE, start,
                      target="feedback")
        document.clip(TARGET_FRONT, 7200 + start, 7200 + end, "trail", camera.later(start), LINK,
                      start)
        document.clip(SKY, 7200 + start, 7200 + end, "trails", FLAT)
        document.clip(STAGE, 7200 + start, 7200 + end, glow, camera, LINK)
        document.clip(FRONT, 7200 + start, 7200 + end, "summit", camera.later(start), CLEAR_DEPTH,
                      start, (6.0, 28.0, "night"))

    # A crystal on each point of a swell.
    swell = document.mesh("swell", 1, line(0.0, 25.0, 400))
    field = document.scene("field")
    field.add("shard", "summit shard", rotation=(0.0, line(0.0, 90.0, 400), 0.0),
              scale=(0.30, 0.62, 0.30),
              manipulators=[piece.placed_on(1, swell, (-18.0, -4.2, -18.0), scale=(1.2, 1.3, 1.2))])
    turn = (line(45.0, 90.0, 400), line(180.0, 360.0, 400), line(25.0, 50.0, 400))
    piece.put(field, "knot", "summit knot", rotation=turn, scale=1.5)
    piece.put(field, "ring", "summit hoop", rotation=(line(-150.0, -300.0, 400), 0.0, 40.0),
              scale=3.2, manipulators=[rings])
    camera = path([(0, (2.4, -0.6, 15.0), (0.0, -0.6, 0.0)), (180, (6.6, 2.6, 9.0), (0.0, -0.6, 0.0)),
                   (400, (-3.6, 5.4, 6.4), (0.0, -0.8, 0.0))],
                  spline([(0, 52.0), (280, 56.0), (400, 70.0)]), roll=line(6.0, -8.0, 400))
    piece.backdrop(7600, 8000, "nebula", camera)
    document.clip(STAGE, 7600, 8000, piece.glow("field glow", camera, 400, "summit glow", 13.0), camera,
                  LINK)
    document.clip(FRONT, 7600, 8000, "field", camera, CLEAR_DEPTH, fog=(8.0, 34.0, "night"))


def add_montage(piece):
    """80 to 88 s: all of it once more; two pictures a bar, then one a beat."""
    document = piece.document
    fog = (5.0, 40.0, "night")
    shots = [(8000, 8100, "arcade", still((0.0, 1.0, 0.0), (0.0, 3.4, -12.0), 70.0), 800),
             (8100, 8200, "machine", still((-3.4, 1.8, 4.4), (0.5, 0.0, -1.0), 52.0), 500),
             (8200, 8300, "city", still((-9.2, 2.0, 9.0), (-2.0, 7.0, -10.0), 62.0), 700),
             (8300, 8400, "stair", still((4.4, 6.0, 4.4), (0.0, 8.0, 0.0), 56.0), 500),
             (8400, 8500, "hero", still((1.6, -2.4, 5.0), (0.0, 0.0, 0.0), 54.0), 300),
             (8500, 8600, "field", still((-4.0, 3.6, 7.6), (0.0, -0.8, 0.0), 60.0), 300),
             (8600, 8650, "thread", still((0.8, 1.2, 2.4), (0.0, 0.0, 0.0), 56.0), 300),
             (8650, 8700, "machine", still((1.6, 2.6, 2.2), (0.4, 0.6, 0.0), 60.0), 700),
             (8700, 8750, "arcade", still((0.0, 7.0, -4.0), (0.0, 1.0, -14.0), 70.0), 900),
             (8750, 8800, "racing", still((0.3, 0.2, 3.0), (0.0, 0.0, 0.0), 60.0), 300)]
    for start, end, scene, camera, offset in shots:
        closing = Camera(camera.position, camera.rotation,
                         line(camera.fov + 3.0, camera.fov - 5.0, end - start))
        piece.backdrop(start, end, "nebula", closing)
        document.clip(STAGE, start, end, scene, closing.later(offset), CLEAR_DEPTH, offset, fog)


def add_ending(piece):
    """88 to 96 s: dawn over still water; of the title only its end stays."""
    document = piece.document
    warm = spline([(0, 0.06), (250, 0.16), (430, 1.0), (800, 1.1)])
    day_knots = [(0, 0.0), (200, 0.06), (420, 0.66), (620, 0.84), (800, 0.86)]
    day = spline(day_knots)
    piece.light("last front", tinted(warm, times(CREAM, 0.42)), (0.0, 3.0, 9.0),
                ambient=(0.10, 0.08, 0.06))
    piece.light("last sun", tinted(warm, GOLD), (0.0, 2.2, -3.0))
    piece.light("last sky", tinted(warm * 0.52 + 0.08, (1.0, 0.78, 0.60)), (0.0, 30.0, -40.0))
    fading = hold(1.0, 440).then(line(1.0, 0.0, 90)).then(hold(0.0))
    for name, alpha, light in (("vale", 1.0, GILT), ("quor", fading, tinted(fading, GILT))):
        piece.lit(name, GILT, "last front", "last sun", alpha=alpha,
                  rim_colour=tuple(channel * 0.3 for channel in light))
        piece.wear(name + " sheen", ADD_MIRROR, tuple(channel * 0.22 for channel in light),
                   ("textures", "sheen"))
    rest = day * -1.0 + 1.0
    piece.wear("last night", BITMAP, tinted(rest, WHITE), ("bitmaps", "night"))
    piece.wear("last stars", COLOUR, tinted(rest, (0.62, 0.70, 0.88)))
    piece.wear("last dawn", FADE_PAIR, tinted(day, WHITE), ("bitmaps", "night"), ("bitmaps", "dawn"))
    piece.lit("last lake", turning(day_knots, (0.10, 0.15, 0.30), (0.76, 0.60, 0.52)), "last sky", recipe=MIRROR_LIGHT,
              surface=[("textures", "water")], alpha=0.80)
    piece.wear("last glow", ADD_TEXTURE_ON_TOP, tinted(warm, times(EMBER, 0.36)),
               ("textures", "halo"))
    piece.wear("warm haze", COLOUR, tinted(warm, (0.50, 0.30, 0.18)))
    sky = document.scene("last sky")
    sky.add("dome", "last night", rotation=(0.0, 45.0, 0.0), scale=1.01)
    sky.add("dust", "last stars", scale=6.0, rotation=(0.0, 0.0, 20.0))
    sky.add("dome", "last dawn", rotation=(0.0, 45.0, 0.0))
    rise = spline([(0, -0.16), (240, -0.10), (420, -0.02), (800, 0.05)])
    side = spline([(0, 0.8), (400, 1.3), (800, 1.7)])
    sky.add("square", "last glow", position=(0.0, rise, -0.9), scale=(side, side, 1.0))
    scene = document.scene("last")
    letters = [("letter_" + letter.lower(), "vale" if k >= 4 else "quor",
                None if k >= 4 else span(0, 530), x)
               for k, (letter, x) in enumerate(title_places())]
    for model, material, visible, x in letters:  # in the water
        piece.put(scene, model, material, position=(x, -1.46, 0.0), scale=(1.0, -1.0, 1.0),
                  visible=visible)
    lake = document.mesh("lake", 0, line(0.0, 72.0, 800))
    piece.put(scene, "lake", "last lake", position=(-43.5, -0.9, -72.0), scale=(3.0, 0.9, 3.0),
              kind=1)
    for model, material, visible, x in letters:
        piece.put(scene, model, material, position=(x, -0.34, 0.0), visible=visible)
        scene.add(model, material + " sheen", position=(x, -0.34, 0.0), visible=visible)
    camera = path([(0, (0.0, 0.9, 13.0), (0.0, 0.3, 0.0)), (420, (0.0, 0.6, 10.8), (0.0, 0.2, 0.0)),
                   (800, (1.6, 0.4, 9.2), (1.3, 0.2, 0.0))], 46.0)
    piece.bloom(8800, END, "last", camera, fog=(9.0, 24.0, "darkness"))
    piece.backdrop(8800, END, "last sky", camera)
    document.clip(STAGE, 8800, END, "last", camera, CLEAR_DEPTH, fog=(16.0, 80.0, "warm haze"))


def add_overlays(piece):
    """The bloom's light, dark corners, bars, flashes on the crashes, fades from and to black."""
    document = piece.document
    bloom = document.scene("bloom")
    piece.wear("bloom light", ADD_BITMAP, (0.21, 0.185, 0.16), ("bitmaps", "bloom"))
    for dx, dy in ((0.005, 0.007), (-0.005, 0.007), (-0.005, -0.007), (0.005, -0.007)):
        bloom.add("square", "bloom light", position=(0.5 + dx, 0.5 + dy, 0.9))

    piece.wear("corners", ALPHA_BITMAP_ON_TOP, WHITE, ("bitmaps", "vignette"))
    document.scene("corners").add("square", "corners", position=(0.5, 0.5, 0.0))
    document.clip(LENS, 0, END, "corners", FLAT, LINK)

    bars = document.scene("bars")
    for y in (0.0, 1.0):
        bars.add("square", "black", position=(0.5, y, 0.0), scale=(1.0, 0.17, 1.0))
    opening = document.scene("bars open")
    for first, last in ((0.0, -0.1), (1.0, 1.1)):
        opening.add("square", "black", position=(0.5, ease_in(first, last, 100), 0.0),
                    scale=(1.0, 0.17, 1.0))
    closing = document.scene("bars close")
    for first, last in ((-0.1, 0.0), (1.1, 1.0)):
        closing.add("square", "black", position=(0.5, ease_out(first, last, 100), 0.0),
                    scale=(1.0, 0.17, 1.0))
    for start, end, scene in ((0, 1500, "bars"), (1500, 1600, "bars open"), (1600, 4700, None),
                              (4700, 4800, "bars close"), (4800, 6300, "bars"),
                              (6300, 6400, "bars open"), (6400, 8700, None),
                              (8700, 8800, "bars close"), (8800, END, "bars")):
        document.clip(BARS, start, end, scene, FLAT, LINK)

    piece.wear("flash", ADD_ON_TOP, tinted(ease_out(0.85, 0.0, 70), (1.0, 0.86, 0.66)))
    piece.wear("soft flash", ADD_ON_TOP, tinted(ease_out(0.5, 0.0, 110), (1.0, 0.62, 0.34)))
    piece.wear("white in", ADD_ON_TOP, tinted(ease_in(0.0, 1.0, 100), (0.9, 0.8, 0.66)))
    piece.wear("fade in", COLOUR_ON_TOP, (0.0, 0.0, 0.0), alpha=line(1.0, 0.0, 300))
    piece.wear("fade out", COLOUR_ON_TOP, (0.0, 0.0, 0.0),
               alpha=line(0.0, 1.0, 190).then(hold(1.0, 60)))
    for name in ("flash", "soft flash", "white in", "fade in", "fade out"):
        document.scene(name).add("square", name, position=(0.5, 0.5, 0.0))
    for start, name in ((1600, "flash"), (3200, "flash"), (4000, "soft flash"), (4800, "soft flash"),
                        (5600, "soft flash"), (6400, "flash"), (7200, "flash"),
                        (8000, "flash"), (8400, "soft flash"), (8800, "flash")):
        document.clip(FLASH, start, start + (70 if name == "flash" else 110), name, FLAT, LINK)
    for row, start, end, name in ((FADE, 0, 300, "fade in"), (FLASH, 1500, 1600, "white in"),
                                  (FLASH, 6300, 6400, "white in"), (FADE, 9360, END, "fade out")):
        document.clip(row, start, end, name, FLAT, LINK)


def make_demo():
    piece = Piece()
    add_void(piece)
    add_thread(piece)
    add_title(piece)
    add_machine(piece)
    add_arcade(piece)  # its gate shows the machine
    add_roll(piece)
    add_hero(piece)
    add_city(piece)
    add_stair(piece)
    add_heart(piece)
    add_valley(piece)
    add_summit(piece)
    add_montage(piece)
    add_ending(piece)
    add_overlays(piece)
    return piece.document


def main():
    folder = sys.argv[1] if len(sys.argv) > 1 else os.path.dirname(os.path.abspath(__file__))
    make_loading().write(os.path.join(folder, "loading.xml"))
    make_demo().write(os.path.join(folder, "demo.xml"))


if __name__ == "__main__":
    main()
