"""Writes ONNX files: the few messages of the format that small hand-made networks need.

No package is asked for: the one that knows the whole format is far larger than these hundred lines, and is only there
for the distribution's own Python, which needn't be the first that a developer's shell finds.
"""

import struct

FLOAT, INT8, INT64 = 1, 3, 7
OPERATOR_SET = 13
FORMAT = {FLOAT: "f", INT8: "b", INT64: "q"}


def _varint(value):
    value &= (1 << 64) - 1
    encoded = bytearray()
    while value > 0x7F:
        encoded.append(value & 0x7F | 0x80)
        value >>= 7
    encoded.append(value)
    return bytes(encoded)


def _number(field, value):
    return _varint(field << 3) + _varint(value)


def _bytes(field, value):
    value = value.encode() if isinstance(value, str) else value
    return _varint(field << 3 | 2) + _varint(len(value)) + value


def _tensor(name, dimensions, kind, values):
    raw = struct.pack(f"<{len(values)}{FORMAT[kind]}", *values)
    return b"".join(_number(1, size) for size in dimensions) + _number(2, kind) + _bytes(8, name) + _bytes(9, raw)


def _attribute(name, value):
    if isinstance(value, float):
        return _bytes(1, name) + _varint(2 << 3 | 5) + struct.pack("<f", value) + _number(20, 1)
    if isinstance(value, int):
        return _bytes(1, name) + _number(3, value) + _number(20, 2)
    return _bytes(1, name) + b"".join(_number(8, item) for item in value) + _number(20, 7)


def _value(name, kind, shape):
    dimensions = b"".join(_bytes(1, _bytes(2, size) if isinstance(size, str) else _number(1, size)) for size in shape)
    return _bytes(1, name) + _bytes(2, _bytes(1, _number(1, kind) + _bytes(2, dimensions)))


class Graph:
    """A network with one input. Each operation gives the name of what it computes."""

    def __init__(self, shape, kind=FLOAT):
        self.input = "input"
        self._shape, self._kind = shape, kind
        self._nodes, self._constants, self._outputs, self._count = [], [], [], 0

    def _name(self):
        self._count += 1
        return f"t{self._count}"

    def constant(self, values, dimensions=None, kind=FLOAT):
        name = self._name()
        self._constants.append(_tensor(name, [len(values)] if dimensions is None else dimensions, kind, values))
        return name

    def number(self, value):
        return self.constant([value], [])

    def add(self, operator, *inputs, **attributes):
        """One operator with one output; numbers among the inputs become constants."""
        names = [item if isinstance(item, str) else self.number(item) for item in inputs]
        name = self._name()
        self._nodes.append(b"".join(_bytes(1, item) for item in names) + _bytes(2, name) + _bytes(4, operator) +
                           b"".join(_bytes(5, _attribute(*item)) for item in attributes.items()))
        return name

    def every(self, tensor, axis, step, start=0):
        """Each step-th entry along the axis."""
        bounds = [self.constant([value], kind=INT64) for value in (start, 1 << 40, axis, step)]
        return self.add("Slice", tensor, *bounds)

    def output(self, name, tensor, shape, kind=FLOAT):
        self._nodes.append(_bytes(1, tensor) + _bytes(2, name) + _bytes(4, "Identity"))
        self._outputs.append(_value(name, kind, shape))

    def write(self, path):
        graph = (b"".join(_bytes(1, node) for node in self._nodes) + _bytes(2, "velu") +
                 b"".join(_bytes(5, tensor) for tensor in self._constants) +
                 _bytes(11, _value(self.input, self._kind, self._shape)) +
                 b"".join(_bytes(12, value) for value in self._outputs))
        model = _number(1, 7) + _bytes(7, graph) + _bytes(8, _bytes(1, "") + _number(2, OPERATOR_SET))
        with open(path, "wb") as file:
            file.write(model)
