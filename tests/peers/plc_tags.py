"""Tags of every device type, on both sides of every place where a type's numbers jump, and at its last element.

What a tag shows, and which cells a write changes, is worked out here from the memory alone.
"""
import math
import struct
from decimal import Decimal
from typing import NamedTuple

from plc_memory import BITS, BITS_IN_WORDS, DOUBLE, address_text, modbus_number

ORDERS = ("ABCD", "BADC", "CDAB", "DCBA")
WIDE = {"int32": ">i", "uint32": ">I", "float32": ">f"}
NARROW = {"int16": ">h", "uint16": ">H"}


class Tag(NamedTuple):
    name: str
    code: int
    element: int
    count: int = 1
    format: str = "bit"
    order: str = "ABCD"
    scale: str = "1"
    station: int = 1
    is_written: bool = False

    def row(self, with_station):
        """The tag's line in a tag file."""
        scale = "" if self.format == "bit" else self.scale
        read_write = "rw" if self.is_written else "r"
        return ",".join([self.name, str(self.code), address_text(self.code, self.element),
                         str(self.station) if with_station else "", str(self.count), self.format, self.order, scale,
                         "", read_write])

    def cells(self, index):
        """Where a value lies: ("coils", number), or ("registers", number) once or twice."""
        if self.code in BITS:
            return [("coils", modbus_number(self.code, self.element + index))]
        if self.code in BITS_IN_WORDS:
            return [("registers", modbus_number(self.code, (self.element + index) // 16))]
        if self.code == DOUBLE:
            first = modbus_number(self.code, self.element + index)
            return [("registers", first), ("registers", first + 1)]
        width = 2 if self.format in WIDE else 1
        first = self.element + index * width
        return [("registers", modbus_number(self.code, first + k)) for k in range(width)]

    def line_bytes(self, memory, index):
        return b"".join(memory.registers[number].to_bytes(2, "big") for _, number in self.cells(index))

    def places(self):
        """For each byte on the line its place in the value, the most significant 0."""
        if self.format in WIDE:
            return ["ABCD".index(letter) for letter in self.order]
        return [1, 0] if self.order in ("BADC", "DCBA") else [0, 1]

    def value(self, memory, index):
        """What ecpanel shows as a value."""
        if self.code in BITS:
            return memory.coils[self.cells(index)[0][1]]
        if self.code in BITS_IN_WORDS:
            return memory.registers[self.cells(index)[0][1]] >> (self.element + index) % 16 & 1
        on_line = self.line_bytes(memory, index)
        value = bytearray(len(on_line))
        for byte, place in zip(on_line, self.places()):
            value[place] = byte
        raw = struct.unpack({**WIDE, **NARROW}[self.format], value)[0]
        return raw if self.format == "float32" else float(Decimal(raw) * Decimal(self.scale))

    def shown(self, memory):
        values = [self.value(memory, index) for index in range(self.count)]
        return values if self.count > 1 else values[0]

    def store(self, memory, index, raw):
        """Changes the memory as a write of a raw value does."""
        cells = self.cells(index)
        if self.code in BITS:
            memory.coils[cells[0][1]] = raw
        elif self.code in BITS_IN_WORDS:
            bit = 1 << (self.element + index) % 16
            word = memory.registers[cells[0][1]]
            memory.registers[cells[0][1]] = word | bit if raw else word & ~bit
        else:
            value = struct.pack({**WIDE, **NARROW}[self.format], raw)
            on_line = bytes(value[place] for place in self.places())
            for k, (_, number) in enumerate(cells):
                memory.registers[number] = int.from_bytes(on_line[2 * k:2 * k + 2], "big")

    def new_raw(self, memory, index, rng):
        """A raw value other than the one there."""
        if self.format == "bit":
            return 1 - self.value(memory, index)
        while True:
            if self.format == "float32":
                raw = rng.randrange(-10 ** 6, 10 ** 6) / 8  # a float32 holds it exactly
            else:
                code = {**WIDE, **NARROW}[self.format]
                raw = struct.unpack(code, rng.randbytes(struct.calcsize(code)))[0]
            # Every register of it changes, so that a half that was left out shows.
            changed = memory.copy_of(self.cells(index))
            self.store(changed, index, raw)
            if all(changed.registers[number] != memory.registers[number] for _, number in self.cells(index)):
                return raw

    def text(self, raw):
        """A raw value as a person types it."""
        if self.format == "bit" or self.format == "float32":
            return repr(raw)
        return str(Decimal(raw) * Decimal(self.scale))

    def read_json(self, value):
        """A value that ecpanel printed, made comparable: a float32 is printed by its shortest digits."""
        if self.count > 1:
            return [self._one(each) for each in value]
        return self._one(value)

    def _one(self, value):
        if self.format != "float32" or isinstance(value, str):
            return value
        return struct.unpack(">f", struct.pack(">f", value))[0]


def _read_places():
    """(code, element, count, format, order, scale)"""
    jumps = {2: 2048, 3: 256, 4: 1024, 5: 256, 6: 256, 8: 256, 9: 256}
    lasts = {0: 799, 1: 1199, 2: 20047, 3: 1255, 4: 35559, 5: 1255, 6: 1255, 7: 7999, 8: 1255, 9: 1255,
             10: 199, 11: 499, 100: 52535}
    for code, last in lasts.items():
        plain = "bit" if code in BITS else "uint16"
        yield code, 0, 1, plain, "ABCD", "1"
        yield code, 10, 13, plain, "ABCD", "1"
        yield code, last, 1, plain, "ABCD", "1"
        if code in jumps:
            yield code, jumps[code] - 1, 1, plain, "ABCD", "1"
            yield code, jumps[code], 1, plain, "ABCD", "1"
            yield code, jumps[code] - 6, 12, plain, "ABCD", "1"
    for code in (7, 8, 9, 10, 11, 100):
        yield code, 50, 3, "int16", "ABCD", "0.1"
        yield code, 53, 2, "uint16", "BADC", "1"
        for k, order in enumerate(ORDERS):
            for m, wide in enumerate(WIDE):
                yield code, 60 + 6 * k + 2 * m, 1, wide, order, "1"
    for code in (8, 9):
        yield code, 252, 4, "int32", "CDAB", "1"
    for code in (12, 14, 101):
        for k, order in enumerate(ORDERS):
            for m, wide in enumerate(WIDE):
                yield code, 90 + 6 * k + 2 * m, 1, wide, order, "1"
        yield code, 121, 5, "uint32", "ABCD", "1"
    yield 12, 7998, 1, "uint32", "ABCD", "1"
    yield 14, 254, 1, "uint32", "ABCD", "1"
    yield 14, 256, 1, "uint32", "ABCD", "1"
    yield 14, 252, 5, "int32", "ABCD", "0.01"
    yield 14, 1254, 1, "uint32", "ABCD", "1"
    yield 101, 52534, 1, "uint32", "ABCD", "1"
    for element in (0, 55, 56, 555):
        yield DOUBLE, element, 1, "uint32", "ABCD", "1"
    yield DOUBLE, 53, 6, "int32", "ABCD", "1"
    for k, order in enumerate(ORDERS):
        for m, wide in enumerate(WIDE):
            yield DOUBLE, 10 + 3 * k + m, 1, wide, order, "1"
    for code, last in ((15, 7999), (16, 1255), (17, 499), (102, 52535)):
        yield code, 0, 1, "bit", "ABCD", "1"
        yield code, 12 * 16, 16, "bit", "ABCD", "1"
        yield code, 20 * 16 + 5, 40, "bit", "ABCD", "1"
        yield code, last * 16 + 15, 1, "bit", "ABCD", "1"
    for element in (255 * 16 + 15, 256 * 16):
        yield 16, element, 1, "bit", "ABCD", "1"
    yield 16, 255 * 16 + 8, 16, "bit", "ABCD", "1"


def _written_places():
    """The same, of cells that no other of them has, so that the order of the writes does not matter."""
    for code, jump in ((1, 512), (2, 2048), (3, 256), (4, 1024), (5, 256), (6, 256)):
        yield code, jump + 20, 1, "bit", "ABCD", "1"
        yield code, jump - 3, 7, "bit", "ABCD", "1"
    for code in (7, 8, 9, 10, 11, 100):
        yield code, 150, 1, "uint16", "ABCD", "1"
        yield code, 151, 1, "int16", "BADC", "0.1"
        yield code, 152, 5, "uint16", "ABCD", "1"
        yield code, 160, 1, "int32", "CDAB", "1"
        yield code, 162, 2, "float32", "DCBA", "1"
    for code in (8, 9):
        yield code, 250, 4, "uint16", "ABCD", "1"
        yield code, 254, 4, "uint16", "ABCD", "1"
    for code in (12, 14, 101):
        yield code, 170, 1, "uint32", "ABCD", "1"
        yield code, 172, 1, "float32", "ABCD", "1"
        yield code, 174, 3, "int32", "BADC", "0.01"
    yield 14, 258, 2, "uint32", "ABCD", "1"
    yield 14, 262, 1, "uint32", "ABCD", "1"
    yield DOUBLE, 54, 4, "uint32", "ABCD", "1"
    yield DOUBLE, 30, 1, "float32", "ABCD", "1"
    yield DOUBLE, 40, 1, "int32", "CDAB", "1"
    for code in (15, 16, 17, 102):
        yield code, 180 * 16 + 3, 1, "bit", "ABCD", "1"
        yield code, 181 * 16 + 4, 16, "bit", "ABCD", "1"


def tags_of(station):
    tags = []
    for is_written, places in ((False, _read_places()), (True, _written_places())):
        for code, element, count, format, order, scale in places:
            name = "s%d_%s%d_%d" % (station, "w" if is_written else "r", code, len(tags))
            tags.append(Tag(name, code, element, count, format, order, scale, station, is_written))
    return tags


def tag_file(tags, with_station):
    return "name,type,address,station,count,format,order,scale,unit,rw\n" + "".join(
        tag.row(with_station) + "\n" for tag in tags)


def runs_of(tag):
    """The tag's cells as runs without a gap: kind, first number, count."""
    cells = sorted({cell for index in range(tag.count) for cell in tag.cells(index)})
    runs = []
    for kind, number in cells:
        if runs and runs[-1][1] + runs[-1][2] == number:
            runs[-1][2] += 1
        else:
            runs.append([kind, number, 1])
    return runs


def change_written(tags, memories, rng):
    """Gives each cell of the tags that are written a new value; the tags with their raw values."""
    changes = []
    for tag in tags:
        if tag.is_written:
            memory = memories[tag.station]
            raws = [tag.new_raw(memory, index, rng) for index in range(tag.count)]
            for index, raw in enumerate(raws):
                tag.store(memory, index, raw)
            changes.append((tag, raws))
    return changes


def same_value(got, expected):
    """Equal; a float that is none is printed as a text."""
    if isinstance(expected, list):
        return isinstance(got, list) and len(got) == len(expected) and all(map(same_value, got, expected))
    if isinstance(expected, float) and not math.isfinite(expected):
        return isinstance(got, str) and got == ("nan" if math.isnan(expected) else "inf" if expected > 0 else "-inf")
    return not isinstance(got, str) and got == expected
