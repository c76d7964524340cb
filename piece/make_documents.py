#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""Writes the documents of the piece: loading.xml, and demo.xml, which plays for two minutes.

    make_documents.py [folder]      the folder defaults to that of this script

A beat of the music lasts 50 ticks, a bar 200. Cuts lie on bars, and on beats where the music rolls.
"""

import os
import sys
from types import SimpleNamespace
from typing import NamedTuple

sys.path.insert(0, os.path.join(os.path.dirname(os.path.abspath(__file__)), "../python"))

from quorvale import (BLACK, FLAT, WHITE, Bitmap, Camera, Color, Document, Fog, Light, Material,
                      Model, Scene, ease_in, ease_out, effects, hold, layers, levels, line, look,
                      path, recipes, ring_down, span, spline, waters, wave)
from quorvale.manipulators import model_placer, rippler, x_multiplier, xyz_multiplier
from quorvale.steps import blur, convolution, emboss, invert, offset, ripple, scale

from make_bitmaps import BITMAPS
from make_models import LETTERS, LINES, MODELS, SPACING, TITLE

BEAT = 50
BAR = 200
END = 12000

# Rows: what is drawn later lies on top. The first two draw into bitmaps.
(TARGET, TARGET_FRONT, SKY, GLOW_BEHIND, STAGE, FRONT, GLOW, BLOOM, TEXT, FLASH, BARS,
 FADE) = range(12)

NIGHT = Color(0.030, 0.030, 0.070)
DUSK = Color(0.20, 0.035, 0.15)
PLUM = Color(0.34, 0.09, 0.24)
ROSE = Color(1.0, 0.10, 0.40)
STEEL = Color(0.30, 0.36, 0.46)
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


def shot(start, end, first, last, fov, roll=0.0):
    """A stretch of a part, and a camera that goes on it from one (eye, target) to another."""
    return start, end, path([(0, *first), (end - start, *last)], fov, roll)


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
    edge = layers.radial(BLACK, margin=WHITE, offset=16, name="edge")
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
                        | blur()) * (belt * 1.5) * (belt * 1.2) * 1.5
                        + low * 0.22
                       | offset(-64, 90)).named("nebula")
    # Mirrored surroundings: lamps behind a ripple, brighter towards the rim.
    textures.gilt = (((bands * 0.8 * (bands * 1.5) | ripple(0.03, 0.06, 2, 2)) + lamps * 0.7
                      | blur()) * (bowl * 1.5) + dusk).named("gilt")
    # A light from below, on the left, that only what turns away from the viewer mirrors.
    textures.rim = ((spot | offset(40, -40)) * edge * 4.0).named("rim")
    # Still water: dark towards the viewer, bright where it is seen flat.
    textures.water = (shore | ripple(0.01, 0.02, 2, 3) | blur()).named("water")
    textures.sheen = ((lamps * 0.8 | ripple(0.02, 0.02, 2, 1) | blur()) * bowl).named("sheen")
    return textures


# ---------------------------------------------------------------------------------------------
# The demo


class Lit(NamedTuple):
    """A lit material, and one for a second light that is added on the same object."""
    material: Material
    rim: Material | None = None


class Piece:
    """The demo's document, and what its scenes share."""

    def __init__(self):
        self.textures = make_textures()
        self.models = load_models([name for name in MODELS if name != "wedge"]
                                  + title_models() + list(LINES))
        self.bitmaps = SimpleNamespace(**{name: Bitmap(name + ".png") for name in BITMAPS})
        self.black = recipes.color_on_top(BLACK, name="black")
        self.starlight = recipes.added_bitmap((0.80, 0.88, 1.0), bitmap=self.bitmaps.glow,
                                              name="starlight")
        self.document = Document("quorvale.xm")
        self.document.keep(*vars(self.textures).values(), *vars(self.models).values(),
                           *vars(self.bitmaps).values())
        self.rows = self.document.rows(12)
        self.gradient = effects.test(line(0.0, 255.0, 400).looped(), 0.0, size=64, name="gradient")
        self.at = 0  # where the part that is being written begins
        self.stages = SimpleNamespace()  # scenes that later parts show again
        self.fogs = {}
        self.skies = {name: self.nebula_sky(name, color) for name, color in
                      (("blue", Color(0.44, 0.66, 1.0)), ("rose", Color(1.0, 0.22, 0.50)),
                       ("violet", Color(0.72, 0.36, 1.0)))}
        over = self.stages.bloom = Scene(name="bloom")
        over.add(self.models.square, recipes.added_bitmap(
            (0.8, 0.7, 0.66), bitmap=self.bitmaps.bloom, name="bloom light"), position=(0.5, 0.5, 0.9))

    def lit(self, material, rim=None, rim_color=None, bumps=False):
        """A material with an added one for the light `rim`: a mirrored edge of its color or, if
        `bumps` is set, the light itself over the bumps of a hammered plate."""
        if rim is None:
            return Lit(material)
        color, name = rim_color or Color(*material.color) * 0.8, material.name + " rim"
        if bumps:
            return Lit(material, recipes.added_bump(color, light=rim, bitmap=self.bitmaps.vectors,
                                                    bitmap2=self.bitmaps.bumps, name=name))
        shine = tuple(a * b * 0.6 for a, b in zip(rim.diffuse, color))
        return Lit(material, recipes.added_environment(shine, texture=self.textures.rim, name=name))

    def metal(self, name, light, rim=None, rim_color=None, color=WHITE):
        """A material that mirrors a room, which turns with the object."""
        return self.lit(recipes.lit_bitmap_environment(color, light=light, bitmap=self.bitmaps.room,
                                                       turns=True, name=name), rim, rim_color)

    def put(self, scene, model, lit, **placement):
        """An object, drawn a second time for its other light if its material has one."""
        scene.add(model, lit.material, **placement)
        if lit.rim is not None:
            scene.add(model, lit.rim, **placement)

    def nebula_sky(self, name, color):
        """Clouds of light about the camera, brighter on each beat, and the stars before them."""
        nebula = recipes.texture((BEAT_PULSE * 0.45 + 0.85) * color, texture=self.textures.nebula,
                                 name=name + " nebula")
        scene = Scene(name=name + " nebula")
        scene.add(self.models.dome, nebula, rotation=(10.0, line(0.0, 24.0, 800), 16.0), scale=40.0)
        scene.add(self.models.stars, self.starlight, scale=30.0,
                  rotation=(30.0, line(0.0, 16.0, 800), 0.0))
        return scene

    def fog(self, start, end, color=NIGHT):
        material = self.fogs.setdefault(color, recipes.color(
            color, name="fog %d" % (len(self.fogs) + 1)))
        return Fog(start, end, material)

    def show(self, row, start, end, scene, camera, how="simple", **options):
        self.rows[row].show(scene, camera, self.at + start, self.at + end, how=how, **options)

    def cut(self, row, shots, scene, how="simple", **options):
        """One scene that goes on while its cameras change: shots of (start, end, camera)."""
        for start, end, camera in shots:
            ahead = start - shots[0][0]
            self.show(row, start, end, scene, camera.later(ahead), how, offset=ahead, **options)

    def sky(self, shots, scene):
        """A scene about the cameras, which only turn in it."""
        self.cut(SKY, [(start, end, camera.turning_only()) for start, end, camera in shots], scene)

    def glow(self, row, view, material, side, **placement):
        """A light that faces the camera of a view, (start, end, camera); the scene that holds it."""
        start, end, camera = view
        scene = Scene(name="%s %d" % (material.name, self.at + start))
        scene.add(self.models.square, material, rotation=camera.facing(end - start),
                  scale=(side, side, 1.0), **placement)
        self.show(row, start, end, scene, camera, "link")
        return scene

    def bloom(self, start, end, scene, camera, **options):
        """The scene once more in a bitmap of half the window's sides, and its light runs over."""
        self.show(TARGET, start, end, scene, camera, "texture_quarter", target=self.bitmaps.bloom,
                  **options)
        self.show(BLOOM, start, end, self.stages.bloom, FLAT, "link")

    def words(self, start, end, name):
        """A line of text on a dark band."""
        shown = line(0.0, 1.0, 30).then(hold(1.0, end - start - 70)).then(line(1.0, 0.0, 40))
        scene = Scene(name=name)
        scene.add(self.models.square, recipes.effect(
            (0.42, 0.03, 0.20), effect=self.gradient, alpha=shown * 0.85, name=name + " band"),
            position=(0.0, -5.0, 0.0), scale=(40.0, 2.3, 1.0))
        scene.add(getattr(self.models, name), recipes.color_on_top(
            CREAM, alpha=shown, name=name + " ink"), position=(0.0, -5.0, 0.0),
            scale=(line(1.08, 1.16, end - start), 1.1, 1.0))
        self.show(TEXT, start, end, scene, look((0.0, 0.0, 18.0), (0.0, 0.0, 0.0), 45.0),
                  "clear_depth")


