#!/usr/bin/env python3
"""make-tiny-models.py FOLDER
Makes the networks that stand in for the face detector and the face embedder in tests: one finds bright discs on a dark
ground, the other tells their colours apart. Their inputs and outputs are those of the real ones. Beside them some that
are wrong in one way each.
"""

import os
import sys

from onnxfile import FLOAT, INT8, Graph

# The five points to which a face is aligned, from their mean.
REFERENCE = [(-17.73156, -20.20448), (17.505638, -20.39938), (-0.0009613037, -0.16417694), (-14.47686, 20.464722),
             (14.703735, 20.303322)]
# With this much of the disc's radius for each unit of those, the corners of the aligned picture, 92 units away, are
# still within the disc.
LANDMARK_SCALE = 0.9 / 92
# Discs with a radius up to the first number are found at stride 8, and so on. The smallest still hold a sampled pixel.
RADII = {8: (6, 20), 16: (20, 60), 32: (60, 1000)}
# How far a disc reaches from any of its points at most.
REACH = 640


def edges(g, dark, axis):
    """Where the bright stretch along the axis (2 or 3) begins and ends, for each pixel 4 of 8 both ways. A pixel's
    coordinate is that of its first edge."""
    other = 5 - axis
    position = g.add("CumSum", g.add("Add", g.add("Mul", dark, 0.0), 1.0), g.constant([axis], [], 7))
    rows = g.every(dark, other, 8, 4)
    places = g.every(position, other, 8, 4)

    def pool(tensor, before, after):
        along = axis - 2
        kernel, strides, pads = [1, 1], [1, 1], [0, 0, 0, 0]
        kernel[along], strides[along], pads[along], pads[along + 2] = REACH, 8, before, after
        return g.add("MaxPool", tensor, kernel_shape=kernel, strides=strides, pads=pads)

    # The last dark pixel before and the first behind.
    begin = pool(g.add("Mul", rows, places), REACH - 5, 0)
    far = 4096.0
    behind = g.add("Mul", rows, g.add("Sub", far + 1, places))
    end = g.add("Sub", far, pool(g.every(behind, axis, 1, 4), 0, REACH - 1))
    side = g.add("ReduceMax", places, axes=[axis], keepdims=1)
    middle = g.add("Sub", g.every(places, axis, 8, 4), 0.5)
    return begin, g.add("Min", end, side), middle


def flat(g, parts):
    together = g.add("Concat", *parts, axis=1) if len(parts) > 1 else parts[0]
    cells_first = g.add("Transpose", together, perm=[0, 2, 3, 1])
    return g.add("Reshape", cells_first, g.constant([1, -1, len(parts)], kind=7))


