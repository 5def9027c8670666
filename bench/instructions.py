#!/usr/bin/env python3
"""Counts the instructions of each piece of work by callgrind, and writes them to bench/instructions.txt.

Usage: bench/instructions.py BUILD_DIR [--check]

With --check nothing is written: the counts are compared with those of the file, and what grew by more than a hundredth
is named and makes the exit code 1. Counts depend on compiler, Qt and processor, so the file is of one kind of machine.
"""
import pathlib
import re
import subprocess
import sys
import tempfile

from own_costs import own_costs

HERE = pathlib.Path(__file__).resolve().parent
KEPT = HERE / 'instructions.txt'
PROFILE = HERE / 'profile.txt'
PROFILED = 'transaction/driver/image/1'
TOLERANCE = 1.01
HEAD = '''# Instructions per unit of work, counted by callgrind: x86-64, Debian 12, -O2. Written by scripts/bench.
# A unit is a transaction, a read of 125 words, a checksum of 255 bytes, a description, a call.
'''
PROFILE_HEAD = f'# Instructions of {PROFILED}, by the function that takes them itself. Written by scripts/bench.\n'


def count(build):
    """{name: instructions per unit} in the order of the program, and {function: its own instructions} of PROFILED."""
    with tempfile.TemporaryDirectory() as folder:
        # An empty environment, a fixed seed and short paths: stack, heap and hash tables are the same in each run.
        environment = {'PATH': '/usr/bin:/bin', 'QT_HASH_SEED': '0', 'EC_BENCH_DRIVER': './libemerson_ec_series.so'}
        command = ['valgrind', '--tool=callgrind', '--collect-atstart=no', f'--callgrind-out-file={folder}/counts',
                   'bench/bench_instructions']
        run = subprocess.run(command, cwd=build, env=environment, capture_output=True, text=True)
        if run.returncode != 0:
            sys.exit('bench: ' + run.stderr)
        units = {name: int(number) for name, number in (line.split() for line in run.stdout.splitlines())}
        counts, profile = {}, {}
        for file in pathlib.Path(folder).glob('counts.*'):
            text = file.read_text()
            name = re.search(r'^desc: Trigger: Client Request: (\S+)', text, re.MULTILINE)
            total = re.search(r'^(?:summary|totals): (\d+)', text, re.MULTILINE)
            if name:
                counts[name.group(1)] = int(total.group(1)) / units[name.group(1)]
            if name and name.group(1) == PROFILED:
                profile = {function: cost / units[PROFILED] for function, cost in own_costs(text).items()}
    missing = [name for name in units if not counts.get(name)]
    if missing or not units:
        sys.exit(f'bench: not counted: {" ".join(missing) or "anything"}')
    return {name: counts[name] for name in units}, profile


def read_kept():
    lines = (line.split() for line in KEPT.read_text().splitlines() if line and not line.startswith('#'))
    return {name: float(number) for name, number in lines}


def read_profile():
    lines = (line.split(None, 1) for line in PROFILE.read_text().splitlines() if not line.startswith('#'))
    return [(float(cost), function) for cost, function in lines]


def table(counts):
    return ''.join(f'{name:32} {number:10.1f}\n' for name, number in counts.items())


def check(counts):
    """The number of what is worse than in the file, after naming it."""
    kept = read_kept()
    worse = 0
    for name in sorted(kept.keys() | counts.keys()):
        if name not in counts or name not in kept:
            print(f'bench: {name} is only {"in the file" if name in kept else "counted now"}')
            worse += 1
        elif counts[name] > kept[name] * TOLERANCE:
            print(f'bench: {name} grew from {kept[name]:.1f} to {counts[name]:.1f} instructions')
            worse += 1
        elif counts[name] < kept[name] / TOLERANCE:
            print(f'bench: {name} shrank from {kept[name]:.1f} to {counts[name]:.1f}; write the counts anew')
    print(f'bench: {len(counts)} counts compared, {worse} worse')
    return worse


def main(arguments):
    if len(arguments) not in (1, 2) or arguments[1:] not in ([], ['--check']):
        sys.exit(__doc__)
    counts, profile = count(arguments[0])
    if arguments[1:]:
        return min(1, check(counts))
    KEPT.write_text(HEAD + table(counts))
    PROFILE.write_text(PROFILE_HEAD + ''.join(f'{cost:8.1f} {name}\n' for name, cost in profile.items()))
    print(table(counts), end='')
    return 0


if __name__ == '__main__':
    sys.exit(main(sys.argv[1:]))
