#!/usr/bin/python3
"""What the built ecpanel shows on a terminal, as one who sits before it sees it.

Usage: ecpanel_screen.py ECPANEL ECSIM DRIVER SOURCE_DIR [unittest arguments]

The terminal is that of Debian's python3-pyte, which is why Debian's own Python runs this.
"""
import fcntl
import os
import pty
import re
import select
import signal
import struct
import subprocess
import sys
import termios
import time
import unittest

import pyte

import ecpanel_program as program

HEADER = program.TAGS.splitlines()[0] + "\n"
MANY = HEADER + "".join("t%02d,7,%d,,,,,,,\n" % (i, 200 + i) for i in range(20))
UP, DOWN, PAGE_UP, PAGE_DOWN, HOME, END = "\x1b[A", "\x1b[B", "\x1b[5~", "\x1b[6~", "\x1b[1~", "\x1b[4~"


class Terminal:
    """A program on a terminal of its own."""

    def __init__(self, case, *arguments, rows=24, columns=100, keyboard=True, term="linux", environment=()):
        self.screen = pyte.Screen(columns, rows)
        self.stream = pyte.ByteStream(self.screen)
        self.seen = b""
        self.master, slave = pty.openpty()
        fcntl.ioctl(slave, termios.TIOCSWINSZ, struct.pack("HHHH", rows, columns, 0, 0))
        variables = {key: value for key, value in os.environ.items() if key not in ("TERM", "NO_COLOR")}
        variables.update({"TERM": term} if term else {}, LC_ALL="C.UTF-8", **dict(environment))
        self.process = subprocess.Popen([program.ECPANEL, *arguments], cwd=case.folder, env=variables,
                                        stdin=slave if keyboard else subprocess.DEVNULL, stdout=slave, stderr=slave)
        os.close(slave)
        case.addCleanup(self.close, case)

    def close(self, case):
        """One that still runs is interrupted, as it would be by Ctrl-C."""
        if self.process.poll() is None:
            self.process.send_signal(signal.SIGINT)
            case.assertEqual(self.end(), 130)
        os.close(self.master)

    def type(self, keys):
        os.write(self.master, keys.encode())

    def lines(self):
        return [line.rstrip() for line in self.screen.display]

    def read(self, milliseconds):
        """False when the program has closed its terminal."""
        if select.select([self.master], [], [], milliseconds / 1000)[0]:
            try:
                data = os.read(self.master, 65536)
            except OSError:
                return False
            self.seen += data
            self.stream.feed(data)
        return True

    def wait(self, pattern):
        """Until a line of the screen fits."""
        self.wait_for(lambda lines: any(re.search(pattern, line) for line in lines), pattern)

    def wait_for(self, condition, what):
        deadline = time.monotonic() + program.LIMIT
        while not condition(self.lines()):
            if time.monotonic() > deadline or not self.read(100):
                raise AssertionError("no %r on\n%s" % (what, "\n".join(self.lines())))

    def end(self):
        """Until the program has ended; returns its exit code."""
        deadline = time.monotonic() + program.LIMIT
        while self.read(100):
            if time.monotonic() > deadline:
                self.process.kill()
                raise AssertionError("it did not end:\n%s" % "\n".join(self.lines()))
        return self.process.wait(program.LIMIT)

    def colour_of(self, word):
        """The colour in which a word's first letter stands."""
        for number, line in enumerate(self.screen.display):
            if word in line:
                return self.screen.buffer[number][line.index(word)].fg
        raise AssertionError("no %s on\n%s" % (word, "\n".join(self.lines())))


