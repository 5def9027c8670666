#!/usr/bin/env python3
"""mbpoll reads from the simulated PLC what ecpanel wrote, and ecpanel reads what mbpoll wrote, at several stations.

Usage: mbpoll_peer.py ECPANEL ECSIM DRIVER

Registers are compared one by one; single 32-bit values of the order ABCD also as mbpoll's own 32-bit types.
"""
import contextlib
import os
import random
import re
import struct
import subprocess
import sys
import tempfile
import time

from plc_memory import Memory
from plc_tags import change_written, runs_of, same_value, tag_file, tags_of
from programs import LIMIT, Ecsim, Panel

SEED = 40
STATIONS = (1, 7, 247)
BLOCK = 32
TYPES = {"coils": "0", "registers": "4"}


class Mbpoll:
    """Each call is a run of the program. Numbers count from 0 with -0, from 1 otherwise."""

    def __init__(self, port):
        self.port = port
        self.calls = 0

    def _run(self, options, *values):
        command = ["mbpoll", "-m", "rtu", "-b", "19200", "-P", "none", "-1", "-o", "10", "-0", *options, self.port,
                   *values]
        result = subprocess.run(command, stdin=subprocess.DEVNULL, capture_output=True, text=True, timeout=LIMIT)
        self.calls += 1
        if result.returncode != 0:
            raise AssertionError("%s ends with %d:\n%s%s" % (" ".join(command), result.returncode, result.stdout,
                                                             result.stderr))
        return result.stdout

    def read(self, station, type, number, count):
        """The texts that it shows; a register above 32767 has its signed value behind it, which is left out."""
        out = self._run(["-a", str(station), "-t", type, "-B", "-r", str(number), "-c", str(count)])
        return re.findall(r"^\[\d+\]: \t(\S+)", out, re.MULTILINE)

    def write(self, station, type, number, texts):
        # Behind the two dashes a negative value is none of its options.
        out = self._run(["-a", str(station), "-t", type, "-B", "-r", str(number)], "--", *texts)
        if "Written %d references." % len(texts) not in out:
            raise AssertionError("mbpoll, %s at %d: %s" % (texts, number, out))


def wide_type(tag):
    """mbpoll's own type for the tag's value; None when it has none."""
    if tag.count != 1 or tag.order != "ABCD" or tag.scale != "1":
        return None
    return {"float32": "4:float", "int32": "4:int", "uint32": "4:int"}.get(tag.format)


def wide_text(tag, raw):
    """As mbpoll shows it: signed, or with six digits."""
    if tag.format == "float32":
        return "%g" % raw
    return str(struct.unpack(">i", struct.pack(">I", raw & 0xFFFFFFFF))[0])


class Check:
    def __init__(self, ecpanel, ecsim, driver, folder, stack):
        self.memories = {station: Memory(SEED + station) for station in STATIONS}
        self.tags = [tag for station in STATIONS for tag in tags_of(station)]
        self.sim = Ecsim(folder, {"ecsim": ecsim}, self.memories, stack)
        self.panel = Panel(ecpanel, os.path.abspath(driver), folder, self.sim.port, tag_file(self.tags, True), BLOCK,
                           True)
        self.mbpoll = Mbpoll(self.sim.port)
        self.problems = []
        self.compared = 0

    def same(self, what, got, expected):
        self.compared += len(expected)
        if got != expected:
            self.problems.append("%s: expected %s, got %s" % (what, expected, got))

    def panel_writes(self):
        changes = change_written(self.tags, self.memories, random.Random(1))
        self.panel.write({tag.name: ",".join(map(tag.text, raws)) for tag, raws in changes})
        for tag, raws in changes:
            for kind, number, count in runs_of(tag):
                cells = getattr(self.memories[tag.station], kind)
                self.same("mbpoll reads %s" % tag.name,
                          self.mbpoll.read(tag.station, TYPES[kind], number, count),
                          [str(cells[number + k]) for k in range(count)])
            if wide_type(tag):
                self.same("mbpoll reads %s as %s" % (tag.name, wide_type(tag)),
                          self.mbpoll.read(tag.station, wide_type(tag), tag.cells(0)[0][1], 1),
                          [wide_text(tag, raws[0])])
        return len(changes)

    def mbpoll_writes(self):
        changes = change_written(self.tags, self.memories, random.Random(2))
        for tag, raws in changes:
            if wide_type(tag):
                text = repr(raws[0]) if tag.format == "float32" else wide_text(tag, raws[0])
                self.mbpoll.write(tag.station, wide_type(tag), tag.cells(0)[0][1], [text])
                continue
            for kind, number, count in runs_of(tag):
                cells = getattr(self.memories[tag.station], kind)
                self.mbpoll.write(tag.station, TYPES[kind], number, [str(cells[number + k]) for k in range(count)])
        shown = self.panel.read(self.tags)
        for tag in self.tags:
            expected = tag.shown(self.memories[tag.station])
            self.compared += tag.count
            if not same_value(shown[tag.name], expected):
                self.problems.append("ecpanel reads %s: expected %s, got %s" % (tag, expected, shown[tag.name]))
        return len(changes)

    def whole_memory(self):
        for station, memory in self.memories.items():
            for kind, first, expected in memory.runs():
                self.same("station %d, %s from %d" % (station, kind, first),
                          self.sim.cells(station, kind, first, len(expected)), expected)


def main(ecpanel, ecsim, driver):
    began = time.monotonic()
    with contextlib.ExitStack() as stack:
        folder = stack.enter_context(tempfile.TemporaryDirectory(prefix="ec-mbpoll-"))
        check = Check(ecpanel, ecsim, driver, folder, stack)
        first = check.panel_writes()
        second = check.mbpoll_writes()
        exchanged = check.compared
        check.whole_memory()
    for problem in check.problems:
        print(problem[:2000])
    print("ecpanel wrote %d tags, mbpoll %d, in %d runs of mbpoll; %d values compared, then %d cells of the simulated "
          "PLC; %.1f s" % (first, second, check.mbpoll.calls, exchanged, check.compared - exchanged,
                           time.monotonic() - began))
    print("FAILED: %d problems" % len(check.problems) if check.problems else "all the same")
    return 1 if check.problems else 0


sys.exit(main(*sys.argv[1:]))
