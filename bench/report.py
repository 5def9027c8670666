#!/usr/bin/python3
"""Writes docs/performance.md and its charts from what was measured.

Usage: bench/report.py RESULTS.json KEPT.json ALLOCATIONS.txt     (and bench/instructions.txt)

KEPT.json has the rebuilds once more, where malloc keeps what is given back to it.
"""
import datetime
import json
import pathlib
import platform
import re
import subprocess
import sys
import textwrap

import charts
import instructions
from figures import Figures
from goals import GOALS
from own_costs import short_name

HERE = pathlib.Path(__file__).resolve().parent
PAGE = HERE.parent / 'docs' / 'performance.md'
PEERS = ('pty/raw', 'pty/driver', 'pty/ecpanel', 'pty/libmodbus', 'pty/pymodbus', 'pty/serialbus')
# What a function does in a transaction of one register.
WHY = {
    'appendPending': 'the record that goes with the frame, copied',
    'passRetValue': 'the record that `DataCom` returns, copied',
    'QListData::move': 'the cyclic list, turned by one',
    'rotateReadList': 'the cyclic list, turned by one',
    'CalCRC': 'the checks of request and reply',
    'ReadRegister': 'the request',
    'appendRead': 'the request',
    'DealDataOfLocalArea': 'the check of the reply',
    'SaveToLocalDataErea': 'the reply, stored',
    'SaveWordToUS': 'the reply, stored',
    'QMutex::lock': 'four locks, what is not inlined',
    'QMutex::unlock': 'four locks, what is not inlined',
    'Ethernetcontains': 'whether the station is switched off',
    'DataCom': 'counters, what is next',
    'ComCommunication': 'counters, what is next',
    'measuring': 'the measuring program',
}


def table(head, rows):
    lines = [head, ['---'] * len(head)] + rows
    return '\n'.join('| ' + ' | '.join(map(str, line)) + ' |' for line in lines)


def goal_rows(figures):
    rows = []
    for work, unit, most, figure in GOALS:
        value = figure(figures)
        sign, met = ('<=', value <= abs(most)) if most >= 0 else ('>=', value >= abs(most))
        shown = f'{value:.0f}' if unit == 'count' else f'{value:.2f}{unit}'
        limit = '0' if most == 0 else f'{sign} {abs(most):g}{unit}'
        rows.append([work, limit, shown, 'met' if met else '**not met**'])
    return rows


def time_rows(figures):
    rows = []
    for name, what in (('transaction/driver/image/{}', 'the driver, image mode'),
                       ('transaction/libmodbus/{}', 'libmodbus')):
        for registers in (1, 125):
            key = name.format(registers)
            rows.append([f'transaction of {registers}: {what}', figures.text_ns(key), figures.text_instructions(key)])
    for stored in (125, 1000, 10000, 30000, 60000):
        key = f'transaction/driver/keyed/{stored}'
        rows.append([f'transaction of 125: the driver, keyed mode, {stored:,} values', figures.text_ns(key),
                     figures.text_instructions(key)])
    for key, what in (('read/image', '`GetRegisterData`, 125 words, image mode'),
                      ('read/keyed/125', 'the same, keyed mode, 125 values'),
                      ('read/keyed/60000', 'the same, keyed mode, 60,000 values'),
                      ('transaction/driver/scattered', 'transaction of 125, keyed mode: the 60,000 first asked for '
                       'one by one, from all over'),
                      ('crc/driver', 'CRC of 255 bytes: the driver'),
                      ('crc/two-tables', 'CRC of 255 bytes: the method of libmodbus'),
                      ('crc/boost', 'CRC of 255 bytes: boost'),
                      ('limit/memory-read', 'limit: reading 250 bytes of memory'),
                      ('limit/memcpy', 'limit: `memcpy` of 250 bytes')):
        rows.append([what, figures.text_ns(key), figures.text_instructions(key)])
    return rows


def list_rows(figures):
    rows = []
    for order, name in ((0, 'in-order'), (1, 'mixed')):
        for number in (1000, 10000, 100000):
            rows.append([f'rebuild of {number:,} descriptions, {name.replace("-", " ")}, each',
                         f'{figures.item_ns(f"rebuild/{order}/{number}"):.0f} ns',
                         f'{figures.instructions[f"rebuild/{name}/{number}"]:.0f}'])
    rows.append(['`QString::toInt` of one address', f'{figures.item_ns("toInt"):.0f} ns',
                 f'{figures.instructions["toInt"]:.0f}'])
    for calls in (10, 100, 300, 1000):
        key = f'burst/{calls}'
        rows.append([f'burst of {calls:,} `SetRegisterData` calls, each', f'{figures.counter(key, "each_ns"):.0f} ns',
                     figures.text_instructions(key)])
    return rows


