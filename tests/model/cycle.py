"""The cycle: which request goes out next, and what becomes of its reply."""

from arithmetic import crc
from frames import read_request, remote_read_request, remote_write_request, write_request
from image import store_reply
from limits import met
from records import Word
from state import SERVED_CYCLIC, SERVED_ONCE, SERVED_WRITE

STREAK_LIMIT = 5

BAD, READ_REPLY, ACKNOWLEDGED = 0, 1, 2


def next_request(driver):
    """The frame to send now, or None. Up to five writes, then up to five one-shot reads, then a cyclic read."""
    if driver.pending:
        return driver.pending[0]
    remote = driver.setting(Word.remoteMode) != 0
    read = remote_read_request if remote else read_request
    if driver.write_list and driver.write_streak < STREAK_LIMIT:
        driver.served = SERVED_WRITE
        drop_disabled(driver, driver.write_list)
        if not driver.write_list:
            return None
        (remote_write_request if remote else write_request)(driver, driver.write_list[0])
        driver.write_streak += 1
    elif driver.once_list and driver.once_streak < STREAK_LIMIT:
        driver.served = SERVED_ONCE
        drop_disabled(driver, driver.once_list)
        if not driver.once_list:
            return None
        read(driver, driver.once_list[0])
        driver.once_streak += 1
    elif driver.read_list:
        driver.served = SERVED_CYCLIC
        if not turn_to_enabled(driver):
            return None
        read(driver, driver.read_list[0])
        driver.write_streak = driver.once_streak = 0
    else:
        driver.write_streak = driver.once_streak = 0
        driver.set_setting(Word.finishFlag, 1)
    # An entry without a builder leaves nothing to send, and stays where it is.
    return driver.pending[0] if driver.pending else None


def drop_disabled(driver, queue):
    while queue and queue[0].station in driver.disabled:
        queue.pop(0)


def turn_to_enabled(driver):
    """Turns the cyclic list until its head's station is switched on; False when none is."""
    entries = driver.read_list
    for _ in range(len(entries)):
        if entries[0].station not in driver.disabled:
            return True
        entries.append(entries.pop(0))
    met['all stations off'] += 1
    return False


def error_code(var, base):
    return base + 1 + (var.connectNo if 0 <= var.connectNo <= 11 else 0)


def check_reply(var, reply, length):
    """By length and CRC only. A buffer one byte short passes: that byte counts as 0."""
    if length == 0 and var.station == 0:
        return ACKNOWLEDGED
    if length - 1 > len(reply) or length < 2:
        return BAD
    padded = reply + bytes(2)
    # The length given to the checksum is 16 bits wide.
    if padded[length - 2:length] != crc(reply[:length - 2 & 0xFFFF]).to_bytes(2, 'little'):
        return BAD
    return {0: READ_REPLY, 1: ACKNOWLEDGED}.get(var.rwFlag, BAD)


def result_code(driver, reply, length):
    """1 and 100 are good; the others tell the kind of error, local or remote, and the connection."""
    pending = driver.pending[0]
    var, expected = pending.var, pending.reply_len
    remote = var.panelStation != driver.setting(Word.ownStation)
    base = 110 if remote else 10
    if length == 0 and expected != 0:
        return error_code(var, base + 30)
    if length != 0 and expected not in (length, -1):
        return error_code(var, base + 60)
    kind = check_reply(var, reply, length)
    if kind == BAD:
        return error_code(var, base)
    if not remote:
        if kind == READ_REPLY:
            store_reply(driver, reply)
        return 1
    if var.subIndex != -1:
        return 100
    # Acknowledgements too.
    store_reply(driver, reply)
    return 100 if driver.setting(Word.frameDone) == 1 else 1


def take_reply(driver, reply, length):
    """DataCom. The record it returns is driver.result."""
    driver.result.resultCode = 1
    if not driver.pending:
        return
    remote = driver.pending[0].var.panelStation != driver.setting(Word.ownStation)
    code = result_code(driver, reply, length)
    if code in (1, 100):
        driver.failed = False
        driver.pending.pop(0)
        done = driver.setting(Word.frameDone) + 1
        driver.set_setting(Word.frameDone, done)
        if done < driver.setting(Word.frameTotal):
            met['two frames in a transaction'] += 1
            driver.result.resultCode = code
            return
        if not remote:
            count_towards_pass(driver)
    else:
        driver.failed = True
        driver.pass_count = 0
        driver.set_setting(Word.finishFlag, 0)
        retries = driver.setting(Word.retryCount) + 1
        driver.set_setting(Word.retryCount, retries)
        if retries <= driver.setting(Word.retryLimit):
            driver.result.resultCode = 0
            return
        met['given up after %d repeats' % (retries - 1)] += 1
        driver.set_setting(Word.retryCount, 0)
        driver.pending.clear()
    finish_request(driver, remote)
    if driver.failed:
        driver.call_fail(driver.result.connectNo)
        purge_failed(driver)
    driver.result.resultCode = code


def count_towards_pass(driver):
    """Every local, final good reply counts; a pass is one more than the list is long."""
    if driver.setting(Word.finishFlag) == 0:
        driver.pass_count += 1
        if driver.pass_count > len(driver.read_list):
            driver.pass_count = 0
            driver.set_setting(Word.finishFlag, 1)
            met['pass complete'] += 1


def finish_request(driver, remote):
    """Tells the host, and takes the request from its list. Does nothing when the list was emptied meanwhile."""
    if driver.served == SERVED_CYCLIC:
        if driver.read_list:
            head = driver.read_list.pop(0)
            show_result(driver, head)
            driver.read_list.append(head)
    elif driver.served in (SERVED_WRITE, SERVED_ONCE):
        queue = driver.write_list if driver.served == SERVED_WRITE else driver.once_list
        if not queue:
            return
        head = queue.pop(0)
        if not (driver.served == SERVED_ONCE and remote):
            if driver.failed:
                driver.call_done(head.connectNo, head.varId, 2)
            # A success is told once, by the last queued block of the variable.
            elif not any((var.connectNo, var.varId) == (head.connectNo, head.varId) for var in queue):
                driver.call_done(head.connectNo, head.varId, 1)
        show_result(driver, head)


def show_result(driver, var):
    driver.result.assign(var)
    driver.result.data = b''


def purge_failed(driver):
    """What is queued for the same variable, and writes to the same station, goes too."""
    failed = driver.result

    def same_variable(var):
        return (var.connectNo, var.varId) == (failed.connectNo, failed.varId)

    if driver.setting(Word.stationScope) == 0:
        driver.once_list = [var for var in driver.once_list if not same_variable(var)]
        driver.write_list = []
    else:
        driver.once_list = [var for var in driver.once_list
                            if not (same_variable(var) and var.station == failed.station)]
        driver.write_list = [var for var in driver.write_list if var.station != failed.station]
