#!/usr/bin/env python3
"""The checks of the manual can fail: each is given pages with one thing wrong, and has to find that one.
Usage: selfcheck.py SOURCE_DIR COMPILER FLAGS...
"""

import sys

import examples
import export_map
import layouts
import names
import quirks

EXPORTED = set((
    'SetComInfo FlashLocalRegister RegistCallBackFuncIntf EnCommStation QueryFinishFlag ComCommunication DataCom '
    'ReCreatReadVarList AddListReadVar AddListWriteVar AddListOnceReadVar PLCAddressChangeIntef GetRegisterData '
    'SetRegisterData CalCRC CalSUM CalLRC CalXOR DigitalToASCII ASCIIToDigital PLC_driver LB LW RWI').split())

# What is replaced in the page, by what, and what has to be said about it. Only the first place is changed.
NAME_DEFECTS = (
    ('### `CalSUM`', '### The sum', 'CalSUM is exported but has no heading of its own'),
    ('### `CalSUM`', '### `CalSum`', 'CalSum is not exported'),
    ('### `LW`', '### `LB`', 'a second entry of LB'),
    ('void EnCommStation(int station, int mode);', 'void EnCommStation(int station);', '`EnCommStation` is not declared'),
    ('show("always 1", QueryFinishFlag());', 'show("always 1", 1);', 'the example of `QueryFinishFlag` does not use it'),
    ('**Locks**: `stationMutex`.', 'It waits.', '`EnCommStation` does not tell: Locks'),
)
LAYOUT_DEFECTS = (
    ('| 8 | `devType` | `int` | 32 | 40 |', '| 8 | `devType` | `int` | 32 | 44 |', 'devType: 44 in column 64-bit'),
    ('| 8 | `devType` | `int` | 32 | 40 |', '| 8 | `devType` | `int` | 36 | 40 |', 'devType: 36 in column 32-bit'),
    ('| 8 | `devType` | `int` | 32 | 40 |', '| 9 | `devType` | `int` | 32 | 40 |', 'devType: its word is 8'),
    ('| 8 | `devType` | `int` |', '| 8 | `devType` | `QString` |', 'devType: its type is int'),
    ('| | size | | 92 | 112 | |', '| | size | | 96 | 112 | |', 'size: 96 in column 32-bit'),
    ('| 1 | `varId` |', '| 1 | `id` |', 'Record `RW_VAR`: its members in order'),
    ('| 327804 | 327868 |', '| 327805 | 327868 |', 'bitImage5: 327805 in column 32-bit'),
    ('### Record `EXTENDVAR`', '### One value', 'the record EXTENDVAR has no table'),
    ('### Record `EXTENDVAR`', '### Record `VALUE`', 'there is no record VALUE'),
)
RECORD_DEFECTS = (
    (layouts.RECORDS, '        40 int devType', '        44 int devType', 'RW_VAR is not as 8-byte pointers lay it out'),
    (layouts.FIGURES, 'offsetof(RW_VAR, devType), 32, 40', 'offsetof(RW_VAR, devType), 36, 40', 'RW_VAR.devType'),
)
QUIRK_DEFECTS = (
    ('`tst_host_setup::finishQueryIsAlwaysOne`', '`tst_host_setup::finishQuery`', 'there is no test'),
    ('`tst_host_setup::finishQueryIsAlwaysOne`', 'none', 'a row without'),
    ('| write 1 for "true" |', '| |', 'a row without'),
)
MAP_DEFECTS = (
    ('| `DataCom` | `driver/data_com.cpp` |', '| `DataCom` | `driver/reply.cpp` |',
     'DataCom is defined in driver/data_com.cpp, not in driver/reply.cpp'),
    ('| `DataCom` | `driver/data_com.cpp` |', '| `DataCom` | `driver/datacom.cpp` |', 'not in driver/datacom.cpp'),
    ('| `DataCom` |', '| `Datacom` |', 'Datacom is not exported'),
    ('| `DataCom` |', '| `DataCom`, `LB` |', 'LB stands in the map twice'),
    ('`CalCRC`, ', '', 'CalCRC is exported but not in the map'),
    ('## Which file defines', '## Where is', 'SetComInfo is exported but not in the map'),
)
EXAMPLE_DEFECTS = (
    ('show("always 1", QueryFinishFlag());', 'show("always 1", FinishFlag());', 'FinishFlag'),
    ('settings.maxBlockLen = 32;', 'settings.blockLen = 32;', 'blockLen'),
    ('void *RWI;', 'int RWI;', 'RWI'),
    ('return next != nullptr', 'return nxt != nullptr', 'nxt'),
)


def changed(text, before, after):
    if before not in text:
        raise SystemExit('nothing to change: %s' % before)
    return text.replace(before, after, 1)


def read(source, name):
    with open('%s/%s' % (source, name)) as file:
        return file.read()


class Tally:
    def __init__(self):
        self.right = self.wrong = 0

    def expect(self, what, found, wanted):
        """wanted is what must be said; nothing must be said when it is empty."""
        found = '\n'.join(problem for _, problem in found) if isinstance(found, list) else found
        if wanted in found if wanted else not found:
            self.right += 1
        else:
            self.wrong += 1
            print('%s: expected "%s", but was told: %s' % (what, wanted, found or 'nothing'))


def main():
    source, compiler, flags = sys.argv[1], sys.argv[2], sys.argv[3:]
    page = read(source, names.PAGE)
    records = {name: read(source, name) for name in (layouts.RECORDS, layouts.FIGURES)}
    quirk_page, tests = read(source, quirks.PAGE), quirks.tests_of(source)
    declared = names.declarations(source)
    drawing = read(source, export_map.PAGE)
    sources = {name: {file} for _, name, file in export_map.rows(drawing)}
    tally = Tally()

    for before, after, wanted in (('', '', ''),) + NAME_DEFECTS:
        tally.expect(before, names.check(changed(page, before, after), EXPORTED, declared), wanted)
    tally.expect('one export more', names.check(page, EXPORTED | {'Extra'}, declared), 'Extra is exported')
    for before, after, wanted in (('', '', ''),) + LAYOUT_DEFECTS:
        tally.expect(before, layouts.check(changed(page, before, after), *records.values()), wanted)
    for name, before, after, wanted in RECORD_DEFECTS:
        texts = dict(records)
        texts[name] = changed(texts[name], before, after)
        tally.expect(before, layouts.check(page, *texts.values()), wanted)
    for before, after, wanted in (('', '', ''),) + QUIRK_DEFECTS:
        tally.expect(before, quirks.check(changed(quirk_page, before, after), tests), wanted)
    for before, after, wanted in (('', '', ''),) + MAP_DEFECTS:
        tally.expect(before, export_map.check(changed(drawing, before, after), EXPORTED, sources), wanted)
    tally.expect('two files', export_map.check(drawing, EXPORTED, {**sources, 'LB': {'a.cpp', 'b.cpp'}}),
                 'a.cpp and b.cpp')
    for before, after, wanted in EXAMPLE_DEFECTS:
        codes = examples.units(names.PAGE, changed(page, before, after))
        tally.expect(before, ''.join(examples.compile_unit(code, source, compiler, flags) for code in codes), wanted)

    print('%d right, %d wrong' % (tally.right, tally.wrong))
    return int(tally.wrong > 0)


if __name__ == '__main__':
    sys.exit(main())
