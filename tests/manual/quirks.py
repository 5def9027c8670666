#!/usr/bin/env python3
"""Every row of docs/quirks.md names tests that exist. Usage: quirks.py SOURCE_DIR"""

import os
import re
import sys

import pages

PAGE = 'docs/quirks.md'


def tests_of(source):
    """All test functions as file::function; their tables of rows are none."""
    found = set()
    for name in os.listdir(source + '/tests'):
        if name.startswith('tst_') and name.endswith('.cpp'):
            with open('%s/tests/%s' % (source, name)) as file:
                text = file.read()
            slots = re.findall(r'private slots:(.*?)\n};', text, re.DOTALL)
            functions = re.findall(r'^    void (\w+)\(\)', ''.join(slots), re.MULTILINE)
            found |= {'%s::%s' % (name[:-4], function) for function in functions if not function.endswith('_data')}
    return found


def check(text, tests):
    problems = []
    for section in pages.sections(text):
        for line, row in section.rows():
            named = re.findall(r'`([^`]+)`', row.get('Test', ''))
            if not named or not row.get('What') or not row.get('Why a host may care'):
                problems.append((line, 'a row without what it is, why a host may care, or a test'))
            problems += [(line, 'there is no test %s' % test) for test in named if test not in tests]
    return problems


def main():
    source = sys.argv[1]
    with open('%s/%s' % (source, PAGE)) as file:
        text = file.read()
    rows = sum(len(section.rows()) for section in pages.sections(text))
    return pages.report(PAGE, check(text, tests_of(source)), '%d rows, and the tests that they name exist' % rows)


if __name__ == '__main__':
    sys.exit(main())
