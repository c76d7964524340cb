#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""Writes the documents of the piece: loading.xml, and demo.xml, which plays for 96 seconds.

    make_documents.py [folder]      the folder defaults to that of this script

A beat of the music lasts 50 ticks, a bar 200. Cuts lie on bars, and on beats where the music rolls.
"""

import os
import sys
from types import SimpleNamespace

sys.path.insert(0, os.path.join(os.path.dirname(os.path.abspath(__file__)), "../python"))

from quorvale import (BLACK, FLAT, WHITE, Bitmap, Camera, Color, Document, Fog, Light, Model, Scene,
                      ease_in, ease_out, effects, hold, layers, levels, line, look, path, recipes,
                      ring_down, span, spline, waters, wave)
from quorvale.manipulators import model_placer, rippler, x_multiplier, xyz_multiplier
from quorvale.steps import blur, convolution, emboss, invert, offset, ripple, scale

from make_bitmaps import BITMAPS
from make_models import LETTERS, LINES, MODELS, SPACING, TITLE

BEAT = 50
BAR = 200
END = 9600

# Rows: what is drawn later lies on top. The first two draw into bitmaps.
TARGET, TARGET_FRONT, SKY, STAGE, FRONT, GLOW, BLOOM, TEXT, LENS, FLASH, BARS, FADE = range(12)

NIGHT = Color(0.010, 0.016, 0.034)
STEEL = Color(0.30, 0.36, 0.46)
STONE = Color(0.52, 0.51, 0.53)
BONE = Color(0.86, 0.82, 0.74)
BLUE = Color(0.16, 0.34, 0.74)
EMBER = Color(1.0, 0.42, 0.10)
GOLD = Color(1.0, 0.72, 0.30)
CREAM = Color(1.0, 0.90, 0.72)
GILT = Color(1.0, 0.67, 0.35)

FAR = -0.9995  # in the unit square's depth: behind all that lies within 200


def turning(knots, first, last):
    """A color on its way: all of `first` where a knot is 0, of `last` where it is 1."""
    return tuple(spline([(t, a + (b - a) * k) for t, k in knots]) for a, b in zip(first, last))


# A stroke on each beat, falling off until the next.
BEAT_PULSE = ease_out(1.0, 0.0, BEAT).looped()
HALF_PULSE = ease_out(1.0, 0.0, BEAT // 2).looped()
BAR_PULSE = ease_out(1.0, 0.0, BAR).looped()
HEART = (ease_out(1.0, 0.25, 14).then(ease_out(0.8, 0.0, 50)).then(hold(0.0, 36))).looped()


def load_models(names):
    return SimpleNamespace(**{name: Model(name + ".obj") for name in names})


def title_models():
    return ["letter_" + letter.lower() for letter in TITLE]


def title_places():
    """The letters of the title and where their middles lie along x."""
    whole = SPACING * (len(TITLE) - 1)
    for letter in TITLE:
        whole += LETTERS[letter][0]
    x = -whole / 2.0
    places = []
    for model, letter in zip(title_models(), TITLE):
        width = LETTERS[letter][0]
        places.append((model, x + width / 2.0))
        x += width + SPACING
    return places


def soft_spot():
    return layers.radial(WHITE, name="spot")


def halo(spot):
    """A soft point of light: a cone, to the third power."""
    return (spot * spot * spot).named("halo")


def make_loading():
    """A dial of 72 marks, lit one by one, about the ember; ticks 0 to 100."""
    models = load_models(["square", "wedge", "ember"] + title_models())
    inside = Light(EMBER, (0.6, 0.9, 1.6), ambient=EMBER * 0.3, name="inside")
    front = Light(GOLD, (0.0, -2.0, 6.0), name="title")
    unlit = recipes.color_on_top(BLUE * 0.35, name="unlit")
    lit = recipes.color_on_top(GOLD, name="lit")
    gold_line = recipes.color_on_top(EMBER, name="line")
    glow = recipes.added_texture_on_top(line(0.15, 0.6, 100) * EMBER, texture=halo(soft_spot()),
                                        name="glow")
    core = recipes.lit_color(line(0.5, 1.0, 100) * EMBER, light=inside, name="core")
    letter = recipes.lit_color(CREAM * 0.8, light=front, name="letter")

    dial = Scene(name="dial")
    side = line(2.6, 4.6, 100)
    dial.add(models.square, glow, scale=(side, side, 1.0))
    turn = (0.0, 0.0, -5.0)
    dial.add(models.wedge, unlit, manipulators=[x_multiplier(72.0, turn=turn)])
    dial.add(models.wedge, lit, manipulators=[x_multiplier(line(0.0, 72.0, 100), turn=turn)])
    dial.add(models.ember, core, rotation=(10.0, line(0.0, 90.0, 100), 0.0),
             scale=line(0.16, 0.3, 100))

    title = Scene(name="title")
    for model, x in title_places():
        title.add(getattr(models, model), letter, position=(x, 0.0, 0.0))

    bar = Scene(name="bar")
    bar.add(models.square, gold_line, position=(line(0.3, 0.5, 100), 0.93, 0.0),
            scale=(line(0.0, 0.4, 100), 0.003, 1.0))

    document = Document("quorvale.xm")
    # The last tick is seen as well.
    for row, scene, camera in ((0, dial, look((0.0, -0.35, 4.2), (0.0, -0.35, 0.0), 45.0)),
                               (1, title, look((0.0, 9.0, 30.0), (0.0, 9.0, 0.0), 45.0)),
                               (2, bar, FLAT)):
        document.row(row).show(scene, camera, 0, 101, how="clear_depth")
    return document


# ---------------------------------------------------------------------------------------------
# Textures


def make_textures():
    """The piece's surfaces and reflections."""
    white = layers.color(WHITE, name="white")
    sand = layers.color((0.98, 0.86, 0.70), name="sand")
    slate = layers.color((0.62, 0.70, 0.86), name="slate")
    hot = layers.color((1.0, 0.50, 0.14), name="lava")
    dusk = layers.color((0.035, 0.045, 0.095), name="dusk")
    mid = layers.color((0.5, 0.5, 0.5), name="mid")
    low = layers.color((0.78, 0.78, 0.78), name="low")
    spot = soft_spot()
    bowl = layers.radial((0.42, 0.38, 0.36), margin=(1.0, 0.94, 0.82), offset=20, name="bowl")
    shore = layers.radial((0.05, 0.05, 0.08), margin=(0.92, 0.60, 0.36), offset=64, name="shore")
    belt = layers.plasma(WHITE, repeat_x=0, repeat_y=1, name="belt")
    bands = layers.plasma((1.0, 0.82, 0.56), repeat_x=0, repeat_y=3, name="bands")
    large = layers.maze(size=6, field=12, name="large")
    middle = layers.maze(size=5, field=77, name="middle")
    small = layers.maze(size=4, field=5, name="small")
    tiny = layers.maze(size=3, field=41, name="tiny")
    lamps = layers.maze((1.0, 0.94, 0.80), size=5, field=19, fullness=0.37, name="lamps")
    courses = layers.bricks((0.82,) * 3, wall=(0.30,) * 3, course_margin=4, brick_margin=4,
                            name="courses")
    plates = layers.bricks((0.60,) * 3, wall=(0.20,) * 3, courses=4, course_margin=5,
                           brick_margin=5, shift=0, name="panels")
    grain = layers.noise(seed=3, name="grain")
    grit = layers.noise(seed=900, name="grit")

    streak = convolution(m21=0.34, m22=0.34, m23=0.34)
    brushed = grain * 1.0 | streak | streak | streak | streak | streak | streak
    textures = SimpleNamespace()
    textures.halo = halo(spot)
    textures.stone = (((grain * 0.55 | blur() | blur()) + middle * 0.22 + small * 0.14 + low * 0.35
                       | emboss(1) | blur()) * sand).named("stone")
    textures.bricks = (((courses | blur()) + grit * -0.20 | blur() | emboss(2))
                       .minimum(white * 0.95) * sand).named("bricks")
    textures.panels = (((plates | blur() | emboss(1)) + grain * 0.10 | blur())
                       .maximum(mid * 0.4) * (slate * 1.3)).named("panels")
    textures.brushed = (brushed * 0.75 + white * 0.42).named("brushed")
    textures.lava = ((middle * 0.62 + small * 0.38 | ripple(0.03, 0.02, 3, 2) | blur() | invert())
                     * (hot * 1.1) | scale(1.3)).named("lava")
    textures.ground = (((large * 0.30 + small * 0.25 + tiny * 0.20 + grain * 0.20 | blur()
                         | emboss(4) | blur()) * 0.8 + white * 0.25) * sand).named("ground")
    # Goes once from pole to pole, where it is dark.
    textures.nebula = ((large * 0.45 + middle * 0.30 + small * 0.18 | ripple(0.04, 0.05, 2, 1)
                        | blur()) * (belt * 1.4) * (belt * 1.4) * (slate * 0.62)
                       | offset(-64, 90)).named("nebula")
    # Mirrored surroundings: lamps behind a ripple, brighter towards the rim.
    textures.gilt = (((bands * 0.8 * (bands * 1.5) | ripple(0.03, 0.06, 2, 2)) + lamps * 0.7
                      | blur()) * (bowl * 1.5) + dusk).named("gilt")
    # Still water: dark towards the viewer, bright where it is seen flat.
    textures.water = (shore | ripple(0.01, 0.02, 2, 3) | blur()).named("water")
    textures.sheen = ((lamps * 0.8 | ripple(0.02, 0.02, 2, 1) | blur()) * bowl).named("sheen")
    return textures


