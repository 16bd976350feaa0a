#!/usr/bin/env python3
"""Draws the sample parts of this folder and writes them as STEP files (AP214, millimetres).

    python3 make_samples.py [FOLDER]

Needs the Python standard library alone and writes the same bytes on every run. Every solid is
checked before it is written: each edge is used once in each direction, and Euler's formula gives
the number of through holes that was drawn.
"""

import math
import pathlib
import sys

X, Y, Z = (1.0, 0.0, 0.0), (0.0, 1.0, 0.0), (0.0, 0.0, 1.0)


def negative(v):
    return tuple(-c for c in v)


def add(p, v, factor=1.0):
    return tuple(a + factor * b for a, b in zip(p, v))


def cross(a, b):
    return (a[1] * b[2] - a[2] * b[1], a[2] * b[0] - a[0] * b[2], a[0] * b[1] - a[1] * b[0])


def number(value):
    """A real as STEP wants it: with a point, with a capital E, without a negative zero."""
    text = repr(round(value, 12) + 0.0)
    mantissa, _, exponent = text.partition('e')
    if '.' not in mantissa:
        mantissa += '.'
    elif mantissa.endswith('.0'):
        mantissa = mantissa[:-1]
    return mantissa + ('E' + exponent if exponent else '')


class Solid:
    """Vertices, edges and faces of one solid. An edge is told by its index, a use of an edge by
    (index, forward). Loops run counter-clockwise round their face seen from outside the solid."""

    def __init__(self, name):
        self.name = name
        self.vertices = []
        self.edges = []  # (curve, start, end)
        self.faces = []  # (name, surface, same sense, loops); a loop is a list of uses or a vertex

    def vertex(self, point):
        point = tuple(round(c, 12) + 0.0 for c in point)
        if point not in self.vertices:
            self.vertices.append(point)
        return self.vertices.index(point)

    def line(self, p, q):
        self.edges.append((('LINE', p, q), self.vertex(p), self.vertex(q)))
        return len(self.edges) - 1

    def arc(self, centre, axis, p, q):
        """Counter-clockwise about the axis from p to q; a full circle when they are one point."""
        radius = math.dist(centre, p)
        towards = tuple((a - b) / radius for a, b in zip(p, centre))
        self.edges.append((('CIRCLE', centre, axis, towards, radius), self.vertex(p),
                           self.vertex(q)))
        return len(self.edges) - 1

    def circle(self, centre, axis, towards, radius):
        start = add(centre, towards, radius)
        return self.arc(centre, axis, start, start)

    def face(self, name, surface, loops, same_sense=True):
        self.faces.append((name, surface, same_sense, loops))

    def check(self, through_holes):
        uses = sorted(use for face in self.faces for loop in face[3]
                      if isinstance(loop, list) for use in loop)
        wanted = sorted((edge, way) for edge in range(len(self.edges)) for way in (False, True))
        if uses != wanted:
            raise SystemExit(self.name + ': an edge is not used once in each direction')
        loops = sum(len(face[3]) for face in self.faces)
        euler = len(self.vertices) - len(self.edges) + 2 * len(self.faces) - loops
        if euler != 2 - 2 * through_holes:
            raise SystemExit('%s: Euler gives %d' % (self.name, euler))


# Prisms: profiles are closed rows of corners in the xy plane, counter-clockwise; a corner is
# (x, y), or (x, y, cx, cy) when an arc about (cx, cy) leads on to the next corner.

def trace(solid, profile, z):
    """Draws a profile at a height; gives one edge per corner."""
    edges = []
    for here, after in zip(profile, profile[1:] + profile[:1]):
        p, q = (here[0], here[1], z), (after[0], after[1], z)
        if len(here) == 4:
            edges.append(solid.arc((here[2], here[3], z), Z, p, q))
        else:
            edges.append(solid.line(p, q))
    return edges


def around(edges, forward):
    uses = [(edge, forward) for edge in edges]
    return uses if forward else uses[::-1]


