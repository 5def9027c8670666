"""The model behind the same commands as the shim, and with the same answers.

A command is a line: the name of an entry point and its arguments, or one of the commands in lower case, which the shim
does itself. An answer is a line too: the result, the callbacks that ran, and the state as far as it is short. Bytes are
hex, texts are quoted, and a record is its fields in their order.
"""

import arithmetic
from cycle import next_request, take_reply
from device_types import element_address
from lists import add_once, add_write, recreate_read_list
from records import Stored, Var, Word, bytes_of, hex_text, unquoted
from state import AREA_CODES, State
from values import get_values, set_values


def area_name(code):
    return '%sImage%d' % ('bit' if code < 7 else 'dword' if code == 13 else 'word', code)


RECORD = ','.join(['%d'] * Word.number)
SUMMARY = 'settings=%d:' + RECORD + ':' + RECORD + ' counters=%d,%d,%d,%d,%d lengths=%d,%d,%d,%d,%d,%d,0'


class Model:
    def __init__(self):
        self.driver = State()

    def run(self, line):
        """The answer to one command."""
        name, *arguments = line.split(' ')
        if name in PURE:
            return PURE[name](arguments)
        answer = COMMANDS[name](self, arguments)
        answer += ' calls=%s %s' % (self.driver.calls, self.summary())
        self.driver.calls = ''
        return answer

    def summary(self):
        driver = self.driver
        return SUMMARY % (
            driver.given, *driver.records[1], *driver.records[2],
            driver.served, driver.write_streak, driver.once_streak, driver.pass_count, driver.failed,
            len(driver.read_list), len(driver.write_list), len(driver.once_list), len(driver.pending),
            len(driver.store), len(driver.disabled))

    def dump(self):
        driver = self.driver
        parts = ['dump']
        for name, entries in (('readList', driver.read_list), ('writeList', driver.write_list),
                              ('onceReadList', driver.once_list), ('protocolList', driver.pending),
                              ('extendVarList', driver.store)):
            parts.append('%s=%s' % (name, ''.join('<%s>' % entry.text() for entry in entries)))
        parts.append('disabledStations=' + ','.join('%d:%d' % item for item in sorted(driver.disabled.items())))
        parts.append('result=' + driver.result.text())
        for code in AREA_CODES:
            elements = ','.join('%d:%d' % item for item in sorted(driver.areas[code].items()) if item[1])
            if elements:
                parts.append('%s=%s' % (area_name(code), elements))
        return ' '.join(parts)

    # Commands of the shim itself.

    def reset(self, _):
        self.driver = State()
        return 'ok'

    def set_word(self, arguments):
        record, word, value = map(int, arguments)
        self.driver.records[record][word] = value
        return 'ok'

    def change_store(self, arguments):
        """What a host tool may do to the public list."""
        store = self.driver.store
        self.driver.store_index = None
        action, *rest = arguments
        if action == 'clear':
            store.clear()
        elif action == 'add':
            store.append(self.stored(rest))
        elif int(rest[0]) < len(store):
            if action == 'set':
                store[int(rest[0])] = self.stored(rest[1:])
            else:
                del store[int(rest[0])]
        return 'ok'

    @staticmethod
    def stored(words):
        return Stored(int(words[0]), int(words[1]), int(words[2]), bytes_of(words[3]))

    # Set-up and stations.

    def set_com_info(self, arguments):
        self.driver.given = int(arguments[0])
        if not self.driver.given:
            self.driver.records[0] = [0] * Word.number
        self.driver.set_setting(Word.hostWord10, 0)
        self.driver.set_setting(Word.hostWord13, 0)
        return 'ok'

    def register_callbacks(self, arguments):
        self.driver.wants_done, self.driver.wants_fail = map(int, arguments)
        return 'ok'

    def keep_pointers(self, arguments):
        self.driver.host_pointers = tuple(map(int, arguments))
        return '%d,%d,%d' % self.driver.host_pointers

    def enable_station(self, arguments):
        station, mode = map(int, arguments)
        if station < 0:
            self.driver.disabled = {}
        elif mode == 0:
            self.driver.disabled[station] = 0
        elif mode == 1:
            self.driver.disabled.pop(station, None)
        return 'ok'

    # The cycle.

    def com_communication(self, _):
        pending = next_request(self.driver)
        return 'null' if pending is None else 'head ' + pending.text()

    def data_com(self, arguments):
        length, reply = arguments
        take_reply(self.driver, b'' if reply == 'null' else bytes_of(reply), int(length))
        return self.driver.result.text()

    # Variables and values.

    def recreate(self, arguments):
        rows = [arguments[i:i + 5] for i in range(1, len(arguments), 5)]
        descriptions = [(int(code), int(station), unquoted(address), unquoted(name), int(count))
                        for code, station, address, name, count in rows]
        return str(recreate_read_list(self.driver, descriptions))

    def add_read(self, arguments):
        var = Var.parse(arguments)
        if var is None:
            return '0'
        self.driver.read_list.append(var.copy())
        return '%d %s' % (len(self.driver.read_list), var.text())

    def add_queued(self, add, arguments):
        var = Var.parse(arguments[1:])
        if var is None:
            return '0'
        length = add(self.driver, var, int(arguments[0]))
        return '%d %s' % (length, var.text())

    def get_register_data(self, arguments):
        code, text, station, count, array = arguments
        if array == 'null':
            return '0 -'
        result, data = get_values(self.driver, int(code), unquoted(text), int(station), int(count), bytes_of(array))
        return '%d %s' % (result, hex_text(data))

    def set_register_data(self, arguments):
        name, code, text, station, array, count, connect_no, var_id = arguments
        if array == 'null':
            return '0 -'
        result = set_values(self.driver, unquoted(name), int(code), unquoted(text), int(station), bytes_of(array),
                            int(count), int(connect_no), int(var_id))
        return '%d %s' % (result, array)