def add_opening(piece):
    """0 to 8 s: through hoops of gold and rose into a light, and out of it the title, a letter on
    each beat."""
    ahead = Light((BEAT_PULSE * 0.8 + 0.9) * GOLD, (0.0, 0.0, line(0.0, -100.0, 400)),
                  ambient=(0.3, 0.2, 0.2), name="hoop light")
    gold = piece.metal("hoops", ahead).material
    rose = recipes.color((BEAT_PULSE * 0.55 + 0.45) * ROSE, name="rose hoops")
    shard = recipes.bitmap_environment((BEAT_PULSE * 0.5 + 0.7) * Color(1.0, 0.80, 0.66),
                                       bitmap=piece.bitmaps.room, name="flying shards")
    core = recipes.texture(CREAM, texture=piece.textures.lava, name="opening core")
    glare = recipes.added_texture_on_top((BEAT_PULSE * 0.4 + 0.6) * GOLD,
                                         texture=piece.textures.halo, name="opening glare")
    scene = piece.stages.tunnel = Scene(name="tunnel")
    for material, z in ((gold, 0.0), (rose, -3.0)):
        scene.add(piece.models.ring, material, position=(0.0, 0.0, z),
                  rotation=(90.0, 0.0, line(0.0, 90.0, 400)), scale=(2.7, 9.0, 2.7),
                  manipulators=[x_multiplier(18.0, (0.0, 0.0, -6.0), (0.0, 0.0, 9.0))])
    for x, y in ((-5.4, -3.2), (3.4, 2.6), (-4.6, 3.4), (3.8, -4.2)):
        scene.add(piece.models.shard, shard, position=(x, y, -4.0),
                  rotation=(60.0, line(0.0, 180.0, 400), 0.0), scale=(0.5, 1.4, 0.5),
                  manipulators=[xyz_multiplier((2, 1, 12), (1.8, 0, -9), (30, 50, 70))])
    scene.add(piece.models.ember, core, position=(0.0, 0.0, -116.0), scale=3.2,
              rotation=(0.0, line(0.0, 120.0, 400), 0.0))
    flight = path([(0, (0.5, 0.3, 5), (0, 0, -12)), (90, (-0.5, 0.5, -12), (0, 0, -40)),
                   (190, (0.6, -0.4, -40.0), (0.0, 0.0, -90.0)),
                   (300, (-0.4, 0.3, -76.0), (0.0, 0.0, -116.0)),
                   (400, (0.0, 0.0, -111.0), (0.0, 0.0, -118.0))],
                  BEAT_PULSE * -12.0 + 84.0, roll=spline([(0, -20.0), (200, 25.0), (400, 0.0)]))
    piece.sky([(0, 400, flight)], piece.skies["rose"])
    piece.show(STAGE, 0, 400, scene, flight, "clear_depth", fog=piece.fog(18.0, 80.0, DUSK))
    piece.glow(GLOW, (0, 400, flight), glare, ease_in(16, 26, 400), position=(0.0, 0.0, -114.0))

    warm = Light(GOLD * 1.5, (line(-3.0, 9.0, 400), 1.5, 6.0), ambient=(0.2, 0.1, 0.1),
                 name="title warm")
    cold = Light(ROSE * 1.5, (2.0, -6.0, -3.0), name="title rose")
    title = piece.metal("title", warm, cold, CREAM * 0.7, color=CREAM)
    face = recipes.added_environment((BEAT_PULSE * 0.8 + 0.35) * GOLD,
                                     texture=piece.textures.sheen, name="title face")
    wash = recipes.added_texture_on_top((BEAT_PULSE * 0.7 + 0.15) * ROSE,
                                        texture=piece.textures.halo, name="title wash")
    scene = Scene(name="title")
    # Each letter does the same a beat after the one before. Ahead of its beat its time lies before
    # 0, which counts as the far end of time: there the letter is hidden.
    swing = ring_down(0.0, 75.0, 55.0, 190).then(0.0)
    depth = ease_out(5.0, 0.0, 24).then(0.0)
    for k, (letter, x) in enumerate(title_places()):
        placement = {"position": (x, 0.0, depth), "rotation": (0.0, swing, 0.0),
                     "visible": levels([(0, 1.0), (500, 0.0)]), "shift": -1.0 * k * BEAT}
        model = getattr(piece.models, letter)
        piece.put(scene, model, title, **placement)
        scene.add(model, face, **placement)
    camera = path([(0, (-0.8, -0.7, 8.2), (0, 0, 0)), (400, (0.5, 0.3, 8.6), (0, 0, 0))],
                  BEAT_PULSE * -5.0 + 56.0)
    piece.bloom(400, 800, scene, camera)
    piece.sky([(400, 800, camera)], piece.skies["violet"])
    piece.glow(GLOW_BEHIND, (400, 800, camera), wash, 9.0)
    piece.show(STAGE, 400, 800, scene, camera, "clear_depth")


def add_void(piece):
    """8 to 16 s: silence, an ember in its shell."""
    breath = ease_in(0.55, 1.0, BAR).swinging()
    inside = Light(breath * (EMBER * 2.0), name="void inside")
    moon = Light((1.0, 0.72, 0.86), (-6.0, 7.0, 9.0), name="void moon")
    shell = piece.lit(recipes.lit_color(STEEL, light=inside, name="void shell"), moon,
                      Color(0.62, 0.66, 0.86), bumps=True)
    ember = recipes.texture(breath * Color(1.0, 0.86, 0.70), texture=piece.textures.lava,
                            name="void ember")
    glow = recipes.added_texture_on_top(breath * EMBER, texture=piece.textures.halo,
                                        name="void glow")
    camera = path([(0, (4.0, 2.4, 8.6), (0.0, 0.3, 0.0)), (300, (2.4, 1.2, 6.4), (0.0, 0.0, 0.0)),
                   (560, (-0.6, 0.3, 4.8), (0, -0.3, 0)), (800, (-2.4, -0.3, 3.2), (0, 0, 0))],
                  52.0)
    scene = piece.stages.void = Scene(name="void")
    turn = (line(0.0, 26.0, 800), line(0.0, 120.0, 800), 0.0)
    piece.put(scene, piece.models.shell, shell, rotation=turn, scale=1.6)
    scene.add(piece.models.ember, ember, scale=0.56, rotation=turn)
    piece.sky([(0, 800, camera)], piece.skies["blue"])
    piece.show(STAGE, 0, 800, scene, camera, "clear_depth", fog=piece.fog(14.0, 60.0))
    piece.glow(GLOW, (0, 800, camera), glow, wave(6.4, 0.6, BAR, 0.75))
    piece.words(420, 780, "words_real_time")