def walls(solid, name, profile, low, high, bottom, top, outwards):
    """Puts a face under each edge of the top profile: the outside of a block, or the inside of a
    pocket. Gives (loop for what lies at the top, loop for what lies at the bottom)."""
    lower = trace(solid, profile, bottom) if low is None else low
    upper = trace(solid, profile, top) if high is None else high
    uprights = [solid.line((c[0], c[1], bottom), (c[0], c[1], top)) for c in profile]
    count = len(profile)
    for i, here in enumerate(profile):
        after = (i + 1) % count
        loop = [(lower[i], True), (uprights[after], True), (upper[i], False), (uprights[i], False)]
        if not outwards:
            loop = [(edge, not way) for edge, way in loop[::-1]]
        title = '%s %d' % (name, i + 1)
        if len(here) == 4:
            radius = math.dist(here[:2], here[2:])
            surface = ('CYLINDRICAL_SURFACE', (here[2], here[3], bottom), Z, X, radius)
            solid.face(title, surface, [loop], outwards)
        else:
            q = profile[after]
            length = math.dist(here[:2], q[:2])
            along = ((q[0] - here[0]) / length, (q[1] - here[1]) / length, 0.0)
            normal = cross(along, Z) if outwards else cross(Z, along)
            solid.face(title, ('PLANE', (here[0], here[1], bottom), normal, Z), [loop])
    return around(upper, outwards), around(lower, not outwards)


def rounded_rectangle(cx, cy, width, height, radius):
    x0, x1, y0, y1 = cx - width / 2, cx + width / 2, cy - height / 2, cy + height / 2
    r = radius
    return [(x0 + r, y0), (x1 - r, y0, x1 - r, y0 + r), (x1, y0 + r),
            (x1, y1 - r, x1 - r, y1 - r), (x1 - r, y1), (x0 + r, y1, x0 + r, y1 - r),
            (x0, y1 - r), (x0, y0 + r, x0 + r, y0 + r)]


def halves(cx, cy, radius):
    """A circle as two half circles."""
    return [(cx + radius, cy, cx, cy), (cx - radius, cy, cx, cy)]


# The electrode holder, 60 x 40 x 25 mm

HEIGHT = 25.0


def draw_pocket(solid, depth):
    """A rectangular pocket with rounded corners; gives its loop in the top face."""
    profile = rounded_rectangle(40.0, 20.0, 24.0, 20.0, 4.0)
    floor = HEIGHT - depth
    opening, bottom = walls(solid, 'pocket wall', profile, None, None, floor, HEIGHT, False)
    solid.face('pocket floor', ('PLANE', (40.0, 20.0, floor), Z, X), [bottom])
    return opening


def draw_bore(solid):
    """A stepped blind bore with a rounded mouth and a drill's tip; gives its loop in the top."""
    x, y = 14.0, 24.0
    wide, narrow, rounding, step, deep, tip = 6.0, 3.5, 1.5, 15.0, 6.0, math.radians(59.0)

    def rim(z, radius):
        return solid.circle((x, y, z), Z, X, radius)

    mouth = rim(HEIGHT, wide + rounding)
    upper = rim(HEIGHT - rounding, wide)
    ledge = rim(step, wide)
    inner = rim(step, narrow)
    lower = rim(deep, narrow)
    apex = solid.vertex((x, y, deep - narrow / math.tan(tip)))
    solid.face('bore mouth', ('TOROIDAL_SURFACE', (x, y, HEIGHT - rounding), Z, X,
                              wide + rounding, rounding), [[(mouth, True)], [(upper, False)]])
    solid.face('bore', ('CYLINDRICAL_SURFACE', (x, y, step), Z, X, wide),
               [[(upper, True)], [(ledge, False)]], False)
    solid.face('bore step', ('PLANE', (x, y, step), Z, X), [[(ledge, True)], [(inner, False)]])
    solid.face('bore shaft', ('CYLINDRICAL_SURFACE', (x, y, deep), Z, X, narrow),
               [[(inner, True)], [(lower, False)]], False)
    solid.face('bore tip', ('CONICAL_SURFACE', (x, y, deep), Z, X, narrow, tip),
               [[(lower, True)], apex], False)
    return [(mouth, False)]


def draw_split_hole(solid, name, x, y, radius):
    """A through hole of two half cylinders; gives its loops in the top and the bottom."""
    return walls(solid, name, halves(x, y, radius), None, None, 0.0, HEIGHT, False)


def draw_seamed_hole(solid, name, x, y, radius):
    """A through hole of one cylinder with a seam; gives its loops in the top and the bottom."""
    top = solid.circle((x, y, HEIGHT), Z, X, radius)
    bottom = solid.circle((x, y, 0.0), Z, X, radius)
    seam = solid.line((x + radius, y, 0.0), (x + radius, y, HEIGHT))
    solid.face(name, ('CYLINDRICAL_SURFACE', (x, y, 0.0), Z, X, radius),
               [[(bottom, False), (seam, True), (top, True), (seam, False)]], False)
    return [(top, False)], [(bottom, True)]


