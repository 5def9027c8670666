"""Reads the pages of the manual: headings, code blocks, tables."""

import re


class Section:
    """A heading and what stands below it, up to the next heading of any level."""

    def __init__(self, line, title):
        self.line = line
        self.title = title
        self.lines = []  # (number, text), without code
        self.blocks = []  # Block

    def text(self):
        return '\n'.join(text for _, text in self.lines)

    def rows(self):
        """The rows of its tables: pairs of a line number and a dictionary by column name."""
        found = []
        columns = None
        for number, text in self.lines:
            if not text.startswith('|'):
                columns = None
                continue
            cells = [cell.strip() for cell in text.strip().strip('|').split('|')]
            if columns is None:
                columns = cells
            elif not re.fullmatch(r'[|:\- ]+', text):
                found.append((number, dict(zip(columns, cells))))
        return found


class Block:
    def __init__(self, line, language):
        self.line = line  # of its first line of code
        self.language = language
        self.code = ''


def sections(text):
    """The sections of a page; the first one has no title when the page does not begin with one."""
    found = [Section(1, '')]
    block = None
    for number, line in enumerate(text.splitlines(), 1):
        if line.startswith('```'):
            if block is None:
                block = Block(number + 1, line[3:].strip())
                found[-1].blocks.append(block)
            else:
                block = None
        elif block is not None:
            block.code += line + '\n'
        elif re.match(r'#+ ', line):
            found.append(Section(number, line.lstrip('#').strip()))
        else:
            found[-1].lines.append((number, line))
    return found


def code_word(cell):
    """What stands between the backticks of a cell that is code and nothing else; otherwise None."""
    match = re.fullmatch(r'`([^`]+)`', cell)
    return match.group(1) if match else None


def report(page, problems, fine):
    """Prints the problems, or what is fine. The exit code."""
    for line, problem in problems:
        print('%s:%d: %s' % (page, line, problem))
    if not problems:
        print('%s: %s' % (page, fine))
    return 1 if problems else 0
