#!/usr/bin/env python3
"""Turns a page as a forge shows it into one for Doxygen: every heading gets the anchor that a forge gives it, and links
between pages become references to pages and anchors. Doxygen runs it for each page.
Usage: page_filter.py PAGE    (in the root of the sources; to standard output)
"""

import os
import re
import sys

MAIN = 'docs/README.md'


def slug(title):
    """The anchor that a forge makes of a heading: letters, digits, hyphens, underscores; blanks become hyphens."""
    plain = re.sub(r'\[([^\]]*)\]\([^)]*\)', r'\1', title)
    return re.sub(r'[^\w\- ]', '', plain.strip().lower()).replace(' ', '-')


def page_id(path):
    """Doxygen's name of a page, which is also that of its HTML file."""
    stem = re.sub(r'(/README)?\.md$', '', re.sub(r'^docs/', '', path))
    return 'index' if path == MAIN else stem.replace('/', '-').lower()


def anchor_id(path, anchor):
    """The same heading may stand on several pages, but Doxygen's anchors are all of one space."""
    return page_id(path) + '--' + anchor


def link(path, text, target):
    if re.match(r'[a-z]+:', target):
        return '[%s](%s)' % (text, target)
    file, _, anchor = target.partition('#')
    goal = os.path.normpath(os.path.join(os.path.dirname(path), file)) if file else path
    if anchor:
        return '[%s](@ref %s)' % (text, anchor_id(goal, anchor))
    if goal.endswith('.md') or os.path.isdir(goal):
        goal = goal if goal.endswith('.md') else goal + '/README.md'
        # A page of contents has the pages that it names below itself in the tree.
        if os.path.basename(path) == 'README.md' and path.startswith('docs/'):
            return '\\subpage %s "%s"' % (page_id(goal), text.replace('`', ''))
        return '[%s](@ref %s)' % (text, page_id(goal))
    return '<a href="%s">%s</a>' % (os.path.basename(goal), text)  # HTML_EXTRA_FILES


def filtered(path, text):
    lines, seen, fence = [], {}, False
    for line in text.splitlines():
        if line.startswith('```'):
            fence = not fence
            line = '```' if line[3:] not in ('', 'cpp') else '```{.cpp}' if line[3:] else line
        elif not fence:
            line = re.sub(r'(?<!!)\[((?:[^\[\]]|`[^`]*`)*)\]\(([^()\s]+)\)', lambda m: link(path, m[1], m[2]), line)
            heading = re.match(r'(#+) (.*)', line)
            if heading:
                title = heading[2].replace('`', '')  # the tree would show the marks
                line = '%s %s {#%s}' % (heading[1], title, heading_id(path, heading[2], seen))
        lines.append(line)
    return '\n'.join(lines) + '\n'


def heading_id(path, title, seen):
    name = slug(title)
    count = seen[name] = seen.get(name, -1) + 1
    if len(seen) == 1 and count == 0:  # the page's own
        return 'mainpage' if path == MAIN else page_id(path)
    return anchor_id(path, name + ('-%d' % count if count else ''))


if __name__ == '__main__':
    page = os.path.relpath(sys.argv[1])
    with open(page, encoding='utf-8') as file:
        sys.stdout.reconfigure(encoding='utf-8')
        sys.stdout.write(filtered(page, file.read()))
