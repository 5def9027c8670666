#!/usr/bin/env python3
"""Compares the built driver with the model in random sequences of calls, answer for answer.

On a difference it looks for a shorter sequence that still differs, prints it with both answers, and exits with 1.
"""

import argparse
import shlex
import sys
import time
from collections import Counter
from itertools import islice

import extremes
from hostile import Hostile
from sequences import Sequence
from shim import Shim, first_difference

BATCH = 50         # sequences that one process of the shim runs
ENOUGH = 3         # differing sequences after which to stop
SHRINK_SECONDS = 60
SHIM_SECONDS = 300
LONGEST_SHOWN = 2000


class Tally:
    def __init__(self):
        self.passed = 0
        self.failed = 0

    def __str__(self):
        return '%d passed, %d failed' % (self.passed, self.failed)


def shrink(shim, commands):
    """A shorter sequence that still differs, and its difference; (commands, None) when it does not differ alone."""
    difference = first_difference(shim, commands)
    if difference is None:
        return commands, None
    commands = commands[:difference.at + 1]
    chunk = max(1, len(commands) // 2)
    end = time.monotonic() + SHRINK_SECONDS
    while time.monotonic() < end:
        shorter = False
        at = 1  # a sequence starts with reset
        while at < len(commands) and time.monotonic() < end:
            candidate = commands[:at] + commands[at + chunk:]
            # A dump shows what the answers so far do not.
            candidate += ['dump'] if candidate[-1] != 'dump' else []
            found = first_difference(shim, candidate)
            if found and found.at < len(commands) - 1:
                commands, difference, shorter = candidate[:found.at + 1], found, True
            else:
                at += chunk
        if chunk == 1 and not shorter:
            break
        chunk = max(1, chunk // 2)
    return commands, difference


def shortened(text):
    return text if len(text) <= LONGEST_SHOWN else '%s... (%d characters)' % (text[:LONGEST_SHOWN], len(text))


def show(commands, difference):
    print('smallest sequence found:')
    for command in commands:
        print('  ' + shortened(command))
    expected, actual = difference.expected.split(' '), difference.actual.split(' ')
    print('model:  ' + shortened(difference.expected))
    print('driver: ' + shortened(difference.actual))
    if len(expected) == len(actual):
        for model_part, driver_part in zip(expected, actual):
            if model_part != driver_part:
                print('differs: model %s, driver %s' % (shortened(model_part), shortened(driver_part)))


def report(shim, label, commands, end, no_shrink):
    print('%s: model and driver differ%s' % (label, '; the shim ended: %s' % end if end else ''))
    if not no_shrink:
        smallest, difference = shrink(shim, commands)
        if difference is None:
            print('not when run alone: it takes the sequences before it')
        else:
            show(smallest, difference)
    sys.stdout.flush()


def compare_batch(shim, batch, tally, no_shrink):
    """batch: (label, commands, expected answers). False when there are differences enough."""
    while batch:
        run = shim.run([command for _, commands, _ in batch for command in commands])
        answers = iter(run.answers)
        for done, (label, commands, expected) in enumerate(batch, 1):
            actual = list(islice(answers, len(expected)))
            if actual == expected:
                tally.passed += 1
                continue
            tally.failed += 1
            end = run.problem or 'too early' if len(actual) < len(expected) else None
            report(shim, label, commands, end, no_shrink)
            if no_shrink or tally.failed >= ENOUGH:
                return False
            if len(actual) < len(expected):  # the process ended here: a new one for the rest
                break
        else:
            if run.problem:
                tally.failed += 1
                print('all answers are right, but the shim ended badly: %s' % run.problem)
                return False
        batch = batch[done:]
    return True


def compare(shim, label, sequences, tally, no_shrink):
    """sequences: an iterable of batch's entries."""
    count = calls = 0
    kinds = Counter()
    batch = []
    going_on = True
    for sequence in sequences:
        batch.append(sequence)
        count += 1
        calls += len(sequence[1])
        kinds.update(command.split(' ', 1)[0] for command in sequence[1])
        if len(batch) == BATCH:
            going_on = compare_batch(shim, batch, tally, no_shrink)
            batch = []
            if not going_on:
                break
    if going_on and batch:
        going_on = compare_batch(shim, batch, tally, no_shrink)
    print('%s: %d sequences, %d calls compared (%s)' % (
        label, count, calls, ', '.join('%s %d' % kind for kind in kinds.most_common())))
    return going_on


def random_sequences(arguments):
    for seed in range(arguments.seed, arguments.seed + arguments.sequences):
        sequence = Sequence(seed, arguments.calls)
        yield 'seed %d' % seed, sequence.commands, sequence.answers


def endure(shim, arguments, tally):
    """Calls for which only one thing is asked: that the driver lives through them."""
    calls = 0
    count = max(1, arguments.sequences // 10)
    for seed in range(arguments.seed, arguments.seed + count):
        commands = Hostile(seed, arguments.calls).commands
        calls += len(commands)
        run = shim.run(commands)
        if not run.problem and len(run.answers) == len(commands):
            tally.passed += 1
            continue
        tally.failed += 1
        print('hostile seed %d: the driver did not live through this: %s' % (seed, run.problem))
        for command in commands[:len(run.answers) + 1]:
            print('  ' + shortened(command))
        if tally.failed >= ENOUGH:
            break
    print('hostile: %d sequences, %d calls, not compared' % (count, calls))


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
    tally = Tally()
    going_on = compare(shim, 'random', random_sequences(arguments), tally, arguments.no_shrink)
    if going_on and arguments.extremes:
        going_on = compare(shim, 'extremes', extremes.compared(), tally, arguments.no_shrink)
        if going_on:
            endure(shim, arguments, tally)
    print(tally)
    return 1 if tally.failed else 0


if __name__ == '__main__':
    sys.exit(main())
