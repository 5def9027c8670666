"""Request frames, and what their replies must look like."""

from arithmetic import byte_sum, crc, divide, high_low, with_crc
from device_types import BITS, PAIRS, SPECIAL, WORD_BITS, WORDS, WRITABLE_BITS, modbus_address
from image import mirror_write
from limits import met
from records import Pending, Word

FRAME_LIMIT = 65535 + 9


def start_transaction(driver, frames):
    driver.set_setting(Word.frameDone, 0)
    driver.set_setting(Word.frameTotal, frames)


def read_request(driver, var):
    """A Modbus read: function 1 for bits, 3 for words. Other codes have no builder."""
    code = var.devType
    if code in BITS:
        function, quantity, data_len = 1, var.count * 8 & 0xFFFF, var.count
    elif code in WORDS or code == SPECIAL:
        function, quantity = 3, var.count & 0xFFFF
        if code == SPECIAL:
            quantity = quantity * 2 & 0xFFFF
        data_len = 2 * quantity
    else:
        met['no builder for a read'] += 1
        return
    frame = [var.station & 255, function] + high_low(modbus_address(code, var.address)) + high_low(quantity)
    layout = (0, 0, 0) if var.station == 0 else (data_len + 5, 3, data_len)
    driver.pending.append(Pending(with_crc(frame), 8, *layout, var.copy()))
    start_transaction(driver, 1)


def write_request(driver, var):
    """A Modbus write, mirrored into the image unless the last reply was bad. A bit inside a word takes two frames."""
    code = var.devType
    if code in WRITABLE_BITS:
        append_write(driver, var, write_bit(var))
    elif code in WORDS or code in PAIRS:
        if var.count == 1:
            frame = write_one_word(var)
        elif code in PAIRS:
            frame = write_many(var, var.count, 4, divide(max(var.count, 0), 2))
        else:
            frame = write_many(var, var.count, 2, var.count)
        if frame is None:
            return
        append_write(driver, var, frame)
    elif code == SPECIAL:
        frame = write_many(var, 2 * var.count, 4, var.count)
        if frame is None:
            return
        append_write(driver, var, frame)
    elif code in WORD_BITS:
        append_word_bit(driver, var)
    else:
        met['no builder for a write'] += 1
        return
    start_transaction(driver, 2 if code in WORD_BITS else 1)
    if not driver.failed:
        mirror_write(driver, var)


def append_write(driver, var, frame):
    driver.pending.append(Pending(frame, len(frame), 0 if var.station == 0 else 8, 0, 0, var.copy()))


def write_head(var, function, address):
    return [var.station & 255, function] + high_low(modbus_address(var.devType, address))


def write_bit(var):
    return with_crc(write_head(var, 5, var.address) + [255 if var.data[:1] == b'\1' else 0, 0])


def write_one_word(var):
    value = [var.data[1], var.data[0]] if len(var.data) >= 2 else [0, 0]
    return with_crc(write_head(var, 6, var.address) + value)


def write_many(var, words, size, elements):
    """A function 16 frame with elements of size bytes each; missing ones are 0. None when it cannot be built.

    A negative count shortens the frame as its formula says, as long as the CRC has room.
    """
    byte_count = 2 * words
    total = 9 + byte_count
    if total > FRAME_LIMIT or total < 2:
        return None
    frame = bytearray(max(total, 16))
    frame[0:7] = bytes(write_head(var, 16, var.address) + high_low(words) + [byte_count & 255])
    for k in range(min(max(elements, 0), len(var.data) // size)):
        frame[7 + size * k:7 + size * (k + 1)] = var.data[size * k:size * (k + 1)][::-1]
    # The length given to the checksum is 16 bits wide.
    frame[total - 2:total] = crc(frame[:total - 2 & 0xFFFF]).to_bytes(2, 'little')
    return frame[:total]


def append_word_bit(driver, var):
    """Reads the word, then writes it back; the second frame is completed when the first is answered."""
    word = divide(var.address, 16)
    read = var.copy(rwFlag=0, address=word, subIndex=-1)
    driver.pending.append(Pending(with_crc(write_head(var, 3, word) + [0, 1]), 8, 7, 3, 2, read))
    write = var.copy(rwFlag=1, address=word, subIndex=0)
    driver.pending.append(Pending(with_crc(write_head(var, 6, word) + [0, 0]), 8, 8, 0, 0, write))


def remote_head(var):
    def four(value):
        return list((value & 0xFFFFFFFF).to_bytes(4, 'big'))
    return ([0, var.connectNo & 255, var.rwFlag & 255, var.panelStation & 255, var.station & 255]
            + high_low(var.devType) + four(var.address) + high_low(var.count) + four(var.subIndex)
            + four(var.hostWord13))


def with_length_and_sum(frame):
    """The first byte is the length with the sum byte, cut to 8 bits, and is part of the sum."""
    frame[0] = len(frame) + 1 & 255
    return frame + [byte_sum(frame) & 255]


def remote_read_request(driver, var):
    """A read in the remote format, for every code."""
    element_bytes = 1 if var.devType in BITS else 4 if var.devType == SPECIAL else 2
    data_len = var.count * element_bytes
    layout = (0, 0, 0) if var.station == 0 else (data_len + 5, 3, data_len)
    driver.pending.append(Pending(with_length_and_sum(remote_head(var)), 22, *layout, var.copy()))
    start_transaction(driver, 1)


def remote_write_request(driver, var):
    """A write in the remote format, for every code; mirrored even when the last reply was bad."""
    frame = remote_head(var) + list(var.data)
    if len(frame) + 1 > FRAME_LIMIT:
        return
    append_write(driver, var, with_length_and_sum(frame))
    start_transaction(driver, 1)
    mirror_write(driver, var)
