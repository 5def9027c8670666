#!/usr/bin/env python3
"""The layout tables of docs/interface.md against what is known of the records: the 64-bit places against
proof/surface/records.txt, the 32-bit ones against the same members laid out with 4-byte pointers, and both against the
figures of tests/tst_driver_object.cpp, which runs on both. Usage: layouts.py SOURCE_DIR
"""

import re
import sys

import pages

PAGE = 'docs/interface.md'
RECORDS = 'proof/surface/records.txt'
FIGURES = 'tests/tst_driver_object.cpp'
SIZE = 'size'
NUMBERS = {'bool': 1, 'unsigned char': 1, 'unsigned short': 2, 'unsigned int': 4, 'int': 4}


def recorded(text):
    """Of each record its members in order, as (type, name); and their 64-bit places, with its size."""
    records, places = {}, {}
    for line in text.splitlines():
        head = re.fullmatch(r'(\w+): (\d+) bytes', line)
        if head:
            members = records[head.group(1)] = []
            place_of = places[head.group(1)] = {SIZE: int(head.group(2))}
            continue
        place, rest = line.split(None, 1)
        kind, name = rest.rsplit(None, 1)
        members.append((kind.replace('short int', 'short'), name))
        place_of[name] = int(place)
    return records, places


def laid_out(records, pointer):
    """The place of each member, and of the record's end, as a compiler puts them that is given this pointer size."""
    done = {}

    def size_and_alignment(kind):
        array = re.fullmatch(r'(.*)\[(\d+)\]', kind)
        if array:
            size, alignment = size_and_alignment(array.group(1))
            return size * int(array.group(2)), alignment
        if kind in records:
            return place_all(kind)[SIZE], pointer
        return (NUMBERS[kind],) * 2 if kind in NUMBERS else (pointer, pointer)

    def place_all(record):
        if record not in done:
            places, end, widest = {}, 0, 1
            for kind, name in records[record]:
                size, alignment = size_and_alignment(kind)
                end = -(-end // alignment) * alignment
                places[name] = end
                end += size
                widest = max(widest, alignment)
            places[SIZE] = -(-end // widest) * widest
            done[record] = places
        return done[record]

    for record in records:
        place_all(record)
    return done


def asserted(text):
    """Of each record the (32-bit, 64-bit) places that the test expects."""
    found = {}
    for record, name, on32, on64 in re.findall(r'offsetof\((\w+), (\w+)\), (\d+), (\d+)\}', text):
        found.setdefault(record, {})[name] = (int(on32), int(on64))
    for record, on32, on64 in re.findall(r'"size", sizeof\((\w+)\), (\d+), (\d+)\}', text):
        found.setdefault(record, {})[SIZE] = (int(on32), int(on64))
    return found


def known_places(records_text, figures_text):
    """(32-bit, 64-bit) places by record and member, and where the sources contradict each other."""
    records, on64 = recorded(records_text)
    on32 = laid_out(records, 4)
    problems = ['%s: %s is not as 8-byte pointers lay it out' % (RECORDS, record)
                for record, places in laid_out(records, 8).items() if places != on64[record]]
    for record, members in asserted(figures_text).items():
        for name, figures in members.items():
            if figures != (on32[record].get(name), on64[record].get(name)):
                problems.append('%s: other figures for %s.%s than %s' % (FIGURES, record, name, RECORDS))
    places = {record: {name: (on32[record][name], on64[record][name]) for name in on64[record]} for record in records}
    return records, places, problems


def row_problems(row, name, kind, places):
    problems = []
    for column, expected in zip(('32-bit', '64-bit'), places):
        if row.get(column) != str(expected):
            problems.append('%s: %s in column %s, but it is %d' % (name, row.get(column), column, expected))
    if kind is not None and row.get('Type') != '`%s`' % kind:
        problems.append('%s: its type is %s' % (name, kind))
    word = row.get('Word', '').split('-')[0]
    if word and int(word) != places[0] // 4:
        problems.append('%s: its word is %d' % (name, places[0] // 4))
    return problems


def table_problems(section, members, places):
    problems = []
    expected = [(name, kind) for kind, name in members] + [(SIZE, None)]
    rows = [(line, row) for line, row in section.rows() if 'Member' in row]
    names = [pages.code_word(row['Member']) or row['Member'] for _, row in rows]
    if names != [name for name, _ in expected]:
        return [(section.line, '%s: its members in order are %s' % (section.title, [name for name, _ in expected]))]
    for (line, row), (name, kind) in zip(rows, expected):
        problems += [(line, problem) for problem in row_problems(row, name, kind, places[name])]
    return problems


def check(text, records_text, figures_text):
    records, places, contradictions = known_places(records_text, figures_text)
    problems = [(1, contradiction) for contradiction in contradictions]
    seen = []
    for section in pages.sections(text):
        match = re.fullmatch(r'Record `(\w+)`', section.title)
        if match is None:
            continue
        record = match.group(1)
        seen.append(record)
        if record not in records:
            problems.append((section.line, 'there is no record %s' % record))
        else:
            problems += table_problems(section, records[record], places[record])
    problems += [(1, 'the record %s has no table' % record) for record in records if seen.count(record) != 1]
    return problems


def main():
    texts = []
    for name in (PAGE, RECORDS, FIGURES):
        with open('%s/%s' % (sys.argv[1], name)) as file:
            texts.append(file.read())
    records, _ = recorded(texts[1])
    return pages.report(PAGE, check(*texts), '%d members of %d records with their places on 32 and 64 bits'
                        % (sum(len(members) for members in records.values()), len(records)))


if __name__ == '__main__':
    sys.exit(main())
