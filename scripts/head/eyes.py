"""The eyes: domes of glass on the face plate. Distances within an eye are in shares of its size."""

import math

from head import face, shape
from head.mesh import Mesh
from head.turned import Frame, turn
from head.vectors import sub

SIDES = (1.0, -1.0)
ACROSS = 0.162
HEIGHT = 0.07
SIZE = (0.118, 0.134)
SEGMENTS = 26
PUPIL = 0.52

# Glints: where to the right and upwards, how large, of how many segments. Both eyes mirror the same lamp.
GLINTS = ((-0.22, 0.31, 0.23, 14), (0.24, -0.27, 0.10, 10))

# Spots of the iris' texture: its corners are white, and it is brightest below the pupil.
WHITE_UV = (0.0, 0.0)
BRIGHT_UV = (0.5, 0.83)


def eye_uv(right, up):
    return (0.5 + 0.46 * right, 0.5 - 0.46 * up)


def eye_place(u, v):
    """The inverse of eye_uv."""
    return ((u - 0.5) / 0.46, (0.5 - v) / 0.46)


def eye_frame(side):
    """An eye's place on the plate. It looks a little more ahead than the plate does there."""
    centre = shape.on_front(side * ACROSS, HEIGHT, face.LIFT)
    x, y, z = sub(shape.on_front(side * ACROSS, HEIGHT, face.LIFT + 1.0), centre)
    return Frame(centre, (0.8 * x, 0.8 * y, z), (0.0, 1.0, 0.0))


def dome(distance):
    """How far the glass stands out of the plate."""
    return 0.006 + 0.016 * (1.0 - distance * distance)


def make_rims():
    mesh = Mesh()
    profile = [(1.13, -0.022), (1.11, 0.006), (1.04, 0.0115), (0.98, 0.003)]
    for side in SIDES:
        turn(mesh, eye_frame(side), profile, SEGMENTS, SIZE)
    return mesh


def make_glow():
    """All that glows: the irises, open where the pupils hide them, and the glints, which go out with them."""
    mesh = Mesh()
    iris = [(distance, dome(distance)) for distance in (1.0, 0.76, 0.85 * PUPIL)]
    for side in SIDES:
        turn(mesh, eye_frame(side), iris, SEGMENTS, SIZE, eye_uv)
        for glint in GLINTS:
            add_glint(mesh, eye_frame(side), *glint)
    return mesh


def add_glint(mesh, frame, right, up, size, segments):
    rows = []
    for radius in (size, 0.0):
        ring = []
        for k in range(segments + 1):
            angle = 2.0 * math.pi * (k % segments) / segments
            x, y = right + radius * math.cos(angle), up + radius * math.sin(angle)
            ring.append(frame.point(x * SIZE[0], y * SIZE[1], dome(math.hypot(x, y)) + 0.008))
        rows.append(ring)
    mesh.add_surface(rows, [[WHITE_UV] * (segments + 1)] * 2)


def make_pupils():
    mesh = Mesh()
    profile = [(PUPIL, dome(PUPIL) - 0.002), (0.96 * PUPIL, dome(PUPIL) + 0.003), (0.0, dome(0.0) + 0.004)]
    for side in SIDES:
        turn(mesh, eye_frame(side), profile, SEGMENTS - 6, SIZE)
    return mesh