def add_thread(piece):
    """16 to 24 s: along the knot, lit by what passes."""
    warm = Light((HALF_PULSE * 0.8 + 1.1) * Color(1.0, 0.74, 0.46),
                 (wave(0.0, 2.4, 200), wave(0.0, 2.4, 200, 0.25), 1.4),
                 ambient=(0.66, 0.16, 0.36), name="thread warm")
    thread = recipes.lit_environment(WHITE, light=warm, texture=piece.textures.gilt, name="thread")
    scene = piece.stages.thread = Scene(name="thread")
    turn = (line(-20.0, 10.0, 800), line(0.0, 100.0, 800), 0.0)
    scene.add(piece.models.knot, thread, rotation=turn)
    kick = HALF_PULSE * -3.0
    shots = [shot(0, 200, ((1.9, -1, 1.1), (0.5, 0.2, 0)), ((0.9, -1.5, 1.3), (0, 0.4, 0)), kick + 58),
             shot(200, 400, ((-0.4, 1.7, 1.2), (0.4, 0, 0)), ((0.9, 1.5, 1.5), (0, 0, 0)), kick + 62),
             shot(400, 600, ((2.6, 0.2, 1.5), (0, 0, 0)), ((2, 0.9, 2.2), (0, 0, 0)), kick + 56),
             shot(600, 800, ((-0.6, 0.5, 2.5), (0, 0, 0)), ((0.2, 0.1, 4), (0, 0, 0)), kick + 52)]
    piece.sky(shots, piece.skies["violet"])
    piece.cut(STAGE, shots, scene, "clear_depth", fog=piece.fog(2.0, 12.0, DUSK))


def add_arcade(piece):
    """24 to 32 s: down an arcade, a light running ahead on each kick, towards a gate."""
    ahead = line(-2.0, -26.0, BAR).looped()
    warm = Light((BEAT_PULSE * 1.2 + 0.7) * EMBER, (0.0, 2.2, ahead), ambient=(0.36, 0.12, 0.24),
                 name="arcade warm")
    stone = recipes.lit_texture(WHITE, light=warm, texture=piece.textures.stone,
                                name="arcade stone")
    ground = recipes.lit_texture(WHITE, light=warm, texture=piece.textures.bricks,
                                 name="arcade floor")
    wire = recipes.wireframe(GOLD, alpha=BEAT_PULSE * 0.5, width=1.5, name="arcade wire")
    portal = recipes.bitmap((BEAT_PULSE * 0.2 + 0.8) * WHITE, bitmap=piece.bitmaps.portal,
                            name="gate")
    scene = piece.stages.arcade = Scene(name="arcade")
    scene.add(piece.models.arcade, stone, manipulators=[x_multiplier(12, (0, 0, -4))])
    scene.add(piece.models.floor, ground, position=(0.0, -0.25, -22.0), scale=(10.0, 1.0, 26.0))
    scene.add(piece.models.arcade, wire, position=(0.0, 0.0, -8.0),
              manipulators=[x_multiplier(3.0, (0.0, 0.0, -12.0))])
    gate = Scene(name="gate")
    gate.add(piece.models.square, portal, position=(0.0, 2.75, -48.0), scale=(9.6, -6.0, 1.0))
    last = path([(0, (0, 1.3, -17), (0, 3.4, -48)), (120, (0, 1.9, -31), (0, 2.9, -48)),
                 (200, (0.0, 2.6, -44.6), (0.0, 2.75, -48.0))],
                spline([(0, 58.0), (120, 62.0), (200, 72.0)]))
    shots = [(0, 400, path(
        [(0, (0.0, 1.2, 4.0), (0.0, 3.0, -10.0)), (200, (0.5, 1.6, -4.5), (0.0, 3.2, -18.0)),
         (400, (-0.4, 2.4, -13.0), (0.0, 4.0, -28.0))], BEAT_PULSE * -5.0 + 66.0)),
             shot(400, 600, ((8.5, 1, 0), (0, 4, -9)), ((7.6, 1.8, -4), (0, 4, -13)),
                  BEAT_PULSE * -5 + 60),
             (600, 800, last)]
    piece.sky(shots, piece.skies["rose"])
    piece.cut(STAGE, shots, scene, "clear_depth", fog=piece.fog(10.0, 70.0, DUSK))
    piece.show(FRONT, 600, 800, gate, last, "link", fog=piece.fog(14.0, 80.0, DUSK))
    piece.show(TARGET, 600, 800, piece.stages.machine,
               look((-2.6, -1.0, 3.4), (0.6, 0.4, 0.0), 56.0), "texture_wide",
               fog=piece.fog(6.0, 24.0, DUSK), target=piece.bitmaps.portal)


GEARS = [  # radius, x, y, direction and start in degrees
    (2.0, 0.0, 0.0, 1.0, 0.0), (1.0, 2.86, 0.30, -2.0, 7.0), (1.4, -3.0, 1.1, -1.43, 3.0),
    (1.0, 1.2, 2.65, -2.0, 2.0), (1.4, 4.6, -1.35, 1.43, 11.0), (1.0, -1.1, -2.68, -2.0, 5.0),
]


def add_machine(piece):
    """32 to 38 s: wheels, one stroke on each beat, before a wall that glows."""
    turns = ease_in(0.0, 15.0, 12)
    for k in range(1, 8):
        turns = turns.then(hold(15.0 * k, 38)).then(ease_in(0.0, 15.0, 12) + 15.0 * k)
    turns = turns.then(hold(120.0, 38)).looped()
    warm = Light((BEAT_PULSE * 0.7 + 0.9) * Color(1.0, 0.62, 0.32), (3.0, 3.5, 3.0),
                 ambient=(0.2, 0.16, 0.18), name="machine warm")
    furnace = Light((BEAT_PULSE * 1.2 + 0.9) * ROSE, (wave(0.0, 5.0, 400), 1.0, -4.5),
                    ambient=(0.42, 0.10, 0.30), name="furnace")
    brass = piece.metal("brass", warm).material
    iron = recipes.lit_texture(STEEL * 1.9, light=warm, texture=piece.textures.brushed, name="iron")
    wire = recipes.wireframe(GOLD, alpha=BEAT_PULSE * 0.5, width=1.2, name="machine wire")
    wall = recipes.lit_texture(WHITE, light=furnace, texture=piece.textures.panels,
                               name="machine wall")
    scene = piece.stages.machine = Scene(name="machine")
    depth = [x_multiplier(2.0, (0.9, -0.6, -2.6), (0.0, 0.0, 9.0))]
    for k, (radius, x, y, ratio, start) in enumerate(GEARS):
        metal = brass if k % 2 == 0 else iron
        placement = {"position": (x, y, 0.0), "rotation": (0.0, 0.0, turns * ratio + start),
                     "scale": (radius, radius, 1.6)}
        scene.add(piece.models.gear, metal, manipulators=depth if k % 2 == 0 else (),
                  **placement)
    scene.add(piece.models.floor, wall, position=(0.0, 0.0, -8.0), rotation=(90.0, 0.0, 0.0),
              scale=(32.0, 1.0, 32.0))
    # Wide windows and the gate see past that wall, so the room has sides.
    for x, turn in ((-28.0, -90.0), (28.0, 90.0)):
        scene.add(piece.models.floor, wall, position=(x, 0.0, 0.0), rotation=(0.0, 0.0, turn),
                  scale=(64.0, 1.0, 64.0))
    scene.add(piece.models.gear, wire, rotation=(0.0, 0.0, turns), scale=(2.02, 2.02, 1.75))
    kick = BEAT_PULSE * -4.0
    piece.cut(STAGE, [
        shot(0, 200, ((-2.6, -1, 3.4), (0.6, 0.4, 0)), ((-1.2, -0.2, 3.8), (0.8, 0.3, 0)), kick + 58),
        shot(200, 400, ((5.2, 2.6, 3.2), (1.4, 0.2, -1)), ((4.2, 3.2, 4.2), (1, 0.2, -1)), kick + 52),
        shot(400, 600, ((0.2, 0.1, 2.2), (0, 0, 0)), ((0.4, 0.5, 7.4), (0.4, 0.2, 0)),
             kick + 62, roll=spline([(0, 0), (100, 12), (200, 40)]))],
        scene, fog=piece.fog(8.0, 30.0, DUSK))


