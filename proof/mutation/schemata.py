"""Writes the mutated copy: all mutants in one text, each chosen by its number while the program runs."""
import bisect
import concurrent.futures
import json
import os
import re

import sites as places

HEADER = '#include "chosen.h"\n'


class Text:
    """One file with its sites, nested as they are in the source."""

    def __init__(self, root, file, sites, numbers):
        with open(os.path.join(root, file), "rb") as source:
            self.source = source.read()
        # Outer ones first; of the same range the statement is outside.
        self.sites = sorted(sites, key=lambda s: (s.begin, -s.end, not s.statement))
        self.numbers = numbers
        self.next = 0

    def whole(self):
        return HEADER + self.render(0, len(self.source))

    def render(self, begin, end):
        """The text of a range with the sites in it, from the next site on."""
        out, at = [], begin
        while self.next < len(self.sites) and self.sites[self.next].begin < end:
            site = self.sites[self.next]
            self.next += 1
            out.append(self.source[at:site.begin].decode())
            out.append(self.mutated(site))
            at = site.end
        out.append(self.source[at:end].decode())
        return "".join(out)

    def mutated(self, site):
        first, count = self.numbers[id(site)], len(site.alternatives)
        original = self.render(site.begin, site.end)
        chosen = f"::mutation::at({first}, {count})"
        texts = [text for _, text in site.alternatives]
        if not site.statement:
            choice = "".join(f"::mutation::is({first + i}) ? ({text}) : " for i, text in enumerate(texts[:-1]))
            return f"({chosen} ? ({choice}({texts[-1]})) : ({original}))"
        if texts == [places.REMOVED]:
            return f"if ({chosen}) {{}} else {original}"
        if site.is_pair():
            return f"if ({chosen}) {texts[0]} else {{ {original}; }}"
        choice = "".join(f"if (::mutation::is({first + i})) {text}; " for i, text in enumerate(texts))
        return f"if ({chosen}) {{ {choice}__builtin_unreachable(); }} else {original}"


def shown(text):
    """A mutation as a reader wants to see it."""
    return re.sub(r"static_cast<decltype\(\w+\)>\((.*)\)", r"\1", " ".join(text.split()))


def mutants_of(root, file, sites, first):
    """A record for each mutant of a file, numbered from first on, and the first number of each site."""
    with open(os.path.join(root, file), "rb") as source:
        data = source.read()
    starts = [0] + [i + 1 for i, byte in enumerate(data) if byte == 10]
    lines = data.decode().split("\n")
    mutants, numbers, seen = [], {}, {}
    for site in sorted(sites, key=lambda s: (s.begin, -s.end, not s.statement)):
        numbers[id(site)] = first + len(mutants)
        line = bisect.bisect_right(starts, site.begin)
        for operator, text in site.alternatives:
            original = " ".join(data[site.begin:site.end].decode().split())
            what = f"{original} => {shown(text)}"
            key = (site.function, lines[line - 1].strip(), what)
            seen[key] = seen.get(key, 0) + 1
            if seen[key] > 1:
                what += f" ({seen[key]})"
            mutants.append({"number": first + len(mutants), "site": numbers[id(site)], "file": file,
                            "function": site.function or "", "line": line, "text": lines[line - 1].strip(),
                            "operator": operator, "what": what})
    return mutants, numbers


def collect(root, commands, jobs):
    """The sites of every file of the driver."""
    found = {}
    with concurrent.futures.ProcessPoolExecutor(jobs) as pool:
        for result in pool.map(places.sites_of, [root] * len(commands), commands.values()):
            for file, sites in result.items():
                found.setdefault(file, sites)
    return found


def write(root, target, found):
    """Writes the mutated files and mutants.json under target; the headers that have no site are copied."""
    mutants = []
    for file in sorted(found):
        records, numbers = mutants_of(root, file, found[file], len(mutants))
        mutants += records
        store(os.path.join(target, file), Text(root, file, found[file], numbers).whole())
    for room in places.ROOMS:
        for name in os.listdir(os.path.join(root, room)):
            file = f"{room}/{name}"
            if name.endswith((".h", ".cpp")) and file not in found:
                with open(os.path.join(root, file), encoding="utf-8") as source:
                    store(os.path.join(target, file), source.read())
    with open(os.path.join(target, "mutants.json"), "w", encoding="utf-8") as file:
        json.dump(mutants, file)
    return mutants


def store(path, text):
    """Leaves a file alone that has the text already, so that nothing is compiled for it."""
    os.makedirs(os.path.dirname(path), exist_ok=True)
    if os.path.exists(path):
        with open(path, encoding="utf-8") as file:
            if file.read() == text:
                return
    with open(path, "w", encoding="utf-8") as file:
        file.write(text)
