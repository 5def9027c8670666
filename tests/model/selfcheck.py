#!/usr/bin/env python3
"""The model against worked examples, written down as literals. Needs no library."""

import sys

import arithmetic
from arithmetic import with_crc
from cycle import next_request, take_reply
from device_types import base_type, element_address, modbus_address
from frames import read_request, remote_read_request, remote_write_request, write_request
from image import mirror_write
from lists import add_once, add_write, cut_writes_at_bounds, recreate_read_list
from records import Pending, Var, Word
from state import SERVED_WRITE, State
from values import get_values, set_values

passed = failed = 0


def same(what, actual, expected):
    global passed, failed
    if actual == expected:
        passed += 1
    else:
        failed += 1
        print('%s: the model says %r, expected %r' % (what, actual, expected))


def unspaced(text):
    return bytes.fromhex(text.replace(' ', ''))


def driver_with(several=0, longest=32, **words):
    driver = State()
    driver.given = driver.wants_done = driver.wants_fail = 1
    settings = dict(maxBlockLen=longest, plcStation=1, stationScope=several, writeMode=2)
    settings.update(words)
    for name, value in settings.items():
        driver.set_setting(getattr(Word, name), value)
    return driver


def frames_of(driver):
    return [bytes(pending.frame) for pending in driver.pending]


def layout(pending):
    return pending.reply_len, pending.data_offset, pending.data_len


def places(entries):
    return [(var.devType, var.address, var.count) for var in entries]


def check_helpers():
    same('the CRC check value', arithmetic.crc(b'123456789'), 0x4B37)
    same('CRC of a read', arithmetic.crc(unspaced('01 03 00 00 00 01')), 0x0A84)
    same('CRC of nothing', arithmetic.crc(b''), 0xFFFF)
    same('sum of 300 times FF', arithmetic.byte_sum(b'\xff' * 300), 10964)
    same('LRC of 0 is not cut to a byte', arithmetic.lrc(b'\0'), 256)
    same('LRC of 1', arithmetic.lrc(b'\1'), 255)
    for char, digit in ((64, 0), (58, 10), (97, 42)):
        same('digit of %d' % char, arithmetic.ascii_to_digit(char), digit)
    same('digit 16', arithmetic.digit_to_ascii(16), 71)


def check_device_types():
    for code, text, address in (
            (0, '17', 15), (2, '17', 17), (0, '18', -1), (13, '200', 0), (13, '255', 55), (13, '150', -50),
            (13, 'abc', -1), (15, '10.3', 163), (15, '10', -1), (15, '1.2.3', -1), (15, 'x.3', 3), (14, '10.3', -1),
            (15, '1.20', 36), (15, '12.', 192)):
        same('address of %r for code %d' % (text, code), element_address(code, text), address)
    for code, base in ((12, 7), (101, 100), (55, 0), (-1, 0), (16, 8), (17, 11), (13, 13)):
        same('base of code %d' % code, base_type(code), base)
    for code, address, modbus in (
            (0, 0, 1200), (1, 0, 0), (7, 5, 5), (2, 2047, 4047), (2, 2048, 12000), (3, 255, 4655), (3, 256, 30000),
            (4, 1023, 7023), (4, 1024, 31000), (5, 256, 11000), (9, 256, 11000), (6, 256, 10000), (13, 56, 10000),
            (8, 255, 8255), (14, 256, 12000), (13, 0, 9700), (13, 55, 9810), (13, 100, 10088), (17, 3, 8503),
            (101, 10, 13010), (18, 5, 0), (99, 5, 0), (103, 5, 0), (-1, 5, 0), (8, -3, 7997), (3, 40000, 69744)):
        same('Modbus address of %d in code %d' % (address, code), modbus_address(code, address), modbus)


