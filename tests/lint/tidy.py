#!/usr/bin/env python3
"""clang-tidy has nothing to say of the sources; .clang-tidy has what it looks for, and why not for the rest.
Usage: tidy.py BUILD_DIR SOURCE_DIR [--all | FILE...]

Looks at the driver and at what differs from the last commit but one; with --all at the host and the simulator too.
Compiles nothing, but takes the flags of each file from BUILD_DIR/compile_commands.json.
"""

import concurrent.futures
import glob
import json
import os
import re
import shlex
import subprocess
import sys
import tempfile

TOOL = 'clang-tidy-14'
DRIVER = ('driver', 'varlist', 'frames', 'image')
OTHERS = ('host', 'host/commands', 'sim')
# What clang does not know, and what is the build's own business.
FOREIGN = re.compile(r'-fno-gnu-unique|-Winvalid-pch|-fsanitize\S*|-fno-sanitize\S*|-o|-c')


def config_problems(text):
    """Every check that is switched off has a line "# name: why"."""
    reasons = set(re.findall(r'^# ([\w.*-]+): \S', text, re.MULTILINE))
    off = set(re.findall(r'^ +-([\w.*-]+),?$', text, re.MULTILINE)) - {'*'}
    return (['%s is switched off without a reason' % name for name in sorted(off - reasons)]
            + ['%s has a reason but is not switched off' % name for name in sorted(reasons - off)])


def flags_of(build):
    """What a compiler is told of each source, by full path."""
    with open(os.path.join(build, 'compile_commands.json')) as file:
        entries = json.load(file)
    flags = {}
    for entry in entries:
        words = iter(shlex.split(entry['command'])[1:])
        kept = flags.setdefault(os.path.realpath(entry['file']), [])
        if kept:  # A source of several targets.
            continue
        for word in words:
            if word in ('-include', '-o', '-c'):
                next(words)
            elif not FOREIGN.fullmatch(word):
                kept.append(word)
    return flags


def sources_in(source, rooms):
    return sorted(path for room in rooms for path in glob.glob('%s/%s/*.cpp' % (source, room)))


def lines_of_git(source, *arguments):
    """What git prints; nothing where there is no git, or no such commit."""
    try:
        return subprocess.run(['git', '-C', source, *arguments], check=True, capture_output=True,
                              text=True).stdout.splitlines()
    except (OSError, subprocess.CalledProcessError):
        return []


def changed(source):
    """Sources of host and simulator that the last commit has changed or that are not committed, or whose own header
    is such; none where git cannot tell."""
    names = (lines_of_git(source, 'diff', '--name-only', '--relative', '--no-renames', 'HEAD~1')
             or lines_of_git(source, 'diff', '--name-only', '--relative', '--no-renames', 'HEAD'))
    names += lines_of_git(source, 'ls-files', '--others', '--exclude-standard')
    stems = {os.path.splitext(name)[0] for name in names}
    return [path for path in sources_in(source, OTHERS)
            if os.path.splitext(os.path.relpath(path, source))[0] in stems]


def tidy(path, flags, source):
    """What clang-tidy says of a source; empty when it has nothing to say."""
    run = subprocess.run([TOOL, '--quiet', '--config-file=%s/.clang-tidy' % source, path, '--', *flags],
                         capture_output=True, text=True)
    return '' if run.returncode == 0 else run.stdout or run.stderr


def planted_problems(source):
    """That it can fail: a source and a header, each with one thing wrong, and a source with nothing wrong."""
    texts = {'host/bad.cpp': 'int *nothing()\n{\n    return 0;\n}\n',
             'host/bad.h': 'inline int *nowhere()\n{\n    return 0;\n}\n',
             'host/user.cpp': '#include "host/bad.h"\n',
             'host/good.cpp': 'int *nothing()\n{\n    return nullptr;\n}\n'}
    problems = []
    with tempfile.TemporaryDirectory() as folder:
        os.mkdir(folder + '/host')
        for name, text in texts.items():
            with open('%s/%s' % (folder, name), 'w') as file:
                file.write(text)
        for name, wanted in (('bad', True), ('user', True), ('good', False)):
            said = tidy('%s/host/%s.cpp' % (folder, name), ['-std=c++17', '-I' + folder], source)
            if ('modernize-use-nullptr' in said) != wanted or (said and not wanted):
                problems.append('planted %s.cpp: %s' % (name, said or 'nothing found'))
    return problems


def main():
    build, source = map(os.path.realpath, sys.argv[1:3])
    asked = sys.argv[3:]
    if asked == ['--all']:
        paths = sources_in(source, DRIVER + OTHERS)
    else:
        paths = [os.path.realpath(path) for path in asked] or sources_in(source, DRIVER) + changed(source)
    with open(source + '/.clang-tidy') as file:
        problems = config_problems(file.read())
    problems += planted_problems(source)
    flags = flags_of(build)
    problems += ['%s is compiled by nobody' % path for path in paths if path not in flags]
    with concurrent.futures.ThreadPoolExecutor(len(os.sched_getaffinity(0))) as pool:
        problems += filter(None, pool.map(lambda path: tidy(path, flags[path], source), filter(flags.get, paths)))
    print('\n'.join(problems))
    print('%d sources looked at, %d with something to say of them' % (len(paths), len(problems)))
    return int(bool(problems) or not paths)


if __name__ == '__main__':
    sys.exit(main())
