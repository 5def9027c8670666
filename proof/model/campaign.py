#!/usr/bin/env python3
"""Many random sequences of calls, answer for answer, in pieces and by several processes.

What a piece has found is kept in a directory for this build and this model, so that a campaign that was stopped goes
on where it was. Ends with the census of all pieces; a cell of it that was never met is a failure.
"""

import argparse
import contextlib
import hashlib
import io
import json
import multiprocessing
import os
import shutil
import sys
import time
from pathlib import Path

ROOT = Path(__file__).resolve().parents[2]
MODEL = ROOT / 'tests' / 'model'
sys.path.insert(0, str(MODEL))

import extremes  # noqa: E402
from census import Census  # noqa: E402
from comparison import Tally, compare, endure, random_sequences  # noqa: E402
from limits import met  # noqa: E402
from shim import Shim  # noqa: E402

SHIM_SECONDS = 1800  # a loaded machine may take its time


def processor_seconds():
    """Of this process and of the shims that it has waited for."""
    return sum(os.times()[:4])


class Piece:
    """Sequences of some seeds; of the edges and hostile ones there is one piece each, named by kind."""

    def __init__(self, kind, first, count):
        self.kind = kind
        self.first = first
        self.count = count

    def name(self):
        return '%s-%d-%d.json' % (self.kind, self.first, self.count)

    def run(self, shim, calls):
        tally, census = Tally(), Census()
        met.clear()  # of the piece before
        said = io.StringIO()
        began = processor_seconds()
        with contextlib.redirect_stdout(said):
            if self.kind == 'random':
                compare(shim, random_sequences(self.first, self.count, calls, census), tally, False)
            elif self.kind == 'edges':
                compare(shim, extremes.compared(), tally, False)
            else:
                endure(shim, self.first, self.count, calls, tally)
        return {'kind': self.kind, 'passed': tally.passed, 'failed': tally.failed, 'calls': tally.calls,
                'said': said.getvalue(), 'seconds': processor_seconds() - began,
                'counts': [[list(key), count] for key, count in census.counts.items()]}


class Campaign:
    def __init__(self, arguments):
        self.arguments = arguments
        self.directory = prepared_directory(arguments)
        self.shim = Shim(str(self.directory / 'model_shim'), str(self.directory / 'driver.so'), SHIM_SECONDS)
        self.census = Census()
        self.totals = {}

    def pieces(self):
        first, end = self.arguments.seed, self.arguments.seed + self.arguments.sequences
        if self.arguments.edges:
            yield Piece('edges', 0, 1)
        if self.arguments.hostile:
            yield Piece('hostile', first, self.arguments.hostile)
        size = self.arguments.piece
        for start in range(first, end, size):
            yield Piece('random', start, min(size, end - start))

    def run_piece(self, piece):
        result = piece.run(self.shim, self.arguments.calls)
        if not result['failed']:
            path = self.directory / piece.name()
            path.with_suffix('.new').write_text(json.dumps(result), encoding='utf-8')
            path.with_suffix('.new').rename(path)
        return result

    def add(self, result):
        totals = self.totals.setdefault(result['kind'], {'passed': 0, 'failed': 0, 'calls': 0, 'seconds': 0})
        for name in totals:
            totals[name] += result[name]
        for key, count in result['counts']:
            self.census.counts[tuple(key)] += count
        print(result['said'], end='')

    def run(self):
        """False when a piece has found a difference; then the others are left."""
        left = []
        for piece in self.pieces():
            path = self.directory / piece.name()
            if path.exists():
                self.add(json.loads(path.read_text(encoding='utf-8')))
            else:
                left.append(piece)
        print('model: %s; %d pieces to run in %d processes' % (
            self.progress(), len(left), self.arguments.jobs), flush=True)
        told = time.monotonic()
        with multiprocessing.get_context('fork').Pool(self.arguments.jobs) as pool:
            for result in pool.imap_unordered(self.run_piece, left):
                self.add(result)
                if result['failed']:
                    pool.terminate()
                    return False
                if time.monotonic() - told > 60:
                    told = time.monotonic()
                    print('model: %s' % self.progress(), flush=True)
        return True

    def progress(self):
        return '; '.join('%s: %d passed, %d failed, %d calls in %d s of processor' % (
            kind, totals['passed'], totals['failed'], totals['calls'], totals['seconds'])
                         for kind, totals in sorted(self.totals.items())) or 'nothing done yet'


def prepared_directory(arguments):
    """The library and the shim as they are now, in a directory named by them and by the model's text."""
    digest = hashlib.sha256(b'%d' % arguments.calls)
    sources = sorted(path for path in map(Path, filter(None, (
        getattr(module, '__file__', None) for module in sys.modules.values()))) if path.parent == MODEL)
    for path in [Path(arguments.shim), Path(arguments.library), *sources]:
        digest.update(path.read_bytes())
    directory = Path(arguments.directory, digest.hexdigest()[:16])
    if arguments.anew and directory.exists():
        shutil.rmtree(directory)
    directory.mkdir(parents=True, exist_ok=True)
    for source, name in ((arguments.shim, 'model_shim'), (arguments.library, 'driver.so')):
        if not (directory / name).exists():
            shutil.copy(source, directory / name)
    return directory


def parsed_arguments():
    parser = argparse.ArgumentParser(description=__doc__)
    parser.add_argument('--shim', required=True, help='the program model_shim')
    parser.add_argument('--library', required=True, help='the built driver')
    parser.add_argument('--directory', required=True, help='where pieces are kept')
    parser.add_argument('--sequences', type=int, required=True)
    parser.add_argument('--calls', type=int, default=100, help='calls in a sequence, apart from its set-up')
    parser.add_argument('--seed', type=int, default=1, help='of the first sequence')
    parser.add_argument('--piece', type=int, default=1000, help='sequences in a piece')
    parser.add_argument('--jobs', type=int, default=os.cpu_count(), help='processes')
    parser.add_argument('--edges', action='store_true', help='also the edges of every rule')
    parser.add_argument('--hostile', type=int, default=0, help='also this many sequences only to live through')
    parser.add_argument('--anew', action='store_true', help='take nothing from an earlier run')
    parser.add_argument('--failed-before', type=int, default=0, help='failures of other checks, to be counted too')
    parser.add_argument('--census', action='store_true', help='print the census')
    return parser.parse_args()


def main():
    arguments = parsed_arguments()
    campaign = Campaign(arguments)
    campaign.run()
    print('model: ' + campaign.progress())
    if arguments.census:
        print(campaign.census.text())
    gaps = campaign.census.gaps()
    cells = len(list(campaign.census.expected_cells()))
    print('model: %d of %d cells of the census met' % (cells - len(gaps), cells))
    for gap in gaps:
        print('model: never met: %s' % ', '.join(map(str, gap)))
    passed = sum(totals['passed'] for totals in campaign.totals.values())
    failed = sum(totals['failed'] for totals in campaign.totals.values()) + len(gaps) + arguments.failed_before
    print('model: %d passed, %d failed' % (passed, failed))
    return 1 if failed else 0


if __name__ == '__main__':
    sys.exit(main())
