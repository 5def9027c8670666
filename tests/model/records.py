"""Records that cross the driver's interface, and the text in which the model and the shim both write them."""

from urllib.parse import quote, unquote

FIELDS = ('connectNo', 'varId', 'rwFlag', 'hostWord3', 'panelStation', 'resultCode', 'nameText', 'addrText', 'devType',
          'address', 'station', 'count', 'subIndex', 'hostWord13', 'data')
TEXTS = ('nameText', 'addrText')


class Word:
    """Positions of the words of the settings record that the driver touches."""
    maxBlockLen = 4
    plcStation = 6
    retryLimit = 7
    retryCount = 8
    stationScope = 9
    hostWord10 = 10
    frameTotal = 11
    frameDone = 12
    hostWord13 = 13
    remoteMode = 14
    ownStation = 15
    writeMode = 16
    finishFlag = 17
    channelNo = 18
    number = 19


def hex_text(data):
    """Bytes in hex; '-' for none."""
    return bytes(data).hex() if data else '-'


def bytes_of(text):
    return b'' if text == '-' else bytes.fromhex(text)


def quoted(text):
    """A text in double quotes, percent-encoded, so that it holds neither blank nor comma."""
    return '"%s"' % quote(text, safe='')


def unquoted(text):
    return unquote(text[1:-1])


class Var:
    """RW_VAR: one variable or block to read or write. What is not given is 0 or empty."""
    __slots__ = FIELDS

    def __init__(self, **given):
        for name in FIELDS:
            setattr(self, name, 0)
        self.nameText = self.addrText = ''
        self.data = b''
        for name, value in given.items():
            setattr(self, name, value)

    def copy(self, **changes):
        other = Var.__new__(Var)
        other.assign(self)
        for name, value in changes.items():
            setattr(other, name, value)
        return other

    def assign(self, other):
        for name in FIELDS:
            setattr(self, name, getattr(other, name))

    def text(self):
        return ','.join((quoted(getattr(self, name)) if name in TEXTS else
                         hex_text(self.data) if name == 'data' else str(getattr(self, name))) for name in FIELDS)

    @staticmethod
    def parse(words):
        """The record from its fields as words of a command; None for the word null."""
        if words[0] == 'null':
            return None
        return Var(**{name: (unquoted(word) if name in TEXTS else bytes_of(word) if name == 'data' else int(word))
                      for name, word in zip(FIELDS, words)})


class Pending:
    """Protocol: one request frame that waits for its reply."""
    __slots__ = ('frame', 'frame_len', 'reply_len', 'data_offset', 'data_len', 'var')

    def __init__(self, frame, frame_len, reply_len, data_offset, data_len, var):
        self.frame = bytearray(frame)
        self.frame_len = frame_len
        self.reply_len = reply_len
        self.data_offset = data_offset
        self.data_len = data_len
        self.var = var

    def text(self):
        return '%s|%d,%d,%d,%d|%s|0,0,0' % (hex_text(self.frame), self.frame_len, self.reply_len, self.data_offset,
                                            self.data_len, self.var.text())


class Stored:
    """EXTENDVAR: one value of the keyed store."""
    __slots__ = ('station', 'code', 'address', 'data')

    def __init__(self, station, code, address, data=bytes(2)):
        self.station = station
        self.code = code
        self.address = address
        self.data = bytearray(data)

    def key(self):
        return self.station, self.code, self.address

    def text(self):
        return '%d,%d,%d,%s' % (self.station, self.code, self.address, hex_text(self.data))
