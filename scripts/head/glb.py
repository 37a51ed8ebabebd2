"""Writes meshes, materials and textures as one self-contained glTF 2.0 binary file."""

import json
import struct

FLOAT = 5126
UINT16 = 5123
VERTEX_BUFFER = 34962
INDEX_BUFFER = 34963


def as_float32(value):
    """Rounds a value to what the file stores. This hides differences between mathematics libraries."""
    return struct.unpack("<f", struct.pack("<f", round(value, 5) + 0.0))[0]


class GlbFile:
    """Collects the parts of a file; bytes() puts them together. The same calls give the same bytes."""

    def __init__(self):
        self.binary = bytearray()
        self.triangle_count = 0
        self.json = {
            "asset": {"version": "2.0", "generator": "make-head.py"},
            "scene": 0,
            "scenes": [{"nodes": []}],
            "nodes": [],
            "meshes": [],
            "materials": [],
            "accessors": [],
            "bufferViews": [],
        }

    def add_material(self, name, colour, png=None):
        """A matt material of a linear colour and, if given, a texture. Returns its index."""
        look = {"baseColorFactor": [*colour, 1], "metallicFactor": 0, "roughnessFactor": 0.4}
        if png is not None:
            images = self.json.setdefault("images", [])
            images.append({"mimeType": "image/png", "bufferView": self._add_view(png)})
            textures = self.json.setdefault("textures", [])
            textures.append({"source": len(images) - 1})
            look["baseColorTexture"] = {"index": len(textures) - 1}
        self.json["materials"].append({"name": name, "pbrMetallicRoughness": look})
        return len(self.json["materials"]) - 1

    def add_node(self, name, parts, translation=None):
        """A node with one mesh; parts are pairs of a mesh and its material's index."""
        primitives = []
        for mesh, material in parts:
            self.triangle_count += len(mesh.triangles)
            primitives.append(
                {
                    "attributes": {
                        "POSITION": self._add_vectors(mesh.positions, bounds=True),
                        "NORMAL": self._add_vectors(mesh.normals),
                        "TEXCOORD_0": self._add_vectors(mesh.uvs),
                    },
                    "indices": self._add_indices(mesh.triangles),
                    "material": material,
                }
            )
        self.json["meshes"].append({"name": name, "primitives": primitives})
        node = {"name": name, "mesh": len(self.json["meshes"]) - 1}
        if translation is not None:
            node["translation"] = list(translation)
        self.json["nodes"].append(node)
        self.json["scenes"][0]["nodes"].append(len(self.json["nodes"]) - 1)

    def bytes(self):
        description = dict(self.json, buffers=[{"byteLength": len(self.binary)}])
        text = json.dumps(description, separators=(",", ":")).encode("ascii")
        text += b" " * (-len(text) % 4)
        chunks = struct.pack("<I4s", len(text), b"JSON") + text
        chunks += struct.pack("<I4s", len(self.binary), b"BIN\0") + bytes(self.binary)
        return struct.pack("<4sII", b"glTF", 2, 12 + len(chunks)) + chunks

    def _add_view(self, data, target=None):
        view = {"buffer": 0, "byteOffset": len(self.binary), "byteLength": len(data)}
        if target is not None:
            view["target"] = target
        self.json["bufferViews"].append(view)
        self.binary += data + bytes(-len(data) % 4)
        return len(self.json["bufferViews"]) - 1

    def _add_vectors(self, vectors, bounds=False):
        rows = [[as_float32(c) for c in vector] for vector in vectors]
        flat = [c for row in rows for c in row]
        accessor = {
            "bufferView": self._add_view(struct.pack(f"<{len(flat)}f", *flat), VERTEX_BUFFER),
            "componentType": FLOAT,
            "count": len(rows),
            "type": f"VEC{len(rows[0])}",
        }
        if bounds:
            accessor["min"] = [min(column) for column in zip(*rows)]
            accessor["max"] = [max(column) for column in zip(*rows)]
        self.json["accessors"].append(accessor)
        return len(self.json["accessors"]) - 1

    def _add_indices(self, triangles):
        flat = [k for t in triangles for k in t]
        accessor = {
            "bufferView": self._add_view(struct.pack(f"<{len(flat)}H", *flat), INDEX_BUFFER),
            "componentType": UINT16,
            "count": len(flat),
            "type": "SCALAR",
        }
        self.json["accessors"].append(accessor)
        return len(self.json["accessors"]) - 1
