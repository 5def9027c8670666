"""Sequences for the edges of the rules, one edge each."""

from random import Random

from arithmetic import crc, with_crc
from device_types import WORD_BITS, base_type
from inputs import CODES, UNKNOWN_CODES
from records import hex_text, quoted
from shim import expected_answers

ALL_CODES = CODES + UNKNOWN_CODES


def made_up_reply(length):
    """DataCom with a reply whose CRC is right, as far as it has room for one."""
    random = Random(length)
    body = bytes(random.randrange(256) for _ in range(max(length - 2, 0)))
    reply = with_crc(body[:max(length - 2, 0) & 0xFFFF])[-2:]
    return 'DataCom %d %s' % (length, hex_text(body + reply) if length >= 2 else '-')


def one_short_reply(length):
    """DataCom with a reply whose last byte is missing, which passes because it would be 0."""
    start = bytes(range(1, length - 2))
    reply = with_crc(start + bytes([crc(start) & 255]))
    return 'DataCom %d %s' % (length, hex_text(reply[:-1]))


def record(write=0, panel=0, code=7, address=0, count=1, sub_index=0, data='-', text='', station=1):
    return '0 1 %d 0 %d 0 "" %s %d %d %d %d %d 0 %s' % (
        write, panel, quoted(text), code, address, station, count, sub_index, data)


def read(**fields):
    return 'AddListReadVar ' + record(**fields)


def write(**fields):
    return 'AddListWriteVar 0 ' + record(write=1, **fields)


def sequence(*commands, longest=32, several=0, remote=0):
    settings = ((4, longest), (6, 1), (9, several), (14, remote), (16, 2))
    return ['reset', 'SetComInfo 1', 'RegistCallBackFuncIntf 1 1',
            *('word 1 %d %d' % setting for setting in settings), *commands, 'dump']


def long_replies(several):
    """Counts that the frame cuts to 16 bits, and the lengths that follow from negative ones."""
    for count in (-1, 32768, 65535, 65536, 65537, 100):
        answer = made_up_reply(2 * (count & 0xFFFF) + 5)
        yield sequence(read(count=count), 'ComCommunication', answer, several=several)
        yield sequence(read(count=count, panel=5, sub_index=-1), 'ComCommunication', answer, several=several)
    for count in (-1, 16384, 32768, 3):
        answer = made_up_reply(2 * (2 * (count & 0xFFFF) & 0xFFFF) + 5)
        yield sequence(read(code=13, count=count), 'ComCommunication', answer, several=several)
    for count in (8192, 65535, 70000, -5, -6, -4, -3, -7):
        for length in (count + 5, 0, 1, 2, 3, 5, -1, 8):
            yield sequence(read(code=2, count=count), 'ComCommunication', made_up_reply(length), several=several)


def remote_replies(several):
    for code in (0, 1, 2, 6, 7, 12, 13, 15, 100, 101, 102, 55, -1):
        for count in (-3, -2, -1, 5, -6, -5):
            for sub_index in (0, -1):
                yield sequence(read(code=code, count=count, sub_index=sub_index, panel=3), 'ComCommunication',
                               *map(made_up_reply, (5, 20, 2, 0)), several=several, remote=1)
    # Acknowledgements that reach the image, with an empty keyed store and with one that is not.
    for code in ALL_CODES:
        queued = write(code=code, address=33, count=2, sub_index=-1, panel=3, data='01020304')
        polled = read(code=code, address=5, count=3, sub_index=-1, panel=3)
        yield sequence(queued, 'ComCommunication', made_up_reply(8), polled, 'ComCommunication', made_up_reply(11),
                       several=several, remote=1)
        yield sequence(queued, 'ComCommunication', made_up_reply(8), several=several)
        yield sequence(polled, 'ComCommunication', *map(made_up_reply, (8, 11, 17)), several=several)


def replies_over_values(several):
    """Replies short and whole, and acknowledgements, where the image has something to lose."""
    for code in ALL_CODES:
        base = base_type(code)
        # Written locally, which takes one call for an image and one each for the stations of a keyed store.
        fill = ['word 1 16 1', *('SetRegisterData "" %d "%s" %d %s 8 1 1' % (
            base, '200' if base == 13 else '0', station, '01' * 32) for station in (0, 1)), 'word 1 16 2']
        for panel in (0, 3):
            for count in (-3, -2, -1, 0, 1, 2, 3):
                polled = read(code=code, count=count, sub_index=-1, panel=panel)
                for remote in (0, 1):
                    yield sequence(*fill, polled, 'ComCommunication', *map(made_up_reply, (3, 5, 6, 7, 8, 9, 11)),
                                   several=several, remote=remote)
                yield sequence(*fill, polled, 'ComCommunication', *map(one_short_reply, (3, 5, 6, 7, 8, 9, 11)),
                               several=several, remote=1)
            for station in (0, 1):
                queued = write(code=code, count=2, sub_index=-1, panel=panel, data='02030405', station=station)
                for answer in (made_up_reply(0), made_up_reply(8), one_short_reply(8)):
                    yield sequence(*fill, queued, 'ComCommunication', answer, several=several, remote=1)


