"""A first piece: sixteen seconds of a turning ring in a striped sky.

`dpk build` runs this file in its folder and packs what it writes. Times are ticks of 10 ms.
"""

from quorvale import (FLAT, Color, Document, Fog, Light, Scene, ease_out, layers, line, look, orbit,
                      recipes, steps, wave)
from quorvale.loading import loading_bar
from quorvale.meshes import Mesh, sphere, square, torus
from quorvale.tracker import Instrument, Tune, drum, tone

# The music: a bass line and a drum, 128 rows of about 12.5 ticks, four rows a beat.
tune = Tune(rows=128, channels=2, tempo=120, speed=6)
kick = tune.instrument(Instrument("kick", drum(4000, start=12, end=4, noise=0.05)))
bass = tune.instrument(Instrument("bass", tone(64, (1, 0.6, 0.4, 0.2)), loop=64, relative=-12))
for row in range(0, 128, 4):
    tune.play(0, row, "C-4", kick)
    tune.play(1, row + 2, "A-2" if row % 64 < 32 else "F-2", bass, volume=40)
music = tune.write("tune.xm")

# Meshes: written as files, used as models.
ring = torus(Mesh(), radius=1.5, tube=0.4).write("ring.obj")
ball = sphere(Mesh(), radius=40).write("ball.obj")
screen = square(Mesh()).write("screen.obj")

# A texture: two layers added, blurred, cut into relief and made brighter.
relief = layers.maze(size=4) * 0.6 + layers.noise(seed=7) * 0.2 | steps.blur() | steps.emboss(1)
stone = relief + layers.color((0.3, 0.25, 0.2))
stripes = layers.plasma(Color.hex("#5090e0"), repeat_x=0, repeat_y=5)

# Anything that moves is a curve. This one strikes on every beat: 1 falling to 0, over and over.
beat = music.beat(1)
pulse = ease_out(1, 0, beat).looped()
lamp = Light((pulse * 0.6 + 0.6) * Color.hex("#ffb060"), position=(wave(0, 4, 400), 3, 4),
             ambient=(0.3, 0.3, 0.4))

# A scene: objects with materials. The ring swells a little on each beat.
stage = Scene(name="stage")
stage.add(ring, recipes.lit_texture(light=lamp, texture=stone),
          rotation=(line(0, 360, music.end), line(0, 720, music.end), 0), scale=pulse * 0.1 + 1)
sky = Scene(name="sky")
sky.add(ball, recipes.texture(texture=stripes))
curtain = Scene(name="curtain")
curtain.add(screen, recipes.color_on_top((0, 0, 0), alpha=line(1, 0, 200)), position=(0.5, 0.5, 0))

# The timeline: rows lie over each other. Two cameras, cut on the beat.
round_it = orbit((0, 0, 0), radius=6, height=2, length=music.beat(16))
close = look((0, 1, 3.2), (0, 0, 0), fov=line(70, 50, music.end - music.beat(16)))
demo = Document(music)
for start, end, camera in ((0, music.beat(16), round_it), (music.beat(16), music.end, close)):
    demo.row(0).show(sky, camera.turning_only(), start, end)
    demo.row(1).show(stage, camera, start, end, how="clear_depth", fog=Fog(5, 60))
demo.row(2).show(curtain, FLAT, 0, 200, how="link")
demo.write("demo.xml")
loading_bar(Color.hex("#ffb060"), music).write("loading.xml")
