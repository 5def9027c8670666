"""Arguments that no host gives: the only answer asked for is that the driver lives on."""

from random import Random

from arithmetic import INT_MAX, INT_MIN
from device_types import WORD_BITS
from inputs import CODES, UNKNOWN_CODES
from records import Word, quoted

EXTREMES = [INT_MAX, INT_MIN, INT_MIN + 1, INT_MAX - 1, 2**30, -2**30, 65535, 65536, -65536, 1048576, 1048577,
            134217727, 134217728, 268435455, 268435456, 0, 1, -1, -2, -5, -8, 7, 8, 100, 524280, 65534, 32768, -6,
            INT_MAX - 7, INT_MAX - 199, 700000]

WEIGHTS = {'cycle': 10, 'add_read': 5, 'add_write': 6, 'add_once': 4, 'set': 6, 'get': 6, 'recreate': 2, 'setting': 2,
           'store': 1, 'dump': 1, 'station': 1}


class Hostile:
    def __init__(self, seed, calls):
        self.random = Random(seed)
        self.commands = []
        self.set_up()
        while len(self.commands) < calls:
            getattr(self, self.random.choices(list(WEIGHTS), list(WEIGHTS.values()))[0])()

    def run(self, *words):
        self.commands.append(' '.join(map(str, words)))

    def number(self):
        if self.random.random() < .6:
            return self.random.choice(EXTREMES)
        return self.random.randrange(-20, 300)

    def count(self):
        return self.number() if self.random.random() < .5 else self.random.randrange(20)

    def code(self):
        if self.random.random() < .9:
            return self.random.choice(CODES)
        return self.random.choice(UNKNOWN_CODES + [INT_MAX, INT_MIN])

    def text(self, code):
        value = abs(self.number())
        if code in WORD_BITS:
            return quoted('%d.%d' % (self.random.choice([value, value // 16]), self.random.choice([0, 3, 15, value])))
        if code in (0, 1):
            return quoted('%o' % value)
        return quoted(str(self.random.choice([value, value + 200, INT_MAX])))

    def data(self):
        return 'ab' * self.random.choice([0, 0, 1, 2, 4, 8, 300]) or '-'

    def var(self):
        choice, number = self.random.choice, self.number
        code = self.code()
        return (number(), number(), choice([0, 0, 1, 1, 2]), 0, choice([0, 0, 5]), number(), '""', self.text(code),
                code, number(), choice([0, 1, 1, 1, number()]), self.count(), choice([0, -1, -1]), number(),
                self.data())

    def set_up(self):
        choice = self.random.choice
        self.run('reset')
        self.run('SetComInfo', choice([1, 1, 1, 1, 0]))
        self.run('RegistCallBackFuncIntf', 1, 1)
        for word, choices in ((Word.maxBlockLen, (self.number(), 32, 32, 1, 0, 125)),
                              (Word.plcStation, (1, 1, self.number())), (Word.retryLimit, (0, 1, 2, INT_MAX)),
                              (Word.stationScope, (0, 1)), (Word.remoteMode, (0, 0, 1)), (Word.ownStation, (0,)),
                              (Word.writeMode, (2, 2, 2, 0)), (Word.retryCount, (0, 0, INT_MAX, INT_MIN)),
                              (Word.frameDone, (0, INT_MAX)), (Word.frameTotal, (0, INT_MAX))):
            self.run('word', 1, word, choice(choices))

    # The actions that WEIGHTS names.

    def cycle(self):
        self.run('ComCommunication')
        if self.random.random() < .05:
            word = self.random.choice((Word.retryLimit, Word.retryCount, Word.frameTotal, Word.frameDone,
                                       Word.finishFlag))
            self.run('word', 1, word, self.random.choice([INT_MAX, INT_MIN, 0, 1]))
        self.run('reply', self.random.choice([0, 0, 0, 0, 10, 1, 2, 3, 4, 5, 6, 7, 8, 9]))

    def add_read(self):
        self.run('AddListReadVar', *self.var())

    def add_write(self):
        self.run('AddListWriteVar', self.random.choice([0, 0, 1]), *self.var())

    def add_once(self):
        self.run('AddListOnceReadVar', self.random.choice([0, 0, 1]), *self.var())

    def set(self):
        code = self.code()
        self.run('SetRegisterData', '""', code, self.text(code), self.number(), self.data(), self.count(),
                 self.number(), self.number())

    def get(self):
        code = self.code()
        self.run('GetRegisterData', code, self.text(code), self.number(), self.count(), self.data())

    def recreate(self):
        rows = []
        for _ in range(self.random.randrange(1, 6)):
            code = self.code() & 255
            rows.append((code, self.random.choice([0, 1, 255]), self.text(code), '""', self.count()))
        self.run('ReCreatReadVarList', len(rows), *(word for row in rows for word in row))

    def setting(self):
        word = self.random.choice((Word.maxBlockLen, Word.stationScope, Word.remoteMode, Word.writeMode,
                                   Word.plcStation))
        self.run('word', 1, word, self.random.choice([0, 1, 2, self.number()]))

    def store(self):
        value = '1 7 %d %s' % (self.number(), self.random.choice(['-', '00', '0102', '010203']))
        self.run('store', self.random.choice(['add ' + value, 'clear', 'remove 0']))

    def dump(self):
        """Its size only: there may be a million elements."""
        self.run('dumpSize')

    def station(self):
        self.run('EnCommStation', self.number(), self.random.choice([0, 1]))
