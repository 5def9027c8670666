#!/usr/bin/env python3
"""The checks of links can fail: each is given pages with one dead link, and has to find that one."""

import sys

import forge_links
import site_links

PAGES = {
    'docs/a.md': '# A title\n\n'
                 '[b](b.md), [why](b.md#why-not-5), [twice](b.md#same-1), [own](#a-title), [folder](deep)\n'
                 '\n```sh\n[code](nowhere.md)\n```\n\n| |\n|---|\n| [cell](../README.md) ![](d.svg) |\n',
    'docs/b.md': '# `B`\n\n## Why not, 5?\n\n## Same\n\n## Same\n',
    'README.md': '# Read me\n\n[there](https://example.org/nowhere)\n',
}
FILES = set(PAGES) | {'docs/deep', 'docs/d.svg'}
FORGE_DEFECTS = (
    ('(b.md)', '(c.md)', 'c.md: no such file'),
    ('#why-not-5', '#why-not,-5', 'no heading has this anchor'),
    ('#same-1', '#same-2', 'no heading has this anchor'),
    ('(#a-title)', '(#code)', 'no heading has this anchor'),
    ('(deep)', '(../deep)', 'no such file'),
    ('(../README.md)', '(README.md)', 'no such file'),
    ('d.svg', 'e.svg', 'no such file'),
)
SITE = {
    'index.html': '<h1 id="top">A</h1><a href="b.html">b</a><a href="b.html#x">x</a><a href="#top">top</a>'
                  '<img src="d.png">',
    'b.html': '<a class="anchor" name="x"></a>',
    'd.png': '',
}
TREE = 'var a = [["b", "b.html", null], ["x", "b.html#x", null]];'
SITE_DEFECTS = (
    ('"b.html"', '"c.html"', 'c.html: no such file'),
    ('b.html#x', 'b.html#y', 'b.html#y: no such anchor'),
    ('"#top"', '"#bottom"', '#bottom: no such anchor'),
    ('d.png', 'e.png', 'e.png: no such file'),
)


def forge(before, after):
    pages = {**PAGES, 'docs/a.md': PAGES['docs/a.md'].replace(before, after)}
    return [problem for page in pages for _, problem in forge_links.check(page, pages, FILES.__contains__)]


def site(before, after):
    texts = {**SITE, 'index.html': SITE['index.html'].replace(before, after)}
    pages = {path: site_links.read_page(text) for path, text in texts.items() if path.endswith('.html')}
    return [problem for path in pages
            for _, problem in site_links.check(path, pages[path].targets, texts, pages)]


def tree(before, after):
    pages = {path: site_links.read_page(text) for path, text in SITE.items() if path.endswith('.html')}
    targets = site_links.script_targets(TREE.replace(before, after))
    return [problem for _, problem in site_links.check('tree.js', targets, SITE, pages)]


def main():
    right = wrong = 0
    cases = [(forge, '', '', '')] + [(forge,) + defect for defect in FORGE_DEFECTS]
    cases += [(site, '', '', '')] + [(site,) + defect for defect in SITE_DEFECTS]
    cases += [(tree, '', '', '')] + [(tree,) + defect for defect in SITE_DEFECTS[:2]]
    for look, before, after, wanted in cases:
        found = '\n'.join(look(before, after) if before else look('\0', ''))
        if wanted in found if wanted else not found:
            right += 1
        else:
            wrong += 1
            print('%s, %s: expected "%s", but was told: %s' % (look.__name__, after, wanted, found or 'nothing'))
    print('%d right, %d wrong' % (right, wrong))
    return int(wrong > 0)


if __name__ == '__main__':
    sys.exit(main())
