#!/usr/bin/env python3
"""Which branches of the source no test takes.

Usage: branches.py EXPORT.json EXCLUDED.txt SOURCE_DIR CTEST_CODE NAME:PERCENT:ROOM[,ROOM...]...

EXPORT.json is what "llvm-cov export" prints. Each outcome of a condition is a branch, and so is each label of a switch;
a switch over numbers also has a branch for "none of them". Prints the figures of the rooms and every branch that was
never taken and is not excluded. Exit code 1 when a group of rooms is below its percentage, has a source file without
figures, or has an exclusion that fits no branch or one that was taken.
"""
import collections
import glob
import itertools
import json
import os
import re
import sys

EXCLUDED_AT_MOST = 2  # per cent of a group's branches

Branch = collections.namedtuple("Branch", "file line before code what taken")
Figures = collections.namedtuple("Figures", "lines lines_seen branches excluded taken")


def outcomes_of(conditions):
    """Place to (was true, was false). A template has conditions for each instance: seen in one of them is seen."""
    outcomes = {}
    for line, column, last_line, last_column, true, false, *_ in sorted(conditions):
        place = line, column, last_line, last_column
        before = outcomes.get(place, (False, False))
        outcomes[place] = before[0] or true > 0, before[1] or false > 0
    return outcomes


def text_of(text, place):
    line, column, last_line, last_column = place
    part = text[line - 1:last_line]
    part[-1] = part[-1][:last_column - 1]
    part[0] = part[0][column - 1:]
    return " ".join(piece.strip() for piece in part)


def branches_of(name, path, conditions):
    """The branches of one file."""
    with open(path, encoding="utf-8") as file:
        text = file.read().splitlines()
    outcomes = outcomes_of(conditions)
    places = list(outcomes)
    for place, following in zip(places, places[1:] + [places[-1]] if places else []):
        line, column = place[:2]
        what, (true, false) = text_of(text, place), outcomes[place]
        if what == ":":  # of a loop over a range: true for each of its elements
            what = text[line - 1].strip()

        def branch(outcome, taken):
            return Branch(name, line, text[line - 2].strip(), text[line - 1].strip(),
                          "%s: %s" % (outcome, what), taken)

        if text[line - 1][:column - 1].endswith("switch ("):
            # Over an enumeration the compiler makes sure that no value is left over.
            if not re.match(r"case \w+::", text_of(text, following)):
                yield branch("no label", true)
        elif re.match(r"(case|default)\b", what):
            yield branch("taken", true)
        else:
            yield branch("true", true)
            yield branch("false", false)


def has_code(path):
    with open(path, encoding="utf-8") as file:
        return "{" in file.read()


def read_exclusions(path):
    """Entries with an empty line between: "file: code of the line", outcomes as "false: condition", and why. Where that
    line stands in a file more than once, the line above it goes before it: "file: line above / code of the line"."""
    exclusions = {}
    with open(path, encoding="utf-8") as file:
        text = "".join(line for line in file if not line.startswith("#"))
    for entry in filter(str.strip, text.split("\n\n")):
        code, *rest = [line.strip() for line in entry.strip().splitlines()]
        outcomes = list(itertools.takewhile(re.compile("(true|false|taken|no label): ").match, rest))
        reason = " ".join(rest[len(outcomes):])
        if not outcomes or not reason:
            sys.exit("coverage: an exclusion is code, outcomes and a reason, not %s" % entry)
        exclusions.update({(code, outcome): reason for outcome in outcomes})
    return exclusions


def key_of(branch, exclusions):
    """The exclusion that fits a branch; None when none does."""
    keys = ("%s: %s" % (branch.file, branch.code), branch.what), (
        "%s: %s / %s" % (branch.file, branch.before, branch.code), branch.what)
    return next((key for key in keys if key in exclusions), None)


def percent(part, whole):
    return 100.0 * part / whole if whole else 100.0


