"""The --help texts of a program with verbs, taken apart. What the man page and the completion are made from."""
import re
import subprocess
from dataclasses import dataclass, field

TITLES = ("Positionals", "Options", "Subcommands")
TEXT_COLUMN = 30


@dataclass
class Entry:
    head: str  # "-s,--settings FILE=line.toml", "NAME TEXT ..." or a verb's name
    text: str

    def names(self):
        return [name for name in self.head.split(" ")[0].split(",") if name.startswith("-")]

    def shape(self):
        """What stands for the option's value in the help; empty for a flag."""
        return re.split(r"[=:]", self.head.partition(" ")[2])[0]


@dataclass
class Help:
    usage: str = ""
    description: list = field(default_factory=list)
    entries: dict = field(default_factory=lambda: {title: [] for title in TITLES})
    footer: list = field(default_factory=list)
    verbs: dict = field(default_factory=dict)  # each verb's own Help by its name


def entry_of(line):
    head, text = line[2:TEXT_COLUMN], line[TEXT_COLUMN:]
    if head.endswith(" ") or not text:
        return Entry(line.strip() if not text else head.strip(), text.strip())
    return Entry(line.strip(), "")


def parse(text):
    """The Help of one --help text. Whatever does not look as expected is an error: nothing may get lost."""
    result = Help()
    lines = iter(text.rstrip("\n").split("\n"))
    for line in lines:
        if line.startswith("Usage: "):
            result.usage = line[len("Usage: "):]
            break
        result.description.append(line)
    title = None
    for line in lines:
        if result.footer:
            result.footer.append(line)
        elif line.endswith(":") and line[:-1] in TITLES:
            title = line[:-1]
        elif line.startswith(" " * TEXT_COLUMN) and title and result.entries[title]:
            last = result.entries[title][-1]
            last.text = (last.text + " " + line.strip()).strip()
        elif line.startswith("  ") and title:
            result.entries[title].append(entry_of(line))
        elif line:
            result.footer.append(line)
        else:
            title = None
    if not result.usage or not result.entries["Options"]:
        raise ValueError("this is no help text: " + text[:200])
    return result


def output(command):
    return subprocess.run(command, check=True, stdout=subprocess.PIPE, text=True).stdout


def help_of(command):
    """The Help of a program and of each of its verbs."""
    result = parse(output([*command, "--help"]))
    for verb in result.entries["Subcommands"]:
        result.verbs[verb.head] = parse(output([*command, verb.head, "--help"]))
    return result
