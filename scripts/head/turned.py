"""Parts turned on a lathe, as ears, eyes, antenna and collar are."""

import math

from head.vectors import add, cross, scale, unit


class Frame:
    """A place to turn something in: a centre, an axis that points outwards, and two directions across it."""

    def __init__(self, centre, axis, up):
        self.centre = centre
        self.axis = unit(axis)
        self.right = unit(cross(up, self.axis))
        self.up = cross(self.axis, self.right)

    def point(self, right, up, out):
        across = add(scale(self.right, right), scale(self.up, up))
        return add(self.centre, add(across, scale(self.axis, out)))


def turn(mesh, frame, profile, segments, size=(1.0, 1.0), uv_at=None, uv=(0.0, 0.0)):
    """Adds a surface of revolution. The profile's pairs are distance from the frame's axis and height
    along it, from foot to tip. size stretches the rings to the right and upwards. Texture coordinates are
    uv_at(right, up) in the profile's own measure if that is given, otherwise uv."""
    rows, uvs = [], []
    for distance, height in profile:
        angles = [2.0 * math.pi * (k % segments) / segments for k in range(segments + 1)]
        ring = [(distance * math.cos(a), distance * math.sin(a)) for a in angles]
        rows.append([frame.point(right * size[0], up * size[1], height) for right, up in ring])
        uvs.append([uv_at(right, up) if uv_at else uv for right, up in ring])
    mesh.add_surface(rows, uvs)
