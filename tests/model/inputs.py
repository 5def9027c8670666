"""Random arguments, near the bounds of the tables more often than not, and usable ones more often than not."""

from random import Random

from device_types import BITS, SPECIAL, WORD_BITS, base_type, element_address
from records import Word, hex_text, quoted

CODES = [*range(18), 100, 101, 102]
UNKNOWN_CODES = [18, 55, 99, 103, 255, -1]
# Element addresses about the bound at which a block is cut.
NEAR_BOUND = {2: [2040, 2047, 2048, 2050], 3: [240, 248, 255, 256], 4: [1016, 1023, 1024], 5: [248, 255, 256],
              6: [248, 255, 256], 8: [250, 255, 256], 9: [250, 255, 256], 13: [50, 55, 56], 14: [250, 254, 255, 256],
              16: [250, 255, 256]}
NEAR_AREA_END = [65533, 65534, 65535, 65536, 524279, 524272, 524280]
ODD_TEXTS = ['', 'abc', '-5', '1.2.3', '10', '10.3', '18', 'x.3', '12.', '.5', '.', '1.20', '199', '150', ' 7', '7 ',
             '+9', '0x10', '1e2', '99999999999', '2147483647.1', '134217728.0', '-1.3', '-1.20', '- 5', '5-', '3.x',
             '007', '-0', '19', 'é']
# Bytes to write: mostly what a bit can be, and what only looks like one.
LIKELY_VALUES = bytes((0, 1, 1, 0, 2, 255, value)[value % 7] for value in range(256))
NAMES = ['', 'a', 'tag', 'Ünï']


def text_of(code, address):
    """The address text of an element address, which is not negative."""
    if code in WORD_BITS:
        return '%d.%d' % (address // 16, address % 16)
    if code in (0, 1):
        return '%o' % address
    return str(address + 200 if code == SPECIAL else address)


class Draw(Random):
    """Chooses with one multiplication, which is four times as fast; the bias of that is of no weight here."""

    def choice(self, seq):
        return seq[int(self.random() * len(seq))]

    def randrange(self, start, stop=None):
        if stop is None:
            start, stop = 0, start
        return start + int(self.random() * (stop - start))


class Inputs:
    """Draws from a Draw. The habits are those of one sequence."""

    def __init__(self, random):
        self.random = random
        self.favourite_share = random.choice([0, 0, .6, .9])
        self.favourites = random.sample(CODES, random.choice([1, 2, 3]))
        self.stations = random.choice([[1], [1, 2], [0, 1], [1, 2, 3, 0], [1, 255, 0, 300, 256]])
        self.local_share = random.choice([1, 1, .8, .3])
        self.sub_index = random.choice([0, -1])
        self.connections = [random.randrange(-1, 14) for _ in range(random.randrange(1, 5))]
        self.unknown_share = random.choice([.01, .01, .02, .1, .3])

    def chance(self, share):
        return self.random.random() < share

    def code(self, one_byte=False):
        if self.chance(self.favourite_share):
            return self.random.choice(self.favourites)
        if self.chance(self.unknown_share):
            code = self.random.choice(UNKNOWN_CODES)
            return code & 255 if one_byte else code
        return self.random.choice(CODES)

    def address(self, code):
        draw = self.random.random()
        if draw < .55:
            return self.random.randrange(40)
        if draw < .85 and code in NEAR_BOUND:
            return self.random.choice(NEAR_BOUND[code]) + self.random.choice((0, 0, 0, -1, 1, -8, 8))
        if draw < .92:
            return self.random.choice(NEAR_AREA_END)
        return self.random.randrange(3000)

    def address_text(self, code):
        if self.chance(.06):
            return self.random.choice(ODD_TEXTS)
        address = self.address(code)
        if code in WORD_BITS:
            if self.chance(.3):
                address = self.random.choice([250, 255, 256, 15, 16, 17, 31, 32, 4095, 65534, 65535])
            return '%d.%d' % (address, self.random.choice([0, 1, 3, 7, 8, 15, 14, 15, 16, 20]))
        return text_of(code, address)

    def descriptions(self, longest):
        """Rows of a cyclic list. Some begin where the one before ends, and some of these end where a block must."""
        rows = []
        address = 0
        for _ in range(0 if self.chance(.08) else self.random.randrange(1, 14)):
            if rows and self.chance(.3):
                code, station, _, _, length = rows[-1]
                start = address
                address = max(start + length + self.random.choice((0, 0, 0, 1, 2, 7)), 0)
                limit = longest * 8 if code in BITS else longest
                count = start + limit - address + self.random.choice((-1, 0, 0, 1)) if self.chance(.6) else self.count()
                text = text_of(code, address)
            else:
                code, station, count = self.code(one_byte=True), self.station() & 255, self.count()
                text = self.address_text(code)
                address = max(element_address(code, text), 0)
            rows.append((code, station, quoted(text), self.name(), count))
        return rows

    def count(self):
        draw = self.random.random()
        if draw < .3:
            return 1
        if draw < .75:
            return self.random.randrange(1, 9)
        if draw < .9:
            return self.random.randrange(41)
        if draw < .91:
            return self.random.choice([0, 0, -1, -2, -3, -4, -5, -6, -7, -8, -9, -17])
        return self.random.randrange(40, 300)

    def name(self):
        return quoted(self.random.choice(NAMES))

    def connection(self):
        return self.random.choice(self.connections)

    def station(self):
        return self.random.choice(self.stations)

    def any_bytes(self, length):
        return self.random.getrandbits(8 * length).to_bytes(length, 'little') if length else b''

    def values(self, code, count):
        """Bytes for count elements; at times too few, none or too many."""
        size = 1 if 0 <= code <= 6 or code in WORD_BITS else 4 if code == SPECIAL else 2
        length = max(count, 0) * size
        draw = self.random.random()
        if .6 <= draw < .8:
            length = max(0, length - self.random.randrange(5))
        elif .8 <= draw < .9:
            length = 0
        elif draw >= .9:
            length += self.random.randrange(4)
        return self.any_bytes(length).translate(LIKELY_VALUES)

    def var(self, driver, write, converted=False):
        """A record as words of a command. A converted one is a request as it stands: its code should have a builder."""
        choice = self.random.choice
        code, count = self.code(), self.count()
        ordinary = driver.setting(Word.remoteMode) == 0
        if converted and ordinary and not write and code in CODES and self.chance(.9):
            code = base_type(code)
        address = self.address(code) if self.chance(.93) else -choice([1, 2, 5, 8, 9, 16, 17, 300])
        if code in WORD_BITS and self.chance(.8):
            address = address * 16 + self.random.randrange(16)
        flag = int(write) if self.chance(.93) else choice([0, 1, 2, -1])
        sub_index = choice([0, 0, -1, -1, 3]) if self.chance(.5) else self.sub_index
        own = driver.setting(Word.ownStation)
        panel = own if self.chance(self.local_share) else own + choice([1, 5])
        data = self.values(code, count) if write or self.chance(.1) else b''
        fields = (self.connection(), choice([0, 1, 2, 3, -1]), flag, choice([0, 7]), panel, choice([0, 9]), self.name(),
                  quoted(self.address_text(code)), code, address, self.station(), count, sub_index,
                  choice([0, 0x12345678, -2]), hex_text(data))
        return ' '.join(map(str, fields))
