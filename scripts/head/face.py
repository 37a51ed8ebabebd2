"""The face: a dark glossy plate in a raised frame. Its outline is a superellipse, as seen from the front."""

import math

from head import shape, shell
from head.mesh import Mesh
from head.vectors import even_bends

CENTRE = 0.07
HALF_WIDTH = 0.345
HALF_HEIGHT = 0.198
ROUNDNESS = 2.9
SEGMENTS = 42

# How far the plate stands above the head's surface.
LIFT = 0.004


def level(x, y):
    """0 in the middle of the plate, 1 on its outline, more beyond."""
    across, up = abs(x) / HALF_WIDTH, abs(y - CENTRE) / HALF_HEIGHT
    return (across**ROUNDNESS + up**ROUNDNESS) ** (1.0 / ROUNDNESS)


def under_frame(point):
    """Whether plate or frame hide this point of the shell."""
    return point[2] > 0.0 and level(point[0], point[1]) < 1.04


def outline_point(angle, grown=0.0):
    """A point of the outline, moved outwards by grown."""
    c, s = math.cos(angle), math.sin(angle)
    x, y = abs(c) ** (2.0 / ROUNDNESS) * HALF_WIDTH, abs(s) ** (2.0 / ROUNDNESS) * HALF_HEIGHT
    out_x = (x / HALF_WIDTH) ** (ROUNDNESS - 1.0) / HALF_WIDTH
    out_y = (y / HALF_HEIGHT) ** (ROUNDNESS - 1.0) / HALF_HEIGHT
    size = math.hypot(out_x, out_y)
    return (
        math.copysign(x + grown * out_x / size, c),
        math.copysign(y + grown * out_y / size, s) + CENTRE,
    )


def outline(grown=0.0):
    """The outline counter-clockwise, closed by its first point."""
    angles = even_bends(outline_point, 0.0, 2.0 * math.pi, SEGMENTS)
    ring = [outline_point(angle, grown) for angle in angles[:-1]]
    return ring + ring[:1]


def plate_uv(x, y):
    return (0.5 + x / 0.8, 0.5 - (y - CENTRE) / 0.48)


def plate_place(u, v):
    """The inverse of plate_uv."""
    return ((u - 0.5) * 0.8, CENTRE + (0.5 - v) * 0.48)


def make_plate():
    rows, uvs = [], []
    for share in (1.0, 0.8, 0.42, 0.0):
        ring = [(x * share, CENTRE + (y - CENTRE) * share) for x, y in outline()]
        rows.append([shape.on_front(x, y, LIFT) for x, y in ring])
        uvs.append([plate_uv(x, y) for x, y in ring])
    mesh = Mesh()
    mesh.add_surface(rows, uvs)
    return mesh


def make_frame():
    rows, uvs = [], []
    for grown, lift in ((0.030, -0.006), (0.016, 0.011), (0.002, 0.0135), (-0.008, -0.002)):
        rows.append([shape.on_front(x, y, lift) for x, y in outline(grown)])
        uvs.append([shell.PLAIN_UV] * len(rows[-1]))
    mesh = Mesh()
    mesh.add_surface(rows, uvs)
    return mesh