def add_roll(piece):
    """38 to 40 s: one picture a beat, closing in."""
    closing = line(60.0, 44.0, BEAT)
    shots = [(piece.stages.machine, "rose", look((0.9, 1.2, 1.7), (0.2, 0.2, 0.0), closing), 600),
             (piece.stages.tunnel, "violet", look((0.3, 0.2, -20.0), (0.0, 0.0, -40.0),
                                                  line(100.0, 60.0, BEAT)), 100),
             (piece.stages.arcade, "rose", look((0.0, 0.4, -2.0), (0.0, 5.4, -9.0),
                                                line(74.0, 50.0, BEAT)), 500),
             (piece.stages.void, "blue", look((0.0, 0.0, 2.6), (0.0, 0.0, 0.0),
                                              line(60.0, 22.0, BEAT)), 700)]
    for k, (scene, sky, camera, offset_) in enumerate(shots):
        start, end = k * BEAT, (k + 1) * BEAT
        piece.sky([(start, end, camera)], piece.skies[sky])
        piece.show(STAGE, start, end, scene, camera.later(offset_), "clear_depth", offset=offset_,
                   fog=piece.fog(5.0, 40.0, DUSK))


def add_hero(piece):
    """40 to 48 s: the blossom within its hoops."""
    warm = Light((BEAT_PULSE * 0.6 + 1.0) * Color(1.0, 0.58, 0.26),
                 (wave(0.0, 5.0, 400), 2.5, wave(0.0, 5.0, 400, 0.25)),
                 ambient=(0.56, 0.14, 0.30), name="hero warm")
    blossom = recipes.environment((1.0, 0.62, 0.50), texture=piece.textures.gilt, name="blossom")
    coat = recipes.added_bitmap_environment((BEAT_PULSE * 0.6 + 0.3) * Color(1.0, 0.60, 0.62),
                                            bitmap=piece.bitmaps.room, turns=True,
                                            name="blossom coat")
    hoop = recipes.lit_environment(WHITE, light=warm, texture=piece.textures.gilt, name="hoop")
    shard = recipes.lit_color((1.0, 0.50, 0.62), light=warm, name="shard")
    glow = recipes.added_texture_on_top((BEAT_PULSE * 0.5 + 0.5) * EMBER,
                                        texture=piece.textures.halo, name="hero glow")
    air = recipes.effect((BEAT_PULSE * 0.3 + 0.7) * Color(1.0, 0.24, 0.58), name="hero air",
                         effect=effects.plasma(wave(51, 7, 800, 0.75), gray=True, name="plasma"))
    sky = Scene(name="hero air")
    sky.add(piece.models.square, air, position=(0.5, 0.5, FAR))
    scene = piece.stages.hero = Scene(name="hero")
    turn = (line(0.0, 40.0, 800), line(0.0, 200.0, 800), 0.0)
    bend = [rippler(line(0.0, 25.0, 800), BEAT_PULSE * 0.10 + 0.03, 7.0)]
    for material in (blossom, coat):
        scene.add(piece.models.blossom, material, rotation=turn, scale=BEAT_PULSE * 0.22 + 1.12,
                  manipulators=bend)
    rings = [x_multiplier(5.0, turn=(36.0, 0.0, 24.0), scale=(0.12,) * 3)]
    scene.add(piece.models.ring, hoop,
              rotation=(line(0.0, 360.0, 800), 20.0, line(0.0, 90.0, 800)), scale=2.05,
              manipulators=rings)
    for y, tilt in ((6.5, 1.0), (-8.5, -1.0)):
        shards = xyz_multiplier((9.0, 2.0, 9.0), (3.4, 2.6 * tilt, 3.4), (50.0, 40.0, 70.0))
        scene.add(piece.models.shard, shard, position=(-13.6, y, -13.6),
                  rotation=(20.0, line(0.0, 90.0 * tilt, 800), 0.0), scale=(0.7, 1.5, 0.7),
                  manipulators=[shards])
    kick = BEAT_PULSE * -5.0
    shots = [
        shot(0, 200, ((0, 0.4, 3.4), (0, 0, 0)), ((2.4, 1.4, 6), (0, 0, 0)), kick + 56),
        shot(200, 400, ((-4.4, 3.4, 3.4), (0, 0, 0)), ((-5, 1, 1.4), (0, 0, 0)), kick + 54),
        (400, 800, path([(0, (5.4, -1.6, 4.2), (0, 0.2, 0)), (140, (3.6, -1, 5.4), (0, 0.2, 0)),
                         (400, (-2.4, 1.8, 7.2), (0.0, 0.0, 0.0))], kick + 54.0))]
    piece.cut(SKY, [(start, end, FLAT) for start, end, _ in shots], sky)
    for view in shots:
        piece.glow(GLOW_BEHIND, view, glow, 9.0)
    piece.cut(STAGE, shots, scene, "clear_depth", fog=piece.fog(7.0, 34.0, DUSK))