# ---------------------------------------------------------------------------------------------
# The demo


class Lit:
    """A lit material, and one for a second light that is added on the same object."""

    def __init__(self, material, rim=None):
        self.material = material
        self.rim = rim


class Piece:
    """The demo's document, and what its scenes share."""

    def __init__(self):
        self.textures = make_textures()
        self.models = load_models(list(MODELS) + title_models() + list(LINES))
        self.bitmaps = SimpleNamespace(**{name: Bitmap(name + ".png") for name in BITMAPS})
        self.night = recipes.color(NIGHT, name="night")
        self.darkness = recipes.color(BLACK, name="darkness")
        self.black = recipes.color_on_top(BLACK, name="black")
        self.dust = recipes.color((0.62, 0.70, 0.88), name="dust")
        self.document = Document("quorvale.xm")
        self.document.keep(*vars(self.textures).values(), *vars(self.models).values(),
                           *vars(self.bitmaps).values())
        self.rows = self.document.rows(12)
        self.stages = SimpleNamespace()  # scenes that later parts show again
        self.bloomed = []  # stretches whose light runs over
        self.nebula_sky()

    def lit(self, material, rim=None, rim_color=None, bumps=False):
        """A material with an added one for the light `rim`, over the bumps of a hammered plate if
        `bumps` is set."""
        if rim is None:
            return Lit(material)
        pair = (self.bitmaps.vectors, self.bitmaps.bumps) if bumps else (None, None)
        return Lit(material, recipes.added_bump(rim_color or Color(*material.color) * 0.8, light=rim,
                                                bitmap=pair[0], bitmap2=pair[1],
                                                name=material.name + " rim"))

    def put(self, scene, model, lit, **placement):
        """An object, drawn a second time for its other light if its material has one."""
        scene.add(model, lit.material, **placement)
        if lit.rim is not None:
            scene.add(model, lit.rim, **placement)

    def nebula_sky(self):
        nebula = recipes.texture((0.70, 0.82, 1.0), texture=self.textures.nebula, name="nebula")
        scene = self.stages.nebula = Scene(name="nebula")
        scene.add(self.models.dome, nebula, rotation=(10.0, line(0.0, 12.0, 800), 16.0), scale=40.0)
        scene.add(self.models.dust, self.dust, scale=30.0, rotation=(30.0, line(0.0, 8.0, 800), 0.0))

    def fog(self, start, end, material=None):
        return Fog(start, end, material or self.night)

    def backdrop(self, start, end, scene, camera, offset=0, row=SKY, how="simple"):
        """A scene about the camera, which only turns in it."""
        self.rows[row].show(scene, camera.turning_only(), start, end, how=how, offset=offset)

    def glow(self, name, camera, length, material, side, position=(0.0, 0.0, 0.0)):
        """A scene of one light that faces a camera."""
        scene = Scene(name=name)
        scene.add(self.models.square, material, position=position, rotation=camera.facing(length),
                  scale=(side, side, 1.0))
        return scene

    def bloom(self, start, end, scene, camera, offset=0, fog=None):
        """The scene once more in a bitmap of half the window's sides, for its light to run over."""
        self.rows[TARGET].show(scene, camera, start, end, how="texture_quarter", offset=offset,
                               fog=fog, target=self.bitmaps.bloom)
        self.bloomed.append((start, end))

    def show(self, row, start, end, scene, camera, how="simple", **options):
        self.rows[row].show(scene, camera, start, end, how=how, **options)


def add_void(piece):
    """0 to 8 s: an ember in its shell, far off in the dark."""
    breath = ease_in(0.35, 1.0, BAR).swinging()
    inside = Light(breath * (EMBER * 1.7), name="void inside")
    moon = Light((0.85, 0.92, 1.0), (-6.0, 7.0, 9.0), name="void moon")
    shell = piece.lit(recipes.lit_color(STEEL * 0.9, light=inside, name="void shell"), moon,
                      Color(0.46, 0.54, 0.70), bumps=True)
    ember = recipes.texture(breath * Color(1.0, 0.86, 0.70), texture=piece.textures.lava,
                            name="void ember")
    glow = recipes.added_texture_on_top(breath * (EMBER * 0.75), texture=piece.textures.halo,
                                        name="void glow")

    camera = path([(0, (5.0, 3.0, 15.0), (0.0, 0.4, 0.0)), (260, (3.6, 1.8, 10.6), (0.0, 0.2, 0.0)),
                   (560, (0.6, 0.5, 6.4), (0.0, 0.0, 0.0)), (800, (-2.2, -0.3, 4.3), (0.0, 0.0, 0.0))],
                  48.0)
    scene = piece.stages.void = Scene(name="void")
    turn = (line(0.0, 26.0, 800), line(0.0, 120.0, 800), 0.0)
    piece.put(scene, piece.models.shell, shell, rotation=turn, scale=1.6)
    scene.add(piece.models.ember, ember, scale=0.52, rotation=turn)
    light = piece.glow("void glow", camera, 800, glow, wave(9.0, 0.6, BAR, 0.75))

    piece.backdrop(0, 800, piece.stages.nebula, camera)
    piece.show(STAGE, 0, 800, scene, camera, "clear_depth", fog=piece.fog(14.0, 60.0))
    piece.show(GLOW, 0, 800, light, camera, "link")