def check_reads():
    for station, code, address, count, frame, expected in (
            (1, 2, 10, 2, '01 01 07 DA 00 10 1D 49', (7, 3, 2)), (1, 8, 300, 4, '01 03 2F 0C 00 04 8C DE', (13, 3, 8)),
            (2, 13, 0, 3, '02 03 25 E4 00 06 8E C0', (17, 3, 12)), (300, 13, 0, 1, None, (9, 3, 4)),
            (0, 2, 0, 2, None, (0, 0, 0)), (1, 2, 0, 8192, None, (8197, 3, 8192))):
        driver = driver_with()
        read_request(driver, Var(station=station, devType=code, address=address, count=count))
        if frame:
            same('read of code %d' % code, frames_of(driver), [unspaced(frame)])
        same('reply to a read of %d in code %d' % (count, code), layout(driver.pending[0]), expected)


def check_writes():
    for code, address, count, data, frames in (
            (3, 5, 1, '01', ['01 05 11 35 FF 00 99 08']), (3, 5, 1, '00', ['01 05 11 35 00 00 D8 F8']),
            (7, 100, 1, '3412', ['01 06 00 64 12 34 C5 62']),
            (10, 0, 2, '34127856', ['01 10 25 1C 00 02 04 12 34 56 78 2F 53']),
            (12, 0, 2, '78563412', ['01 10 00 00 00 02 04 12 34 56 78 88 9B']),
            (13, 56, 1, '78563412', ['01 10 27 10 00 02 04 12 34 56 78 36 66']),
            (15, 163, 1, '01', ['01 03 00 0A 00 01 A4 08', '01 06 00 0A 00 00 A9 C8'])):
        driver = driver_with()
        var = Var(station=1, devType=code, address=address, count=count, data=unspaced(data))
        write_request(driver, var)
        same('write of code %d' % code, frames_of(driver), [unspaced(frame) for frame in frames])
    driver.write_list.append(var)
    driver.served = SERVED_WRITE
    take_reply(driver, with_crc(unspaced('01 03 02 00 00')), 7)
    same('the word comes back with its bit', frames_of(driver), [unspaced('01 06 00 0A 00 08 A8 0E')])
    driver = driver_with()
    write_request(driver, Var(station=1, devType=12, count=3, data=b'\1\2\3\4\5\6'))
    same('half a value is not sent', frames_of(driver)[0][:13], unspaced('01 10 00 00 00 03 06 04 03 02 01 00 00'))
    same('but has its room', driver.pending[0].frame_len, 15)
    driver = driver_with()
    write_request(driver, Var(station=1, devType=7, count=0))
    same('a write of nothing', (driver.pending[0].frame_len, len(driver.pending[0].frame)), (9, 9))


def check_remote_frames():
    driver = driver_with()
    remote_read_request(driver, Var(devType=13, count=2, station=5))
    same('remote reply', layout(driver.pending[0]), (13, 3, 8))
    same('code in a remote frame', frames_of(driver)[0][5:7], b'\0\x0d')
    driver = driver_with()
    remote_write_request(driver, Var(devType=7, data=bytes(240)))
    same('the length byte is cut', (driver.pending[0].frame_len, driver.pending[0].frame[0]), (262, 6))
    driver = driver_with()
    remote_read_request(driver, Var())
    same('the sum covers the length', frames_of(driver)[0][21], 22)


def check_host_reads():
    driver = driver_with()
    driver.areas[0][1] = 6
    driver.areas[7].update({0: 0x1234, 1: 0xABCD})
    driver.areas[13].update({5: 0x11223344, 6: 0x55667788})
    for code, text, count, array, expected in (
            (0, '11', 3, b'', '01 01 00'), (7, '0', 2, b'', '34 12 CD AB'), (0, '0', 2, b'abcd', '00 00 63 64'),
            (12, '0', 1, b'', 'CD AB'), (12, '0', 3, b'', 'CD AB 34 12'), (13, '205', 4, b'', '44 33 88 77 66 55')):
        same('%d of code %d at %s' % (count, code, text), get_values(driver, code, text, 1, count, array),
             (1, unspaced(expected)))
    same('a text that is no address', get_values(driver, 7, 'x', 1, 3, b'abc'), (0, b'abc'))


