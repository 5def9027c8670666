#!/usr/bin/env python3
"""Every link of the Markdown pages leads somewhere, as a forge shows them: to a file or folder that is there, and to an
anchor that one of the page's headings gets.
Usage: forge_links.py SOURCE_DIR
"""

import os
import re
import sys

from markdown_it import MarkdownIt

SKIPPED = ('.git', 'build')


def pages_below(source):
    for folder, folders, files in os.walk(source):
        folders[:] = sorted(name for name in folders if name not in SKIPPED)
        for name in sorted(files):
            if name.endswith('.md'):
                yield os.path.relpath(os.path.join(folder, name), source)


def plain(token):
    """A heading's text as it shows: without marks, code included."""
    return ''.join(child.content for child in token.children if child.type in ('text', 'code_inline'))


def anchors(text):
    """What a forge makes of the headings; the second of the same name ends in -1."""
    tokens = MarkdownIt('commonmark').enable('table').parse(text)
    found, counts = set(), {}
    for opening, heading in zip(tokens, tokens[1:]):
        if opening.type == 'heading_open':
            slug = re.sub(r'[^\w\- ]', '', plain(heading).lower()).replace(' ', '-')
            count = counts[slug] = counts.get(slug, -1) + 1
            found.add('%s-%d' % (slug, count) if count else slug)
    return found


def links(text):
    """Pairs of a line number and a target; of a cell of a table, the table's line."""
    for token in MarkdownIt('commonmark').enable('table').parse(text):
        for child in token.children or ():
            target = child.attrGet('href') if child.type == 'link_open' else child.attrGet('src')
            if target:
                yield (token.map or [0])[0] + 1, target


def check(page, texts, exists):
    """texts: all pages by their paths from the root; exists: says whether there is such a path."""
    problems = []
    for line, target in links(texts[page]):
        if re.match(r'[a-z]+:', target):
            continue
        file, _, anchor = target.partition('#')
        goal = os.path.normpath(os.path.join(os.path.dirname(page), file)) if file else page
        if not exists(goal):
            problems.append((line, '%s: no such file' % target))
        elif anchor and anchor not in anchors(texts.get(goal, '')):
            problems.append((line, '%s: no heading has this anchor' % target))
    return problems


def main():
    source = sys.argv[1]
    texts = {}
    for page in pages_below(source):
        with open(os.path.join(source, page), encoding='utf-8') as file:
            texts[page] = file.read()
    bad = count = 0
    for page in texts:
        count += sum(1 for _ in links(texts[page]))
        for line, problem in check(page, texts, lambda path: os.path.exists(os.path.join(source, path))):
            print('%s:%d: %s' % (page, line, problem))
            bad += 1
    print('%d links on %d pages, %d dead' % (count, len(texts), bad))
    return int(bad > 0 or count == 0)


if __name__ == '__main__':
    sys.exit(main())