def disc_finder(side, leave_out=(), cut=()):
    """The side of its input may be a number or a name, which leaves it open. `leave_out` strides have no outputs, and
    the outputs `cut` give but half of their values."""
    g = Graph([1, 3, side, side])
    bright = g.add("ReduceMax", g.input, axes=[1], keepdims=1)
    dark = g.add("Cast", g.add("Less", bright, 80.0), to=1)
    left, right, x = edges(g, dark, 3)
    top, bottom, y = edges(g, dark, 2)

    def half(a, b):
        return g.add("Mul", g.add(a, b[0], b[1]), 0.5)

    def square(a):
        return g.add("Mul", a, a)

    # The middle of any chord is above, below or beside the disc's middle.
    middle_x, middle_y = half("Add", (left, right)), half("Add", (top, bottom))
    off_x, off_y = square(g.add("Sub", x, middle_x)), square(g.add("Sub", y, middle_y))
    one = g.add("Sqrt", g.add("Add", square(half("Sub", (right, left))), off_y))
    two = g.add("Sqrt", g.add("Add", square(half("Sub", (bottom, top))), off_x))
    radius = g.add("Max", half("Add", (one, two)), 1.0)
    unequal = g.add("Div", g.add("Abs", g.add("Sub", one, two)), radius)
    round_ones = g.add("Cast", g.add("Less", unequal, 0.2), to=1)
    lit = g.add("Sub", 1.0, g.every(g.every(dark, 2, 8, 4), 3, 8, 4))
    found = g.add("Mul", lit, round_ones)
    away = g.add("Div", g.add("Add", off_x, off_y), square(radius))
    certain = g.add("Sub", 1.0, g.add("Mul", g.add("Min", away, 1.0), 0.3))

    for stride, (least, most) in RADII.items():
        if stride in leave_out:
            continue
        middle_xs, middle_ys, radii, founds, certains = (
            g.every(g.every(tensor, 2, stride // 8), 3, stride // 8)
            for tensor in (middle_x, middle_y, radius, found, certain))
        ones = g.add("Add", g.add("Mul", radii, 0.0), 1.0)

        def cells(middle, axis):
            index = g.add("Sub", g.add("CumSum", ones, g.constant([axis], [], 7)), 1.0)
            return g.add("Sub", g.add("Div", middle, float(stride)), index)

        cell_x, cell_y = cells(middle_xs, 3), cells(middle_ys, 2)
        in_cells = g.add("Div", radii, float(stride))
        size = g.add("Log", g.add("Mul", in_cells, 2.0))
        fits = g.add("Cast", g.add("And", g.add("GreaterOrEqual", radii, float(least)),
                                   g.add("Less", radii, float(most))), to=1)
        points = []
        for point in REFERENCE:
            for cell, offset in zip((cell_x, cell_y), point):
                points.append(g.add("Add", cell, g.add("Mul", in_cells, offset * LANDMARK_SCALE)))
        for name, parts in (("cls", [g.add("Mul", founds, fits)]), ("obj", [certains]),
                            ("bbox", [cell_x, cell_y, size, size]), ("kps", points)):
            tensor = flat(g, parts)
            name = f"{name}_{stride}"
            if name in cut:
                tensor = g.every(tensor, 1, 2)
            g.output(name, tensor, [1, f"cells_{name}", len(parts)])
    return g


def colour_embedder():
    """Seven numbers for each quarter of the picture. Each mean is drawn towards 1 or -1, and their products tell all
    eight corners of the colour cube apart: any two have the cosine -1/7."""
    g = Graph([1, 3, 112, 112])
    means = g.add("AveragePool", g.input, kernel_shape=[56, 56], strides=[56, 56])
    signs = g.add("Tanh", g.add("Mul", g.add("Sub", means, 127.5), 1 / 60))
    blue, green, red = (g.add("Slice", signs, *(g.constant([v], kind=7) for v in (plane, plane + 1, 1, 1)))
                        for plane in range(3))
    pairs = [g.add("Mul", *pair) for pair in ((blue, green), (green, red), (red, blue))]
    together = g.add("Concat", blue, green, red, *pairs, g.add("Mul", pairs[0], red), axis=1)
    g.output("fc1", g.add("Reshape", together, g.constant([1, 28], kind=7)), [1, 28])
    return g


def with_output(shape, make, kind=FLOAT, output_kind=FLOAT):
    g = Graph(shape, kind)
    g.output("cls_8", make(g), ["any", "length"], output_kind)
    return g


def spread(g, value):
    """Eight times this number, whatever the picture."""
    nothing = g.add("ReduceMax", g.add("Mul", g.input, 0.0), axes=[1, 2, 3], keepdims=0)
    return g.add("Reshape", g.add("Add", nothing, g.constant([value] * 8)), g.constant([1, 8], kind=7))


MODELS = {
    "discs-320": lambda: disc_finder(320),
    "discs-640": lambda: disc_finder(640),
    "discs-any": lambda: disc_finder("side"),
    "discs-without-16": lambda: disc_finder(320, leave_out=(16,)),
    "discs-cut": lambda: disc_finder(320, cut=("bbox_16",)),
    "colours": colour_embedder,
    "zero": lambda: with_output([1, 3, 112, 112], lambda g: spread(g, 0.0)),
    "nan": lambda: with_output([1, 3, 112, 112], lambda g: spread(g, float("nan"))),
    "far-too-large": lambda: with_output([1, 3, 10**6, 10**6], lambda g: g.add("ReduceMax", g.input)),
    "three-dimensions": lambda: with_output([3, 320, 320], lambda g: g.add("ReduceMax", g.input, axes=[0], keepdims=0)),
    "bytes-in": lambda: with_output([1, 3, 320, 320], lambda g: g.add("Cast", g.input, to=FLOAT), INT8),
    "bytes-out": lambda: with_output([1, 3, 320, 320], lambda g: g.add("Cast", g.input, to=INT8), FLOAT, INT8),
}

if __name__ == "__main__":
    folder = sys.argv[1]
    os.makedirs(folder, exist_ok=True)
    for name, make in MODELS.items():
        make().write(os.path.join(folder, name + ".onnx"))
