"""Finds the commands that pages print: each line of a ```sh block, each "$ ..." of a ```text block with the output that
stands below it, and in the prose those with arguments that stand in backticks."""

import os
import re

PROGRAM = r'(build/release/)?(ecpanel|ecsim|cmake|ctest|g\+\+|pkg-config|(scripts|proof)/\S+) .+'


class Command:
    def __init__(self, page, line, text, output=None):
        self.page = page
        self.line = line
        self.text = text
        self.output = output  # list of lines; None where the page shows none

    def __str__(self):
        return '%s:%d: %s' % (self.page, self.line, self.text.split('\n')[0])


def fenced(text):
    """Triples of the first line's number, the language, and the lines."""
    block = None
    for number, line in enumerate(text.splitlines(), 1):
        if line.startswith('```'):
            if block is None:
                block = (number + 1, line[3:].strip(), [])
            else:
                yield block
                block = None
        elif block is not None:
            block[2].append(line)


def of_shell(page, first, lines):
    found, text, begin = [], '', first
    for number, line in enumerate(lines, first):
        begin = begin if text else number
        text += line + '\n'
        # Goes on behind a backslash and behind a pipe.
        if line.strip() and not re.search(r'(\\|\|)$', line):
            found.append(Command(page, begin, text.rstrip('\n')))
            text = ''
    return found


def of_session(page, first, lines):
    found = []
    for number, line in enumerate(lines, first):
        if line.startswith('$ '):
            found.append(Command(page, number, line[2:], []))
        elif found:
            found[-1].output.append(line)
    return found


def blocks(page, text):
    """Lists of commands; those of one block are run one after the other in the same place."""
    for first, language, lines in fenced(text):
        reader = {'sh': of_shell, 'text': of_session}.get(language)
        commands = reader(page, first, lines) if reader else []
        if commands:
            yield commands


def mentions(page, text):
    """Commands without an output."""
    fences = [range(first - 1, first + len(lines) + 1) for first, _, lines in fenced(text)]
    prose = '\n'.join('' if any(number in fence for fence in fences) else line
                      for number, line in enumerate(text.splitlines(), 1))
    for match in re.finditer(r'`([^`]+)`', prose):
        said = ' '.join(match.group(1).split())
        if re.fullmatch(PROGRAM, said):
            yield Command(page, prose.count('\n', 0, match.start()) + 1, said)


def is_among(mention, commands):
    """Whether one of them begins so, on its own or within a line; a word in capitals stands for any."""
    words = [r'\S+' if re.fullmatch('[A-Z]+', word) else re.escape(word) for word in mention.text.split()]
    pattern = re.compile(r'(^|[|;(] ?)(build/release/)?%s(?!\S)' % ' '.join(words))
    return any(pattern.search(command.text) for command in commands)


def pages(source):
    names = ['README.md', 'CONTRIBUTING.md']
    for folder, _, files in sorted(os.walk(os.path.join(source, 'docs'))):
        names += [os.path.relpath(os.path.join(folder, name), source) for name in sorted(files) if name.endswith('.md')]
    return [name for name in names if os.path.exists(os.path.join(source, name))]