def draw_dimple(solid):
    """A spherical dimple in the front; gives its loop in the front face."""
    rim = solid.circle((30.0, 0.0, 12.0), negative(Y), X, 4.0)
    solid.face('dimple', ('SPHERICAL_SURFACE', (30.0, -3.0, 12.0), Z, negative(Y), 5.0),
               [[(rim, True)]], False)
    return [(rim, False)]


def draw_boss(solid):
    """A round boss on the top; gives its loop in the top face."""
    x, y, radius, top = 40.0, 35.0, 3.0, HEIGHT + 3.0
    base = solid.circle((x, y, HEIGHT), Z, X, radius)
    rim = solid.circle((x, y, top), Z, X, radius)
    solid.face('boss', ('CYLINDRICAL_SURFACE', (x, y, HEIGHT), Z, X, radius),
               [[(base, True)], [(rim, False)]])
    solid.face('boss top', ('PLANE', (x, y, top), Z, X), [[(rim, True)]])
    return [(base, False)]


def holder(changed):
    solid = Solid('holder')
    profile = [(0.0, 0.0), (60.0, 0.0), (60.0, 34.0), (54.0, 40.0),
               (5.0, 40.0, 5.0, 35.0), (0.0, 35.0)]
    top, bottom = walls(solid, 'side', profile, None, None, 0.0, HEIGHT, True)
    tops, bottoms = [top], [bottom]
    tops.append(draw_pocket(solid, 14.0 if changed else 10.0))
    tops.append(draw_bore(solid))
    hole = (10.0, 9.0) if changed else (8.0, 8.0)
    holes = [draw_split_hole(solid, 'left hole', hole[0], hole[1], 2.5)]
    if not changed:
        holes.append(draw_seamed_hole(solid, 'right hole', 52.0, 8.0, 2.5))
    for upper, lower in holes:
        tops.append(upper)
        bottoms.append(lower)
    if changed:
        tops.append(draw_boss(solid))
    solid.face('top', ('PLANE', (0.0, 0.0, HEIGHT), Z, X), tops)
    solid.face('bottom', ('PLANE', (0.0, 0.0, 0.0), negative(Z), X), bottoms)
    front = solid.faces[0]
    front[3].append(draw_dimple(solid))
    solid.check(len(holes))
    return solid


# The parts of the clamp

def plate():
    solid = Solid('base plate')
    profile = [(0.0, 0.0), (80.0, 0.0), (80.0, 50.0), (0.0, 50.0)]
    top, bottom = walls(solid, 'side', profile, None, None, 0.0, 8.0, True)
    solid.face('top', ('PLANE', (0.0, 0.0, 8.0), Z, X), [top])
    solid.face('bottom', ('PLANE', (0.0, 0.0, 0.0), negative(Z), X), [bottom])
    solid.check(0)
    return solid


def jaw():
    solid = Solid('jaw')
    profile = [(-15.0, -6.0), (15.0, -6.0), (15.0, 6.0), (-15.0, 6.0)]
    top, bottom = walls(solid, 'side', profile, None, None, 0.0, 10.0, True)
    tops, bottoms = [top], [bottom]
    for x in (-9.0, 9.0):
        upper, lower = walls(solid, 'hole', halves(x, 0.0, 2.5), None, None, 0.0, 10.0, False)
        tops.append(upper)
        bottoms.append(lower)
    solid.face('top', ('PLANE', (0.0, 0.0, 10.0), Z, X), tops)
    solid.face('bottom', ('PLANE', (0.0, 0.0, 0.0), negative(Z), X), bottoms)
    solid.check(2)
    return solid


def bolt():
    solid = Solid('bolt')
    shank = solid.circle((0.0, 0.0, -14.0), Z, X, 2.5)
    neck = solid.circle((0.0, 0.0, 0.0), Z, X, 2.5)
    below = solid.circle((0.0, 0.0, 0.0), Z, X, 4.5)
    above = solid.circle((0.0, 0.0, 4.0), Z, X, 4.5)
    solid.face('shank', ('CYLINDRICAL_SURFACE', (0.0, 0.0, 0.0), Z, X, 2.5),
               [[(shank, True)], [(neck, False)]])
    solid.face('head', ('CYLINDRICAL_SURFACE', (0.0, 0.0, 0.0), Z, X, 4.5),
               [[(below, True)], [(above, False)]])
    solid.face('end', ('PLANE', (0.0, 0.0, -14.0), negative(Z), X), [[(shank, False)]])
    solid.face('seat', ('PLANE', (0.0, 0.0, 0.0), negative(Z), X), [[(below, False)],
                                                                    [(neck, True)]])
    solid.face('head top', ('PLANE', (0.0, 0.0, 4.0), Z, X), [[(above, True)]])
    solid.check(0)
    return solid


