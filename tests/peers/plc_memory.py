"""The PLC's memory by Modbus number, and where each device type lies in it.

Written from docs/device-types.md; nothing here comes from the driver, the host or the simulated PLC.
"""
import random

# Elements from the first one on lie at element + offset; code 13 counts pairs of registers: (element + offset) * 2.
OFFSETS = {
    0: [(0, 1200)], 1: [(0, 0)],
    2: [(0, 2000), (2048, 9952)], 3: [(0, 4400), (256, 29744)], 4: [(0, 6000), (1024, 29976)],
    5: [(0, 8000), (256, 10744)], 6: [(0, 9200), (256, 9744)],
    7: [(0, 0)], 8: [(0, 8000), (256, 11744)], 9: [(0, 9000), (256, 10744)], 10: [(0, 9500)], 11: [(0, 8500)],
    13: [(0, 4850), (56, 4944)], 100: [(0, 13000)],
}
WORDS_OF = {12: 7, 14: 8, 15: 7, 16: 8, 17: 11, 101: 100, 102: 100}
BITS = range(0, 7)
BITS_IN_WORDS = (15, 16, 17, 102)
DOUBLE = 13

# What the PLC has; the first and last number of each run. Between two of them it has nothing.
COIL_RUNS = [(0, 4047), (4400, 4655), (6000, 7023), (8000, 8255), (9200, 9455), (10000, 65535)]
REGISTER_RUNS = [(0, 8255), (8500, 9255), (9500, 9811), (10000, 65535)]
RUNS = {"coils": COIL_RUNS, "registers": REGISTER_RUNS}


def modbus_number(code, element):
    """The coil or (first) register of an element; of the word, for codes that look at words of another one."""
    code = WORDS_OF.get(code, code)
    offset = [offset for first, offset in OFFSETS[code] if element >= first][-1]
    return (element + offset) * 2 if code == DOUBLE else element + offset


def address_text(code, element):
    if code in (0, 1):
        return "%o" % element
    if code in BITS_IN_WORDS:
        return "%d.%d" % divmod(element, 16)
    return str(element + 200 if code == DOUBLE else element)


class Memory:
    """All coils and registers of a station."""

    def __init__(self, seed):
        rng = random.Random(seed)
        self.coils = {number: rng.getrandbits(1) for number in numbers(COIL_RUNS)}
        self.registers = {number: rng.getrandbits(16) for number in numbers(REGISTER_RUNS)}

    def copy(self):
        other = Memory.__new__(Memory)
        other.coils, other.registers = dict(self.coils), dict(self.registers)
        return other

    def copy_of(self, cells):
        """Only some of the registers, each ("registers", number)."""
        other = Memory.__new__(Memory)
        other.coils, other.registers = {}, {number: self.registers[number] for _, number in cells}
        return other

    def runs(self):
        """Each run as its kind of cells, its first number and its values."""
        for kind, runs in RUNS.items():
            cells = getattr(self, kind)
            for first, last in runs:
                yield kind, first, [cells[number] for number in range(first, last + 1)]

    def text(self):
        """A line a run: coils or registers, the first number, the values."""
        return "".join("%s %d %s\n" % (kind, first, " ".join(map(str, values))) for kind, first, values in self.runs())

    def toml(self, station):
        """The same, as the simulated PLC takes it."""
        lines = ["[[station]]", "number = %d" % station]
        for kind in RUNS:
            lines.append("[station.%s]" % kind)
            for of_run, first, values in self.runs():
                if of_run == kind:
                    shown = [("false", "true")[value] for value in values] if kind == "coils" else map(str, values)
                    lines.append("%d = [%s]" % (first, ", ".join(shown)))
        return "\n".join(lines) + "\n"


def numbers(runs):
    return [number for first, last in runs for number in range(first, last + 1)]