def add_thread(piece):
    """8 to 12 s: along the knot, lit by what passes; a line of text."""
    warm = Light((HALF_PULSE * 0.8 + 1.1) * Color(1.0, 0.74, 0.46),
                 (wave(0.0, 2.4, 200), wave(0.0, 2.4, 200, 0.25), 1.4), name="thread warm")
    cold = Light(BLUE * 1.0, (-3.0, -4.0, -5.0), name="thread cold")
    thread = piece.lit(recipes.lit_environment(WHITE, light=warm, texture=piece.textures.gilt,
                                               name="thread"), cold, BONE * 0.3)
    wire = recipes.wireframe(GOLD, alpha=HALF_PULSE * 0.35, name="thread wire")
    scene = piece.stages.thread = Scene(name="thread")
    turn = (line(-20.0, 10.0, 400), line(0.0, 50.0, 400), 0.0)
    piece.put(scene, piece.models.knot, thread, rotation=turn)
    scene.add(piece.models.knot, wire, rotation=turn, scale=1.012)
    first = path([(0, (1.9, -1.0, 1.1), (0.5, 0.2, 0.0)), (200, (0.9, -1.5, 1.3), (0.0, 0.4, 0.0))],
                 52.0)
    second = path([(0, (-0.6, 0.5, 3.6), (0.0, 0.0, 0.0)), (200, (0.2, 0.1, 4.6), (0.0, 0.0, 0.0))],
                  46.0)
    for start, camera, offset, fog in ((800, first, 0, piece.fog(1.2, 7.0)),
                                       (1000, second, 200, piece.fog(3.0, 12.0))):
        piece.backdrop(start, start + 200, piece.stages.nebula, camera, offset)
        piece.show(STAGE, start, start + 200, scene, camera.later(offset), "clear_depth",
                   offset=offset, fog=fog)

    gleam = effects.test(line(0.0, 510.0, 400), 0.0, size=64, gray=True, name="gleam")
    gleaming = recipes.effect(CREAM, effect=gleam, name="gleam line",
                              alpha=line(0.0, 1.0, 40).then(hold(1.0, 220))
                              .then(line(1.0, 0.0, 60)).then(0.0))
    words = Scene(name="words_real_time")
    words.add(piece.models.words_real_time, gleaming, position=(0.0, -5.1, 0.0),
              scale=(line(0.62, 0.68, 340), 0.62, 1.0))
    piece.show(TEXT, 840, 1180, words, look((0.0, 0.0, 18.0), (0.0, 0.0, 0.0), 45.0), "clear_depth")


def add_title(piece):
    """12 to 16 s: the title, a letter on each beat."""
    warm = Light(GOLD * 1.3, (line(-3.0, 9.0, 400), 1.5, 6.0), name="title warm")
    cold = Light(BLUE * 1.2, (2.0, -6.0, -3.0), name="title cold")
    title = piece.lit(recipes.lit_bitmap_environment(CREAM, light=warm, bitmap=piece.bitmaps.room,
                                                     name="title"), cold, CREAM * 0.6)
    face = recipes.added_environment((BEAT_PULSE * 0.5 + 0.35) * (GOLD * 0.8),
                                     texture=piece.textures.sheen, name="title face")
    scene = Scene(name="title")
    # Each letter does the same a beat after the one before. Ahead of its beat its time lies before
    # 0, which counts as the far end of time: there the letter is hidden.
    swing = ring_down(0.0, 75.0, 55.0, 190).then(0.0)
    depth = ease_out(-2.5, 0.0, 40).then(0.0)
    for k, (letter, x) in enumerate(title_places()):
        placement = {"position": (x, 0.0, depth), "rotation": (0.0, swing, 0.0),
                     "visible": levels([(0, 1.0), (500, 0.0)]), "shift": -1.0 * k * BEAT}
        model = getattr(piece.models, letter)
        piece.put(scene, model, title, **placement)
        scene.add(model, face, **placement)
    camera = path([(0, (-2.2, -0.9, 8.0), (-0.5, 0.0, 0.0)), (400, (0.6, 0.4, 9.4), (0.0, 0.0, 0.0))],
                  spline([(0, 50.0), (240, 49.0), (340, 48.0), (400, 40.0)]))
    piece.bloom(1200, 1600, scene, camera)
    piece.backdrop(1200, 1600, piece.stages.nebula, camera, 400)
    piece.show(STAGE, 1200, 1600, scene, camera, "clear_depth")


def add_arcade(piece):
    """16 to 24 s: down an arcade, a light running ahead on each kick, towards a gate."""
    ahead = line(-2.0, -26.0, BAR).looped()
    warm = Light((BEAT_PULSE * 1.2 + 0.5) * EMBER, (0.0, 2.2, ahead), name="arcade warm")
    cold = Light(BLUE * 0.9, (-8.0, 14.0, -12.0), name="arcade cold")
    stone = piece.lit(recipes.lit_texture((0.95, 0.92, 0.90), light=warm, name="arcade stone",
                                          texture=piece.textures.stone), cold, STONE * 0.6)
    ground = recipes.lit_texture(WHITE * 0.9, light=warm, texture=piece.textures.bricks,
                                 name="arcade floor")
    wire = recipes.wireframe(GOLD, alpha=BEAT_PULSE * 0.5, width=1.5, name="arcade wire")
    portal = recipes.bitmap((BEAT_PULSE * 0.2 + 0.8) * WHITE, bitmap=piece.bitmaps.portal,
                            name="gate")
    scene = piece.stages.arcade = Scene(name="arcade")
    bays = x_multiplier(12.0, (0.0, 0.0, -4.0))
    piece.put(scene, piece.models.arcade, stone, manipulators=[bays])
    scene.add(piece.models.floor, ground, position=(0.0, -0.25, -22.0), scale=(10.0, 1.0, 26.0))
    scene.add(piece.models.arcade, wire, position=(0.0, 0.0, -8.0),
              manipulators=[x_multiplier(4.0, (0.0, 0.0, -12.0))])
    gate = Scene(name="gate")
    gate.add(piece.models.square, portal, position=(0.0, 2.75, -48.0), scale=(9.6, -6.0, 1.0))
    fog = piece.fog(6.0, 40.0)
    piece.show(SKY, 1600, 2000, scene, path(
        [(0, (0.0, 1.2, 4.0), (0.0, 3.0, -10.0)), (200, (0.5, 1.6, -4.5), (0.0, 3.2, -18.0)),
         (400, (-0.4, 2.4, -13.0), (0.0, 4.0, -28.0))], 62.0), fog=fog)
    piece.show(SKY, 2000, 2200, scene, path(
        [(0, (8.5, 1.0, 0.0), (0.0, 4.0, -9.0)), (200, (7.6, 1.8, -4.0), (0.0, 4.0, -13.0))],
        55.0).later(400), offset=400, fog=fog)
    last = path([(0, (0.0, 1.3, -17.0), (0.0, 3.4, -48.0)), (120, (0.0, 1.9, -31.0), (0.0, 2.9, -48.0)),
                 (200, (0.0, 2.6, -44.6), (0.0, 2.75, -48.0))],
                spline([(0, 58.0), (120, 62.0), (200, 72.0)]))
    piece.show(SKY, 2200, 2400, scene, last.later(600), offset=600, fog=fog)
    piece.show(STAGE, 2200, 2400, gate, last, "link", fog=piece.fog(14.0, 60.0))
    piece.show(TARGET, 2200, 2400, piece.stages.machine,
               look((-2.6, -1.0, 3.4), (0.6, 0.4, 0.0), 56.0), "texture_wide",
               fog=piece.fog(4.0, 13.0), target=piece.bitmaps.portal)


GEARS = [  # radius, x, y, direction and start in degrees
    (2.0, 0.0, 0.0, 1.0, 0.0), (1.0, 2.86, 0.30, -2.0, 7.0), (1.4, -3.0, 1.1, -1.43, 3.0),
    (1.0, 1.2, 2.65, -2.0, 2.0), (1.4, 4.6, -1.35, 1.43, 11.0), (1.0, -1.1, -2.68, -2.0, 5.0),
]