def rebuild_parts(figures, kept):
    """What a rebuild costs the system, and what it costs where malloc asks the system no more."""
    parts = {}
    for order, name in enumerate(('in_order', 'mixed')):
        many, few = f'rebuild/{order}/100000', f'rebuild/{order}/1000'
        parts[f'faults_{name}'] = f'{figures.counter(many, "faults"):.0f}'
        parts[f'kept_faults_{name}'] = f'{kept.counter(many, "faults"):.0f}'
        parts[f'kept_{name}'] = f'{kept.item_ns(many) / kept.item_ns(few):.2f}'
    return parts


def line_rows(figures):
    rows = []
    for key in PEERS:
        rate, cpu = (figures.counter(key, name) for name in ('per_second', 'cpu_ns'))
        rows.append([key.split('/')[1], f'{rate:,.0f}', f'{rate / figures.counter("pty/libmodbus", "per_second"):.2f}',
                     f'{cpu / 1000:.2f} µs', f'{cpu / figures.counter("pty/libmodbus", "cpu_ns"):.2f}'])
    return rows


def kernel_text(figures):
    if all(figures.counter(key, 'kernel_held') for key in PEERS):
        return 'was held on that core too'
    return '**could not be held on it, for want of rights: these figures do not repeat**'


def paced_rows(figures):
    rows = []
    for key, what in (('host/ten-lines', '`ecpanel`, blocks of 32 words and a few bits'),
                      ('host/ten-lines-prepared', 'prepared: the same reads'),
                      ('host/ten-lines-long', '`ecpanel`, blocks of 122 words')):
        share, rate = (figures.counter(key, name) for name in ('percent_of_core', 'per_second'))
        rows.append([what, f'{share:.1f} %', f'{rate:,.0f}', f'{share / 100 / rate * 1e6:.0f} µs'])
    return rows


def profile_rows(least=20):
    """Functions that take at least so many instructions of a transaction, then the rest of them."""
    rows, rest = [], 0
    for cost, function in instructions.read_profile():
        if cost < least:
            rest += cost
            continue
        name = 'measuring' if 'countPasses' in function else short_name(function)
        rows.append([f'`{name}`', f'{cost:.0f}', WHY.get(name, '')])
    return rows + [['all others', f'{rest:.0f}', '']]


def allocation_rows(figures):
    return [[name, f'{number:g}'] for name, number in figures.allocations.items() if name != 'one-block']


def first_line(*command):
    return subprocess.run(command, check=True, capture_output=True, text=True).stdout.splitlines()[0]


def machine(figures):
    model = re.search(r'^model name\s*: (.*)', pathlib.Path('/proc/cpuinfo').read_text(), re.MULTILINE)
    load = figures.context['load_avg'][0] if figures.context.get('load_avg') else float('nan')
    debian = pathlib.Path('/etc/debian_version').read_text().strip()
    packages = ', '.join(first_line('dpkg-query', '-W', '-f', '${Package} ${Version}\n', name)
                         for name in ('libmodbus-dev', 'libboost-dev', 'qtbase5-dev', 'python3-pymodbus'))
    text = (f'{datetime.date.today()}, {platform.machine()}, {figures.context["num_cpus"]} cores, '
            f'{model.group(1) if model else "unknown processor"}, load {load:.1f} at the start. Debian {debian}, '
            f'Linux {platform.release().split("-")[0]}, {first_line("c++", "--version")}; {packages}.')
    return textwrap.fill(text, 118)


def main(arguments):
    if len(arguments) != 3:
        sys.exit(__doc__)
    allocations, counts = pathlib.Path(arguments[2]).read_text(), instructions.read_kept()
    figures, kept = (Figures(json.loads(pathlib.Path(name).read_text()), allocations, counts)
                     for name in arguments[:2])
    goals = goal_rows(figures)
    parts = {
        'machine': machine(figures),
        'goals': table(['Work', 'Goal', 'Measured', ''], goals),
        'times': table(['Work', 'Time', 'Instructions'], time_rows(figures)),
        'lists': table(['Work', 'Time', 'Instructions'], list_rows(figures)),
        'line': table(['Master', 'Transactions a second', 'Of libmodbus', 'CPU each', 'Of libmodbus'],
                      line_rows(figures)),
        'kernel': kernel_text(figures),
        'crc_counts': f'{figures.instructions["crc/driver"] / figures.instructions["crc/two-tables"]:.2f}',
        'profile': table(['Function', 'Instructions', 'For'], profile_rows()),
        'allocations': table(['Work', 'Allocations each'], allocation_rows(figures)),
        'paced': table(['Ten of', 'Share of a core', 'Transactions a second, together', 'CPU each'],
                       paced_rows(figures)),
        'panel_memory': f'{figures.counter("host/memory", "panel_kB") / 1024:.1f}',
        **rebuild_parts(figures, kept),
    }
    text = (HERE / 'performance.md.in').read_text()
    for name, part in parts.items():
        text = text.replace('{' + name + '}', part)
    charts.draw_all(figures, PAGE.with_suffix(''))
    PAGE.write_text(text)
    print(parts['goals'])
    met = sum(row[3] == 'met' for row in goals)
    print(f'bench: {met} of {len(goals)} goals met; written to docs/performance.md')


if __name__ == '__main__':
    main(sys.argv[1:])
