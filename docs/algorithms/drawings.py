#!/usr/bin/env python3
"""Draws the pictures of these pages: `python3 drawings.py [NAME...]` writes NAME.svg beside itself, all without names.

What a picture computes, such as the smallest box of a map, it computes as the library does; the rest is a sketch.
"""

import math
import pathlib
import random
import sys
from xml.sax.saxutils import escape

INK, GREY, PALE = "#1f2a33", "#7b8794", "#e7ecf0"
BLUE, ORANGE, GREEN, RED = "#2b6cb0", "#c05621", "#2f855a", "#c53030"
BLUISH, ORANGISH, GREENISH, REDDISH = "#dbe9f7", "#fbe3cd", "#d8f0df", "#fadcdc"

FONT = "DejaVu Sans, Verdana, Helvetica, Arial, sans-serif"


class Svg:
    def __init__(self, width, height):
        self.size = (width, height)
        self.parts = []
        self.aside = 0.0  # how far to the right what follows is moved

    def add(self, text):
        self.parts.append(text)

    def line(self, p, q, color=INK, width=1.5, dash=None, arrow=False):
        self.path([p, q], color=color, width=width, dash=dash, arrow=arrow)

    def path(self, points, color=INK, width=1.5, dash=None, arrow=False, fill="none", closed=False, opacity=1.0):
        data = "M" + " L".join(f"{x + self.aside:.1f},{y:.1f}" for x, y in points) + (" Z" if closed else "")
        marker = f' marker-end="url(#{color[1:]})"' if arrow else ""
        dashes = f' stroke-dasharray="{dash}"' if dash else ""
        self.add(
            f'<path d="{data}" fill="{fill}" fill-opacity="{opacity}" stroke="{color}" stroke-width="{width}"'
            f' stroke-linejoin="round"{dashes}{marker}/>'
        )

    def area(self, points, fill, color="none", width=1.0, opacity=1.0):
        self.path(points, color=color, width=width, fill=fill, closed=True, opacity=opacity)

    def box(self, x, y, w, h, fill="none", color=INK, width=1.2, dash=None, radius=0):
        dashes = f' stroke-dasharray="{dash}"' if dash else ""
        self.add(
            f'<rect x="{x + self.aside:.1f}" y="{y:.1f}" width="{w:.1f}" height="{h:.1f}" rx="{radius}" fill="{fill}"'
            f' stroke="{color}" stroke-width="{width}"{dashes}/>'
        )

    def circle(self, c, r, color=INK, width=1.5, fill="none", dash=None):
        dashes = f' stroke-dasharray="{dash}"' if dash else ""
        self.add(
            f'<circle cx="{c[0] + self.aside:.1f}" cy="{c[1]:.1f}" r="{r:.1f}" fill="{fill}" stroke="{color}"'
            f' stroke-width="{width}"{dashes}/>'
        )

    def dot(self, c, r=3.5, fill=INK):
        self.circle(c, r, color="none", fill=fill)

    def text(self, p, words, color=INK, size=13, anchor="start", bold=False, mono=False, halo=False):
        family = "DejaVu Sans Mono, Menlo, monospace" if mono else FONT
        weight = ' font-weight="bold"' if bold else ""
        edge = ' stroke="white" stroke-width="4" paint-order="stroke"' if halo else ""
        self.add(
            f'<text x="{p[0] + self.aside:.1f}" y="{p[1]:.1f}" font-family="{family}" font-size="{size}" fill="{color}"'
            f' text-anchor="{anchor}" xml:space="preserve"{weight}{edge}>{escape(words)}</text>'
        )

    def save(self, name):
        width, height = self.size
        markers = "".join(
            f'<marker id="{c[1:]}" viewBox="0 0 10 10" refX="9" refY="5" markerWidth="7" markerHeight="7"'
            f' orient="auto-start-reverse"><path d="M0,0 L10,5 L0,10 Z" fill="{c}"/></marker>'
            for c in (INK, GREY, BLUE, ORANGE, GREEN, RED)
        )
        body = "\n".join(self.parts)
        place = pathlib.Path(__file__).parent / f"{name}.svg"
        place.write_text(
            f'<svg xmlns="http://www.w3.org/2000/svg" viewBox="0 0 {width} {height}" width="{width}"'
            f' height="{height}">\n<defs>{markers}</defs>\n<rect width="{width}" height="{height}" fill="white"/>\n'
            f"{body}\n</svg>\n",
            encoding="utf-8",
        )


def seen(x, y, z, origin, scale=1.0):
    """A place in space, seen from above and aside."""
    return (origin[0] + scale * (0.9 * x - 0.55 * y), origin[1] + scale * (0.28 * x + 0.38 * y - 0.95 * z))


def between(p, q, share):
    return (p[0] + share * (q[0] - p[0]), p[1] + share * (q[1] - p[1]))


def ring(c, r, count=72, start=0.0, turn=2 * math.pi, ry=None, tilt=0.0):
    points = []
    for k in range(count + 1):
        a = start + turn * k / count
        x, y = r * math.cos(a), (ry if ry is not None else r) * math.sin(a)
        points.append((c[0] + x * math.cos(tilt) - y * math.sin(tilt), c[1] + x * math.sin(tilt) + y * math.cos(tilt)))
    return points


def lattice(svg, origin, columns, rows, side, color=GREY, width=1.0, diagonals=False):
    x0, y0 = origin
    for i in range(columns + 1):
        svg.line((x0 + i * side, y0), (x0 + i * side, y0 + rows * side), color, width)
    for j in range(rows + 1):
        svg.line((x0, y0 + j * side), (x0 + columns * side, y0 + j * side), color, width)
    if diagonals:
        for i in range(columns):
            for j in range(rows):
                svg.line((x0 + i * side, y0 + (j + 1) * side), (x0 + (i + 1) * side, y0 + j * side), color, 0.6)


# ---- meshes --------------------------------------------------------------------------------------------------


def loading():
    svg = Svg(860, 262)
    rows = [
        ("v 0 0 0", "v 0 0 0", BLUE, "a vertex"),
        ("vt 0.5 1.0", "vt 0.5 1.0", GREEN, "a flat place: a t right behind a v, two numbers"),
        ("usemtl surface", None, GREY, "nothing: no three numbers behind that f"),
        ("# made of f 1 2 3 and more", "f 1 2 3", ORANGE, "a face, although it stands in a comment"),
        ("f 1 2 3 4", "f 1 2 3", ORANGE, "a face of the first three; the 4 is passed over"),
        ("f 1/1 2/2 3/3", "f 1", RED, "no face: the number ends at the slash"),
        ("v 1 0 0 v 1 1 0", "v 1 0 0 v 1 1 0", BLUE, "two vertices: lines mean nothing"),
        ("f 0 1 2", "f 0", RED, "error: 0 wraps round and is out of range"),
    ]
    svg.text((20, 26), "what the file says", GREY)
    svg.text((330, 26), "what the loader reads", GREY)
    for k, (line, mark, color, meaning) in enumerate(rows):
        y = 52 + 27 * k
        if mark:
            at = line.index(mark)
            svg.box(18 + 8.43 * at, y - 15, 8.43 * len(mark) + 4, 21, fill="white", color=color, radius=3)
        svg.text((20, y), line, size=14, mono=True)
        svg.line((300, y - 4), (322, y - 4), color, arrow=color != GREY)
        svg.text((330, y), meaning, color)
    svg.save("loading")


def stitching():
    svg = Svg(860, 300)
    columns, rows = 4, 2
    def vertex(i, j):
        return j * (columns + 1) + i
    places = {vertex(i, j): (50 + 72 * i + 8 * j, 60 + 72 * j) for i in range(columns + 1) for j in range(rows + 1)}
    faces = []
    for j in range(rows):
        for i in range(columns):
            a, b, c, d = vertex(i, j), vertex(i + 1, j), vertex(i + 1, j + 1), vertex(i, j + 1)
            faces += [(a, b, c), (a, c, d)]
    random.Random(5).shuffle(faces)
    # The plain rounds, as Geometry/trimesh/internal/facestitcher.cpp tells them.
    built = [0]
    recorded = {(faces[0][k], faces[0][(k + 1) % 3]) for k in range(3)}
    slots = list(range(1, len(faces)))
    slots = [len(faces) - 1] + slots[:-1]
    history = [list(slots)]
    slot = 0
    while slots:
        while True:
            face = faces[slots[slot]]
            side = next((k for k in range(3) if (face[(k + 1) % 3], face[k]) in recorded), None)
            if side is not None:
                break
            slot = (slot + 1) % len(slots)
        for k in range(3):
            if k != side:
                recorded.add((face[k], face[(k + 1) % 3]))
        recorded.discard((face[(side + 1) % 3], face[side]))
        built.append(slots[slot])
        last = slots.pop()
        if slot < len(slots):
            slots[slot] = last
        slot = slot + 1 if slot + 1 < len(slots) else 0
        history.append(list(slots))
    order = {face: k for k, face in enumerate(built)}
    for number, face in enumerate(faces):
        corners = [places[v] for v in face]
        shade = 252 - 3 * order[number]
        svg.area(corners, f"rgb({shade - 30},{shade - 10},{shade})", INK, 1.0)
        middle = (sum(p[0] for p in corners) / 3, sum(p[1] for p in corners) / 3)
        svg.text((middle[0], middle[1] - 1), str(order[number] + 1), BLUE, 14, "middle", bold=True)
        svg.text((middle[0], middle[1] + 13), f"f{number + 1}", INK, 11, "middle")
    svg.text((50, 38), "blue: order in which faces join; grey: order in the file", GREY, 12)
    svg.aside = 10
    svg.text((420, 38), "the slots that are looked at, round and round", GREY, 12)
    for row in range(5):
        for k, face in enumerate(history[row]):
            x, y = 420 + 21 * k, 52 + 37 * row
            joins = face == built[row + 1]
            svg.box(x, y, 20, 22, fill=GREENISH if joins else "white", color=GREEN if joins else GREY)
            svg.text((x + 10, y + 16), str(face + 1), INK, 11, "middle")
    svg.text((420, 252), "green: the next slot whose face has a recorded open side; it joins,", INK, 12)
    svg.text((420, 269), "the face in the last slot takes its place, and the look goes on behind it", INK, 12)
    svg.save("stitching")


def circumcircle(a, b, c):
    d = 2 * (a[0] * (b[1] - c[1]) + b[0] * (c[1] - a[1]) + c[0] * (a[1] - b[1]))
    sa, sb, sc = (p[0] ** 2 + p[1] ** 2 for p in (a, b, c))
    x = (sa * (b[1] - c[1]) + sb * (c[1] - a[1]) + sc * (a[1] - b[1])) / d
    y = (sa * (c[0] - b[0]) + sb * (a[0] - c[0]) + sc * (b[0] - a[0])) / d
    return (x, y), math.hypot(a[0] - x, a[1] - y)


