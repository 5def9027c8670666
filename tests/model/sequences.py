"""Random sequences of calls. The model runs along, so that replies can fit the frame in flight."""

from census import Census
from inputs import Draw, Inputs
from model import Model
from records import Word, hex_text, quoted
from replies import Replies

WEIGHTS = {'request': 24, 'reply': 24, 'cycle': 10, 'recreate': 3, 'add_read': 4, 'add_write': 8, 'add_once': 8,
           'repeat': 3, 'get': 10, 'set': 12, 'station': 3, 'setting': 3, 'dump': 4, 'address': 3, 'store': 1,
           'set_up': .6}

SETTINGS_WHILE_RUNNING = ((Word.stationScope, (0, 1)), (Word.remoteMode, (0, 1)), (Word.ownStation, (0, 1, 3)),
                          (Word.maxBlockLen, (0, 1, 2, 3, 7, 16, 32, 125)), (Word.writeMode, (2, 2, 1)),
                          (Word.retryLimit, (0, 1, 2, 3)), (Word.finishFlag, (0, 1)), (Word.frameDone, (0, 1, 2)),
                          (Word.frameTotal, (0, 1, 2, 3)))


class Sequence:
    """Commands, and the model's answers, for one seed. Counts them in a census, if it gets one."""

    def __init__(self, seed, calls, census=None):
        self.seed = seed
        self.census = census or Census()
        self.commands = []
        self.answers = []
        self.model = Model()
        self.random = Draw(seed)
        self.inputs = Inputs(self.random)
        self.replies = Replies(self.random)
        self.last = {}
        self.run('reset')
        self.set_up_driver()
        if self.inputs.chance(.01):
            self.fill_queue()
        self.draw_calls(len(self.commands) + calls)
        self.run('dump')

    @property
    def driver(self):
        return self.model.driver

    def run(self, *words):
        command = ' '.join(map(str, words))
        self.commands.append(command)
        self.census.call(self.driver, command)
        self.answers.append(self.model.run(command))

    def set_word(self, word, choices):
        self.run('word', 1, word, self.random.choice(choices))

    def set_up_driver(self):
        chance = self.inputs.chance
        for record in (1, 2):
            if chance(.3):
                for word in (0, 1, 2, 3, 5, 8, 10, 11, 12, 13, 17):
                    choices = (0, 1) if word == Word.retryCount else (0, 1, 2, 77, -3)
                    self.run('word', record, word, self.random.choice(choices))
        if chance(.97):
            self.run('SetComInfo', 1)
        self.register_callbacks((1,) if chance(.95) else (0, 1))
        self.set_word(Word.maxBlockLen, (0, 1, 2, 3, 7, 16, 32, 32, 125, -1 if chance(.4) else 5))
        self.set_word(Word.plcStation, self.inputs.stations)
        self.set_word(Word.retryLimit, (0, 0, 1, 2, 3))
        self.set_word(Word.stationScope, (0, 0, 1, 1, 2, -1))
        self.set_word(Word.remoteMode, (0, 0, 0, 1, 5))
        self.set_word(Word.ownStation, (0, 1, 3))
        self.set_word(Word.writeMode, (2, 2, 2, 2, 0, 1))
        self.set_word(Word.channelNo, (0, 4))

    def register_callbacks(self, choices):
        self.run('RegistCallBackFuncIntf', self.random.choice(choices), self.random.choice(choices))

    def fill_queue(self):
        """Brings a queue near its limit, and tries to put more into it."""
        write = self.inputs.chance(.5)
        own = self.driver.setting(Word.ownStation)
        for i in range(self.random.choice([1020, 1023, 1024, 1025])):
            self.run('AddListWriteVar' if write else 'AddListOnceReadVar', 1, i % 12, i, int(write), 0, own, 0, '""',
                     '""', 7, i, 1, 1, -1, 0, '0500' if write else '-')
        for _ in range(6):
            if write:
                self.add_write()
            else:
                self.add_once()

    def draw_calls(self, end):
        actions = list(WEIGHTS)
        weights = [weight * self.random.choice((.5, 1, 1, 2)) for weight in WEIGHTS.values()]
        while len(self.commands) < end:
            getattr(self, self.random.choices(actions, weights)[0])()

    # The actions that WEIGHTS names.

    def request(self):
        self.com_communication()
        if self.inputs.chance(.04):
            self.set_word(Word.frameDone, (0, 1, 1, 2))

    def com_communication(self):
        idle = not self.driver.pending
        if idle:
            self.census.turn(self.driver)
        self.run('ComCommunication')
        if idle and self.driver.pending:
            self.census.frame(self.driver, self.driver.pending[0].var)

    def reply(self):
        if not self.driver.pending and self.inputs.chance(.7):
            self.com_communication()
        kind, length, data = self.replies.draw(self.driver)
        pending = self.driver.pending[0] if self.driver.pending else None
        self.census.reply(self.driver, kind)
        self.run('DataCom', length, 'null' if data is None else hex_text(data))
        self.census.result(self.driver, pending)

    def cycle(self):
        for _ in range(self.random.randrange(1, 8)):
            self.com_communication()
            if self.driver.pending or self.inputs.chance(.1):
                self.reply()

    def recreate(self):
        rows = self.inputs.descriptions(self.driver.setting(Word.maxBlockLen))
        self.run('ReCreatReadVarList', len(rows), *(word for row in rows for word in row))

    def add_read(self):
        write = self.inputs.chance(.05)
        var = self.inputs.var(self.driver, write, converted=True)
        self.run('AddListReadVar', 'null' if self.inputs.chance(.02) else var)

    def add_write(self):
        self.add_queued('AddListWriteVar', True)

    def add_once(self):
        self.add_queued('AddListOnceReadVar', self.inputs.chance(.03))

    def add_queued(self, name, write):
        if self.inputs.chance(.01):
            self.run(name, 0, 'null')
        else:
            mode = self.random.choice([0, 0, 1, 1, 2, -1])
            self.run(name, mode, self.inputs.var(self.driver, write, converted=mode == 1))
        self.last[name] = self.commands[-1]

    def repeat(self):
        if self.last:
            self.run(self.random.choice(list(self.last.values())))

    def get(self):
        code = self.inputs.code()
        array = self.inputs.any_bytes(self.random.choice([0, 0, 3, 20]))
        self.run('GetRegisterData', code, quoted(self.inputs.address_text(code)), self.inputs.station(),
                 self.inputs.count(), 'null' if self.inputs.chance(.02) else hex_text(array))

    def set(self):
        code, count = self.inputs.code(), self.inputs.count()
        data = 'null' if self.inputs.chance(.02) else hex_text(self.inputs.values(code, count))
        self.run('SetRegisterData', self.inputs.name(), code, quoted(self.inputs.address_text(code)),
                 self.inputs.station(), data, count, self.inputs.connection(), self.random.choice([0, 1, 2, 3]))
        self.last['SetRegisterData'] = self.commands[-1]

    def station(self):
        station = self.inputs.station() if self.inputs.chance(.8) else self.random.choice([-1, -5])
        self.run('EnCommStation', station, self.random.choice([0, 0, 1, 1, 7, -1]))

    def setting(self):
        choices = SETTINGS_WHILE_RUNNING + ((Word.plcStation, self.inputs.stations),)
        self.set_word(*self.random.choice(choices))

    def dump(self):
        self.run('dump')

    def address(self):
        code = self.inputs.code()
        self.run('PLCAddressChangeIntef', code, quoted(self.inputs.address_text(code)))

    def store(self):
        """Changes the keyed store behind the driver's back."""
        value = (self.inputs.station(), self.random.choice(self.inputs.favourites + [7, 8, 2, 13]),
                 self.random.choice([0, 8, 1, 2, 16, 3]),
                 hex_text(self.inputs.any_bytes(self.random.choice([0, 1, 2, 2, 3, 4]))))
        action = self.random.choice(('add', 'add', 'set', 'remove'))
        if action == 'add':
            self.run('store add', *value)
        elif action == 'set':
            self.run('store set', self.random.randrange(4), *value)
        elif self.inputs.chance(.8):
            self.run('store remove', self.random.randrange(4))
        else:
            self.run('store clear')

    def set_up(self):
        action = self.random.randrange(4)
        if action == 0:
            self.run('QueryFinishFlag')
        elif action == 1:
            self.run('FlashLocalRegister', *(self.random.randrange(1 << 40) for _ in range(3)))
        elif action == 2:
            self.run('SetComInfo', self.random.choice([1, 1, 2, 2, 0]))
        else:
            self.register_callbacks((0, 1))