def check_mirror():
    driver = driver_with()
    mirror_write(driver, Var(devType=8, address=50, count=3, data=b'\1\2\3\4'))
    same('words without their bytes', driver.areas[8], {50: 513, 51: 1027})
    for value, byte in ((b'\1', 32), (b'\2', 0)):
        mirror_write(driver, Var(devType=0, address=13, count=1, data=value))
        same('bit written with %r' % value, driver.areas[0], {1: byte})
    driver = driver_with(several=1)
    mirror_write(driver, Var(devType=13, station=3, address=4, count=1, data=unspaced('11 22 33 44')))
    same('high word first', [value.text() for value in driver.store], ['3,13,4,33441122'])
    for value in (b'\1', b'\2'):
        mirror_write(driver, Var(devType=15, station=3, address=21, count=1, data=value))
        same('bit in a word written with %r' % value, driver.store[1].text(), '3,7,1,2000')
    mirror_write(driver, Var(devType=0, station=3, count=1, data=b'\1'))
    same('code 0 is not mirrored', len(driver.store), 2)


def check_host_writes():
    def queued(code, data, count, **settings):
        driver = driver_with(**settings)
        return set_values(driver, '', code, '3', 1, data, count, 0, 0), driver
    same('blocks', places(queued(7, b'', 5, longest=2)[1].write_list), [(7, 3, 2), (7, 5, 2), (7, 7, 1)])
    same('one block a bit', queued(3, b'', 3)[0], 3)
    same('code 0 is not written', queued(0, b'\1', 3)[0], 0)
    result, driver = queued(7, b'\1\2', 1, writeMode=1)
    same('into the image only', (result, driver.write_list, driver.areas[7]), (1, [], {3: 513}))
    var = queued(12, b'\1\2', 1)[1].write_list[0]
    same('filled up', (var.count, var.data), (2, b'\1\2\0\0'))


def check_read_list():
    def blocks(descriptions, **settings):
        driver = driver_with(**settings)
        recreate_read_list(driver, [(code, station, text, 'n', count) for code, station, text, count in descriptions])
        return places(driver.read_list)
    same('a gap is read too', blocks([(8, 1, '10', 2), (8, 1, '20', 3)]), [(8, 10, 13)])
    same('unless it is too long', blocks([(8, 1, '10', 2), (8, 1, '20', 3)], longest=12), [(8, 10, 2), (8, 20, 3)])
    same('the same twice', blocks([(8, 1, '10', 2), (8, 1, '10', 2)]), [(8, 10, 2)])
    same('bits', blocks([(2, 1, '5', 3), (2, 1, '13', 1)]), [(2, 0, 2)])
    same('bits across the bound', blocks([(3, 1, '248', 16)]), [(3, 248, 1), (3, 256, 1)])
    same('special values across the bound', blocks([(13, 1, '250', 20)]), [(13, 50, 6), (13, 56, 4)])
    same('an odd count of pairs', blocks([(12, 1, '0', 3)]), [(7, 0, 4)])
    same('40 bits in words', blocks([(15, 1, '0.0', 40)]), [(7, 0, 32), (7, 32, 8)])
    same('20 bits in words', blocks([(15, 1, '0.0', 20)]), [(7, 0, 2)])
    same('16 bits from word 20', blocks([(15, 1, '20.0', 16)]), [(7, 20, 2)])
    same('cut by length', blocks([(8, 1, '300', 100)]), [(8, 300, 32), (8, 332, 32), (8, 364, 32), (8, 396, 4)])
    same('bits of several stations', blocks([(2, 1, '0', 32)], several=1), [(2, 0, 1)])
    same('bits of one station', blocks([(2, 1, '0', 32)]), [(2, 0, 4)])
    same('an unknown code', blocks([(55, 1, '3', 2)]), [])
    same('an unknown code with several stations', blocks([(55, 1, '3', 2)], several=1), [(55, 3, 2)])
    same('codes that share a key', blocks([(0, 255, '0', 8), (1, 0, '10', 8)], several=1), [(0, 0, 2)])


