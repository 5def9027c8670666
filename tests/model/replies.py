"""Replies to the frame in flight: the one a station would send, and every way in which it can be wrong.

A reply is (kind, length, bytes): what it is, how many bytes the host says it has, and the buffer, None for no buffer.
"""

from arithmetic import crc

GOOD = 'good'
BAD_KINDS = ('time-out', 'time-out', 'time-out', 'time-out with bytes', 'CRC swapped', 'CRC wrong', 'bit flipped',
             'one byte short', 'one byte long', 'last byte missing', 'last two missing', 'odd length', 'exception',
             'echo', 'other station', 'earlier reply', 'no buffer')
# Mostly 0, 1 and 255: the values at which bits and masks go wrong.
LIKELY_VALUES = bytes((0, 1, 255, value)[value % 4] for value in range(256))


def sealed(body):
    """The CRC is over as many bytes as its 16-bit length can tell."""
    return body + crc(body[:len(body) & 0xFFFF]).to_bytes(2, 'little')


class Replies:
    def __init__(self, random):
        self.random = random
        self.good_share = random.choice((.95, .8, .5, .2))
        self.earlier = b'\1\3\2\0\0\xb8\x44'

    def bytes(self, length):
        return self.random.getrandbits(8 * length).to_bytes(length, 'little') if length else b''

    def values(self, length):
        values = self.bytes(length)
        return values.translate(LIKELY_VALUES) if self.random.random() < .5 else values

    def draw(self, driver):
        if not driver.pending:
            data = self.bytes(self.random.randrange(9))
            return 'nothing in flight', len(data), data
        pending = driver.pending[0]
        if self.random.random() < self.good_share:
            return self.good(pending)
        kind = self.random.choice(BAD_KINDS)
        return (kind,) + self.bad(kind, pending)

    def expected(self, pending):
        """A reply with the right CRC, of the length that is expected, or of any where all are."""
        length = pending.reply_len
        if length == -1:
            length = self.random.choice((2, 3, 5, 6, 8, 9, 20))
        if length < 2:
            length = 5
        body = pending.frame[:2] + bytes([max(pending.data_len, 0) & 255])
        return sealed(bytes(body[:length - 2]) + self.values(max(length - 5, 0)))

    def good(self, pending):
        length = pending.reply_len
        if length == 0:
            return 'broadcast', 0, b''
        if length < -1 or length == 1:
            return 'impossible length', length, bytes(self.random.randrange(4))
        data = self.expected(pending)
        draw = self.random.random()
        if draw < .06 and len(data) > 2 and len(data) <= 0xFFFF:
            # The driver takes the byte that the buffer lacks for 0: the reply passes where its CRC ends in 0.
            start = data[:-3]
            return 'passes one short', len(data), sealed(start + bytes([crc(start) & 255]))[:-1]
        if draw < .12:
            return 'longer buffer', len(data), data + bytes(self.random.randrange(1, 4))
        self.earlier = data
        return GOOD, len(data), data

    def bad(self, kind, pending):
        data = self.expected(pending)
        length = len(data)
        if kind == 'time-out':
            return 0, b''
        if kind == 'time-out with bytes':
            return 0, b'abc'
        if kind == 'no buffer':
            return self.random.choice((0, 1, length)), None
        if kind == 'odd length':
            return self.random.choice((-1, -2, 1, 2, 3, -5)), data[:self.random.randrange(length + 1)]
        if kind in ('last byte missing', 'last two missing'):
            return length, data[:-1 if kind == 'last byte missing' else -2]
        data = self.spoilt(kind, pending, data)
        return len(data), data

    def spoilt(self, kind, pending, data):
        if kind == 'CRC swapped':
            return data[:-2] + data[:-3:-1]
        if kind == 'CRC wrong':
            return data[:-2] + self.bytes(2)
        if kind == 'bit flipped':
            at = self.random.randrange(len(data))
            return data[:at] + bytes([data[at] ^ 1 << self.random.randrange(8)]) + data[at + 1:]
        if kind == 'one byte short':
            return data[:-1]
        if kind == 'one byte long':
            return data + b'\0'
        if kind == 'exception':
            return sealed(bytes([pending.frame[0], pending.frame[1] | 128, self.random.choice((1, 2, 3, 4, 6))]))
        if kind == 'echo':
            return bytes(pending.frame)
        if kind == 'other station':
            return sealed(bytes([data[0] ^ 3]) + data[1:-2] if len(data) > 2 else b'')
        return self.earlier
