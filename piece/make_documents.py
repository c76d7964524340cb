#!/usr/bin/env python3
"""Writes the documents of the piece: loading.xml, and demo.xml, which plays for 96 seconds.

    make_documents.py [folder]      the folder defaults to that of this script

A beat of the music lasts 50 ticks, a bar 200. Cuts lie on bars, and on beats where the music rolls.
"""

import os
import sys

from document import (FLAT, Camera, Curve, Document, ease_in, ease_out, facing, hold, line, path,
                      ring_down, span, spline, steps, still, tinted, wave)
from make_models import LETTERS, LINES, MODELS, SPACING, TITLE

BEAT = 50
BAR = 200
END = 9600

SIMPLE, TEXTURE, LINK, CLEAR_DEPTH, TEXTURE_WIDE, TEXTURE_QUARTER = range(6)

# Recipes
COLOUR = 0
COLOUR_LIGHT = 1
ADD_LIGHT = 14  # bump mapping without its bitmaps: a second light, added
COLOUR_ON_TOP = 19
ADD_ON_TOP = 21
WIREFRAME = 23

# Rows: what is drawn later lies on top.
SKY, STAGE, FRONT, GLOW, TEXT, FLASH, BARS, FADE = range(8)

NIGHT = (0.010, 0.016, 0.034)
STEEL = (0.30, 0.36, 0.46)
STONE = (0.42, 0.42, 0.46)
BONE = (0.86, 0.82, 0.74)
BLUE = (0.16, 0.34, 0.74)
EMBER = (1.0, 0.42, 0.10)
GOLD = (1.0, 0.72, 0.30)
CREAM = (1.0, 0.90, 0.72)


def times(colour, factor):
    return tuple(channel * factor for channel in colour)


