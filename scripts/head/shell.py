"""The shell - skull, headband and jaw - and the mouth: sheets from ear to ear, swept about the hinge."""

import math

from head import shape
from head.mesh import Mesh
from head.turned import Frame, turn
from head.vectors import add, even_bends, mix, scale, unit

# Where the sheets begin and end, in degrees about the hinge: 0 in front, 90 above, 180 behind, and 270 or -90
# below.
LIP = -28.0
BAND_FRONT = 82.0
BAND_BACK = 101.0
NAPE = 262.0
JAW_LIP = -31.1
JAW_BACK = -106.0

# The jaw is a little smaller than the skull: while it opens, it slides under the skull's edge at the nape.
JAW_DEPTH = 0.984

# How many quads a sheet has from ear to ear, and at which angle across it stops, hidden by the ears.
COLUMNS = 22
INNER_COLUMNS = 12
EAR_ANGLE = 0.30
INNER_EAR_ANGLE = 0.08


def texture_v(degrees):
    """The vertical texture place for an angle in degrees; angle_at is the inverse."""
    return (NAPE + 6.0 - degrees) / 380.0


def angle_at(v):
    return NAPE + 6.0 - 380.0 * v


# Spots of the texture for parts that show one tone only.
PLAIN_UV = (0.5, texture_v(150.0))
SHADED_UV = (0.02, texture_v(150.0))


def steps(start, end, count):
    return [mix(start, end, i / count) for i in range(count + 1)]


def add_sheet(mesh, path, columns, ear_angle=EAR_ANGLE, skip=None):
    """Adds a sheet whose section runs along path: pairs of degrees about the hinge and depth, 1 on the head's
    surface and less within. Sheets get narrower with depth."""

    def section(angle):
        return shape.point(angle, 0.5 * math.pi)[:2]

    across = even_bends(section, math.pi - ear_angle, ear_angle, columns)
    rows, uvs = [], []
    for degrees, depth in path:
        width = mix(1.0, depth, 0.7) if depth < 1.0 else 1.0
        rows.append([shape.point(angle, math.radians(degrees), depth, width) for angle in across])
        uvs.append([(angle / math.pi, texture_v(degrees)) for angle in across])
    mesh.add_surface(rows, uvs, skip)


def make_skull(hidden):
    """The skull before and behind the headband, without the quads that are hidden at all corners."""
    mesh = Mesh()
    lip = [(LIP, 0.93), (LIP + 0.1, 0.982), (LIP + 2.0, 1.0)]
    front = lip + [(degrees, 1.0) for degrees in steps(LIP + 9.0, BAND_FRONT - 1.6, 11)]
    add_sheet(mesh, front + [(BAND_FRONT - 0.4, 0.994), (BAND_FRONT, 0.97)], COLUMNS, skip=hidden)

    back = [(BAND_BACK, 0.97), (BAND_BACK + 0.4, 0.994)]
    back += [(degrees, 1.0) for degrees in steps(BAND_BACK + 1.6, 184.0, 5)]
    back += [(degrees, 1.0) for degrees in steps(208.0, NAPE - 1.0, 2)]
    add_sheet(mesh, back + [(NAPE, 0.986)], COLUMNS)
    return mesh


def make_band():
    """The headband, which stands a little above the skull."""
    mesh = Mesh()
    front, back = BAND_FRONT + 0.6, BAND_BACK - 0.6
    path = [(front, 0.97), (front, 1.008), (front + 1.4, 1.02)]
    path += [(back - 1.4, 1.02), (back, 1.008), (back, 0.97)]
    add_sheet(mesh, path, COLUMNS)
    return mesh


def make_jaw():
    """The outside of the jaw and its lip."""
    mesh = Mesh()
    path = [(degrees, JAW_DEPTH) for degrees in steps(JAW_BACK, JAW_LIP - 2.4, 7)]
    path += [(JAW_LIP - 0.7, JAW_DEPTH - 0.006), (JAW_LIP, JAW_DEPTH - 0.03)]
    path += [(JAW_LIP, 0.90), (JAW_LIP - 1.2, 0.885)]
    add_sheet(mesh, path, COLUMNS)
    return mesh


def make_jaw_inside():
    """The floor of the mouth, which moves with the jaw."""
    mesh = Mesh()
    # It starts within the lip, so that no crack shows where the two meet with different columns.
    path = [(JAW_LIP - 0.1, 0.91), (JAW_LIP - 1.3, 0.87), (-60.0, 0.865), (-84.0, 0.865), (JAW_BACK, 0.88)]
    add_sheet(mesh, path, INNER_COLUMNS, INNER_EAR_ANGLE)
    return light_as_hollow(mesh)


def make_tongue():
    """The tongue on the floor of the mouth."""
    around = math.radians(-63.0)
    down = (0.0, math.sin(around), math.cos(around))
    frame = Frame(scale(down, 0.855 * shape.LOW_RADIUS), scale(down, -1.0), (0.0, 1.0, 0.0))
    profile = [(1.0, -0.010), (0.92, 0.042), (0.70, 0.066), (0.38, 0.077), (0.0, 0.080)]
    mesh = Mesh()
    turn(mesh, frame, profile, 16, size=(0.17, 0.13))
    return mesh


def make_mouth_interior():
    """The roof and the back of the mouth. They reach over the floor however far the jaw is open, and from one
    end of the hinge to the other, so that nothing shows through."""
    path = [(-125.0, 0.855), (-90.0, 0.80), (-65.0, 0.58)]
    path += [(-45.0, 0.50), (LIP - 0.6, 0.55), (LIP - 0.3, 0.95)]
    rows, uvs = [], []
    for degrees, depth in path:
        across = steps(math.pi, 0.0, INNER_COLUMNS)
        rows.append([shape.point(angle, math.radians(degrees), depth, max(0.895, depth)) for angle in across])
        uvs.append([(angle / math.pi, texture_v(degrees)) for angle in across])
    mesh = Mesh()
    mesh.add_surface(rows, uvs)
    return light_as_hollow(mesh)


def light_as_hollow(mesh):
    """Leans the normals out of the mouth and down, away from the lamp: little light gets in, and no gloss."""
    mesh.normals = [unit(add(scale(normal, 0.25), (0.0, -0.5, 1.0))) for normal in mesh.normals]
    return mesh
