"""What a host reads from the image, and how its writes become queued blocks."""

from arithmetic import divide
from device_types import BITS, PAIRS, SPECIAL, WORD_BITS, WORDS, WRITABLE_BITS, base_type, element_address
from image import mirror_write
from lists import add_write, cut, cut_writes_at_bounds
from records import Var, Word


class HostArray:
    """A host's array, which grows with zeros where it is written beyond its end."""

    def __init__(self, data):
        self.data = bytearray(data)

    def put(self, position, values):
        missing = position + len(values) - len(self.data)
        self.data.extend(bytes(max(missing, 0)))
        self.data[position:position + len(values)] = values

    def put_word(self, position, word):
        self.put(position, word.to_bytes(2, 'little'))


def get_values(driver, code, text, station, count, data):
    """The entry point's result, and the host's bytes after it."""
    address = element_address(code, text)
    if address < 0:
        return 0, data
    array = HostArray(data)
    if driver.setting(Word.stationScope) == 0:
        read_areas(driver, code, address, count, array)
    else:
        read_store(driver, station, code, address, count, array)
    return 1, bytes(array.data)


def read_areas(driver, code, address, count, array):
    area = base_type(code)
    if code in BITS or code in WORD_BITS:
        width = 8 if code in BITS else 16
        for i in range(count):
            bit = address + i
            array.put(i, [driver.element(area, bit // width) >> bit % width & 1])
    elif code in WORDS:
        for i in range(count):
            array.put_word(2 * i, driver.element(area, address + i))
    elif code in PAIRS:
        if count == 1:
            array.put_word(0, driver.element(area, address + 1))
        for k in range(divide(count, 2)):
            array.put_word(4 * k, driver.element(area, address + 2 * k + 1))
            array.put_word(4 * k + 2, driver.element(area, address + 2 * k))
    elif code == SPECIAL:
        if count == 1:
            array.put_word(0, driver.element(area, address) & 0xFFFF)
        # Two bytes apart on purpose: a later value overlaps the one before.
        for k in range(divide(count, 2)):
            value = driver.element(area, address + k)
            array.put_word(2 * k, value & 0xFFFF)
            array.put_word(2 * k + 2, value >> 16)


def read_store(driver, station, code, address, count, array):
    """Looking a value up makes it."""
    base = base_type(code)
    if code in BITS:
        for i in range(count):
            bit = address + i
            value = driver.keyed(station, code, bit - bit % 8).data
            array.put(i, [value[0] >> bit % 8 & 1 if value else 0])
    elif code in WORDS:
        for i in range(count):
            array.put(2 * i, stored_word(driver, station, base, address + i))
    elif code in PAIRS:
        for k in range(divide(count + 1, 2)):
            array.put(4 * k, stored_word(driver, station, base, address + 2 * k + 1))
            array.put(4 * k + 2, stored_word(driver, station, base, address + 2 * k))
    elif code == SPECIAL:
        for k in range(divide(count + 1, 2)):
            value = driver.keyed(station, base, address + k).data
            array.put(4 * k, value[2:4] + value[0:2] if len(value) >= 4 else bytes(4))
    elif code in WORD_BITS:
        for i in range(count):
            bit = address + i
            value = driver.keyed(station, base, bit // 16).data
            byte = bit // 8 % 2
            array.put(i, [value[byte] >> bit % 8 & 1 if len(value) > byte else 0])


def stored_word(driver, station, base, address):
    value = driver.keyed(station, base, address).data
    return value[:2] if len(value) >= 2 else bytes(2)


def set_values(driver, name, code, text, station, data, count, connect_no, var_id):
    """The length of the queue as the last block left it; 1 for a write that stays in the image."""
    address = element_address(code, text)
    if address < 0:
        return 0
    if driver.setting(Word.stationScope) == 0:
        station = driver.setting(Word.plcStation)
    var = Var(connectNo=connect_no, varId=var_id, rwFlag=1, hostWord3=driver.setting(Word.remoteMode),
              panelStation=driver.setting(Word.ownStation), nameText=name, addrText=text, devType=code, address=address,
              station=station, count=count, data=data)
    if driver.setting(Word.writeMode) != 2:
        mirror_write(driver, var)
        return 1
    length = 0
    for block in blocks_to_write(driver, var):
        length = add_write(driver, block, 0)
        if driver.failed:
            mirror_write(driver, block)
    cut_writes_at_bounds(driver.write_list)
    return length


def blocks_to_write(driver, var):
    """A block for each bit; words in blocks of maxBlockLen, missing bytes as 0."""
    code, count, data = var.devType, var.count, var.data
    longest = driver.setting(Word.maxBlockLen)
    if code in WRITABLE_BITS or code in WORD_BITS:
        for i in range(count):
            yield var.copy(address=var.address + i, count=1, data=data[i:i + 1] or b'\0')
    elif code in WORDS or code in PAIRS or code == SPECIAL:
        size = 4 if code == SPECIAL else 2
        if code in PAIRS:
            count = divide(count + 1, 2) * 2
        elif code == SPECIAL:
            count = divide(count + 1, 2)
        if count <= 0:
            return
        for i, length in cut(count, longest):
            values = data[size * i * longest:size * (i * longest + length)]
            yield var.copy(address=var.address + i * longest, count=length, data=values.ljust(size * length, b'\0'))