# A stroke on each beat, falling off until the next.
BEAT_PULSE = ease_out(1.0, 0.0, BEAT).looped()
HALF_PULSE = ease_out(1.0, 0.0, BEAT // 2).looped()
BAR_PULSE = ease_out(1.0, 0.0, BAR).looped()
HEART = (ease_out(1.0, 0.25, 14).then(ease_out(0.8, 0.0, 50)).then(hold(0.0, 36))).looped()


def make_loading():
    """A dial of 72 marks, lit one by one, about the ember; ticks 0 to 100."""
    document = Document("quorvale.xm")
    for name in ("square", "wedge", "halo", "ember"):
        document.model(name)
    for letter in TITLE:
        document.model("letter_" + letter.lower())

    document.light("inside", EMBER, (0.6, 0.9, 1.6), ambient=times(EMBER, 0.3))
    document.light("title", GOLD, (0.0, -2.0, 6.0))
    document.material("unlit", COLOUR_ON_TOP, times(BLUE, 0.35))
    document.material("lit", COLOUR_ON_TOP, GOLD)
    document.material("line", COLOUR_ON_TOP, EMBER)
    document.material("glow", ADD_ON_TOP, tinted(line(0.25, 1.0, 100), times(EMBER, 0.022)))
    document.material("core", COLOUR_LIGHT, tinted(line(0.5, 1.0, 100), EMBER),
                      refs=[("light", document.id("lights", "inside"))])
    document.material("letter", COLOUR_LIGHT, times(CREAM, 0.8),
                      refs=[("light", document.id("lights", "title"))])

    dial = document.scene("dial")
    dial.add("halo", "glow", scale=line(1.2, 1.9, 100))
    row = [0.0, 0.0, 0.0, 0.0, 0.0, -5.0, 0.0, 0.0, 0.0]
    dial.add("wedge", "unlit", manipulators=[document.manipulator(1, [72.0] + row)])
    dial.add("wedge", "lit", manipulators=[document.manipulator(1, [line(0.0, 72.0, 100)] + row)])
    dial.add("ember", "core", rotation=(10.0, line(0.0, 90.0, 100), 0.0),
             scale=line(0.16, 0.3, 100))

    title = document.scene("title")
    for letter, x in title_places():
        title.add("letter_" + letter.lower(), "letter", position=(x, 0.0, 0.0))

    bar = document.scene("bar")
    bar.add("square", "line", position=(line(0.3, 0.5, 100), 0.93, 0.0),
            scale=(line(0.0, 0.4, 100), 0.003, 1.0))

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
# The demo


class Piece:
    """The demo's document, and what its scenes share."""

    def __init__(self):
        self.document = Document("quorvale.xm")
        for name in MODELS:
            self.document.model(name)
        for letter in TITLE:
            self.document.model("letter_" + letter.lower())
        for name in LINES:
            self.document.model(name)
        self.document.material("night", COLOUR, NIGHT)
        self.document.material("black", COLOUR_ON_TOP, (0.0, 0.0, 0.0))

    def light(self, *arguments, **options):
        return self.document.light(*arguments, **options)

    def lit(self, name, colour, light, rim=None, alpha=1.0, rim_colour=None):
        """A lit material, and with `rim` one for a second light on the same object."""
        document = self.document
        document.material(name, COLOUR_LIGHT, colour, alpha,
                          refs=[("light", document.id("lights", light))])
        if rim is not None:
            document.material(name + " rim", ADD_LIGHT, rim_colour or times(colour, 0.8), 1.0,
                              refs=[("light", document.id("lights", rim)), ("texture", 0),
                                    ("texture", 0)])
        return name

    def put(self, scene, model, material, **placement):
        """An object, drawn a second time for its other light if its material has one."""
        scene.add(model, material, **placement)
        if material + " rim" in self.document.ids["materials"]:
            scene.add(model, material + " rim", **placement)

    def plain(self, name, recipe, colour, alpha=1.0, extra=None):
        return self.document.material(name, recipe, colour, alpha, extra)

    def row_of(self, count, position=(0.0, 0.0, 0.0), rotation=(0.0, 0.0, 0.0),
               scale=(0.0, 0.0, 0.0)):
        return self.document.manipulator(1, [count] + list(position) + list(rotation) + list(scale))

    def grid_of(self, counts, position, rotation=(0.0, 0.0, 0.0), scale=(0.0, 0.0, 0.0)):
        return self.document.manipulator(
            0, list(counts) + list(position) + list(rotation) + list(scale))


def add_void(piece):
    """0 to 8 s: an ember in its shell, far off in the dark."""
    document = piece.document
    breath = ease_in(0.3, 1.0, BAR).swinging()
    piece.light("void inside", tinted(breath, times(EMBER, 1.7)), (0.0, 0.0, 0.0))
    piece.light("void moon", times(BLUE, 0.9), (-9.0, 7.0, -6.0))
    piece.lit("void shell", times(STEEL, 0.9), "void inside", "void moon")
    piece.plain("void ember", COLOUR, tinted(breath, (1.0, 0.62, 0.26)))
    piece.plain("void glow", ADD_ON_TOP, tinted(breath, times(EMBER, 0.024)))
    piece.plain("dust", COLOUR, (0.62, 0.70, 0.88))

    camera = path([(0, (5.0, 3.0, 15.0), (0.0, 0.4, 0.0)), (260, (3.6, 1.8, 10.6), (0.0, 0.2, 0.0)),
                   (560, (0.6, 0.5, 6.4), (0.0, 0.0, 0.0)), (800, (-2.2, -0.3, 4.3), (0.0, 0.0, 0.0))],
                  48.0)
    dust = document.scene("dust")
    dust.add("dust", "dust", scale=40.0, rotation=(0.0, line(0.0, 9.0, 800), 12.0))
    scene = document.scene("void")
    turn = (line(0.0, 26.0, 800), line(0.0, 120.0, 800), 0.0)
    piece.put(scene, "shell", "void shell", rotation=turn, scale=1.6)
    scene.add("ember", "void ember", scale=0.52, rotation=turn)
    glow = document.scene("void glow")
    glow.add("halo", "void glow", rotation=facing(camera, 800), scale=wave(3.6, 0.35, BAR, 0.75))

    document.clip(SKY, 0, 800, "dust", camera)
    document.clip(STAGE, 0, 800, "void", camera, CLEAR_DEPTH, fog=(14.0, 60.0, "night"))
    document.clip(GLOW, 0, 800, "void glow", camera, LINK)


def add_thread(piece):
    """8 to 12 s: along the knot, lit by what passes."""
    document = piece.document
    run = wave(0.0, 2.4, 200)
    piece.light("thread warm", tinted(HALF_PULSE * 0.6 + 0.55, EMBER),
                (run, wave(0.0, 2.4, 200, 0.25), 1.4))
    piece.light("thread cold", times(BLUE, 1.0), (-3.0, -4.0, -5.0))
    piece.lit("thread", BONE, "thread warm", "thread cold")
    piece.plain("thread wire", WIREFRAME, GOLD, HALF_PULSE * 0.5, 1.0)
    scene = document.scene("thread")
    turn = (line(-20.0, 10.0, 400), line(0.0, 50.0, 400), 0.0)
    piece.put(scene, "knot", "thread", rotation=turn)
    scene.add("knot", "thread wire", rotation=turn, scale=1.012)
    scene.add("dust", "dust", scale=18.0, rotation=(0.0, 40.0, 0.0))
    document.clip(SKY, 800, 1000, "thread", path(
        [(0, (1.9, -1.0, 1.1), (0.5, 0.2, 0.0)), (200, (0.9, -1.5, 1.3), (0.0, 0.4, 0.0))], 52.0),
        fog=(1.2, 7.0, "night"))
    document.clip(SKY, 1000, 1200, "thread", path(
        [(0, (-0.6, 0.5, 3.6), (0.0, 0.0, 0.0)), (200, (0.2, 0.1, 4.6), (0.0, 0.0, 0.0))], 46.0),
        offset=200, fog=(3.0, 12.0, "night"))


def add_title(piece):
    """12 to 16 s: the title, a letter on each beat."""
    document = piece.document
    piece.light("title warm", times(GOLD, 1.3), (line(-3.0, 9.0, 400), 1.5, 6.0))
    piece.light("title cold", times(BLUE, 1.2), (2.0, -6.0, -3.0))
    piece.lit("title", CREAM, "title warm", "title cold")
    scene = document.scene("title")
    scene.add("dust", "dust", scale=26.0, rotation=(0.0, line(0.0, 6.0, 400), 0.0))
    # Each letter does the same a beat after the one before. Ahead of its beat its time lies before
    # 0, which counts as the far end of time: there the letter is hidden.
    swing = ring_down(0.0, 75.0, 55.0, 190).then(hold(0.0))
    depth = ease_out(-2.5, 0.0, 40).then(hold(0.0))
    for k, (letter, x) in enumerate(title_places()):
        piece.put(scene, "letter_" + letter.lower(), "title", position=(x, 0.0, depth),
                  rotation=(0.0, swing, 0.0), visible=steps([(0, 1.0), (500, 0.0)]),
                  shift=-1.0 * k * BEAT)
    camera = path([(0, (-2.2, -0.9, 8.0), (-0.5, 0.0, 0.0)), (400, (0.6, 0.4, 9.4), (0.0, 0.0, 0.0))],
                  spline([(0, 50.0), (240, 49.0), (340, 48.0), (400, 40.0)]))
    document.clip(SKY, 1200, 1600, "title", camera)


def add_arcade(piece):
    """16 to 24 s: down an arcade, a light running ahead on each kick."""
    document = piece.document
    ahead = line(-2.0, -26.0, BAR).looped()
    piece.light("arcade warm", tinted(BEAT_PULSE * 1.1 + 0.35, EMBER), (0.0, 2.2, ahead))
    piece.light("arcade cold", times(BLUE, 0.8), (-8.0, 14.0, -12.0))
    piece.lit("arcade stone", STONE, "arcade warm", "arcade cold")
    piece.lit("arcade floor", times(STEEL, 0.8), "arcade warm")
    piece.plain("arcade wire", WIREFRAME, GOLD, BEAT_PULSE * 0.55, 1.5)
    scene = document.scene("arcade")
    bays = piece.row_of(12.0, (0.0, 0.0, -4.0))
    piece.put(scene, "arcade", "arcade stone", manipulators=[bays])
    scene.add("floor", "arcade floor", position=(0.0, -0.25, -22.0), scale=(10.0, 1.0, 26.0))
    scene.add("arcade", "arcade wire", position=(0.0, 0.0, -8.0),
              manipulators=[piece.row_of(4.0, (0.0, 0.0, -12.0))])
    fog = (6.0, 40.0, "night")
    document.clip(SKY, 1600, 2000, "arcade", path(
        [(0, (0.0, 1.2, 4.0), (0.0, 3.0, -10.0)), (200, (0.5, 1.6, -4.5), (0.0, 3.2, -18.0)),
         (400, (-0.4, 2.4, -13.0), (0.0, 4.0, -28.0))], 62.0), fog=fog)
    document.clip(SKY, 2000, 2200, "arcade", path(
        [(0, (8.5, 1.0, 0.0), (0.0, 4.0, -9.0)), (200, (7.6, 1.8, -4.0), (0.0, 4.0, -13.0))], 55.0),
        offset=400, fog=fog)
    document.clip(SKY, 2200, 2400, "arcade", path(
        [(0, (0.0, 5.4, -30.0), (0.0, 2.0, -12.0)), (200, (0.0, 1.0, -24.0), (0.0, 3.0, -4.0))],
        spline([(0, 60.0), (120, 66.0), (200, 84.0)]), roll=line(-8.0, 8.0, 200)),
        offset=600, fog=fog)


GEARS = [  # radius, x, y, direction and start in degrees
    (2.0, 0.0, 0.0, 1.0, 0.0), (1.0, 2.86, 0.30, -2.0, 7.0), (1.4, -3.0, 1.1, -1.43, 3.0),
    (1.0, 1.2, 2.65, -2.0, 2.0), (1.4, 4.6, -1.35, 1.43, 11.0), (1.0, -1.1, -2.68, -2.0, 5.0),
]


def add_machine(piece):
    """24 to 30 s: wheels, one stroke on each beat."""
    document = piece.document
    notch = ease_in(0.0, 15.0, 12)
    turns = notch
    for k in range(1, 8):
        turns = turns.then(hold(15.0 * k, 38)).then(ease_in(0.0, 15.0, 12) + 15.0 * k)
    turns = turns.then(hold(120.0, 38)).looped()
    piece.light("machine warm", tinted(BEAT_PULSE * 0.7 + 0.6, EMBER), (3.0, 3.5, 3.0))
    piece.light("machine cold", times(BLUE, 1.3), (-6.0, -3.0, -2.0))
    piece.lit("brass", (0.78, 0.58, 0.34), "machine warm", "machine cold")
    piece.lit("iron", STEEL, "machine warm", "machine cold")
    piece.plain("machine wire", WIREFRAME, GOLD, BEAT_PULSE * 0.6, 1.2)
    scene = document.scene("machine")
    layers = [piece.row_of(3.0, (0.7, -0.5, -2.2), (0.0, 0.0, 9.0))]
    for k, (radius, x, y, ratio, start) in enumerate(GEARS):
        spin = turns * ratio + start
        piece.put(scene, "gear", "brass" if k % 2 == 0 else "iron", position=(x, y, 0.0),
                  rotation=(0.0, 0.0, spin), scale=(radius, radius, 1.6), manipulators=layers)
    scene.add("gear", "machine wire", rotation=(0.0, 0.0, turns * 1.0), scale=(2.02, 2.02, 1.75))
    fog = (4.0, 13.0, "night")
    document.clip(SKY, 2400, 2600, "machine", path(
        [(0, (-2.6, -1.0, 3.4), (0.6, 0.4, 0.0)), (200, (-1.2, -0.2, 3.8), (0.8, 0.3, 0.0))], 56.0),
        fog=fog)
    document.clip(SKY, 2600, 2800, "machine", path(
        [(0, (5.2, 2.6, 3.2), (1.4, 0.2, -1.0)), (200, (4.2, 3.2, 4.2), (1.0, 0.2, -1.0))], 50.0),
        offset=200, fog=fog)
    document.clip(SKY, 2800, 3000, "machine", path(
        [(0, (0.2, 0.1, 2.2), (0.0, 0.0, 0.0)), (200, (0.4, 0.5, 8.4), (0.4, 0.2, 0.0))], 60.0,
        roll=spline([(0, 0.0), (100, 12.0), (200, 40.0)])), offset=400, fog=fog)


def add_roll(piece):
    """30 to 32 s: one picture a beat, closing in."""
    document = piece.document
    shots = [("machine", still((0.9, 1.2, 1.7), (0.2, 0.2, 0.0), line(60.0, 44.0, BEAT)), 600),
             ("thread", still((0.5, -1.3, 1.3), (0.0, 0.3, 0.0), line(60.0, 44.0, BEAT)), 100),
             ("arcade", still((0.0, 0.4, -2.0), (0.0, 5.4, -9.0), line(74.0, 50.0, BEAT)), 500),
             ("void", still((0.0, 0.0, 2.5), (0.0, 0.0, 0.0), line(60.0, 22.0, BEAT)), 700)]
    for k, (scene, camera, offset) in enumerate(shots):
        shifted = Camera(camera.position, camera.rotation,
                         hold(60.0, offset).then(camera.fov))
        document.clip(SKY, 3000 + k * BEAT, 3050 + k * BEAT, scene, shifted, offset=offset,
                      fog=(3.0, 22.0, "night"))


def add_hero(piece):
    """32 to 40 s: the blossom within its hoops."""
    document = piece.document
    piece.light("hero warm", tinted(BEAT_PULSE * 0.5 + 0.85, EMBER),
                (wave(0.0, 5.0, 400), 2.5, wave(0.0, 5.0, 400, 0.25)))
    piece.light("hero cold", times(BLUE, 1.4), (-6.0, -4.0, -5.0))
    piece.lit("blossom", (0.80, 0.62, 0.46), "hero warm", "hero cold")
    piece.lit("hoop", (0.62, 0.58, 0.52), "hero warm", "hero cold")
    piece.lit("shard", (0.40, 0.40, 0.48), "hero warm")
    piece.plain("hero glow", ADD_ON_TOP, tinted(BEAT_PULSE * 0.5 + 0.5, times(EMBER, 0.020)))
    piece.plain("hero wire", WIREFRAME, GOLD, BEAT_PULSE * 0.5, 1.0)
    beat_scale = BEAT_PULSE * 0.10 + 1.15
    cameras = [
        (0, 200, path([(0, (0.0, 0.4, 3.2), (0.0, 0.0, 0.0)), (200, (2.4, 1.4, 6.6), (0.0, 0.0, 0.0))], 52.0)),
        (200, 400, path([(0, (-4.4, 3.4, 3.4), (0.0, 0.0, 0.0)),
                         (200, (-5.4, 1.0, 1.4), (0.0, 0.0, 0.0))], 50.0)),
        (400, 800, path([(0, (6.0, -1.6, 4.8), (0.0, 0.2, 0.0)), (140, (4.0, -1.0, 6.4), (0.0, 0.2, 0.0)),
                         (400, (-2.4, 1.8, 8.2), (0.0, 0.0, 0.0))],
                        spline([(0, 46.0), (300, 50.0), (400, 58.0)]))),
    ]
    scene = document.scene("hero")
    turn = (line(0.0, 40.0, 800), line(0.0, 200.0, 800), 0.0)
    piece.put(scene, "blossom", "blossom", rotation=turn, scale=(beat_scale,) * 3)
    scene.add("blossom", "hero wire", rotation=turn, scale=(beat_scale + 0.02,) * 3)
    piece.put(scene, "ring", "hoop", rotation=(line(0.0, 360.0, 800), 20.0, line(0.0, 90.0, 800)),
              scale=2.05, manipulators=[piece.row_of(5.0, rotation=(36.0, 0.0, 24.0),
                                                     scale=(0.12, 0.12, 0.12))])
    for y, tilt in ((6.5, 1.0), (-8.5, -1.0)):
        shards = piece.grid_of((9.0, 2.0, 9.0), (3.4, 2.6 * tilt, 3.4), (50.0, 40.0, 70.0))
        scene.add("shard", "shard", position=(-13.6, y, -13.6),
                  rotation=(20.0, line(0.0, 90.0 * tilt, 800), 0.0), scale=(0.7, 1.5, 0.7),
                  manipulators=[shards])
    for k, (start, end, camera) in enumerate(cameras):
        name = "hero glow %d" % (k + 1)
        glow = document.scene(name)
        glow.add("halo", "hero glow", rotation=facing(camera, end - start), scale=5.2)
        document.clip(SKY, 3200 + start, 3200 + end, name, camera)
        document.clip(STAGE, 3200 + start, 3200 + end, "hero", camera, CLEAR_DEPTH,
                      fog=(7.0, 34.0, "night"))


def add_city(piece):
    """40 to 48 s: over the masts at night."""
    document = piece.document
    sweep = wave(0.0, 22.0, 400)
    piece.light("city warm", tinted(BEAT_PULSE * 0.5 + 0.9, EMBER), (sweep, 1.2, wave(-18.0, 12.0, 400, 0.25)))
    piece.light("city cold", times(BLUE, 1.2), (-30.0, 22.0, -60.0))
    piece.light("city dusk", (0.20, 0.34, 0.70), (0.0, -0.2, -0.8), ambient=(0.0, 0.01, 0.06))
    piece.lit("dusk sky", times(STEEL, 0.7), "city dusk")
    piece.document.material("dusk haze", COLOUR, (0.022, 0.036, 0.075))
    piece.lit("mast", times(STEEL, 1.3), "city warm", "city cold")
    piece.lit("ground", (0.26, 0.26, 0.32), "city warm")
    piece.plain("beacon", ADD_ON_TOP, tinted(BEAT_PULSE * 0.8 + 0.2, EMBER))
    sky = document.scene("city sky")
    sky.add("dome", "dusk sky")
    scene = document.scene("city")
    scene.add("floor", "ground", position=(0.0, 0.0, -20.0), scale=(44.0, 1.0, 44.0))
    masts = piece.grid_of((7.0, 1.0, 7.0), (6.0, 0.0, -7.0), (0.0, 0.0, 0.0), (0.0, 0.0, 0.0))
    piece.put(scene, "tower", "mast", position=(-18.0, 0.0, 4.0), rotation=(0.0, 24.0, 0.0),
              scale=(1.1, 1.0, 1.1), manipulators=[masts])
    scene.add("shard", "beacon", position=(-18.0, 9.5, 4.0), scale=(0.12, 0.22, 0.12),
              rotation=(0.0, line(0.0, 360.0, 200), 0.0), manipulators=[masts])
    shots = [(4000, 4400, path(
        [(0, (-14.0, 12.0, 22.0), (-2.0, 4.5, -10.0)), (220, (-4.0, 9.0, 9.0), (2.0, 5.0, -20.0)),
         (400, (4.0, 5.0, -2.0), (4.0, 6.0, -30.0))], 54.0,
        roll=spline([(0, -6.0), (200, 0.0), (400, 7.0)]))),
             (4400, 4600, path([(0, (3.0, 0.8, 2.0), (0.6, 9.0, -8.0)),
                                (200, (2.6, 1.0, -2.0), (0.0, 8.0, -14.0))], 66.0)),
             (4600, 4800, path([(0, (11.0, 13.0, -44.0), (0.0, 5.0, -18.0)),
                                (200, (-9.0, 15.0, -46.0), (0.0, 5.0, -18.0))],
                               spline([(0, 60.0), (150, 54.0), (200, 40.0)])))]
    for start, end, camera in shots:
        held = Camera((0.0, 0.0, 0.0), camera.rotation, camera.fov)
        document.clip(SKY, start, end, "city sky", held)
        document.clip(STAGE, start, end, "city", camera, CLEAR_DEPTH, fog=(8.0, 66.0, "dusk haze"))


def add_stair(piece):
    """48 to 56 s: up a winding stair, slowly; two lines of text."""
    document = piece.document
    climb = line(2.0, 12.0, 800)
    piece.light("stair warm", tinted(BAR_PULSE * 0.5 + 0.75, EMBER), (0.0, climb, 0.0))
    piece.light("stair cold", times(BLUE, 1.3), (-9.0, 16.0, 9.0))
    piece.lit("tread", BONE, "stair warm", "stair cold")
    piece.plain("stair wire", WIREFRAME, GOLD, BAR_PULSE * 0.4 + 0.15, 1.0)
    piece.plain("stair core", COLOUR, (1.0, 0.62, 0.26))
    piece.plain("line", COLOUR_ON_TOP, CREAM,
                line(0.0, 0.9, 40).then(hold(0.9, 260)).then(line(0.9, 0.0, 60)).then(hold(0.0)))
    scene = document.scene("stair")
    steps_up = piece.row_of(84.0, (0.0, 0.2, 0.0), (0.0, 15.0, 0.0))
    piece.put(scene, "tread", "tread", rotation=(0.0, line(0.0, -60.0, 800), 0.0),
              manipulators=[steps_up])
    scene.add("tread", "stair wire", rotation=(0.0, line(180.0, 240.0, 800), 0.0),
              scale=(1.7, 1.0, 1.7), manipulators=[steps_up])
    scene.add("ember", "stair core", position=(0.0, climb, 0.0), scale=0.22)
    scene.add("dust", "dust", position=(0.0, 8.0, 0.0), scale=16.0)
    document.clip(SKY, 4800, 5200, "stair", path(
        [(0, (6.4, 1.0, 4.2), (0.0, 3.4, 0.0)), (150, (2.6, 2.9, 7.0), (0.0, 4.0, 0.0)),
         (400, (-5.8, 5.6, 5.2), (0.0, 6.2, 0.0))], 52.0), fog=(5.0, 17.0, "night"))
    document.clip(SKY, 5200, 5600, "stair", path(
        [(0, (0.9, 15.0, 1.1), (0.0, 6.0, 0.0)), (400, (-1.2, 17.6, 0.7), (0.0, 8.0, 0.0))],
        spline([(0, 66.0), (200, 60.0), (400, 52.0)]), roll=line(0.0, 46.0, 800)), offset=400,
        fog=(5.0, 17.0, "night"))
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
    piece.light("heart moon", times(BLUE, 0.9), (-6.0, 6.0, -5.0))
    piece.lit("heart shell", times(STEEL, 0.9), "heart inside", "heart moon")
    piece.lit("racing shell", times(STEEL, 1.0), "heart racing", "heart moon")
    piece.plain("heart ember", COLOUR, tinted(beat * 0.8 + 0.1, (1.0, 0.60, 0.24)))
    piece.plain("racing ember", COLOUR, tinted(racing * 0.8 + 0.2, (1.0, 0.66, 0.30)))
    piece.plain("heart glow", ADD_ON_TOP, tinted(beat, times(EMBER, 0.022)))
    piece.plain("racing glow", ADD_ON_TOP, tinted(racing, times(EMBER, 0.026)))
    calm = (line(0.0, 18.0, 400), line(0.0, 40.0, 400), 0.0)
    wild = (ease_in(18.0, 120.0, 400), ease_in(40.0, 560.0, 400), 0.0)
    for name, turn in (("heart", calm), ("racing", wild)):
        scene = document.scene(name)
        piece.put(scene, "shell", name + " shell", rotation=turn, scale=1.6)
        scene.add("ember", name + " ember", rotation=turn, scale=HEART * 0.05 + 0.46)
        scene.add("dust", "dust", scale=30.0, rotation=turn)
    inner = path([(0, (0.5, 0.1, 1.12), (-0.5, 0.0, -1.0)), (400, (0.95, 0.25, 0.75), (-0.7, 0.1, -1.0))],
                 72.0)
    glow = document.scene("heart glow")
    glow.add("halo", "heart glow", rotation=facing(inner, 400), scale=HEART * 0.25 + 1.5)
    document.clip(SKY, 5600, 6000, "heart", inner, fog=(4.0, 34.0, "night"))
    document.clip(GLOW, 5600, 6000, "heart glow", inner, LINK)
    outer = path([(0, (0.0, 0.4, 2.6), (0.0, 0.0, 0.0)), (200, (2.4, 1.2, 4.2), (0.0, 0.0, 0.0)),
                  (330, (1.6, 2.0, 9.0), (0.0, 0.0, 0.0)), (400, (-0.6, 0.6, 17.0), (0.0, 0.0, 0.0))],
                 spline([(0, 60.0), (200, 54.0), (340, 60.0), (400, 100.0)]))
    glow = document.scene("racing glow")
    glow.add("halo", "racing glow", rotation=facing(outer, 400), scale=ease_in(2.4, 6.0, 400))
    document.clip(SKY, 6000, 6400, "racing", outer, fog=(9.0, 44.0, "night"))
    document.clip(GLOW, 6000, 6400, "racing glow", outer, LINK)


def add_valley(piece):
    """64 to 72 s: down a valley towards the first light."""
    document = piece.document
    piece.light("dawn", (1.0, 0.46, 0.16), (0.0, -0.10, -0.72), ambient=(0.02, 0.04, 0.12))
    piece.light("valley sun", tinted(BEAT_PULSE * 0.3 + 1.0, EMBER), (0.0, 12.0, -170.0))
    piece.light("valley sky", times(BLUE, 0.9), (-20.0, 60.0, 30.0))
    piece.lit("dawn sky", times(STEEL, 0.8), "dawn")
    piece.lit("valley ground", (0.34, 0.31, 0.33), "valley sun", "valley sky")
    piece.lit("valley stone", (0.30, 0.30, 0.36), "valley sun", "valley sky")
    piece.plain("valley wire", WIREFRAME, EMBER, BEAT_PULSE * 0.26, 1.0)
    piece.plain("sun", ADD_ON_TOP, tinted(BEAT_PULSE * 0.25 + 0.8, times(EMBER, 0.030)))
    piece.document.material("haze", COLOUR, (0.10, 0.055, 0.045))

    sky = document.scene("valley sky")
    sky.add("dome", "dawn sky", scale=1.0)
    sun = document.scene("valley sun")
    sun.add("halo", "sun", position=(0.0, 0.05, -0.9), scale=BEAT_PULSE * 0.02 + 0.46)
    scene = document.scene("valley")
    strips = piece.row_of(6.0, (0.0, 0.0, -32.0))
    piece.put(scene, "terrain", "valley ground", position=(0.0, 0.0, 32.0), scale=(1.0, 1.6, 1.0),
              manipulators=[strips])
    scene.add("terrain", "valley wire", position=(0.0, 0.03, 32.0), scale=(1.0, 1.6, 1.0),
              manipulators=[piece.row_of(3.0, (0.0, 0.0, -32.0))])
    for x, lean in ((-4.2, 8.0), (4.2, -8.0)):
        piece.put(scene, "crystal", "valley stone", position=(x, 1.6, 12.0),
                  rotation=(0.0, line(0.0, 120.0, 800), lean), scale=(0.8, 2.6, 0.8),
                  manipulators=[piece.row_of(14.0, (0.0, 0.0, -11.0), (0.0, 33.0, 0.0))])
    shots = [(6400, 6800, path([(0, (0.0, 1.6, 24.0), (0.0, 2.4, -20.0)),
                                (200, (1.6, 2.6, 4.0), (0.0, 3.0, -40.0)),
                                (400, (-1.4, 2.0, -18.0), (0.0, 3.4, -80.0))], 58.0,
                               roll=spline([(0, 0.0), (110, -5.0), (260, 6.0), (400, 0.0)])), 0),
             (6800, 7200, path([(0, (-14.0, 9.0, -8.0), (0.0, 3.0, -40.0)),
                                (250, (-4.0, 5.0, -28.0), (0.0, 4.0, -70.0)),
                                (400, (0.0, 3.2, -46.0), (0.0, 6.0, -110.0))],
                               spline([(0, 52.0), (250, 58.0), (400, 74.0)])), 400)]
    for start, end, camera, offset in shots:
        held = Camera((0.0, 0.0, 0.0), camera.rotation, camera.fov)
        document.clip(SKY, start, end, "valley sky", held, offset=offset * 0)
        document.clip(STAGE, start, end, "valley sun", held, LINK)
        document.clip(FRONT, start, end, "valley", camera, CLEAR_DEPTH, fog=(18.0, 130.0, "haze"))


def add_summit(piece):
    """72 to 80 s: the knot among the crystals, at the height of the melody."""
    document = piece.document
    piece.light("summit warm", tinted(BEAT_PULSE * 0.6 + 1.0, GOLD),
                (wave(0.0, 7.0, 400), wave(3.0, 3.0, 267), wave(3.0, 7.0, 400, 0.25)),
                ambient=(0.10, 0.08, 0.06))
    piece.light("summit cold", times(BLUE, 1.5), (5.0, -7.0, -6.0))
    piece.lit("summit knot", (0.86, 0.66, 0.40), "summit warm", "summit cold")
    piece.lit("summit hoop", BONE, "summit warm", "summit cold")
    piece.lit("summit shard", (0.46, 0.46, 0.52), "summit warm", "summit cold")
    piece.plain("summit wire", WIREFRAME, CREAM, BEAT_PULSE * 0.5, 1.0)
    piece.plain("summit glow", ADD_ON_TOP, tinted(BEAT_PULSE * 0.5 + 0.5, times(GOLD, 0.022)))
    scene = document.scene("summit")
    turn = (line(0.0, 90.0, 800), line(0.0, 360.0, 800), line(0.0, 50.0, 800))
    piece.put(scene, "knot", "summit knot", rotation=turn, scale=1.5)
    scene.add("knot", "summit wire", rotation=turn, scale=1.52)
    piece.put(scene, "ring", "summit hoop", rotation=(line(0.0, -300.0, 800), 0.0, 40.0), scale=3.2,
              manipulators=[piece.row_of(4.0, rotation=(45.0, 0.0, 30.0), scale=(0.18,) * 3)])
    for y, tilt in ((6.0, 1.0), (-6.0, -1.0)):
        grid = piece.grid_of((8.0, 3.0, 8.0), (4.0, 3.4 * tilt, 4.0), (30.0, 60.0, 45.0))
        piece.put(scene, "shard", "summit shard", position=(-14.0, y, -14.0),
                  rotation=(line(0.0, 90.0, 800), line(0.0, 180.0 * tilt, 800), 0.0),
                  scale=(0.5, 1.3, 0.5), manipulators=[grid])
    shots = [(0, 200, path([(0, (0.4, 0.0, 4.4), (0.0, 0.0, 0.0)), (200, (3.4, 2.6, 7.0), (0.0, 0.0, 0.0))], 56.0)),
             (200, 400, path([(0, (-9.8, 1.0, 9.0), (0.0, 0.0, 0.0)), (200, (-8.4, 3.0, 4.0), (0.0, 0.0, 0.0))], 48.0)),
             (400, 800, path([(0, (2.4, -4.4, 14.0), (0.0, 0.0, 0.0)), (180, (2.6, -2.2, 10.0), (0.0, 0.0, 0.0)),
                              (400, (-2.6, 2.4, 5.6), (0.0, 0.0, 0.0))],
                             spline([(0, 52.0), (280, 56.0), (400, 70.0)]), roll=line(10.0, -12.0, 400)))]
    for k, (start, end, camera) in enumerate(shots):
        name = "summit glow %d" % (k + 1)
        glow = document.scene(name)
        glow.add("halo", "summit glow", rotation=facing(camera, end - start), scale=7.0)
        document.clip(SKY, 7200 + start, 7200 + end, name, camera)
        document.clip(STAGE, 7200 + start, 7200 + end, "summit", camera, CLEAR_DEPTH,
                      fog=(6.0, 28.0, "night"))


def add_montage(piece):
    """80 to 88 s: all of it once more; a picture a bar, then a beat."""
    document = piece.document
    fog = (5.0, 40.0, "night")
    shots = [(8000, 8100, "arcade", still((0.0, 1.0, 0.0), (0.0, 3.4, -12.0), 70.0), 800),
             (8100, 8200, "machine", still((-3.4, 1.8, 4.4), (0.5, 0.0, -1.0), 52.0), 500),
             (8200, 8300, "city", still((-6.0, 1.0, 3.0), (0.0, 7.0, -10.0), 62.0), 700),
             (8300, 8400, "stair", still((4.4, 6.0, 4.4), (0.0, 8.0, 0.0), 56.0), 500),
             (8400, 8500, "hero", still((1.6, -2.4, 5.0), (0.0, 0.0, 0.0), 54.0), 300),
             (8500, 8600, "summit", still((-4.0, 2.6, 6.6), (0.0, 0.0, 0.0), 54.0), 300),
             (8600, 8650, "thread", still((0.8, 1.2, 2.4), (0.0, 0.0, 0.0), 56.0), 300),
             (8650, 8700, "machine", still((1.6, 2.6, 2.2), (0.4, 0.6, 0.0), 60.0), 700),
             (8700, 8750, "arcade", still((0.0, 7.0, -4.0), (0.0, 1.0, -14.0), 70.0), 900),
             (8750, 8800, "racing", still((0.3, 0.2, 3.0), (0.0, 0.0, 0.0), 60.0), 300)]
    for start, end, scene, camera, offset in shots:
        document.clip(SKY, start, end, scene, camera, offset=offset, fog=fog)


def add_ending(piece):
    """88 to 96 s: dawn over still ground; of the title only its end stays."""
    document = piece.document
    rise = spline([(0, -0.16), (240, -0.10), (420, -0.02), (800, 0.05)])
    piece.light("last dawn", tinted(spline([(0, 0.10), (300, 0.35), (420, 0.95), (800, 1.0)]),
                                    (1.0, 0.52, 0.22)), (0.0, rise, -0.72),
                ambient=(0.03, 0.04, 0.09))
    warm = spline([(0, 0.0), (250, 0.12), (430, 1.0), (800, 1.1)])
    piece.light("last sun", tinted(warm, GOLD), (0.0, 2.2, -3.0))
    piece.light("last front", tinted(warm, times(CREAM, 0.8)), (0.0, 3.0, 9.0),
                ambient=(0.10, 0.08, 0.06))
    piece.lit("last sky", (0.52, 0.46, 0.50), "last dawn")
    piece.lit("last ground", (0.40, 0.34, 0.30), "last sun")
    piece.lit("vale", CREAM, "last front", "last sun", rim_colour=times(CREAM, 0.8))
    fading = hold(1.0, 440).then(line(1.0, 0.0, 90)).then(hold(0.0))
    piece.lit("quor", CREAM, "last front", "last sun", alpha=fading,
              rim_colour=tinted(fading, times(CREAM, 0.8)))
    piece.plain("last glow", ADD_ON_TOP, tinted(warm, times(GOLD, 0.022)))
    piece.document.material("warm haze", COLOUR, (0.16, 0.09, 0.06))
    sky = document.scene("last sky")
    sky.add("dome", "last sky")
    sky.add("halo", "last glow", position=(0.0, rise, -0.9),
            scale=spline([(0, 0.2), (400, 0.42), (800, 0.55)]))
    scene = document.scene("last")
    scene.add("floor", "last ground", position=(0.0, -0.9, -20.0), scale=(60.0, 1.0, 60.0))
    for k, (letter, x) in enumerate(title_places()):
        piece.put(scene, "letter_" + letter.lower(), "vale" if k >= 4 else "quor",
                  position=(x, -0.36, 0.0))
    camera = path([(0, (0.0, 0.6, 13.0), (0.0, 0.3, 0.0)), (420, (0.0, 0.3, 10.8), (0.0, 0.3, 0.0)),
                   (800, (1.6, 0.1, 9.2), (1.3, 0.4, 0.0))], 46.0)
    held = Camera((0.0, 0.0, 0.0), camera.rotation, camera.fov)
    document.clip(SKY, 8800, END, "last sky", held)
    document.clip(STAGE, 8800, END, "last", camera, CLEAR_DEPTH, fog=(16.0, 70.0, "warm haze"))


def add_overlays(piece):
    """Bars, flashes on the crashes, and the fades from and to black."""
    document = piece.document
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
    for start, end, scene in ((0, 1500, "bars"), (1500, 1600, "bars open"),
                              (4700, 4800, "bars close"), (4800, 6300, "bars"),
                              (6300, 6400, "bars open"), (8700, 8800, "bars close"),
                              (8800, END, "bars")):
        document.clip(BARS, start, end, scene, FLAT, LINK)

    piece.plain("flash", ADD_ON_TOP, tinted(ease_out(1.0, 0.0, 70), (1.0, 0.86, 0.66)))
    piece.plain("soft flash", ADD_ON_TOP, tinted(ease_out(0.5, 0.0, 110), (1.0, 0.62, 0.34)))
    for name in ("flash", "soft flash"):
        document.scene(name).add("square", name, position=(0.5, 0.5, 0.0))
    for start, name in ((1600, "flash"), (3200, "flash"), (4000, "soft flash"), (4800, "soft flash"),
                        (5600, "soft flash"), (6400, "flash"), (7200, "flash"),
                        (8000, "flash"), (8400, "soft flash"), (8800, "flash")):
        document.clip(FLASH, start, start + (70 if name == "flash" else 110), name, FLAT, LINK)

    piece.plain("fade in", COLOUR_ON_TOP, (0.0, 0.0, 0.0), line(1.0, 0.0, 300))
    piece.plain("fade out", COLOUR_ON_TOP, (0.0, 0.0, 0.0),
                line(0.0, 1.0, 190).then(hold(1.0, 60)))
    piece.plain("white in", ADD_ON_TOP, tinted(ease_in(0.0, 1.0, 100), (0.9, 0.8, 0.66)))
    for name in ("fade in", "fade out", "white in"):
        document.scene(name).add("square", name, position=(0.5, 0.5, 0.0))
    for row, start, end, name in ((FADE, 0, 300, "fade in"), (FLASH, 1500, 1600, "white in"),
                                  (FLASH, 6300, 6400, "white in"), (FADE, 9360, END, "fade out")):
        document.clip(row, start, end, name, FLAT, LINK)
    document.clip(BARS, 6400, 8700, None, FLAT, LINK)  # no bars


def make_demo():
    piece = Piece()
    add_void(piece)
    add_thread(piece)
    add_title(piece)
    add_arcade(piece)
    add_machine(piece)
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
