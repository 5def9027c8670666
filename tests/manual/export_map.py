#!/usr/bin/env python3
"""The map of exported names in docs/architecture.md: it has each name that the library exports once, nothing else, and
the compiled object of the file beside a name is the one that defines it.
Usage: export_map.py LIBRARY SOURCE_DIR OBJECT...
"""

import os
import re
import subprocess
import sys

import names
import pages

PAGE = 'docs/architecture.md'
TITLE = 'Which file defines an exported name'


def defined_in(objects):
    """The sources whose objects define a global name, by name; a room's objects lie below driver/ as __/room."""
    found = {}
    for path in objects:
        source = '/'.join(os.path.normpath(path).rsplit('.', 1)[0].split('/')[-2:])
        if source.startswith('driver_objects.dir/'):
            source = 'driver/' + os.path.basename(source)
        output = subprocess.run(['nm', '--defined-only', '--extern-only', path], check=True, capture_output=True,
                                text=True).stdout
        for line in output.splitlines():
            found.setdefault(line.split()[-1], set()).add(source)
    return found


def rows(text):
    """Line, name and file of each entry of the map."""
    for section in pages.sections(text):
        for line, row in section.rows() if section.title == TITLE else ():
            for name in re.findall(r'`(\w+)`', row['Name']):
                yield line, name, pages.code_word(row['File'])


def check(text, exported, sources):
    problems = []
    seen = set()
    for line, name, file in rows(text):
        if name in seen:
            problems.append((line, '%s stands in the map twice' % name))
        elif name not in exported:
            problems.append((line, '%s is not exported' % name))
        elif sources.get(name) != {file}:
            where = ' and '.join(sorted(sources.get(name, ()))) or 'no file'
            problems.append((line, '%s is defined in %s, not in %s' % (name, where, file)))
        seen.add(name)
    return problems + [(1, '%s is exported but not in the map' % name) for name in sorted(exported - seen)]


def main():
    library, source, *objects = sys.argv[1:]
    exported = names.exported(library)
    with open('%s/%s' % (source, PAGE)) as file:
        problems = check(file.read(), exported, defined_in(objects))
    return pages.report(PAGE, problems, 'a file for each of the %d exported names' % len(exported))


if __name__ == '__main__':
    sys.exit(main())
