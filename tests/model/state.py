"""All that the driver remembers."""

from limits import met
from records import Stored, Var, Word

AREA_ELEMENTS = 65535
AREA_CODES = (0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 13, 100)

SERVED_CYCLIC, SERVED_WRITE, SERVED_ONCE, SERVED_NONE = 0, 1, 2, 100


class State:
    """The driver as if just loaded."""

    def __init__(self):
        # Two records of the host's; the first stands in for them while the host has given none.
        self.records = [[0] * Word.number for _ in range(3)]
        self.given = 0
        self.host_pointers = (0, 0, 0)
        self.wants_done = self.wants_fail = 0
        self.calls = ''
        self.disabled = {}

        self.read_list = []
        self.write_list = []
        self.once_list = []
        self.pending = []
        self.result = Var()
        self.served = SERVED_NONE
        self.write_streak = self.once_streak = self.pass_count = 0
        self.failed = False

        self.areas = {code: {} for code in AREA_CODES}
        self.store = []
        self.store_index = None

    def setting(self, word):
        return self.records[self.given][word]

    def set_setting(self, word, value):
        self.records[self.given][word] = value

    def call_done(self, connect_no, var_id, status):
        if self.wants_done:
            self.calls += 'done(%d,%d,%d,%d)' % (self.setting(Word.channelNo), connect_no, var_id, status)

    def call_fail(self, connect_no):
        if self.wants_fail:
            self.calls += 'fail(0,%d,1)' % connect_no

    def element(self, area, index):
        """Outside its area an element reads as 0."""
        return self.areas[area].get(index, 0) if 0 <= index < AREA_ELEMENTS else 0

    def set_element(self, area, index, value):
        if 0 <= index < AREA_ELEMENTS:
            self.areas[area][index] = value
        else:
            met['element beyond the area'] += 1

    def keyed(self, station, code, address):
        """The first value of the keyed store with this key; a new one at its end when there is none."""
        if self.store_index is None:
            self.store_index = {}
            for value in self.store:
                self.store_index.setdefault(value.key(), value)
        key = station, code, address
        if key not in self.store_index:
            self.store_index[key] = Stored(*key)
            self.store.append(self.store_index[key])
        return self.store_index[key]
