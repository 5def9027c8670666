#!/usr/bin/env python3
"""Which one-rule errors in the model does the comparison notice?

Each row makes the model wrong in one place; the driver is the same. The difference is then shrunk, and its test case
played: it must differ with the wrong model, and must not with the right one.
"""

import argparse
import shutil
import subprocess
import sys
import tempfile
from pathlib import Path

HERE = Path(__file__).resolve().parent

# File, what is there, what is put in its place.
ERRORS = [
    ('lists.py', 'if len(queue) < QUEUE_LIMIT:\n        queue.append', 'if True:\n        queue.append'),
    ('lists.py', 'elif len(queue) < QUEUE_LIMIT:', 'elif len(queue) <= QUEUE_LIMIT:'),
    ('lists.py', 'for queued in queue[1:]:', 'for queued in queue:'),
    ('lists.py', 'if mode == 1 or len(queue) < 2:', 'if mode != 0 or len(queue) < 2:'),
    ('lists.py', 'convert_word_bits(var)\n        elif',
     'convert_word_bits(var)\n            total = var.count\n        elif'),
    ('lists.py', 'var.address = word\n    var.count = divide(remainder(word, 16)',
     'bit, var.address = var.address, word\n    var.count = divide(remainder(bit, 16)'),
    ('lists.py', '.insert(0, var.copy(', '.append(var.copy('),
    ('lists.py', 'var.station + 255 * var.devType', '(var.station, var.devType)'),
    ('lists.py', 'if span <= longest:\n                last.count = span\n',
     'if span < longest:\n                last.count = span\n'),
    ('lists.py', 'if span <= longest:\n                last.count = divide',
     'if span < longest:\n                last.count = divide'),
    ('lists.py', 'var.address = divide(var.address, 16)', 'var.address = divide(address, 16)'),
    ('lists.py', 'count=(bound - var.address) // per_unit', 'count=(bound - var.address + per_unit - 1) // per_unit'),
    ('lists.py', 'driver.pass_count = 0', 'pass'),
    ('lists.py', 'var.subIndex = var.hostWord13 = 0', 'var.subIndex = 0'),
    ('device_types.py', '9: (256, 2), 13: (56, 4)}', '9: (256, 2)}'),
    ('device_types.py', '8: (256, 1), 9: (256, 1)', '8: (256, 1)'),
    ('device_types.py', 'address <= 55', 'address <= 56'),
    ('device_types.py', '14: (256, 8000, 11744)', '14: (256, 8000, 11743)'),
    ('device_types.py', '10, 13, 11, 100)', '10, 11, 13, 100)'),
    ('device_types.py', 'if len(parts) != 2:', 'if len(parts) < 2:'),
    ('cycle.py', 'length - 1 > len(reply)', 'length > len(reply)'),
    ('cycle.py', 'return 100 if driver.setting(Word.frameDone) == 1 else 1', 'return 1'),
    ('cycle.py', 'if not remote:\n            count', 'if True:\n            count'),
    ('cycle.py', 'driver.pass_count > len', 'driver.pass_count >= len'),
    ('cycle.py', 'if not (driver.served == SERVED_ONCE and remote):', 'if True:'),
    ('cycle.py', 'elif not any((var', 'elif True or any((var'),
    ('cycle.py', '[var for var in driver.write_list if var.station != failed.station]', '[]'),
    ('cycle.py', 'driver.set_setting(Word.retryCount, 0)', 'pass'),
    ('cycle.py', '0 <= var.connectNo <= 11', '0 <= var.connectNo <= 12'),
    ('cycle.py', 'write_streak < STREAK_LIMIT', 'write_streak <= STREAK_LIMIT'),
    ('cycle.py', 'once_streak < STREAK_LIMIT', 'once_streak < STREAK_LIMIT - 1'),
    ('cycle.py', 'if not driver.write_list:\n            return None',
     'if not driver.write_list:\n            return next_request(driver)'),
    ('cycle.py', 'driver.read_list.append(head)', 'driver.read_list.insert(0, head)'),
    ('cycle.py', "driver.result.data = b''", 'pass'),
    ('image.py', 'code in (12, 14):', 'code in (12, 14, 101):'),
    ('image.py', 'elif head.data[0] == 0:', 'else:'),
    ('image.py', 'last = driver.store[0] if driver.store else None', 'last = None'),
    ('image.py', 'driver.keyed(station, code, first + 8 * j)', 'driver.keyed(station, code, first // 8 * 8 + 8 * j)'),
    ('image.py', '1 << var.address % 8, ', '1 << var.address % 7, '),
    ('image.py', 'if code in WRITABLE_BITS:', 'if code in BITS:'),
    ('image.py', 'for k in range(min(count, len(data) // 4)):\n            driver.set_element(code',
     'for k in range(min(count // 2, len(data) // 4)):\n            driver.set_element(code'),
    ('values.py', 'array.put_word(0, driver.element(area, address + 1))',
     'array.put_word(0, driver.element(area, address))'),
    ('values.py', 'for k in range(divide(count + 1, 2)):\n            value',
     'for k in range(divide(count, 2)):\n            value'),
    ('values.py', 'array.put_word(2 * k, value & 0xFFFF)', 'array.put_word(4 * k, value & 0xFFFF)'),
    ('values.py', 'if driver.failed:\n            mirror_write(driver, block)', 'pass'),
    ('frames.py', 'if not driver.failed:\n', 'if True:\n'),
    ('frames.py', 'rwFlag=1, address=word, subIndex=0', 'rwFlag=1, address=word'),
    ('frames.py', 'if var.count == 1:', 'if var.count == 1 and code != 12:'),
    ('frames.py', 'layout = (0, 0, 0) if var.station == 0', 'layout = (0, 0, 0) if var.station & 255 == 0'),
    ('state.py', 'AREA_ELEMENTS = 65535', 'AREA_ELEMENTS = 65536'),
    ('model.py', 'self.driver.set_setting(Word.hostWord10, 0)', 'pass'),
    ('model.py', 'self.driver.disabled.pop(station, None)', 'self.driver.disabled.clear()'),
]


