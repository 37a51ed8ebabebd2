"""The smooth shape all parts of the head follow.

The head is swept about the x axis, which runs from ear to ear and is the jaw's hinge too: below the ears its
section is a circle, so that the jaw stays snug while it turns. A point of it is named by two angles: across,
from 0 at the right ear to pi at the left one, and around, from 0 in front through pi / 2 on top to pi behind.
"""

import math

from head.vectors import smoothstep

HALF_WIDTH = 0.46
LOW_RADIUS = 0.40
TOP_RADIUS = 0.455
ROUNDNESS = 2.55


def radius(around):
    """How far the middle of the head lies from the hinge."""
    up = max(0.0, math.sin(around))
    forward = math.cos(around)
    if up == 0.0:
        return LOW_RADIUS
    return 1.0 / math.hypot(forward / LOW_RADIUS, up / TOP_RADIUS)


def taper(y):
    """How wide the head is at a height: narrower towards the chin, and a little towards the crown."""
    return 1.0 - 0.06 * smoothstep(0.02, -0.40, y) - 0.03 * smoothstep(0.1, 0.42, y)


def point(across, around, depth=1.0, width=1.0):
    """A point of the head; depth and width below 1 pull it inwards, to the hinge and to the middle."""
    c, s = math.cos(across), math.sin(across)
    reach = (abs(c) ** ROUNDNESS + abs(s) ** ROUNDNESS) ** (-1.0 / ROUNDNESS)
    from_hinge = reach * s * radius(around)
    y, z = from_hinge * math.sin(around), from_hinge * math.cos(around)
    return (reach * c * HALF_WIDTH * taper(y) * width, y * depth, z * depth)


def front(x, y):
    """How far forward the head's surface lies at (x, y)."""
    share = abs(x) / (HALF_WIDTH * taper(y))
    section = max(0.0, 1.0 - share**ROUNDNESS) ** (1.0 / ROUNDNESS)
    high = y / (TOP_RADIUS if y > 0 else LOW_RADIUS)
    return LOW_RADIUS * math.sqrt(max(0.0, section * section - high * high))


def on_front(x, y, lift):
    """The point lift above the head's surface at (x, y), along the surface's normal."""
    step = 1e-4
    slope_x = (front(x + step, y) - front(x - step, y)) / (2.0 * step)
    slope_y = (front(x, y + step) - front(x, y - step)) / (2.0 * step)
    size = math.sqrt(slope_x * slope_x + slope_y * slope_y + 1.0)
    return (x - lift * slope_x / size, y - lift * slope_y / size, front(x, y) + lift / size)
