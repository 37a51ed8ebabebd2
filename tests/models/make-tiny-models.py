#!/usr/bin/env python3
"""make-tiny-models.py FOLDER
Makes the networks that stand in for the face detector, which finds bright discs on a dark ground, and for the face
embedder, which tells their colours apart. Some others are wrong in one way each.
"""

import os
import sys

from onnxfile import FLOAT, Graph

# The five points to which a face is aligned, from their mean. With 0.9 / 92 of the disc's radius for each unit, the
# corners of the aligned picture, 92 units away, are still within the disc.
REFERENCE = [(-17.73156, -20.20448), (17.505638, -20.39938), (-0.0009613037, -0.16417694), (-14.47686, 20.464722),
             (14.703735, 20.303322)]
# Each stride finds discs with a radius from the first number to below the second.
RADII = {8: (6.0, 20.0), 16: (20.0, 60.0), 32: (60.0, 1000.0)}
# How far a disc reaches from any of its points at most.
REACH = 640


def chord(dark, axis):
    """For pixel 4 of 8 both ways: the begin and the end of the bright stretch along the axis (2 or 3), and the pixel's
    own place. The stretch ends before the first dark pixel behind, or with the picture."""
    position = (dark * 0.0 + 1.0).CumSum(axis)
    rows, places = (tensor.every(5 - axis, 8, 4) for tensor in (dark, position))

    def pool(tensor, before, after):
        size, steps, pads = [1, 1], [1, 1], [0, 0, 0, 0]
        size[axis - 2], steps[axis - 2], pads[axis - 2], pads[axis] = REACH, 8, before, after
        return tensor.MaxPool(kernel_shape=size, strides=steps, pads=pads)

    far = 4096.0
    end = far - pool((rows * (far + 1 - places)).every(axis, 1, 4), 0, REACH - 1)
    whole = places.ReduceMax(axes=[axis], keepdims=1)
    return pool(rows * places, REACH - 5, 0), end.Min(whole), places.every(axis, 8, 4) - 0.5


def disc_finder(side, cut=()):
    """`side` of the input is a number or a name, which leaves it open. The outputs `cut` give half of their values."""
    g = Graph([1, 3, side, side])
    dark = g.input.ReduceMax(axes=[1], keepdims=1).Less(80.0).Cast(to=FLOAT)
    (left, right, x), (top, bottom, y) = chord(dark, 3), chord(dark, 2)
    middle_x, middle_y = (left + right) * 0.5, (top + bottom) * 0.5
    off_x, off_y = (x - middle_x).Pow(2.0), (y - middle_y).Pow(2.0)
    # The radius by the row's chord and by the column's: equal within a disc.
    by_row, by_column = (((right - left) * 0.5).Pow(2.0) + off_y).Sqrt(), (((bottom - top) * 0.5).Pow(2.0) + off_x).Sqrt()
    radius = ((by_row + by_column) * 0.5).Max(1.0)
    is_round = ((by_row - by_column).Abs() / radius).Less(0.2).Cast(to=FLOAT)
    found = (1.0 - dark.every(2, 8, 4).every(3, 8, 4)) * is_round
    certain = 1.0 - ((off_x + off_y) / radius.Pow(2.0)).Min(1.0) * 0.3
    for stride, (least, most) in RADII.items():
        xs, ys, radii, founds, certains = (tensor.every(2, stride // 8).every(3, stride // 8)
                                           for tensor in (middle_x, middle_y, radius, found, certain))
        cell_x, cell_y = (middle / float(stride) - ((radii * 0.0 + 1.0).CumSum(axis) - 1.0)
                          for middle, axis in ((xs, 3), (ys, 2)))
        cells = radii / float(stride)
        size = (cells * 2.0).Log()
        fits = radii.GreaterOrEqual(least).And(radii.Less(most)).Cast(to=FLOAT)
        points = [cell + cells * (offset * 0.9 / 92)
                  for point in REFERENCE for cell, offset in zip((cell_x, cell_y), point)]
        for name, parts in (("cls", [founds * fits]), ("obj", [certains]), ("bbox", [cell_x, cell_y, size, size]),
                            ("kps", points)):
            together = parts[0].Concat(*parts[1:], axis=1).Transpose(perm=[0, 2, 3, 1]).Reshape([1, -1, len(parts)])
            name = f"{name}_{stride}"
            g.output(name, together.every(1, 2) if name in cut else together, [1, f"cells_{name}", len(parts)])
    return g


def colour_embedder():
    """Seven numbers for each quarter of the picture. Each mean is drawn towards 1 or -1, and their products tell all
    eight corners of the colour cube apart: any two have the cosine -1/7."""
    g = Graph([1, 3, 112, 112])
    signs = ((g.input.AveragePool(kernel_shape=[56, 56], strides=[56, 56]) - 127.5) * (1 / 60)).Tanh()
    blue, green, red = (signs.Slice([plane], [plane + 1], [1], [1]) for plane in range(3))
    products = [blue * green, green * red, red * blue, blue * green * red]
    g.output("fc1", blue.Concat(green, red, *products, axis=1).Reshape([1, 28]), [1, 28])
    return g


def eight(value):
    """Gives this number eight times, whatever the picture."""
    g = Graph([1, 3, 112, 112])
    g.output("fc1", (g.input * 0.0).ReduceMax(axes=[1, 2, 3], keepdims=1).Reshape([1, 1]) + g.constant([value] * 8, [1, 8]),
             ["any", "length"])
    return g


if __name__ == "__main__":
    os.makedirs(sys.argv[1], exist_ok=True)
    for name, network in {
        "discs-320": disc_finder(320),
        "discs-any": disc_finder("side"),
        "discs-cut": disc_finder(320, cut=("bbox_16",)),
        "colours": colour_embedder(),
        "zero": eight(0.0),
        "nan": eight(float("nan")),
    }.items():
        network.write(os.path.join(sys.argv[1], name + ".onnx"))