class Wrong:
    """The comparison with one error in its model."""

    def __init__(self, row, directory, arguments):
        self.name, right, wrong = row
        self.directory = directory
        self.arguments = arguments
        for source in HERE.glob('*.py'):
            shutil.copy(source, directory)
        changed = Path(directory, self.name)
        text = changed.read_text(encoding='utf-8')
        if right not in text:
            raise SystemExit('%s has no %r: power.py is behind the model' % (self.name, right))
        changed.write_text(text.replace(right, wrong, 1), encoding='utf-8')

    def compare(self, directory, *options):
        ended = subprocess.run([sys.executable, '-B', str(Path(directory, 'compare.py')), '--shim', self.arguments.shim,
                                '--library', self.arguments.library, '--calls', str(self.arguments.calls), *options],
                               stdout=subprocess.PIPE, encoding='utf-8', check=False)
        if ended.returncode not in (0, 1):
            raise SystemExit('the comparison did not run with an error in %s: %s' % (self.name, ended.stdout))
        return ended

    def first_seed(self):
        """Of the first sequence that differs; None when none does."""
        ended = self.compare(self.directory, '--sequences', str(self.arguments.sequences), '--seed',
                             str(self.arguments.seed), '--no-shrink')
        return ended.stdout.split(':')[0].split(' ')[1] if ended.returncode else None

    def test_case(self, seed):
        """The number of calls in the shrunk sequence of this seed, when its text shows the error and only that."""
        said = self.compare(self.directory, '--sequences', '1', '--seed', seed).stdout.split('\n')
        lines = [line for line in said[:-2] if not line.startswith('seed ')]
        path = Path(self.directory, 'case.txt')
        path.write_text('\n'.join(lines), encoding='utf-8')
        wrong = self.compare(self.directory, '--play', str(path))
        right = self.compare(HERE, '--play', str(path))
        shows = wrong.returncode == 1 and right.returncode == 0
        return sum(not line.startswith('#') for line in lines) if shows else None


def main():
    parser = argparse.ArgumentParser(description=__doc__)
    parser.add_argument('--shim', required=True)
    parser.add_argument('--library', required=True)
    parser.add_argument('--sequences', type=int, default=1500)
    parser.add_argument('--calls', type=int, default=100)
    parser.add_argument('--seed', type=int, default=500)
    parser.add_argument('--sample', type=int, default=len(ERRORS), help='only this many of the errors')
    arguments = parser.parse_args()
    step = len(ERRORS) // arguments.sample
    rows = ERRORS[step // 2::step][:arguments.sample]
    noticed = shown = 0
    for row in rows:
        with tempfile.TemporaryDirectory() as directory:
            wrong = Wrong(row, directory, arguments)
            seed = wrong.first_seed()
            calls = wrong.test_case(seed) if seed else None
        noticed += seed is not None
        shown += calls is not None
        print('%s; %s: %s: %r' % ('seed ' + seed if seed else 'NOT NOTICED',
                                  '%d calls' % calls if calls else 'NO TEST CASE', row[0], row[1].strip()), flush=True)
    print('power: %d of %d errors noticed, %d shown by a test case' % (noticed, len(rows), shown))
    return 0 if noticed == shown == len(rows) else 1


if __name__ == '__main__':
    sys.exit(main())