class Coverage:
    def __init__(self, export, exclusions, folder, rooms):
        self.folder = os.path.realpath(folder)
        self.exclusions = exclusions
        self.lines = {}
        conditions = collections.defaultdict(list)
        # A compiler cache may leave one file under two names.
        for data in export["data"][0]["files"]:
            name = os.path.relpath(os.path.realpath(data["filename"]), self.folder)
            if os.path.dirname(name) in rooms:
                conditions[name] += data["branches"]
                self.lines[name] = max(data["summary"]["lines"], self.lines.get(name, data["summary"]["lines"]),
                                       key=lambda lines: lines["covered"])
        self.branches = {name: list(branches_of(name, os.path.join(self.folder, name), found))
                         for name, found in conditions.items()}

    def figures(self, names):
        branches = [branch for name in names for branch in self.branches[name]]
        return Figures(sum(self.lines[name]["count"] for name in names),
                       sum(self.lines[name]["covered"] for name in names), len(branches),
                       sum(key_of(branch, self.exclusions) is not None for branch in branches),
                       sum(branch.taken for branch in branches))

    def print_figures(self, title, figures):
        counted = figures.branches - figures.excluded
        text = "  %-14s lines %5d of %5d %6.2f %%   branches %4d of %4d %6.2f %%   excluded %3d, without them %6.2f %%"
        print(text % (
            title, figures.lines_seen, figures.lines, percent(figures.lines_seen, figures.lines),
            figures.taken, figures.branches, percent(figures.taken, figures.branches),
            figures.excluded, percent(figures.taken, counted)))

    def check(self, group, demanded, rooms):
        """Prints the group's figures. Returns how many things were looked at, and what is wrong with them."""
        names = [name for name in self.branches if os.path.dirname(name) in rooms]
        print("%s:" % group)
        for room in rooms:
            self.print_figures(room + "/", self.figures([name for name in names if os.path.dirname(name) == room]))
        figures = self.figures(names)
        self.print_figures("all", figures)
        branches = [branch for name in names for branch in self.branches[name]]
        for branch in branches:
            if not branch.taken and key_of(branch, self.exclusions) is None:
                print("  %s:%d  %s" % (branch.file, branch.line, branch.what))

        problems = self.missing_files(rooms)
        exclusions = [key for key in self.exclusions if os.path.dirname(key[0].split(":")[0]) in rooms]
        problems += wrong_exclusions(exclusions, branches)
        if percent(figures.taken, figures.branches - figures.excluded) < demanded:
            problems.append("less than %g %% of the branches of the %s" % (demanded, group))
        if percent(figures.excluded, figures.branches) > EXCLUDED_AT_MOST:
            problems.append("more than %d %% of the branches of the %s are excluded" % (EXCLUDED_AT_MOST, group))
        return len(names) + len(exclusions) + 2, problems

    def missing_files(self, rooms):
        paths = [path for room in rooms for path in sorted(glob.glob("%s/%s/*.cpp" % (self.folder, room)))]
        names = [os.path.relpath(path, self.folder) for path in paths if has_code(path)]
        return ["%s has no figures" % name for name in names if name not in self.branches]


def wrong_exclusions(exclusions, branches):
    taken = {key_of(branch, exclusions) for branch in branches if branch.taken}
    known = {key_of(branch, exclusions) for branch in branches}
    return (["excluded, but no such branch: %s | %s" % key for key in exclusions if key not in known]
            + ["excluded, but taken: %s | %s" % key for key in exclusions if key in taken])


def main(export_path, exclusions_path, folder, tests, *groups):
    with open(export_path, encoding="utf-8") as file:
        export = json.load(file)
    groups = [(group, float(demanded), rooms.split(",")) for group, demanded, rooms in
              (argument.split(":") for argument in groups)]
    rooms = [room for group in groups for room in group[2]]
    coverage = Coverage(export, read_exclusions(exclusions_path), folder, rooms)
    checks = 1
    problems = [] if tests == "0" else ["the tests have failed"]
    for group in groups:
        found = coverage.check(*group)
        checks += found[0]
        problems += found[1]
    for problem in problems:
        print("coverage: %s" % problem)
    print("coverage: %d passed, %d failed" % (checks - len(problems), len(problems)))
    return 1 if problems else 0


if __name__ == "__main__":
    sys.exit(main(*sys.argv[1:]))
