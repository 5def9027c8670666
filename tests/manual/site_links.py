#!/usr/bin/env python3
"""Every link of the HTML site leads to a file of the site, and to an anchor that is there: those of the pages, of the
navigation tree and of the search.
Usage: site_links.py SITE [FILES...]    (what must be there)
"""

import html.parser
import os
import re
import sys
import urllib.parse


class Page(html.parser.HTMLParser):
    def __init__(self):
        super().__init__(convert_charrefs=True)
        self.anchors = set()
        self.targets = []  # (line, target)

    def handle_starttag(self, tag, attributes):
        given = dict(attributes)
        for name in ('id', 'name'):
            if given.get(name):
                self.anchors.add(given[name])
        for name in ('href', 'src', 'data'):
            if given.get(name):
                self.targets.append((self.getpos()[0], given[name]))


def read_page(text):
    page = Page()
    page.feed(text)
    return page


def script_targets(text):
    """Links in the data of the tree and the search: texts that name a page."""
    for number, line in enumerate(text.splitlines(), 1):
        for _, target in re.findall(r'''(["'])((?:\.\./)?[\w\-]+\.html(?:#[^"']*)?)\1''', line):
            yield number, target


def check(path, targets, files, pages):
    problems = []
    for line, target in targets:
        parts = urllib.parse.urlsplit(target)
        if parts.scheme or parts.netloc or target.startswith('javascript:') or target == '#':
            continue
        goal = os.path.normpath(os.path.join(os.path.dirname(path), urllib.parse.unquote(parts.path))) \
            if parts.path else path
        anchor = urllib.parse.unquote(parts.fragment)
        if goal not in files:
            problems.append((line, '%s: no such file' % target))
        elif anchor and goal in pages and anchor not in pages[goal].anchors:
            problems.append((line, '%s: no such anchor' % target))
    return problems


def main():
    site, wanted = sys.argv[1], sys.argv[2:]
    texts = {}
    for folder, _, names in os.walk(site):
        for name in names:
            path = os.path.relpath(os.path.join(folder, name), site)
            texts[path] = ''
            if name.endswith(('.html', '.js')):
                with open(os.path.join(site, path), encoding='utf-8') as file:
                    texts[path] = file.read()
    pages = {path: read_page(text) for path, text in texts.items() if path.endswith('.html')}
    bad = count = 0
    for path in sorted(texts):
        targets = pages[path].targets if path in pages else []
        if path.endswith('.js') and os.path.basename(path) not in ('jquery.js', 'navtree.js', 'search.js'):
            # The tree's data stand beside the pages; so do the search's, with a path from its own folder.
            targets = list(script_targets(texts[path]))
        count += len(targets)
        for line, problem in check(path, targets, texts, pages):
            print('%s:%d: %s' % (path, line, problem))
            bad += 1
    for page in wanted:
        if page not in texts:
            print('%s: there is no such file' % page)
            bad += 1
    print('%d links on %d pages, %d dead' % (count, len(pages), bad))
    return int(bad > 0 or not pages)


if __name__ == '__main__':
    sys.exit(main())