class File:
    """A STEP file in the making. first and stride choose the numbers; backwards writes the
    instances last to first."""

    def __init__(self, name, description, first=10, stride=1, backwards=False):
        self.name, self.description = name, description
        self.following, self.stride, self.backwards = first, stride, backwards
        self.lines = []
        self.known = {}
        self.write_context()

    def put(self, text):
        name = '#%d' % self.following
        self.following += self.stride
        self.lines.append('%s=%s;' % (name, text))
        return name

    def share(self, text):
        """Writes an instance once, however often it is asked for."""
        if text not in self.known:
            self.known[text] = self.put(text)
        return self.known[text]

    # Geometry

    def point(self, p):
        return self.share("CARTESIAN_POINT('',(%s))" % ','.join(number(c) for c in p))

    def direction(self, v):
        return self.share("DIRECTION('',(%s))" % ','.join(number(c) for c in v))

    def axis(self, origin, z, x):
        return self.share("AXIS2_PLACEMENT_3D('',%s,%s,%s)" % (
            self.point(origin), self.direction(z), self.direction(x)))

    def curve(self, curve):
        if curve[0] == 'LINE':
            _, p, q = curve
            length = math.dist(p, q)
            along = self.direction(tuple((b - a) / length for a, b in zip(p, q)))
            vector = self.put("VECTOR('',%s,%s)" % (along, number(length)))
            return self.put("LINE('',%s,%s)" % (self.point(p), vector))
        _, centre, axis, towards, radius = curve
        return self.put("CIRCLE('',%s,%s)" % (self.axis(centre, axis, towards), number(radius)))

    def surface(self, surface):
        sizes = ''.join(',' + number(size) for size in surface[4:])
        return self.put("%s('',%s%s)" % (surface[0], self.axis(*surface[1:4]), sizes))

    # Topology

    def solid(self, solid):
        vertices = [self.put("VERTEX_POINT('',%s)" % self.point(p)) for p in solid.vertices]
        edges = [self.put("EDGE_CURVE('',%s,%s,%s,.T.)" % (
            vertices[start], vertices[end], self.curve(curve)))
            for curve, start, end in solid.edges]
        faces = [self.face(face, vertices, edges) for face in solid.faces]
        shell = self.put("CLOSED_SHELL('',(%s))" % ','.join(faces))
        return self.put("MANIFOLD_SOLID_BREP('%s',%s)" % (solid.name, shell))

    def face(self, face, vertices, edges):
        name, surface, same_sense, loops = face
        bounds = []
        for place, loop in enumerate(loops):
            if isinstance(loop, list):
                uses = [self.put("ORIENTED_EDGE('',*,*,%s,.%s.)" % (edges[edge], 'FT'[way]))
                        for edge, way in loop]
                row = self.put("EDGE_LOOP('',(%s))" % ','.join(uses))
            else:
                row = self.put("VERTEX_LOOP('',%s)" % vertices[loop])
            kind = 'FACE_BOUND' if place else 'FACE_OUTER_BOUND'
            bounds.append(self.put("%s('',%s,.T.)" % (kind, row)))
        return self.put("ADVANCED_FACE('%s',(%s),%s,.%s.)" % (
            name, ','.join(bounds), self.surface(surface), 'FT'[same_sense]))

    # Products

    def write_context(self):
        application = self.put("APPLICATION_CONTEXT('automotive design')")
        self.put("APPLICATION_PROTOCOL_DEFINITION('international standard',"
                 "'automotive_design',2000,%s)" % application)
        self.product_context = self.put("PRODUCT_CONTEXT('',%s,'mechanical')" % application)
        self.definition_context = self.put(
            "PRODUCT_DEFINITION_CONTEXT('part definition',%s,'design')" % application)
        length = self.put("(LENGTH_UNIT()NAMED_UNIT(*)SI_UNIT(.MILLI.,.METRE.))")
        angle = self.put("(NAMED_UNIT(*)PLANE_ANGLE_UNIT()SI_UNIT($,.RADIAN.))")
        solid = self.put("(NAMED_UNIT(*)SI_UNIT($,.STERADIAN.)SOLID_ANGLE_UNIT())")
        exactness = self.put("UNCERTAINTY_MEASURE_WITH_UNIT(LENGTH_MEASURE(1.E-5),%s,"
                             "'distance_accuracy_value','')" % length)
        self.context = self.put(
            "(GEOMETRIC_REPRESENTATION_CONTEXT(3)GLOBAL_UNCERTAINTY_ASSIGNED_CONTEXT((%s))"
            "GLOBAL_UNIT_ASSIGNED_CONTEXT((%s,%s,%s))REPRESENTATION_CONTEXT('',''))" % (
                exactness, length, angle, solid))

    def product(self, name, solid=None, extra=()):
        """Writes a part or an assembly; gives (definition, representation, its origin). An
        assembly's representation also lists the placements of its parts."""
        product = self.put("PRODUCT('%s','%s','',(%s))" % (name, name, self.product_context))
        self.put("PRODUCT_RELATED_PRODUCT_CATEGORY('part','',(%s))" % product)
        formation = self.put("PRODUCT_DEFINITION_FORMATION('','',%s)" % product)
        definition = self.put("PRODUCT_DEFINITION('design','',%s,%s)" % (
            formation, self.definition_context))
        shape = self.put("PRODUCT_DEFINITION_SHAPE('','',%s)" % definition)
        origin = self.axis((0.0, 0.0, 0.0), Z, X)
        items = [origin] + list(extra)
        kind = 'SHAPE_REPRESENTATION'
        if solid is not None:
            items.append(self.solid(solid))
            kind = 'ADVANCED_BREP_SHAPE_REPRESENTATION'
        representation = self.put("%s('%s',(%s),%s)" % (kind, name, ','.join(items), self.context))
        self.put("SHAPE_DEFINITION_REPRESENTATION(%s,%s)" % (shape, representation))
        return definition, representation, origin

    def assembly(self, name, parts):
        """Writes an assembly of (occurrence name, product, (origin, z, x))."""
        places = [self.axis(*place) for _, _, place in parts]
        whole = self.product(name, extra=places)
        for (title, part, _), place in zip(parts, places):
            usage = self.put("NEXT_ASSEMBLY_USAGE_OCCURRENCE('%s','%s','',%s,%s,$)" % (
                title, title, whole[0], part[0]))
            shape = self.put("PRODUCT_DEFINITION_SHAPE('','',%s)" % usage)
            move = self.put("ITEM_DEFINED_TRANSFORMATION('','',%s,%s)" % (part[2], place))
            relation = self.put(
                "(REPRESENTATION_RELATIONSHIP('','',%s,%s)"
                "REPRESENTATION_RELATIONSHIP_WITH_TRANSFORMATION(%s)"
                "SHAPE_REPRESENTATION_RELATIONSHIP())" % (part[1], whole[1], move))
            self.put("CONTEXT_DEPENDENT_SHAPE_REPRESENTATION(%s,%s)" % (relation, shape))
        return whole

    def text(self):
        lines = self.lines[::-1] if self.backwards else self.lines
        head = ["ISO-10303-21;", "HEADER;",
                "FILE_DESCRIPTION(('%s'),'2;1');" % self.description,
                "FILE_NAME('%s','2024-01-01T00:00:00',(''),(''),'make_samples.py','','');"
                % self.name,
                "FILE_SCHEMA(('AUTOMOTIVE_DESIGN { 1 0 10303 214 1 1 1 1 }'));", "ENDSEC;", "DATA;"]
        return '\n'.join(head + lines + ['ENDSEC;', 'END-ISO-10303-21;', ''])


