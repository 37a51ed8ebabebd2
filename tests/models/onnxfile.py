"""Writes small networks as ONNX files: the few messages of the format that they need. The package that knows the whole
format is far larger, and not there for every Python."""

import struct

FLOAT, INT64 = 1, 7
FORMAT = {FLOAT: "f", INT64: "q"}


def varint(value):
    value &= (1 << 64) - 1
    encoded = bytearray()
    while value > 0x7F:
        encoded.append(value & 0x7F | 0x80)
        value >>= 7
    return bytes(encoded) + bytes([value])


def message(*fields):
    """Encodes pairs of a field's number and its value."""
    encoded = b""
    for number, value in fields:
        if isinstance(value, float):
            encoded += varint(number << 3 | 5) + struct.pack("<f", value)
        elif isinstance(value, int):
            encoded += varint(number << 3) + varint(value)
        else:
            value = value.encode() if isinstance(value, str) else value
            encoded += varint(number << 3 | 2) + varint(len(value)) + value
    return encoded


def attribute(name, value):
    number, kind = {float: (2, 1), int: (3, 2), list: (8, 7)}[type(value)]
    return message((1, name), *((number, item) for item in (value if kind == 7 else [value])), (20, kind))


def described(name, shape):
    sizes = [(1, message((2 if isinstance(size, str) else 1, size))) for size in shape]
    return message((1, name), (2, message((1, message((1, FLOAT), (2, message(*sizes)))))))


class Tensor:
    """A tensor of a graph. Any operator of ONNX is a method that gives its output: `tensor.Relu()`. Inputs that are
    numbers or lists of integers become constants."""

    def __init__(self, graph, name):
        self.graph, self.name = graph, name

    def __getattr__(self, operator):
        return lambda *inputs, **attributes: self.graph.add(operator, self, *inputs, **attributes)

    def every(self, axis, step, start=0):
        """Gives each step-th entry along the axis."""
        return self.Slice([start], [1 << 40], [axis], [step])


for sign, name in (("add", "Add"), ("sub", "Sub"), ("mul", "Mul"), ("truediv", "Div")):
    setattr(Tensor, f"__{sign}__", lambda one, other, name=name: one.graph.add(name, one, other))
    setattr(Tensor, f"__r{sign}__", lambda one, other, name=name: one.graph.add(name, other, one))


class Graph:
    """A network with one input."""

    def __init__(self, shape):
        self.input = Tensor(self, "input")
        self.fields = [(2, "velu"), (11, described("input", shape))]

    def constant(self, values, shape=None, kind=FLOAT):
        name = f"t{len(self.fields)}"
        shape = [len(values)] if shape is None else shape
        raw = struct.pack(f"<{len(values)}{FORMAT[kind]}", *values)
        self.fields.append((5, message(*((1, size) for size in shape), (2, kind), (8, name), (9, raw))))
        return Tensor(self, name)

    def add(self, operator, *inputs, **attributes):
        name = attributes.pop("name", f"t{len(self.fields)}o")
        kinds = {float: lambda value: self.constant([value], []), int: lambda value: self.constant([value], [], INT64),
                 list: lambda value: self.constant(value, kind=INT64), Tensor: lambda value: value}
        names = [(1, kinds[type(value)](value).name) for value in inputs]
        given = [(5, attribute(*pair)) for pair in attributes.items()]
        self.fields.append((1, message(*names, (2, name), (4, operator), *given)))
        return Tensor(self, name)

    def output(self, name, tensor, shape):
        self.add("Identity", tensor, name=name)
        self.fields.append((12, described(name, shape)))

    def write(self, path):
        graph = message(*sorted(self.fields, key=lambda field: field[0]))
        with open(path, "wb") as file:
            file.write(message((1, 7), (7, graph), (8, message((1, ""), (2, 13)))))