def check_queues():
    def word(address, **fields):
        return Var(devType=7, station=1, address=address, count=1, **fields)
    driver = driver_with()
    same('queued', [add_write(driver, word(address), 0) for address in (1, 2, 3)], [1, 2, 3])
    same('the same block again', (add_write(driver, word(2, varId=9), 0), driver.write_list[1].varId), (3, 9))
    same('the head is left alone', add_write(driver, word(1), 0), 4)
    for var, expected in (
            (Var(devType=8, address=250, count=10, data=bytes(20)), [(250, 6, 12), (256, 4, 8)]),
            (Var(devType=13, address=50, count=10, data=bytes(40)), [(50, 6, 24), (56, 4, 16)])):
        entries = [var]
        cut_writes_at_bounds(entries)
        same('a write across the bound', [(part.address, part.count, len(part.data)) for part in entries], expected)
    driver = driver_with()
    for _ in range(2):
        same('once', add_once(driver, Var(devType=2, addrText='13', count=5), 0), 1)
    same('in bytes', places(driver.once_list), [(2, 8, 2)])
    var = Var(devType=7, addrText='0', count=70)
    same('in pieces', add_once(driver_with(), var, 0), 3)
    same('the record is the last piece', (var.address, var.count), (64, 6))
    driver = driver_with(longest=3)
    add_once(driver, Var(devType=3, addrText='250', count=16), 0)
    same('once across the bound', places(driver.once_list), [(3, 248, 1), (3, 256, 2)])


def good_reply(pending):
    return with_crc(bytes(pending.reply_len - 2))


def check_cycle():
    def word(address, **fields):
        return Var(devType=7, station=1, address=address, count=1, **fields)
    driver = driver_with()
    driver.write_list = [word(address, data=b'\0\0') for address in range(6)]
    driver.read_list = [word(0)]
    functions = []
    for _ in range(7):
        pending = next_request(driver)
        functions.append(pending.frame[1])
        take_reply(driver, good_reply(pending), pending.reply_len)
        same('answered', driver.result.resultCode, 1)
    same('the sixth write waits for a read', functions, [6, 6, 6, 6, 6, 3, 6])

    driver = driver_with(retryLimit=2)
    driver.write_list = [word(1, connectNo=15), word(2)]
    codes = []
    for _ in range(3):
        next_request(driver)
        take_reply(driver, b'', 0)
        codes.append(driver.result.resultCode)
    same('two repeats, then given up', codes, [0, 0, 41])
    same('all writes go', driver.write_list, [])
    same('both callbacks', driver.calls, 'done(0,15,0,2)fail(0,15,1)')

    driver = driver_with()
    driver.write_list = [Var(devType=3, station=0, count=1)]
    next_request(driver)
    take_reply(driver, b'', 0)
    same('a broadcast has no reply', driver.result.resultCode, 1)


def check_replies():
    bits = Var(devType=3, station=1, count=1)
    driver = driver_with()
    driver.read_list = [bits.copy(panelStation=5)]
    pending = next_request(driver)
    take_reply(driver, good_reply(pending), pending.reply_len)
    same("another panel's reply stays out of the image", (driver.result.resultCode, driver.areas[3]), (100, {}))

    driver = driver_with()
    driver.areas[7] = {0: 4}
    driver.pending = [Pending(b'', 0, 0, 0, 0, Var(devType=15, panelStation=5, subIndex=-1))]
    take_reply(driver, b'', 0)
    same('an empty acknowledgement leaves the word', (driver.result.resultCode, driver.areas[7]), (1, {0: 4}))

    driver = driver_with(retryLimit=2)
    driver.read_list = [bits]
    reply = good_reply(next_request(driver))
    take_reply(driver, reply[:-2] + reply[:-3:-1], len(reply))
    same('the CRC the wrong way round', driver.result.resultCode, 0)
    take_reply(driver, reply, len(reply))
    same('the repeat stays counted', (driver.result.resultCode, driver.setting(Word.retryCount)), (1, 1))


def main():
    for check in (check_helpers, check_device_types, check_reads, check_writes, check_remote_frames, check_host_reads,
                  check_mirror, check_host_writes, check_read_list, check_queues, check_cycle, check_replies):
        check()
    print('%d passed, %d failed' % (passed, failed))
    return 1 if failed else 0


if __name__ == '__main__':
    sys.exit(main())