class Watch(program.Case):
    def several(self):
        """Two stations, of which a silent one is soon switched off."""
        self.settings(timeout=300, several=True)
        self.write_file("line.toml", self.read_file("line.toml")
                        + "\n[stations]\noff_after = 2\nprobe_first_ms = 60000\nprobe_most_ms = 60000\n")
        self.write_file("tags.csv", HEADER + "a,7,100,1,,,,,,\nb,7,100,2,,,,,,\n")
        return self.sim("--station", "1", "--station", "2")

    def test_title_table_and_state(self):
        self.sim()
        terminal = Terminal(self, "watch", "speed", "level", "pump", "speed", columns=160)
        terminal.wait(r"^pump +1 +good +0\.\d s$")
        lines = terminal.lines()
        self.assertTrue(lines[0].startswith(" %s  115200 baud 8N1  port open " % self.path("plc")), lines[0])
        self.assertRegex(lines[0], r" \d\d:\d\d:\d\d  arrows, PgUp, PgDn scroll, q quits$")
        self.assertEqual(lines[1].split(), ["name", "value", "unit", "quality", "age"])
        self.assertRegex(lines[2], r"^speed +12\.5  rpm +good +0\.\d s$")
        self.assertRegex(lines[3], r"^level +-1  mm +good +0\.\d s$")
        self.assertEqual(lines[5], "")
        self.assertIn("-" * 160, lines)
        terminal.wait(r"^line      requests [1-9]\d*, good [1-9]\d*, retries 0, given up 0, discarded frames 0$")
        terminal.wait(r"^failures  timeout 0, crc 0, length 0, exception 0, port 0$")
        terminal.wait(r"^stations  1 on$")
        terminal.type("q")
        self.assertEqual(terminal.end(), 0)
        self.assertIn(b"bytes out", terminal.seen)

    def test_quiet_ends_without_tables(self):
        self.sim()
        terminal = Terminal(self, "watch", "--quiet")
        terminal.wait(r"^speed .* good")
        terminal.type("Q")
        self.assertEqual(terminal.end(), 0)
        self.assertNotIn(b"bytes out", terminal.seen)

    def test_time_ends_it(self):
        self.sim()
        terminal = Terminal(self, "watch", "--duration", "0.3")
        self.assertEqual(terminal.end(), 0)
        self.assertIn(b"quality", terminal.seen)

    def test_keys_scroll(self):
        self.write_file("tags.csv", MANY)
        self.sim()
        terminal = Terminal(self, "watch", rows=14)
        for keys, place in (("", "1-6"), (DOWN, "2-7"), ("j", "3-8"), (UP, "2-7"), ("k", "1-6"), ("k", "1-6"),
                            (" ", "7-12"), (PAGE_DOWN, "13-18"), (PAGE_DOWN, "15-20"), (PAGE_UP, "9-14"),
                            (HOME, "1-6"), ("xj", "2-7"), (END, "15-20")):
            with self.subTest(keys=keys, place=place):
                terminal.type(keys)
                terminal.wait("^-- %s of 20 -" % place)
                first = int(place.split("-")[0]) - 1
                names = ["t%02d" % number for number in range(first, first + 6)]
                terminal.wait_for(lambda lines: [line[:3] for line in lines[2:8]] == names, names)

    def test_colours_tell_the_quality(self):
        sim = self.several()
        terminal = Terminal(self, "watch")
        terminal.wait(r"^b .* good ")
        self.assertEqual(terminal.colour_of("good"), "green")
        sim.ask("stop-answering 2")
        terminal.wait(r"^b .* bad \(timeout\)|^b .* bad \(station-off\)")
        self.assertEqual(terminal.colour_of("bad"), "red")
        self.assertEqual(terminal.colour_of("good"), "green")

    def test_what_is_stale_is_yellow(self):
        self.write_file("line.toml", self.read_file("line.toml") + "\n[values]\nstale_after_ms = 50\n")
        # One of the two blocks is always as old as an answer to the other takes.
        self.sim("--fault", "delay,ms=150")
        terminal = Terminal(self, "watch", "speed", "pump")
        terminal.wait(r"^(speed|pump) .* uncertain \(stale\) ")
        self.assertIn(terminal.colour_of("uncertain"), ("brown", "yellow"))

    def test_no_colours_when_they_are_not_wanted_or_not_there(self):
        self.sim()
        for term, environment in (("linux", {"NO_COLOR": "1"}), ("vt100", {})):
            terminal = Terminal(self, "watch", "speed", term=term, environment=environment)
            terminal.wait(r"^speed .* good ")
            self.assertEqual(terminal.colour_of("good"), "default")
            terminal.type("q")
            self.assertEqual(terminal.end(), 0)

    def test_a_terminal_that_cannot_be_drawn_on_gets_lines(self):
        self.sim()
        # For a terminal that it does not know ncurses itself loses a block of memory.
        for term, environment in (("", {}), ("dumb", {}), ("no-such-terminal", {"ASAN_OPTIONS": "detect_leaks=0"})):
            terminal = Terminal(self, "watch", "speed", "--duration", "0.5", term=term, environment=environment)
            terminal.wait(r"^\d\d:\d\d:\d\d\.\d{3} speed = 12\.5 rpm good$")
            self.assertEqual(terminal.end(), 0)

    def test_a_small_terminal_shows_the_tags_first(self):
        self.sim()
        terminal = Terminal(self, "watch", "speed", "pump", rows=4, columns=24)
        terminal.wait(r"^speed +12\.5  rpm   go")
        self.assertEqual(len(terminal.lines()[0]), 24)
        terminal.type("q")
        self.assertEqual(terminal.end(), 0)
        terminal = Terminal(self, "watch", "speed", rows=2)
        terminal.wait(r"^name +value")
        terminal.type("q")
        self.assertEqual(terminal.end(), 0)

    def test_without_a_keyboard(self):
        self.sim()
        terminal = Terminal(self, "watch", "--duration", "0.5", keyboard=False)
        terminal.wait(r"^speed .* good ")
        self.assertEqual(terminal.end(), 0)

    def test_stations_and_what_happened_to_them(self):
        sim = self.several()
        terminal = Terminal(self, "watch")
        terminal.wait(r"^stations  1 on, 2 on$")
        terminal.wait(r"^b .* good ")
        sim.ask("stop-answering 2")
        terminal.wait(r"^\d\d:\d\d:\d\d\.\d{3} station 2 off$")
        # The one that needs a look comes first.
        terminal.wait(r"^stations  2 OFF \(next probe in \d+ s\), 1 on$")

    def test_the_only_station_falls_silent(self):
        self.settings(timeout=50)
        sim = self.sim()
        terminal = Terminal(self, "watch")
        terminal.wait(r"^stations  1 on$")
        sim.ask("unplug")
        terminal.wait(r"^stations  1 NO ANSWER$")
        terminal.wait(r"^\d\d:\d\d:\d\d\.\d{3} station 1 does not answer$")
        terminal.wait(r"^speed +- .* bad \(timeout\)|^speed +12\.5 .* bad \(timeout\)")

    def test_a_lost_port(self):
        sim = self.sim()
        terminal = Terminal(self, "watch")
        terminal.wait(r"^speed .* good ")
        sim.ask("vanish 1500")
        terminal.wait(r"  port LOST")
        terminal.wait(r"^\d\d:\d\d:\d\d\.\d{3} port lost$")
        terminal.wait(r"^port      cannot open port ")
        terminal.wait(r"^\d\d:\d\d:\d\d\.\d{3} port open again$")
        terminal.wait(r"^speed .* good ")
        news = [line for line in terminal.lines() if re.match(r"\d\d:\d\d:\d\d\.\d{3} ", line)]
        # A try that fails like the one before is not told again.
        self.assertEqual([line[13:17] for line in news], ["port", "cann", "port"])


