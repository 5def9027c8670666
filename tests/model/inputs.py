"""Random arguments, near the bounds of the tables more often than not, and usable ones more often than not."""

from arithmetic import crc
from device_types import SPECIAL, WORD_BITS
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
NAMES = ['', 'a', 'tag', 'Ünï']


class Inputs:
    """Draws from a Random; looks at the state to answer the frame in flight. The habits are those of one sequence."""

    def __init__(self, random):
        self.random = random
        self.favourite_share = random.choice([0, 0, .6, .9])
        self.favourites = random.sample(CODES, random.choice([1, 2, 3]))
        self.stations = random.choice([[1], [1, 2], [0, 1], [1, 2, 3, 0], [1, 255, 0, 300, 256]])
        self.local_share = random.choice([1, 1, .8, .3])
        self.sub_index = random.choice([0, -1])
        self.good_share = random.choice([.95, .8, .5, .2])

    def chance(self, share):
        return self.random.random() < share

    def code(self, one_byte=False):
        if self.chance(self.favourite_share):
            return self.random.choice(self.favourites)
        if self.chance(.12):
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
        if code in (0, 1):
            return '%o' % address
        return str(address + 200 if code == SPECIAL else address)

    def count(self):
        draw = self.random.random()
        if draw < .3:
            return 1
        if draw < .75:
            return self.random.randrange(1, 9)
        if draw < .9:
            return self.random.randrange(41)
        if draw < .94:
            return self.random.choice([0, 0, -1, -2, -3, -4, -5, -6, -7, -8, -9, -17])
        return self.random.randrange(40, 300)

    def name(self):
        return quoted(self.random.choice(NAMES))

    def connection(self):
        return self.random.choice([0, 0, 1, 2, 11, 12, 15, -1, 5])

    def station(self):
        return self.random.choice(self.stations)

    def any_bytes(self, length):
        return bytes(self.random.randrange(256) for _ in range(length))

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
        return bytes(self.random.choice((0, 1, 1, 0, 2, 255, self.random.randrange(256))) for _ in range(length))

    def var(self, driver, write):
        """A record as words of a command."""
        choice = self.random.choice
        code, count = self.code(), self.count()
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

    def reply(self, driver):
        """(length, bytes) for the frame in flight, good or bad."""
        if not driver.pending:
            data = self.any_bytes(self.random.randrange(9))
            return len(data), data
        pending = driver.pending[0]
        if self.chance(self.good_share):
            return self.good_reply(pending)
        return self.bad_reply(pending)

    def reply_of(self, pending, length):
        head = bytes([pending.frame[0], pending.frame[1], max(pending.data_len, 0) & 255])
        values = bytes(self.random.choice((0, 1, 255, self.random.randrange(256))) for _ in range(max(length, 5)))
        body = (head + values)[:max(length - 2, 0)]
        return body + crc(body[:length - 2 & 0xFFFF] if length >= 2 else b'').to_bytes(2, 'little')

    def any_length(self):
        return self.random.choice([2, 3, 5, 6, 8, 9, 20])

    def good_reply(self, pending):
        length = pending.reply_len
        if length == 0:
            return 0, b''
        if length < -1 or length == 1:
            return length, bytes(self.random.randrange(4))
        if length == -1:
            length = self.any_length()
        data = self.reply_of(pending, length)
        draw = self.random.random()
        if draw < .06:
            # One byte short of its length, which passes where the CRC's high byte is 0.
            for _ in range(1500):
                if data[-1] == 0:
                    break
                data = self.reply_of(pending, length)
            return len(data), data[:-1]
        if draw < .12:
            return len(data), data + bytes(self.random.randrange(1, 4))
        return len(data), data

    def bad_reply(self, pending):
        length = pending.reply_len if pending.reply_len != -1 else self.any_length()
        data = self.reply_of(pending, length if length >= 2 else 5)
        kind = self.random.choice(('none', 'none', 'none', 'swapped', 'short', 'long', 'one missing', 'two missing',
                                   'flipped', 'odd length'))
        if kind == 'none':
            return 0, b'' if self.chance(.8) else b'abc'
        if kind == 'swapped':
            data = data[:-2] + data[:-3:-1]
        elif kind == 'short':
            data = data[:-1]
        elif kind == 'long':
            data += b'\0'
        elif kind == 'one missing':
            return len(data), data[:-1]
        elif kind == 'two missing':
            return len(data), data[:-2]
        elif kind == 'flipped':
            at = self.random.randrange(len(data))
            data = data[:at] + bytes([data[at] ^ 1 << self.random.randrange(8)]) + data[at + 1:]
        else:
            return self.random.choice([-1, -2, 1, 2, 3, -5]), data[:self.random.randrange(len(data) + 1)]
        return len(data), data
