"""What documents are written with: curves, cameras, and a document that knows its items by name.

All times are ticks of 10 ms. A value is a number or a Curve; a colour is three of them.
"""

import math

from exact_math import atan2_degrees, cos_degrees, sin_degrees

# ---------------------------------------------------------------------------------------------
# Curves: what becomes an envelope

CONSTANT, LINEAR, QUADRATIC, SINUS, SPLINE, SINUS_X = range(6)
LOOP_OFF, LOOP, PING_PONG = range(3)
SPLINE_KNOTS = 12

# Which parameters of a function grow with its value.
SCALED = {CONSTANT: (0,), LINEAR: (0, 1), QUADRATIC: (0, 2), SINUS: (0, 3),
          SPLINE: tuple(range(1, 24, 2)), SINUS_X: (0, 3, 4)}
LIFTED = {CONSTANT: (0,), LINEAR: (1,), QUADRATIC: (2,), SINUS: (3,),
          SPLINE: tuple(range(1, 24, 2)), SINUS_X: (3,)}


class Curve:
    """Pieces (function, length, parameters), one after the other."""

    def __init__(self, pieces, loop=LOOP_OFF, begin=0, end=0):
        self.pieces = pieces
        self.loop = loop
        self.begin = begin
        self.end = end

    def changed(self, which, change):
        pieces = [(function, length,
                   [change(p) if k in which[function] else p for k, p in enumerate(parameters)])
                  for function, length, parameters in self.pieces]
        return Curve(pieces, self.loop, self.begin, self.end)

    def __mul__(self, factor):
        return self.changed(SCALED, lambda p: p * factor)

    def __add__(self, summand):
        return self.changed(LIFTED, lambda p: p + summand)

    def then(self, following):
        return Curve(self.pieces + following.pieces, self.loop, self.begin, self.end)

    def length(self):
        total = 0
        for piece in self.pieces:
            total += piece[1]
        return total

    def looped(self, begin=0, end=None):
        return Curve(self.pieces, LOOP, begin, self.length() if end is None else end)

    def swinging(self, begin=0, end=None):
        return Curve(self.pieces, PING_PONG, begin, self.length() if end is None else end)


def hold(value, length=100):
    return Curve([(CONSTANT, length, [value])])


def line(first, last, length):
    return Curve([(LINEAR, length, [(last - first) / length, first])])


def ease_out(first, last, length):
    """Fast at first, at rest at the end."""
    return Curve([(QUADRATIC, length, [(first - last) / (length * length), length, last])])


def ease_in(first, last, length):
    return Curve([(QUADRATIC, length, [(last - first) / (length * length), 0, first])])


def wave(middle, swing, period, turns=0.0, length=10000):
    """middle + swing * sin, from `turns` of a period on."""
    return Curve([(SINUS, length, [swing, 2.0 * math.pi / period, -2.0 * math.pi * turns, middle])])


def ring_down(rest, swing, period, length):
    """Swings about `rest`, less and less."""
    return Curve([(SINUS_X, length,
                   [-swing / length, 2.0 * math.pi / period, 0.0, rest, swing])])


def spline(points, length=None):
    """Through (tick, value) points, the first at tick 0."""
    assert points[0][0] == 0 and 2 <= len(points) <= SPLINE_KNOTS
    parameters = []
    for (x, y), (following, _) in zip(points, points[1:] + [(math.inf, 0)]):
        assert following - x >= 1
        parameters += [x, y]
    parameters += [0.0] * (2 * (SPLINE_KNOTS - len(points)))
    return Curve([(SPLINE, points[-1][0] if length is None else length, parameters)])


def steps(points):
    """Constants: (tick, value) points, the first at tick 0; the last value stays."""
    pieces = []
    for (x, y), (following, _) in zip(points, points[1:] + [(points[-1][0] + 100, 0)]):
        pieces.append((CONSTANT, following - x, [y]))
    return Curve(pieces)


def span(first, last):
    """1 from tick `first` to `last`, 0 else: for visibility."""
    points = [(0, 0.0)] if first > 0 else []
    return steps(points + [(first, 1.0), (last, 0.0)])


def tinted(curve, colour):
    return tuple(curve * channel for channel in colour)


