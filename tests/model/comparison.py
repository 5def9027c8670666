"""Sequences of calls to the model and to the built driver, and what is said of a difference."""

import sys
from itertools import islice

from hostile import Hostile
from sequences import Sequence
from shrink import shrink

BATCH = 50   # sequences that one process of the shim runs
ENOUGH = 3   # differing sequences after which to stop
LONGEST_SHOWN = 2000


class Tally:
    """Of sequences, and of the calls in them."""

    def __init__(self):
        self.passed = 0
        self.failed = 0
        self.calls = 0

    def __str__(self):
        return '%d passed, %d failed' % (self.passed, self.failed)


def shortened(text):
    return text if len(text) <= LONGEST_SHOWN else '%s... (%d characters)' % (text[:LONGEST_SHOWN], len(text))


def show(label, commands, difference):
    """As a file that --play takes."""
    print('# %s; a test case for --play:' % label)
    print('\n'.join(commands))
    print('# model:  ' + shortened(difference.expected))
    print('# driver: ' + shortened(difference.actual))
    expected, actual = difference.expected.split(' '), difference.actual.split(' ')
    if len(expected) == len(actual):
        for model_part, driver_part in zip(expected, actual):
            if model_part != driver_part:
                print('# differs: model %s, driver %s' % (shortened(model_part), shortened(driver_part)))


def report(shim, label, commands, end, no_shrink):
    print('%s: model and driver differ%s' % (label, '; the shim ended: %s' % end if end else ''))
    if not no_shrink:
        smallest, difference = shrink(shim, commands)
        if difference is None:
            print('not when run alone: it takes the sequences before it')
        else:
            show(label, smallest, difference)
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


def compare(shim, sequences, tally, no_shrink):
    """sequences: an iterable of batch's entries. False when there are differences enough."""
    batch = []
    for sequence in sequences:
        batch.append(sequence)
        tally.calls += len(sequence[1])
        if len(batch) == BATCH:
            if not compare_batch(shim, batch, tally, no_shrink):
                return False
            batch = []
    return not batch or compare_batch(shim, batch, tally, no_shrink)


def random_sequences(first, count, calls, census):
    for seed in range(first, first + count):
        sequence = Sequence(seed, calls, census)
        yield 'seed %d' % seed, sequence.commands, sequence.answers
    census.take_limits()


def endure(shim, first, count, calls, tally):
    """Calls for which only one thing is asked: that the driver lives through them."""
    for seed in range(first, first + count):
        commands = Hostile(seed, calls).commands
        tally.calls += len(commands)
        run = shim.run(commands)
        if not run.problem and len(run.answers) == len(commands):
            tally.passed += 1
            continue
        tally.failed += 1
        print('# hostile seed %d: the driver did not live through this: %s' % (seed, run.problem))
        print('\n'.join(commands[:len(run.answers) + 1]))
        if tally.failed >= ENOUGH:
            break