def add_city(piece):
    """48 to 56 s: over the masts at dusk, the ground overgrown with lights."""
    cold = Light((BEAT_PULSE * 0.8 + 1.6) * BLUE, (wave(-10.0, 30.0, 800), 26.0, 40.0),
                 ambient=(0.24, 0.08, 0.26), name="city cold")
    mast = recipes.lit_color(STEEL * 2.2, light=cold, name="mast")
    lights = effects.amoba(line(0.0, 80.0, 800), gray=True, name="lights")
    ground = recipes.effect((BEAT_PULSE * 0.5 + 0.7) * Color(1.0, 0.32, 0.26), effect=lights,
                            name="ground")
    beacon = recipes.added_bitmap((BEAT_PULSE * 0.8 + 0.2) * ROSE, bitmap=piece.bitmaps.glow,
                                  name="beacon")
    dusk = recipes.bitmap(WHITE, bitmap=piece.bitmaps.dusk, name="city sky")
    moon = recipes.two_bitmaps((1.0, 0.96, 0.90), bitmap=piece.bitmaps.marble,
                               bitmap2=piece.bitmaps.moonlight, name="moon")
    sky = piece.stages.dusk = Scene(name="city sky")
    sky.add(piece.models.dome, dusk, rotation=(0.0, 40.0, 0.0), scale=40.0)
    sky.add(piece.models.stars, piece.starlight, scale=6.0, rotation=(0.0, 0.0, 70.0))
    sky.add(piece.models.ember, moon, position=(0.30, 0.36, -0.80), scale=0.13,
            rotation=(0.0, -20.0, 0.0))
    scene = piece.stages.city = Scene(name="city")
    scene.add(piece.models.floor, ground, position=(0.0, 0.0, -20.0), scale=(60.0, 1.0, 60.0))
    masts = [xyz_multiplier((7.0, 1.0, 6.0), (6.0, 0.0, -8.0))]
    scene.add(piece.models.tower, mast, position=(-18, 0, 4), rotation=(0, 24, 0),
              scale=(1.1, 1.0, 1.1), manipulators=masts)
    kick = BEAT_PULSE * -4.0
    shots = [(0, 400, path(
        [(0, (-14.0, 12.0, 22.0), (-2.0, 4.5, -10.0)), (220, (-4.0, 9.0, 9.0), (2.0, 5.0, -20.0)),
         (400, (4.0, 5.0, -2.0), (4.0, 6.0, -30.0))], kick + 56.0,
        roll=spline([(0, -6.0), (200, 0.0), (400, 7.0)]))),
             shot(400, 600, ((3, 0.8, 2), (0.6, 9, -8)), ((2.6, 1, -2), (0, 8, -14)), kick + 68),
             shot(600, 800, ((11, 13, -44), (0, 5, -18)), ((-9, 15, -46), (0, 5, -18)), kick + 56)]
    piece.sky(shots, sky)
    piece.cut(STAGE, shots, scene, "clear_depth", fog=piece.fog(5.0, 70.0, PLUM))
    for view in shots:
        piece.glow(GLOW, view, beacon, 2.4, position=(-18.0, 9.4, 4.0), manipulators=masts)


def add_stair(piece):
    """56 to 64 s: up a winding stair, slowly; two lines of text."""
    climb = line(2.0, 12.0, 800)
    warm = Light((BAR_PULSE * 0.6 + 0.9) * EMBER, (0.0, climb, 0.0), ambient=(0.36, 0.40, 0.80),
                 name="stair warm")
    tread = recipes.lit_bitmap(WHITE, light=warm, bitmap=piece.bitmaps.marble, name="tread")
    wire = recipes.wireframe(ROSE, alpha=BAR_PULSE * 0.5 + 0.15, name="stair wire")
    core = recipes.texture((1.0, 0.86, 0.70), texture=piece.textures.lava, name="stair core")
    glow = recipes.added_texture_on_top((BAR_PULSE * 0.4 + 0.6) * EMBER,
                                        texture=piece.textures.halo, name="stair glow")
    scene = piece.stages.stair = Scene(name="stair")
    treads = [x_multiplier(84.0, (0.0, 0.2, 0.0), (0.0, 15.0, 0.0))]
    scene.add(piece.models.tread, tread, rotation=(0.0, line(0.0, -60.0, 800), 0.0),
              manipulators=treads)
    scene.add(piece.models.tread, wire, rotation=(0.0, line(180.0, 240.0, 800), 0.0),
              scale=(1.7, 1, 1.7), manipulators=[x_multiplier(42, (0, 0.4, 0), (0, 30, 0))])
    scene.add(piece.models.ember, core, position=(0.0, climb, 0.0), scale=0.22)
    shots = [(0, 400, path([(0, (6.4, 1, 4.2), (0, 3.4, 0)), (150, (2.6, 2.9, 7), (0, 4, 0)),
                            (400, (-5.8, 5.6, 5.2), (0.0, 6.2, 0.0))], BAR_PULSE * -3.0 + 54.0)),
             shot(400, 800, ((1.5, 17.6, 1.3), (0, 7, 0)), ((-1.8, 19.6, 1.1), (0, 8, 0)),
                  spline([(0, 66), (200, 60), (400, 52)]), roll=line(0, 23, 400))]
    piece.sky(shots, piece.skies["violet"])
    piece.cut(STAGE, shots, scene, "clear_depth", fog=piece.fog(7.0, 26.0, DUSK))
    for k, view in enumerate(shots):
        piece.glow(GLOW, view, glow, 4.4,
                   position=(0.0, line(2.0 + 5.0 * k, 7.0 + 5.0 * k, 400), 0.0))
    piece.words(40, 390, "words_no_shaders")
    piece.words(440, 790, "words_only_light")


def add_shoal(piece):
    """64 to 72 s: a crystal on each point of a swell, and one that calls them."""
    warm = Light((HALF_PULSE * 0.7 + 1.0) * ROSE, (0.0, 2.5, 0.0),
                 name="shoal rose")
    cold = Light((0.8, 0.9, 1.0), (9.0, 8.0, 9.0), ambient=(0.60, 0.22, 0.42), name="shoal cold")
    shard = piece.lit(recipes.lit_color((0.5, 0.8, 1.0), light=cold, name="fish"))
    caller = piece.metal("caller", cold, warm, Color(0.9, 0.5, 0.7), color=(1.0, 0.72, 0.84))
    glow = recipes.added_texture_on_top((BAR_PULSE * 0.5 + 0.5) * ROSE,
                                        texture=piece.textures.halo, name="shoal glow")
    swell = waters.centerwave_water(line(0.0, 50.0, 800), name="swell")
    scene = piece.stages.shoal = Scene(name="shoal")
    piece.put(scene, piece.models.shard, shard, rotation=(0.0, line(0.0, 180.0, 800), 0.0),
              scale=(0.34, 0.72, 0.34),
              manipulators=[model_placer(swell, (-18.0, -3.6, -18.0), scale=(1.2, 2.2, 1.2))])
    piece.put(scene, piece.models.crystal, caller, position=(0.0, wave(1.2, 0.5, 400), 0.0),
              rotation=(0.0, line(0.0, 480.0, 800), 14.0), scale=(1.5, BAR_PULSE * 0.5 + 2.6, 1.5))
    shots = [shot(0, 200, ((2, 5, 7.5), (0, 0.4, 0)), ((-1, 2.6, 8.8), (0, 0.6, 0)),
                  BAR_PULSE * -6 + 60),
             shot(200, 400, ((7.4, -0.4, 5), (0, 0.6, 0)), ((6, 0.6, 6.8), (0, 0.8, 0)),
                  BAR_PULSE * -6 + 62),
             (400, 800, path([(0, (-3.4, -0.8, 9), (0, 0.6, 0)), (200, (-7.4, 3, 5), (0, 0.2, 0)),
                              (400, (-6.0, 6.6, 8.0), (0.0, -0.4, 0.0))], BAR_PULSE * -6.0 + 62.0))]
    piece.sky(shots, piece.skies["rose"])
    for view in shots:
        piece.glow(GLOW_BEHIND, view, glow, 11.0, position=(0.0, 1.2, 0.0))
    piece.cut(STAGE, shots, scene, "clear_depth", fog=piece.fog(9.0, 36.0, PLUM))


