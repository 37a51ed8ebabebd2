"""The textures, painted from the same measures as the meshes. Colours are sRGB, 0..1."""

import math

from head import eyes, face, fittings, shape, shell
from head.png import paint
from head.vectors import mix, smoothstep

WHITE = (1.0, 1.0, 1.0)
SHADE = (0.66, 0.60, 0.78)
SEAM = (0.55, 0.50, 0.66)
SEAM_DEGREES = 60.0
LIP_SHADOW = (0.36, 0.30, 0.44)


def shell_texture():
    """White, with soft shade where parts meet, a fine seam across the forehead and the mouth's line."""

    def colour(u, v):
        degrees = shell.angle_at(v)
        x, y, z = shape.point(u * math.pi, math.radians(degrees))
        shade = 0.45 * smoothstep(0.27, 0.15, math.hypot(y, z))
        shade += 0.25 * smoothstep(-0.20, -0.40, y)
        if z > 0.0:
            shade += 0.5 * smoothstep(1.30, 1.04, face.level(x, y))
        if y > 0.0:
            shade += 0.3 * smoothstep(0.14, 0.05, math.hypot(x, z))
        for edge in (shell.BAND_FRONT, shell.BAND_BACK):
            shade += 0.3 * smoothstep(8.0, 0.0, abs(degrees - edge))
        tone = mix(WHITE, SHADE, min(1.0, shade))
        if degrees > shell.LIP - 1.5:
            tone = mix(tone, LIP_SHADOW, smoothstep(3.2, 0.8, degrees - shell.LIP))
        return mix(tone, SEAM, 0.75 * smoothstep(1.3, 0.5, abs(degrees - SEAM_DEGREES)))

    return paint(128, 320, colour)


def plate_texture():
    """Nearly black, with a soft sheen from above as curved glass has it."""

    def colour(u, v):
        x, y = face.plate_place(u, v)
        sheen = smoothstep(0.06, 0.26, y - 0.12 * (x / face.HALF_WIDTH) ** 2)
        return mix((0.075, 0.085, 0.125), (0.20, 0.23, 0.33), sheen)

    return paint(64, 64, colour)


def eye_texture():
    """The iris: deep above, as in a lid's shade, and at its edge; a bright crescent below."""

    def colour(u, v):
        right, up = eyes.eye_place(u, v)
        distance = math.hypot(right, up)
        tone = mix((0.08, 0.76, 0.85), (0.01, 0.44, 0.60), smoothstep(-0.5, 0.8, up))
        crescent = smoothstep(0.46, 0.60, distance) * smoothstep(0.92, 0.70, distance)
        crescent *= smoothstep(0.1, -0.55, up)
        tone = mix(tone, (0.62, 0.98, 0.97), 0.85 * crescent)
        tone = mix(tone, (0.01, 0.25, 0.37), smoothstep(0.82, 0.97, distance))
        return mix(tone, WHITE, smoothstep(1.05, 1.12, distance))

    return paint(96, 96, colour)


def ear_texture():
    """Magenta, deeper towards the edge, with a paler ring."""

    def colour(u, v):
        distance = fittings.ear_distance(u, v)
        tone = mix((0.93, 0.30, 0.66), (0.80, 0.14, 0.50), smoothstep(0.2, 0.95, distance))
        return mix(tone, (1.0, 0.55, 0.80), 0.6 * smoothstep(0.07, 0.03, abs(distance - 0.60)))

    return paint(64, 64, colour)


def mouth_texture():
    """Darker in the throat than at the lips. Laid out as the shell's."""

    def colour(u, v):
        depth = smoothstep(1.1, 0.0, abs(u - 0.5) * 2.4) * smoothstep(-26.0, -50.0, shell.angle_at(v))
        return mix((0.42, 0.13, 0.24), (0.15, 0.05, 0.11), depth)

    return paint(16, 64, colour)