def spline_value(points, t):
    """What the engine makes of spline(points)."""
    x = [-999999.0, points[0][0] - 1.0]
    y = [points[0][1], points[0][1]]
    for px, py in points:
        x.append(float(px))
        y.append(py)
    while len(x) < 14:
        x.append(x[-1] + 1.0)
        y.append(y[-1])
    x += [x[13] + 999999.0, 9999999.0]
    y += [y[13], y[13]]
    j = 2
    while t > x[j]:
        j += 1
    dx = x[j] - x[j - 1]
    p1, p2 = y[j - 1], y[j]
    p0 = (y[j - 1] - y[j - 2]) / (x[j - 2] - x[j - 1]) * dx + p1
    p3 = (y[j + 1] - y[j]) / (x[j + 1] - x[j]) * dx + p2
    u = (t - x[j - 1]) / dx
    return 0.5 * ((2 * p1 + (p2 - p0) * u) + (2 * p0 - 5 * p1 + 4 * p2 - p3) * u * u +
                  (3 * p1 - p0 - 3 * p2 + p3) * (u * u) * u)


# ---------------------------------------------------------------------------------------------
# Cameras


class Camera:
    """A clip's six camera values and its field of view; fov None is the orthographic square."""

    def __init__(self, position, rotation, fov):
        self.position = position
        self.rotation = rotation
        self.fov = fov


    def later(self, ticks):
        """The same for a clip whose offset is `ticks`."""

        def shifted(value):
            if not isinstance(value, Curve) or ticks == 0:
                return value
            return Curve([(CONSTANT, ticks, [sampled(value, 0)])] + value.pieces, value.loop)

        return Camera(tuple(shifted(v) for v in self.position),
                      tuple(shifted(v) for v in self.rotation), shifted(self.fov))


FLAT = Camera((0.0, 0.0, 0.0), (0.0, 0.0, 0.0), None)


def heading(eye, target):
    """Rotations about x and y, in degrees, of a camera that looks from one point to another."""
    dx, dy, dz = (b - a for a, b in zip(eye, target))
    flat = math.sqrt(dx * dx + dz * dz)
    return -atan2_degrees(dy, flat), atan2_degrees(dx, -dz)


def still(eye, target, fov, roll=0.0):
    pitch, yaw = heading(eye, target)
    return Camera(tuple(0.0 - c for c in eye), (pitch, yaw, roll), fov)


def path(keys, fov, roll=0.0):
    """A camera on a curve through keys (tick, eye, target), the first at tick 0.

    It passes its eyes and looks at its targets at the keys, and close to them between.
    """
    last = keys[-1][0]
    eyes = [[(t, eye[k]) for t, eye, _ in keys] for k in range(3)]
    targets = [[(t, target[k]) for t, _, target in keys] for k in range(3)]
    pitches = []
    yaws = []
    for i in range(SPLINE_KNOTS):
        t = round(last * i / (SPLINE_KNOTS - 1))
        pitch, yaw = heading([spline_value(points, t) for points in eyes],
                             [spline_value(points, t) for points in targets])
        if yaws:
            while yaw - yaws[-1][1] > 180.0:
                yaw -= 360.0
            while yaw - yaws[-1][1] < -180.0:
                yaw += 360.0
        pitches.append((t, pitch))
        yaws.append((t, yaw))

    def curve(points):
        if all(y == points[0][1] for _, y in points):
            return points[0][1]
        return spline(points)

    position = tuple(curve([(t, 0.0 - y) for t, y in points]) for points in eyes)
    return Camera(position, (curve(pitches), curve(yaws), roll), fov)


def sampled(value, t):
    """A camera's value at a tick, as far as facing needs it."""
    if not isinstance(value, Curve):
        return value
    function, _, parameters = value.pieces[0]
    assert len(value.pieces) == 1
    if function == LINEAR:
        return parameters[0] * t + parameters[1]
    assert function == SPLINE
    points = list(zip(parameters[0::2], parameters[1::2]))
    kept = [points[0]] + [p for q, p in zip(points, points[1:]) if p[0] > q[0]]
    return spline_value(kept, t)


def facing(camera, last):
    """Rotations of an object that shows its z side to a camera, for ticks 0 to `last`."""
    knots = ([], [], [])
    for i in range(SPLINE_KNOTS):
        t = round(last * i / (SPLINE_KNOTS - 1))
        pitch, yaw, roll = (sampled(value, t) for value in camera.rotation)
        # The inverse of the camera's Rz Rx Ry, as the object's Rx Ry Rz.
        sx, cx = sin_degrees(-pitch), cos_degrees(-pitch)
        sy, cy = sin_degrees(-yaw), cos_degrees(-yaw)
        sz, cz = sin_degrees(-roll), cos_degrees(-roll)
        m00 = cy * cz + sy * sx * sz
        m01 = -cy * sz + sy * sx * cz
        m02 = sy * cx
        m12 = -sx
        m22 = cy * cx
        angles = (atan2_degrees(-m12, m22), atan2_degrees(m02, math.sqrt(m12 * m12 + m22 * m22)),
                  atan2_degrees(-m01, m00))
        for points, angle in zip(knots, angles):
            if points:
                while angle - points[-1][1] > 180.0:
                    angle -= 360.0
                while angle - points[-1][1] < -180.0:
                    angle += 360.0
            points.append((t, angle))
    return tuple(points[0][1] if all(y == points[0][1] for _, y in points) else spline(points)
                 for points in knots)