COMMANDS = {
    'reset': Model.reset,
    'word': Model.set_word,
    'store': Model.change_store,
    'dump': lambda model, _: model.dump(),
    'SetComInfo': Model.set_com_info,
    'RegistCallBackFuncIntf': Model.register_callbacks,
    'FlashLocalRegister': Model.keep_pointers,
    'EnCommStation': Model.enable_station,
    'QueryFinishFlag': lambda model, _: '1',
    'ComCommunication': Model.com_communication,
    'DataCom': Model.data_com,
    'ReCreatReadVarList': Model.recreate,
    'AddListReadVar': Model.add_read,
    'AddListWriteVar': lambda model, arguments: model.add_queued(add_write, arguments),
    'AddListOnceReadVar': lambda model, arguments: model.add_queued(add_once, arguments),
    'PLCAddressChangeIntef': lambda model, arguments: str(element_address(int(arguments[0]), unquoted(arguments[1]))),
    'GetRegisterData': Model.get_register_data,
    'SetRegisterData': Model.set_register_data,
}


def checksum(function):
    return lambda arguments: str(function(bytes_of(arguments[0])[:int(arguments[1])]))


def text_to_int(arguments):
    value = arithmetic.to_int(unquoted(arguments[1]), int(arguments[0]))
    return '0,0' if value is None else '1,%d' % value


# Commands that leave the state alone: their answer is the result only.
PURE = {
    'toInt': text_to_int,
    'CalCRC': checksum(arithmetic.crc),
    'CalSUM': checksum(arithmetic.byte_sum),
    'CalLRC': checksum(arithmetic.lrc),
    'CalXOR': lambda arguments: str(arithmetic.xor(bytes_of(arguments[0]) + b'\0', int(arguments[1]))),
    'DigitalToASCII': lambda arguments: str(arithmetic.digit_to_ascii(int(arguments[0]))),
    'ASCIIToDigital': lambda arguments: str(arithmetic.ascii_to_digit(int(arguments[0]))),
}