def reconstruction():
    svg = Svg(860, 330)
    surface = [(60, 80), (140, 60), (225, 75), (80, 160), (165, 140), (240, 165), (60, 245), (150, 225), (245, 240)]
    triangles = [(0, 1, 3), (1, 4, 3), (1, 2, 4), (2, 5, 4), (3, 4, 7), (3, 7, 6), (4, 5, 7), (5, 8, 7)]
    for t in triangles:
        svg.area([surface[k] for k in t], BLUISH, BLUE, 1.0)
    svg.path([surface[k] for k in (2, 5, 8)], BLUE, 3.5)
    a, b = surface[5], surface[8]
    candidates = [(315, 195), (330, 110), (395, 215), (300, 275)]
    radii = [circumcircle(a, b, c) for c in candidates]
    best = min(range(len(candidates)), key=lambda k: radii[k][1])
    for k, point in enumerate(candidates):
        centre, r = radii[k]
        color = GREEN if k == best else GREY
        svg.circle(centre, r, color, 1.8 if k == best else 1.0, dash=None if k == best else "4 4")
    svg.path([a, candidates[best], b], GREEN, 2.0)
    for p in surface:
        svg.dot(p, 4)
    for k, p in enumerate(candidates):
        svg.dot(p, 4.5, GREEN if k == best else GREY)
    svg.text((a[0] - 16, a[1] - 6), "a", INK, 14, bold=True)
    svg.text((b[0] - 16, b[1] + 14), "b", INK, 14, bold=True)
    svg.text((candidates[best][0] + 9, candidates[best][1] + 5), "apex", GREEN, 13, halo=True)
    svg.text((60, 40), "surface so far; thick: its front", BLUE)
    svg.text((60, 312), "each candidate beyond the side a b has a circle through a and b: the smallest wins", INK)
    x = 500
    svg.text((x, 84), "waiting triangles, least circle first", GREY)
    heap = [0.21, 0.26, 0.24, 0.33, 0.27, 0.25, 0.31]
    spots = [(x + 105, 112), (x + 50, 160), (x + 160, 160), (x + 20, 208), (x + 80, 208), (x + 132, 208), (x + 190, 208)]
    for k in range(1, 7):
        svg.line(spots[(k - 1) // 2], spots[k], GREY, 1.0)
    for k, spot in enumerate(spots):
        svg.circle(spot, 19, GREEN if k == 0 else GREY, 1.5, GREENISH if k == 0 else "white")
        svg.text((spot[0], spot[1] + 4), f"{heap[k]:.2f}", INK, 12, "middle")
    svg.text((x, 255), "the least is built next, unless what it", INK, 12)
    svg.text((x, 272), "stood on has been closed meanwhile", INK, 12)
    svg.save("reconstruction")


def boundary():
    svg = Svg(860, 300)
    outline = [(50, 70), (130, 58), (210, 66), (290, 50), (330, 62), (352, 120), (344, 190), (358, 245), (280, 258),
               (200, 246), (120, 262), (56, 250), (64, 190), (46, 130)]
    hole = ring((205, 155), 42, 9)[:-1]
    svg.area(outline, BLUISH, BLUE, 2.5)
    svg.area(hole, "white", ORANGE, 2.0)
    for p in outline:
        svg.dot(p, 3.0, BLUE)
    for p in hole:
        svg.dot(p, 2.6, ORANGE)
    corners = [0, 4, 7, 11]
    for k in corners:
        svg.circle(outline[k], 8, RED, 2.0)
    svg.line(outline[0], outline[7], RED, 1.2, dash="6 4")
    svg.text((48, 34), "longest loop, counted in vertices; red: turns of more than 80 degrees", GREY, 12)
    svg.text((205, 160), "second loop", ORANGE, 12, "middle")
    svg.text((262, 206), "longest diagonal", RED, 12, "middle", halo=True)
    svg.aside = 70
    c = (560, 140)
    spokes = [math.radians(v) for v in (200, 235, 275, 320, 345)]
    ends = [(c[0] + 120 * math.cos(a), c[1] - 100 * math.sin(a)) for a in spokes]
    for k in range(4):
        svg.area([c, ends[k], ends[k + 1]], PALE, GREY, 1.0)
    svg.line(ends[0], c, BLUE, 3.0, arrow=True)
    svg.line(c, ends[-1], BLUE, 3.0, arrow=True)
    for k in range(3):
        p, q = between(c, ends[k], 0.42), between(c, ends[k + 1], 0.42)
        svg.line(p, q, ORANGE, 1.8, arrow=True)
    svg.text((c[0], c[1] - 14), "v", INK, 14, "middle", bold=True)
    svg.text((430, 34), "at each vertex the walk turns across the fan", GREY, 12)
    svg.text((430, 51), "from the boundary edge that comes in", GREY, 12)
    svg.text((430, 68), "to the one that goes out", GREY, 12)
    svg.text((395, 284), "where fans meet in a point it stays in that along which it came", INK, 12)
    svg.save("boundary")


def tubecut():
    svg = Svg(860, 320)
    c, r, flat, height = (170, 60), 105, 34, 190
    svg.path(ring(c, r, ry=flat), BLUE, 2.0, fill=PALE)
    svg.path(ring((c[0], c[1] + height), r, 40, 0, math.pi, ry=flat), BLUE, 2.0)
    svg.line((c[0] - r, c[1]), (c[0] - r, c[1] + height), BLUE, 2.0)
    svg.line((c[0] + r, c[1]), (c[0] + r, c[1] + height), BLUE, 2.0)
    for k in range(1, 6):
        svg.path(ring((c[0], c[1] + height * k / 6), r, 40, 0, math.pi, ry=flat), GREY, 0.6)
    for k in range(1, 12):
        a = math.pi * k / 12
        x, y = c[0] + r * math.cos(a), c[1] + flat * math.sin(a)
        svg.line((x, y), (x, y + height), GREY, 0.6)
    path = []
    for k in range(7):
        a = math.pi * (7 if k in (2, 3) else 8) / 12 if k else math.pi * 7.5 / 12
        path.append((c[0] + r * math.cos(a), c[1] + flat * math.sin(a) + height * k / 6))
    x = path[0][0]
    svg.area([(x, 62), (x + 64, 76), (x + 64, 300), (x, 286)], ORANGISH, ORANGE, 1.0, 0.45)
    svg.path(path, RED, 3.0)
    for p in path:
        svg.dot(p, 4, RED)
    svg.text((x - 12, 84), "start", RED, 13, "end", halo=True)
    svg.text((x + 70, 292), "plane through the start", ORANGE, 12)
    svg.text((300, 52), "start: the boundary vertex farthest along the axis", INK, 12)
    svg.text((300, 72), "step: of the edges that lead forward, the one", INK, 12)
    svg.text((300, 88), "that ends nearest to the plane", INK, 12)
    svg.text((300, 108), "end: the first vertex on the boundary", INK, 12)
    svg.aside = 60
    left = [(470, 150 + 22 * k) for k in range(6)]
    right = [(560, 150 + 22 * k) for k in range(6)]
    for lip, color, shift in ((left, BLUE, -70), (right, GREEN, 70)):
        for k in range(5):
            svg.area([lip[k], lip[k + 1], (lip[k][0] + shift, lip[k][1] + 11)], PALE, GREY, 0.8)
        svg.path(lip, color, 2.5)
        for p in lip:
            svg.dot(p, 4, color)
    for p, q in zip(left, right):
        svg.line((p[0] + 8, p[1]), (q[0] - 8, q[1]), GREY, 1.0, dash="3 3")
    svg.text((515, 142), "pairs", GREY, 12, "middle")
    svg.text((466, 286), "twins, new indices", BLUE, 12, "end")
    svg.text((570, 286), "the path's own vertices", GREEN, 12)
    svg.text((515, 306), "slit: each vertex of the path is there twice, both ends included", INK, 12, "middle")
    svg.save("tubecut")


# ---- maps ----------------------------------------------------------------------------------------------------


def flattening():
    svg = Svg(860, 330)
    def cap(r, a):
        return seen(r * math.cos(a), r * math.sin(a), 0.95 * math.sqrt(max(0.0, 1.35 - r * r)), (125, 205), 80)
    for k in range(1, 6):
        svg.path([cap(k / 5, 2 * math.pi * j / 60) for j in range(61)], BLUE if k == 5 else GREY, 2.5 if k == 5 else 0.8)
    for k in range(12):
        svg.path([cap(j / 10, 2 * math.pi * k / 12) for j in range(11)], GREY, 0.8)
    svg.text((125, 38), "surface", INK, 13, "middle", bold=True)
    svg.text((125, 292), "unknown inside,", INK, 12, "middle")
    svg.text((125, 308), "renumbered to come first", INK, 12, "middle")
    svg.aside = 40
    c, scale = (380, 170), 92
    for k in range(1, 6):
        t = math.tan(0.5 * math.asin(k / 5 / 1.17)) / math.tan(0.5 * math.asin(1 / 1.17))
        svg.path(ring(c, scale * t), GREY if k < 5 else BLUE, 0.8 if k < 5 else 1.6, dash=None if k < 5 else "5 4")
    for k in range(12):
        a = 2 * math.pi * k / 12
        svg.line(c, (c[0] + scale * math.cos(a), c[1] + scale * math.sin(a)), GREY, 0.8)
    for sign in (-1, 1):
        p = (c[0] + sign * scale * math.cos(0.5), c[1] + sign * scale * math.sin(0.5))
        svg.dot(p, 6, RED)
        svg.text((p[0] + 10 * sign, p[1] + 18 * sign), "pin", RED, 12, "start" if sign > 0 else "end", halo=True)
    svg.text((380, 38), "pinned", INK, 13, "middle", bold=True)
    svg.text((380, 292), "two corners far apart stay put,", INK, 12, "middle")
    svg.text((380, 308), "the rim finds its own shape", INK, 12, "middle")
    svg.aside = 70
    chain = [(540, 120), (582, 96), (634, 90), (686, 104), (724, 138)]
    svg.path([(520, 150)] + chain + [(736, 176)], GREY, 1.0, dash="4 4")
    svg.path(chain, BLUE, 3.0)
    for k, p in enumerate(chain):
        svg.dot(p, 5, RED if k == 2 else BLUE)
    for k in (1, 2, 3):
        p = chain[k]
        first = math.atan2(chain[k - 1][1] - p[1], chain[k - 1][0] - p[0]) % (2 * math.pi)
        last = math.atan2(chain[k + 1][1] - p[1], chain[k + 1][0] - p[0])
        svg.path(ring(p, 16, 20, first, last - first), ORANGE, 1.6)
    svg.line((594, 152), (624, 112), GREEN, 1.5, arrow=True)
    svg.line((676, 152), (645, 112), GREEN, 1.5, arrow=True)
    svg.text((634, 168), "how it follows from two", GREEN, 12, "middle")
    svg.text((634, 184), "neighbours on either side", GREEN, 12, "middle")
    svg.text((634, 218), "lengths of the edges and angles", ORANGE, 12, "middle")
    svg.text((634, 234), "of the fans are the surface's own", ORANGE, 12, "middle")
    svg.text((634, 38), "developable", INK, 13, "middle", bold=True)
    svg.text((634, 292), "the rim is rolled out first, then fixed;", INK, 12, "middle")
    svg.text((634, 308), "only the inside is solved for", INK, 12, "middle")
    svg.save("flattening")


def conjugategradients():
    svg = Svg(860, 330)
    a, b, c, origin, unit = 1.0, 0.15, 3.2, (200, 185), 62
    def value(x, y):
        return 0.5 * (a * x * x + 2 * b * x * y + c * y * y)
    tilt = 0.5 * math.atan2(2 * b, a - c)
    mean, half = 0.5 * (a + c), math.hypot(0.5 * (a - c), b)
    low, high = mean - half, mean + half
    start = (-2.3, -0.95)
    for share in (1.0, 0.5, 0.2, 0.05):
        v = share * value(*start)
        svg.path(ring(origin, unit * math.sqrt(2 * v / high), ry=unit * math.sqrt(2 * v / low), tilt=-tilt), PALE if share == 1.0 else GREY, 1.0)
    def shown(p):
        return (origin[0] + unit * p[0], origin[1] - unit * p[1])
    x, r = start, (-(a * start[0] + b * start[1]), -(b * start[0] + c * start[1]))
    d, way = r, [start]
    for _ in range(2):
        q = (a * d[0] + b * d[1], b * d[0] + c * d[1])
        alpha = (r[0] ** 2 + r[1] ** 2) / (d[0] * q[0] + d[1] * q[1])
        x = (x[0] + alpha * d[0], x[1] + alpha * d[1])
        s = (r[0] - alpha * q[0], r[1] - alpha * q[1])
        beta = (s[0] ** 2 + s[1] ** 2) / (r[0] ** 2 + r[1] ** 2)
        d, r = (s[0] + beta * d[0], s[1] + beta * d[1]), s
        way.append(x)
    for p, q in zip(way, way[1:]):
        svg.line(shown(p), shown(q), BLUE, 2.5, arrow=True)
    svg.dot(shown(start), 5)
    svg.text((20, 26), "two unknowns, two directions, conjugate to each other", GREY, 12)
    svg.text((shown(start)[0] - 8, shown(start)[1] + 18), "start", INK, 12, "end")
    svg.text((origin[0] + 12, origin[1] + 4), "solution", BLUE, 12, halo=True)
    svg.aside = 60
    # Iterations measured by the snippet of the page, and the same on larger patches.
    left, bottom, width, height = 450, 270, 270, 210
    svg.text((450, 26), "iterations to a residual of 1e-20 (measured)", GREY, 12)
    def spot(n, count):
        return (left + width * (math.log10(n) - 2.4) / 2.2, bottom - height * (math.log10(count) - 2) / 2.6)
    svg.line((left, bottom), (left + width + 10, bottom), INK, 1.2, arrow=True)
    svg.line((left, bottom), (left, bottom - height - 10), INK, 1.2, arrow=True)
    sizes = (400, 1600, 6400, 25600)
    for n in sizes:
        svg.text((spot(n, 100)[0], bottom + 18), str(n), GREY, 11, "middle")
    for count in (100, 1000, 10000):
        svg.line((left, spot(400, count)[1]), (left + width, spot(400, count)[1]), PALE, 1.0)
        svg.text((left - 6, spot(400, count)[1] + 4), str(count), GREY, 11, "end")
    for counts, color, name in (((547, 1436, 4526, 13943), RED, "inside, two pins"),
                                ((132, 280, 572, 1155), GREEN, "inside, rim fixed"),
                                ((421, 1600, 6255, 27933), ORANGE, "rim")):
        svg.path([spot(n, k) for n, k in zip(sizes, counts)], color, 2.2)
        for n, k in zip(sizes, counts):
            svg.dot(spot(n, k), 3.5, color)
        end = spot(sizes[2], counts[2])
        dy = {RED: 22, GREEN: 22, ORANGE: -14}[color]
        svg.text((end[0] + (4 if color != ORANGE else -4), end[1] + dy), name, color, 12, "start" if color != ORANGE else "end", halo=True)
    svg.text((left + width / 2, bottom + 38), "vertices of a square patch", GREY, 12, "middle")
    svg.save("conjugategradients")


def directsolver():
    svg = Svg(860, 320)
    groups = [3, 3, 2, 3, 3, 2, 3]
    parent = [2, 2, 6, 5, 5, 6, None]
    starts = [sum(groups[:k]) for k in range(len(groups))]
    n, side, x0, y0 = sum(groups), 12, 30, 48
    def ancestors(k):
        while parent[k] is not None:
            k = parent[k]
            yield k
    for k, size in enumerate(groups):
        color, edge = [(BLUISH, BLUE), (GREENISH, GREEN), (ORANGISH, ORANGE)][0 if parent[k] in (2, 5) else 1 if parent[k] == 6 else 2]
        for column in range(starts[k], starts[k] + size):
            rows = list(range(column, starts[k] + size))
            for up in ancestors(k):
                rows += range(starts[up], starts[up] + groups[up] - (1 if parent[k] != up and groups[up] > 2 else 0))
            for row in rows:
                svg.box(x0 + side * column, y0 + side * row, side, side, fill=color, color=edge, width=0.5)
    svg.box(x0, y0, n * side, n * side, color=INK)
    svg.text((x0, 32), "the factor, in the order of a postorder of the tree", GREY, 12)
    svg.text((x0, y0 + n * side + 22), "columns that share their rows stand together", INK, 12)
    svg.aside = 60
    spots = [(330, 240), (400, 240), (365, 165), (455, 240), (525, 240), (490, 165), (428, 88)]
    svg.text((320, 32), "fronts, children before parents", GREY, 12)
    for k, up in enumerate(parent):
        if up is not None:
            svg.line((spots[k][0], spots[k][1] - 22), (spots[up][0], spots[up][1] + 22), GREY, 1.5, arrow=True)
    for k, spot in enumerate(spots):
        color, edge = [(BLUISH, BLUE), (GREENISH, GREEN), (ORANGISH, ORANGE)][0 if parent[k] in (2, 5) else 1 if parent[k] == 6 else 2]
        svg.area([(spot[0] - 22, spot[1] - 22), (spot[0] + 22, spot[1] + 22), (spot[0] - 22, spot[1] + 22)], color, edge, 1.5)
    svg.text((320, 282), "arrows: what is left for the others, on a stack", INK, 12)
    for k, (words, color) in enumerate((("factor", BLUE), ("solve", BLUE), ("refine until it", GREEN), ("find known values", ORANGE),
                                        ("holds, or not", RED))):
        y = 62 + 46 * k
        svg.box(590, y - 20, 146, 32, fill="white", color=color, radius=5)
        svg.text((663, y + 1), words if k != 2 else "refine till at rest", INK, 12, "middle")
        if k:
            svg.line((663, y - 34), (663, y - 21), GREY, 1.2, arrow=True)
    svg.save("directsolver")


def orientation():
    svg = Svg(860, 320)
    points = []
    generator = random.Random(3)
    for _ in range(260):
        u, v = generator.uniform(-1, 1), generator.uniform(-1, 1)
        points.append((100 * u + 18 * v * v, 42 * v * (1 - 0.25 * u)))
    turn = math.radians(33)
    points = [(x * math.cos(turn) - y * math.sin(turn), x * math.sin(turn) + y * math.cos(turn)) for x, y in points]
    def extents(step):
        a = step * 0.5 * math.pi / 4096
        us = [x * math.cos(a) + y * math.sin(a) for x, y in points]
        vs = [-x * math.sin(a) + y * math.cos(a) for x, y in points]
        return min(us), max(us), min(vs), max(vs)
    areas = []
    for step in range(0, 4096, 8):
        l, h, b, t = extents(step)
        areas.append(((h - l) * (t - b), step))
    least, best = min(areas)
    origin = (135, 160)
    def shown(u, v, a):
        return (origin[0] + u * math.cos(a) - v * math.sin(a), origin[1] - (u * math.sin(a) + v * math.cos(a)))
    for step, color, dash in ((0, GREY, "5 4"), (best, RED, None)):
        a = step * 0.5 * math.pi / 4096
        l, h, b, t = extents(step)
        svg.path([shown(l, b, a), shown(h, b, a), shown(h, t, a), shown(l, t, a)], color, 1.8, dash=dash, closed=True)
    for x, y in points:
        svg.dot((origin[0] + x, origin[1] - y), 1.6, BLUE)
    svg.text((20, 28), "the map as it came, its box, and the smallest one", GREY, 12)
    svg.aside = 70
    left, bottom, width, height = 310, 235, 400, 170
    svg.line((left, bottom), (left + width + 12, bottom), INK, 1.2, arrow=True)
    svg.line((left, bottom), (left, bottom - height - 14), INK, 1.2, arrow=True)
    most = max(areas)[0]
    curve = [(left + width * s / 4096, bottom - height * (v - 0.9 * least) / (most - 0.9 * least)) for v, s in areas]
    slack = 7
    svg.area([(x, y - slack) for x, y in curve] + [(x, y + slack) for x, y in reversed(curve)], ORANGISH)
    svg.path(curve, BLUE, 2.0)
    x = left + width * best / 4096
    svg.line((x, bottom), (x, bottom - height), RED, 1.2, dash="4 3")
    svg.text((x + 6, bottom - height + 8), "taken", RED, 12, halo=True)
    svg.text((left, 28), "area of the box at 4096 angles", BLUE, 12)
    svg.text((left + 190, 28), "orange: what the outline alone bounds it by", ORANGE, 12)
    svg.text((left, bottom + 18), "0", GREY, 12, "middle")
    svg.text((left + width, bottom + 18), "a quarter turn", GREY, 12, "middle")
    svg.text((left, bottom + 46), "Only at angles whose lower bound is not above the least upper bound", INK, 12)
    svg.text((left, bottom + 63), "is the box of all points grown; the first smallest is taken.", INK, 12)
    svg.save("orientation")


# ---- grids ---------------------------------------------------------------------------------------------------


def resampling():
    svg = Svg(860, 320)
    side, x0, y0 = 26, 40, 50
    lattice(svg, (x0, y0), 12, 8, side, PALE)
    corners = [(1.3, 6.6), (10.6, 5.1), (4.4, 0.7)]
    def shown(p):
        return (x0 + side * p[0], y0 + side * p[1])
    low = [min(p[k] for p in corners) for k in (0, 1)]
    high = [max(p[k] for p in corners) for k in (0, 1)]
    b0, b1 = [math.floor(v) for v in low], [math.ceil(v) for v in high]
    svg.box(*shown(b0), side * (b1[0] - b0[0]), side * (b1[1] - b0[1]), color=ORANGE, dash="5 4", width=1.5)
    svg.area([shown(p) for p in corners], BLUISH, BLUE, 2.0, 0.7)
    def inside(u, v):
        sides = []
        for k in range(3):
            a, b = corners[k], corners[(k + 1) % 3]
            sides.append((b[0] - a[0]) * (v - a[1]) - (u - a[0]) * (b[1] - a[1]))
        return all(s <= 0 for s in sides)
    for j in range(b0[1], b1[1] + 1):
        for i in range(b0[0], b1[0] + 1):
            yes = inside(i, j)
            svg.circle(shown((i, j)), 4, BLUE if yes else GREY, 1.2, BLUE if yes else "white")
    svg.text((x0, 34), "a triangle of the flat map visits the lattice points of its own box", GREY, 12)
    svg.text((x0, 288), "filled: inside by the signs of three edge functions, a side counts as inside", INK, 12)
    svg.text((x0, 306), "the place in space is the barycentric mean of the triangle's corners", INK, 12)
    svg.aside = 90
    x = 470
    def bent(u, v):
        return seen(u, v, 0.9 * math.sin(0.5 * u) + 0.3 * math.cos(0.8 * v), (x + 85, 120), 27)
    for i in range(8):
        svg.path([bent(i, 0.5 * j) for j in range(11)], BLUE, 1.0)
    for j in range(6):
        svg.path([bent(0.5 * i, j) for i in range(15)], BLUE, 1.0)
    for i in range(8):
        for j in range(6):
            svg.dot(bent(i, j), 2.6, RED if i in (0, 7) or j in (0, 5) else BLUE)
    svg.text((x, 34), "nodes on the surface; red: boundary", GREY, 12)
    svg.text((x, 288), "one spacing for the whole map, so quads are", INK, 12)
    svg.text((x, 306), "as unequal as the map is untrue to areas", INK, 12)
    svg.save("resampling")


def extension():
    svg = Svg(860, 330)
    side, x0, y0 = 84, 100, 60
    def node(i, j):
        return (x0 + side * i, y0 + side * (2 - j))
    svg.area([node(1, 1), node(2, 1), node(2, 2), node(1, 2)], BLUISH)
    for j in (1, 2):
        svg.line((node(0, j)[0] - 30, node(0, j)[1]), (node(3, j)[0] + 30, node(3, j)[1]), BLUE, 1.2)
    for i in range(4):
        svg.line(node(i, 1), (node(i, 2)[0], node(i, 2)[1] - 14), BLUE, 1.2)
    svg.line(node(1, 1), node(2, 1), RED, 4.0, arrow=True)
    ways = [((1, 2), (1, 1), (1, 0), "0", GREEN), ((2, 2), (2, 1), (2, 0), "1", GREEN),
            ((1, 2), (2, 1), (3, 0), "2", ORANGE), ((2, 2), (1, 1), (0, 0), "3", ORANGE)]
    for behind, base, target, name, color in ways:
        svg.line(node(*behind), node(*target), color, 1.6, dash="6 4", arrow=True)
        t = node(*target)
        svg.circle(t, 9, color, 2.0, "white")
        svg.text((t[0], t[1] + 5), name, color, 13, "middle", bold=True)
    for i in range(4):
        for j in (1, 2):
            svg.dot(node(i, j), 4.5, BLUE)
    for words, at, dx, dy in (("p", (1, 1), -18, 18), ("q", (2, 1), 12, 18), ("p+n", (1, 2), -34, -6), ("q+n", (2, 2), 8, -6)):
        p = node(*at)
        svg.text((p[0] + dx, p[1] + dy), words, INK, 13, bold=True, halo=True)
    svg.text((222, 138), "e", RED, 14, bold=True)
    svg.text((40, 30), "a boundary edge e and its four ways out: target = 2 base - behind", GREY, 12)
    svg.text((40, 282), "several ways may lead to one node: it gets their mean", INK, 12)
    svg.text((40, 300), "nothing grows from a base beside a cut", INK, 12)
    svg.aside = 60
    x, y = 490, 70
    svg.text((x, 30), "smoothing, where the boundary runs straight on", GREY, 12)
    rim = [(x + 36 * k, y + dy) for k, dy in enumerate((6, -14, 16, -10, 12, -6, 4))]
    smooth = [rim[0]] + [between(rim[k - 1], rim[k + 1], 0.5) for k in range(1, 6)] + [rim[6]]
    svg.path(rim, GREY, 1.5)
    svg.path(smooth, GREEN, 2.2)
    for p in rim:
        svg.dot(p, 3.5, GREY)
    for p in smooth:
        svg.dot(p, 3.5, GREEN)
    svg.text((x, y + 46), "each goes to the middle of its two neighbours,", INK, 12)
    svg.text((x, y + 63), "from the points as they were before", INK, 12)
    lattice(svg, (x + 48, y + 108), 4, 3, 24, BLUE)
    svg.box(x + 24, y + 84, 24 * 6, 24 * 5, color=ORANGE, dash="4 3")
    svg.text((x + 178, y + 130), "a first pass over a", INK, 12)
    svg.text((x + 178, y + 147), "grid that fills its", INK, 12)
    svg.text((x + 178, y + 164), "box adds the margin", INK, 12)
    svg.save("extension")


def analyticgrids():
    svg = Svg(860, 330)
    lattice(svg, (30, 80), 6, 5, 22, BLUE)
    svg.text((96, 44), "plane", INK, 13, "middle", bold=True)
    svg.text((96, 230), "i (high - low) / steps + low", INK, 12, "middle")
    c, r = (268, 190), 95
    step = 2 * math.asin(0.5 * 30 / r)
    arc = [(c[0] + r * math.cos(1.57 - 0.5 * 4 * step + k * step), c[1] - r * math.sin(1.57 - 0.5 * 4 * step + k * step)) for k in range(5)]
    svg.path(ring(c, r, 40, math.pi + 0.4, math.pi - 0.8), GREY, 1.0, dash="4 4")
    svg.path(arc, BLUE, 2.5)
    for p in arc:
        svg.line(c, p, PALE, 1.0)
        svg.dot(p, 4, BLUE)
    svg.text((268, 44), "cylinder arc", INK, 13, "middle", bold=True)
    svg.text((268, 68), "chord = spacing", BLUE, 12, "middle")
    svg.text((268, 230), "angle of a step:", INK, 12, "middle")
    svg.text((268, 247), "2 asin(spacing / 2 radius)", INK, 12, "middle")
    svg.aside = 40
    cx, apex, h, w = 450, 250, 40, 74
    eye = (cx, apex - 4 * h)
    svg.path([(cx + x, apex - h * (x / w) ** 2) for x in range(-w, w + 1, 2)], BLUE, 2.5)
    size = 4 / 3 * w
    svg.line((cx - size, apex), (cx + size, apex), GREY, 1.2)
    for k in range(-4, 5):
        x = size * k / 4
        a = x
        quadratic, linear, constant = -h * (a / w) ** 2, -4.0 * h, 4.0 * h
        svg.dot((cx + x, apex), 2.5, GREY)
        t = 1.0
        if k:
            root = math.sqrt(linear * linear - 4 * quadratic * constant)
            t = 0.5 * (root - linear) / quadratic
            if not 0 <= t <= 1:
                t = 0.5 * (-linear - root) / quadratic
        p = between(eye, (cx + x, apex), t)
        svg.line(eye, (cx + x, apex), PALE if abs(k) == 4 else GREY, 0.7)
        if apex - p[1] <= h + 1e-9:
            svg.dot(p, 4, BLUE if k else RED)
    svg.dot(eye, 5, ORANGE)
    svg.text((cx + 10, eye[1] + 2), "eye, 4 heights up", ORANGE, 12)
    svg.text((cx, 44), "paraboloid", INK, 13, "middle", bold=True)
    svg.text((cx, 276), "red: right under the eye, left empty", RED, 12, "middle")
    svg.aside = 80
    c, r = (655, 165), 72
    pole, bottom = (c[0], c[1] - r), c[1] + r
    svg.circle(c, r, GREY, 1.2)
    svg.line((c[0] - 95, bottom), (c[0] + 95, bottom), GREY, 1.2)
    for k in range(-3, 4):
        flat = (c[0] + 28 * k, bottom)
        dx, dy = flat[0] - pole[0], flat[1] - pole[1]
        t = 4 * r * r / (dx * dx + dy * dy)
        p = (pole[0] + t * dx, pole[1] + t * dy)
        svg.line(pole, flat, GREY, 0.7)
        svg.dot(flat, 2.5, GREY)
        svg.dot(p, 4, BLUE)
    svg.dot(pole, 5, ORANGE)
    svg.text((c[0], 44), "sphere cap", INK, 13, "middle", bold=True)
    svg.text((c[0] + 10, pole[1] - 6), "pole", ORANGE, 12)
    svg.text((c[0], 276), "stereographic, turned over", INK, 12, "middle")
    svg.text((c[0], 293), "afterwards", INK, 12, "middle")
    svg.save("analyticgrids")


def derivedgrids():
    svg = Svg(860, 316)
    def grid(x, y, shape, columns=6, rows=5, color=BLUE):
        for i in range(columns + 1):
            svg.path([shape(x, y, i, j) for j in range(rows + 1)], color, 1.0)
        for j in range(rows + 1):
            svg.path([shape(x, y, i, j) for i in range(columns + 1)], color, 1.0)
        svg.dot(shape(x, y, 0, 0), 4.5, RED)
        svg.line(shape(x, y, 0, 0), shape(x, y, 1, 0), RED, 2.5, arrow=True)
    def bent(x, y, i, j):
        return (x + 17 * i + 4 * math.sin(j), y + 90 - 15 * j + 9 * math.sin(0.9 * i))
    names = ("source", "flattened", "normalised", "thinned out by 2", "restricted in space", "mirrored")
    for k, name in enumerate(names):
        x, y = 34 + 280 * (k % 3), 44 + 136 * (k // 3)
        svg.text((x, y - 8), name, INK, 13, bold=True)
        if name == "source":
            grid(x, y + 2, bent)
        elif name == "flattened":
            grid(x, y + 2, lambda x, y, i, j: (x + 17 * i, y + 90 - 16 * j))
            svg.text((x + 116, y + 44), "side: root of", GREY, 12)
            svg.text((x + 116, y + 60), "the mean area", GREY, 12)
        elif name == "normalised":
            grid(x + 30, y + 22, lambda x, y, i, j: between((x + 30, y + 29), bent(x, y, i, j), 0.6))
            for dx, dy in ((1, 0), (0, 1)):
                svg.line((x + 70 - 52 * dx, y + 62 - 40 * dy), (x + 70 + 52 * dx, y + 62 + 40 * dy), GREY, 1.0)
            svg.text((x + 132, y + 30), "box about 0,", GREY, 12)
            svg.text((x + 132, y + 46), "longest side told", GREY, 12)
        elif name == "thinned out by 2":
            grid(x, y + 2, lambda x, y, i, j: bent(x, y, 2 * i, 2 * j), 3, 2)
            svg.text((x + 122, y + 44), "what is left over", GREY, 12)
            svg.text((x + 122, y + 60), "at the end goes", GREY, 12)
        elif name == "restricted in space":
            grid(x, y + 2, lambda x, y, i, j: bent(x, y, i + 2, j + 1), 3, 2)
            svg.path([bent(x, y + 2, a, b) for a, b in ((1, 0), (3.5, 0), (7, 0), (7, 2.5), (7, 5), (3.5, 5), (1, 5), (1, 2.5))], GREY, 1.0, dash="3 3", closed=True)
            svg.text((x + 140, y + 36), "ring of empty", GREY, 12)
            svg.text((x + 140, y + 52), "nodes: one below,", GREY, 12)
            svg.text((x + 140, y + 68), "two above", GREY, 12)
        else:
            grid(x, y + 2, lambda x, y, i, j: bent(x, y, 6 - i, 5 - j), color=GREEN)
            svg.text((x + 122, y + 44), "rows or columns", GREY, 12)
            svg.text((x + 122, y + 60), "turned as well", GREY, 12)
    svg.text((34, 306), "red: node (0, 0) and the way of u", RED, 12)
    svg.save("derivedgrids")


# ---- beams ---------------------------------------------------------------------------------------------------


def walk():
    svg = Svg(860, 340)
    side, x0, y0 = 24, 30, 50
    lattice(svg, (x0, y0), 14, 10, side, PALE)
    hole = [(i, j) for i in range(6, 9) for j in range(3, 6)]
    for i, j in hole:
        svg.box(x0 + side * i, y0 + side * j, side, side, fill="#cfd6dc", color=GREY, width=0.5)
    def middle(i, j):
        return (x0 + side * (i + 0.5), y0 + side * (j + 0.5))
    def mark(q, fill, edge, name):
        svg.box(x0 + side * q[0], y0 + side * q[1], side, side, fill=fill, color=edge, width=1.5)
        svg.text((middle(*q)[0], middle(*q)[1] + 5), name, edge, 12, "middle", bold=True)
    svg.line(middle(1, 8), middle(7, 4), BLUE, 2.0, arrow=True)
    svg.path([middle(7, 4), (x0 + side * 6.6, y0 + side * 6.3), middle(5, 5)], RED, 1.6, dash="5 3", arrow=True)
    svg.line(middle(5, 5), middle(11, 1), BLUE, 2.0, arrow=True)
    svg.line(middle(11, 1), middle(12, 2), BLUE, 2.0, arrow=True)
    mark((1, 8), BLUISH, BLUE, "1")
    mark((7, 4), REDDISH, RED, "2")
    mark((5, 5), BLUISH, BLUE, "3")
    mark((11, 1), BLUISH, BLUE, "4")
    mark((12, 2), GREENISH, GREEN, "5")
    svg.text((x0, 34), "the walk over quads: a step goes all the way to the foot", GREY, 12)
    svg.text((x0, 312), "2 is in a hole: back by halving to the last quad that exists; 5 is the hit", INK, 12)
    svg.aside = 60
    x = 430
    svg.text((x, 34), "one step, seen from the side", GREY, 12)
    surface = [(x + 3 * k, 170 - 34 * math.sin(k / 28)) for k in range(101)]
    svg.path(surface, BLUE, 2.5)
    a, b = surface[24], surface[32]
    tangent = ((b[0] - a[0]) / 24, (b[1] - a[1]) / 24)
    def on(t):
        return (a[0] + tangent[0] * t, a[1] + tangent[1] * t)
    svg.line(on(-40), on(190), ORANGE, 1.3, dash="5 4")
    svg.line(a, b, RED, 5.0)
    beam = x + 215
    svg.line((beam, 56), (beam, 216), GREEN, 2.0, arrow=True)
    foot = on((beam - a[0]) / tangent[0])
    svg.dot(foot, 5, ORANGE)
    svg.text((foot[0] - 8, foot[1] - 8), "foot", ORANGE, 12, "end")
    svg.text((beam + 8, 66), "beam", GREEN, 12)
    svg.text((a[0] - 4, a[1] - 14), "quad at hand", RED, 12, "end", halo=True)
    svg.text((x, 236), "The beam meets the plane of the quad at hand in the foot;", INK, 12)
    svg.text((x, 253), "counted in that quad's edges and rounded, that is the step.", INK, 12)
    svg.text((x, 270), "It is not damped: the grid is taken as if it went on like this.", INK, 12)
    svg.text((x, 295), "Ends: a hit, a step of 0, 32 steps, 4 landings off", INK, 12)
    svg.text((x, 312), "the grid in a row", INK, 12)
    svg.save("walk")


def startdescent():
    """Beside the walk: where it starts."""
    svg = Svg(860, 250)
    side, x0, y0 = 13, 30, 44
    lattice(svg, (x0, y0), 16, 13, side, PALE, 0.8)
    target = (x0 + side * 13.3, y0 + side * 5.6)
    box, centre = (16.0, 13.0), (8.0, 6.5)
    colors = (BLUE, ORANGE, GREEN)
    for k in range(3):
        left, top = centre[0] - box[0] / 2, centre[1] - box[1] / 2
        svg.box(x0 + side * left, y0 + side * top, side * box[0], side * box[1], color=colors[k], width=1.8, dash="5 3" if k else None)
        samples = [(left + box[0] * (0.25 + 0.5 * i), top + box[1] * (0.25 + 0.5 * j)) for i in (0, 1) for j in (0, 1)]
        for s in samples:
            svg.dot((x0 + side * s[0], y0 + side * s[1]), 4, colors[k])
        centre = min(samples, key=lambda s: math.hypot(x0 + side * s[0] - target[0], y0 + side * s[1] - target[1]))
        box = (box[0] / 2, box[1] / 2)
    svg.line((target[0] - 6, target[1] - 6), (target[0] + 6, target[1] + 6), RED, 2.5)
    svg.line((target[0] - 6, target[1] + 6), (target[0] + 6, target[1] - 6), RED, 2.5)
    svg.text((x0, 30), "three passes: blue, orange, green; red: nearest to the beam's origin", GREY, 12)
    x = 290
    for k, words in enumerate((
        "A pass lays 2 by 2 samples over a box around the best quad so far,",
        "takes the nearest that is strictly nearer, and halves the box.",
        "If a sample falls into a hole, four more are looked at around each.",
        "A pass that comes no nearer ends the descent: a local minimum,",
        "from which the walk goes on.",
        "Distances are those of nodes to the beam's origin; its direction",
        "plays no part here.")):
        svg.text((x, 70 + 22 * k), words, INK, 12.5)
    svg.save("startdescent")


def suresearch():
    svg = Svg(860, 310)
    x0, y0, s = 40, 60, 60
    for i in range(4):
        svg.line((x0 + s * i, y0), (x0 + s * i, y0 + 3 * s), GREY, 1.2)
        svg.line((x0, y0 + s * i), (x0 + 3 * s, y0 + s * i), GREY, 1.2)
    for i in range(3):
        for j in range(3):
            svg.line((x0 + s * i, y0 + s * (j + 1)), (x0 + s * (i + 1), y0 + s * j), PALE, 1.0)
            if (i, j) != (1, 1):
                svg.text((x0 + s * i + 30, y0 + s * j + 35), "asked", GREY, 11, "middle")
    svg.box(x0 + s, y0 + s, s, s, fill=ORANGISH, color=ORANGE, width=2.0)
    svg.text((x0 + 1.5 * s, y0 + 1.5 * s + 18), "named", ORANGE, 12, "middle")
    svg.dot((x0 + 2 * s, y0 + 1.4 * s), 5, RED)
    svg.text((x0, 36), "the tree works in floats and names a quad", GREY, 12)
    svg.text((x0, y0 + 3 * s + 24), "the core's test decides; where it says no,", INK, 12)
    svg.text((x0, y0 + 3 * s + 41), "the eight around are asked, at the same place", INK, 12)
    x = 330
    svg.text((x, 36), "three answers", GREY, 12)
    for k, (dx, name, color, words) in enumerate(((28, "inside", GREEN, "a triangle of the named quad"),
                                                  (55, "edge", RED, "neither side takes it: told, never passed"),
                                                  (128, "miss", GREY, "beside the sheet"))):
        y = 116 + 84 * k
        svg.path([(x, y), (x + 55, y - 12), (x + 110, y)], BLUE, 3.0)
        for p in ((x, y), (x + 55, y - 12), (x + 110, y)):
            svg.dot(p, 3, BLUE)
        end = y - 6 if name == "inside" else y - 12 if name == "edge" else y + 22
        svg.line((x + dx, y - 56), (x + dx, end), color, 2.0, arrow=True)
        svg.text((x + 150, y - 22), name, color, 13, bold=True)
        svg.text((x + 150, y - 5), words, INK, 12)
    svg.text((x + 150, 212), "what lies behind an edge is another", INK, 12)
    svg.text((x + 150, 228), "sheet and is not looked for", INK, 12)
    svg.save("suresearch")


def footprint():
    svg = Svg(860, 320)
    origin = (150, 50)
    def plane(x):
        return 250 - 0.22 * (x - 60)
    svg.line((30, plane(30)), (300, plane(300)), BLUE, 2.5)
    svg.text((252, plane(290) + 22), "plane of the quad", BLUE, 12)
    svg.line((origin[0] - 16, origin[1]), (origin[0] + 16, origin[1]), INK, 3.0)
    def crossing(x, slope):
        # x + slope t, 50 + t = plane
        t = (250 - 0.22 * (x - 60) - 50) / (1 + 0.22 * slope)
        return (x + slope * t, 50 + t)
    for x, slope, color in ((150, 0.0, RED), (166, 0.25, ORANGE), (134, -0.25, ORANGE)):
        p = crossing(x, slope)
        svg.line((x, 50), p, color, 1.8, arrow=True)
        svg.dot(p, 4.5, color)
    svg.text((172, 46), "aperture", INK, 12)
    svg.text((158, 150), "axis", RED, 12, halo=True)
    svg.text((30, 28), "rays at the rim leave the aperture's edge", GREY, 12)
    svg.text((30, 300), "five crossings with one plane, taken to go on", INK, 12)
    x0, y0, s = 400, 50, 26
    lattice(svg, (x0, y0), 12, 8, s, PALE)
    c = (x0 + 5.4 * s, y0 + 4.3 * s)
    axes = [((3.9, 0.7), GREEN), ((-0.5, 2.2), GREEN), ((-3.0, -0.55), GREEN), ((0.42, -1.8), GREEN)]
    outline = []
    for k in range(4):
        a, b = axes[k][0], axes[(k + 1) % 4][0]
        for j in range(19):
            t = 0.5 * math.pi * j / 18
            outline.append((c[0] + s * (a[0] * math.cos(t) + b[0] * math.sin(t)), c[1] + s * (a[1] * math.cos(t) + b[1] * math.sin(t))))
    svg.area(outline, ORANGISH, ORANGE, 2.0, 0.6)
    for (dx, dy), color in axes:
        svg.line(c, (c[0] + s * dx, c[1] + s * dy), color, 2.0, arrow=True)
    svg.dot(c, 5, RED)
    for (dx, dy), name in zip((axes[0][0], axes[1][0], axes[2][0], axes[3][0]), ("A1", "B1", "A2", "B2")):
        svg.text((c[0] + s * dx * 1.1 + (6 if dx > 0 else -22), c[1] + s * dy * 1.12 + 8), name, GREEN, 12, bold=True, halo=True)
    svg.text((x0, 28), "in quads: four quarters of ellipses that need not match", GREY, 12)
    svg.text((x0, 292), "steps are counted in 1 / unity of a quad and", INK, 12)
    svg.text((x0, 309), "truncated, so they err towards the centre", INK, 12)
    svg.save("footprint")


def stripes():
    svg = Svg(860, 320)
    side, x0, y0 = 22, 30, 46
    lattice(svg, (x0, y0), 18, 11, side, PALE)
    def middle(i, j):
        return (x0 + side * (i + 0.5), y0 + side * (j + 0.5))
    a, b = (2, 8), (15, 3)
    du, dv = b[0] - a[0], abs(b[1] - a[1])
    error, j, raster = 2 * dv - du, a[1], []
    for i in range(a[0], b[0]):
        raster.append((i, j))
        if error >= 0:
            j -= 1
            error -= 2 * du
        error += 2 * dv
    for q in raster:
        svg.box(x0 + side * q[0], y0 + side * q[1], side, side, fill=BLUISH, color=BLUE, width=0.8)
    svg.line(middle(*a), middle(*b), RED, 2.0)
    perp = (dv, du)
    length = int(math.hypot(*perp))
    span, count = 7, 5
    at = raster[6]
    for element in range(count):
        offset = (element - count // 2) * span
        # Whole numbers, cut towards 0 as the library does.
        cell = (at[0] - int(int(-perp[0] * offset / length) / count), at[1] + int(int(perp[1] * offset / length) / count))
        svg.box(x0 + side * cell[0], y0 + side * cell[1], side, side, fill=ORANGISH, color=ORANGE, width=1.6)
    svg.text((x0, 30), "a line is drawn by chance; blue: its quads; orange: the array across it, at one of them", GREY, 12)
    x = 470
    svg.area([(x, 200), (x + 220, 180), (x + 220, 190), (x, 210)], PALE, GREY, 1.0)
    for k in range(6):
        p = (x + 20 + 38 * k, 200 - 20 * (20 + 38 * k) / 220)
        svg.line((p[0], p[1] - 90), p, GREEN, 1.8, arrow=True)
    svg.text((x, 90), "from 10 above, down the line's normal,", INK, 12)
    svg.text((x, 234), "each beam must name the quad that it was", INK, 12)
    svg.text((x, 251), "fired for; a quarter of a quad beside the", INK, 12)
    svg.text((x, 268), "middle, which lies on the diagonal", INK, 12)
    svg.save("stripes")


def groups():
    svg = Svg(860, 270)
    def stack(x, names, winner, title):
        svg.text((x, 34), title, GREY, 12)
        for k, name in enumerate(names):
            on = name == winner
            svg.box(x, 50 + 34 * k, 110, 28, fill=GREENISH if on else "white", color=GREEN if on else GREY, radius=4)
            svg.text((x + 55, 69 + 34 * k), name, INK, 13, "middle")
    stack(30, ["grid A", "grid B", "grid C", "grid D"], "grid C", "asked front to back")
    svg.path([(144, 132), (172, 132), (172, 64), (206, 64)], GREEN, 2.0, arrow=True)
    svg.text((150, 152), "best", GREEN, 12)
    stack(210, ["grid C", "grid A", "grid B", "grid D"], "grid C", "the best goes to the front")
    svg.line((324, 64), (376, 64), GREEN, 2.0, arrow=True)
    stack(380, ["grid C", "(not asked)", "(not asked)", "(not asked)"], "grid C", "next beam: a hit there ends it")
    x = 560
    for k, words in enumerate(("only if the last query was good,", "and in the mode that puts the", "angle before the distance;", "otherwise all are asked", "",
                               "the same rule one level up:", "a group of groups has its", "own order and its own memory")):
        svg.text((x, 66 + 20 * k), words, INK, 12)
    svg.text((30, 226), "Odd: the stop looks at whether the last hit was good, not this one. A poor hit of the front grid", INK, 12)
    svg.text((30, 244), "ends this query, too; the next one asks everybody.", INK, 12)
    svg.save("groups")


# ---- points --------------------------------------------------------------------------------------------------


def sampled(count, seed, w, h):
    generator = random.Random(seed)
    return [(generator.uniform(0, w), generator.uniform(0, h)) for _ in range(count)]


def tree():
    svg = Svg(860, 310)
    points, x0, y0, w, h = sampled(15, 11, 300, 220), 30, 50, 300, 220
    def split(own, box, depth):
        if len(own) < 2:
            return
        options = []
        for axis in (0, 1):
            place = box[axis] + 0.5 * box[2 + axis]
            above = sum(p[axis] >= place for p in own)
            options.append((abs(above / len(own) - 0.5), axis, place))
        score, axis, place = min(options)
        color = (RED, ORANGE, GREEN, BLUE, GREY)[min(depth, 4)]
        low, high = list(box), list(box)
        low[2 + axis] = place - box[axis]
        high[axis], high[2 + axis] = place, box[axis] + box[2 + axis] - place
        if axis == 0:
            svg.line((x0 + place, y0 + box[1]), (x0 + place, y0 + box[1] + box[3]), color, max(0.8, 2.6 - 0.5 * depth))
        else:
            svg.line((x0 + box[0], y0 + place), (x0 + box[0] + box[2], y0 + place), color, max(0.8, 2.6 - 0.5 * depth))
        split([p for p in own if p[axis] >= place], high, depth + 1)
        split([p for p in own if p[axis] < place], low, depth + 1)
    lows = [min(p[k] for p in points) for k in (0, 1)]
    highs = [max(p[k] for p in points) for k in (0, 1)]
    box = [lows[0], lows[1], highs[0] - lows[0], highs[1] - lows[1]]
    svg.box(x0 + box[0], y0 + box[1], box[2], box[3], color=INK)
    split(points, box, 0)
    for p in points:
        svg.dot((x0 + p[0], y0 + p[1]), 4, INK)
    svg.text((x0, 32), "boxes are cut through their centres until each holds one object", GREY, 12)
    svg.text((x0, 296), "red, orange, green, blue: first cuts to later ones", GREY, 12)
    svg.aside = 60
    x = 400
    svg.text((x, 32), "a search: down to a leaf, then up to the root", GREY, 12)
    nodes = {"r": (550, 66), "a": (470, 120), "b": (635, 120), "c": (425, 180), "d": (515, 180), "e": (590, 180), "f": (680, 180)}
    for p, q in (("r", "a"), ("r", "b"), ("a", "c"), ("a", "d"), ("b", "e"), ("b", "f")):
        svg.line(nodes[p], nodes[q], GREY, 1.2)
    for name, p in nodes.items():
        leaf = name in "cdef"
        svg.circle(p, 13, GREEN if name == "d" else ORANGE if name in "cb" else GREY, 2.0, GREENISH if name == "d" else ORANGISH if name in "cb" else "white")
    svg.path([(538, 76), (490, 108), (515, 160)], GREEN, 2.2, arrow=True)
    svg.text((515, 206), "taken", GREEN, 12, "middle")
    svg.text((425, 206), "taken at once", ORANGE, 12, "middle")
    svg.text((655, 112), "put off, with the", ORANGE, 12)
    svg.text((655, 128), "plane's distance", ORANGE, 12)
    svg.text((x, 246), "The distance put down is that of the plane, not of the", INK, 12)
    svg.text((x, 263), "region behind it, which may be nearer: it is then lost.", INK, 12)
    svg.text((x, 280), "That is why answers are not exact.", INK, 12)
    svg.save("tree")


def nearestpoints():
    svg = Svg(860, 310)
    points, x0, y0 = sampled(31, 4, 300, 220), 30, 50
    def halve(own, box, depth):
        if len(own) <= 3:
            return
        axis = max((0, 1), key=lambda k: (max(p[k] for p in own) - min(p[k] for p in own), -k))
        own.sort(key=lambda p: p[axis])
        middle = len(own) // 2
        place = own[middle][axis]
        if axis == 0:
            svg.line((x0 + place, y0 + box[1]), (x0 + place, y0 + box[3]), BLUE, max(0.8, 2.4 - 0.6 * depth))
        else:
            svg.line((x0 + box[0], y0 + place), (x0 + box[2], y0 + place), BLUE, max(0.8, 2.4 - 0.6 * depth))
        low, high = list(box), list(box)
        low[2 + axis], high[axis] = place, place
        halve(own[:middle], low, depth + 1)
        halve(own[middle + 1:], high, depth + 1)
    svg.box(x0, y0, 300, 220, color=INK)
    halve(list(points), [0, 0, 300, 220], 0)
    place = (188, 88)
    nearest = sorted(points, key=lambda p: math.hypot(p[0] - place[0], p[1] - place[1]))[:4]
    reach = math.hypot(nearest[-1][0] - place[0], nearest[-1][1] - place[1])
    svg.circle((x0 + place[0], y0 + place[1]), reach, RED, 1.6, dash="5 3")
    for p in points:
        svg.dot((x0 + p[0], y0 + p[1]), 4, GREEN if p in nearest else INK)
    svg.line((x0 + place[0] - 6, y0 + place[1]), (x0 + place[0] + 6, y0 + place[1]), RED, 2.5)
    svg.line((x0 + place[0], y0 + place[1] - 6), (x0 + place[0], y0 + place[1] + 6), RED, 2.5)
    svg.text((x0, 32), "halved at medians along the longer side; green: the four nearest", GREY, 12)
    x = 390
    svg.text((x, 62), "the tree is an order of the points, no nodes", GREY, 12)
    for k in range(15):
        svg.box(x + 22 * k, 76, 20, 24, fill=BLUISH if k == 7 else ORANGISH if k in (3, 11) else "white", color=BLUE if k == 7 else ORANGE if k in (3, 11) else GREY)
    svg.text((x + 22 * 7 + 10, 118), "median", BLUE, 12, "middle")
    svg.text((x + 22 * 1 + 10, 118), "lesser", GREY, 12, "middle")
    svg.text((x + 22 * 13, 118), "greater", GREY, 12, "middle")
    for k, words in enumerate(("A query looks on its own side first, then across the median", "unless nothing there can be among the best:",
                               "the square of the offset, rounded as the distances are,", "is greater than the worst of them.", "",
                               "At equality it looks on, since a lower index may lie there:", "the answer is that of a sort of all points", "by distance and then by index.")):
        svg.text((x, 160 + 18 * k), words, INK, 12)
    svg.save("nearestpoints")


# ---- fits ----------------------------------------------------------------------------------------------------


def spherefit():
    svg = Svg(860, 300)
    generator = random.Random(2)
    c, r = (165, 160), 100
    svg.circle(c, r, BLUE, 2.0)
    for k in range(9):
        a = 0.6 * k + generator.uniform(-0.1, 0.1)
        d = r + generator.uniform(-16, 16)
        p = (c[0] + d * math.cos(a), c[1] - d * math.sin(a))
        svg.line(p, (c[0] + r * math.cos(a), c[1] - r * math.sin(a)), RED, 2.0)
        svg.dot(p, 4)
    svg.path([(126, 190), (141, 178), (152, 169), (159, 164), c], ORANGE, 1.8, arrow=True)
    svg.dot((126, 190), 4, ORANGE)
    svg.text((108, 212), "centroid", ORANGE, 12)
    svg.dot(c, 4, BLUE)
    svg.text((30, 34), "red: the residuals whose squares are summed", GREY, 12)
    left, bottom = 340, 230
    svg.text((left, 34), "radius alone: each sweep leaves 1 - 0.002 n of its error", GREY, 12)
    svg.line((left, 145), (left + 372, 145), GREY, 1.0)
    svg.line((left, bottom), (left, 54), INK, 1.2, arrow=True)
    for n, color in ((100, GREEN), (900, ORANGE), (1100, RED)):
        value, points = 1.0, []
        for k in range(13):
            y = 145 - 60 * max(-1.35, min(1.35, value))
            points.append((left + 28 * k, y))
            value *= 1 - 0.002 * n
        svg.path(points, color, 2.0)
        for p in points:
            svg.dot(p, 2.6, color)
    svg.text((left + 346, 136), "100 points", GREEN, 12)
    svg.text((left + 346, 162), "900 points", ORANGE, 12)
    svg.text((left + 346, 68), "1100 points: runs away", RED, 12)
    svg.text((left, 256), "the step of 0.001 is divided neither by the number of points nor by size", INK, 12)
    svg.save("spherefit")


def cylinderfit():
    svg = Svg(860, 310)
    a, b = (60, 240), (330, 90)
    ux, uy = 0.874, -0.486
    nx, ny = 0.486, 0.874
    r = 60
    for sign in (-1, 1):
        svg.line((a[0] + sign * r * nx, a[1] + sign * r * ny), (b[0] + sign * r * nx, b[1] + sign * r * ny), BLUE, 1.5)
    for p in (a, b):
        svg.path(ring(p, r, ry=18, tilt=math.atan2(ny, nx)), BLUE, 1.2)
    svg.line((a[0] - 30 * ux, a[1] - 30 * uy), (b[0] + 34 * ux, b[1] + 34 * uy), RED, 2.0, arrow=True)
    p = (215 - 66 * nx, 154 - 66 * ny)
    foot = (215, 154)
    svg.line(p, foot, GREEN, 2.0, arrow=True)
    svg.dot(p, 4.5)
    svg.line(p, (p[0] - 52 * nx + 16 * ux, p[1] - 52 * ny + 16 * uy), ORANGE, 2.0, arrow=True)
    svg.text((p[0] - 46, p[1] - 24), "normal n", ORANGE, 12, "end")
    svg.text((foot[0] + 8, foot[1] + 18), "foot on the axis", GREEN, 12)
    svg.text((p[0] + 22, p[1] + 26), "r", GREEN, 14, bold=True)
    svg.text((p[0] + 10, p[1] - 2), "p", INK, 14, bold=True)
    svg.text((30, 30), "six unknowns: a point of the axis and its direction, of any length", GREY, 12)
    x = 430
    for k, (words, color) in enumerate((("the value that descends", GREY), ("sum over the points of", INK), ("   | r x n |²", ORANGE),
                                        ("      normals should meet the axis", GREY), ("   ( |r| - |r of the next point| )²", GREEN),
                                        ("      distances from it should be equal", GREY), ("", INK), ("The radius is no unknown: it is the mean of |r|", INK),
                                        ("in the end. The start is (1, 1, 1) with direction", INK), ("(1, 1, 1), whatever the points.", INK))):
        svg.text((x, 80 + 20 * k), words, color, 13 if color in (ORANGE, GREEN) else 12)
    svg.save("cylinderfit")


def paraboloidfit():
    svg = Svg(860, 310)
    cx, cy, tilt = 190, 240, -0.22
    def frame(a, c):
        return (cx + a * math.cos(tilt) - -c * math.sin(tilt) * -1, cy + a * math.sin(tilt) - c * math.cos(tilt))
    def surface(a):
        return 0.5 * 0.013 * a * a
    svg.path([frame(a, surface(a)) for a in range(-140, 141, 4)], BLUE, 2.5)
    svg.line(frame(-150, 0), frame(160, 0), GREY, 1.2, arrow=True)
    svg.line(frame(0, 0), frame(0, 165), GREY, 1.2, arrow=True)
    for a, off in ((-110, 22), (-70, -14), (-30, 16), (20, 20), (60, -16), (100, 24), (125, -18)):
        p, q = frame(a, surface(a) + off), frame(a, surface(a))
        svg.line(p, q, RED, 2.0)
        svg.dot(p, 4)
    svg.dot(frame(0, 0), 5, ORANGE)
    svg.text((frame(0, 0)[0] - 6, frame(0, 0)[1] + 24), "vertex", ORANGE, 12, "middle")
    svg.text((frame(165, 0)[0] - 6, frame(165, 0)[1] + 20), "axis u", GREY, 12)
    svg.text((frame(0, 172)[0] - 12, frame(0, 172)[1] + 2), "normal axis", GREY, 12, "end")
    svg.text((30, 30), "residuals are measured along the axis, not at right angles", RED, 12)
    x = 440
    for k, (name, words, color) in enumerate((("1", "vertex, a point of floats", ORANGE), ("2", "frame, a quaternion of length 1", GREEN), ("3", "the two curvatures", BLUE))):
        y = 92 + 52 * k
        svg.box(x, y - 24, 240, 36, color=color, radius=5)
        svg.text((x + 14, y), f"{name}  {words}", INK, 13)
        if k:
            svg.line((x + 120, y - 40), (x + 120, y - 25), GREY, 1.3, arrow=True)
    svg.path([(x + 240, 190), (x + 275, 190), (x + 275, 86), (x + 243, 86)], GREY, 1.3, arrow=True)
    svg.text((x, 30), "a pass: one gradient step each, with the axes of its start", GREY, 12)
    svg.text((x, 246), "until nothing moves by 1e-24, or 268,435,456 passes", INK, 12)
    svg.text((x, 264), "states that recur are noticed, and rounds left out", INK, 12)
    svg.save("paraboloidfit")


def registration():
    svg = Svg(860, 310)
    source = [(60, 220), (190, 240), (110, 120)]
    c = (120, 193.3)
    turn = math.radians(-38)
    shift = (215, -36)
    target = []
    for x, y in source:
        dx, dy = x - c[0], y - c[1]
        target.append((c[0] + shift[0] + dx * math.cos(turn) - dy * math.sin(turn) + 3, c[1] + shift[1] + dx * math.sin(turn) + dy * math.cos(turn) - 2))
    svg.area(source, BLUISH, BLUE, 2.0)
    svg.area(target, GREENISH, GREEN, 2.0)
    svg.dot(c, 5, RED)
    end = (c[0] + shift[0], c[1] + shift[1])
    svg.line(c, end, RED, 2.0, arrow=True)
    svg.dot(end, 5, RED)
    for p, q in zip(source, target):
        svg.line(p, q, GREY, 1.0, dash="3 4")
        svg.dot(p, 4, BLUE)
        svg.dot(q, 4, GREEN)
    svg.text((30, 30), "three pairs: centroid to centroid, and three Euler angles", GREY, 12)
    svg.text((52, 262), "sources", BLUE, 12)
    svg.text((300, 262), "targets", GREEN, 12)
    svg.aside = 40
    left, bottom, width = 470, 240, 240
    svg.text((left, 30), "longest side for which a descent settles", GREY, 12)
    def at(v):
        return left + width * math.log10(v) / 5
    svg.line((left, bottom), (left + width + 14, bottom), INK, 1.2, arrow=True)
    for k in range(6):
        svg.text((left + width * k / 5, bottom + 18), ("1", "10", "100", "1000", "10⁴", "10⁵")[k], GREY, 11, "middle")
    for y, low, high, color, name in ((190, 10, 700, BLUE, "coarse, step 1e-6"), (130, 400, 20000, ORANGE, "fine, step 1e-9")):
        svg.box(at(low), y - 12, at(high) - at(low), 24, fill="white", color=color, width=2.0, radius=4)
        svg.text((0.5 * (at(low) + at(high)), y - 18), name, color, 12, "middle")
    svg.text((at(3.2), 194), "too slow", GREY, 11, "middle")
    svg.text((at(9000), 194), "runs away", RED, 11, "middle")
    svg.text((left, bottom + 42), "cscan scales the points to the coarse one's best size", INK, 12)
    svg.save("registration")


def frames():
    svg = Svg(860, 320)
    def axes(p, a, name, scale=34):
        for k, color in enumerate((RED, GREEN)):
            t = a - k * math.pi / 2
            svg.line(p, (p[0] + scale * math.cos(t), p[1] + scale * math.sin(t)), color, 2.2, arrow=True)
        svg.dot(p, 4)
        svg.text((p[0] - 4, p[1] + 20), name, INK, 12, "end", bold=True, halo=True)
    base, elbow, flange, tip = (80, 262), (96, 130), (215, 92), (262, 120)
    svg.path([base, elbow, flange], GREY, 9.0)
    svg.line(flange, tip, GREY, 5.0)
    part = [(290, 232), (330, 206), (378, 204), (424, 226), (440, 262), (290, 262)]
    svg.area(part, BLUISH, BLUE, 2.0)
    svg.line(tip, (336, 203), ORANGE, 2.0, arrow=True)
    axes(base, 0.0, "cell")
    axes(flange, 0.45, "flange", 28)
    axes((300, 284), -0.12, "part", 30)
    svg.text((272, 112), "tool: probe on the flange", INK, 12)
    svg.text((318, 166), "beam", ORANGE, 12)
    svg.text((20, 28), "pose x tool gives the probe in the cell; the frame takes it to the part", GREY, 12)
    x = 500
    svg.text((x, 28), "pairs of marks, and what a rigid motion leaves", GREY, 12)
    rows = [(60, 70), (200, 84), (90, 180), (190, 190), (130, 120)]
    for k, (dx, dy) in enumerate(rows):
        p = (x + dx, dy)
        bad = k == 3
        q = (p[0] + (24 if bad else 5), p[1] - (14 if bad else 4))
        svg.line(p, q, RED if bad else GREY, 2.0)
        svg.circle(p, 6, BLUE, 1.8)
        svg.dot(q, 4, RED if bad else GREEN)
    svg.text((x, 226), "ring: source, moved by the frame; dot: target", INK, 12)
    svg.text((x, 244), "red: the worst pair", RED, 12)
    svg.text((x, 262), "scale and mirror images are told, not followed", INK, 12)
    svg.save("frames")


# ---- inspection ----------------------------------------------------------------------------------------------


def indications():
    svg = Svg(860, 330)
    side, x0, y0 = 24, 30, 50
    c, sx, sy, tilt = (5.6, 4.9), 2.3, 1.25, 0.45
    def loud(i, j):
        dx, dy = i + 0.5 - c[0], j + 0.5 - c[1]
        a, b = dx * math.cos(tilt) + dy * math.sin(tilt), -dx * math.sin(tilt) + dy * math.cos(tilt)
        return 80 * math.exp(-0.5 * ((a / sx) ** 2 + (b / sy) ** 2)) + 6
    for i in range(11):
        for j in range(9):
            v = loud(i, j)
            tone = int(250 - 1.9 * v)
            svg.box(x0 + side * i, y0 + side * j, side, side, fill=f"rgb({tone},{tone},255)", color="white", width=0.8)
    level = 43
    k = math.sqrt(-2 * math.log((level - 6) / 80))
    centre = (x0 + side * c[0], y0 + side * c[1])
    svg.path(ring(centre, side * sx * k, ry=side * sy * k, tilt=tilt), RED, 2.5, closed=True)
    ca, sa = math.cos(tilt), math.sin(tilt)
    corners = []
    for a, b in ((-1, -1), (1, -1), (1, 1), (-1, 1)):
        a, b = a * side * sx * k, b * side * sy * k
        corners.append((centre[0] + a * ca - b * sa, centre[1] + a * sa + b * ca))
    svg.path(corners, ORANGE, 1.8, dash="5 3", closed=True)
    svg.dot(centre, 4.5, RED)
    svg.text((x0, 34), "pixels, the rim where the interpolated value meets the level", GREY, 12)
    svg.text((x0, 290), "red: rim and centre; orange: smallest rectangle, its sides", INK, 12)
    svg.text((x0, 307), "are length and width along the surface", INK, 12)
    svg.aside = 70
    x, base = 400, 200
    svg.text((x, 34), "a level of each peak's own: which maxima stand", GREY, 12)
    curve = [(x + 3.2 * k, base - 110 * math.exp(-((k - 25) / 10) ** 2) - 92 * math.exp(-((k - 47) / 9) ** 2) - 70 * math.exp(-((k - 84) / 9) ** 2)) for k in range(104)]
    svg.path(curve, BLUE, 2.2)
    svg.line((x, base), (x + 335, base), INK, 1.0)
    for k, stands in ((25, True), (47, False), (84, True)):
        top = curve[k]
        y = base - 0.5 * (base - top[1])
        svg.line((top[0] - 44, y), (top[0] + 44, y), GREEN if stands else RED, 1.5, dash="4 3")
        svg.dot(top, 4.5, GREEN if stands else RED)
        svg.text((top[0], top[1] - 10), "stands" if stands else "flank", GREEN if stands else RED, 12, "middle", halo=True)
    svg.text((x, 236), "A maximum stands if nothing as loud can be reached", INK, 12)
    svg.text((x, 253), "from it without going below its own level. The second", INK, 12)
    svg.text((x, 270), "one's level lies below the saddle to the first: it is a", INK, 12)
    svg.text((x, 287), "flank of that, also where its top lies beside the region.", INK, 12)
    svg.save("indications")


def pathplanning():
    svg = Svg(860, 340)
    outline = [(40, 60), (200, 46), (370, 70), (384, 160), (366, 262), (200, 276), (50, 256), (58, 150)]
    svg.area(outline, PALE, BLUE, 2.0)
    hole = ring((225, 160), 38, 24)
    lines = [(86, 62, 366), (123, 66, 372), (160, 70, 372), (197, 70, 370), (234, 66, 362)]
    svg.area(hole, "white", BLUE, 2.0)
    way = []
    for k, (y, left, right) in enumerate(lines):
        pieces = [(left, right)]
        if 122 < y < 198:
            half = math.sqrt(max(0.0, 46 ** 2 - (y - 160) ** 2))
            if half > 4:
                pieces = [(left, 225 - half), (225 + half, right)]
        if k % 2:
            pieces = [(b, a) for a, b in reversed(pieces)]
        for a, b in pieces:
            way.append((k, (a, y), (b, y)))
    for n, (k, p, q) in enumerate(way):
        svg.line(p, q, GREEN, 2.0, arrow=True)
        count = max(1, int(abs(q[0] - p[0]) / 24))
        for j in range(count + 1):
            svg.dot(between(p, q, j / count), 2.8, GREEN)
        if n:
            before = way[n - 1][2]
            lifted = way[n - 1][0] == k
            svg.path([before, (0.5 * (before[0] + p[0]), 0.5 * (before[1] + p[1]) - (14 if lifted else 0)), p], ORANGE if lifted else GREY, 1.5, dash="4 3")
    svg.circle((110, 123), 24, RED, 1.5, dash="4 3")
    svg.text((30, 30), "lines to and fro; dots: shots at even steps; orange: lifted over the hole", GREY, 12)
    svg.text((40, 306), "red: a footprint. The first line and shot stand a margin off the rim.", INK, 12)
    svg.aside = 60
    x = 440
    surface = [(x + 3 * k, 190 - 60 * math.exp(-((k - 48) / 26) ** 2)) for k in range(98)]
    svg.path(surface, BLUE, 2.5)
    for k in range(6, 96, 10):
        p, q = surface[k - 2], surface[k + 2]
        length = math.hypot(q[0] - p[0], q[1] - p[1])
        n = ((q[1] - p[1]) / length, -(q[0] - p[0]) / length)
        s = surface[k]
        probe = (s[0] + 62 * n[0], s[1] + 62 * n[1])
        svg.line(probe, s, ORANGE, 1.6, arrow=True)
        svg.box(probe[0] - 4, probe[1] - 4, 8, 8, fill=ORANGE, color="none")
    svg.text((x, 30), "standoff along the footprint's mean normal", GREY, 12)
    for k, words in enumerate(("Steps and spacings are lengths on the surface: the", "next line lies where the first column has gained the", "spacing. As many lines are then spread evenly. Every", "shot is fired back: it must meet its own place first.")):
        svg.text((x, 226 + 19 * k), words, INK, 12)
    svg.save("pathplanning")


def shots():
    svg = Svg(860, 330)
    svg.text((30, 30), "two clocks: a shot stamped t belongs to the pose of t - lag", GREY, 12)
    for y, name, shift in ((70, "poses", 0), (130, "shots", 22)):
        svg.line((80, y), (380, y), INK, 1.2, arrow=True)
        svg.text((30, y + 4), name, INK, 12)
        for k in range(9):
            x = 95 + 32 * k + shift
            if x < 372:
                svg.line((x, y - 8), (x, y + 8), BLUE if shift == 0 else ORANGE, 2.0)
    svg.line((159, 82), (159, 100), GREY, 1.0)
    svg.line((181, 100), (181, 118), GREY, 1.0)
    svg.line((159, 100), (181, 100), RED, 2.0, arrow=True)
    svg.text((188, 104), "lag", RED, 12)
    left = 40
    svg.text((30, 176), "with a wrong lag, lines there and back are set off opposite ways", GREY, 12)
    for k in range(4):
        y = 206 + 24 * k
        right = k % 2 == 0
        p, q = ((left, y), (left + 320, y)) if right else ((left + 320, y), (left, y))
        svg.line(p, q, GREY, 1.2, arrow=True)
        off = 14 if right else -14
        svg.box(left + 140 + off, y - 8, 46, 16, fill=ORANGISH, color=ORANGE)
    svg.box(left + 140, 190, 46, 94, color=GREEN, dash="4 3", width=1.8)
    svg.text((left + 240, 310), "where the flaw is", GREEN, 12, "middle")
    svg.aside = 60
    x = 440
    svg.text((x, 30), "what becomes of a shot", GREY, 12)
    boxes = ((60, "meets a pixel?", "missed"), (112, "line, angle, standoff good?", "refused"), (164, "within gates and conditions?", "no echo"), (216, "below the ceiling?", "saturated"))
    for y, words, no in boxes:
        svg.box(x, y - 20, 190, 32, color=BLUE, radius=5)
        svg.text((x + 95, y + 1), words, INK, 12, "middle")
        svg.line((x + 190, y - 4), (x + 222, y - 4), RED, 1.4, arrow=True)
        svg.text((x + 228, y), no, RED, 12)
        svg.line((x + 95, y + 12), (x + 95, y + 31), GREEN, 1.4, arrow=True)
    svg.text((x + 95, 266), "echo", GREEN, 13, "middle", bold=True)
    svg.text((x, 292), "a pixel is the best that its shots came to:", INK, 12)
    svg.text((x, 310), "saturated, echo, no echo, refused, not reached", INK, 12)
    svg.save("shots")


def clouds():
    svg = Svg(860, 320)
    generator = random.Random(8)
    points = []
    for line in range(6):
        for k in range(56):
            points.append((34 + 5.4 * k + generator.uniform(-1, 1), 64 + 30 * line + generator.uniform(-2, 2)))
    kept = []
    for p in points:
        if all(math.hypot(p[0] - q[0], p[1] - q[1]) >= 24 for q in kept):
            kept.append(p)
    for p in points:
        svg.dot(p, 1.6, GREY)
    for p in kept:
        svg.dot(p, 4, BLUE)
    svg.line((150, 124), (150, 154), RED, 2.0)
    svg.text((156, 144), "across", RED, 12, halo=True)
    svg.text((30, 32), "grey: a line scanner's points; blue: those that stay, no two nearer than told", GREY, 12)
    svg.text((30, 258), "In the order of the file, each stays unless one that stays is", INK, 12)
    svg.text((30, 276), "too near. No point is moved or made.", INK, 12)
    svg.aside = 80
    x = 420
    svg.text((x + 80, 32), "what neighbours look like", GREY, 12)
    for k, (name, words) in enumerate((("line", "one large moment"), ("surface", "two"), ("heap", "three"))):
        cx, cy = x + 55 + 110 * k, 92
        for _ in range(26):
            a, b = generator.gauss(0, 1), generator.gauss(0, 1)
            p = (cx + 17 * a, cy + (2.0 if k == 0 else 13.0 if k == 2 else 7.0) * b - (4.5 * a if k == 1 else 0))
            svg.dot(p, 2.2, (ORANGE, GREEN, RED)[k])
        svg.text((cx, 148), name, (ORANGE, GREEN, RED)[k], 12, "middle", bold=True)
        svg.text((cx, 164), words, INK, 12, "middle")
    rim = ring((x + 85, 242), 46, 8)[:-1]
    outer = ring((x + 85, 242), 70, 8)[:-1]
    for k in range(8):
        svg.area([outer[k], outer[(k + 1) % 8], rim[(k + 1) % 8], rim[k]], PALE, GREY, 0.8)
    for a, b, c in ((0, 1, 7), (1, 2, 7), (2, 6, 7), (2, 3, 6), (3, 5, 6), (3, 4, 5)):
        svg.area([rim[a], rim[b], rim[c]], GREENISH, GREEN, 1.2)
    svg.path(rim, ORANGE, 2.2, closed=True)
    for k, words in enumerate(("A hole is covered by the", "triangles of least area", "in all between its own", "points, if none has a", "side that is too long.")):
        svg.text((x + 176, 206 + 18 * k), words, INK, 12)
    svg.save("clouds")


DRAWINGS = (loading, stitching, reconstruction, boundary, tubecut, flattening, conjugategradients, directsolver, orientation,
            resampling, extension, analyticgrids, derivedgrids, walk, startdescent, suresearch, footprint, stripes, groups,
            tree, nearestpoints, spherefit, cylinderfit, paraboloidfit, registration, frames, indications, pathplanning,
            shots, clouds)

if __name__ == "__main__":
    for draw in DRAWINGS:
        if len(sys.argv) == 1 or draw.__name__ in sys.argv[1:]:
            draw()
