"""Three-component vectors as plain tuples, and the few curves the head is drawn with."""

import math


def add(a, b):
    return (a[0] + b[0], a[1] + b[1], a[2] + b[2])


def sub(a, b):
    return (a[0] - b[0], a[1] - b[1], a[2] - b[2])


def scale(a, factor):
    return (a[0] * factor, a[1] * factor, a[2] * factor)


def dot(a, b):
    return a[0] * b[0] + a[1] * b[1] + a[2] * b[2]


def cross(a, b):
    return (a[1] * b[2] - a[2] * b[1], a[2] * b[0] - a[0] * b[2], a[0] * b[1] - a[1] * b[0])


def length(a):
    return math.sqrt(dot(a, a))


def unit(a):
    return scale(a, 1.0 / length(a))


def mix(a, b, share):
    """The point that share (0..1) of the way from a to b; works for numbers and for tuples."""
    if isinstance(a, tuple):
        return tuple(mix(x, y, share) for x, y in zip(a, b))
    return a + (b - a) * share


def even_bends(curve, start, end, pieces):
    """The parameters from start to end at which to cut a plane curve into straight pieces with about the same
    error each: close together where it bends, further apart where it is almost straight."""
    fine = 720
    points = [curve(mix(start, end, i / fine)) for i in range(fine + 1)]
    sides = [(b[0] - a[0], b[1] - a[1]) for a, b in zip(points, points[1:])]
    sizes = [math.hypot(*side) for side in sides]
    weights = []
    for i in range(fine):
        before, after = sides[max(0, i - 1)], sides[min(fine - 1, i + 1)]
        aside = before[0] * after[1] - before[1] * after[0]
        ahead = before[0] * after[0] + before[1] * after[1]
        weights.append(math.sqrt(abs(math.atan2(aside, ahead)) * sizes[i]))
    # Even a straight part gets some cuts: the surface may bend the other way there.
    share = 0.5 * sum(weights) / sum(sizes)
    weights = [weight + share * size for weight, size in zip(weights, sizes)]
    whole = sum(weights)
    cuts = [start]
    passed, i = 0.0, 0
    for piece in range(1, pieces):
        wanted = whole * piece / pieces
        while passed + weights[i] < wanted:
            passed += weights[i]
            i += 1
        cuts.append(mix(start, end, (i + (wanted - passed) / weights[i]) / fine))
    return cuts + [end]


def smoothstep(start, end, value):
    """0 before start, 1 after end, and an even S-curve between; start may be the greater one."""
    t = min(1.0, max(0.0, (value - start) / (end - start)))
    return t * t * (3.0 - 2.0 * t)
