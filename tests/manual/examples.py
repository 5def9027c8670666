#!/usr/bin/env python3
"""Compiles the C++ of pages of the manual. A block with main is a program. A block that begins with an #include is the
head of those that follow it on its page; each of these is the body of a function.
Usage: examples.py SOURCE_DIR COMPILER FLAGS... -- PAGES...
"""

import subprocess
import sys

import pages

FLAGS = ('-std=c++17', '-fsyntax-only', '-x', 'c++', '-Wall', '-Wextra', '-Werror', '-Wno-unused', '-Wno-vexing-parse')


def units(page, text):
    """What to compile: each program, and each head with its bodies. Errors name the page and its line."""
    programs, heads = [], []
    for section in pages.sections(text):
        for block in section.blocks:
            if block.language != 'cpp':
                continue
            code = '#line %d "%s"\n%s' % (block.line, page, block.code)
            if 'int main(' in block.code:
                programs.append(code)
            elif block.code.startswith('#include'):
                heads.append([code])
            elif not heads:
                raise SystemExit('%s:%d: a block without a head before it' % (page, block.line))
            else:
                heads[-1].append('void example%d();\nvoid example%d()\n{\n%s}\n' % (block.line, block.line, code))
    return programs + [''.join(head) for head in heads]


def compile_unit(code, source, compiler, flags):
    """The compiler's complaints; nothing when it has none."""
    run = subprocess.run([compiler, *FLAGS, '-I' + source, *flags, '-'], input=code, capture_output=True, text=True)
    return '' if run.returncode == 0 else run.stderr or 'exit code %d' % run.returncode


def main():
    source, compiler = sys.argv[1:3]
    separator = sys.argv.index('--')
    flags, names = sys.argv[3:separator], sys.argv[separator + 1:]
    bad = 0
    for page in names:
        with open('%s/%s' % (source, page)) as file:
            text = file.read()
        blocks = sum(block.language == 'cpp' for section in pages.sections(text) for block in section.blocks)
        complaints = ''.join(compile_unit(code, source, compiler, flags) for code in units(page, text))
        print(complaints or '%s: %d blocks compile' % (page, blocks))
        bad |= bool(complaints) or blocks == 0
    return int(bad)


if __name__ == '__main__':
    sys.exit(main())