def add_heart(piece):
    """72 to 80 s: within the shell; its heart beats, and races."""
    beat = HEART * 0.9 + 0.4
    racing = BEAT_PULSE * 0.8 + 0.6
    inside = Light(beat * (EMBER * 1.7), name="heart inside")
    wild_light = Light(racing * (EMBER * 2.0), ambient=(0.12, 0.08, 0.14), name="heart racing")
    moon = Light(ROSE * 1.2, (-6.0, 6.0, 7.0), ambient=(0.30, 0.14, 0.26), name="heart moon")
    # Without bitmaps the second rim is the plain light of the moon.
    shells = [piece.lit(recipes.lit_color(STEEL, light=inside, name="heart shell"), moon,
                        STEEL, bumps=True),
              Lit(recipes.lit_color(STEEL, light=wild_light, name="racing shell"),
                  recipes.added_bump((0.70, 0.50, 0.62), light=moon, name="racing shell rim"))]
    churn = effects.rotate(line(90.0, 98.0, 400), size=64, gray=True, name="churn")
    halo_ = piece.textures.halo
    embers = [recipes.effect((beat * 0.9 + 0.25) * Color(1.0, 0.52, 0.20), effect=churn,
                             name="heart ember"),
              recipes.texture((racing * 0.6 + 0.4) * Color(1.0, 0.86, 0.70),
                              texture=piece.textures.lava, name="racing ember")]
    glow = recipes.added_texture_on_top(beat * EMBER, texture=halo_, name="heart glow")
    wild_glow = recipes.added_texture_on_top(racing * EMBER, texture=halo_, name="racing glow")
    flare = recipes.cutout_on_top(WHITE, bitmap=piece.bitmaps.flare, name="racing flare")
    smoke = recipes.cutout(beat * Color(0.60, 0.17, 0.26), bitmap=piece.bitmaps.cloud, name="smoke")
    calm = (line(0.0, 18.0, 400), line(0.0, 40.0, 400), 0.0)
    wild = (ease_in(18.0, 120.0, 400), ease_in(40.0, 560.0, 400), 0.0)
    scenes = []
    for name, turn, shell, ember in zip(("heart", "racing"), (calm, wild), shells, embers):
        scene = Scene(name=name)
        piece.put(scene, piece.models.shell, shell, rotation=turn, scale=1.6)
        scene.add(piece.models.heart, ember, rotation=turn, scale=HEART * 0.08 + 0.46)
        scenes.append(scene)
    piece.stages.racing = scenes[1]
    inner = path([(0, (0.5, 0.1, 1.12), (-0.5, 0, -1)), (400, (0.95, 0.25, 0.75), (-0.7, 0.1, -1))],
                 HEART * -5.0 + 74.0)
    clouds = Scene(name="smoke")
    facing = inner.facing(400)
    for k, (x, y, z, drift, side) in enumerate((
            (-0.9, -0.5, -0.9, 0.5, 1.3), (0.1, 0.6, -1.1, -0.4, 1.5), (-0.7, 0.3, 0.2, 0.3, 0.9))):
        clouds.add(piece.models.square, smoke, position=(line(x, x + drift, 400), y, z),
                   rotation=facing[:2] + (40.0 * k,), scale=side)
    outer = path([(0, (0.0, 0.4, 2.6), (0.0, 0.0, 0.0)), (200, (2.4, 1.2, 4.2), (0.0, 0.0, 0.0)),
                  (330, (1.6, 2, 9), (0, 0, 0)), (400, (-0.6, 0.6, 17), (0, 0, 0))],
                 spline([(0, 60.0), (200, 54.0), (340, 60.0), (400, 100.0)]))
    for start, camera, scene in ((0, inner, scenes[0]), (400, outer, scenes[1])):
        piece.sky([(start, start + 400, camera)], piece.skies["rose"])
        piece.show(STAGE, start, start + 400, scene, camera, "clear_depth",
                   fog=piece.fog(6.0, 44.0, DUSK))
    piece.show(FRONT, 0, 400, clouds, inner, "link")
    piece.glow(GLOW, (0, 400, inner), glow, HEART * 0.6 + 2.6)
    light = piece.glow(GLOW, (400, 800, outer), wild_glow, ease_in(4.0, 15.0, 400))
    side = ease_in(0.8, 9.0, 400)
    light.add(piece.models.square, flare, rotation=outer.facing(400), scale=(side, side, 1.0),
              visible=span(200, 9999))


def add_valley(piece):
    """80 to 88 s: down a valley towards the first light."""
    dawn = Light((1.0, 0.50, 0.26), (0.0, -0.10, -0.72), ambient=(0.14, 0.05, 0.20), name="dawn")
    sun = Light((BEAT_PULSE * 0.4 + 1.3) * EMBER, (0.0, 14.0, -170.0), ambient=(0.66, 0.24, 0.52),
                name="valley sun")
    dawn_sky = recipes.lit_color(WHITE * 0.9, light=dawn, name="dawn sky")
    ground = recipes.lit_texture(WHITE, light=sun, texture=piece.textures.ground,
                                 name="valley ground")
    stone = piece.metal("valley stone", sun, color=(0.90, 0.80, 0.90))
    wire = recipes.wireframe(GOLD, alpha=BEAT_PULSE * 0.30, name="valley wire")
    disc = recipes.added_texture_on_top((BEAT_PULSE * 0.2 + 0.9) * Color(1.0, 0.62, 0.34),
                                        texture=piece.textures.halo, name="sun")
    flare = recipes.cutout_on_top((1.0, 0.9, 0.8), bitmap=piece.bitmaps.flare, name="sun flare")
    cloud = recipes.cutout((0.78, 0.24, 0.34), bitmap=piece.bitmaps.cloud, name="high cloud")
    sky = Scene(name="valley sky")
    sky.add(piece.models.dome, dawn_sky)
    side = BEAT_PULSE * 0.16 + 1.5
    sky.add(piece.models.square, disc, position=(0.0, 0.05, -0.9), scale=(side, side, 1.0))
    for x, y, width, drift in ((-0.30, 0.13, 0.62, 0.04), (0.25, 0.17, 0.70, 0.03),
                               (0.03, 0.24, 0.80, 0.05), (-0.16, 0.085, 0.46, 0.02)):
        sky.add(piece.models.square, cloud, position=(line(x, x + drift, 800), y, -0.45),
                scale=(width, 0.075, 1.0))
    flares = Scene(name="sun flare")
    flares.add(piece.models.square, flare, position=(0.0, 0.05, -0.9), scale=(0.9, 0.9, 1.0))
    scene = Scene(name="valley")
    scene.add(piece.models.terrain, ground, position=(0.0, 0.0, 32.0), scale=(1.0, 1.6, 1.0),
              manipulators=[x_multiplier(5.0, (0.0, 0.0, -32.0))])
    scene.add(piece.models.terrain, wire, position=(0.0, 0.03, 32.0), scale=(1.0, 1.6, 1.0),
              manipulators=[x_multiplier(2.0, (0.0, 0.0, -32.0))])
    for x, lean in ((-4.2, 8.0), (4.2, -8.0)):
        piece.put(scene, piece.models.crystal, stone, position=(x, 1.6, 12.0),
                  rotation=(0.0, line(0.0, 120.0, 800), lean), scale=(0.8, 2.6, 0.8),
                  manipulators=[x_multiplier(11.0, (0.0, 0.0, -13.0), (0.0, 33.0, 0.0))])
    shots = [(0, 400, path([(0, (0.0, 1.6, 24.0), (0.0, 2.4, -20.0)),
                            (200, (1.6, 2.6, 4.0), (0.0, 3.0, -40.0)),
                            (400, (-1.4, 2.0, -18.0), (0.0, 3.4, -80.0))], BEAT_PULSE * -4.0 + 60.0,
                           roll=spline([(0, 0.0), (110, -5.0), (260, 6.0), (400, 0.0)]))),
             (400, 800, path([(0, (-14.0, 9.0, -8.0), (0.0, 3.0, -40.0)),
                              (250, (-4.0, 5.0, -28.0), (0.0, 4.0, -70.0)),
                              (400, (0.0, 3.2, -46.0), (0.0, 6.0, -110.0))],
                             spline([(0, 52.0), (250, 58.0), (400, 74.0)])))]
    piece.sky(shots, sky)
    piece.cut(FRONT, shots, scene, "clear_depth", fog=piece.fog(18, 130, Color(0.42, 0.13, 0.16)))
    piece.show(GLOW, 400, 800, flares, shots[1][2].turning_only(), "link", offset=400)