def frame_lengths(several):
    """Writes at and beyond the longest frame, and negative counts that leave the CRC no room."""
    for count in (32766, 32767, 32768, 40000):
        yield sequence(write(count=count, data='0102' * count), 'ComCommunication', several=several)
    for count in (16383, 16384, 16385):
        yield sequence(write(code=13, count=count, data='01020102' * count), 'ComCommunication', several=several)
    for length in (65520, 65521, 65522, 65523, 65600):
        yield sequence(write(data='01' * length), 'ComCommunication', several=several, remote=1)
    for count in (-1, -2, -3, -4, -5, -6):
        for code in (7, 13):
            yield sequence(write(code=code, count=count, data='01020304'), 'ComCommunication', several=several)


def negative_addresses(several):
    for code in CODES:
        for address in (-1, -7, -8, -9, -15, -16, -17, -33):
            for remote in (0, 1):
                yield sequence(write(code=code, address=address, count=2, data='0100010001000100'), 'ComCommunication',
                               'dump', made_up_reply(7), made_up_reply(8), several=several, remote=remote)
            yield sequence(read(code=code, address=address, count=3), 'ComCommunication',
                           *map(made_up_reply, (8, 11, 17)), several=several)


def short_blocks_and_odd_counts(several):
    for longest in (-1, -2, 0, 1, 2, 3):
        for code in CODES:
            text = '1.3' if code in WORD_BITS else '210'
            for count in (-20, -9, -8, -3, -2, -1, 0, 1, 5, 9):
                for command in ('ReCreatReadVarList 1 %d 1 %s "" %d' % (code, quoted(text), count),
                                'AddListOnceReadVar 0 ' + record(code=code, count=count, address=5, text=text),
                                'SetRegisterData "" %d %s 1 %s %d 1 1' % (code, quoted(text), '0102' * 10, count),
                                'GetRegisterData %d %s 1 %d ff' % (code, quoted(text), count)):
                    yield sequence(command, longest=longest, several=several)


def without_settings():
    for start in ([], ['SetComInfo 0']):
        for replies in ([0], [7, 8], [8]):
            yield ['reset', 'RegistCallBackFuncIntf 1 1', *start, read(), read(address=9),
                   write(code=15, address=35, data='01'), write(data='0102'),
                   'AddListOnceReadVar 0 ' + record(text='3'), 'ComCommunication',
                   *map(made_up_reply, replies), 'ComCommunication', made_up_reply(0), 'ComCommunication',
                   made_up_reply(8), 'ReCreatReadVarList 1 7 1 "5" "" 3',
                   'SetRegisterData "" 7 "5" 1 0102 1 1 1', 'GetRegisterData 7 "5" 1 2 -', 'dump']


def helpers():
    """Checksums, digits, and what Qt takes for a number."""
    random = Random(3)
    commands = ['reset']
    for length in (0, 1, 2, 3, 6, 255, 256, 300, 1000, 65535):
        data = bytes(random.randrange(256) for _ in range(length + 1))
        for name in ('CalCRC', 'CalSUM', 'CalLRC', 'CalXOR'):
            commands += ['%s %s %d' % (name, data.hex(), length), '%s %s %d' % (name, 'ff' * (length + 1), length)]
    for value in range(-300, 300):
        commands += ['DigitalToASCII %d' % value, 'ASCIIToDigital %d' % value]
    texts = ['', ' ', '--5', '+-5', '\t5', '5\n', '5\x0b', '\x0c5', '1 2', '08', '017', '0x10', '0b1', '1.0', '1,000',
             '+', '-', '2147483647', '2147483648', '-2147483648', '-2147483649', '17777777777', '20000000000',
             '-20000000000', '-20000000001', '\x005', '\x1c5', '5\x1f', 'é', '٣', '００', '0' * 22 + '5']
    texts += [''.join(random.choice('0123456789 +-.\tx') for _ in range(random.randrange(12))) for _ in range(1000)]
    commands += ['toInt %d %s' % (base, quoted(text)) for text in texts for base in (8, 10)]
    yield commands


def compared():
    """(label, commands, answers of the model) of every edge."""
    edges = [(edge, (several,)) for several in (0, 1) for edge in (
        long_replies, remote_replies, replies_over_values, frame_lengths, negative_addresses,
        short_blocks_and_odd_counts)]
    for edge, arguments in edges + [(without_settings, ()), (helpers, ())]:
        for number, commands in enumerate(edge(*arguments), 1):
            yield '%s%s, sequence %d' % (edge.__name__, arguments, number), commands, expected_answers(commands)
