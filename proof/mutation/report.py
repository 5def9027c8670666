"""The tables, and the list of mutants that no test can tell from the driver."""
import collections
import re

from areas import AREAS, STRICT, area_of


def name_of(mutant):
    return (mutant["file"], mutant["function"], mutant["text"], mutant["what"])


def read_reviewed(path):
    """name of a mutant -> why nothing can tell it from the driver. The format is in the file's own head."""
    reviewed, why, place, line = {}, [], None, None
    with open(path, encoding="utf-8") as file:
        for number, text in enumerate(file, 1):
            text, depth = text.rstrip(), len(text) - len(text.lstrip(" "))
            if text.startswith("##"):
                why = [text.lstrip("# ")]
            elif not text or text.startswith("#"):
                continue
            elif depth == 0:
                place = tuple(text.split(" ", 1)) if " " in text else (text, "")
            elif depth == 2:
                line = text.strip()
            elif depth == 4 and place and line and why:
                reviewed[(*place, line, text.strip())] = why[0]
            else:
                raise SystemExit(f"mutation: {path}:{number}: not understood")
    return reviewed


def review(reviewed):
    """The reviewed mutants as a table: reason, number, functions."""
    groups = collections.defaultdict(list)
    for name, why in reviewed.items():
        groups[why].append(name)
    rows = ["| Why nothing can tell it from the driver | Mutants | Where |", "| --- | --- | --- |"]
    for why, names in groups.items():
        places = dict.fromkeys(f"`{function or file}`" for file, function, _, _ in names)
        rows.append(f"| {why.rstrip('.')} | {len(names)} | {', '.join(places)} |")
    return rows


class Report:
    def __init__(self, mutants, outcomes, reviewed):
        self.mutants, self.reviewed = mutants, reviewed
        self.how = {mutant["number"]: outcome["how"] for mutant, outcome in zip(mutants, outcomes)}

    def alive(self, mutant):
        return self.how[mutant["number"]] in ("survived", "unreached")

    def open_survivors(self):
        return [m for m in self.mutants if self.alive(m) and name_of(m) not in self.reviewed]

    def stale(self, existing):
        """Entries of the list that are killed, or are none of the existing mutants."""
        names = {name_of(m): m for m in self.mutants}
        existing = {name_of(m) for m in existing}
        return [name for name in self.reviewed
                if (name in names and not self.alive(names[name])) or name not in existing]

    def row(self, title, mutants):
        killed = sum(not self.alive(m) for m in mutants)
        equivalent = sum(self.alive(m) and name_of(m) in self.reviewed for m in mutants)
        unreached = sum(self.how[m["number"]] == "unreached" for m in mutants)
        return (f"{title:28}{len(mutants):8}{killed:8}{len(mutants) - killed:9}{equivalent:12}{unreached:10}"
                f"{percent(killed, len(mutants)):>9}{percent(killed, len(mutants) - equivalent):>9}")

    def table(self):
        lines = [f"{'':28}{'mutants':>8}{'killed':>8}{'survived':>9}{'equivalent':>12}{'unreached':>10}"
                 f"{'killed':>9}{'of rest':>9}"]
        by_file, by_area = collections.defaultdict(list), collections.defaultdict(list)
        for mutant in self.mutants:
            by_file[mutant["file"]].append(mutant)
            by_area[area_of(mutant)].append(mutant)
        lines += [self.row(file, found) for file, found in sorted(by_file.items())]
        lines += [self.row(area, by_area[area]) for area in AREAS if by_area[area]]
        lines.append(self.row("all", self.mutants))
        return lines

    def failures(self):
        """What is missing: 90 % over all, and everything that is not equivalent in the strict areas."""
        killed = sum(not self.alive(m) for m in self.mutants)
        missing = []
        if killed < 0.9 * len(self.mutants):
            missing.append(f"only {percent(killed, len(self.mutants))} of all mutants are killed")
        for area in STRICT:
            left = sum(area_of(m) == area for m in self.open_survivors())
            if left:
                missing.append(f"{left} mutants of {area} survive without a reason")
        return missing


def percent(part, whole):
    return f"{100 * part / whole:.1f} %" if whole else "-"


def listed(mutants):
    """In the format of equivalent.txt, with the line numbers of today."""
    lines, last = [], None
    for mutant in mutants:
        place = f"{mutant['file']} {mutant['function']}".strip()
        if place != last:
            lines.append(place)
            last, text = place, None
        if mutant["text"] != text:
            lines.append(f"  {mutant['text']}   # line {mutant['line']}")
            text = mutant["text"]
        lines.append(f"    {mutant['what']}")
    return [re.sub(r"\s+$", "", line) for line in lines]