# ---------------------------------------------------------------------------------------------
# Documents


def number(value):
    if isinstance(value, int):
        return str(value)
    text = "%.7g" % value
    return "0" if text == "-0" else text


def escaped(text):
    return text.replace("&", "&amp;").replace("<", "&lt;").replace('"', "&quot;")


class Element:
    def __init__(self, tag, attributes=(), children=(), text=None):
        self.tag = tag
        self.attributes = attributes
        self.children = list(children)
        self.text = text

    def lines(self, indent):
        head = "%s<%s%s" % ("  " * indent, self.tag, "".join(
            ' %s="%s"' % (key, escaped(value if isinstance(value, str) else number(value)))
            for key, value in self.attributes))
        if self.text is not None:
            return ["%s>%s</%s>" % (head, self.text, self.tag)]
        if not self.children:
            return [head + "/>"]
        inner = [line for child in self.children for line in child.lines(indent + 1)]
        return [head + ">"] + inner + ["%s</%s>" % ("  " * indent, self.tag)]


class Scene:
    def __init__(self, document, element):
        self.document = document
        self.element = element

    def add(self, model, material, position=(0.0, 0.0, 0.0), rotation=(0.0, 0.0, 0.0),
            scale=1.0, visible=None, shift=0.0, manipulators=(), kind=0):
        """Places a model, or with kind 1 a generated mesh."""
        document = self.document
        if not isinstance(scale, tuple):
            scale = (scale, scale, scale)
        section = "meshes" if kind == 1 else "models"
        values = [document.value(tag, value) for tag, value in
                  zip(("x", "y", "z", "rx", "ry", "rz", "sx", "sy", "sz"),
                      position + rotation + scale)]
        visibility = 0 if visible is None else document.envelope(visible)
        children = values + [Element("visible", [("value", visibility)]),
                             Element("shift", [("value", shift)])]
        self.element.children.append(Element("object", [
            ("type", kind), ("object", document.id(section, model)),
            ("material", document.id("materials", material))], children + list(manipulators)))


