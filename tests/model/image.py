"""The image of the PLC's data: what a write leaves in it, and what a reply does.

One station: areas of elements. Several stations: the keyed store, where the rules for short data and for 32-bit values
are not the same.
"""

from arithmetic import crc, divide
from device_types import BITS, PAIRS, SPECIAL, WORD_BITS, WORDS, WRITABLE_BITS, base_type
from records import Word


def mirror_write(driver, var):
    """What a write leaves in the image before the PLC has answered. Elements without their bytes keep their values."""
    if driver.setting(Word.stationScope) == 0:
        mirror_in_areas(driver, var)
    else:
        mirror_in_store(driver, var)


def mirror_in_areas(driver, var):
    code, first, count, data = var.devType, var.address, var.count, var.data
    if code in BITS:
        mirror_bits(driver, code, 8, first, count, data)
    elif code in WORD_BITS:
        mirror_bits(driver, base_type(code), 16, first, count, data)
    elif code in WORDS:
        for i in range(min(count, len(data) // 2)):
            driver.set_element(code, first + i, int.from_bytes(data[2 * i:2 * i + 2], 'little'))
    elif code in PAIRS:
        # The high word comes first.
        area = base_type(code)
        for k in range(min(divide(count, 2), len(data) // 4)):
            driver.set_element(area, first + 2 * k, int.from_bytes(data[4 * k + 2:4 * k + 4], 'little'))
            driver.set_element(area, first + 2 * k + 1, int.from_bytes(data[4 * k:4 * k + 2], 'little'))
    elif code == SPECIAL:
        for k in range(min(count, len(data) // 4)):
            driver.set_element(code, first + k, int.from_bytes(data[4 * k:4 * k + 4], 'little'))


def mirror_bits(driver, area, width, first, count, data):
    """Bits in elements width bits wide. Only 1 sets a bit, every other byte clears it."""
    for i in range(min(count, len(data))):
        bit = first + i
        if bit < 0:
            continue
        mask = 1 << bit % width
        value = driver.element(area, bit // width)
        driver.set_element(area, bit // width, value | mask if data[i] == 1 else value & ~mask)


def mirror_in_store(driver, var):
    code, first, count, data, station = var.devType, var.address, var.count, var.data, var.station
    if code in WRITABLE_BITS:
        for i in range(min(count, len(data))):
            bit = first + i
            value = driver.keyed(station, code, bit - bit % 8).data
            if value:
                mask = 1 << bit % 8
                value[0] = value[0] | mask if data[i] == 1 else value[0] & ~mask
    elif code in WORDS:
        for i in range(min(count, len(data) // 2)):
            driver.keyed(station, code, first + i).data = bytearray(data[2 * i:2 * i + 2])
    elif code in PAIRS:
        base = base_type(code)
        for k in range(min(divide(count, 2), len(data) // 4)):
            driver.keyed(station, base, first + 2 * k + 1).data = bytearray(data[4 * k:4 * k + 2])
            driver.keyed(station, base, first + 2 * k).data = bytearray(data[4 * k + 2:4 * k + 4])
    elif code == SPECIAL:
        for k in range(min(count, len(data) // 4)):
            value = data[4 * k:4 * k + 4]
            driver.keyed(station, code, first + k).data = bytearray(value[2:] + value[:2])
    elif code in WORD_BITS:
        mirror_word_bits_in_store(driver, var)


def mirror_word_bits_in_store(driver, var):
    """The place inside the word is that of the first bit, for all of them. Bytes other than 0 and 1 change nothing."""
    mask, byte = 1 << var.address % 8, var.address % 16 // 8
    for i in range(var.count):
        value = driver.keyed(var.station, base_type(var.devType), divide(var.address + i, 16)).data
        if len(value) >= 2 and i < len(var.data):
            if var.data[i] == 1:
                value[byte] |= mask
            elif var.data[i] == 0:
                value[byte] &= ~mask


def store_reply(driver, reply):
    """The reply to the frame in flight goes into the image."""
    if driver.setting(Word.stationScope) == 0:
        reply_to_areas(driver, reply)
    else:
        reply_to_store(driver, reply)


def reply_to_areas(driver, reply):
    pending = driver.pending[0]
    code, first, start, length = pending.var.devType, pending.var.address, pending.data_offset, pending.data_len
    if code in BITS:
        for j in range(start, min(start + length, len(reply))):
            driver.set_element(code, divide(first, 8) + j - start, reply[j])
    elif code in WORDS or code in (12, 14):  # not 101
        for i in range(whole_elements(reply, start, length, 2)):
            driver.set_element(base_type(code), first + i, big_endian(reply, start + 2 * i, 2))
    elif code == SPECIAL:
        for i in range(whole_elements(reply, start, length, 4)):
            driver.set_element(code, first + i, big_endian(reply, start + 4 * i, 4))
    elif code in WORD_BITS and len(reply) >= 5:
        # At fixed places. A write's acknowledgement can have less: it leaves the word as it is.
        value = big_endian(reply, 3, 2)
        driver.set_element(base_type(code), first, value)
        complete_word_write(driver, value)


def byte_at(reply, position):
    return reply[position] if 0 <= position < len(reply) else 0


def big_endian(reply, position, size):
    return int.from_bytes(reply[position:position + size], 'big')


def whole_elements(reply, start, length, size):
    """How many of the expected elements the reply holds in full."""
    return min(max(length, 0), max(len(reply) - start, 0)) // size


def reply_to_store(driver, reply):
    """What the reply does not hold is stored as 0."""
    pending = driver.pending[0]
    var, start, length = pending.var, pending.data_offset, pending.data_len
    code, first, station = var.devType, var.address, var.station
    if code in BITS:
        for j in range(length):
            driver.keyed(station, code, first + 8 * j).data = bytearray([byte_at(reply, start + j)])
    elif code in WORDS:
        for i in range(divide(length, 2)):
            at = start + 2 * i
            whole = at + 1 < len(reply)
            driver.keyed(station, code, first + i).data = bytearray([reply[at + 1], reply[at]] if whole else 2)
    elif code == SPECIAL:
        for k in range(divide(length, 4)):
            at = start + 4 * k
            whole = at + 3 < len(reply)
            driver.keyed(station, code, first + k).data = bytearray(
                [reply[at + 1], reply[at], reply[at + 3], reply[at + 2]] if whole else 4)
    elif code in WORD_BITS:
        reply_to_stored_words(driver, reply)


def reply_to_stored_words(driver, reply):
    """The last word takes the reply's length: the first value of the store where there is no word at all."""
    pending = driver.pending[0]
    var, start, length = pending.var, pending.data_offset, max(pending.data_len, 0)
    last = driver.store[0] if driver.store else None
    word = 0
    for i in range(length // 2):
        at = start + 2 * i
        last = driver.keyed(var.station, base_type(var.devType), var.address + i)
        last.data = bytearray()
        if at + 1 < len(reply):
            last.data = bytearray([reply[at + 1], reply[at]])
            word = big_endian(reply, at, 2)
    if last is not None:
        last.data = (last.data + bytes(max(length - len(last.data), 0)))[:length]
    if var.subIndex == -1:
        complete_word_write(driver, word)


def complete_word_write(driver, word):
    """Puts the word just read, with the bit of the queued write, into the second frame of the transaction."""
    if len(driver.pending) < 2:
        return
    if driver.write_list and driver.write_list[0].data:
        head = driver.write_list[0]
        mask = 1 << (head.address & 15)
        if head.data[0] == 1:
            word |= mask
        elif head.data[0] == 0:
            word &= ~mask
    frame = driver.pending[1].frame
    frame[4:6] = word.to_bytes(2, 'big')
    frame[6:8] = crc(frame[:6]).to_bytes(2, 'little')
