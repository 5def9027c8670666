#!/usr/bin/env python3
"""The man page and the completion of a program say what its help says.

Usage: help_pages.py PROGRAM MAN_PAGE COMPLETION [unittest arguments]
"""
import gzip
import os
import re
import subprocess
import sys
import tempfile
import unittest

PROGRAM, PAGE, COMPLETION = (os.path.abspath(path) for path in sys.argv[1:4])
NAME = os.path.basename(PROGRAM)
BASH_COMPLETION = "/usr/share/bash-completion/bash_completion"
TITLES = ("Options:", "Positionals:", "Subcommands:")

# Completes the line in $2, of which the other arguments are the words as bash cuts them.
COMPLETE = """
. %s && . "$1" || exit
COMP_LINE=$2 COMP_POINT=${#2}
shift 2
COMP_WORDS=("$@") COMP_CWORD=$(($# - 1))
"_$1"
[ ${#COMPREPLY[@]} -eq 0 ] || printf '%%s\\n' "${COMPREPLY[@]}"
""" % BASH_COMPLETION


def output(*command, **options):
    return subprocess.run(command, check=True, stdout=subprocess.PIPE, text=True, **options).stdout


def help_text(*verb):
    return output(PROGRAM, *verb, "--help")


def verbs():
    listed = help_text().partition("\nSubcommands:\n")[2].partition("\n\n")[0]
    return [line.split()[0] for line in listed.splitlines() if re.match(r"  \S", line)]


def words_without_titles(text):
    return " ".join(line for line in text.splitlines() if line not in TITLES).split()


class ManPage(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        with gzip.open(PAGE, "rt", encoding="utf-8") as file:
            cls.source = file.read()
        # As a reader sees it, but on lines that are never full.
        cls.text = output("groff", "-man", "-Tutf8", "-rLL=5000n", "-rHY=0", "-P-cbou", input=cls.source)
        cls.text = cls.text.translate(str.maketrans({"‘": "`", "’": "'", "−": "-", "‐": "-"}))

    def part(self, heading):
        """What stands below a heading, up to the next one of its kind or above."""
        indent = re.match(" *", heading).group(0)
        found = re.search(r"(?m)^%s\n((?:(?:%s +\S.*)?\n)*)" % (re.escape(heading), indent), self.text)
        self.assertIsNotNone(found, "no heading " + heading)
        return found.group(1)

    def test_groff_has_nothing_to_warn_of(self):
        warnings = subprocess.run(["groff", "-man", "-Tutf8", "-ww", "-z"], input=self.source, stderr=subprocess.PIPE,
                                  text=True, check=True).stderr
        self.assertEqual(warnings, "")

    def test_each_verb_says_word_for_word_what_its_help_says(self):
        self.assertGreaterEqual(len(verbs()), 2)
        for verb in verbs():
            text = help_text(verb)
            usage = re.search(r"(?m)^Usage: (.*)\n", text)
            expected = words_without_titles(text[:usage.start()] + text[usage.end():])
            self.assertEqual(self.part("   " + usage.group(1)).split(), expected, verb)

    def test_the_program_says_what_its_help_says(self):
        page = " ".join(self.text.split())
        # A text that begins below its option.
        for line in re.sub(r"\n {30}", " ", help_text()).splitlines():
            if line in TITLES or line.startswith("Usage: "):
                pass
            elif re.fullmatch("[A-Z][a-z ]+:", line):
                self.assertIn("\n" + line[:-1].upper() + "\n", self.text)
            else:
                self.assertIn(" ".join(re.sub("^Exit codes: ", "", line).split()), page)

    def test_the_name_is_one_line_that_an_index_can_take(self):
        self.assertRegex(self.part("NAME"), r"^ +%s - [a-z].{5,100}\n" % NAME)


class Completion(unittest.TestCase):
    def setUp(self):
        self.assertTrue(os.path.exists(BASH_COMPLETION), "Debian's bash-completion is not installed; run scripts/setup")
        folder = tempfile.TemporaryDirectory(prefix="completion-test-")
        self.addCleanup(folder.cleanup)
        self.folder = folder.name
        os.mkdir(os.path.join(self.folder, "lines"))
        for name in ("line.toml", "list.csv", "other.toml"):
            open(os.path.join(self.folder, name), "w", encoding="utf-8").close()

    def complete(self, line):
        # As readline does: blanks part words, and an equals sign is one of its own.
        words = [word for part in line.split(" ") for word in (re.split("(=)", part) if "=" in part else [part])]
        result = subprocess.run(["bash", "--norc", "-c", COMPLETE, "complete", COMPLETION, line, *words],
                                cwd=self.folder, stdout=subprocess.PIPE, stderr=subprocess.PIPE, text=True, check=True)
        self.assertEqual(result.stderr, "", line)
        return sorted(result.stdout.splitlines())

    def test_verbs(self):
        self.assertEqual(self.complete(NAME + " "), sorted(verbs()))
        self.assertEqual(self.complete(NAME + " r"), sorted(verb for verb in verbs() if verb.startswith("r")))
        self.assertEqual(self.complete(NAME + " nonsense "), [])

    def test_options_of_the_program(self):
        self.assertEqual(self.complete(NAME + " -"), ["--help", "--version", "-h"])
        self.assertEqual(self.complete(NAME + " --v"), ["--version"])

    def test_options_of_each_verb(self):
        for verb in verbs():
            options = []
            for line in help_text(verb).splitlines():
                if line.startswith("  -"):
                    options += line.split()[0].split(",")
            self.assertIn("--help", options)
            self.assertEqual(self.complete("%s %s -" % (NAME, verb)), sorted(options), verb)

    def test_every_value_that_is_a_file_or_a_choice(self):
        tried = 0
        for verb in verbs():
            for option, shape in re.findall(r"(?m)^  (?:-\w,)?(--[\w-]+) ([^ =:\n]+)", help_text(verb)):
                if shape in ("FILE", "PATH"):
                    expected = ["line.toml", "lines", "list.csv"]
                else:
                    expected = [choice for choice in shape.split("|") if "|" in shape and choice.startswith("li")]
                for form in ("%s %s %s li", "%s %s %s=li"):
                    self.assertEqual(self.complete(form % (NAME, verb, option)), expected, (verb, option))
                if "|" in shape:
                    self.assertEqual(self.complete("%s %s %s " % (NAME, verb, option)), sorted(shape.split("|")))
                tried += 1
        self.assertGreaterEqual(tried, 15)

    @unittest.skipUnless(NAME == "ecpanel", "these are verbs of ecpanel")
    def test_files_that_are_no_value_of_an_option(self):
        self.assertEqual(self.complete("ecpanel read -s o"), ["other.toml"])
        self.assertEqual(self.complete("ecpanel replay li"), ["line.toml", "lines", "list.csv"])
        self.assertEqual(self.complete("ecpanel read li"), [])


if __name__ == "__main__":
    unittest.main(argv=[sys.argv[0], *sys.argv[4:]], verbosity=2)