def add_machine(piece):
    """24 to 30 s: wheels, one stroke on each beat."""
    turns = ease_in(0.0, 15.0, 12)
    for k in range(1, 8):
        turns = turns.then(hold(15.0 * k, 38)).then(ease_in(0.0, 15.0, 12) + 15.0 * k)
    turns = turns.then(hold(120.0, 38)).looped()
    warm = Light((BEAT_PULSE * 0.7 + 0.8) * Color(1.0, 0.62, 0.32), (3.0, 3.5, 3.0),
                 name="machine warm")
    cold = Light(BLUE * 1.0, (-6.0, -3.0, -2.0), name="machine cold")
    brass = piece.lit(recipes.lit_bitmap_environment(WHITE, light=warm, bitmap=piece.bitmaps.room,
                                                     turns=True, name="brass"), cold, STEEL * 0.6)
    iron = piece.lit(recipes.lit_texture(STEEL * 1.7, light=warm, texture=piece.textures.brushed,
                                         name="iron"), cold, STEEL * 0.8)
    wire = recipes.wireframe(GOLD, alpha=BEAT_PULSE * 0.5, width=1.2, name="machine wire")
    wall = recipes.texture((0.26, 0.22, 0.22), texture=piece.textures.panels, name="machine wall")
    scene = piece.stages.machine = Scene(name="machine")
    scene.add(piece.models.floor, wall, position=(0.0, 0.0, -8.0), rotation=(90.0, 0.0, 0.0),
              scale=(14.0, 1.0, 14.0))
    depth = [x_multiplier(2.0, (0.9, -0.6, -2.6), (0.0, 0.0, 9.0))]
    for k, (radius, x, y, ratio, start) in enumerate(GEARS):
        metal = brass if k % 2 == 0 else iron
        placement = {"position": (x, y, 0.0), "rotation": (0.0, 0.0, turns * ratio + start),
                     "scale": (radius, radius, 1.6)}
        scene.add(piece.models.gear, metal.material, manipulators=depth, **placement)
        scene.add(piece.models.gear, metal.rim, **placement)
    scene.add(piece.models.gear, wire, rotation=(0.0, 0.0, turns), scale=(2.02, 2.02, 1.75))
    fog = piece.fog(4.0, 17.0)
    piece.show(SKY, 2400, 2600, scene, path(
        [(0, (-2.6, -1.0, 3.4), (0.6, 0.4, 0.0)), (200, (-1.2, -0.2, 3.8), (0.8, 0.3, 0.0))], 56.0),
        fog=fog)
    piece.show(SKY, 2600, 2800, scene, path(
        [(0, (5.2, 2.6, 3.2), (1.4, 0.2, -1.0)), (200, (4.2, 3.2, 4.2), (1.0, 0.2, -1.0))],
        50.0).later(200), offset=200, fog=fog)
    piece.show(SKY, 2800, 3000, scene, path(
        [(0, (0.2, 0.1, 2.2), (0.0, 0.0, 0.0)), (200, (0.4, 0.5, 8.4), (0.4, 0.2, 0.0))], 60.0,
        roll=spline([(0, 0.0), (100, 12.0), (200, 40.0)])).later(400), offset=400, fog=fog)


def add_roll(piece):
    """30 to 32 s: one picture a beat, closing in."""
    closing = line(60.0, 44.0, BEAT)
    shots = [(piece.stages.machine, look((0.9, 1.2, 1.7), (0.2, 0.2, 0.0), closing), 600),
             (piece.stages.thread, look((0.5, -1.3, 1.3), (0.0, 0.3, 0.0), closing), 100),
             (piece.stages.arcade, look((0.0, 0.4, -2.0), (0.0, 5.4, -9.0), line(74.0, 50.0, BEAT)),
              500),
             (piece.stages.void, look((0.0, 0.0, 2.6), (0.0, 0.0, 0.0), line(60.0, 22.0, BEAT)),
              740)]
    for k, (scene, camera, offset_) in enumerate(shots):
        piece.show(SKY, 3000 + k * BEAT, 3050 + k * BEAT, scene, camera.later(offset_),
                   offset=offset_, fog=piece.fog(3.0, 22.0))


