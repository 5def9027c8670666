"""How often the random sequences have met each code, storage mode, format, reply fault, limit and result.

Counted from the calls and from the model's state beside them, not from what the generator meant to do.
"""

from collections import Counter

from device_types import READ_BOUNDS, WRITE_BOUNDS
from inputs import CODES, UNKNOWN_CODES
from limits import met
from records import Word
from replies import BAD_KINDS

MODES = ('one station', 'several')
FORMATS = ('ordinary', 'remote')
SIDES = ('local', 'remote')
BLOCK_LENGTHS = (0, 1, 2, 3, 7, 16, 32, 125)
BUILDERS = ('ReCreatReadVarList', 'AddListOnceReadVar', 'SetRegisterData')
# Where the code stands among the words of a command; the rows of ReCreatReadVarList begin there.
CODE_AT = {'ReCreatReadVarList': 2, 'AddListReadVar': 9, 'AddListOnceReadVar': 10, 'AddListWriteVar': 10,
           'GetRegisterData': 1, 'SetRegisterData': 2, 'PLCAddressChangeIntef': 1}
RESULTS = [0, 1, 100] + [base + 1 + i for base in (10, 40, 70, 110, 140, 170) for i in range(12)]
GOOD_KINDS = ('good', 'passes one short', 'longer buffer', 'broadcast')
ALONE = ('nothing in flight', 'impossible length')
LIMITS = (['write queue full', 'one-shot queue full', 'five writes in a row', 'five one-shot reads in a row',
           'pass complete', 'two frames in a transaction', 'element beyond the area',
           'joined, up to maxBlockLen', 'not joined, one too long', 'bits joined, up to maxBlockLen',
           'bits not joined, one too long', 'cut by length', 'queued write replaced', 'one-shot read queued already',
           'several codes under one key', 'address refused', 'no builder for a read', 'no builder for a write',
           'all stations off']
          + ['read cut at the bound of %d' % code for code in READ_BOUNDS]
          + ['write cut at the bound of %d' % code for code in WRITE_BOUNDS]
          + ['given up after %d repeats' % repeats for repeats in range(4)])


def mode_of(driver):
    return MODES[driver.setting(Word.stationScope) != 0]


class Census:
    def __init__(self):
        self.counts = Counter()

    def call(self, driver, command):
        """A command that is about to be run."""
        name = command.partition(' ')[0]
        self.counts['call', name] += 1
        if name not in CODE_AT or command.endswith(' null'):
            return
        mode = mode_of(driver)
        if name in BUILDERS:
            self.counts['maxBlockLen', driver.setting(Word.maxBlockLen), mode, name] += 1
        at = CODE_AT[name]
        words = command.split(' ')
        for code in words[at::5] if name == 'ReCreatReadVarList' else words[at:at + 1]:
            self.counts['code', int(code), mode, name] += 1

    def turn(self, driver):
        """A request that is about to be asked for, with nothing in flight."""
        if driver.write_list and driver.write_streak >= 5:
            self.counts['limit', 'five writes in a row'] += 1
            if driver.once_list and driver.once_streak >= 5:
                self.counts['limit', 'five one-shot reads in a row'] += 1

    def frame(self, driver, var):
        """The first frame of a transaction."""
        form = FORMATS[driver.setting(Word.remoteMode) != 0]
        self.counts['frame', var.devType, mode_of(driver), form, 'write' if driver.served == 1 else 'read'] += 1

    def reply(self, driver, kind):
        """A reply that is about to be given."""
        if kind in ALONE:
            self.counts['reply', kind] += 1
            return
        form = FORMATS[driver.setting(Word.remoteMode) != 0]
        side = SIDES[driver.pending[0].var.panelStation != driver.setting(Word.ownStation)]
        self.counts['reply', kind, mode_of(driver), form, side] += 1

    def result(self, driver, pending):
        """The result of a reply to a frame, None when there was none."""
        result = driver.result.resultCode
        self.counts['result', result] += 1
        if result == 1 and pending and pending.var.rwFlag == 0 and pending.data_len > 0:
            self.counts['stored', pending.var.devType, mode_of(driver)] += 1

    def take_limits(self):
        for limit, count in met.items():
            self.counts['limit', limit] += count
        met.clear()

    def expected_cells(self):
        """What must not be missing from a census of some thousand sequences."""
        codes = CODES + UNKNOWN_CODES
        for mode in MODES:
            for code in codes:
                # A description's code is a byte.
                yield from (('code', code, mode, name) for name in CODE_AT
                            if name != 'ReCreatReadVarList' or 0 <= code <= 255)
                yield from (('frame', code, mode, 'remote', way) for way in ('read', 'write'))
            yield from (('frame', code, mode, 'ordinary', 'write') for code in CODES if code != 0)
            yield from (('frame', code, mode, 'ordinary', 'read') for code in (*range(12), 13, 100))
            yield from (('stored', code, mode) for code in codes)
            yield from (('maxBlockLen', length, mode, name) for length in BLOCK_LENGTHS for name in BUILDERS)
            yield from (('reply', kind, mode, form, side) for kind in (*sorted(set(BAD_KINDS)), *GOOD_KINDS)
                        for form in FORMATS for side in SIDES)
        yield from (('reply', kind) for kind in ALONE)
        yield from (('result', result) for result in RESULTS)
        yield from (('limit', limit) for limit in LIMITS)

    def gaps(self):
        return [cell for cell in self.expected_cells() if not self.counts[cell]]

    def text(self):
        """One line for each table and row, its columns in order of their names."""
        lines = []
        for table, split in TABLES.items():
            rows = {}
            for key, count in self.counts.items():
                if key[0] == table:
                    rows.setdefault(key[1:split], []).append((key[split:], count))
            lines.append('%s:' % table)
            for row in sorted(rows, key=sortable):
                cells = sorted(rows[row], key=lambda cell: sortable(cell[0]))
                lines.append('  %s: %s' % (', '.join(map(str, row)), ', '.join(
                    ' '.join(map(str, name + (count,))) for name, count in cells)))
        gaps = self.gaps()
        lines.append('not met: %s' % ('; '.join(' '.join(map(str, gap)) for gap in gaps) or 'nothing of %d cells' %
                                      len(list(self.expected_cells()))))
        return '\n'.join(lines)


# How many words of a cell, its table's name included, name the row.
TABLES = {'call': 1, 'code': 2, 'maxBlockLen': 2, 'frame': 2, 'reply': 2, 'stored': 2, 'result': 1, 'limit': 1}


def sortable(words):
    return [(isinstance(word, str), word) for word in words]
