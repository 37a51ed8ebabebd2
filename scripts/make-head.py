#!/usr/bin/env python3
"""make-head.py [FILE]
Writes the model of Velu's head as glTF 2.0 binary to FILE, or else to assets/models/VeluHead.glb. It needs
nothing but Python and writes the same bytes each time.

x is the right of someone looking into the face, y is up, and the face looks along z. The origin is in the
middle of the jaw's hinge. Velu tells the moving and the glowing parts by the names of nodes and materials."""

import sys
from pathlib import Path

sys.dont_write_bytecode = True

from head import eyes, face, fittings, shell, textures
from head.glb import GlbFile

MOST_TRIANGLES = 5000


def build_head():
    file = GlbFile()
    white = file.add_material("Shell", (0.80, 0.765, 0.72), textures.shell_texture())
    lilac = file.add_material("Lilac", (0.33, 0.31, 0.52))
    dark = file.add_material("Dark", (0.028, 0.026, 0.045))
    glass = file.add_material("Glass", (1.0, 1.0, 1.0), textures.plate_texture())
    eye_glow = file.add_material("EyeGlow", (1.0, 1.0, 1.0), textures.eye_texture())
    pupil = file.add_material("Pupil", (0.006, 0.012, 0.02))
    ear_glow = file.add_material("EarGlow", (1.0, 1.0, 1.0), textures.ear_texture())
    mouth = file.add_material("Mouth", (1.0, 1.0, 1.0), textures.mouth_texture())
    tongue = file.add_material("Tongue", (0.62, 0.13, 0.17))

    file.add_node(
        "Head",
        [
            (shell.make_skull(face.under_frame), white),
            (face.make_frame(), white),
            (fittings.make_ear_cups(), white),
            (shell.make_band(), lilac),
            (fittings.make_antenna(), lilac),
            (fittings.make_collar(), lilac),
            (fittings.make_neck(), dark),
            (fittings.make_ear_grooves(), dark),
            (eyes.make_rims(), dark),
            (face.make_plate(), glass),
            (eyes.make_glow(), eye_glow),
            (fittings.make_collar_light(), eye_glow),
            (eyes.make_pupils(), pupil),
            (fittings.make_ear_glow(), ear_glow),
        ],
    )
    jaw = [(shell.make_jaw(), white), (shell.make_jaw_inside(), mouth), (shell.make_tongue(), tongue)]
    file.add_node("Jaw", jaw, translation=(0, 0, 0))
    file.add_node("MouthInterior", [(shell.make_mouth_interior(), mouth)])
    return file


def main():
    if len(sys.argv) > 2:
        sys.exit("usage: make-head.py [FILE]")
    default = Path(__file__).resolve().parent.parent / "assets" / "models" / "VeluHead.glb"
    target = Path(sys.argv[1]) if len(sys.argv) == 2 else default
    head = build_head()
    if head.triangle_count > MOST_TRIANGLES:
        sys.exit(f"make-head.py: {head.triangle_count} triangles are more than {MOST_TRIANGLES}")
    try:
        target.parent.mkdir(parents=True, exist_ok=True)
        target.write_bytes(head.bytes())
    except OSError as error:
        sys.exit(f"make-head.py: can't write {target}: {error.strerror}")


main()