class Document:
    """Sections fill in the order of the calls; what an item names has to be there already."""

    SECTIONS = ("layers", "textures", "models", "envelopes", "lights", "effects", "bitmaps",
                "materials", "meshes", "scenes", "timeline")

    def __init__(self, music):
        self.music = music
        self.sections = {name: [] for name in self.SECTIONS[:-1]}
        self.ids = {name: {} for name in self.SECTIONS[:-1]}
        self.known_curves = {}
        self.clips = {}

    def id(self, section, name):
        return self.ids[section][name]

    def put(self, section, name, element):
        assert name not in self.ids[section], name
        self.sections[section].append(element)
        self.ids[section][name] = len(self.sections[section])
        return name

    # Values

    def envelope(self, curve, kind=0):
        """The id of a curve's envelope. Equal curves share one."""
        pieces = [Element("piece", [("type", function), ("length", int(length))],
                          [Element("p", text=number(float(p))) for p in parameters])
                  for function, length, parameters in curve.pieces]
        element = Element("envelope", [("type", kind), ("loop_type", curve.loop),
                                       ("loop_begin", curve.begin), ("loop_end", curve.end)],
                          pieces)
        key = "\n".join(element.lines(0))
        if key not in self.known_curves:
            assert len(pieces) <= 16
            self.sections["envelopes"].append(element)
            self.known_curves[key] = len(self.sections["envelopes"])
        return self.known_curves[key]

    def value(self, tag, value):
        if isinstance(value, Curve):
            return Element(tag, [("type", "dynamic"), ("value", self.envelope(value))])
        return Element(tag, [("type", "static"), ("value", float(value))])

    # Items

    def layer(self, name, generator, parameters):
        return self.put("layers", name, Element("layer", [("type", generator), ("name", name)],
                                                [Element("p", text=number(float(p)))
                                                 for p in parameters]))

    def texture(self, name, steps):
        """steps: (type, layer, parameters) for those that take a layer in, (type, parameters)."""
        elements = []
        for step in steps:
            attributes = [("type", step[0])]
            if len(step) == 3:
                attributes.append(("id", self.id("layers", step[1]) - 1))
            elements.append(Element("layer" if len(step) == 3 else "filter", attributes,
                                    [Element("p", text=number(float(p))) for p in step[-1]]))
        return self.put("textures", name, Element("texture", [("name", name)], elements))

    def effect(self, name, kind, side, bits, curves):
        """A 2D effect, driven by its curves."""
        return self.put("effects", name, Element(
            "effect", [("name", name), ("type", kind), ("resolution", "%dx%d" % (side, side)),
                       ("bpp", bits)],
            [Element("p", text=number(self.envelope(curve))) for curve in curves]))

    def bitmap(self, name):
        return self.put("bitmaps", name, Element("bitmap", [("filename", name + ".png")]))

    def mesh(self, name, kind, curve):
        """A generated mesh: water."""
        return self.put("meshes", name, Element("mesh", [("type", kind), ("name", name)],
                                                [Element("p", text=number(self.envelope(curve)))]))

    def model(self, name):
        return self.put("models", name, Element("model", [("filename", name + ".model")]))

    def light(self, name, diffuse, position, ambient=(0.0, 0.0, 0.0)):
        groups = [Element(tag, (), [self.value("v", v) for v in triple])
                  for tag, triple in (("ambient", ambient), ("diffuse", diffuse),
                                      ("position", position))]
        return self.put("lights", name, Element("light", [("name", name)], groups))

    def material(self, name, recipe, colour, alpha=1.0, extra=None, refs=()):
        """refs: (section, name) of lights, textures, effects and bitmaps, in the recipe's order."""
        values = list(colour) + [alpha] + ([] if extra is None else [extra])
        children = [self.value("p", value) for value in values]
        for section, reference in refs:
            tag = {"lights": "light", "effects": "effect2d"}.get(section, "texture")
            children.append(Element(tag, [("value", 0 if reference is None else
                                           self.id(section, reference))]))
        return self.put("materials", name,
                        Element("material", [("type", recipe), ("name", name)], children))

    def scene(self, name):
        element = Element("scene", [("name", name)])
        self.put("scenes", name, element)
        return Scene(self, element)

    def manipulator(self, code, parameters, placement=None):
        children = []
        if placement is not None:
            kind, name = placement
            section = "meshes" if kind == 1 else "models"
            children.append(Element("manipulator", [("type", kind),
                                                    ("model", self.id(section, name))]))
        children += [self.value("p", p) for p in parameters]
        return Element("modifier", [("type", code)], children)

    # Timeline

    def clip(self, row, start, end, scene, camera, kind=0, offset=0, fog=None, target=None):
        """Shows a scene from tick `start` up to tick `end`; scene None draws nothing.

        fog: (start, end, material or None). Its values and the camera's count from the clip's
        start, plus the offset.
        """
        self.clips.setdefault(row, []).append((start, end, scene, camera, kind, offset, fog, target))

    def row(self, clips):
        elements = []
        running = 0
        clips = sorted(clips, key=lambda clip: clip[:2])
        starts = [clip[0] for clip in clips]
        for start, end, scene, camera, kind, offset, fog, target in clips:
            assert start >= running and end > start, (start, end)
            # A clip's end tick is still its own, unless the next one begins on a whole second.
            if end not in starts:
                end -= 1
            # The index by second would lose a clip that lies inside one.
            assert running % 100 == 0 or end - running // 100 * 100 > 99, (start, end)
            attributes = [("id", 0 if scene is None else self.id("scenes", scene)),
                          ("space_before", start - running), ("length", end - start),
                          ("offset", offset), ("type", kind)]
            if target is not None:
                attributes.append(("rtex", self.id("bitmaps", target)))
            children = [self.value(tag, v) for tag, v in
                        zip(("x", "y", "z", "rx", "ry", "rz"), camera.position + camera.rotation)]
            if camera.fov is None:
                children.append(Element("fov", [("type", "ortographic")]))
            else:
                children.append(self.value("fov", camera.fov))
            if fog is None:
                children.append(Element("fog", [("type", 0)]))
            else:
                near, far, colour = fog
                children.append(Element("fog", [("type", 1)], [
                    self.value("density", 1.0), self.value("start", near), self.value("end", far),
                    Element("colour", [("value", self.id("materials", colour) if colour else 0)])]))
            elements.append(Element("clip", attributes, children))
            running = end
        return Element("row", (), elements)

    def write(self, path):
        rows = [self.row(self.clips.get(row, [])) for row in range(max(self.clips) + 1)]
        lines = ['<?xml version="1.0" encoding="UTF-8"?>']
        for name in self.SECTIONS[:-1]:
            lines += Element(name, (), self.sections[name]).lines(0)
        lines += Element("timeline", (), rows).lines(0)
        lines += Element("music", [("file", self.music)]).lines(0)
        with open(path, "w", encoding="ascii", newline="\n") as stream:
            stream.write("\n".join(lines) + "\n")