class Others(program.Case):
    def test_probe_shows_how_far_it_is(self):
        self.settings(timeout=50)
        self.sim()
        terminal = Terminal(self, "probe", "--to", "3")
        self.assertEqual(terminal.end(), 0)
        self.assertIn(b"\rstation 3 of 1 to 3, answers: 1; all take up to 1 s ", terminal.seen)
        terminal.wait(r"^ +1 .*answers$")
        # The progress is wiped out.
        self.assertNotIn("station 3 of", "\n".join(terminal.lines()))
        quiet = Terminal(self, "probe", "--to", "1", "--quiet")
        self.assertEqual(quiet.end(), 0)
        self.assertNotIn(b"answers:", quiet.seen)

    def test_demo_draws_live_values_in_place(self):
        terminal = Terminal(self, "demo", "--driver", program.DRIVER, "--live-seconds", "60", rows=60, columns=120)
        terminal.wait(r"^2\. Live values: ")
        lines = []
        for _ in range(2):
            terminal.wait_for(lambda now: now != lines and any(line.startswith("  fill-level ") for line in now),
                              "live values that change")
            lines = terminal.lines()
        self.assertEqual(sum(line.startswith("  fill-level ") for line in lines), 1)
        heading = next(number for number, line in enumerate(lines) if line.startswith("2. Live values"))
        self.assertTrue(terminal.screen.buffer[heading][0].bold)

    def test_decode_tells_what_to_type(self):
        terminal = Terminal(self, "decode")
        terminal.wait(r"^Type frames in hex, a line each; Ctrl-D ends\.$")
        terminal.type("01\n")
        terminal.wait(r"^1 byte")
        terminal.type("\x04")
        self.assertEqual(terminal.end(), 0)


if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1] + sys.argv[5:])
