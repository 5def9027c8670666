"""The cyclic list, the write queue and the one-shot queue."""

from arithmetic import divide, remainder
from device_types import (BITS, GROUP_ORDER, PAIRS, READ_BOUNDS, SPECIAL, WORD_BITS, WORDS, WRITE_BOUNDS, base_type,
                          element_address)
from limits import met
from records import Var, Word

QUEUE_LIMIT = 1024


def cut(count, longest):
    """(number, length) of the pieces of count units: all of length longest but the last. 0 leaves count whole."""
    if longest < 0:
        return []
    whole = divide(count, longest) if longest else 0
    rest = count - whole * longest
    pieces = whole + (1 if rest else 0)
    if pieces > 1:
        met['cut by length'] += 1
    return [(i, rest if rest and i == pieces - 1 else longest) for i in range(pieces)]


def cut_reads_at_bounds(entries):
    """Cuts in two what crosses the bound of its code. Entries of bits count in bytes."""
    result = []
    for var in entries:
        bound, per_unit = READ_BOUNDS.get(var.devType, (None, 1))
        end = var.address + var.count * per_unit
        if bound is not None and var.address < bound < end:
            result.append(var.copy(count=(bound - var.address) // per_unit))
            result.append(var.copy(address=bound, count=(end - bound + per_unit - 1) // per_unit))
            met['read cut at the bound of %d' % var.devType] += 1
        else:
            result.append(var)
    entries[:] = result


def cut_writes_at_bounds(entries):
    result = []
    for var in entries:
        bound, size = WRITE_BOUNDS.get(var.devType, (None, 1))
        end = var.address + var.count
        if bound is not None and var.address < bound < end:
            below = bound - var.address
            result.append(var.copy(count=below, data=var.data[:below * size]))
            result.append(var.copy(address=bound, count=end - bound, data=var.data[below * size:]))
            met['write cut at the bound of %d' % var.devType] += 1
        else:
            result.append(var)
    entries[:] = result


def recreate_read_list(driver, descriptions):
    """From (devType, station, addrText, nameText, count) of each variable. Returns the length."""
    driver.read_list = []
    if not descriptions:
        return 0
    driver.pass_count = 0
    driver.set_setting(Word.finishFlag, 0)
    if driver.setting(Word.stationScope) == 0:
        driver.read_list = blocks_of_one_station(driver, descriptions)
    else:
        driver.read_list = blocks_of_several_stations(driver, descriptions)
    cut_reads_at_bounds(driver.read_list)
    return len(driver.read_list)


def described(driver, descriptions, one_station):
    """An entry, as yet in the host's units, for each description with a usable address."""
    for code, station, address_text, name, count in descriptions:
        address = element_address(code, address_text)
        if address < 0:
            met['address refused'] += 1
        else:
            yield Var(varId=-1, hostWord3=driver.setting(Word.remoteMode), panelStation=driver.setting(Word.ownStation),
                      nameText=name, addrText=address_text, devType=code, address=address, count=count,
                      station=driver.setting(Word.plcStation) if one_station else station)


def convert_word_bits(var):
    """Words that hold the bits. The offset comes from the word's number, not from the bit's, and stays that way."""
    word = divide(var.address, 16)
    var.devType = base_type(var.devType)
    var.address = word
    var.count = divide(remainder(word, 16) + var.count + 15, 16)


def blocks_of_one_station(driver, descriptions):
    longest = driver.setting(Word.maxBlockLen)
    groups = {code: [] for code in GROUP_ORDER}
    for var in described(driver, descriptions, one_station=True):
        # The length that is compared with the longest block; of bits in words it is the number of bits.
        total, limit = var.count, longest
        if var.devType in BITS:
            limit = longest * 8
        elif var.devType in PAIRS:
            var.devType = base_type(var.devType)
            total = var.count = divide(var.count + 1, 2) * 2
        elif var.devType == SPECIAL:
            total = var.count = divide(var.count + 1, 2)
        elif var.devType in WORD_BITS:
            convert_word_bits(var)
        elif var.devType not in WORDS:
            continue
        groups[var.devType] += pieces_of(var, total, limit)
    blocks = []
    for code in GROUP_ORDER:
        group = sorted(groups[code], key=lambda var: var.address)
        blocks += merge_bits(group, longest * 8) if code in BITS else merge_words(group, longest)
    return blocks


def pieces_of(var, total, limit):
    if limit < 0:
        return []
    if total <= limit:
        return [var]
    return [var.copy(address=var.address + i * limit, count=length) for i, length in cut(total, limit)]


def blocks_of_several_stations(driver, descriptions):
    longest = driver.setting(Word.maxBlockLen)
    groups = {}
    for var in described(driver, descriptions, one_station=False):
        step = longest
        if var.devType in BITS:
            inside = var.address % 8
            var.address -= inside
            var.count = divide(inside + var.count + 7, 8)
            step = longest * 8
        elif var.devType in PAIRS:
            var.devType = base_type(var.devType)
            var.count = divide(var.count + 1, 2) * 2
        elif var.devType == SPECIAL:
            var.count = divide(var.count + 1, 2)
        elif var.devType in WORD_BITS:
            convert_word_bits(var)
        # Two codes can share a key: station 255 of one and station 0 of the next.
        key = var.station + 255 * var.devType
        for i, length in cut(var.count, longest):
            groups.setdefault(key, []).insert(0, var.copy(address=var.address + i * step, count=length))
    blocks = []
    for group in groups.values():
        if any(var.devType != group[0].devType for var in group):
            met['several codes under one key'] += 1
        group.sort(key=lambda var: var.address)
        blocks += merge_bits(group, longest * 8) if group[0].devType < 7 else merge_words(group, longest)
    return blocks


def merge_words(group, longest):
    """Joins neighbours, gaps included, up to the longest block."""
    merged = []
    for var in group:
        if merged:
            last = merged[-1]
            end = last.address + last.count
            if end > var.address and end >= var.address + var.count:
                continue
            span = var.address + var.count - last.address
            if span <= longest:
                last.count = span
                met['joined, up to maxBlockLen' if span == longest else 'joined'] += 1
                continue
            met['not joined, one too long' if span == longest + 1 else 'not joined'] += 1
        merged.append(var.copy())
    return merged


def merge_bits(group, longest):
    """The same for bits, into blocks that start at a multiple of 8 and count in bytes."""
    merged = []
    for var in group:
        if merged:
            last = merged[-1]
            end = last.address + last.count * 8
            if end > var.address and end >= var.address + var.count:
                continue
            span = var.address + var.count - last.address
            if span <= longest:
                last.count = divide(span + 7, 8)
                met['bits joined, up to maxBlockLen' if span == longest else 'bits joined'] += 1
                continue
            met['bits not joined, one too long' if span == longest + 1 else 'bits not joined'] += 1
        inside = var.address % 8
        merged.append(var.copy(address=var.address - inside, count=divide(inside + var.count + 7, 8)))
    return merged


def add_write(driver, var, mode):
    """Returns the length. Mode 1 appends, any other replaces a queued write of the same block or stops at the limit."""
    queue = driver.write_list
    if mode == 1 or len(queue) < 2:
        queue.append(var.copy())
        return len(queue)
    # Starts at 1: the head may be on the line, so its value must not change under it.
    for queued in queue[1:]:
        if (queued.address == var.address and queued.devType == var.devType and queued.station == var.station
                and queued.count == var.count):
            queued.assign(var)
            met['queued write replaced'] += 1
            return len(queue)
    if len(queue) < QUEUE_LIMIT:
        queue.append(var.copy())
    else:
        met['write queue full'] += 1
    return len(queue)


def add_once(driver, var, mode):
    """Returns the length, 0 for an unusable address. Changes the record, as the host sees it afterwards."""
    queue = driver.once_list
    if mode == 1:
        queue.append(var.copy())
        return len(queue)
    address = element_address(var.devType, var.addrText)
    if address < 0:
        return 0
    var.subIndex = var.hostWord13 = 0
    if driver.setting(Word.stationScope) == 0:
        var.station = driver.setting(Word.plcStation)
    convert_once(var, address)
    longest = driver.setting(Word.maxBlockLen)
    step = longest * 8 if var.devType in BITS else longest
    start = var.address
    for i, length in cut(var.count, longest):
        var.address, var.count = start + i * step, length
        key = once_key(var)
        if any(once_key(queued) == key for queued in queue):
            met['one-shot read queued already'] += 1
        elif len(queue) < QUEUE_LIMIT:
            queue.append(var.copy())
        else:
            met['one-shot queue full'] += 1
    cut_reads_at_bounds(queue)
    return len(queue)


def once_key(var):
    return var.connectNo, var.varId, var.station, var.devType, var.address, var.count


def convert_once(var, address):
    """From the host's units to those of a request. An unknown code keeps the address that the record came with."""
    if var.devType in BITS:
        var.address = address - address % 8
        var.count = divide(address % 8 + var.count + 7, 8)
    elif var.devType in WORDS:
        var.address = address
    elif var.devType in PAIRS:
        var.devType = base_type(var.devType)
        var.address = address
        var.count = divide(var.count + 1, 2) * 2
    elif var.devType == SPECIAL:
        var.address = address
        var.count = divide(var.count + 1, 2)
    elif var.devType in WORD_BITS:
        # The word comes from the record's address, not from its text.
        var.devType = base_type(var.devType)
        var.count = divide(address % 16 + var.count + 15, 16)
        var.address = divide(var.address, 16)