def add_hero(piece):
    """32 to 40 s: the blossom within its hoops."""
    warm = Light((BEAT_PULSE * 0.5 + 0.9) * Color(1.0, 0.58, 0.26),
                 (wave(0.0, 5.0, 400), 2.5, wave(0.0, 5.0, 400, 0.25)), name="hero warm")
    cold = Light(BLUE * 1.2, (-6.0, -4.0, -5.0), name="hero cold")
    blossom = recipes.environment((0.85, 0.58, 0.42), texture=piece.textures.gilt, name="blossom")
    coat = recipes.added_bitmap_environment((BEAT_PULSE * 0.5 + 0.3) * Color(1.0, 0.72, 0.46),
                                            bitmap=piece.bitmaps.room, turns=True,
                                            name="blossom coat")
    hoop = piece.lit(recipes.lit_environment(WHITE, light=warm, texture=piece.textures.gilt,
                                             name="hoop"), cold, BONE * 0.5)
    shard = recipes.lit_color((0.44, 0.42, 0.48), light=warm, name="shard")
    glow = recipes.added_texture_on_top((BEAT_PULSE * 0.4 + 0.5) * (EMBER * 0.8),
                                        texture=piece.textures.halo, name="hero glow")
    plasma = effects.plasma(line(20.0, 60.0, 800), name="plasma")
    air = recipes.effect((0.24, 0.12, 0.10), effect=plasma, name="hero air")
    sky = Scene(name="hero air")
    sky.add(piece.models.square, air, position=(0.5, 0.5, FAR))

    scene = piece.stages.hero = Scene(name="hero")
    turn = (line(0.0, 40.0, 800), line(0.0, 200.0, 800), 0.0)
    bend = [rippler(line(0.0, 25.0, 800), BEAT_PULSE * 0.05 + 0.03, 7.0)]
    for material in (blossom, coat):
        scene.add(piece.models.blossom, material, rotation=turn, scale=BEAT_PULSE * 0.10 + 1.15,
                  manipulators=bend)
    rings = [x_multiplier(5.0, turn=(36.0, 0.0, 24.0), scale=(0.12,) * 3)]
    piece.put(scene, piece.models.ring, hoop,
              rotation=(line(0.0, 360.0, 800), 20.0, line(0.0, 90.0, 800)), scale=2.05,
              manipulators=rings)
    for y, tilt in ((6.5, 1.0), (-8.5, -1.0)):
        shards = xyz_multiplier((9.0, 2.0, 9.0), (3.4, 2.6 * tilt, 3.4), (50.0, 40.0, 70.0))
        scene.add(piece.models.shard, shard, position=(-13.6, y, -13.6),
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
        light = piece.glow("hero glow %d" % (k + 1), camera, end - start, glow, 10.0)
        piece.show(SKY, 3200 + start, 3200 + end, sky, FLAT, offset=start)
        piece.show(STAGE, 3200 + start, 3200 + end, light, camera, "link")
        piece.show(FRONT, 3200 + start, 3200 + end, scene, camera.later(start), "clear_depth",
                   offset=start, fog=piece.fog(7.0, 34.0))


def add_city(piece):
    """40 to 48 s: over the masts at night, the ground overgrown with lights."""
    warm = Light((BEAT_PULSE * 0.5 + 0.9) * EMBER,
                 (wave(0.0, 22.0, 400), 1.2, wave(-18.0, 12.0, 400, 0.25)), name="city warm")
    cold = Light(BLUE * 2.2, (-30.0, 26.0, -40.0), ambient=(0.02, 0.04, 0.10), name="city cold")
    mast = piece.lit(recipes.lit_color(STEEL * 1.3, light=warm, name="mast"), cold)
    lights = effects.amoba(line(0.0, 80.0, 800), gray=True, name="lights")
    ground = recipes.effect((BEAT_PULSE * 0.3 + 0.5) * Color(0.9, 0.38, 0.10), effect=lights,
                            name="ground")
    beacon = recipes.added_bitmap((BEAT_PULSE * 0.7 + 0.3) * EMBER, bitmap=piece.bitmaps.glow,
                                  name="beacon")
    night = recipes.bitmap(WHITE, bitmap=piece.bitmaps.night, name="city sky")
    moon = recipes.two_bitmaps((1.0, 0.96, 0.90), bitmap=piece.bitmaps.marble,
                               bitmap2=piece.bitmaps.moonlight, name="moon")
    haze = recipes.color((0.050, 0.056, 0.105), name="dusk haze")
    sky = Scene(name="city sky")
    sky.add(piece.models.dome, night, rotation=(0.0, 40.0, 0.0), scale=40.0)
    sky.add(piece.models.dust, piece.dust, scale=6.0, rotation=(0.0, 0.0, 70.0))
    sky.add(piece.models.ember, moon, position=(0.30, 0.36, -0.80), scale=0.11,
            rotation=(0.0, -20.0, 0.0))
    scene = piece.stages.city = Scene(name="city")
    scene.add(piece.models.floor, ground, position=(0.0, 0.0, -20.0), scale=(44.0, 1.0, 44.0))
    masts = [xyz_multiplier((7.0, 1.0, 6.0), (6.0, 0.0, -8.0))]
    piece.put(scene, piece.models.tower, mast, position=(-18.0, 0.0, 4.0), rotation=(0.0, 24.0, 0.0),
              scale=(1.1, 1.0, 1.1), manipulators=masts)
    shots = [(4000, 4400, path(
        [(0, (-14.0, 12.0, 22.0), (-2.0, 4.5, -10.0)), (220, (-4.0, 9.0, 9.0), (2.0, 5.0, -20.0)),
         (400, (4.0, 5.0, -2.0), (4.0, 6.0, -30.0))], 54.0,
        roll=spline([(0, -6.0), (200, 0.0), (400, 7.0)])), 0),
             (4400, 4600, path([(0, (3.0, 0.8, 2.0), (0.6, 9.0, -8.0)),
                                (200, (2.6, 1.0, -2.0), (0.0, 8.0, -14.0))], 66.0), 400),
             (4600, 4800, path([(0, (11.0, 13.0, -44.0), (0.0, 5.0, -18.0)),
                                (200, (-9.0, 15.0, -46.0), (0.0, 5.0, -18.0))],
                               spline([(0, 60.0), (150, 54.0), (200, 40.0)])), 600)]
    for k, (start, end, camera, offset_) in enumerate(shots):
        beacons = Scene(name="beacons %d" % (k + 1))
        beacons.add(piece.models.square, beacon, position=(-18.0, 9.4, 4.0), scale=(1.7, 1.7, 1.0),
                    rotation=camera.facing(end - start), manipulators=masts)
        piece.backdrop(start, end, sky, camera)
        piece.show(STAGE, start, end, scene, camera.later(offset_), "clear_depth", offset=offset_,
                   fog=Fog(8.0, 66.0, haze))
        piece.show(GLOW, start, end, beacons, camera, "link")


def add_stair(piece):
    """48 to 56 s: up a winding stair, slowly; two lines of text."""
    climb = line(2.0, 12.0, 800)
    warm = Light((BAR_PULSE * 0.5 + 0.85) * EMBER, (0.0, climb, 0.0), name="stair warm")
    cold = Light(BLUE * 1.2, (-9.0, 16.0, 9.0), name="stair cold")
    tread = piece.lit(recipes.lit_bitmap(WHITE, light=warm, bitmap=piece.bitmaps.marble,
                                         name="tread"), cold, BONE * 0.7)
    wire = recipes.wireframe(GOLD, alpha=BAR_PULSE * 0.4 + 0.15, name="stair wire")
    core = recipes.texture((1.0, 0.86, 0.70), texture=piece.textures.lava, name="stair core")
    glow = recipes.added_texture_on_top((BAR_PULSE * 0.3 + 0.5) * EMBER,
                                        texture=piece.textures.halo, name="stair glow")
    ink = recipes.color_on_top(CREAM, alpha=line(0.0, 0.9, 40).then(hold(0.9, 260))
                               .then(line(0.9, 0.0, 60)).then(0.0), name="line")
    scene = piece.stages.stair = Scene(name="stair")
    treads = [x_multiplier(84.0, (0.0, 0.2, 0.0), (0.0, 15.0, 0.0))]
    piece.put(scene, piece.models.tread, tread, rotation=(0.0, line(0.0, -60.0, 800), 0.0),
              manipulators=treads)
    scene.add(piece.models.tread, wire, rotation=(0.0, line(180.0, 240.0, 800), 0.0),
              scale=(1.7, 1.0, 1.7), manipulators=treads)
    scene.add(piece.models.ember, core, position=(0.0, climb, 0.0), scale=0.22)
    first = path([(0, (6.4, 1.0, 4.2), (0.0, 3.4, 0.0)), (150, (2.6, 2.9, 7.0), (0.0, 4.0, 0.0)),
                  (400, (-5.8, 5.6, 5.2), (0.0, 6.2, 0.0))], 52.0)
    second = path([(0, (1.5, 17.6, 1.3), (0.0, 7.0, 0.0)), (400, (-1.8, 19.6, 1.1), (0.0, 8.0, 0.0))],
                  spline([(0, 66.0), (200, 60.0), (400, 52.0)]), roll=line(0.0, 23.0, 400))
    for k, (start, camera, offset_) in enumerate(((4800, first, 0), (5200, second, 400))):
        light = Scene(name="stair glow %d" % (k + 1))
        light.add(piece.models.square, glow,
                  position=(0.0, line(2.0 + 5.0 * k, 7.0 + 5.0 * k, 400), 0.0),
                  rotation=camera.facing(400), scale=4.4)
        piece.backdrop(start, start + 400, piece.stages.nebula, camera, offset_)
        piece.show(STAGE, start, start + 400, scene, camera.later(offset_), "clear_depth",
                   offset=offset_, fog=piece.fog(5.0, 17.0))
        piece.show(GLOW, start, start + 400, light, camera, "link")
    for start, words in ((4840, "words_no_shaders"), (5240, "words_only_light")):
        text = Scene(name=words)
        text.add(getattr(piece.models, words), ink, position=(0.0, -5.1, 0.0),
                 scale=(line(0.66, 0.72, 360), 0.7, 1.0))
        piece.show(TEXT, start, start + 360, text,
                   look((0.0, 0.0, 18.0), (0.0, 0.0, 0.0), 45.0), "clear_depth")


def add_heart(piece):
    """56 to 64 s: within the shell; its heart beats, and races."""
    beat = HEART * 0.9 + 0.35
    racing = BEAT_PULSE * 0.8 + 0.5
    inside = Light(beat * (EMBER * 1.5), name="heart inside")
    wild_light = Light(racing * (EMBER * 1.9), name="heart racing")
    moon = Light((0.85, 0.92, 1.0), (-6.0, 6.0, 7.0), name="heart moon")
    shells = [piece.lit(recipes.lit_color(STEEL * 0.9, light=inside, name="heart shell"), moon,
                        STEEL * 0.3),
              piece.lit(recipes.lit_color(STEEL * 1.0, light=wild_light, name="racing shell"), moon,
                        Color(0.46, 0.54, 0.70), bumps=True)]
    churn = effects.rotate(line(90.0, 98.0, 400), size=64, gray=True, name="churn")
    halo_ = piece.textures.halo
    embers = [recipes.effect((beat * 0.9 + 0.25) * Color(1.0, 0.52, 0.20), effect=churn,
                             name="heart ember"),
              recipes.texture((racing * 0.6 + 0.4) * Color(1.0, 0.86, 0.70),
                              texture=piece.textures.lava, name="racing ember")]
    glow = recipes.added_texture_on_top(beat * (EMBER * 0.8), texture=halo_, name="heart glow")
    wild_glow = recipes.added_texture_on_top(racing * (EMBER * 0.9), texture=halo_,
                                             name="racing glow")
    flare = recipes.cutout_on_top(WHITE, bitmap=piece.bitmaps.flare, name="racing flare")
    smoke = recipes.cutout(beat * Color(0.34, 0.17, 0.10), bitmap=piece.bitmaps.cloud, name="smoke")
    calm = (line(0.0, 18.0, 400), line(0.0, 40.0, 400), 0.0)
    wild = (ease_in(18.0, 120.0, 400), ease_in(40.0, 560.0, 400), 0.0)
    scenes = []
    for name, turn, shell, ember in zip(("heart", "racing"), (calm, wild), shells, embers):
        scene = Scene(name=name)
        piece.put(scene, piece.models.shell, shell, rotation=turn, scale=1.6)
        scene.add(piece.models.ember, ember, rotation=turn, scale=HEART * 0.05 + 0.46)
        scenes.append(scene)
    piece.stages.racing = scenes[1]
    inner = path([(0, (0.5, 0.1, 1.12), (-0.5, 0.0, -1.0)), (400, (0.95, 0.25, 0.75), (-0.7, 0.1, -1.0))],
                 72.0)
    light = piece.glow("heart glow", inner, 400, glow, HEART * 0.6 + 3.4)
    clouds = Scene(name="smoke")
    facing = inner.facing(400)
    for k, (x, y, z, drift, side) in enumerate(((-0.9, -0.5, -0.9, 0.5, 1.3), (0.1, 0.6, -1.1, -0.4, 1.5),
                                                (-0.7, 0.3, 0.2, 0.3, 0.9))):
        clouds.add(piece.models.square, smoke, position=(line(x, x + drift, 400), y, z),
                   rotation=facing[:2] + (40.0 * k,), scale=side)
    piece.backdrop(5600, 6000, piece.stages.nebula, inner)
    piece.show(STAGE, 5600, 6000, scenes[0], inner, "clear_depth", fog=piece.fog(4.0, 34.0))
    piece.show(FRONT, 5600, 6000, clouds, inner, "link")
    piece.show(GLOW, 5600, 6000, light, inner, "link")
    outer = path([(0, (0.0, 0.4, 2.6), (0.0, 0.0, 0.0)), (200, (2.4, 1.2, 4.2), (0.0, 0.0, 0.0)),
                  (330, (1.6, 2.0, 9.0), (0.0, 0.0, 0.0)), (400, (-0.6, 0.6, 17.0), (0.0, 0.0, 0.0))],
                 spline([(0, 60.0), (200, 54.0), (340, 60.0), (400, 100.0)]))
    light = piece.glow("racing glow", outer, 400, wild_glow, ease_in(5.0, 15.0, 400))
    side = ease_in(0.8, 9.0, 400)
    light.add(piece.models.square, flare, rotation=outer.facing(400), scale=(side, side, 1.0),
              visible=span(200, 9999))
    piece.backdrop(6000, 6400, piece.stages.nebula, outer)
    piece.show(STAGE, 6000, 6400, scenes[1], outer, "clear_depth", fog=piece.fog(9.0, 44.0))
    piece.show(GLOW, 6000, 6400, light, outer, "link")


def add_valley(piece):
    """64 to 72 s: down a valley towards the first light."""
    dawn = Light((1.0, 0.46, 0.16), (0.0, -0.10, -0.72), ambient=(0.02, 0.04, 0.12), name="dawn")
    sun = Light((BEAT_PULSE * 0.3 + 1.1) * EMBER, (0.0, 14.0, -170.0), name="valley sun")
    above = Light(BLUE * 1.1, (-20.0, 60.0, 30.0), name="valley sky")
    dawn_sky = recipes.lit_color(STEEL * 0.8, light=dawn, name="dawn sky")
    ground = piece.lit(recipes.lit_texture((0.62, 0.55, 0.56), light=sun, name="valley ground",
                                           texture=piece.textures.ground), above,
                       Color(0.20, 0.19, 0.22))
    stone = piece.lit(recipes.lit_bitmap_environment((0.80, 0.78, 0.86), light=sun, turns=True,
                                                     bitmap=piece.bitmaps.room,
                                                     name="valley stone"), above,
                      Color(0.2, 0.2, 0.24))
    wire = recipes.wireframe(EMBER, alpha=BEAT_PULSE * 0.22, name="valley wire")
    disc = recipes.added_texture_on_top((BEAT_PULSE * 0.2 + 0.85) * Color(1.0, 0.56, 0.24),
                                        texture=piece.textures.halo, name="sun")
    flare = recipes.cutout_on_top((1.0, 0.9, 0.8), bitmap=piece.bitmaps.flare, name="sun flare")
    cloud = recipes.cutout((0.42, 0.20, 0.15), bitmap=piece.bitmaps.cloud, name="high cloud")
    haze = recipes.color((0.15, 0.075, 0.055), name="haze")

    sky = Scene(name="valley sky")
    sky.add(piece.models.dome, dawn_sky)
    side = BEAT_PULSE * 0.06 + 1.5
    sky.add(piece.models.square, disc, position=(0.0, 0.05, -0.9), scale=(side, side, 1.0))
    for x, y, width, drift in ((-0.30, 0.13, 0.62, 0.04), (0.25, 0.17, 0.70, 0.03),
                               (0.03, 0.24, 0.80, 0.05), (-0.16, 0.085, 0.46, 0.02)):
        sky.add(piece.models.square, cloud, position=(line(x, x + drift, 800), y, -0.45),
                scale=(width, 0.075, 1.0))
    flares = Scene(name="sun flare")
    flares.add(piece.models.square, flare, position=(0.0, 0.05, -0.9), scale=(0.9, 0.9, 1.0))
    scene = Scene(name="valley")
    piece.put(scene, piece.models.terrain, ground, position=(0.0, 0.0, 32.0), scale=(1.0, 1.6, 1.0),
              manipulators=[x_multiplier(5.0, (0.0, 0.0, -32.0))])
    scene.add(piece.models.terrain, wire, position=(0.0, 0.03, 32.0), scale=(1.0, 1.6, 1.0),
              manipulators=[x_multiplier(3.0, (0.0, 0.0, -32.0))])
    for x, lean in ((-4.2, 8.0), (4.2, -8.0)):
        piece.put(scene, piece.models.crystal, stone, position=(x, 1.6, 12.0),
                  rotation=(0.0, line(0.0, 120.0, 800), lean), scale=(0.8, 2.6, 0.8),
                  manipulators=[x_multiplier(11.0, (0.0, 0.0, -13.0), (0.0, 33.0, 0.0))])
    shots = [(6400, 6800, path([(0, (0.0, 1.6, 24.0), (0.0, 2.4, -20.0)),
                                (200, (1.6, 2.6, 4.0), (0.0, 3.0, -40.0)),
                                (400, (-1.4, 2.0, -18.0), (0.0, 3.4, -80.0))], 58.0,
                               roll=spline([(0, 0.0), (110, -5.0), (260, 6.0), (400, 0.0)])), 0),
             (6800, 7200, path([(0, (-14.0, 9.0, -8.0), (0.0, 3.0, -40.0)),
                                (250, (-4.0, 5.0, -28.0), (0.0, 4.0, -70.0)),
                                (400, (0.0, 3.2, -46.0), (0.0, 6.0, -110.0))],
                               spline([(0, 52.0), (250, 58.0), (400, 74.0)])), 400)]
    for start, end, camera, offset_ in shots:
        piece.backdrop(start, end, sky, camera, offset_)
        piece.show(FRONT, start, end, scene, camera.later(offset_), "clear_depth", offset=offset_,
                   fog=Fog(18.0, 130.0, haze))
    piece.backdrop(6800, 7200, flares, shots[1][2], row=GLOW, how="link")


def add_summit(piece):
    """72 to 80 s: at the height of the melody, the knot: among its own trails, above a swell."""
    warm = Light((BEAT_PULSE * 0.6 + 1.0) * GOLD,
                 (wave(0.0, 7.0, 400), wave(3.0, 3.0, 267), wave(3.0, 7.0, 400, 0.25)),
                 ambient=(0.10, 0.08, 0.06), name="summit warm")
    cold = Light(BLUE * 1.3, (5.0, -7.0, -6.0), name="summit cold")
    knot = piece.lit(recipes.lit_environment(WHITE, light=warm, texture=piece.textures.gilt,
                                             name="summit knot"), cold, Color(0.22, 0.2, 0.18))
    hoop = piece.lit(recipes.lit_bitmap_environment(WHITE, light=warm, bitmap=piece.bitmaps.room,
                                                    turns=True, name="summit hoop"), cold, BONE * 0.5)
    shard = recipes.bitmap_environment((BEAT_PULSE * 0.5 + 0.75) * Color(1.0, 0.86, 0.70),
                                       bitmap=piece.bitmaps.room, turns=True, name="summit shard")
    trace = recipes.color_on_top((BEAT_PULSE * 0.95 + 0.08) * Color(1.0, 0.46, 0.14), name="trail")
    old = recipes.clamped_bitmap(line(0.0, 0.94, 30).then(0.94) * Color(1.0, 0.97, 0.95),
                                 bitmap=piece.bitmaps.feedback, name="trail before")
    shown = recipes.clamped_bitmap((0.9, 0.9, 0.9), bitmap=piece.bitmaps.feedback, name="trails")
    glow = recipes.added_texture_on_top((BEAT_PULSE * 0.4 + 0.5) * (GOLD * 0.7),
                                        texture=piece.textures.halo, name="summit glow")

    # The picture before, a little larger, and on it the hoops where they are now.
    before = Scene(name="trail before")
    before.add(piece.models.square, old, position=(0.5, 0.5, FAR), scale=(1.05, 1.05, 1.0))
    trail = Scene(name="trail")
    rings = [x_multiplier(4.0, turn=(45.0, 0.0, 30.0), scale=(0.18,) * 3)]
    spin = (line(0.0, -300.0, 800), 0.0, 40.0)
    trail.add(piece.models.ring, trace, rotation=spin, scale=3.2, manipulators=rings)
    trails = Scene(name="trails")
    trails.add(piece.models.square, shown, position=(0.5, 0.5, FAR))

    scene = Scene(name="summit")
    turn = (line(0.0, 90.0, 800), line(0.0, 360.0, 800), line(0.0, 50.0, 800))
    piece.put(scene, piece.models.knot, knot, rotation=turn, scale=1.5)
    piece.put(scene, piece.models.ring, hoop, rotation=spin, scale=3.2, manipulators=rings)
    shots = [(0, 200, path([(0, (0.4, 0.0, 4.4), (0.0, 0.0, 0.0)), (200, (3.4, 2.6, 7.0), (0.0, 0.0, 0.0))],
                           56.0)),
             (200, 400, path([(0, (-9.8, 1.0, 6.0), (0.0, 0.0, 0.0)), (200, (-8.0, 3.0, 2.0), (0.0, 0.0, 0.0))],
                             48.0))]
    for k, (start, end, camera) in enumerate(shots):
        light = piece.glow("summit glow %d" % (k + 1), camera, end - start, glow, 13.0)
        piece.show(TARGET, 7200 + start, 7200 + end, before, FLAT, "texture", offset=start,
                   target=piece.bitmaps.feedback)
        piece.show(TARGET_FRONT, 7200 + start, 7200 + end, trail, camera.later(start), "link",
                   offset=start)
        piece.show(SKY, 7200 + start, 7200 + end, trails, FLAT)
        piece.show(STAGE, 7200 + start, 7200 + end, light, camera, "link")
        piece.show(FRONT, 7200 + start, 7200 + end, scene, camera.later(start), "clear_depth",
                   offset=start, fog=piece.fog(6.0, 28.0))

    # A crystal on each point of a swell.
    swell = waters.centerwave_water(line(0.0, 25.0, 400), name="swell")
    field = piece.stages.field = Scene(name="field")
    field.add(piece.models.shard, shard, rotation=(0.0, line(0.0, 90.0, 400), 0.0),
              scale=(0.30, 0.62, 0.30),
              manipulators=[model_placer(swell, (-18.0, -4.2, -18.0), scale=(1.2, 1.3, 1.2))])
    turn = (line(45.0, 90.0, 400), line(180.0, 360.0, 400), line(25.0, 50.0, 400))
    piece.put(field, piece.models.knot, knot, rotation=turn, scale=1.5)
    piece.put(field, piece.models.ring, hoop, rotation=(line(-150.0, -300.0, 400), 0.0, 40.0),
              scale=3.2, manipulators=rings)
    camera = path([(0, (2.4, -0.6, 15.0), (0.0, -0.6, 0.0)), (180, (6.6, 2.6, 9.0), (0.0, -0.6, 0.0)),
                   (400, (-3.6, 5.4, 6.4), (0.0, -0.8, 0.0))],
                  spline([(0, 52.0), (280, 56.0), (400, 70.0)]), roll=line(6.0, -8.0, 400))
    piece.backdrop(7600, 8000, piece.stages.nebula, camera)
    piece.show(STAGE, 7600, 8000, piece.glow("field glow", camera, 400, glow, 13.0), camera, "link")
    piece.show(FRONT, 7600, 8000, field, camera, "clear_depth", fog=piece.fog(8.0, 34.0))


def add_montage(piece):
    """80 to 88 s: all of it once more; two pictures a bar, then one a beat."""
    stages = piece.stages
    shots = [(8000, 8100, stages.arcade, look((0.0, 1.0, 0.0), (0.0, 3.4, -12.0), 70.0), 800),
             (8100, 8200, stages.machine, look((-3.4, 1.8, 4.4), (0.5, 0.0, -1.0), 52.0), 500),
             (8200, 8300, stages.city, look((-9.2, 2.0, 9.0), (-2.0, 7.0, -10.0), 62.0), 700),
             (8300, 8400, stages.stair, look((4.4, 6.0, 4.4), (0.0, 8.0, 0.0), 56.0), 500),
             (8400, 8500, stages.hero, look((1.6, -2.4, 5.0), (0.0, 0.0, 0.0), 54.0), 300),
             (8500, 8600, stages.field, look((-4.0, 3.6, 7.6), (0.0, -0.8, 0.0), 60.0), 300),
             (8600, 8650, stages.thread, look((0.8, 1.2, 2.4), (0.0, 0.0, 0.0), 56.0), 300),
             (8650, 8700, stages.machine, look((1.6, 2.6, 2.2), (0.4, 0.6, 0.0), 60.0), 700),
             (8700, 8750, stages.arcade, look((0.0, 7.0, -4.0), (0.0, 1.0, -14.0), 70.0), 900),
             (8750, 8800, stages.racing, look((0.3, 0.2, 3.0), (0.0, 0.0, 0.0), 60.0), 300)]
    for start, end, scene, camera, offset_ in shots:
        closing = Camera(camera.position, camera.rotation,
                         line(camera.fov + 3.0, camera.fov - 5.0, end - start))
        piece.backdrop(start, end, stages.nebula, closing)
        piece.show(STAGE, start, end, scene, closing.later(offset_), "clear_depth", offset=offset_,
                   fog=piece.fog(5.0, 40.0))


def add_ending(piece):
    """88 to 96 s: dawn over still water; of the title only its end stays."""
    warm = spline([(0, 0.06), (250, 0.16), (430, 1.0), (800, 1.1)])
    day_knots = [(0, 0.0), (200, 0.06), (420, 0.66), (620, 0.84), (800, 0.86)]
    day = spline(day_knots)
    front = Light(warm * (CREAM * 0.42), (0.0, 3.0, 9.0), ambient=(0.10, 0.08, 0.06),
                  name="last front")
    sun = Light(warm * GOLD, (0.0, 2.2, -3.0), name="last sun")
    above = Light((warm * 0.52 + 0.08) * Color(1.0, 0.78, 0.60), (0.0, 30.0, -40.0), name="last sky")
    fading = hold(1.0, 440).then(line(1.0, 0.0, 90)).then(0.0)
    letters = {}
    for name, alpha, color in (("vale", 1.0, GILT), ("quor", fading, fading * GILT)):
        lit = piece.lit(recipes.lit_color(GILT, light=front, alpha=alpha, name=name), sun, color * 0.3)
        letters[name] = lit, recipes.added_environment(color * 0.22, texture=piece.textures.sheen,
                                                       name=name + " sheen")
    rest = 1.0 - day
    night = recipes.bitmap(rest * WHITE, bitmap=piece.bitmaps.night, name="last night")
    stars = recipes.color(rest * Color(0.62, 0.70, 0.88), name="last stars")
    dawn = recipes.faded_bitmaps(day * WHITE, bitmap=piece.bitmaps.night,
                                 bitmap2=piece.bitmaps.dawn, name="last dawn")
    water = recipes.lit_environment(turning(day_knots, (0.10, 0.15, 0.30), (0.76, 0.60, 0.52)),
                                    light=above, texture=piece.textures.water, alpha=0.80,
                                    name="last lake")
    glow = recipes.added_texture_on_top(warm * (EMBER * 0.36), texture=piece.textures.halo,
                                        name="last glow")
    haze = recipes.color(warm * Color(0.50, 0.30, 0.18), name="warm haze")
    sky = Scene(name="last sky")
    sky.add(piece.models.dome, night, rotation=(0.0, 45.0, 0.0), scale=1.01)
    sky.add(piece.models.dust, stars, scale=6.0, rotation=(0.0, 0.0, 20.0))
    sky.add(piece.models.dome, dawn, rotation=(0.0, 45.0, 0.0))
    rise = spline([(0, -0.16), (240, -0.10), (420, -0.02), (800, 0.05)])
    side = spline([(0, 0.8), (400, 1.3), (800, 1.7)])
    sky.add(piece.models.square, glow, position=(0.0, rise, -0.9), scale=(side, side, 1.0))
    scene = Scene(name="last")
    places = [(getattr(piece.models, letter), letters["vale" if k >= 4 else "quor"],
               {"visible": None if k >= 4 else span(0, 530)}, x)
              for k, (letter, x) in enumerate(title_places())]
    for model, (lit, _), visible, x in places:  # in the water
        piece.put(scene, model, lit, position=(x, -1.46, 0.0), scale=(1.0, -1.0, 1.0), **visible)
    lake = waters.lake_water(line(0.0, 72.0, 800), name="lake")
    scene.add(lake, water, position=(-43.5, -0.9, -72.0), scale=(3.0, 0.9, 3.0))
    for model, (lit, sheen), visible, x in places:
        piece.put(scene, model, lit, position=(x, -0.34, 0.0), **visible)
        scene.add(model, sheen, position=(x, -0.34, 0.0), **visible)
    camera = path([(0, (0.0, 0.9, 13.0), (0.0, 0.3, 0.0)), (420, (0.0, 0.6, 10.8), (0.0, 0.2, 0.0)),
                   (800, (1.6, 0.4, 9.2), (1.3, 0.2, 0.0))], 46.0)
    piece.bloom(8800, END, scene, camera, fog=Fog(9.0, 24.0, piece.darkness))
    piece.backdrop(8800, END, sky, camera)
    piece.show(STAGE, 8800, END, scene, camera, "clear_depth", fog=Fog(16.0, 80.0, haze))


def add_overlays(piece):
    """The bloom's light, dark corners, bars, flashes on the crashes, fades from and to black."""
    square = piece.models.square
    bloom = Scene(name="bloom")
    light = recipes.added_bitmap((0.21, 0.185, 0.16), bitmap=piece.bitmaps.bloom, name="bloom light")
    for dx, dy in ((0.005, 0.007), (-0.005, 0.007), (-0.005, -0.007), (0.005, -0.007)):
        bloom.add(square, light, position=(0.5 + dx, 0.5 + dy, 0.9))
    for start, end in piece.bloomed:
        piece.show(BLOOM, start, end, bloom, FLAT, "link")

    dark = recipes.cutout_on_top(WHITE, bitmap=piece.bitmaps.vignette, name="corners")
    corners = Scene(name="corners")
    corners.add(square, dark, position=(0.5, 0.5, 0.0))
    piece.show(LENS, 0, END, corners, FLAT, "link")

    bars, opening, closing = (Scene(name=name) for name in ("bars", "bars open", "bars close"))
    for y in (0.0, 1.0):
        bars.add(square, piece.black, position=(0.5, y, 0.0), scale=(1.0, 0.17, 1.0))
    for first, last in ((0.0, -0.1), (1.0, 1.1)):
        opening.add(square, piece.black, position=(0.5, ease_in(first, last, 100), 0.0),
                    scale=(1.0, 0.17, 1.0))
    for first, last in ((-0.1, 0.0), (1.1, 1.0)):
        closing.add(square, piece.black, position=(0.5, ease_out(first, last, 100), 0.0),
                    scale=(1.0, 0.17, 1.0))
    for start, end, scene in ((0, 1500, bars), (1500, 1600, opening), (1600, 4700, None),
                              (4700, 4800, closing), (4800, 6300, bars), (6300, 6400, opening),
                              (6400, 8700, None), (8700, 8800, closing), (8800, END, bars)):
        piece.show(BARS, start, end, scene, FLAT, "link")

    flash, soft, white_in, fade_in, fade_out = (
        recipes.added_color_on_top(ease_out(0.85, 0.0, 70) * Color(1.0, 0.86, 0.66), name="flash"),
        recipes.added_color_on_top(ease_out(0.5, 0.0, 110) * Color(1.0, 0.62, 0.34),
                                   name="soft flash"),
        recipes.added_color_on_top(ease_in(0.0, 1.0, 100) * Color(0.9, 0.8, 0.66), name="white in"),
        recipes.color_on_top(BLACK, alpha=line(1.0, 0.0, 300), name="fade in"),
        recipes.color_on_top(BLACK, alpha=line(0.0, 1.0, 190).then(1.0, 60), name="fade out"))
    full = {}
    for material in (flash, soft, white_in, fade_in, fade_out):
        full[material] = Scene(name=material.name)
        full[material].add(square, material, position=(0.5, 0.5, 0.0))
    for start, material in ((1600, flash), (3200, flash), (4000, soft), (4800, soft), (5600, soft),
                            (6400, flash), (7200, flash), (8000, flash), (8400, soft),
                            (8800, flash)):
        piece.show(FLASH, start, start + (70 if material is flash else 110), full[material], FLAT,
                   "link")
    for row, start, end, material in ((FADE, 0, 300, fade_in), (FLASH, 1500, 1600, white_in),
                                      (FLASH, 6300, 6400, white_in), (FADE, 9360, END, fade_out)):
        piece.show(row, start, end, full[material], FLAT, "link")


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
