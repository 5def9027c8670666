#!/usr/bin/env python3
"""Every name that the library exports has an entry in docs/interface.md, and nothing else has: a heading that is just
the name, its declaration as in the header, what a host has to know of a function, and an example.
Usage: names.py LIBRARY SOURCE_DIR
"""

import re
import subprocess
import sys

import pages

PAGE = 'docs/interface.md'
HEADERS = ('driver/checksum.h', 'driver/driver_object.h', 'driver/emerson_ec_series.h')
LABELS = ('Arguments', 'Returns', 'Thread', 'Locks', 'Calls back', 'Bad input')
HELPERS = 'Helpers'  # the part whose functions need no labels: they keep no state
DATA = 'Data'


def one_line(code):
    return re.sub(r'\s+', ' ', code).strip()


def exported(library):
    output = subprocess.run(['nm', '-D', '--defined-only', library], check=True, capture_output=True, text=True).stdout
    return {line.split()[-1] for line in output.splitlines()}


def declarations(source):
    """Declarations by name, without the mark of what is exported."""
    found = {}
    for header in HEADERS:
        with open('%s/%s' % (source, header)) as file:
            text = re.sub(r'//.*', '', file.read())
        for extern, rest in re.findall(r'(extern )?(?:"C" )?EC_EXPORT\s([^;{]+;)', text):
            name = re.search(r'(\w+)\s*(?:\(|;)', rest).group(1)
            found[name] = one_line(extern + rest)
    return found


def problems_of_entry(section, part, declaration):
    problems = []
    codes = [block.code for block in section.blocks if block.language == 'cpp']
    if not codes or one_line(codes[0]) != declaration:
        problems.append((section.line, '%s is not declared as in its header: %s' % (section.title, declaration)))
    if len(codes) < 2:
        problems.append((section.line, '%s has no example' % section.title))
    elif section.title.strip('`') not in ' '.join(codes[1:]):
        problems.append((section.line, 'the example of %s does not use it' % section.title))
    if part not in (HELPERS, DATA):
        missing = [label for label in LABELS if '**%s**' % label not in one_line(section.text())]
        if missing:
            problems.append((section.line, '%s does not tell: %s' % (section.title, ', '.join(missing))))
    return problems


def check(text, names, declared):
    problems = []
    seen = set()
    part = ''
    for section in pages.sections(text):
        name = pages.code_word(section.title)
        if name is None:
            part = section.title
        elif name in seen:
            problems.append((section.line, 'a second entry of %s' % name))
        elif name not in names:
            problems.append((section.line, '%s is not exported' % name))
        else:
            seen.add(name)
            problems += problems_of_entry(section, part, declared.get(name, 'nowhere'))
    problems += [(1, '%s is exported but has no heading of its own' % name) for name in sorted(names - seen)]
    return problems


def main():
    library, source = sys.argv[1:]
    names = exported(library)
    with open('%s/%s' % (source, PAGE)) as file:
        problems = check(file.read(), names, declarations(source))
    return pages.report(PAGE, problems, 'an entry for each of the %d exported names' % len(names))


if __name__ == '__main__':
    sys.exit(main())
