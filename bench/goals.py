"""The goals: what is measured, its unit, the limit (negative: at least that much) and how the figure comes about."""


def instructions(name, base):
    return lambda figures: figures.instructions[name] / figures.instructions[base]


def time(name, base):
    return lambda figures: figures.ns(name) / figures.ns(base)


def counter(name, base, counter_name):
    return lambda figures: figures.counter(name, counter_name) / figures.counter(base, counter_name)


def items(name, base):
    return lambda figures: figures.item_ns(name) / figures.item_ns(base)


FULL = 'transaction/libmodbus/125'
KEYED = 'transaction/driver/keyed/60000'

GOALS = (
    ('instructions per cyclic transaction of 125 registers, of libmodbus\'', '', 0.50,
     instructions('transaction/driver/image/125', FULL)),
    ('the same with 1 register', '', 1.0, instructions('transaction/driver/image/1', 'transaction/libmodbus/1')),
    ('heap allocations per steady cyclic transaction, image mode', 'count', 0,
     lambda figures: figures.allocations['transaction/driver/image']),
    ('the same, keyed mode', 'count', 0, lambda figures: figures.allocations['transaction/driver/keyed']),
    ('CRC of 255 bytes, of libmodbus\' method', '', 0.30, time('crc/driver', 'crc/two-tables')),
    ('keyed transaction, 60,000 values stored against 125', '', 2.0, time(KEYED, 'transaction/driver/keyed/125')),
    ('keyed transaction, 60,000 values stored, of libmodbus\'', '', 3.0, time(KEYED, FULL)),
    ('`GetRegisterData`, 125 words, image mode, of a libmodbus transaction', '', 0.20, time('read/image', FULL)),
    ('the same, keyed mode with 60,000 values', '', 1.5, time('read/keyed/60000', FULL)),
    ('rebuild, each description, 100,000 against 1,000, in order', '', 1.3,
     items('rebuild/0/100000', 'rebuild/0/1000')),
    ('the same, thoroughly mixed', '', 1.3, items('rebuild/1/100000', 'rebuild/1/1000')),
    ('burst of 1,000 `SetRegisterData` calls, each, against the first ten', '', 2.0,
     counter('burst/1000', 'burst/10', 'each_ns')),
    ('rebuild of 1,000 in order, each description, in `QString::toInt`', '', 1.5, items('rebuild/0/1000', 'toInt')),
    ('transactions a second over a pseudo-terminal, `ecpanel`, of libmodbus\'', '', -1.0,
     counter('pty/ecpanel', 'pty/libmodbus', 'per_second')),
    ('CPU per transaction there, of libmodbus\'', '', 0.8,
     counter('pty/ecpanel', 'pty/libmodbus', 'cpu_ns')),
    ('ten lines at 115200 baud, share of one core, blocks of 122 words', ' %', 5,
     lambda figures: figures.counter('host/ten-lines-long', 'percent_of_core')),
    ('the same, blocks of 32 words and a few bits', ' %', 5,
     lambda figures: figures.counter('host/ten-lines', 'percent_of_core')),
    ('resident memory with 10,000 tags above an empty Qt program', ' MB', 16,
     lambda figures: figures.counter('host/memory', 'above_empty_kB') / 1024),
)
