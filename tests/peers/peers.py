#!/usr/bin/env python3
"""The host shows the same image of the same memory whichever slave serves it: the simulated PLC, Qt SerialBus' slave or
pymodbus' server; and what it writes is what each of them then holds.

Usage: peers.py ECPANEL ECSIM DRIVER SERIALBUS_SLAVE [PEER...]

The memory of both stations is made up from a seed and covers all that the PLC has, so that a value from a wrong place
shows. Expected values are worked out from it (plc_tags.py). No time decides but limits far beyond what is needed.
"""
import contextlib
import os
import random
import sys
import tempfile
import time

from plc_memory import Memory
from plc_tags import change_written, runs_of, same_value, tag_file, tags_of
from programs import Child, Ecsim, Panel
from relay import Relay
from rtu_master import read_cells

SEED = 20
STATIONS = (1, 2)
LONG_BLOCK, SHORT_BLOCK = 32, 4
# Debian's own Python is the one that has Debian's pymodbus.
DEBIAN_PYTHON = "/usr/bin/python3"
HERE = os.path.dirname(os.path.abspath(__file__))


class OnRelay:
    """A peer behind the relay; its memory is read over the line."""

    def __init__(self, folder, memories, stack, stations_of_peers):
        self.relay = Relay(stations_of_peers)
        stack.callback(self.relay.close)
        self.port = self.relay.panel_path
        self.files = {}
        for station, memory in memories.items():
            self.files[station] = os.path.join(folder, "station-%d" % station)
            with open(self.files[station], "w", encoding="ascii") as file:
                file.write(memory.text())

    def cells(self, station, kind, first, count):
        return read_cells(self.relay.panel_end, station, kind, first, count)


class SerialBus(OnRelay):
    """One process a station, as its slave has only one."""

    def __init__(self, folder, programs, memories, stack):
        super().__init__(folder, memories, stack, [[station] for station in memories])
        for path, (station, file) in zip(self.relay.peer_paths, self.files.items()):
            stack.callback(Child(programs["serialbus"], path, str(station), file).close)


class Pymodbus(OnRelay):
    def __init__(self, folder, programs, memories, stack):
        super().__init__(folder, memories, stack, [list(memories)])
        stations = ["%d=%s" % each for each in self.files.items()]
        server = os.path.join(HERE, "pymodbus_server.py")
        stack.callback(Child(DEBIAN_PYTHON, "-B", server, self.relay.peer_paths[0], *stations).close)


PEERS = {"ecsim": Ecsim, "serialbus": SerialBus, "pymodbus": Pymodbus}


class Exercise:
    """All that is done with one peer. What ecpanel read is kept, to be compared with the other peers'."""

    def __init__(self, name, folder, programs, stack):
        self.name, self.folder, self.programs = name, folder, programs
        self.memories = {station: Memory(SEED + station) for station in STATIONS}
        self.peer = PEERS[name](folder, programs, self.memories, stack)
        self.images, self.problems = [], []
        self.values = self.writes = self.cells = 0

    def panel(self, tags, block, several):
        return Panel(self.programs["ecpanel"], self.programs["driver"], self.folder, self.peer.port,
                     tag_file(tags, several), block, several)

    def problem(self, text):
        self.problems.append("%s: %s" % (self.name, text))

    def tags(self, several):
        return [tag for station in (STATIONS if several else STATIONS[:1]) for tag in tags_of(station)]

    def differing(self, tags, image):
        """Names of the tags that show other values than the memory holds."""
        return [tag.name for tag in tags
                if not same_value(image[tag.name], tag.shown(self.memories[tag.station]))]

    def read(self, block, several):
        tags = self.tags(several)
        image = self.panel(tags, block, several).read(tags)
        self.images.append(image)
        self.values += sum(tag.count for tag in tags)
        by_name = {tag.name: tag for tag in tags}
        for name in self.differing(tags, image):
            self.problem("block %d, several %s: %s: expected %s, got %s" % (
                block, several, by_name[name], by_name[name].shown(self.memories[by_name[name].station]), image[name]))

    def write(self, block, several, seed):
        """Writes a new value to every tag that is meant for it."""
        tags = self.tags(several)
        changes = change_written(tags, self.memories, random.Random(seed))
        assignments = {tag.name: ",".join(map(tag.text, raws)) for tag, raws in changes}
        self.writes += self.panel(tags, block, several).write(assignments)

        for tag, _ in changes:
            for kind, first, count in runs_of(tag):
                cells = getattr(self.memories[tag.station], kind)
                self.compare(tag.station, kind, first, [cells[first + k] for k in range(count)])

    def compare(self, station, kind, first, expected):
        """With the peer's cells as it gives them to somebody else."""
        got = self.peer.cells(station, kind, first, len(expected))
        self.cells += len(expected)
        if got != expected:
            wrong = [(first + k, a, b) for k, (a, b) in enumerate(zip(expected, got)) if a != b]
            self.problem("station %d, %s: number, expected, got: %s" % (station, kind, wrong[:20]))

    def spoil(self):
        """A register changed behind the back of the comparison has to be found, by the tags that show it."""
        tags = self.tags(False)
        number = next(tag for tag in tags if tag.is_written and tag.code == 13).cells(0)[1][1]
        self.peer.set_register(1, number, self.memories[1].registers[number] ^ 1)
        image = self.panel(tags, LONG_BLOCK, False).read(tags)
        shows = [tag.name for tag in tags
                 if any(("registers", number) in tag.cells(index) for index in range(tag.count))]
        if not shows or self.differing(tags, image) != shows:
            self.problem("register %d spoiled: expected %s to differ, got %s" % (number, shows,
                                                                               self.differing(tags, image)))
        self.peer.set_register(1, number, self.memories[1].registers[number])

    def run(self):
        for several in (False, True):
            for block in (LONG_BLOCK, SHORT_BLOCK):
                self.read(block, several)
        if hasattr(self.peer, "set_register"):
            self.spoil()
        for several, block, seed in ((False, LONG_BLOCK, 1), (True, SHORT_BLOCK, 2)):
            self.write(block, several, seed)
            self.read(SHORT_BLOCK, several)
            self.read(LONG_BLOCK, several)
        # All that the PLC has: nothing but what was written has changed.
        for station, memory in self.memories.items():
            for run in memory.runs():
                self.compare(station, *run)


def main(ecpanel, ecsim, driver, serialbus, *names):
    programs = {"ecpanel": ecpanel, "ecsim": ecsim, "driver": os.path.abspath(driver), "serialbus": serialbus}
    exercises, problems = [], []
    for name in names or PEERS:
        began = time.monotonic()
        with contextlib.ExitStack() as stack:
            folder = stack.enter_context(tempfile.TemporaryDirectory(prefix="ec-peers-"))
            exercise = Exercise(name, folder, programs, stack)
            exercise.run()
        print("%s: %d values read, %d writes confirmed, %d cells compared without ecpanel, %.1f s" % (
            name, exercise.values, exercise.writes, exercise.cells, time.monotonic() - began), flush=True)
        exercises.append(exercise)
        problems += exercise.problems
    for other in exercises[1:]:
        if repr(other.images) != repr(exercises[0].images):
            problems.append("%s and %s: not the same image" % (exercises[0].name, other.name))
    for problem in problems:
        print(problem)
    print("FAILED: %d problems" % len(problems) if problems else "all the same")
    return 1 if problems else 0


sys.exit(main(*sys.argv[1:]))