def holder_file():
    file = File('holder.step', 'electrode holder')
    file.product('holder', holder(changed=False))
    return file


def changed_file():
    # Another numbering and order on purpose: what stayed the same is to be found by its shape.
    file = File('holder-changed.step', 'electrode holder after a design change', 5000, 3, True)
    file.product('holder', holder(changed=True))
    return file


def clamp_file():
    file = File('clamp-assembly.step', 'two clamps on a base plate')
    base = file.product('base plate', plate())
    jaws = file.product('jaw', jaw())
    bolts = file.product('bolt', bolt())
    clamp = file.assembly('clamp', [
        ('jaw', jaws, ((0.0, 0.0, 0.0), Z, X)),
        ('left bolt', bolts, ((-9.0, 0.0, 10.0), Z, X)),
        ('right bolt', bolts, ((9.0, 0.0, 10.0), Z, X))])
    file.assembly('clamp assembly', [
        ('base', base, ((0.0, 0.0, 0.0), Z, X)),
        ('front clamp', clamp, ((40.0, 10.0, 8.0), Z, X)),
        ('side clamp', clamp, ((70.0, 30.0, 8.0), Z, Y))])
    return file


def main():
    folder = pathlib.Path(sys.argv[1] if len(sys.argv) > 1 else pathlib.Path(__file__).parent)
    for file in (holder_file(), changed_file(), clamp_file()):
        (folder / file.name).write_bytes(file.text().encode('ascii'))


if __name__ == '__main__':
    main()
