"""Records that cross the driver's interface, and the text in which the model and the shim both write them."""

from functools import lru_cache
from urllib.parse import quote, unquote

FIELDS = ('connectNo', 'varId', 'rwFlag', 'hostWord3', 'panelStation', 'resultCode', 'nameText', 'addrText', 'devType',
          'address', 'station', 'count', 'subIndex', 'hostWord13', 'data')


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
    return data.hex() if data else '-'


def bytes_of(text):
    return b'' if text == '-' else bytes.fromhex(text)


@lru_cache(maxsize=100000)
def quoted(text):
    """A text in double quotes, percent-encoded, so that it holds neither blank nor comma."""
    return '"%s"' % quote(text, safe='')


@lru_cache(maxsize=100000)
def unquoted(text):
    return unquote(text[1:-1])


class Var:
    """RW_VAR: one variable or block to read or write. What is not given is 0 or empty."""
    __slots__ = FIELDS

    def __init__(self, connectNo=0, varId=0, rwFlag=0, hostWord3=0, panelStation=0, resultCode=0, nameText='',
                 addrText='', devType=0, address=0, station=0, count=0, subIndex=0, hostWord13=0, data=b''):
        self.connectNo = connectNo
        self.varId = varId
        self.rwFlag = rwFlag
        self.hostWord3 = hostWord3
        self.panelStation = panelStation
        self.resultCode = resultCode
        self.nameText = nameText
        self.addrText = addrText
        self.devType = devType
        self.address = address
        self.station = station
        self.count = count
        self.subIndex = subIndex
        self.hostWord13 = hostWord13
        self.data = data

    def fields(self):
        return (self.connectNo, self.varId, self.rwFlag, self.hostWord3, self.panelStation, self.resultCode,
                self.nameText, self.addrText, self.devType, self.address, self.station, self.count, self.subIndex,
                self.hostWord13, self.data)

    def copy(self, **changes):
        other = Var(*self.fields())
        for name, value in changes.items():
            setattr(other, name, value)
        return other

    def assign(self, other):
        self.__init__(*other.fields())

    def text(self):
        return '%d,%d,%d,%d,%d,%d,%s,%s,%d,%d,%d,%d,%d,%d,%s' % (
            self.connectNo, self.varId, self.rwFlag, self.hostWord3, self.panelStation, self.resultCode,
            quoted(self.nameText), quoted(self.addrText), self.devType, self.address, self.station, self.count,
            self.subIndex, self.hostWord13, hex_text(self.data))

    @staticmethod
    def parse(words):
        """The record from its fields as words of a command; None for the word null."""
        if words[0] == 'null':
            return None
        return Var(*map(int, words[:6]), unquoted(words[6]), unquoted(words[7]), *map(int, words[8:14]),
                   bytes_of(words[14]))


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
