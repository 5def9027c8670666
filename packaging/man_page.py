#!/usr/bin/env python3
"""Writes a program's man page from its --help texts.

Usage: man_page.py --date YYYY-MM-DD --see-also PAGE OUTPUT COMMAND..., where COMMAND runs the program
"""
import argparse
import re

from help_text import help_of, output


def escaped(text):
    for character, name in (("\\", "\\e"), ("-", "\\-"), ("'", "\\(aq"), ("`", "\\(ga"), ("^", "\\(ha"), ("~", "\\(ti"),
                            ('"', "\\(dq")):
        text = text.replace(character, name)
    return "\\&" + text if text.startswith(".") else text


def blocks(lines):
    """Runs of lines that belong together: (True, lines) where they are indented, (False, lines) where they are text."""
    found = []
    for line in lines:
        is_indented = line.startswith("  ")
        if not line or not found or not found[-1][1] or found[-1][0] != is_indented:
            found.append((is_indented, []))
        if line:
            found[-1][1].append(line)
    return [block for block in found if block[1]]


def running_text(lines):
    return [".PP", *(escaped(line.strip()) for line in lines)]


def as_it_stands(lines):
    return [".PP", ".RS 4", ".nf", *(escaped(line[2:]) for line in lines), ".fi", ".RE"]


def entries(items):
    result = []
    for item in items:
        head, _, rest = item.head.partition(" ")
        result += [".TP", "\\fB%s\\fR%s" % (escaped(head), " \\fI%s\\fR" % escaped(rest) if rest else ""),
                   escaped(item.text)]
    return result


def verb_part(help_text):
    result = [".SS " + escaped(help_text.usage), *(escaped(line) for line in help_text.description)]
    result += entries(help_text.entries["Positionals"] + help_text.entries["Options"])
    for is_indented, lines in blocks(help_text.footer):
        result += as_it_stands(lines) if is_indented else running_text(lines)
    return result


def end_parts(help_text):
    """The footer of the program: a line that ends with a colon, or begins with Exit codes, heads a section."""
    result = []
    for is_indented, lines in blocks(help_text.footer):
        if is_indented:
            result += as_it_stands(lines)
        elif len(lines) == 1 and re.fullmatch(r"[A-Z][a-z ]+:", lines[0]):
            result.append(".SH " + lines[0][:-1].upper())
        elif lines[0].startswith("Exit codes: "):
            result += [".SH EXIT STATUS", escaped(lines[0][len("Exit codes: "):])]
            result += [escaped(line) for line in lines[1:]]
        else:
            result += running_text(lines)
    return result


def page(name, version, help_text, date, see_also):
    description = " ".join(help_text.description)
    short = re.split(r"[,:.] ", description)[0]
    lines = [".\\\" Made from the program's help; changes go there.",
             '.TH %s 1 "%s" "%s" "User Commands"' % (name.upper(), date, version),
             ".SH NAME", "%s \\- %s" % (name, escaped(short[0].lower() + short[1:])), ".SH SYNOPSIS"]
    for verb in help_text.verbs.values():
        lines += [".B " + escaped(verb.usage), ".br"]
    lines += [".SH DESCRIPTION", escaped(description), ".SH OPTIONS", *entries(help_text.entries["Options"])]
    lines += [".SH VERBS", *entries(help_text.entries["Subcommands"])]
    for verb in help_text.verbs.values():
        lines += verb_part(verb)
    lines += [*end_parts(help_text), ".SH SEE ALSO", ".BR %s (1)" % see_also]
    return "\n".join(lines) + "\n"


def main():
    parser = argparse.ArgumentParser()
    for name in ("--date", "--see-also"):
        parser.add_argument(name, required=True)
    parser.add_argument("output")
    parser.add_argument("command", nargs="+")
    options = parser.parse_args()
    version = output([*options.command, "--version"]).strip()
    text = page(version.split()[0], version, help_of(options.command), options.date, options.see_also)
    with open(options.output, "w", encoding="utf-8") as file:
        file.write(text)


main()
