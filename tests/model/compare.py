#!/usr/bin/env python3
"""Compares the built driver with the model in random sequences of calls, answer for answer.

On a difference it looks for a shorter sequence that still differs, prints it with both answers, and exits with 1.
"""

import argparse
import shlex
import sys

import extremes
from census import Census
from comparison import Tally, compare, endure, random_sequences, show
from model import COMMANDS, PURE
from shim import Shim, first_difference

SHIM_SECONDS = 300


def play(shim, path):
    """A sequence from a file, in which lines that start with # say something."""
    with open(path, encoding='utf-8') as lines:
        commands = [line.rstrip('\n') for line in lines if line.strip() and not line.startswith('#')]
    if not all(line.split(' ', 1)[0] in {**COMMANDS, **PURE} for line in commands):
        run = shim.run(commands)
        print('the driver %s' % ('did not live through this: %s' % run.problem if run.problem else 'lived on'))
        return 1 if run.problem else 0
    difference = first_difference(shim, commands)
    if difference:
        show('model and driver differ', commands[:difference.at + 1], difference)
        return 1
    print('%d calls, no difference' % len(commands))
    return 0


def positive(text):
    value = int(text)
    if value < 1:
        raise argparse.ArgumentTypeError('%s is not above 0' % text)
    return value


def main():
    parser = argparse.ArgumentParser(description=__doc__)
    parser.add_argument('--shim', required=True, help='the program model_shim')
    parser.add_argument('--library', required=True, help='the built driver')
    parser.add_argument('--emulator', default='', help='command that runs the shim when it is built for another machine')
    parser.add_argument('--sequences', type=positive, default=200)
    parser.add_argument('--calls', type=positive, default=100, help='calls in a sequence, apart from its set-up')
    parser.add_argument('--seed', type=int, default=1, help='of the first sequence; each has one of its own')
    parser.add_argument('--extremes', action='store_true',
                        help='also the edges of every rule, and hostile arguments that the driver must live through')
    parser.add_argument('--census', action='store_true', help='tell how often each code, limit and result was met')
    parser.add_argument('--play', metavar='FILE', help='only the sequence in this file, as a difference is printed')
    parser.add_argument('--no-shrink', action='store_true', help='stop at the first difference and only name it')
    arguments = parser.parse_args()
    shim = Shim(arguments.shim, arguments.library, SHIM_SECONDS, shlex.split(arguments.emulator))
    try:
        problem = shim.run(['reset']).problem
    except OSError as error:
        problem = error
    if problem:
        print('the shim does not run: %s' % problem, file=sys.stderr)
        return 2
    if arguments.play:
        return play(shim, arguments.play)
    tally, census = Tally(), Census()
    sequences = random_sequences(arguments.seed, arguments.sequences, arguments.calls, census)
    going_on = compare(shim, sequences, tally, arguments.no_shrink)
    if going_on and arguments.extremes:
        if compare(shim, extremes.compared(), tally, arguments.no_shrink):
            endure(shim, arguments.seed, max(1, arguments.sequences // 10), arguments.calls, tally)
    if arguments.census:
        print(census.text())
    print('%d calls; %s' % (tally.calls, tally))
    return 1 if tally.failed else 0


if __name__ == '__main__':
    sys.exit(main())
