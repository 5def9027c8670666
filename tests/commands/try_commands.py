#!/usr/bin/python3
"""Runs every command that README.md and docs/ print, each block in a fresh copy of the sources with the built programs in
PATH, and compares what it prints where the page shows that. One that stands in the prose alone is run too. Each is run
as it stands but for the place of the port, and what a busy machine needs. What a command needs, and which are not run
and why, is in list.toml.
Usage: try_commands.py [--all] [--only TEXT] SOURCE_DIR BUILD_DIR    (--all: also what is slow)
"""

import argparse
import os
import re
import signal
import subprocess
import sys
import tempfile
import tomllib

import places
import printed
import terminal

PATIENCE = 120  # s; with --all an hour


def entry_of(entries, command):
    """The first entry that fits; none is an ordinary command."""
    for entry in entries:
        if command.text.startswith(entry['starts']):
            entry['used'] = True
            return entry
    return {}


def shape(line):
    """A line without its numbers, and without the width of its columns and of the table."""
    return ' '.join(re.sub(r'-{9,}', '---', re.sub(r'-?\d+(\.\d+)?', '#', line)).split())


def difference(shown, got, form):
    """The first line of the page that does not come, in its order; pages leave out others and end in ..."""
    if form == 'any':
        return None
    form = shape if form == 'shape' else str.rstrip
    left = [form(line) for line in got]
    for line in shown:
        if line.strip() in ('', '...'):
            continue
        if form(line) not in left:
            return line
        left = left[left.index(form(line)) + 1:]
    return None


def serve(place, text):
    """Runs until "ready" comes; then it is interrupted. What went wrong, or None."""
    process = subprocess.Popen(['bash', '-c', text], cwd=place.root, env=place.environment, text=True,
                               stdin=subprocess.DEVNULL, stdout=subprocess.PIPE, stderr=subprocess.STDOUT,
                               start_new_session=True)
    first = process.stdout.readline()
    if first.startswith('ready'):
        os.killpg(process.pid, signal.SIGINT)
    rest, _ = process.communicate(timeout=PATIENCE)
    if not first.startswith('ready'):
        return first + rest, 'is not ready'
    # A shell that waits for a pipeline may end by the signal itself.
    interrupted = process.returncode in (130, -signal.SIGINT)
    return first, None if interrupted else 'ended with %d' % process.returncode


def run(place, text, wanted, patience):
    try:
        done = subprocess.run(['bash', '-o', 'pipefail', '-c', text], cwd=place.root, env=place.environment, text=True,
                              stdin=subprocess.DEVNULL, stdout=subprocess.PIPE, stderr=subprocess.STDOUT,
                              timeout=patience)
    except subprocess.TimeoutExpired:
        return '', 'runs longer than %d s' % patience
    return done.stdout, None if done.returncode == wanted else 'ended with %d, not %d' % (done.returncode, wanted)


def try_command(place, command, entry, patience):
    """What is wrong, or None."""
    if entry.get('plc'):
        place.start_plc(entry['plc'])
    for name in entry.get('files', ()):
        places.FILES[name](place)
    text = command.text.replace(places.SHOWN_PORT, place.port)
    if 'busy' in entry:
        text = text.replace(entry['starts'], '%s %s' % (entry['starts'], entry['busy']), 1)
    if entry.get('serves', (command.output or [''])[0].startswith('ready ')):
        got, problem = serve(place, text)
    elif entry.get('terminal'):
        got, problem = terminal.show(place, text)
    else:
        got, problem = run(place, text, entry.get('exit', 0), patience)
    place.end()
    got = got.replace(place.port, places.SHOWN_PORT)
    if problem is None and command.output is not None:
        missing = difference(command.output, got.splitlines(), entry.get('output', 'exact'))
        problem = None if missing is None else 'does not print "%s"' % missing
    return problem and '%s\n%s' % (problem, got)


def try_block(options, commands, entries, tally):
    chosen = []
    for command in commands:
        entry = entry_of(entries, command)
        reason = entry.get('never') or (not options.all and entry.get('slow'))
        if reason:
            tally['left out'] += 1
            print('left out  %s  (%s)' % (command, reason))
        elif options.only in command.text:
            chosen.append((command, entry))
    if not chosen:
        return
    with tempfile.TemporaryDirectory(prefix='commands-') as folder:
        place = places.Place(options.source, options.built, folder)
        if any('slow' in entry for _, entry in chosen):
            place.forget_build()
        for command, entry in chosen:
            try:
                problem = try_command(place, command, entry, 3600 if options.all else PATIENCE)
            except subprocess.SubprocessError as error:
                place.end()
                problem = str(error)
            tally['failed' if problem else 'passed'] += 1
            said = '\n' + problem if problem else ''
            print('%s %s%s' % ('failed   ' if problem else 'passed   ', command, said), flush=True)


def blocks_of(source):
    texts = {}
    for page in printed.pages(source):
        with open(os.path.join(source, page), encoding='utf-8') as file:
            texts[page] = file.read()
    found = [block for page, text in texts.items() for block in printed.blocks(page, text)]
    known = [command for block in found for command in block]
    for page, text in texts.items():
        for mention in printed.mentions(page, text):
            if not printed.is_among(mention, known):
                known.append(mention)
                found.append([mention])
    return found


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument('--all', action='store_true')
    parser.add_argument('--only', default='')
    parser.add_argument('source', type=os.path.abspath)
    parser.add_argument('built', type=os.path.abspath)
    options = parser.parse_args()
    with open(os.path.join(os.path.dirname(__file__), 'list.toml'), 'rb') as file:
        entries = tomllib.load(file)['command']
    tally = {'passed': 0, 'failed': 0, 'left out': 0}
    for commands in blocks_of(options.source):
        try_block(options, commands, entries, tally)
    for entry in entries:
        if not entry.get('used'):
            print('failed    list.toml: no page has a command that begins with "%s"' % entry['starts'])
            tally['failed'] += 1
    print('commands: %d passed, %d failed, %d left out' % tuple(tally.values()))
    return int(tally['failed'] > 0 or tally['passed'] == 0)


if __name__ == '__main__':
    sys.exit(main())
