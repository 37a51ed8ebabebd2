"""What is fitted to the shell: ears, antenna, neck and collar."""

import math

from head import eyes, shell
from head.mesh import Mesh
from head.turned import Frame, turn

ORIGIN = (0.0, 0.0, 0.0)
UPWARDS = Frame(ORIGIN, (0.0, 1.0, 0.0), (0.0, 0.0, -1.0))
DOWNWARDS = Frame(ORIGIN, (0.0, -1.0, 0.0), (0.0, 0.0, 1.0))
EARS = (Frame(ORIGIN, (1.0, 0.0, 0.0), (0.0, 1.0, 0.0)), Frame(ORIGIN, (-1.0, 0.0, 0.0), (0.0, 1.0, 0.0)))
EAR_SEGMENTS = 28
EAR_GLOW_RADIUS = 0.133

# Where the ears' texture shows its plain tone.
EAR_PLAIN_UV = (0.5, 0.5)


def ear_uv(right, up):
    return (0.5 + 0.45 * right / EAR_GLOW_RADIUS, 0.5 - 0.45 * up / EAR_GLOW_RADIUS)


def ear_distance(u, v):
    """The distance of a texture place from the ear's middle; 1 is the edge of the glowing disc."""
    return math.hypot(u - 0.5, v - 0.5) / 0.45


def make_ear_cups():
    """The cups the ears sit in. They start within the head and hide where its sheets end."""
    mesh = Mesh()
    profile = [(0.163, 0.418), (0.167, 0.450), (0.158, 0.472), (0.139, 0.475)]
    for ear in EARS:
        turn(mesh, ear, profile, EAR_SEGMENTS, uv=shell.SHADED_UV)
    return mesh


def make_ear_grooves():
    mesh = Mesh()
    for ear in EARS:
        turn(mesh, ear, [(0.140, 0.470), (EAR_GLOW_RADIUS - 0.002, 0.470)], EAR_SEGMENTS)
    return mesh


def make_ear_glow():
    """All that glows with the ears: their discs and the antenna's tip."""
    mesh = Mesh()
    profile = [(EAR_GLOW_RADIUS, 0.465), (0.130, 0.506), (0.109, 0.528), (0.060, 0.537), (0.0, 0.539)]
    for ear in EARS:
        turn(mesh, ear, profile, EAR_SEGMENTS, uv_at=ear_uv)

    latitudes = [math.radians(degrees) for degrees in (-72, -46, -16, 14, 42, 66, 90)]
    ball = [(0.046 * math.cos(a), 0.64 + 0.046 * math.sin(a)) for a in latitudes]
    turn(mesh, UPWARDS, ball, 14, uv=EAR_PLAIN_UV)
    return mesh


def make_antenna():
    mesh = Mesh()
    profile = [(0.066, 0.440), (0.064, 0.474), (0.052, 0.486), (0.024, 0.494), (0.015, 0.515), (0.011, 0.610)]
    turn(mesh, UPWARDS, profile, 14)
    return mesh


def make_neck():
    mesh = Mesh()
    turn(mesh, DOWNWARDS, [(0.195, 0.33), (0.195, 0.41)], 18)
    return mesh


def make_collar():
    mesh = Mesh()
    profile = [(0.190, 0.414), (0.212, 0.389), (0.230, 0.388), (0.243, 0.398)]
    profile += [(0.272, 0.446), (0.281, 0.470), (0.277, 0.488), (0.255, 0.502), (0.0, 0.508)]
    turn(mesh, DOWNWARDS, profile, 30)
    return mesh


def make_collar_light():
    """A small light on the collar that glows and goes out with the eyes."""
    mesh = Mesh()
    frame = Frame((0.0, -0.424, 0.255), (0.0, 0.5, 0.83), (0.0, 1.0, 0.0))
    turn(mesh, frame, [(0.026, -0.004), (0.022, 0.009), (0.0, 0.014)], 12, uv=eyes.BRIGHT_UV)
    return mesh
