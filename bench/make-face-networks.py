#!/usr/bin/env python3
"""make-face-networks.py FOLDER
Writes "detector.onnx" and "embedder.onnx", which have the inputs, the outputs and about the cost of the real face
models, but find nothing. They stand in for the real models where these haven't been downloaded."""

import os
import random
import sys

sys.path.append(os.path.join(os.path.dirname(os.path.abspath(__file__)), "..", "tests", "models"))
from onnxfile import Graph  # noqa: E402

random.seed(1)
SOME = [random.gauss(0, 1) for _ in range(4096)]


def weights(g, dimensions, inputs):
    """Returns random weights that keep values at about the same size; each result is a sum of `inputs` products."""
    count = 1
    for size in dimensions:
        count *= size
    scaled = [some * (2 / inputs) ** 0.5 for some in SOME]
    return g.constant((scaled * (count // len(scaled) + 1))[:count], dimensions)


def convolve(tensor, before, after, side=3, stride=1, groups=1):
    inputs = before // groups
    kernel = weights(tensor.graph, [after, inputs, side, side], inputs * side * side)
    return tensor.Conv(kernel, kernel_shape=[side, side], strides=[stride, stride], pads=[side // 2] * 4, group=groups)


def separable(tensor, before, after, stride=1):
    """Adds a convolution of each plane by itself, then one across the planes."""
    return convolve(convolve(tensor, before, before, stride=stride, groups=before).Relu(), before, after, side=1).Relu()


def detector():
    g = Graph([1, 3, 640, 640])
    tensor = separable(convolve(g.input, 3, 16, stride=2).Relu(), 16, 16)
    planes = 16
    for stride in (4, 8, 16, 32):
        tensor = separable(separable(tensor, planes, 64, stride=2), 64, 64)
        planes = 64
        if stride == 4:
            continue
        branch = separable(tensor, 64, 64)
        cells = (640 // stride) ** 2
        for name, values in (("cls", 1), ("obj", 1), ("bbox", 4), ("kps", 10)):
            # Far below the scores of a face.
            head = convolve(separable(branch, 64, values), values, values) * 0.001
            head = head.Transpose(perm=[0, 2, 3, 1]).Reshape([1, cells, values])
            g.output(f"{name}_{stride}", head, [1, cells, values])
    return g


def embedder():
    g = Graph([1, 3, 112, 112])
    tensor = convolve(g.input, 3, 32).Relu()
    planes = 32
    for after, stride in [(64, 1), (128, 2), (128, 1), (256, 2), (256, 1), (512, 2), (512, 1), (512, 1), (512, 1),
                          (512, 1), (512, 1), (1024, 2), (1024, 1)]:
        tensor = separable(tensor, planes, after, stride)
        planes = after
    g.output("fc1", tensor.Reshape([1, 1024 * 49]).MatMul(weights(g, [1024 * 49, 128], 1024 * 49)), [1, 128])
    return g


def main():
    if len(sys.argv) != 2:
        sys.exit(__doc__)
    folder = sys.argv[1]
    os.makedirs(folder, exist_ok=True)
    detector().write(os.path.join(folder, "detector.onnx"))
    embedder().write(os.path.join(folder, "embedder.onnx"))


main()