def add_summit(piece):
    """88 to 96 s: at the height of the melody, the star among its own trails."""
    warm = Light((BEAT_PULSE * 0.8 + 1.2) * GOLD,
                 (wave(0.0, 7.0, 400), wave(3.0, 3.0, 267), wave(3.0, 7.0, 400, 0.25)),
                 ambient=(0.56, 0.16, 0.30), name="summit warm")
    cold = Light(ROSE * 1.6, (5.0, -7.0, -6.0), name="summit rose")
    star = piece.lit(recipes.lit_environment(WHITE, light=warm, texture=piece.textures.gilt,
                                             name="star"), cold, Color(0.7, 0.5, 0.6))
    hoop = piece.metal("summit hoop", warm)
    trace = recipes.color_on_top((BEAT_PULSE * 0.8 + 0.2) * Color(1.0, 0.20, 0.40), name="trail")
    old = recipes.clamped_bitmap(line(0.0, 0.95, 30).then(0.95) * Color(1.0, 0.97, 0.99),
                                 bitmap=piece.bitmaps.feedback, name="trail before")
    shown = recipes.added_bitmap(WHITE, bitmap=piece.bitmaps.feedback, name="trails")
    glow = recipes.added_texture_on_top((BEAT_PULSE * 0.4 + 0.6) * (GOLD * 0.9),
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
    scene = piece.stages.summit = Scene(name="summit")
    turn = (line(0.0, 90.0, 800), line(0.0, 360.0, 800), line(0.0, 50.0, 800))
    size = BEAT_PULSE * 0.4 + 1.9
    for tilt in (0.0, 90.0):
        piece.put(scene, piece.models.crystal, star, rotation=turn[:2] + (tilt,),
                  scale=(1.3, size, 1.3))
    piece.put(scene, piece.models.ring, hoop, rotation=spin, scale=3.2, manipulators=rings)
    kick = BEAT_PULSE * -6.0
    shots = [shot(0, 200, ((0.4, 0, 4.4), (0, 0, 0)), ((3.4, 2.6, 6.4), (0, 0, 0)), kick + 60),
             shot(200, 400, ((-8.8, 1, 5.4), (0, 0, 0)), ((-7, 3, 2), (0, 0, 0)), kick + 54),
             shot(400, 600, ((0, -5.6, 4.4), (0, 0, 0)), ((3, -3.6, 5.6), (0, 0, 0)), kick + 56),
             shot(600, 800, ((7.4, 2, 1), (0, 0, 0)), ((3.4, 1.4, 4), (0, 0, 0)), kick + 62)]
    for start, end, camera in shots:
        piece.show(TARGET, start, end, before, FLAT, "texture", offset=start,
                   target=piece.bitmaps.feedback)
        piece.glow(GLOW_BEHIND, (start, end, camera), glow, 9.0)
    piece.show(FRONT, 0, 800, trails, FLAT, "link")
    piece.sky(shots, piece.skies["blue"])
    piece.cut(TARGET_FRONT, shots, trail, "link")
    piece.cut(STAGE, shots, scene, "clear_depth", fog=piece.fog(6.0, 28.0, DUSK))


def add_crossing(piece):
    """96 to 104 s: over the lake in the first sun, through what stands in it."""
    warm = Light((BEAT_PULSE * 0.6 + 1.2) * GOLD, (0.0, 9.0, -60.0), ambient=(0.66, 0.26, 0.40),
                 name="crossing sun")
    cold = Light(ROSE * 1.4, (0.0, 8.0, 20.0), ambient=(0.4, 0.26, 0.3), name="crossing rose")
    above = Light(Color(1.0, 0.74, 0.66), (0.0, 30.0, -40.0), name="crossing sky")
    hoop = recipes.color((BEAT_PULSE * 0.45 + 0.55) * ROSE, name="gates")
    stone = Lit(recipes.lit_color((1.0, 0.44, 0.56), light=cold, name="obelisk"))
    water = recipes.lit_environment((0.80, 0.56, 0.62), light=above, texture=piece.textures.water,
                                    name="crossing lake")
    sky = Scene(name="crossing sky")
    sky.add(piece.models.dome, recipes.bitmap((BEAT_PULSE * 0.15 + 0.92) * WHITE,
                                              bitmap=piece.bitmaps.dawn, name="crossing dawn"),
            rotation=(0.0, 45.0, 0.0))
    sky.add(piece.models.square, recipes.added_texture_on_top(
        (BEAT_PULSE * 0.3 + 0.7) * EMBER, texture=piece.textures.halo, name="crossing glow"),
        position=(0.0, 0.06, -0.9), scale=(1.3, 1.3, 1.0))
    scene = piece.stages.crossing = Scene(name="crossing")
    lake = waters.lake_water(line(0.0, 90.0, 800), name="crossing lake")
    scene.add(lake, water, position=(-60.0, -1.4, -108.0), scale=(4.2, 0.9, 4.2))
    scene.add(piece.models.ring, hoop, position=(0.0, 0.4, 0.0),
              rotation=(90.0, 0.0, line(0.0, 160.0, 800)), scale=(3.0, 9.0, 3.0),
              manipulators=[x_multiplier(9.0, (0.0, 0.0, -9.0), (0.0, 0.0, 12.0))])
    for x in (-7.0, 7.0):
        piece.put(scene, piece.models.crystal, stone, position=(x, 1.2, 0.0),
                  rotation=(0, line(0, 240, 800), 0), scale=(0.9, BEAT_PULSE * 0.5 + 3, 0.9),
                  manipulators=[x_multiplier(9.0, (0.0, 0.0, -9.0), (0.0, 21.0, 0.0))])
    kick = BEAT_PULSE * -7.0
    shots = [(0, 400, path([(0, (0, 0.6, 16), (0, 0.8, -20)), (200, (0.5, 0.2, -8), (0, 0.8, -50)),
                            (400, (-0.5, 0.8, -38.0), (0.0, 0.8, -90.0))], kick + 74.0,
                           roll=spline([(0, 0.0), (150, 9.0), (300, -9.0), (400, 0.0)]))),
             shot(400, 600, ((-13, 5, 4), (0, 0.6, -16)), ((-11, 2, -8), (0, 0.8, -30)), kick + 62),
             shot(600, 800, ((3, 0, 8), (0, 1.4, -30)), ((0, 9, 0), (0, 0, -36)), kick + 70)]
    piece.sky(shots, sky)
    piece.cut(STAGE, shots, scene, "clear_depth", fog=piece.fog(20, 110, Color(0.86, 0.50, 0.36)))


def add_montage(piece):
    """104 to 112 s: all of it once more; two pictures a bar, then one a beat."""
    stages = piece.stages
    shots = [(0, 100, stages.arcade, "rose", look((0.0, 1.0, 0.0), (0.0, 3.4, -12.0), 70.0), 800),
             (100, 200, stages.machine, "blue", look((-3.4, 1.8, 4.4), (0.5, 0, -1), 52), 500),
             (200, 300, stages.city, "dusk", look((-9.2, 2.0, 9.0), (-2.0, 7.0, -10.0), 62.0), 700),
             (300, 400, stages.stair, "rose", look((4.4, 6.0, 4.4), (0.0, 8.0, 0.0), 56.0), 500),
             (400, 500, stages.hero, "violet", look((1.6, -2.4, 5.0), (0.0, 0.0, 0.0), 54.0), 300),
             (500, 600, stages.shoal, "rose", look((-4.0, 3.6, 7.6), (0.0, 0.2, 0.0), 60.0), 300),
             (600, 650, stages.thread, "violet", look((0.8, 1.2, 2.4), (0.0, 0.0, 0.0), 56.0), 300),
             (650, 700, stages.machine, "rose", look((1.6, 2.6, 2.2), (0.4, 0.6, 0.0), 60.0), 700),
             (700, 750, stages.summit, "blue", look((2.0, 3.0, 4.6), (0.0, 0.0, 0.0), 70.0), 300),
             (750, 800, stages.racing, "rose", look((0.3, 0.2, 3.0), (0.0, 0.0, 0.0), 60.0), 300)]
    for start, end, scene, sky, camera, offset_ in shots:
        closing = Camera(camera.position, camera.rotation,
                         line(camera.fov + 4.0, camera.fov - 8.0, end - start))
        piece.sky([(start, end, closing)], stages.dusk if sky == "dusk" else piece.skies[sky])
        piece.show(STAGE, start, end, scene, closing.later(offset_), "clear_depth", offset=offset_,
                   fog=piece.fog(5.0, 60.0, DUSK))


def add_ending(piece):
    """112 to 120 s: dawn over still water; of the title only its end stays."""
    warm = spline([(0, 0.10), (200, 0.25), (400, 1.0), (800, 1.1)])
    day_knots = [(0, 0.10), (150, 0.20), (360, 0.75), (520, 1.0), (800, 1.0)]
    day = spline(day_knots)
    front = Light(warm * (CREAM * 1.3), (0.0, 3.0, 9.0), ambient=(0.46, 0.26, 0.18),
                  name="last front")
    above = Light((warm * 0.52 + 0.20) * Color(1, 0.78, 0.66), (0, 30, -40), name="last sky")
    fading = hold(1.0, 440).then(line(1.0, 0.0, 90)).then(0.0)
    letters = {}
    for name, alpha, color in (("vale", 1.0, GILT), ("quor", fading, fading * GILT)):
        lit = piece.lit(recipes.lit_color(GILT, light=front, alpha=alpha, name=name))
        letters[name] = lit, recipes.added_environment(color * 0.50, texture=piece.textures.sheen,
                                                       name=name + " sheen")
    rest = 1.0 - day
    night = recipes.bitmap(rest * WHITE, bitmap=piece.bitmaps.dusk, name="last night")
    dawn = recipes.faded_bitmaps(day * WHITE, bitmap=piece.bitmaps.dusk,
                                 bitmap2=piece.bitmaps.dawn, name="last dawn")
    water = recipes.lit_environment(turning(day_knots, (0.30, 0.12, 0.30), (0.86, 0.62, 0.56)),
                                    light=above, texture=piece.textures.water, alpha=0.80,
                                    name="last lake")
    glow = recipes.added_texture_on_top(warm * (EMBER * 0.36), texture=piece.textures.halo,
                                        name="last glow")
    haze = recipes.color(warm * Color(0.56, 0.30, 0.24), name="warm haze")
    sky = Scene(name="last sky")
    sky.add(piece.models.dome, night, rotation=(0.0, 45.0, 0.0), scale=1.01, visible=span(0, 520))
    sky.add(piece.models.dome, dawn, rotation=(0.0, 45.0, 0.0))
    rise = spline([(0, -0.16), (200, -0.10), (400, -0.02), (800, 0.05)])
    side = spline([(0, 0.6), (400, 0.9), (800, 1.1)])
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
    camera = path([(0, (0.0, 0.9, 12.0), (0.0, 0.3, 0.0)), (420, (0.0, 0.6, 10.0), (0.0, 0.2, 0.0)),
                   (800, (1.6, 0.4, 8.4), (1.3, 0.2, 0.0))], 46.0)
    piece.sky([(0, 800, camera)], sky)
    piece.show(STAGE, 0, 800, scene, camera, "clear_depth", fog=Fog(16.0, 80.0, haze))


def add_overlays(piece):
    """Bars about what is quiet, flashes on the crashes, a fade to black."""
    square = piece.models.square
    bars = {}
    for name, (first, last) in {"closed": (0, 0), "open": (0, -0.1), "close": (-0.1, 0)}.items():
        scene = bars[name] = Scene(name="bars " + name)
        for y in (ease_in(first, last, 100), 1.0 - ease_in(first, last, 100)):
            scene.add(square, piece.black, position=(0.5, y, 0.0), scale=(1.0, 0.17, 1.0))
    for start, end, name in ((750, 850, "close"), (850, 1500, "closed"), (1500, 1600, "open"),
                             (1600, 11100, None), (11100, 11200, "close"), (11200, END, "closed")):
        piece.show(BARS, start, end, bars.get(name), FLAT, "link")

    flash, soft, white_in, fade_out = (
        recipes.added_color_on_top(ease_out(0.9, 0.0, 60) * Color(1.0, 0.80, 0.70), name="flash"),
        recipes.added_color_on_top(ease_out(0.7, 0.0, 80) * ROSE, name="rose flash"),
        recipes.added_color_on_top(ease_in(0, 1, 100) * Color(1, 0.74, 0.72), name="white in"),
        recipes.color_on_top(BLACK, alpha=line(0.0, 1.0, 190).then(1.0, 60), name="fade out"))
    full = {}
    for material in (flash, soft, white_in, fade_out):
        full[material] = Scene(name=material.name)
        full[material].add(square, material, position=(0.5, 0.5, 0.0))
    for row, start, end, material in (
            [(FLASH, start, start + 60, flash) for start in (0, 400, 2400, 4000, 8000, 9600, 10400)] +
            [(FLASH, start, start + 80, soft) for start in (800, 1600, 3200, 4800, 5600, 6400, 7200,
                                                            8800, 10800, 11200)] +
            [(FLASH, 2300, 2400, white_in), (FLASH, 7900, 8000, white_in),
             (FADE, 11760, END, fade_out)]):
        piece.show(row, start, end, full[material], FLAT, "link")


PARTS = (  # where each begins; the arcade's gate shows the machine, which is made before
    (0, add_opening), (800, add_void), (1600, add_thread), (3200, add_machine), (2400, add_arcade),
    (3800, add_roll), (4000, add_hero), (4800, add_city), (5600, add_stair), (6400, add_shoal),
    (7200, add_heart), (8000, add_valley), (8800, add_summit), (9600, add_crossing),
    (10400, add_montage), (11200, add_ending), (0, add_overlays))


def make_demo():
    piece = Piece()
    for piece.at, add_part in PARTS:
        add_part(piece)
    return piece.document


def main():
    folder = sys.argv[1] if len(sys.argv) > 1 else os.path.dirname(os.path.abspath(__file__))
    make_loading().write(os.path.join(folder, "loading.xml"))
    make_demo().write(os.path.join(folder, "demo.xml"))


if __name__ == "__main__":
    main()
