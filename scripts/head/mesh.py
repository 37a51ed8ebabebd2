"""Triangle meshes built from grids of points."""

from head.vectors import add, cross, length, sub, unit

# Points that are equal when rounded to this many decimals share a normal.
DECIMALS = 5


class Mesh:
    """Vertices and triangles of one material. Each surface added is smooth in itself and has hard edges to
    the others. Triangles run counter-clockwise as seen from outside."""

    def __init__(self):
        self.positions = []
        self.normals = []
        self.uvs = []
        self.triangles = []

    def add_surface(self, rows, uvs, skip=None):
        """Adds a grid: rows of points, and as many texture coordinates. Going along a row and then on to the
        next turns counter-clockwise as seen from outside. Quads whose corners all fulfil skip are left out
        but shape the normals; triangles without area are left out altogether."""
        width = len(rows[0])
        points = [point for row in rows for point in row]
        flat_uvs = [uv for row in uvs for uv in row]
        sums = {}
        kept = []
        for i in range(len(rows) - 1):
            for j in range(width - 1):
                a, b = i * width + j, i * width + j + 1
                corners = (a, b, b + width, a + width)
                hidden = skip is not None and all(skip(points[k]) for k in corners)
                for triangle in split_quad(points, *corners, mirrored=2 * j + 1 > width - 1):
                    p, q, r = (points[k] for k in triangle)
                    area = cross(sub(q, p), sub(r, p))
                    if length(area) < 1e-9:
                        continue
                    for k in triangle:
                        key = weld_key(points[k])
                        sums[key] = add(sums.get(key, (0.0, 0.0, 0.0)), area)
                    if not hidden:
                        kept.append(triangle)

        base = len(self.positions)
        used = sorted({k for triangle in kept for k in triangle})
        place = {k: base + n for n, k in enumerate(used)}
        for k in used:
            self.positions.append(points[k])
            self.normals.append(unit(sums[weld_key(points[k])]))
            self.uvs.append(flat_uvs[k])
        self.triangles += [tuple(place[k] for k in triangle) for triangle in kept]


def weld_key(point):
    return tuple(round(c, DECIMALS) + 0.0 for c in point)


def split_quad(points, a, b, c, d, mirrored):
    """Cuts a quad along its shorter diagonal. If both are equally long, mirrored decides, so that
    the two halves of a grid can be mirror images."""
    difference = length(sub(points[a], points[c])) - length(sub(points[b], points[d]))
    along_ac = mirrored if abs(difference) < 1e-7 else difference < 0.0
    return [(a, b, c), (a, c, d)] if along_ac else [(a, b, d), (b, c, d)]
